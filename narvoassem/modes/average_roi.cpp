// The worker of average mode: window means from a table of sums, and what a hit is. Rows in wide vectors are found by
// average_rows.cc; every hit is computed here.
#include "narvoassem/narvoassem.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "narvoassem/modes/average_rows.h"
#include "narvoassem/wrap_int.h"

namespace
{

using narvo::CWindowSpan;

/// 64-bit arithmetic that wraps: absurd thresholds and windows must not trap.
std::int64_t Multiply(std::int64_t a, std::int64_t b)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}

std::int64_t Subtract(std::int64_t a, std::int64_t b)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

/// What one call compares. All limits are in units of the common area nArea.
class CAverageTest
{
public:
    CAverageTest(const CRect& rtRegion, int nDefectFilter, int nBackFilter, int nDarkThreshold, int nBrightThreshold,
                 int nGrayLimit, const std::int64_t* pIntegral)
        : m_rtRegion(rtRegion), m_rtOrigin(0, 0, rtRegion.Width(), rtRegion.Height()), m_pIntegral(pIntegral),
          m_nDefect(nDefectFilter), m_nDarkThreshold(nDarkThreshold), m_nBrightThreshold(nBrightThreshold),
          m_nGrayLimit(nGrayLimit)
    {
        if (nDefectFilter == 0)
            return;
        m_nBack = narvo::WrapMul(narvo::WrapDiv(nBackFilter, nDefectFilter), nDefectFilter);
        m_nArea = Multiply(m_nBack, m_nBack);
        m_nScale = m_nArea / Multiply(m_nDefect, m_nDefect);
    }

    /// False when no pixel can be a hit for want of a window.
    bool HasWindows() const { return m_nArea > 0; }
    int GetBackSize() const { return m_nBack; }

    /// Fills the record of a pixel, relative to the region. @return false when it is no hit
    bool TestPixel(int x, int y, CDefectPair& pair) const
    {
        std::int64_t nBackSum = 0;
        std::int64_t nDefectSum = 0;
        GetFilterSum(CPoint(x, y), nBackSum, m_pIntegral, narvo::WrapAdd(m_rtOrigin.right, 1), m_rtOrigin, m_nBack);
        GetFilterSum(CPoint(x, y), nDefectSum, m_pIntegral, narvo::WrapAdd(m_rtOrigin.right, 1), m_rtOrigin, m_nDefect);
        nDefectSum = Multiply(nDefectSum, m_nScale);
        if (nDefectSum > Multiply(m_nGrayLimit, m_nArea))
            return false;
        const std::int64_t nDiff = Subtract(nDefectSum, nBackSum);
        const std::int64_t nBelow = Subtract(Multiply(m_nDarkThreshold, m_nArea), nDiff);
        const std::int64_t nAbove = Subtract(nDiff, Multiply(m_nBrightThreshold, m_nArea));
        if (nBelow <= 0 && nAbove <= 0)
            return false;
        const bool bDark = nBelow > 0;
        pair.nDefectPos = DefectPos_Middle;
        pair.nDefectPair = DefectPair_Paired;
        pair.nDefectType = bDark ? DefectType_Dark : DefectType_Bright;
        pair.nPeak = static_cast<int>((bDark ? nBelow : nAbove) / m_nArea);
        pair.ptDefect = CPoint(narvo::WrapAdd(m_rtRegion.left, x), narvo::WrapAdd(m_rtRegion.top, y));
        pair.nSrcGray = static_cast<int>(nDefectSum / m_nArea);
        pair.nCmpGray = static_cast<int>(nBackSum / m_nArea);
        pair.nZoneIndex = 0;
        pair.nThreshold = bDark ? narvo::WrapAbs(m_nDarkThreshold) : m_nBrightThreshold;
        return true;
    }

    /// The same test for whole rows in 32 bits. @return false when the sums could leave 31 bits
    bool MakeRow(narvo::CAverageRow& row) const
    {
        // A window of an even size is one pixel wider inside the region: 9/4 of the area at most, so no scaled sum and
        // no difference exceeds 574 areas, and limits beyond that are as good as any.
        static constexpr int nUseful = 600;
        if (m_nDefect < 1 || m_nBack < 1 || m_nArea > INT32_MAX / nUseful || m_rtOrigin.right > narvo::nFastWidthLimit)
            return false;
        const auto scale = [this](int nLimit)
        { return static_cast<std::int32_t>(std::clamp(nLimit, -nUseful, nUseful) * m_nArea); };
        row.nWidth = m_rtOrigin.right;
        row.nBack = m_nBack;
        row.nDefect = m_nDefect;
        row.nScale = static_cast<std::int32_t>(m_nScale);
        row.nDark = scale(m_nDarkThreshold);
        row.nBright = scale(m_nBrightThreshold);
        row.nLimit = scale(m_nGrayLimit);
        return true;
    }

    int GetDefectSize() const { return m_nDefect; }

private:
    CRect m_rtRegion;
    CRect m_rtOrigin;
    const std::int64_t* m_pIntegral;
    int m_nDefect;
    int m_nBack = 0;
    std::int64_t m_nArea = 0;
    std::int64_t m_nScale = 0;
    int m_nDarkThreshold;
    int m_nBrightThreshold;
    int m_nGrayLimit;
};

/// Takes records until the buffer is full: the record that brings the count to the size or above is the last.
class CAverageSink
{
public:
    CAverageSink(CDefectPair* pPair, int nCount, int nSize) : m_pPair(pPair), m_nCount(nCount), m_nSize(nSize) {}

    bool IsOpen() const { return m_bOpen; }
    int GetCount() const { return m_nCount; }
    void TakePixel(const CAverageTest& test, int x, int y)
    {
        if (test.TestPixel(x, y, m_pPair[m_nCount]))
            m_bOpen = ++m_nCount < m_nSize;
    }

private:
    CDefectPair* m_pPair;
    int m_nCount;
    int m_nSize;
    bool m_bOpen = true;
};

/// Table and tests one pixel at a time, in 64 bits: for windows and regions beyond the vector form, and without memory.
void ScanPlain(const unsigned char* pImage, std::int64_t nPitch, std::int64_t* pIntegral, int nWidth, int nHeight,
               const CAverageTest& test, CAverageSink& sink)
{
    const std::int64_t nCells = std::int64_t{nWidth} + 1;
    std::memset(pIntegral, 0, static_cast<std::size_t>(nCells) * sizeof *pIntegral);
    for (std::int64_t y = 0; y < nHeight; ++y)
    {
        const unsigned char* pPixels = pImage + y * nPitch;
        std::int64_t* pAbove = pIntegral + y * nCells;
        std::int64_t* pRow = pAbove + nCells;
        pRow[0] = 0;
        for (std::int64_t x = 0; x < nWidth; ++x)
            pRow[x + 1] = pPixels[x] + pAbove[x + 1] + pRow[x] - pAbove[x];
    }
    for (int y = 0; y < nHeight && sink.IsOpen(); ++y)
        for (int x = 0; x < nWidth && sink.IsOpen(); ++x)
            sink.TakePixel(test, x, y);
}

/// Table and tests row by row, each row tested as soon as the rows of its windows stand. The low halves of the rows in
/// reach of a window are kept in a ring, since the table itself is not read again but for hits.
class CAverageScan
{
public:
    CAverageScan(std::int64_t nWidth, std::int64_t nHeight, const narvo::CAverageRow& row)
        : m_row(row), m_nHeight(nHeight), m_nRing(std::min(nHeight, 2 * (row.nBack / 2) + 1) + 1),
          m_nStride(nWidth + 1 + narvo::nSumRowSlack)
    {
        m_pRing = Allocate<std::uint32_t>(m_nRing * m_nStride);
        m_pRunning = Allocate<std::int64_t>(nWidth + 1);
        m_pColumns = Allocate<std::int32_t>(nWidth + 1);
    }
    ~CAverageScan()
    {
        std::free(m_pRing);
        std::free(m_pRunning);
        std::free(m_pColumns);
    }
    CAverageScan(const CAverageScan&) = delete;
    CAverageScan& operator=(const CAverageScan&) = delete;

    bool HasMemory() const { return m_pRing != nullptr && m_pRunning != nullptr && m_pColumns != nullptr; }

    void Run(const unsigned char* pImage, std::int64_t nPitch, std::int64_t* pIntegral, const CAverageTest& test,
             CAverageSink& sink)
    {
        std::memset(pIntegral, 0, static_cast<std::size_t>(m_row.nWidth + 1) * sizeof *pIntegral);
        std::int64_t nBuilt = 0;
        const auto buildTo = [&](std::int64_t nRow)
        {
            for (; nBuilt < nRow; ++nBuilt)
                narvo::AppendSumRow(pImage + nBuilt * nPitch, m_row.nWidth, GetRow(nBuilt), GetRow(nBuilt + 1),
                                    m_pRunning, pIntegral + (nBuilt + 1) * (m_row.nWidth + 1));
        };
        for (std::int64_t y = 0; y < m_nHeight && sink.IsOpen(); ++y)
        {
            const CWindowSpan back = narvo::FindWindowSpan(y, m_row.nBack, 0, m_nHeight);
            const CWindowSpan defect = narvo::FindWindowSpan(y, m_row.nDefect, 0, m_nHeight);
            buildTo(std::max(back.nTo, defect.nTo));
            m_row.pBackTop = GetRow(back.nFrom);
            m_row.pBackBottom = GetRow(back.nTo);
            m_row.pDefectTop = GetRow(defect.nFrom);
            m_row.pDefectBottom = GetRow(defect.nTo);
            const std::int64_t nHits = narvo::FindAverageHits(m_row, m_pColumns);
            for (std::int64_t i = 0; i < nHits && sink.IsOpen(); ++i)
                sink.TakePixel(test, m_pColumns[i], static_cast<int>(y));
        }
        buildTo(m_nHeight);
        narvo::FinishSumRows();
    }

private:
    template <typename TElement>
    static TElement* Allocate(std::int64_t nCount)
    {
        return static_cast<TElement*>(std::calloc(static_cast<std::size_t>(nCount), sizeof(TElement)));
    }

    std::uint32_t* GetRow(std::int64_t nRow) const { return m_pRing + nRow % m_nRing * m_nStride; }

    narvo::CAverageRow m_row;
    std::int64_t m_nHeight;
    std::int64_t m_nRing;   ///< rows kept
    std::int64_t m_nStride; ///< entries per row
    std::uint32_t* m_pRing;
    std::int64_t* m_pRunning;
    std::int32_t* m_pColumns;
};

} // namespace

void GetFilterSum(CPoint ptPixel, std::int64_t& n64Sum, const std::int64_t* pIntegral, int nIntegralWidth,
                  const CRect& rtROIABS, int nFilterSize)
{
    const CWindowSpan column = narvo::FindWindowSpan(ptPixel.x, nFilterSize, rtROIABS.left, rtROIABS.right);
    const CWindowSpan row = narvo::FindWindowSpan(ptPixel.y, nFilterSize, rtROIABS.top, rtROIABS.bottom);
    const auto getCell = [=](std::int64_t x, std::int64_t y) { return pIntegral[y * nIntegralWidth + x]; };
    n64Sum = getCell(column.nTo, row.nTo) + getCell(column.nFrom, row.nFrom) - getCell(column.nFrom, row.nTo) -
             getCell(column.nTo, row.nFrom);
}

int CompareAverageROI(unsigned char* pImage, std::int64_t* pIntegral, int nImagePitch, CRect* rtInspect,
                      int nDarkThreshold, int nBrightThreshold, int nGrayLimit, CRect* /*rtDeadZone*/,
                      CDefectPair* pPair, int nPairCount, int nPairSize, int nDefectFilter, int nBackFilter,
                      int* pEndLine)
{
    // Always 1: the end line does not tell where the scan stopped.
    *pEndLine = 1;
    const CAverageTest test(*rtInspect, nDefectFilter, nBackFilter, nDarkThreshold, nBrightThreshold, nGrayLimit,
                            pIntegral);
    if (rtInspect->IsRectEmpty() || pImage == nullptr || pIntegral == nullptr || pPair == nullptr || !test.HasWindows())
        return nPairCount;

    const unsigned char* pFirst = pImage + std::int64_t{rtInspect->top} * nImagePitch + rtInspect->left;
    CAverageSink sink(pPair, nPairCount, nPairSize);
    narvo::CAverageRow row{};
    if (test.MakeRow(row))
    {
        CAverageScan scan(rtInspect->Width(), rtInspect->Height(), row);
        if (scan.HasMemory())
        {
            scan.Run(pFirst, nImagePitch, pIntegral, test, sink);
            return sink.GetCount();
        }
    }
    ScanPlain(pFirst, nImagePitch, pIntegral, rtInspect->Width(), rtInspect->Height(), test, sink);
    return sink.GetCount();
}
