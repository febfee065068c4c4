// SPDX-License-Identifier: MIT
// The plain window comparison with two witnesses. Deliberately the reference form: every window sum is computed from
// single pixels.
#include "narvoassem/asginspection.h"

#include <algorithm>
#include <cstdint>

#include "narvoassem/base/fixed_pitch.h"
#include "narvoassem/base/image_read.h"
#include "narvoassem/base/truncate.h"
#include "narvoassem/base/wrap_int.h"

using namespace narvo::engine;

namespace
{

/// A distance down the image (up where negative): whole rows and weights in 1/16 of the two rows it falls between.
struct CRowStep
{
    std::int64_t nRows;
    int nNear;
    int nFar; ///< 0 .. 16: for a step just short of a whole row only the next row counts
};

CRowStep MakeRowStep(double dPitch)
{
    const int nRows = TruncateToInt(dPitch);
    const int nFar = TruncateToInt((dPitch - nRows) * 16 + 0.5);
    return {nRows, 16 - nFar, nFar};
}

/// False where there is nothing to sum, or far too much: windows beyond those of the parameter checks, distances larger
/// than any image.
bool HasExtent(const CConvParam& param, double dPitch)
{
    constexpr int nWindowLimit = 1023;
    return param.pImage != nullptr && IsPitchUsable(dPitch) && param.nConvWidth <= nWindowLimit &&
           param.nConvHeight <= nWindowLimit;
}

/// Window sums of one image, values limited from above.
class CWindowSums
{
public:
    explicit CWindowSums(const CConvParam& param)
        : m_pImage(param.pImage), m_nStride(param.nImageWidth), m_nRows(param.nImageHeight), m_nLimit(param.nGrayLimit),
          m_nLast(std::max<std::int64_t>(m_nRows * m_nStride - 1, 0)), m_nWidth(param.nConvWidth),
          m_nHeight(param.nConvHeight)
    {
    }

    int GetSum(std::int64_t x, std::int64_t y) const
    {
        int nSum = 0;
        for (std::int64_t r = y; r < y + m_nHeight; ++r)
            for (std::int64_t c = x; c < x + m_nWidth; ++c)
                nSum = WrapAdd(nSum, GetValue(c, r));
        return nSum;
    }

    /// The sum nSign steps further down, each term interpolated and divided separately.
    int GetSum(std::int64_t x, std::int64_t y, const CRowStep& step, int nSign) const
    {
        int nSum = 0;
        for (std::int64_t r = y; r < y + m_nHeight; ++r)
            for (std::int64_t c = x; c < x + m_nWidth; ++c)
            {
                const int nNear = WrapMul(GetValue(c, r + nSign * step.nRows), step.nNear);
                const int nFar = WrapMul(GetValue(c, r + nSign * (step.nRows + 1)), step.nFar);
                nSum = WrapAdd(nSum, WrapAdd(nNear, nFar) / 16);
            }
        return nSum;
    }

private:
    int GetValue(std::int64_t x, std::int64_t y) const
    {
        // Without a known height the address is used as it is.
        const std::int64_t nAddress =
            m_nRows > 0 ? NearestAddress(x, y, m_nStride, m_nRows, m_nLast) : y * m_nStride + x;
        return std::min<int>(m_pImage[nAddress], m_nLimit);
    }

    const unsigned char* m_pImage;
    std::int64_t m_nStride;
    std::int64_t m_nRows;
    int m_nLimit;
    std::int64_t m_nLast; ///< the image's last byte
    std::int64_t m_nWidth;
    std::int64_t m_nHeight;
};

} // namespace

CASGInspection::CASGInspection()
    : pPixelX(nullptr), pPixelY(nullptr), pPixelType(nullptr), pPeak(nullptr), pPixelCount(nullptr), pParing(nullptr),
      nParingCnt(0)
{
}

CASGInspection::CASGInspection(const CASGInspection& other) : CASGInspection()
{
    *this = other;
}

CASGInspection& CASGInspection::operator=(const CASGInspection& other)
{
    if (this == &other)
        return *this;
    pPixelX = other.pPixelX;
    pPixelY = other.pPixelY;
    pPixelType = other.pPixelType;
    pPeak = other.pPeak;
    pPixelCount = other.pPixelCount;
    pParing = other.pParing;
    nParingCnt = other.nParingCnt;
    return *this;
}

CASGInspection::~CASGInspection() = default;

void CASGInspection::SetParingBuf(CDefectPair* pBuffer, int nCount)
{
    pParing = pBuffer;
    nParingCnt = nCount;
}

void CASGInspection::SetPixelBuf(int* pX, int* pY, short* pType, short* pValue, int* pCount)
{
    pPixelX = pX;
    pPixelY = pY;
    pPixelType = pType;
    pPeak = pValue;
    pPixelCount = pCount;
}

int CASGInspection::GetParingCnt() const
{
    return nParingCnt;
}

int CASGInspection::GetBufferCheck() const
{
    return pPixelX != nullptr && pPixelY != nullptr && pPixelType != nullptr && pPeak != nullptr &&
                   pPixelCount != nullptr
               ? 1
               : 0;
}

void CASGInspection::SetPixelData(int x, int y, int nValue, int /*nIgnored*/)
{
    const int nIndex = *pPixelCount;
    pPixelX[nIndex] = x;
    pPixelY[nIndex] = y;
    pPixelType[nIndex] = nValue > 0 ? 0 : 1;
    pPeak[nIndex] = static_cast<short>(WrapAbs(nValue));
    // The pointer moves, not the count: the next index comes from the next int of the host's array.
    ++pPixelCount;
}

int CASGInspection::InsertPairing(int x, int y, int nValue, int /*nThreshold*/, int nSrc, int nCmp)
{
    const std::lock_guard<std::mutex> lock(csParing);
    if (pParing == nullptr || nParingCnt < 0 || nParingCnt >= nParingLimit)
        return 0;
    CDefectPair& pair = pParing[nParingCnt];
    pair.nDefectPair = DefectPair_Paired;
    pair.nDefectType = nValue < 1 ? DefectType_Bright : DefectType_Dark;
    pair.nPeak = WrapAbs(nValue);
    pair.ptDefect = CPoint(x, y);
    pair.nSrcGray = nSrc;
    pair.nCmpGray = nCmp;
    ++nParingCnt;
    return 1;
}

void CASGInspection::VConvolutionConvC(CConvParam* pParam)
{
    if (pParing == nullptr)
        return;
    nParingCnt = 0;

    const double dPitch = pParam->GetRealScanPitch();
    if (!HasExtent(*pParam, dPitch))
        return;
    const CRowStep single = MakeRowStep(dPitch);
    const CRowStep twice = MakeRowStep(dPitch * 2);
    const CWindowSums sums(*pParam);
    const std::int64_t nLeft = pParam->rtInspect.left;
    const std::int64_t nRight = std::int64_t{pParam->rtInspect.right} - pParam->nConvWidth;
    const std::int64_t nTop = pParam->rtInspect.top;
    const std::int64_t nBottom = std::int64_t{pParam->rtInspect.bottom} - pParam->nConvHeight;
    const int nThreshold = pParam->nThreshold;

    // A band tests its rows against a first and a second witness. @return false when the buffer is full
    const auto scanBand =
        [&](std::int64_t nFrom, std::int64_t nTo, int nFirstSign, const CRowStep& second, int nSecondSign)
    {
        for (std::int64_t y = nFrom; y < nTo; ++y)
            for (std::int64_t x = nLeft; x < nRight; ++x)
            {
                const int nSum = sums.GetSum(x, y);
                const int nFirst = WrapSub(sums.GetSum(x, y, single, nFirstSign), nSum);
                const int nSecondSum = sums.GetSum(x, y, second, nSecondSign);
                const int nSecond = WrapSub(nSecondSum, nSum);
                const int nLower = WrapSub(0, nThreshold);
                if (!(nFirst > nThreshold && nSecond > nThreshold) && !(nFirst < nLower && nSecond < nLower))
                    continue;
                const int nValue = WrapAbs(nFirst) > WrapAbs(nSecond) ? nFirst : nSecond;
                if (InsertPairing(WrapAdd(static_cast<int>(x), WrapDiv(pParam->nConvWidth, 2)),
                                  WrapAdd(static_cast<int>(y), WrapDiv(pParam->nConvHeight, 2)), nValue, nThreshold,
                                  nSum, nSecondSum) == 0)
                    return false;
            }
        return true;
    };
    // The first band looks down, the last one up, the middle one both ways. In a low region the bands overlap.
    const std::int64_t nMiddle = nTop + single.nRows + 1;
    const std::int64_t nLast = nBottom - (single.nRows + 1);
    // A band that compares beyond an image of known height sees the same row everywhere, and finds nothing.
    const bool bBounded = pParam->nImageHeight > 0 && nThreshold >= 0;
    const std::int64_t nFirstEnd = bBounded ? std::min<std::int64_t>(nMiddle, pParam->nImageHeight) : nMiddle;
    const std::int64_t nLastBegin = bBounded ? std::max<std::int64_t>(nLast, -pParam->nConvHeight) : nLast;
    if (scanBand(nTop, nFirstEnd, 1, twice, 1) && scanBand(nMiddle, nLast, 1, single, -1))
        scanBand(nLastBegin, nBottom, -1, twice, -1);
}
