// SPDX-License-Identifier: MIT
// The blob record: statistics, outline and shape of a group of pairs. Which pairs belong together, and which blobs
// are merged, is decided by the blob store.
#include "narvoassem/defectblob.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "narvoassem/base/wrap_int.h"
#include "narvoassem/storage/stores/blob_record.h"
#include "narvoassem/storage/stores/polar_angle.h"

using namespace narvo::engine;

namespace
{

constexpr int nNoMinimum = 2048; ///< minimum that any grey value replaces
constexpr int nNoZonePeak = 256; ///< per-zone minimum where the zone has no pair

/// Pair-weighted mean of two centres; nCount is the sum of both counts.
int MergeCenter(int nOwn, int nOwnCount, int nOther, int nOtherCount, int nCount)
{
    return WrapAdd(WrapMul(nOwn, nOwnCount), WrapMul(nOther, nOtherCount)) / nCount;
}

} // namespace

CDefectBlob::CDefectBlob()
{
    nSumThreshold = 0;
    Reset();
}

CDefectBlob& CDefectBlob::operator=(const CDefectBlob& other)
{
    if (this != &other)
    {
        const int nKeptSum = nSumThreshold;
        CopyRecords(this, &other, 1);
        nSumThreshold = nKeptSum;
    }
    return *this;
}

void CDefectBlob::Reset()
{
    nDefectPos = DefectPos_None;
    nDefectPair = DefectPair_None;
    nDefectType = DefectType_None;
    nBlobId = 0;
    nPairCount = 0;
    nClass = -1;
    ptCenter = CPoint(0, 0);
    ptPeak = CPoint(-1, -1);
    ptMaxGray = CPoint(0, 0);
    nRScale = 0;
    nMaxPeak = 0;
    nMinSrcGray = nMinCmpGray = nMinDiff = nNoMinimum;
    nMaxSrcGray = nMaxCmpGray = nMaxDiff = 0;
    nAvgSrcGray = nAvgCmpGray = nAvgDiff = 0;
    nSumSrcGray = nSumCmpGray = nSumDiff = 0;
    nMaxThreshold = nAvgThreshold = 0;
    nSumThreshold = 0;
    nMultiType = -1;
    ResetReuse();
    dAngle = dMajorAxis = dMinorAxis = dCircularity = dElongation = 0.0;
}

void CDefectBlob::ResetReuse()
{
    rtDefect = CRect(0x7fffffff, 0x7fffffff, 0, 0);
    for (int nZone = 0; nZone < nZoneLimit; ++nZone)
    {
        nZoneCount[nZone] = 0;
        nSubZoneCount[nZone] = 0;
        nZoneMinPeak[nZone] = nNoZonePeak;
        nZoneMaxPeak[nZone] = 0;
        nZoneSumPeak[nZone] = 0;
    }
    bRemoved = 0;
    ptExtreme[0] = ptExtreme[2] = CPoint(nFarExtreme, nFarExtreme);
    ptExtreme[1] = ptExtreme[6] = CPoint(nFarExtreme, 0);
    ptExtreme[3] = ptExtreme[4] = CPoint(0, nFarExtreme);
    ptExtreme[5] = ptExtreme[7] = CPoint(0, 0);
}

void CDefectBlob::CreateBlob(const CDefectPair* pPair, int nId)
{
    const CPoint& pt = pPair->ptDefect;
    ResetReuse();
    CheckDefectRect(pt.x, pt.y);
    StartStatistics(*this, *pPair, nId);
}

void CDefectBlob::IncludePair(const CDefectPair* pPair)
{
    const CPoint& pt = pPair->ptDefect;
    if (IsZone(pPair->nSubZone))
        ++nSubZoneCount[pPair->nSubZone];
    CheckDefectRect(pt.x, pt.y);
    SetDefectPos(static_cast<DefectPos>(pPair->nDefectPos));
    SetDefectPair(static_cast<DefectPair>(pPair->nDefectPair));
    nPairCount = WrapAdd(nPairCount, 1);
    ptCenter = CPoint(WrapAdd(ptCenter.x, pt.x), WrapAdd(ptCenter.y, pt.y));

    const int nThreshold = pPair->nThreshold;
    if (nThreshold > nMaxThreshold)
        nMaxThreshold = LowShort(nThreshold);
    nSumThreshold = WrapAdd(nSumThreshold, nThreshold);

    const int nSrc = pPair->nSrcGray;
    if (nSrc > nMaxSrcGray)
    {
        nMaxSrcGray = LowShort(nSrc);
        ptMaxGray = pt;
    }
    if (nSrc < nMinSrcGray)
        nMinSrcGray = LowShort(nSrc);
    nSumSrcGray = WrapAdd(nSumSrcGray, nSrc);

    const int nCmp = pPair->nCmpGray;
    if (nCmp > nMaxCmpGray)
        nMaxCmpGray = LowShort(nCmp);
    if (nCmp < nMinCmpGray)
        nMinCmpGray = LowShort(nCmp);
    nSumCmpGray = WrapAdd(nSumCmpGray, nCmp);

    // The greatest difference is that of the highest peak, and the least is tested with the peak alone.
    const int nPeak = pPair->nPeak;
    const int nDiff = WrapAdd(nPeak, nThreshold);
    if (nPeak > nMaxPeak)
    {
        nMaxDiff = LowShort(nDiff);
        nMaxPeak = LowShort(nPeak);
        ptPeak = pt;
    }
    if (nPeak < nMinDiff)
        nMinDiff = LowShort(nDiff);
    nSumDiff = WrapAdd(nSumDiff, nDiff);

    if (IsZone(pPair->nZoneIndex))
    {
        const int nZone = pPair->nZoneIndex;
        ++nZoneCount[nZone];
        nZoneMinPeak[nZone] = LowShort(std::min<int>(nZoneMinPeak[nZone], nPeak));
        nZoneMaxPeak[nZone] = LowByte(std::max<int>(nZoneMaxPeak[nZone], nPeak));
        nZoneSumPeak[nZone] = WrapAdd(nZoneSumPeak[nZone], nPeak);
    }
}

void CDefectBlob::CheckDefectRect(int x, int y)
{
    const int nRight = WrapAdd(x, 1);
    const int nBottom = WrapAdd(y, 1);
    if (y <= rtDefect.top)
    {
        rtDefect.top = y;
        if (ptExtreme[2].y != y || x < ptExtreme[2].x)
            ptExtreme[2] = CPoint(x, y);
        if (ptExtreme[3].y != y || nRight > ptExtreme[3].x)
            ptExtreme[3] = CPoint(nRight, y);
    }
    if (nBottom >= rtDefect.bottom)
    {
        rtDefect.bottom = nBottom;
        if (ptExtreme[6].y != nBottom || x < ptExtreme[6].x)
            ptExtreme[6] = CPoint(x, nBottom);
        if (ptExtreme[7].y != nBottom || nRight > ptExtreme[7].x)
            ptExtreme[7] = CPoint(nRight, nBottom);
    }
    if (x <= rtDefect.left)
    {
        rtDefect.left = x;
        if (ptExtreme[1].x != x || nBottom > ptExtreme[1].y)
            ptExtreme[1] = CPoint(x, nBottom);
        if (ptExtreme[0].x != x || y < ptExtreme[0].y)
            ptExtreme[0] = CPoint(x, y);
    }
    if (nRight >= rtDefect.right)
    {
        rtDefect.right = nRight;
        if (ptExtreme[5].x != nRight || nBottom > ptExtreme[5].y)
            ptExtreme[5] = CPoint(nRight, nBottom);
        if (ptExtreme[4].x != nRight || y < ptExtreme[4].y)
            ptExtreme[4] = CPoint(nRight, y);
    }
}

void CDefectBlob::SetDefectPos(DefectPos ePos)
{
    if (nDefectPos != DefectPos_Middle)
        nDefectPos = ePos;
}

void CDefectBlob::SetDefectPair(DefectPair ePair)
{
    nDefectPair = std::min<int>(nDefectPair, ePair);
}

void CDefectBlob::MergeBlob(const CDefectBlob& other)
{
    if (nDefectPos == DefectPos_None || other.nDefectPos == DefectPos_First || other.nDefectPos == DefectPos_Last)
        nDefectPos = other.nDefectPos;
    // The greater wins here, the smaller in SetDefectPair.
    nDefectPair = std::max(nDefectPair, other.nDefectPair);

    const int nOwnCount = nPairCount;
    nPairCount = WrapAdd(nPairCount, other.nPairCount);
    ptCenter.x = MergeCenter(ptCenter.x, nOwnCount, other.ptCenter.x, other.nPairCount, nPairCount);
    ptCenter.y = MergeCenter(ptCenter.y, nOwnCount, other.ptCenter.y, other.nPairCount, nPairCount);

    for (int i = 0; i < nExtremeCount; ++i)
    {
        const CPoint& ptOther = other.ptExtreme[i];
        const bool bLeft = i <= 1 && ptOther.x <= ptExtreme[i].x;
        const bool bTop = (i == 2 || i == 3) && ptOther.y <= ptExtreme[i].y;
        const bool bRight = (i == 4 || i == 5) && ptOther.x >= ptExtreme[i].x;
        const bool bBottom = i >= 6 && ptOther.y >= ptExtreme[i].y;
        if (bLeft || bTop || bRight || bBottom)
            ptExtreme[i] = ptOther;
    }
    nRScale = WrapAdd(nRScale, other.nRScale);
    rtDefect = CRect(std::min(rtDefect.left, other.rtDefect.left), std::min(rtDefect.top, other.rtDefect.top),
                     std::max(rtDefect.right, other.rtDefect.right), std::max(rtDefect.bottom, other.rtDefect.bottom));

    if (other.nMaxPeak > nMaxPeak)
    {
        nMaxPeak = other.nMaxPeak;
        ptPeak = other.ptPeak;
    }
    if (other.nMaxSrcGray > nMaxSrcGray)
    {
        nMaxSrcGray = other.nMaxSrcGray;
        ptMaxGray = other.ptMaxGray;
    }
    nMinSrcGray = std::min(nMinSrcGray, other.nMinSrcGray);
    nMinCmpGray = std::min(nMinCmpGray, other.nMinCmpGray);
    nMinDiff = std::min(nMinDiff, other.nMinDiff);
    nMaxCmpGray = std::max(nMaxCmpGray, other.nMaxCmpGray);
    nMaxDiff = std::max(nMaxDiff, other.nMaxDiff);

    nSumSrcGray = WrapAdd(nSumSrcGray, other.nSumSrcGray);
    nSumCmpGray = WrapAdd(nSumCmpGray, other.nSumCmpGray);
    nSumDiff = WrapAdd(nSumDiff, other.nSumDiff);
    nSumThreshold = WrapAdd(nSumThreshold, other.nSumThreshold);
    nAvgSrcGray = LowShort(nSumSrcGray / nPairCount);
    nAvgCmpGray = LowShort(nSumCmpGray / nPairCount);
    nAvgDiff = LowShort(nSumDiff / nPairCount);
    nAvgThreshold = LowShort(nSumThreshold / nPairCount);
    nMaxThreshold = std::max(nMaxThreshold, other.nMaxThreshold);

    for (int nZone = 0; nZone < nZoneLimit; ++nZone)
    {
        nZoneCount[nZone] = static_cast<unsigned short>(nZoneCount[nZone] + other.nZoneCount[nZone]);
        nSubZoneCount[nZone] = static_cast<unsigned short>(nSubZoneCount[nZone] + other.nSubZoneCount[nZone]);
        nZoneSumPeak[nZone] = WrapAdd(nZoneSumPeak[nZone], other.nZoneSumPeak[nZone]);
        nZoneMinPeak[nZone] = std::min(nZoneMinPeak[nZone], other.nZoneMinPeak[nZone]);
        nZoneMaxPeak[nZone] = std::max(nZoneMaxPeak[nZone], other.nZoneMaxPeak[nZone]);
    }
    CalcExtraFeature();
}

void CDefectBlob::CalcExtraFeature()
{
    constexpr double dPixelVariance = 1.0 / 12.0; // of a uniform pixel of unit width
    double dMeanX = 0.0;
    double dMeanY = 0.0;
    for (const CPoint& pt : ptExtreme)
    {
        dMeanX += pt.x;
        dMeanY += pt.y;
    }
    dMeanX /= nExtremeCount;
    dMeanY /= nExtremeCount;

    double dSumXX = 0.0;
    double dSumYY = 0.0;
    double dSumXY = 0.0;
    for (const CPoint& pt : ptExtreme)
    {
        const double dDx = pt.x - dMeanX;
        const double dDy = -(pt.y - dMeanY); // y upward, so that the angle is counter-clockwise
        dSumXX += dDx * dDx;
        dSumYY += dDy * dDy;
        dSumXY += dDx * dDy;
    }
    const double dA = dSumXX / nExtremeCount + dPixelVariance;
    const double dB = dSumYY / nExtremeCount + dPixelVariance;
    const double dC = dSumXY / nExtremeCount;
    const double dE = dA - dB;
    const double dR = std::sqrt(dE * dE + 4.0 * dC * dC);

    dMajorAxis = std::numbers::sqrt2 * std::sqrt(dA + dB + dR);
    dMinorAxis = std::numbers::sqrt2 * std::sqrt(dA + dB - dR);
    dElongation = nPairCount / dMajorAxis;
    dCircularity = std::min(4.0 * nPairCount / (std::numbers::pi * dMajorAxis * dMajorAxis), 1.0);
    dAngle = 0.5 * PolarAngle(2.0 * dC, dE) * 180.0 / std::numbers::pi;
}
