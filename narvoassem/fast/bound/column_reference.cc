// SPDX-License-Identifier: MIT
// See column_reference.h.
#include "narvoassem/fast/bound/column_reference.h"

#include <cstddef>
#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "narvoassem/fast/bound/column_reference.cc"
#include "hwy/foreach_target.h"
//
#include "hwy/highway.h"
//
#include "narvoassem/fast/bound/pair_products-inl.h"

HWY_BEFORE_NAMESPACE();
namespace narvo::engine
{
namespace HWY_NAMESPACE
{
namespace
{

#if HWY_TARGET == HWY_SCALAR

HWY_INLINE void FormRun(const std::uint8_t* pNear, const std::uint8_t* pWeights, std::int64_t nColumns,
                        std::uint8_t* pOut)
{
    for (std::int64_t x = 0; x < nColumns; ++x)
    {
        const std::uint8_t* const pPair = pWeights + x / kStripWidth * kStripWidth + 2 * (x % kGroupWidth);
        pOut[x] = static_cast<std::uint8_t>((pNear[x] * pPair[0] + pNear[x + 1] * pPair[1]) >> 4);
    }
}

#else

/// As many columns as d has lanes. Two bytes interleaved meet their two weights, and both halves of a strip use the
/// same weights.
template <class D>
HWY_INLINE void FormBlock(D d, const std::uint8_t* pNear, const std::uint8_t* pWeights, std::uint8_t* pOut)
{
    const hn::Repartition<std::int16_t, D> dWords;
    const auto vNear = hn::LoadU(d, pNear);
    const auto vFar = hn::LoadU(d, pNear + 1);
    const auto vWeights = hn::BitCast(dWords, hn::LoadU(d, pWeights));
    const auto vLower = hn::ShiftRight<4>(MultiplyPairs(hn::InterleaveLower(d, vNear, vFar), vWeights));
    const auto vUpper = hn::ShiftRight<4>(MultiplyPairs(hn::InterleaveUpper(d, vNear, vFar), vWeights));
    hn::StoreU(PackBytes(vLower, vUpper), d, pOut);
}

HWY_INLINE void FormRun(const std::uint8_t* pNear, const std::uint8_t* pWeights, std::int64_t nColumns,
                        std::uint8_t* pOut)
{
    const hn::CappedTag<std::uint8_t, 64> d;
    const hn::CappedTag<std::uint8_t, kStripWidth> dStrip;
    const auto nLanes = static_cast<std::int64_t>(hn::Lanes(d));
    std::int64_t x = 0;
    for (; x + nLanes <= nColumns; x += nLanes)
        FormBlock(d, pNear + x, pWeights + x, pOut + x);
    for (; x < nColumns; x += kStripWidth)
        FormBlock(dStrip, pNear + x, pWeights + x, pOut + x);
}

#endif

void FormReferences(const CFindRow& row, const std::uint8_t* pNear, const std::uint8_t* pWeights, std::uint8_t* pOut)
{
    for (std::size_t n = 0; n < row.nRunCount;)
    {
        // Runs that differ in their map elements only are one here.
        const CStripRun& first = row.pRuns[n];
        std::int64_t nEnd = first.nFirstStrip;
        for (;
             n < row.nRunCount && row.pRuns[n].nFirstStrip == nEnd && row.pRuns[n].nDisplacement == first.nDisplacement;
             ++n)
            nEnd += row.pRuns[n].nStripCount;
        const std::int64_t x = first.nFirstStrip * kStripWidth;
        FormRun(pNear + first.nDisplacement + x, pWeights + x, nEnd * kStripWidth - x, pOut + x);
    }
}

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo::engine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace narvo::engine
{

HWY_EXPORT(FormReferences);

void FormColumnReference(const CFindRow& row, const std::uint8_t* pNear, const std::uint8_t* pWeights,
                         std::uint8_t* pOut)
{
    HWY_DYNAMIC_DISPATCH(FormReferences)(row, pNear, pWeights, pOut);
}

} // namespace narvo::engine

#endif
