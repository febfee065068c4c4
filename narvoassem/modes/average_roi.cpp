// SPDX-License-Identifier: MIT
// The worker of average mode: window means from a table of sums, and what a hit is. Rows in wide vectors are found by
// average_rows.cc; every hit is computed here.
#include "narvoassem/narvoassem.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "narvoassem/base/grow_buffer.h"
#include "narvoassem/base/thread_memory.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/modes/average_rows.h"

using namespace narvo::engine;

namespace
{

/// 64-bit arithmetic that wraps: extreme thresholds and windows must not trap.
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
        m_nBack = WrapMul(WrapDiv(nBackFilter, nDefectFilter), nDefectFilter);
        m_nArea = Multiply(m_nBack, m_nBack);
        m_nScale = m_nArea / Multiply(m_nDefect, m_nDefect);
    }

    /// False when no pixel can be a hit because there is no window.
    bool HasWindows() const { return m_nArea > 0; }
    int GetBackSize() const { return m_nBack; }

    /// Fills the record of a pixel, relative to the region. @return false when it is no hit
    bool TestPixel(int x, int y, CDefectPair& pair) const
    {
        std::int64_t nBackSum = 0;
        std::int64_t nDefectSum = 0;
        GetFilterSum(CPoint(x, y), nBackSum, m_pIntegral, WrapAdd(m_rtOrigin.right, 1), m_rtOrigin, m_nBack);
        GetFilterSum(CPoint(x, y), nDefectSum, m_pIntegral, WrapAdd(m_rtOrigin.right, 1), m_rtOrigin, m_nDefect);
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
        pair.ptDefect = CPoint(WrapAdd(m_rtRegion.left, x), WrapAdd(m_rtRegion.top, y));
        pair.nSrcGray = static_cast<int>(nDefectSum / m_nArea);
        pair.nCmpGray = static_cast<int>(nBackSum / m_nArea);
        pair.nZoneIndex = 0;
        pair.nThreshold = bDark ? WrapAbs(m_nDarkThreshold) : m_nBrightThreshold;
        return true;
    }

    /// False when the sums of whole rows could exceed 31 bits: then only TestPixel can be used.
    bool HasRows() const
    {
        return m_nDefect >= 1 && m_nBack >= 1 && m_nArea <= INT32_MAX / nUseful && m_rtOrigin.right <= nSumWidthLimit &&
               m_rtOrigin.bottom <= nSumHeightLimit;
    }
    /// The same test for whole rows in 32 bits; the window columns are left to the caller.
    template <typename TSum>
    CAverageRow<TSum> MakeRow() const
    {
        const auto scale = [this](int nLimit)
        { return static_cast<std::int32_t>(std::clamp(nLimit, -nUseful, nUseful) * m_nArea); };
        CAverageRow<TSum> row{};
        row.nWidth = m_rtOrigin.right;
        row.nBack = m_nBack;
        row.nDefect = m_nDefect;
        row.nScale = static_cast<std::int32_t>(m_nScale);
        row.nDark = scale(m_nDarkThreshold);
        row.nBright = scale(m_nBrightThreshold);
        // A scaled sum exceeds the scaled limit when the sum itself exceeds the quotient.
        const std::int64_t nLargest = 255 * (2 * (std::int64_t{m_nDefect} / 2) + 1) * (2 * (m_nDefect / 2) + 1);
        const std::int64_t nLimit = scale(m_nGrayLimit);
        row.nLimit = static_cast<std::int32_t>(nLimit < 0 ? -1 : nLimit / m_nScale);
        row.bLimited = row.nLimit < nLargest;
        return row;
    }

private:
    /// A window of an even size is one pixel wider inside the region: 9/4 of the area at most, so no scaled sum and no
    /// difference exceeds 574 areas, and limits beyond that are equivalent.
    static constexpr int nUseful = 600;

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

/// The pixels of the region.
struct CRegionPixels
{
    const unsigned char* pFirst;
    std::int64_t nPitch; ///< bytes per row
    std::int64_t nWidth;
    std::int64_t nHeight;

    const unsigned char* GetRow(std::int64_t y) const { return pFirst + y * nPitch; }
};

/// Table and tests one pixel at a time, in 64 bits: for windows and regions beyond the vector form, and without memory.
void ScanPlain(const CRegionPixels& pixels, std::int64_t* pIntegral, const CAverageTest& test, CAverageSink& sink)
{
    const std::int64_t nCells = pixels.nWidth + 1;
    std::memset(pIntegral, 0, static_cast<std::size_t>(nCells) * sizeof *pIntegral);
    for (std::int64_t y = 0; y < pixels.nHeight; ++y)
    {
        const unsigned char* pPixels = pixels.GetRow(y);
        std::int64_t* pAbove = pIntegral + y * nCells;
        std::int64_t* pRow = pAbove + nCells;
        pRow[0] = 0;
        for (std::int64_t x = 0; x < pixels.nWidth; ++x)
            pRow[x + 1] = pPixels[x] + pAbove[x + 1] + pRow[x] - pAbove[x];
    }
    for (int y = 0; y < pixels.nHeight && sink.IsOpen(); ++y)
        for (int x = 0; x < pixels.nWidth && sink.IsOpen(); ++x)
            sink.TakePixel(test, x, y);
}

/// Working memory of a scan. Each thread keeps its own, so that repeating a similar call allocates nothing.
struct CAverageScratch
{
    CGrowBuffer<std::uint32_t> ring;
    CGrowBuffer<std::uint32_t> low;
    CGrowBuffer<std::uint32_t> columns;
};

CAverageScratch& GetScratch()
{
    return CThreadMemory<CAverageScratch>::Get();
}

/// Table and tests row by row: while one row of the table is built, the row above its windows is tested, so that the
/// stores of the one overlap with the arithmetic of the other. Window sums are kept per column and change by the image
/// rows that enter and leave; the sums of the rows in reach are kept in a ring. The table itself is read again only for
/// hits.
template <typename TSum>
class CAverageScan
{
public:
    CAverageScan(const CRegionPixels& pixels, std::int64_t* pIntegral, const CAverageRow<TSum>& row)
        : m_pixels(pixels), m_pIntegral(pIntegral), m_row(row),
          m_nRing(std::min(pixels.nHeight, 2 * (row.nBack / 2) + 3)), m_nStride(pixels.nWidth + 1 + nSumRowSlack)
    {
        static_assert(alignof(TSum) <= alignof(std::uint32_t));
        CAverageScratch& scratch = GetScratch();
        m_pRing = reinterpret_cast<TSum*>(TakeCleared(scratch.ring, (m_nRing + 1) * m_nStride * sizeof(TSum)));
        m_pLow = TakeCleared(scratch.low, m_nStride * sizeof(std::uint32_t));
        m_pColumns = reinterpret_cast<std::int32_t*>(
            TakeCleared(scratch.columns, 2 * GetColumnEntries(pixels.nWidth, nRun) * sizeof(std::int32_t)));
    }

    bool HasMemory() const { return m_pRing != nullptr && m_pLow != nullptr && m_pColumns != nullptr; }

    void Run(const CAverageTest& test, CAverageSink& sink)
    {
        const std::int64_t nWidth = m_pixels.nWidth;
        const std::int64_t nHeight = m_pixels.nHeight;
        std::memset(m_pIntegral, 0, static_cast<std::size_t>(nWidth + 1) * sizeof *m_pIntegral);
        CWindowSpan back{0, 0};
        CWindowSpan defect{0, 0};
        BuildTo(GetReach(0));
        for (std::int64_t y = 0; y < nHeight && sink.IsOpen(); ++y)
        {
            const CWindowSpan backEnd = GetSpan(y, m_row.nBack);
            const CWindowSpan defectEnd = GetSpan(y, m_row.nDefect);
            std::int32_t nColumns[nRun];
            // The first row's windows are filled row by row; after that both move by at most one.
            for (;;)
            {
                MoveWindow(back, backEnd, m_row.back);
                MoveWindow(defect, defectEnd, m_row.defect);
                if (back.nTo == backEnd.nTo && defect.nTo == defectEnd.nTo)
                    break;
                CAverageRow<TSum> filling = m_row;
                filling.nDark = INT32_MIN;
                filling.nBright = INT32_MAX;
                CColumnCursor cursor = GetCursor();
                for (std::int64_t x = 0; x < nWidth; x += nRun)
                    FindAverageHits(filling, x, std::min(x + nRun, nWidth), cursor, nColumns);
            }
            const bool bBuild = y + 1 < nHeight && GetReach(y + 1) > m_nBuilt;
            CSumRow<TSum> row = bBuild ? OpenRow() : CSumRow<TSum>{};
            CColumnCursor cursor = GetCursor();
            for (std::int64_t x = 0; x < nWidth; x += nRun)
            {
                const std::int64_t nTo = std::min(x + nRun, nWidth);
                if (bBuild)
                    AppendSums(row, nTo);
                const std::int64_t nHits = FindAverageHits(m_row, x, nTo, cursor, nColumns);
                for (std::int64_t i = 0; i < nHits && sink.IsOpen(); ++i)
                    sink.TakePixel(test, nColumns[i], static_cast<int>(y));
            }
        }
        BuildTo(nHeight);
        FinishSumRows();
    }

private:
    /// Columns built and tested alternately: as many as the pending stores may lag behind.
    static constexpr std::int64_t nRun = 512;

    /// nBytes of a buffer, cleared, on a cache line's start; null without memory.
    static std::uint32_t* TakeCleared(CGrowBuffer<std::uint32_t>& buffer, std::int64_t nBytes)
    {
        constexpr std::size_t nLineWords = 16;
        const auto nWords = static_cast<std::size_t>((nBytes + 3) / 4);
        if (!buffer.Reserve(nWords + nLineWords))
            return nullptr;
        const std::size_t nPast = reinterpret_cast<std::uintptr_t>(buffer.Data()) / sizeof(std::uint32_t) % nLineWords;
        std::uint32_t* pFirst = buffer.Data() + (nPast == 0 ? 0 : nLineWords - nPast);
        std::fill_n(pFirst, nWords, 0U);
        return pFirst;
    }

    TSum* GetRow(std::int64_t nRow) const { return m_pRing + nRow % m_nRing * m_nStride; }

    CWindowSpan GetSpan(std::int64_t y, std::int64_t nSize) const
    {
        return FindWindowSpan(y, nSize, 0, m_pixels.nHeight);
    }
    /// Rows of the table that the windows of row y need; the defect window lies within the other.
    std::int64_t GetReach(std::int64_t y) const { return GetSpan(y, m_row.nBack).nTo; }

    CColumnCursor GetCursor() const { return {m_pColumns, m_pColumns + GetColumnEntries(m_pixels.nWidth, nRun)}; }

    /// The next row of the table, none of it built.
    CSumRow<TSum> OpenRow()
    {
        CSumRow<TSum> row{m_pixels.GetRow(m_nBuilt), m_pixels.nWidth, GetRow(m_nBuilt), m_pLow,
                          m_pIntegral + (m_nBuilt + 1) * (m_pixels.nWidth + 1)};
        row.pTable[0] = 0;
        ++m_nBuilt;
        return row;
    }

    void BuildTo(std::int64_t nRow)
    {
        while (m_nBuilt < nRow)
        {
            CSumRow<TSum> row = OpenRow();
            AppendSums(row, m_pixels.nWidth);
        }
    }

    /// Moves each end of a window down by one row if it has not reached its place yet.
    void MoveWindow(CWindowSpan& span, const CWindowSpan& end, CWindowMove<TSum>& move) const
    {
        const TSum* pNone = m_pRing + m_nRing * m_nStride;
        move.pEnter = span.nTo < end.nTo ? GetRow(span.nTo++) : pNone;
        move.pLeave = span.nFrom < end.nFrom ? GetRow(span.nFrom++) : pNone;
    }

    CRegionPixels m_pixels;
    std::int64_t* m_pIntegral;
    CAverageRow<TSum> m_row;
    std::int64_t m_nBuilt = 0; ///< rows of the table that are complete or under construction, without the row of zeros
    std::int64_t m_nRing;      ///< rows kept: the reach of a window, the row that leaves it, the row under construction
    std::int64_t m_nStride;    ///< entries per row
    TSum* m_pRing;             ///< the rows, and one of zeros after them
    std::uint32_t* m_pLow;
    std::int32_t* m_pColumns; ///< what the test keeps per column
};

/// @return false without memory
template <typename TSum>
bool ScanRows(const CRegionPixels& pixels, std::int64_t* pIntegral, const CAverageTest& test, CAverageSink& sink)
{
    CAverageScan<TSum> scan(pixels, pIntegral, test.MakeRow<TSum>());
    if (!scan.HasMemory())
        return false;
    scan.Run(test, sink);
    return true;
}

} // namespace

void GetFilterSum(CPoint ptPixel, std::int64_t& n64Sum, const std::int64_t* pIntegral, int nIntegralWidth,
                  const CRect& rtROIABS, int nFilterSize)
{
    const CWindowSpan column = FindWindowSpan(ptPixel.x, nFilterSize, rtROIABS.left, rtROIABS.right);
    const CWindowSpan row = FindWindowSpan(ptPixel.y, nFilterSize, rtROIABS.top, rtROIABS.bottom);
    const auto getCell = [=](std::int64_t x, std::int64_t y) { return pIntegral[y * nIntegralWidth + x]; };
    n64Sum = getCell(column.nTo, row.nTo) + getCell(column.nFrom, row.nFrom) - getCell(column.nFrom, row.nTo) -
             getCell(column.nTo, row.nFrom);
}

int CompareAverageROI(unsigned char* pImage, std::int64_t* pIntegral, int nImagePitch, CRect* rtInspect,
                      int nDarkThreshold, int nBrightThreshold, int nGrayLimit, CRect* /*rtDeadZone*/,
                      CDefectPair* pPair, int nPairCount, int nPairSize, int nDefectFilter, int nBackFilter,
                      int* pEndLine)
{
    // Always 1: the end line does not say where the scan stopped.
    *pEndLine = 1;
    const CAverageTest test(*rtInspect, nDefectFilter, nBackFilter, nDarkThreshold, nBrightThreshold, nGrayLimit,
                            pIntegral);
    if (rtInspect->IsRectEmpty() || pImage == nullptr || pIntegral == nullptr || pPair == nullptr || !test.HasWindows())
        return nPairCount;

    const CRegionPixels pixels{pImage + std::int64_t{rtInspect->top} * nImagePitch + rtInspect->left, nImagePitch,
                               rtInspect->Width(), rtInspect->Height()};
    CAverageSink sink(pPair, nPairCount, nPairSize);
    const bool bDone = test.HasRows() && (test.GetBackSize() <= nShortWindowLimit
                                              ? ScanRows<std::uint16_t>(pixels, pIntegral, test, sink)
                                              : ScanRows<std::uint32_t>(pixels, pIntegral, test, sink));
    if (!bDone)
        ScanPlain(pixels, pIntegral, test, sink);
    return sink.GetCount();
}
