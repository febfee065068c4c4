// The zone comparison of one pixel in plain code, for the few pixels that the finder marked.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/compare_pixel.h"
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

/// Compares pixel (x, y), whose maps are read at nElement. nFloor is the threshold of the floor variant.
template <CZoneTraits kTraits>
CComparison CompareZonePixel(const CZoneCall& call, const CPitch16& pitch, std::int64_t x, std::int64_t y,
                             std::int64_t nElement, int nFloor)
{
    CComparison result;
    result.nSrc = ReadSample<kTraits.eFind>(call.image, x, y);
    result.nCmp = ReadReference<kTraits>(call, pitch, x, y);
    if constexpr (kTraits.eFind != FindVariant::LinearKnee)
    {
        const auto nLimit = static_cast<std::uint16_t>(call.nGrayLimit);
        result.nSrc = std::min(result.nSrc, nLimit);
        result.nCmp = std::min(result.nCmp, nLimit);
    }
    const std::uint16_t nMax = std::max(result.nSrc, result.nCmp);
    if constexpr (kTraits.eFind == FindVariant::LinearFloor)
        result.nThreshold = static_cast<std::int16_t>(nFloor);
    else
    {
        const bool bUpper =
            kTraits.eFind == FindVariant::LinearKnee &&
            static_cast<std::int16_t>(nMax) > static_cast<std::int16_t>(ReadMap(call.pKneeMap, nElement));
        result.nThreshold = FormThreshold(nMax, ReadMap(bUpper ? call.pGainMap2 : call.pGainMap, nElement),
                                          ReadMap(bUpper ? call.pOffsetMap2 : call.pOffsetMap, nElement));
    }
    result.nDiff = SaturatedDifference(result.nSrc, result.nCmp);
    return result;
}

/// Appends the hit of pixel (x, y) to the arrays at nIndex.
template <CZoneTraits kTraits>
void StoreZoneHit(const CZoneCall& call, std::int64_t nIndex, std::int64_t x, std::int64_t y, std::int64_t nElement,
                  const CComparison& result)
{
    const CHitArrays& hits = call.hits;
    hits.pX[nIndex] = static_cast<int>(x);
    hits.pY[nIndex] = static_cast<int>(y);
    hits.pType[nIndex] = result.nDiff >= 1 ? DefectType_Bright : DefectType_Dark;
    if (kTraits.bPeak)
        hits.pPeak[nIndex] = result.Peak();
    hits.pSrcGray[nIndex] = result.nSrc;
    hits.pCmpGray[nIndex] = result.nCmp;
    hits.pZoneIndex[nIndex] = static_cast<std::int16_t>(ReadMap(call.pZoneIndexMap, nElement));
    hits.pThreshold[nIndex] = result.nThreshold;
}

} // namespace narvo
