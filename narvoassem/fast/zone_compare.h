// The zone comparison of one pixel in plain code, for the few pixels that the finder marked.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/compare_pixel.h"
#include "narvoassem/fast/hit_chains.h"
#include "narvoassem/fast/image_rows.h"
#include "narvoassem/fast/pitch16.h"
#include "narvoassem/fast/zone_traits.h"

namespace narvo
{

inline std::uint16_t ReadMap(const std::int16_t* pMap, std::int64_t nElement)
{
    return pMap != nullptr ? static_cast<std::uint16_t>(pMap[nElement]) : std::uint16_t{0};
}

/// Index into the weight tables of column nColumn of a region that begins at nLeft. A block of 16 columns reads the
/// eight weights at its first column, low four bits cleared, for both of its halves.
constexpr std::int64_t ColumnWeightIndex(std::int64_t nLeft, std::int64_t nColumn)
{
    return RoundDownTo16(nLeft + RoundDownTo16(nColumn)) + (nColumn & 7);
}

/// One sample at (x, y): a pixel, or the mean of the 2 by 2 block whose top left pixel it is.
template <FindVariant kFind>
std::uint16_t ReadSample(const CImageView& image, std::int64_t x, std::int64_t y)
{
    if constexpr (kFind == FindVariant::MeanMap)
        return Mean2by2(ReadPixel(image, x, y), ReadPixel(image, x + 1, y), ReadPixel(image, x, y + 1),
                        ReadPixel(image, x + 1, y + 1));
    else
        return ReadPixel(image, x, y);
}

/// The reference of pixel (x, y), one pitch on.
template <CZoneTraits kTraits>
std::uint16_t ReadReference(const CZoneCall& call, const CPitch16& pitch, std::int64_t x, std::int64_t y)
{
    const CImageView& image = call.image;
    const auto nFar = static_cast<std::uint16_t>(pitch.nFraction);
    const auto nNear = static_cast<std::uint16_t>(16 - pitch.nFraction);
    if constexpr (kTraits.eFind == FindVariant::ColumnMap)
    {
        const std::int64_t nColumn = x - call.region.nLeft;
        const std::int64_t nWeight = ColumnWeightIndex(call.region.nLeft, nColumn);
        const std::int64_t nAt = x + call.pConvPitchTable[RoundDownTo16(x - (nColumn & 15))];
        return Interpolate(ReadPixel(image, nAt, y), static_cast<std::uint16_t>(call.pConvWeightNear[nWeight]),
                           ReadPixel(image, nAt + 1, y), static_cast<std::uint16_t>(call.pConvWeightFar[nWeight]));
    }
    else if constexpr (kTraits.bHorizontal)
        return Interpolate(ReadPixel(image, x + pitch.nWhole, y), nNear, ReadPixel(image, x + pitch.nWhole + 1, y),
                           nFar);
    else if constexpr (kTraits.eFind == FindVariant::BilinearMap)
    {
        const auto nRight = static_cast<std::uint16_t>(call.nVtdPitch16 & 15);
        const auto nLeft = static_cast<std::uint16_t>(16 - nRight);
        const auto readRow = [&](std::int64_t nRow)
        { return Interpolate(ReadPixel(image, x, nRow), nLeft, ReadPixel(image, x + 1, nRow), nRight); };
        return Interpolate(readRow(y + pitch.nWhole), nNear, readRow(y + pitch.nWhole + 1), nFar);
    }
    else
        return Interpolate(ReadSample<kTraits.eFind>(image, x, y + pitch.nWhole), nNear,
                           ReadSample<kTraits.eFind>(image, x, y + pitch.nWhole + 1), nFar);
}

/// Compares pixel (x, y), whose maps are read at nElement. nFloor is the threshold of the floor variant; nColumn is the
/// pixel's column within its strip.
template <CZoneTraits kTraits>
CFoundHit CompareZonePixel(const CZoneCall& call, const CPitch16& pitch, std::int64_t x, std::int64_t y,
                           std::int64_t nElement, int nFloor, int nColumn)
{
    CFoundHit hit = {};
    hit.nRow = static_cast<std::int32_t>(y);
    hit.nColumn = static_cast<std::uint8_t>(nColumn);
    hit.nSrc = ReadSample<kTraits.eFind>(call.image, x, y);
    hit.nCmp = ReadReference<kTraits>(call, pitch, x, y);
    if constexpr (kTraits.eFind != FindVariant::LinearKnee)
    {
        const auto nLimit = static_cast<std::uint16_t>(call.nGrayLimit);
        hit.nSrc = std::min(hit.nSrc, nLimit);
        hit.nCmp = std::min(hit.nCmp, nLimit);
    }
    const std::uint16_t nMax = std::max(hit.nSrc, hit.nCmp);
    if constexpr (kTraits.eFind == FindVariant::LinearFloor)
        hit.nThreshold = static_cast<std::int16_t>(nFloor);
    else
    {
        const bool bUpper =
            kTraits.eFind == FindVariant::LinearKnee &&
            static_cast<std::int16_t>(nMax) > static_cast<std::int16_t>(ReadMap(call.pKneeMap, nElement));
        hit.nThreshold = FormThreshold(nMax, ReadMap(bUpper ? call.pGainMap2 : call.pGainMap, nElement),
                                       ReadMap(bUpper ? call.pOffsetMap2 : call.pOffsetMap, nElement));
    }
    hit.nDiff = SaturatedDifference(hit.nSrc, hit.nCmp);
    hit.nZone = static_cast<std::int16_t>(ReadMap(call.pZoneIndexMap, nElement));
    if constexpr (kTraits.bClassId)
        hit.nClassId = static_cast<std::uint8_t>(ReadMap(call.pClassIdMap, nElement) & 15);
    return hit;
}

/// Puts a hit of the strip or block at column x into the arrays at nIndex.
template <CZoneTraits kTraits>
void StoreZoneHit(const CHitArrays& hits, std::int64_t nIndex, std::int64_t x, const CFoundHit& hit)
{
    hits.pX[nIndex] = static_cast<int>(x + hit.nColumn);
    hits.pY[nIndex] = hit.nRow;
    hits.pType[nIndex] = hit.nDiff >= 1 ? DefectType_Bright : DefectType_Dark;
    if (kTraits.bPeak)
        hits.pPeak[nIndex] = HitPeak(hit.nDiff, hit.nThreshold);
    hits.pSrcGray[nIndex] = hit.nSrc;
    hits.pCmpGray[nIndex] = hit.nCmp;
    hits.pZoneIndex[nIndex] = hit.nZone;
    hits.pThreshold[nIndex] = hit.nThreshold;
}

} // namespace narvo
