// SPDX-License-Identifier: MIT
// Vector code of the float family's finder, compiled once per instruction set.
#include "narvoassem/fast/find/find_sums.h"

#include <cstddef>
#include <cstdint>
#include <utility>

#include "narvoassem/fast/find/compare_sums.h"
#include "narvoassem/fast/find/find_row.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "narvoassem/fast/find/find_sums.cc"
#include "hwy/foreach_target.h"
//
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

template <SumsVariant kVariant>
void FindSumsRow(const CSumsRow& row)
{
    for (std::int64_t nGroup = 0; nGroup < row.nGroups; ++nGroup)
    {
        unsigned nMask = 0;
        for (int k = 0; k < kGroupWidth; ++k)
            nMask |= static_cast<unsigned>(CompareSums<kVariant>(row, nGroup * kGroupWidth + k).IsHit()) << k;
        row.pMask[nGroup] = static_cast<std::uint8_t>(nMask);
    }
}

#else

template <class D>
HWY_INLINE hn::Vec<D> LoadSums(D d, const std::uint16_t* p)
{
    return hn::LoadU(d, p);
}

/// As many pixels as d has lanes, from column x on.
template <SumsVariant kVariant, class D>
HWY_INLINE void FindSumsBlock(D d, const CSumsRow& row, std::int64_t x)
{
    const hn::RebindToSigned<D> di;
    const auto vLimit = hn::Set(d, row.nLimit);

    const auto vSrc = hn::Min(hn::ShiftLeft<4>(LoadSums(d, row.pSrc + x)), vLimit);
    auto vCmp = hn::Zero(d);
    if constexpr (HasColumnWeights(kVariant))
    {
        const auto vNear = hn::Mul(LoadSums(d, row.pNear + x), LoadMap(d, row.pColumnNear + x));
        const auto vFar = hn::Mul(LoadSums(d, row.pFar + x), LoadMap(d, row.pColumnFar + x));
        vCmp = hn::Add(hn::Add(vNear, vFar), hn::ShiftLeft<4>(LoadSums(d, row.pMiddle + x)));
    }
    else
        vCmp = hn::Add(hn::Mul(LoadSums(d, row.pNear + x), hn::Set(d, row.nWeightNear)),
                       hn::Mul(LoadSums(d, row.pFar + x), hn::Set(d, row.nWeightFar)));
    vCmp = hn::Min(vCmp, vLimit);
    const auto vDark = hn::SaturatedSub(vCmp, vSrc);
    const auto vBright = hn::SaturatedSub(vSrc, vCmp);

    if constexpr (IsPlain(kVariant))
    {
        const auto vPlain = hn::BitCast(di, hn::Set(d, row.nBase));
        auto bDark = hn::Gt(hn::BitCast(di, vDark), vPlain);
        auto bBright = hn::Gt(hn::BitCast(di, vBright), vPlain);
        if constexpr (kVariant == SumsVariant::PlainWitness)
        {
            const auto vAhead = hn::ShiftLeft<4>(LoadSums(d, row.pNear + x));
            const auto vBack = hn::Add(hn::Mul(LoadSums(d, row.pSrc + x), hn::Set(d, row.nWeightNear)),
                                       hn::Mul(LoadSums(d, row.pBack + x), hn::Set(d, row.nWeightFar)));
            bDark = hn::And(bDark, hn::Gt(hn::BitCast(di, hn::SaturatedSub(vAhead, vBack)), vPlain));
            bBright = hn::And(bBright, hn::Gt(hn::BitCast(di, hn::SaturatedSub(vBack, vAhead)), vPlain));
        }
        hn::StoreMaskBits(di, hn::Or(bDark, bBright), row.pMask + x / kGroupWidth);
        return;
    }

    const auto vGray = hn::ShiftRight<GrayShift(kVariant)>(WorksOnSource(kVariant) ? vSrc : hn::Max(vSrc, vCmp));
    const auto vUnits = hn::Set(d, row.nUnits);
    auto vThreshold =
        hn::BitCast(di, hn::Mul(FormThreshold(vGray, hn::Set(d, row.nGain), hn::Set(d, row.nBase)), vUnits));
    if constexpr (kVariant == SumsVariant::LargerSmaller)
        vThreshold = hn::Min(
            vThreshold,
            hn::BitCast(di, hn::Mul(FormThreshold(vGray, hn::Set(d, row.nGain2), hn::Set(d, row.nBase2)), vUnits)));

    // One of the two differences is 0, so the larger of both, signed, is the other one or 0.
    const auto vLarger = hn::Max(hn::BitCast(di, hn::Or(vDark, vBright)), hn::Zero(di));
    hn::StoreMaskBits(di, hn::Gt(vLarger, vThreshold), row.pMask + x / kGroupWidth);
}

template <SumsVariant kVariant>
HWY_INLINE void FindSumsRow(const CSumsRow& row)
{
    const hn::CappedTag<std::uint16_t, 32> d;
    const hn::CappedTag<std::uint16_t, kGroupWidth> dGroup;
    const std::int64_t nLanes = static_cast<std::int64_t>(hn::Lanes(d));
    const std::int64_t nColumns = row.nGroups * kGroupWidth;
    std::int64_t x = 0;
    for (; x + nLanes <= nColumns; x += nLanes)
        FindSumsBlock<kVariant>(d, row, x);
    for (; x < nColumns; x += kGroupWidth)
        FindSumsBlock<kVariant>(dGroup, row, x);
}

#endif

template <std::size_t kVariant>
void FindVariantSums(const CSumsRow& row)
{
    FindSumsRow<static_cast<SumsVariant>(kVariant)>(row);
}

template <std::size_t... kVariant>
void FindSumsBy(std::index_sequence<kVariant...> /*variants*/, SumsVariant eVariant, const CSumsRow& row)
{
    static constexpr void (*finders[])(const CSumsRow&) = {FindVariantSums<kVariant>...};
    finders[static_cast<std::size_t>(eVariant)](row);
}

void FindOneSumsRow(SumsVariant eVariant, const CSumsRow& row)
{
    FindSumsBy(std::make_index_sequence<static_cast<std::size_t>(SumsVariant::Count)>(), eVariant, row);
}

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo::engine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace narvo::engine
{

HWY_EXPORT(FindOneSumsRow);

void FindSums(SumsVariant eVariant, const CSumsRow& row)
{
    HWY_DYNAMIC_DISPATCH(FindOneSumsRow)(eVariant, row);
}

} // namespace narvo::engine

#endif
