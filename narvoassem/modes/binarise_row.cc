// SPDX-License-Identifier: MIT
// Vector code of binarise mode.
#include "narvoassem/modes/binarise_row.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "narvoassem/modes/binarise_row.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace narvo::engine
{
namespace HWY_NAMESPACE
{
namespace
{

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR
std::uint32_t FindGroup(const std::uint8_t* pPixels, int nFirst, int nGrays)
{
    std::uint32_t nBits = 0;
    for (int i = 0; i < 16; ++i)
        if (pPixels[i] >= nFirst && pPixels[i] < nFirst + nGrays)
            nBits |= 1U << i;
    return nBits;
}
#else
/// Pixels as distances from the band's first grey, greys below it wrapping to the far end: up to the last is a hit.
template <class D>
hn::Vec<D> LoadDistances(D d, const std::uint8_t* pPixels, hn::Vec<D> vFirst)
{
    return hn::Sub(hn::LoadU(d, pPixels), vFirst);
}

template <class D>
hn::Mask<D> GetHits(D d, hn::Vec<D> vDistances, hn::Vec<D> vLast)
{
    return hn::Eq(hn::SaturatedSub(vDistances, vLast), hn::Zero(d));
}

template <class D>
std::uint64_t GetHitBits(D d, hn::Vec<D> vDistances, hn::Vec<D> vLast)
{
    std::uint8_t cBits[8] = {};
    hn::StoreMaskBits(d, GetHits(d, vDistances, vLast), cBits);
    std::uint64_t nBits = 0;
    std::memcpy(&nBits, cBits, sizeof nBits);
    return nBits;
}
#endif

int FindBandPixels(const std::uint8_t* pPixels, std::int64_t nCount, int nFirst, int nGrays,
                   int (*pHits)(void* pContext, std::int64_t x, std::uint32_t nBits), void* pContext)
{
    std::int64_t x = 0;
#if HWY_TARGET == HWY_SCALAR
    for (; x < nCount; x += 16)
    {
        const std::uint32_t nBits = FindGroup(pPixels + x, nFirst, nGrays);
        if (nBits != 0 && pHits(pContext, x, nBits) == 0)
            return 0;
    }
#else
    // At most as many lanes as bits of a word.
    const hn::CappedTag<std::uint8_t, 64> d;
    const auto nLanes = static_cast<std::int64_t>(hn::Lanes(d));
    const auto vFirst = hn::Set(d, static_cast<std::uint8_t>(nFirst));
    const auto vLast = hn::Set(d, static_cast<std::uint8_t>(nGrays - 1));
    const auto emit = [&](std::int64_t nAt, std::uint64_t nBits, std::int64_t nPixels)
    {
        for (std::int64_t i = 0; i < nPixels; i += 16, nBits >>= 16)
            if ((nBits & 0xFFFF) != 0 && pHits(pContext, nAt + i, static_cast<std::uint32_t>(nBits & 0xFFFF)) == 0)
                return 0;
        return 1;
    };
    for (; x + 4 * nLanes <= nCount; x += 4 * nLanes)
    {
        const auto v0 = LoadDistances(d, pPixels + x, vFirst);
        const auto v1 = LoadDistances(d, pPixels + x + nLanes, vFirst);
        const auto v2 = LoadDistances(d, pPixels + x + 2 * nLanes, vFirst);
        const auto v3 = LoadDistances(d, pPixels + x + 3 * nLanes, vFirst);
        if (HWY_LIKELY(hn::AllFalse(d, GetHits(d, hn::Min(hn::Min(v0, v1), hn::Min(v2, v3)), vLast))))
            continue;
        if (emit(x, GetHitBits(d, v0, vLast), nLanes) == 0 || emit(x + nLanes, GetHitBits(d, v1, vLast), nLanes) == 0 ||
            emit(x + 2 * nLanes, GetHitBits(d, v2, vLast), nLanes) == 0 ||
            emit(x + 3 * nLanes, GetHitBits(d, v3, vLast), nLanes) == 0)
            return 0;
    }
    for (; x + nLanes <= nCount; x += nLanes)
        if (emit(x, GetHitBits(d, LoadDistances(d, pPixels + x, vFirst), vLast), nLanes) == 0)
            return 0;
    const hn::FixedTag<std::uint8_t, 16> dGroup;
    const auto vGroupFirst = hn::Set(dGroup, static_cast<std::uint8_t>(nFirst));
    const auto vGroupLast = hn::Set(dGroup, static_cast<std::uint8_t>(nGrays - 1));
    for (; x < nCount; x += 16)
        if (emit(x, GetHitBits(dGroup, LoadDistances(dGroup, pPixels + x, vGroupFirst), vGroupLast), 16) == 0)
            return 0;
#endif
    return 1;
}

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo::engine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace narvo::engine
{

namespace
{
HWY_EXPORT(FindBandPixels);
} // namespace

int FindBandPixels(const std::uint8_t* pPixels, std::int64_t nCount, int nFirst, int nGrays,
                   int (*pHits)(void* pContext, std::int64_t x, std::uint32_t nBits), void* pContext)
{
    return HWY_DYNAMIC_DISPATCH(FindBandPixels)(pPixels, nCount, nFirst, nGrays, pHits, pContext);
}

} // namespace narvo::engine
#endif
