// SPDX-License-Identifier: MIT
// See least_offsets.h.
#include "narvoassem/fast/bound/least_offsets.h"

#include <algorithm>
#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "narvoassem/fast/bound/least_offsets.cc"
#include "hwy/foreach_target.h"
//
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace narvo::engine
{
namespace HWY_NAMESPACE
{
namespace
{
namespace hn = hwy::HWY_NAMESPACE;

bool LowerLimits(const std::int16_t* pMap, std::int64_t nStride, std::int64_t nLines, std::int64_t nCount,
                 std::int16_t nLeast, std::uint8_t* pLimit)
{
    const hn::CappedTag<std::int16_t, 16> d;
    const hn::Rebind<std::uint8_t, decltype(d)> d8;
    constexpr std::int64_t kLanes = hn::MaxLanes(d);
    auto vLeast = hn::Set(d, kGreatestBase);
    auto vGreatest = vLeast;
    for (std::int64_t nDone = 0; nDone < nCount; nDone += kLanes)
    {
        // The last elements are done together with some of those before.
        const std::int64_t i = std::min(nDone, nCount - kLanes);
        auto vLimit = hn::LoadU(d, pMap + i);
        for (std::int64_t nLine = 0; nLine < nLines; ++nLine)
        {
            const auto vOffset = hn::LoadU(d, pMap + nLine * nStride + i);
            vLimit = hn::Min(vLimit, vOffset);
            vGreatest = hn::Max(vGreatest, vOffset);
        }
        vLeast = hn::Min(vLeast, vLimit);
        const auto vHeld = hn::LoadU(d8, pLimit + i);
        hn::StoreU(hn::Min(hn::DemoteTo(d8, vLimit), vHeld), d8, pLimit + i);
    }
    return hn::AllFalse(d, hn::Lt(vLeast, hn::Set(d, nLeast))) &&
           hn::AllFalse(d, hn::Gt(vGreatest, hn::Set(d, kGreatestBase)));
}

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo::engine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace narvo::engine
{

HWY_EXPORT(LowerLimits);

bool LowerToLeastOffsets(const std::int16_t* pMap, std::int64_t nStride, std::int64_t nLines, std::int64_t nCount,
                         std::int16_t nLeast, std::uint8_t* pLimit)
{
    return HWY_DYNAMIC_DISPATCH(LowerLimits)(pMap, nStride, nLines, nCount, nLeast, pLimit);
}

} // namespace narvo::engine

#endif
