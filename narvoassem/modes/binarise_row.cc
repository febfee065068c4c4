// Vector code of binarise mode.
#include "narvoassem/modes/binarise_row.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "narvoassem/modes/binarise_row.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace narvo
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
/// Nonzero lanes are no hits: what lies outside the band is brought above its width by wrapping and saturates.
template <class D>
hn::Vec<D> LoadMisses(D d, const std::uint8_t* pPixels, hn::Vec<D> vFirst, hn::Vec<D> vLast)
{
    return hn::SaturatedSub(hn::Sub(hn::LoadU(d, pPixels), vFirst), vLast);
}

template <class D>
std::uint64_t GetHitBits(D d, hn::Vec<D> vMisses)
{
    std::uint8_t cBits[8] = {};
    hn::StoreMaskBits(d, hn::Eq(vMisses, hn::Zero(d)), cBits);
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
    const hn::ScalableTag<std::uint8_t> d;
    constexpr std::int64_t nLanes = hn::MaxLanes(d);
    const auto vFirst = hn::Set(d, static_cast<std::uint8_t>(nFirst));
    const auto vLast = hn::Set(d, static_cast<std::uint8_t>(nGrays - 1));
    const auto emit = [&](std::int64_t nAt, std::uint64_t nBits, int nPixels)
    {
        for (int i = 0; i < nPixels; i += 16, nBits >>= 16)
            if ((nBits & 0xFFFF) != 0 && pHits(pContext, nAt + i, static_cast<std::uint32_t>(nBits & 0xFFFF)) == 0)
                return 0;
        return 1;
    };
    for (; x + 4 * nLanes <= nCount; x += 4 * nLanes)
    {
        const auto v0 = LoadMisses(d, pPixels + x, vFirst, vLast);
        const auto v1 = LoadMisses(d, pPixels + x + nLanes, vFirst, vLast);
        const auto v2 = LoadMisses(d, pPixels + x + 2 * nLanes, vFirst, vLast);
        const auto v3 = LoadMisses(d, pPixels + x + 3 * nLanes, vFirst, vLast);
        const auto vAll = hn::Min(hn::Min(v0, v1), hn::Min(v2, v3));
        if (HWY_LIKELY(hn::AllFalse(d, hn::Eq(vAll, hn::Zero(d)))))
            continue;
        if (emit(x, GetHitBits(d, v0), nLanes) == 0 || emit(x + nLanes, GetHitBits(d, v1), nLanes) == 0 ||
            emit(x + 2 * nLanes, GetHitBits(d, v2), nLanes) == 0 ||
            emit(x + 3 * nLanes, GetHitBits(d, v3), nLanes) == 0)
            return 0;
    }
    for (; x + nLanes <= nCount; x += nLanes)
        if (emit(x, GetHitBits(d, LoadMisses(d, pPixels + x, vFirst, vLast)), nLanes) == 0)
            return 0;
    const hn::FixedTag<std::uint8_t, 16> dGroup;
    const auto vGroupFirst = hn::Set(dGroup, static_cast<std::uint8_t>(nFirst));
    const auto vGroupLast = hn::Set(dGroup, static_cast<std::uint8_t>(nGrays - 1));
    for (; x < nCount; x += 16)
        if (emit(x, GetHitBits(dGroup, LoadMisses(dGroup, pPixels + x, vGroupFirst, vGroupLast)), 16) == 0)
            return 0;
#endif
    return 1;
}

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace narvo
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

} // namespace narvo
#endif
