// SPDX-License-Identifier: MIT
// See side_mode_reference.h.
#include "reference/side_mode_reference.h"

#include <algorithm>
#include <cstdlib>

namespace narvo::test
{

CSideModeResult BinariseReference(const std::uint8_t* pImage, int nLowGray, int nHighGray, const CRect& rtInspect,
                                  int nImagePitch, std::vector<CDefectPair>& pairs, int nPairCount, int nPairSize)
{
    if (nHighGray < nLowGray)
        std::swap(nLowGray, nHighGray);
    const auto nLow = static_cast<std::uint8_t>(nLowGray);
    const auto nHigh = static_cast<std::uint8_t>(nHighGray);
    for (int y = rtInspect.top; y < rtInspect.top + rtInspect.Height(); ++y)
        for (int xBlock = rtInspect.left; xBlock < rtInspect.right - 16; xBlock += 16)
            for (int x = xBlock; x < xBlock + 16; ++x)
            {
                const std::uint8_t nGray = pImage[std::int64_t{y} * nImagePitch + x];
                if (nGray <= nLow || nGray >= nHigh)
                    continue;
                CDefectPair& pair = pairs[static_cast<std::size_t>(nPairCount)];
                pair.nDefectPos = 2;
                pair.nDefectPair = 1;
                pair.nDefectType = 0;
                pair.nPeak = nHighGray - std::abs(nGray - nHighGray);
                pair.ptDefect = CPoint(x, y);
                pair.nSrcGray = nGray;
                pair.nCmpGray = nHighGray;
                pair.nZoneIndex = 0;
                pair.nThreshold = nHighGray;
                if (++nPairCount >= nPairSize)
                    return {nPairCount, y};
            }
    return {nPairCount, rtInspect.bottom};
}

namespace
{

struct CSpan
{
    int nFrom;
    int nTo;
};

CSpan ShiftedSpan(int nAt, int nSize, int nEnd)
{
    int nFrom = nAt - nSize / 2;
    int nTo = nAt + nSize / 2 + 1;
    if (nFrom >= 0 && nTo <= nEnd)
        return {nFrom, nTo};
    if (nFrom < 0)
    {
        nFrom = 0;
        nTo = nSize;
    }
    if (nTo > nEnd)
    {
        nTo = nEnd;
        nFrom = nEnd - nSize;
    }
    return {std::clamp(nFrom, 0, nEnd), std::clamp(nTo, 0, nEnd)};
}

} // namespace

std::int64_t WindowSumReference(const std::uint8_t* pImage, int nImagePitch, const CRect& rtInspect, int x, int y,
                                int nSize)
{
    const CSpan columns = ShiftedSpan(x, nSize, rtInspect.Width());
    const CSpan rows = ShiftedSpan(y, nSize, rtInspect.Height());
    std::int64_t nSum = 0;
    for (int r = rows.nFrom; r < rows.nTo; ++r)
        for (int c = columns.nFrom; c < columns.nTo; ++c)
            nSum += pImage[std::int64_t{rtInspect.top + r} * nImagePitch + rtInspect.left + c];
    return nSum;
}

CSideModeResult AverageReference(const std::uint8_t* pImage, int nImagePitch, const CRect& rtInspect,
                                 int nDarkThreshold, int nBrightThreshold, int nGrayLimit,
                                 std::vector<CDefectPair>& pairs, int nPairCount, int nPairSize, int nDefectFilter,
                                 int nBackFilter)
{
    const int nBack = nBackFilter / nDefectFilter * nDefectFilter;
    const std::int64_t nArea = std::int64_t{nBack} * nBack;
    const std::int64_t nScale = nArea / (std::int64_t{nDefectFilter} * nDefectFilter);
    for (int y = 0; y < rtInspect.Height(); ++y)
        for (int x = 0; x < rtInspect.Width(); ++x)
        {
            const std::int64_t nBackSum = WindowSumReference(pImage, nImagePitch, rtInspect, x, y, nBack);
            const std::int64_t nSum = WindowSumReference(pImage, nImagePitch, rtInspect, x, y, nDefectFilter) * nScale;
            if (nSum > nGrayLimit * nArea)
                continue;
            const std::int64_t nDiff = nSum - nBackSum;
            const bool bDark = nDarkThreshold * nArea - nDiff > 0;
            if (!bDark && nDiff - nBrightThreshold * nArea <= 0)
                continue;
            CDefectPair& pair = pairs[static_cast<std::size_t>(nPairCount)];
            pair.nDefectPos = 2;
            pair.nDefectPair = 1;
            pair.nDefectType = bDark ? 0 : 1;
            pair.nPeak =
                static_cast<int>((bDark ? nDarkThreshold * nArea - nDiff : nDiff - nBrightThreshold * nArea) / nArea);
            pair.ptDefect = CPoint(rtInspect.left + x, rtInspect.top + y);
            pair.nSrcGray = static_cast<int>(nSum / nArea);
            pair.nCmpGray = static_cast<int>(nBackSum / nArea);
            pair.nZoneIndex = 0;
            pair.nThreshold = bDark ? std::abs(nDarkThreshold) : nBrightThreshold;
            if (++nPairCount >= nPairSize)
                return {nPairCount, 1};
        }
    return {nPairCount, 1};
}

std::vector<CDefectPair> TwoWitnessReference(const CConvParam& param)
{
    const double p = param.dScanPitch * param.nScanMultiple;
    const int P = static_cast<int>(p);
    const int f = static_cast<int>((p - P) * 16 + 0.5);
    const double p2 = p * 2;
    const int Q = static_cast<int>(p2);
    const int f2 = static_cast<int>((p2 - Q) * 16 + 0.5);
    const int W = param.nConvWidth;
    const int H = param.nConvHeight;
    const auto value = [&](int c, int r)
    {
        const int nRow = std::clamp(r, 0, param.nImageHeight - 1);
        return std::min<int>(param.pImage[nRow * param.nImageWidth + c], param.nGrayLimit);
    };
    std::vector<CDefectPair> found;
    bool bFull = false;
    const auto test = [&](int x, int y, int nBand)
    {
        int M = 0;
        int A = 0;
        int D = 0;
        for (int r = y; r < y + H; ++r)
            for (int c = x; c < x + W; ++c)
            {
                M += value(c, r);
                if (nBand == 1)
                {
                    A += (value(c, r + P) * (16 - f) + value(c, r + P + 1) * f) / 16;
                    D += (value(c, r + Q) * (16 - f2) + value(c, r + Q + 1) * f2) / 16;
                }
                else if (nBand == 2)
                {
                    A += (value(c, r + P) * (16 - f) + value(c, r + P + 1) * f) / 16;
                    D += (value(c, r - P) * (16 - f) + value(c, r - P - 1) * f) / 16;
                }
                else
                {
                    A += (value(c, r - P) * (16 - f) + value(c, r - P - 1) * f) / 16;
                    D += (value(c, r - Q) * (16 - f2) + value(c, r - Q - 1) * f2) / 16;
                }
            }
        const int dA = A - M;
        const int dD = D - M;
        const int t = param.nThreshold;
        if (!((dA > t && dD > t) || (dA < -t && dD < -t)))
            return;
        if (found.size() == 10000)
        {
            bFull = true;
            return;
        }
        const int nValue = std::abs(dA) > std::abs(dD) ? dA : dD;
        CDefectPair pair;
        pair.nDefectPair = 1;
        pair.nDefectType = nValue < 1 ? 1 : 0;
        pair.nPeak = std::abs(nValue);
        pair.ptDefect = CPoint(x + W / 2, y + H / 2);
        pair.nSrcGray = M;
        pair.nCmpGray = D;
        found.push_back(pair);
    };
    const CRect& rt = param.rtInspect;
    const int B = rt.bottom - H;
    for (int nBand = 1; nBand <= 3; ++nBand)
    {
        const int nFrom = nBand == 1 ? rt.top : nBand == 2 ? rt.top + P + 1 : B - (P + 1);
        const int nTo = nBand == 1 ? rt.top + P + 1 : nBand == 2 ? B - (P + 1) : B;
        for (int y = nFrom; y < nTo && !bFull; ++y)
            for (int x = rt.left; x < rt.right - W && !bFull; ++x)
                test(x, y, nBand);
    }
    return found;
}

} // namespace narvo::test
