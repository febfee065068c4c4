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

/// The rest of a pass, from byte i on.
std::uint64_t SumOneByOne(const std::uint8_t* pBytes, std::size_t i, std::size_t nCount)
{
    std::uint64_t nSum = 0;
    for (; i < nCount; ++i)
        nSum += pBytes[i];
    return nSum;
}

std::uint64_t Sum(const std::uint8_t* HWY_RESTRICT pBytes, std::size_t nCount)
{
    std::size_t i = 0;
    std::uint64_t nSum = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<std::uint8_t> d8;
    const hn::Repartition<std::uint64_t, decltype(d8)> d64;
    const std::size_t nLanes = hn::Lanes(d8);
    auto sum0 = hn::Zero(d64);
    auto sum1 = sum0;
    auto sum2 = sum0;
    auto sum3 = sum0;
    for (; i + 4 * nLanes <= nCount; i += 4 * nLanes)
    {
        sum0 = hn::Add(sum0, hn::SumsOf8(hn::LoadU(d8, pBytes + i)));
        sum1 = hn::Add(sum1, hn::SumsOf8(hn::LoadU(d8, pBytes + i + nLanes)));
        sum2 = hn::Add(sum2, hn::SumsOf8(hn::LoadU(d8, pBytes + i + 2 * nLanes)));
        sum3 = hn::Add(sum3, hn::SumsOf8(hn::LoadU(d8, pBytes + i + 3 * nLanes)));
    }
    nSum = hn::GetLane(hn::SumOfLanes(d64, hn::Add(hn::Add(sum0, sum1), hn::Add(sum2, sum3))));
#endif
    return nSum + SumOneByOne(pBytes, i, nCount);
}

std::uint64_t SumPages(const std::uint8_t* HWY_RESTRICT pBytes, std::size_t nCount)
{
    std::size_t i = 0;
    std::uint64_t nSum = 0;
#if HWY_TARGET != HWY_SCALAR
    constexpr std::size_t kPage = 4096;
    const hn::CappedTag<std::uint8_t, 64> d8;
    const hn::Repartition<std::uint64_t, decltype(d8)> d64;
    const std::size_t nLanes = hn::Lanes(d8);
    auto sum0 = hn::Zero(d64);
    auto sum1 = sum0;
    auto sum2 = sum0;
    auto sum3 = sum0;
    for (; i + 4 * kPage <= nCount; i += 4 * kPage)
        for (std::size_t n = 0; n < kPage; n += nLanes)
        {
            const std::uint8_t* const p = pBytes + i + n;
            for (std::size_t nPage = 4; nPage < 8; ++nPage)
                hwy::Prefetch(p + nPage * kPage);
            sum0 = hn::Add(sum0, hn::SumsOf8(hn::LoadU(d8, p)));
            sum1 = hn::Add(sum1, hn::SumsOf8(hn::LoadU(d8, p + kPage)));
            sum2 = hn::Add(sum2, hn::SumsOf8(hn::LoadU(d8, p + 2 * kPage)));
            sum3 = hn::Add(sum3, hn::SumsOf8(hn::LoadU(d8, p + 3 * kPage)));
        }
    nSum = hn::GetLane(hn::SumOfLanes(d64, hn::Add(hn::Add(sum0, sum1), hn::Add(sum2, sum3))));
#endif
    return nSum + SumOneByOne(pBytes, i, nCount);
}

} // namespace
} // namespace HWY_NAMESPACE
} // namespace measure
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace measure
{

HWY_EXPORT(Sum);
HWY_EXPORT(SumPages);

std::uint64_t ReadPass(const std::uint8_t* pBytes, std::size_t nCount)
{
    return HWY_DYNAMIC_DISPATCH(Sum)(pBytes, nCount);
}

std::uint64_t BestReadPass(const std::uint8_t* pBytes, std::size_t nCount)
{
    return HWY_DYNAMIC_DISPATCH(SumPages)(pBytes, nCount);
}

} // namespace measure
#endif
