// SPDX-License-Identifier: MIT
// Vector code of the finder, compiled once per instruction set. One loop serves all variants: what differs is how
// source and reference are read and where the threshold comes from, fixed at compile time.
#include "narvoassem/fast/find/find_row.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

#include "narvoassem/fast/find/compare_pixel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "narvoassem/fast/find/find_row.cc"
#include "hwy/foreach_target.h"
//
#include "hwy/cache_control.h"
#include "hwy/highway.h"
//
#include "narvoassem/fast/find/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace narvo::engine
{
namespace HWY_NAMESPACE
{
namespace
{

#if HWY_TARGET == HWY_SCALAR

template <CFindTraits kTraits>
void FindRun(const CFindRow& row, const CStripRun& run)
{
    for (std::int64_t nStrip = 0; nStrip < run.nStripCount; ++nStrip)
    {
        unsigned nMask = 0;
        for (std::int64_t k = 0; k < kStripWidth; ++k)
        {
            const std::int64_t i = nStrip * kStripWidth + k;
            const CPixelComparison found = ComparePixel<kTraits>(row, run.nFirstStrip * kStripWidth + i,
                                                                 row.nMapRow + run.nMapBase + i, run.nDisplacement);
            nMask |= static_cast<unsigned>(found.IsHit()) << k;
        }
        row.pMask[run.nFirstStrip + nStrip] = static_cast<std::uint16_t>(nMask);
    }
}

#else

/// What one run reads besides its source: the reference rows at its displacement, and the maps given, or zeros.
struct CRunRows
{
    const std::uint8_t* pNear;
    const std::uint8_t* pFar;
    const std::int16_t* pOffset;
    const std::int16_t* pGain;
    const std::int16_t* pKnee;
    const std::int16_t* pOffset2;
    const std::int16_t* pGain2;

    CRunRows(const CFindRow& row, const CStripRun& run)
        : pNear(row.pNear + run.nDisplacement), pFar(row.pFar + run.nDisplacement)
    {
        const std::int64_t nElement = run.nMapBase + row.nMapRow;
        const auto select = [&](const std::int16_t* pMap) { return pMap != nullptr ? pMap + nElement : row.pZeroMap; };
        pOffset = select(row.pOffsetMap);
        pGain = select(row.pGainMap);
        pKnee = select(row.pKneeMap);
        pOffset2 = select(row.pOffsetMap2);
        pGain2 = select(row.pGainMap2);
    }
};

/// Values that are the same for all pixels of a row, in every lane.
template <class D>
struct CRowLanes
{
    CLaneValue<D> weightNear, weightFar, weightLeft, weightRight, grayLimit, base, gain, base2, gain2;

    CRowLanes(D d, const CFindRow& row)
        : weightNear(d, row.nWeightNear), weightFar(d, row.nWeightFar), weightLeft(d, row.nWeightLeft),
          weightRight(d, row.nWeightRight), grayLimit(d, row.nGrayLimit), base(d, row.nBase), gain(d, row.nGain),
          base2(d, row.nBase2), gain2(d, row.nGain2)
    {
    }
};

template <CFindTraits kTraits, class D>
HWY_INLINE hn::Vec<D> LoadReference(D d, const CFindRow& row, const CRowLanes<D>& lanes, const CRunRows& rows,
                                    std::int64_t x)
{
    if constexpr (kTraits.eReference == FindReference::Column)
        return Interpolate(LoadWide(d, rows.pNear + x), LoadMap(d, row.pColumnNear + x), LoadWide(d, rows.pFar + x),
                           LoadMap(d, row.pColumnFar + x));
    else if constexpr (kTraits.eReference == FindReference::Bilinear)
    {
        const auto vNear = Interpolate(LoadWide(d, rows.pNear + x), lanes.weightLeft.Get(),
                                       LoadWide(d, rows.pNear + x + 1), lanes.weightRight.Get());
        const auto vFar = Interpolate(LoadWide(d, rows.pFar + x), lanes.weightLeft.Get(),
                                      LoadWide(d, rows.pFar + x + 1), lanes.weightRight.Get());
        return Interpolate(vNear, lanes.weightNear.Get(), vFar, lanes.weightFar.Get());
    }
    else
        return Interpolate(LoadWide(d, rows.pNear + x), lanes.weightNear.Get(), LoadWide(d, rows.pFar + x),
                           lanes.weightFar.Get());
}

template <CFindTraits kTraits, class D>
HWY_INLINE hn::Vec<D> LoadThreshold(D d, const CRowLanes<D>& lanes, const CRunRows& rows, hn::Vec<D> vMax,
                                    std::int64_t i)
{
    if constexpr (kTraits.eThreshold == FindThreshold::Floor)
        return lanes.base.Get();
    else if constexpr (!kTraits.UsesMaps())
    {
        const auto vThreshold = FormThreshold(vMax, lanes.gain.Get(), lanes.base.Get());
        if constexpr (kTraits.eThreshold == FindThreshold::Scalar)
            return vThreshold;
        else
        {
            const hn::RebindToSigned<D> di;
            return hn::BitCast(d, hn::Min(hn::BitCast(di, vThreshold),
                                          hn::BitCast(di, FormThreshold(vMax, lanes.gain2.Get(), lanes.base2.Get()))));
        }
    }
    else
    {
        const auto vThreshold = FormThreshold(vMax, LoadMap(d, rows.pGain + i), LoadMap(d, rows.pOffset + i));
        if constexpr (kTraits.eThreshold == FindThreshold::Map)
            return vThreshold;
        else
        {
            const hn::RebindToSigned<D> di;
            const auto bUpper = hn::RebindMask(d, hn::Gt(hn::BitCast(di, vMax), hn::LoadU(di, rows.pKnee + i)));
            return hn::IfThenElse(
                bUpper, FormThreshold(vMax, LoadMap(d, rows.pGain2 + i), LoadMap(d, rows.pOffset2 + i)), vThreshold);
        }
    }
}

/// As many pixels as d has lanes, at column x of the row, element i of the run.
template <CFindTraits kTraits, class D>
HWY_INLINE hn::Mask<hn::RebindToSigned<D>> FindBlock(D d, const CFindRow& row, const CRowLanes<D>& lanes,
                                                     const CRunRows& rows, std::int64_t x, std::int64_t i)
{
    auto vSrc = LoadWide(d, row.pSrc + x);
    auto vCmp = LoadReference<kTraits>(d, row, lanes, rows, x);
    if constexpr (kTraits.IsLimited())
    {
        vSrc = hn::Min(vSrc, lanes.grayLimit.Get());
        vCmp = hn::Min(vCmp, lanes.grayLimit.Get());
    }
    return IsHit(d, vSrc, vCmp, LoadThreshold<kTraits>(d, lanes, rows, hn::Max(vSrc, vCmp), i));
}

/// The widest vector, and the one that a strip is always a multiple of.
using CWideTag = hn::CappedTag<std::uint16_t, 2 * kStripWidth>;
using CStripTag = hn::CappedTag<std::uint16_t, kStripWidth>;

template <CFindTraits kTraits>
HWY_INLINE void FindRun(const CFindRow& row, const CStripRun& run, const CRowLanes<CWideTag>& lanes,
                        const CRowLanes<CStripTag>& lanesStrip)
{
    const CWideTag d;
    const CStripTag dStrip;
    const hn::RebindToSigned<CWideTag> di;
    const hn::RebindToSigned<CStripTag> diStrip;
    const CRunRows rows(row, run);
    const auto nLanes = static_cast<std::int64_t>(hn::Lanes(d));
    const std::int64_t nFirst = run.nFirstStrip * kStripWidth;
    const std::int64_t nColumns = run.nStripCount * kStripWidth;
    std::uint8_t* pBits = reinterpret_cast<std::uint8_t*>(row.pMask) + nFirst / 8;
    std::int64_t i = 0;
    for (; i + 2 * nLanes <= nColumns; i += 2 * nLanes)
    {
        hwy::Prefetch(rows.pFar + row.nPrefetch + nFirst + i);
        const auto bFirst = FindBlock<kTraits>(d, row, lanes, rows, nFirst + i, i);
        const auto bSecond = FindBlock<kTraits>(d, row, lanes, rows, nFirst + i + nLanes, i + nLanes);
        StoreMaskPair(di, bFirst, bSecond, pBits + i / 8);
    }
    for (; i + nLanes <= nColumns; i += nLanes)
        hn::StoreMaskBits(di, FindBlock<kTraits>(d, row, lanes, rows, nFirst + i, i), pBits + i / 8);
    // The remainder where a vector is wider than a strip: one strip.
    if constexpr (hn::MaxLanes(CWideTag()) > kStripWidth)
        if (i < nColumns)
            hn::StoreMaskBits(diStrip, FindBlock<kTraits>(dStrip, row, lanesStrip, rows, nFirst + i, i), pBits + i / 8);
}

#endif

template <CFindTraits kTraits>
HWY_INLINE void FindRuns(const CFindRow& row)
{
#if HWY_TARGET == HWY_SCALAR
    for (std::size_t n = 0; n < row.nRunCount; ++n)
        FindRun<kTraits>(row, row.pRuns[n]);
#else
    const CRowLanes lanes(CWideTag(), row);
    const CRowLanes lanesStrip(CStripTag(), row);
    for (std::size_t n = 0; n < row.nRunCount; ++n)
        FindRun<kTraits>(row, row.pRuns[n], lanes, lanesStrip);
#endif
}

template <std::size_t kVariant>
void FindVariantRow(const CFindRow& row)
{
    FindRuns<findVariants[kVariant]>(row);
}

template <std::size_t... kVariant>
void FindRowBy(std::index_sequence<kVariant...> /*variants*/, FindVariant eVariant, const CFindRow& row)
{
    static constexpr void (*finders[])(const CFindRow&) = {FindVariantRow<kVariant>...};
    finders[static_cast<std::size_t>(eVariant)](row);
}

void FindOneRow(FindVariant eVariant, const CFindRow& row)
{
    FindRowBy(std::make_index_sequence<std::size(findVariants)>(), eVariant, row);
}

const char* TargetName()
{
    return hwy::TargetName(HWY_TARGET);
}

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo::engine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace narvo::engine
{

HWY_EXPORT(FindOneRow);
HWY_EXPORT(TargetName);

void FindRow(FindVariant eVariant, const CFindRow& row)
{
    HWY_DYNAMIC_DISPATCH(FindOneRow)(eVariant, row);
}

const char* GetVectorTargetName()
{
    return HWY_DYNAMIC_DISPATCH(TargetName)();
}

} // namespace narvo::engine

#endif
