// SPDX-License-Identifier: MIT
// The plain forms.
#include "reference/blob_reference.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace narvo::test::reference
{

namespace
{

int Wrap(std::int64_t nValue)
{
    return static_cast<int>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(nValue)));
}

int Short(int nValue)
{
    return static_cast<std::int16_t>(nValue & 0xFFFF);
}

void Widen(SBlob& blob, int x, int y)
{
    auto& [left, top, right, bottom] = blob.rect;
    auto& e = blob.extreme;
    if (y <= top)
    {
        top = y;
        if (e[2][1] != y || x < e[2][0])
            e[2] = {x, y};
        if (e[3][1] != y || x + 1 > e[3][0])
            e[3] = {x + 1, y};
    }
    if (y + 1 >= bottom)
    {
        bottom = y + 1;
        if (e[6][1] != y + 1 || x < e[6][0])
            e[6] = {x, y + 1};
        if (e[7][1] != y + 1 || x + 1 > e[7][0])
            e[7] = {x + 1, y + 1};
    }
    if (x <= left)
    {
        left = x;
        if (e[1][0] != x || y + 1 > e[1][1])
            e[1] = {x, y + 1};
        if (e[0][0] != x || y < e[0][1])
            e[0] = {x, y};
    }
    if (x + 1 >= right)
    {
        right = x + 1;
        if (e[5][0] != x + 1 || y + 1 > e[5][1])
            e[5] = {x + 1, y + 1};
        if (e[4][0] != x + 1 || y < e[4][1])
            e[4] = {x + 1, y};
    }
}

// A record that is used again: what the first pair does not set stays from its former use.
void Create(SBlob& blob, const CDefectPair& pair, int nId)
{
    const int x = pair.ptDefect.x;
    const int y = pair.ptDefect.y;
    blob.rect = {0x7fffffff, 0x7fffffff, 0, 0};
    blob.zoneCount = blob.subZoneCount = blob.zoneMaxPeak = blob.zoneSumPeak = {};
    blob.zoneMinPeak.fill(256);
    blob.bRemoved = false;
    const int nFar = 32760;
    blob.extreme = {{{nFar, nFar}, {nFar, 0}, {nFar, nFar}, {0, nFar}, {0, nFar}, {0, 0}, {nFar, 0}, {0, 0}}};
    Widen(blob, x, y);
    const auto nZone = static_cast<std::size_t>(pair.nZoneIndex);
    blob.zoneCount[nZone] = 1;
    blob.subZoneCount[static_cast<std::size_t>(pair.nSubZone)] = 1;
    blob.nPos = pair.nDefectPos;
    blob.nPair = pair.nDefectPair;
    blob.nType = pair.nDefectType;
    blob.nId = nId;
    blob.nCount = 1;
    blob.nClass = -1;
    blob.center = blob.peak = blob.maxGray = {x, y};
    blob.nMaxThreshold = Short(pair.nThreshold);
    blob.nSumThreshold = pair.nThreshold;
    blob.nMaxSrc = blob.nMinSrc = Short(pair.nSrcGray);
    blob.nSumSrc = pair.nSrcGray;
    blob.nMaxCmp = blob.nMinCmp = Short(pair.nCmpGray);
    blob.nSumCmp = pair.nCmpGray;
    blob.nMaxPeak = Short(pair.nPeak);
    blob.nSumDiff = Wrap(static_cast<std::int64_t>(pair.nPeak) + blob.nMaxThreshold);
    blob.nMaxDiff = blob.nMinDiff = Short(blob.nSumDiff);
    blob.zoneSumPeak[nZone] = pair.nPeak;
    blob.zoneMaxPeak[nZone] = blob.zoneMinPeak[nZone] = pair.nPeak & 0xFF;
}

void Include(SBlob& blob, const CDefectPair& pair)
{
    const int x = pair.ptDefect.x;
    const int y = pair.ptDefect.y;
    const auto nZone = static_cast<std::size_t>(pair.nZoneIndex);
    const auto nSub = static_cast<std::size_t>(pair.nSubZone);
    blob.zoneCount[nZone] = (blob.zoneCount[nZone] + 1) & 0xFFFF;
    blob.subZoneCount[nSub] = (blob.subZoneCount[nSub] + 1) & 0xFFFF;
    Widen(blob, x, y);
    if (blob.nPos != 2)
        blob.nPos = pair.nDefectPos;
    if (pair.nDefectPair < blob.nPair)
        blob.nPair = pair.nDefectPair;
    blob.nCount += 1;
    blob.center = {Wrap(std::int64_t{blob.center[0]} + x), Wrap(std::int64_t{blob.center[1]} + y)};
    if (pair.nThreshold > blob.nMaxThreshold)
        blob.nMaxThreshold = Short(pair.nThreshold);
    blob.nSumThreshold = Wrap(std::int64_t{blob.nSumThreshold} + pair.nThreshold);
    if (pair.nSrcGray > blob.nMaxSrc)
    {
        blob.nMaxSrc = Short(pair.nSrcGray);
        blob.maxGray = {x, y};
    }
    if (pair.nSrcGray < blob.nMinSrc)
        blob.nMinSrc = Short(pair.nSrcGray);
    blob.nSumSrc = Wrap(std::int64_t{blob.nSumSrc} + pair.nSrcGray);
    if (pair.nCmpGray > blob.nMaxCmp)
        blob.nMaxCmp = Short(pair.nCmpGray);
    if (pair.nCmpGray < blob.nMinCmp)
        blob.nMinCmp = Short(pair.nCmpGray);
    blob.nSumCmp = Wrap(std::int64_t{blob.nSumCmp} + pair.nCmpGray);
    const int nDiff = Wrap(std::int64_t{pair.nPeak} + pair.nThreshold);
    if (pair.nPeak > blob.nMaxPeak)
    {
        blob.nMaxDiff = Short(nDiff);
        blob.nMaxPeak = Short(pair.nPeak);
        blob.peak = {x, y};
    }
    if (pair.nPeak < blob.nMinDiff)
        blob.nMinDiff = Short(nDiff);
    blob.nSumDiff = Wrap(std::int64_t{blob.nSumDiff} + nDiff);
    if (pair.nPeak < blob.zoneMinPeak[nZone])
        blob.zoneMinPeak[nZone] = Short(pair.nPeak);
    if (pair.nPeak > blob.zoneMaxPeak[nZone])
        blob.zoneMaxPeak[nZone] = pair.nPeak & 0xFF;
    blob.zoneSumPeak[nZone] = Wrap(std::int64_t{blob.zoneSumPeak[nZone]} + pair.nPeak);
}

void Shape(SBlob& blob)
{
    double dMeanX = 0.0;
    double dMeanY = 0.0;
    for (const auto& pt : blob.extreme)
    {
        dMeanX += pt[0];
        dMeanY += pt[1];
    }
    dMeanX /= 8;
    dMeanY /= 8;
    double dXX = 0.0;
    double dYY = 0.0;
    double dXY = 0.0;
    for (const auto& pt : blob.extreme)
    {
        const double dX = pt[0] - dMeanX;
        const double dY = -(pt[1] - dMeanY);
        dXX += dX * dX;
        dYY += dY * dY;
        dXY += dX * dY;
    }
    const double dA = dXX / 8 + 1.0 / 12;
    const double dB = dYY / 8 + 1.0 / 12;
    const double dC = dXY / 8;
    const double dE = dA - dB;
    const double dR = std::sqrt(dE * dE + 4 * dC * dC);
    const double dMajor = std::sqrt(2.0) * std::sqrt(dA + dB + dR);
    const double dMinor = std::sqrt(2.0) * std::sqrt(dA + dB - dR);
    const double dCircle = 4 * blob.nCount / (std::numbers::pi * dMajor * dMajor);
    blob.shape = {0.5 * std::atan2(2 * dC, dE) * 180 / std::numbers::pi, dMajor, dMinor, dCircle > 1.0 ? 1.0 : dCircle,
                  blob.nCount / dMajor};
}

int RealScale(const SBlob& blob, const CConvParam& param)
{
    double dGreatest = 0.0;
    for (std::size_t i = 0; i < 8; ++i)
    {
        for (std::size_t j = i; j < 8; ++j)
        {
            const double dX = (blob.extreme[i][0] - blob.extreme[j][0]) * param.dPixelSizeY;
            const double dY = (blob.extreme[i][1] - blob.extreme[j][1]) * param.dPixelSizeX;
            const double dLen = std::sqrt(dX * dX + dY * dY);
            if (dLen > dGreatest)
                dGreatest = dLen;
        }
    }
    return static_cast<int>(dGreatest + 0.5);
}

void MergeInto(SBlob& blob, const SBlob& other)
{
    if (blob.nPos == 0 || other.nPos == 1 || other.nPos == 3)
        blob.nPos = other.nPos;
    if (other.nPair > blob.nPair)
        blob.nPair = other.nPair;
    const int nOwn = blob.nCount;
    blob.nCount += other.nCount;
    for (std::size_t i = 0; i < 2; ++i)
        blob.center[i] = Wrap(std::int64_t{Wrap(std::int64_t{blob.center[i]} * nOwn)} +
                              Wrap(std::int64_t{other.center[i]} * other.nCount)) /
                         blob.nCount;
    for (std::size_t i = 0; i < 8; ++i)
    {
        const std::size_t nAxis = i == 2 || i == 3 || i >= 6 ? 1 : 0;
        const bool bTake = i < 4 ? other.extreme[i][nAxis] <= blob.extreme[i][nAxis]
                                 : other.extreme[i][nAxis] >= blob.extreme[i][nAxis];
        if (bTake)
            blob.extreme[i] = other.extreme[i];
    }
    for (std::size_t i = 0; i < 4; ++i)
    {
        const bool bOut = i < 2 ? other.rect[i] < blob.rect[i] : other.rect[i] > blob.rect[i];
        if (bOut)
            blob.rect[i] = other.rect[i];
    }
    if (other.nMaxPeak > blob.nMaxPeak)
    {
        blob.nMaxPeak = other.nMaxPeak;
        blob.peak = other.peak;
    }
    if (other.nMaxSrc > blob.nMaxSrc)
    {
        blob.nMaxSrc = other.nMaxSrc;
        blob.maxGray = other.maxGray;
    }
    blob.nMinSrc = std::min(blob.nMinSrc, other.nMinSrc);
    blob.nMinCmp = std::min(blob.nMinCmp, other.nMinCmp);
    blob.nMinDiff = std::min(blob.nMinDiff, other.nMinDiff);
    blob.nMaxCmp = std::max(blob.nMaxCmp, other.nMaxCmp);
    blob.nMaxDiff = std::max(blob.nMaxDiff, other.nMaxDiff);
    blob.nSumSrc = Wrap(std::int64_t{blob.nSumSrc} + other.nSumSrc);
    blob.nSumCmp = Wrap(std::int64_t{blob.nSumCmp} + other.nSumCmp);
    blob.nSumDiff = Wrap(std::int64_t{blob.nSumDiff} + other.nSumDiff);
    blob.nSumThreshold = Wrap(std::int64_t{blob.nSumThreshold} + other.nSumThreshold);
    blob.nAvgSrc = Short(blob.nSumSrc / blob.nCount);
    blob.nAvgCmp = Short(blob.nSumCmp / blob.nCount);
    blob.nAvgDiff = Short(blob.nSumDiff / blob.nCount);
    blob.nAvgThreshold = Short(blob.nSumThreshold / blob.nCount);
    blob.nMaxThreshold = std::max(blob.nMaxThreshold, other.nMaxThreshold);
    for (std::size_t i = 0; i < 16; ++i)
    {
        blob.zoneCount[i] = (blob.zoneCount[i] + other.zoneCount[i]) & 0xFFFF;
        blob.subZoneCount[i] = (blob.subZoneCount[i] + other.subZoneCount[i]) & 0xFFFF;
        blob.zoneSumPeak[i] = Wrap(std::int64_t{blob.zoneSumPeak[i]} + other.zoneSumPeak[i]);
        blob.zoneMinPeak[i] = std::min(blob.zoneMinPeak[i], other.zoneMinPeak[i]);
        blob.zoneMaxPeak[i] = std::max(blob.zoneMaxPeak[i], other.zoneMaxPeak[i]);
    }
    Shape(blob);
}

// Answers whether the pair passes; one that does not is dropped.
bool Joins(CDefectPair& pair, const CConvParam& param, int& nRemovedPair)
{
    if (pair.nZoneIndex == 0)
        return true;
    const int nDark = param.nDarkGrayLimit[pair.nZoneIndex];
    const int nBright = param.nBrightMinDiff[pair.nZoneIndex];
    const bool bTooLight = nDark != 0 && pair.nDefectType == 0 && pair.nSrcGray >= nDark;
    const bool bTooWeak = nBright != 0 && pair.nDefectType == 1 && pair.nSrcGray - pair.nCmpGray < nBright;
    if (!bTooLight && !bTooWeak)
        return true;
    pair.nDefectType = 4;
    ++nRemovedPair;
    return false;
}

} // namespace

void CBlobReference::Build(std::vector<CDefectPair>& pairs, EWindow eWindow, const CConvParam& param)
{
    const std::size_t nPairs = pairs.size();
    labels.resize(nPairs);
    linked.assign(nPairs, 0);
    std::vector<bool> opened(nPairs, false);
    for (std::size_t i = 0; i < nPairs; ++i)
        labels[i] = static_cast<int>(i);
    nRemovedPair = 0;

    for (std::size_t i = 0; i < nPairs; ++i)
    {
        if (pairs[i].nDefectType == 4)
            continue;
        for (std::size_t j = i + 1; j < nPairs; ++j)
        {
            if (pairs[j].nDefectType == 4 || linked[j] != 0 || pairs[j].nDefectType != pairs[i].nDefectType)
                continue;
            const int nDx = pairs[j].ptDefect.x - pairs[i].ptDefect.x;
            const int nDy = pairs[j].ptDefect.y - pairs[i].ptDefect.y;
            bool bLink = false;
            if (eWindow == EWindow::Horizontal)
            {
                if (nDy > 1)
                    break;
                bLink = nDx >= -1 && nDx < 2;
            }
            else
            {
                if (nDx > 16)
                    break;
                bLink = nDx >= -3 && nDx <= 3 && nDy >= -3 && nDy <= 3;
            }
            if (bLink)
            {
                labels[j] = labels[i];
                linked[j] = 1;
            }
        }
    }

    const std::size_t nFirst = blobs.size();
    for (std::size_t i = 0; i < nPairs; ++i)
    {
        CDefectPair& pair = pairs[i];
        const auto nLabel = static_cast<std::size_t>(labels[i]);
        if (pair.nDefectType == 4)
        {
            ++nRemovedPair;
            continue;
        }
        if (opened[nLabel])
        {
            for (std::size_t b = blobs.size(); b-- > 0;)
            {
                if (blobs[b].nId == labels[i] && Joins(pair, param, nRemovedPair))
                {
                    Include(blobs[b], pair);
                    break;
                }
            }
            continue;
        }
        if (static_cast<int>(blobs.size()) >= nBlobSize || !Joins(pair, param, nRemovedPair))
            continue;
        opened[nLabel] = true;
        if (places.size() <= blobs.size())
            places.resize(blobs.size() + 1);
        SBlob blob = places[blobs.size()];
        Create(blob, pair, labels[i]);
        blobs.push_back(blob);
    }

    for (std::size_t b = nFirst; b < blobs.size(); ++b)
    {
        SBlob& blob = blobs[b];
        blob.center = {blob.center[0] / blob.nCount, blob.center[1] / blob.nCount};
        blob.nAvgSrc = Short(blob.nSumSrc / blob.nCount);
        blob.nAvgCmp = Short(blob.nSumCmp / blob.nCount);
        blob.nAvgDiff = Short(blob.nSumDiff / blob.nCount);
        blob.nAvgThreshold = Short(blob.nSumThreshold / blob.nCount);
        blob.nMultiType = param.nMultiType;
        blob.nRScale = RealScale(blob, param);
        Shape(blob);
    }
}

void CBlobReference::MergeDivision(int nFirst, int nDist, const CConvParam& param)
{
    for (std::size_t a = static_cast<std::size_t>(nFirst); a < blobs.size(); ++a)
    {
        for (std::size_t b = a + 1; b < blobs.size(); ++b)
        {
            SBlob& A = blobs[a];
            SBlob& B = blobs[b];
            if (A.nType == B.nType && A.rect[3] + nDist >= B.rect[1] && A.rect[1] - nDist <= B.rect[3] &&
                A.rect[2] + nDist >= B.rect[0] && A.rect[0] - nDist <= B.rect[2] && !A.bRemoved && !B.bRemoved)
            {
                MergeInto(A, B);
                B.bRemoved = true;
                ++nMerged;
            }
        }
    }
    Compact(nFirst);
    for (std::size_t a = static_cast<std::size_t>(nFirst); a < blobs.size(); ++a)
        blobs[a].nRScale = RealScale(blobs[a], param);
}

void CBlobReference::Shadow(int nFirst, double dPitch, int nAxis)
{
    const auto nAlong = static_cast<std::size_t>(nAxis);
    for (std::size_t i = static_cast<std::size_t>(nFirst); i < blobs.size(); ++i)
    {
        if (blobs[i].nPos != 1 && blobs[i].nPos != 3)
            continue;
        std::array<int, 2> ghost = blobs[i].center;
        ghost[nAlong] = static_cast<int>(blobs[i].nPos == 1 ? ghost[nAlong] + dPitch : ghost[nAlong] - dPitch);
        for (std::size_t j = static_cast<std::size_t>(nFirst); j < blobs.size(); ++j)
        {
            const std::array<int, 4>& rect = blobs[j].rect;
            if (i != j && rect[0] - 3 <= ghost[0] && ghost[0] < rect[2] + 3 && rect[1] - 3 <= ghost[1] &&
                ghost[1] < rect[3] + 3)
            {
                blobs[i].bRemoved = true;
                break;
            }
        }
    }
    Compact(nFirst);
}

void CBlobReference::Compact(int nFirst)
{
    // The array's records stay in place: a copy into another place keeps that place's sum of thresholds.
    places = blobs;
    std::size_t nNext = static_cast<std::size_t>(nFirst);
    for (std::size_t i = nNext; i < places.size(); ++i)
    {
        if (places[i].bRemoved)
            continue;
        if (nNext != i)
        {
            const int nKept = places[nNext].nSumThreshold;
            places[nNext] = places[i];
            places[nNext].nSumThreshold = nKept;
        }
        ++nNext;
    }
    blobs.assign(places.begin(), places.begin() + static_cast<std::ptrdiff_t>(nNext));
}

std::string FindDifference(const SBlob& expected, const CDefectBlob& blob)
{
    std::string difference;
    const auto fnCheck = [&difference](const char* pName, auto nExpected, auto nFound)
    {
        if (nExpected != static_cast<decltype(nExpected)>(nFound) && difference.empty())
            difference = std::string(pName) + ": " + std::to_string(nExpected) + " expected, " +
                         std::to_string(nFound) + " found";
    };
    const auto fnCheckPoint = [&fnCheck](const char* pName, const std::array<int, 2>& point, const CPoint& found)
    {
        fnCheck(pName, point[0], found.x);
        fnCheck(pName, point[1], found.y);
    };
    fnCheck("position", expected.nPos, blob.nDefectPos);
    fnCheck("pair", expected.nPair, blob.nDefectPair);
    fnCheck("type", expected.nType, blob.nDefectType);
    fnCheck("id", expected.nId, blob.nBlobId);
    fnCheck("pair count", expected.nCount, blob.nPairCount);
    fnCheck("class", expected.nClass, blob.nClass);
    fnCheck("multi type", expected.nMultiType, blob.nMultiType);
    fnCheck("real scale", expected.nRScale, blob.nRScale);
    fnCheck("removed", expected.bRemoved ? 1 : 0, blob.bRemoved);
    fnCheckPoint("centre", expected.center, blob.ptCenter);
    fnCheckPoint("peak place", expected.peak, blob.ptPeak);
    fnCheckPoint("grey place", expected.maxGray, blob.ptMaxGray);
    fnCheck("left", expected.rect[0], blob.rtDefect.left);
    fnCheck("top", expected.rect[1], blob.rtDefect.top);
    fnCheck("right", expected.rect[2], blob.rtDefect.right);
    fnCheck("bottom", expected.rect[3], blob.rtDefect.bottom);
    fnCheck("peak", expected.nMaxPeak, blob.nMaxPeak);
    fnCheck("least source", expected.nMinSrc, blob.nMinSrcGray);
    fnCheck("greatest source", expected.nMaxSrc, blob.nMaxSrcGray);
    fnCheck("mean source", expected.nAvgSrc, blob.nAvgSrcGray);
    fnCheck("source sum", expected.nSumSrc, blob.nSumSrcGray);
    fnCheck("least reference", expected.nMinCmp, blob.nMinCmpGray);
    fnCheck("greatest reference", expected.nMaxCmp, blob.nMaxCmpGray);
    fnCheck("mean reference", expected.nAvgCmp, blob.nAvgCmpGray);
    fnCheck("reference sum", expected.nSumCmp, blob.nSumCmpGray);
    fnCheck("least difference", expected.nMinDiff, blob.nMinDiff);
    fnCheck("greatest difference", expected.nMaxDiff, blob.nMaxDiff);
    fnCheck("mean difference", expected.nAvgDiff, blob.nAvgDiff);
    fnCheck("difference sum", expected.nSumDiff, blob.nSumDiff);
    fnCheck("greatest threshold", expected.nMaxThreshold, blob.nMaxThreshold);
    fnCheck("mean threshold", expected.nAvgThreshold, blob.nAvgThreshold);
    fnCheck("threshold sum", expected.nSumThreshold, blob.nSumThreshold);
    for (std::size_t i = 0; i < 16; ++i)
    {
        fnCheck("zone count", expected.zoneCount[i], blob.nZoneCount[i]);
        fnCheck("sub-zone count", expected.subZoneCount[i], blob.nSubZoneCount[i]);
        fnCheck("zone least peak", expected.zoneMinPeak[i], blob.nZoneMinPeak[i]);
        fnCheck("zone greatest peak", expected.zoneMaxPeak[i], static_cast<int>(blob.nZoneMaxPeak[i]));
        fnCheck("zone peak sum", expected.zoneSumPeak[i], blob.nZoneSumPeak[i]);
    }
    for (std::size_t i = 0; i < 8; ++i)
        fnCheckPoint("extreme point", expected.extreme[i], blob.ptExtreme[i]);
    const double shape[] = {blob.dAngle, blob.dMajorAxis, blob.dMinorAxis, blob.dCircularity, blob.dElongation};
    // The mathematics library's arc tangent, which the expected angle has, differs by processor in the last place.
    if (std::abs(expected.shape[0] - shape[0]) > 1e-15 * std::abs(expected.shape[0]))
        fnCheck("angle", expected.shape[0], shape[0]);
    for (std::size_t i = 1; i < 5; ++i)
        fnCheck("shape", expected.shape[i], shape[i]);
    return difference;
}

} // namespace narvo::test::reference
