// SPDX-License-Identifier: MIT
// See read_pass.h. Compiled once per vector level.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "measure/read_pass.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "measure/read_pass.h"

HWY_BEFORE_NAMESPACE();
namespace measure
{
namespace HWY_NAMESPACE
{
namespace
{

namespace hn = hwy::HWY_NAMESPACE;

/// Bytes between what is prefetched and what is read: of 1 to 64 KiB the best.
[[maybe_unused]] constexpr std::size_t kAhead = 16384;
[[maybe_unused]] constexpr std::size_t kCacheLine = 64;

template <bool kPrefetch>
std::uint64_t SumBytes(const std::uint8_t* HWY_RESTRICT pBytes, std::size_t nCount)
{
    const hn::ScalableTag<std::uint8_t> d8;
    const hn::Repartition<std::uint64_t, decltype(d8)> d64;
    [[maybe_unused]] const std::size_t nLanes = hn::Lanes(d8); // not in the one-lane form
    auto sum0 = hn::Zero(d64);
    auto sum1 = sum0;
    auto sum2 = sum0;
    auto sum3 = sum0;
    std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    for (; i + 4 * nLanes <= nCount; i += 4 * nLanes)
    {
        if constexpr (kPrefetch)
            for (std::size_t n = 0; n < 4 * nLanes; n += kCacheLine)
                hwy::Prefetch(pBytes + i + kAhead + n);
        sum0 = hn::Add(sum0, hn::SumsOf8(hn::LoadU(d8, pBytes + i)));
        sum1 = hn::Add(sum1, hn::SumsOf8(hn::LoadU(d8, pBytes + i + nLanes)));
        sum2 = hn::Add(sum2, hn::SumsOf8(hn::LoadU(d8, pBytes + i + 2 * nLanes)));
        sum3 = hn::Add(sum3, hn::SumsOf8(hn::LoadU(d8, pBytes + i + 3 * nLanes)));
    }
#endif
    const auto total = hn::SumOfLanes(d64, hn::Add(hn::Add(sum0, sum1), hn::Add(sum2, sum3)));
    std::uint64_t nSum = hn::GetLane(total);
    for (; i < nCount; ++i)
        nSum += pBytes[i];
    return nSum;
}

std::uint64_t Sum(const std::uint8_t* HWY_RESTRICT pBytes, std::size_t nCount)
{
    return SumBytes<false>(pBytes, nCount);
}

std::uint64_t SumAhead(const std::uint8_t* HWY_RESTRICT pBytes, std::size_t nCount)
{
    return SumBytes<true>(pBytes, nCount);
}

} // namespace
} // namespace HWY_NAMESPACE
} // namespace measure
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace measure
{

HWY_EXPORT(Sum);
HWY_EXPORT(SumAhead);

std::uint64_t ReadPass(const std::uint8_t* pBytes, std::size_t nCount)
{
    return HWY_DYNAMIC_DISPATCH(Sum)(pBytes, nCount);
}

std::uint64_t ReadPassAhead(const std::uint8_t* pBytes, std::size_t nCount)
{
    return HWY_DYNAMIC_DISPATCH(SumAhead)(pBytes, nCount);
}

} // namespace measure
#endif
