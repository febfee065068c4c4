// SPDX-License-Identifier: MIT
// Vector code of the derived rows, compiled once per instruction set.
#include "narvoassem/fast/find/derive_rows.h"

#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "narvoassem/fast/find/derive_rows.cc"
#include "hwy/foreach_target.h"
//
#include "hwy/cache_control.h"
#include "hwy/highway.h"
//
#include "narvoassem/fast/find/lanes-inl.h"

#ifndef NARVOASSEM_FAST_DERIVE_ROWS_PLAIN_
#define NARVOASSEM_FAST_DERIVE_ROWS_PLAIN_

namespace narvo::engine
{

/// One element of each kind, in plain code: for the columns after the last full vector.
inline std::uint16_t PlainSum(const CSourceRows& rows, int nAcross, int nLines, std::int64_t x)
{
    unsigned nSum = 0;
    for (int nLine = 0; nLine < nLines; ++nLine)
        for (int n = 0; n < nAcross; ++n)
            nSum += rows.pRow[nLine][x + n];
    return static_cast<std::uint16_t>(nSum);
}

inline std::uint16_t PlainShiftedSum(const CSourceRows& rows, int nFraction, std::int64_t x)
{
    int nSum = 0;
    for (int nLine = 0; nLine < 2; ++nLine)
    {
        const std::uint8_t* q = rows.pRow[nLine] + x;
        nSum += ((q[0] * (16 - nFraction) + q[2] * nFraction) >> 4) + q[1];
    }
    return static_cast<std::uint16_t>(nSum);
}

} // namespace narvo::engine

#endif

HWY_BEFORE_NAMESPACE();
namespace narvo::engine
{
namespace HWY_NAMESPACE
{
namespace
{

#if HWY_TARGET == HWY_SCALAR

/// Calls onColumn(x) for every column.
template <class TOnBlock, class TOnColumn>
void ForEachBlock(const CSourceRows& /*rows*/, int /*nLines*/, std::int64_t nCount, TOnBlock&& /*onBlock*/,
                  TOnColumn&& onColumn)
{
    for (std::int64_t x = 0; x < nCount; ++x)
        onColumn(x);
}

#else

/// Calls onBlock(d, x) for full vectors, then onColumn(x) for the columns after them.
template <class TOnBlock, class TOnColumn>
HWY_INLINE void ForEachBlock(const CSourceRows& rows, int nLines, std::int64_t nCount, TOnBlock&& onBlock,
                             TOnColumn&& onColumn)
{
    const hn::CappedTag<std::uint16_t, 32> d;
    const hn::CappedTag<std::uint16_t, 16> dHalf;
    const auto nLanes = static_cast<std::int64_t>(hn::Lanes(d));
    const auto nHalfLanes = static_cast<std::int64_t>(hn::Lanes(dHalf));
    const std::uint8_t* pNext = rows.pRow[nLines - 1] + rows.nPrefetch;
    std::int64_t x = 0;
    for (; x + nLanes <= nCount; x += nLanes)
    {
        hwy::Prefetch(pNext + x);
        onBlock(d, x);
    }
    for (; x + nHalfLanes <= nCount; x += nHalfLanes)
        onBlock(dHalf, x);
    for (; x < nCount; ++x)
        onColumn(x);
}

/// Sum of one row's window at p.
template <class D>
HWY_INLINE hn::Vec<D> AcrossSum(D d, const std::uint8_t* p, int nAcross)
{
    const auto vSum = hn::Add(LoadWide(d, p), LoadWide(d, p + 1));
    return nAcross == 2 ? vSum : hn::Add(vSum, LoadWide(d, p + 2));
}

#endif

template <int kAcross, int kLines>
void MakeSum(const CSourceRows& rows, std::int64_t nCount, std::uint16_t* pOut)
{
    ForEachBlock(
        rows, kLines, nCount,
        [&]([[maybe_unused]] auto d, [[maybe_unused]] std::int64_t x)
        {
#if HWY_TARGET != HWY_SCALAR
            auto vSum = hn::Add(AcrossSum(d, rows.pRow[0] + x, kAcross), AcrossSum(d, rows.pRow[1] + x, kAcross));
            if constexpr (kLines == 3)
                vSum = hn::Add(vSum, AcrossSum(d, rows.pRow[2] + x, kAcross));
            hn::StoreU(vSum, d, pOut + x);
#endif
        },
        [&](std::int64_t x) { pOut[x] = PlainSum(rows, kAcross, kLines, x); });
}

void MakeSum2by2(const CSourceRows& rows, std::int64_t nCount, std::uint16_t* pOut)
{
    MakeSum<2, 2>(rows, nCount, pOut);
}

void MakeSum2by3(const CSourceRows& rows, std::int64_t nCount, std::uint16_t* pOut)
{
    MakeSum<2, 3>(rows, nCount, pOut);
}

void MakeSum3by2(const CSourceRows& rows, std::int64_t nCount, std::uint16_t* pOut)
{
    MakeSum<3, 2>(rows, nCount, pOut);
}

void MakeSum3by3(const CSourceRows& rows, std::int64_t nCount, std::uint16_t* pOut)
{
    MakeSum<3, 3>(rows, nCount, pOut);
}

void MakeMean(const CSourceRows& rows, std::int64_t nCount, std::uint8_t* pOut)
{
    ForEachBlock(
        rows, 2, nCount,
        [&]([[maybe_unused]] auto d, [[maybe_unused]] std::int64_t x)
        {
#if HWY_TARGET != HWY_SCALAR
            const auto vSum = hn::Add(AcrossSum(d, rows.pRow[0] + x, 2), AcrossSum(d, rows.pRow[1] + x, 2));
            const hn::Rebind<std::uint8_t, decltype(d)> d8;
            hn::StoreU(hn::TruncateTo(d8, hn::ShiftRight<2>(vSum)), d8, pOut + x);
#endif
        },
        [&](std::int64_t x) { pOut[x] = static_cast<std::uint8_t>(PlainSum(rows, 2, 2, x) >> 2); });
}

void MakeShiftedSum(const CSourceRows& rows, int nFraction, std::int64_t nCount, std::uint16_t* pOut)
{
    ForEachBlock(
        rows, 2, nCount,
        [&]([[maybe_unused]] auto d, [[maybe_unused]] std::int64_t x)
        {
#if HWY_TARGET != HWY_SCALAR
            const auto vNear = hn::Set(d, static_cast<std::uint16_t>(16 - nFraction));
            const auto vFar = hn::Set(d, static_cast<std::uint16_t>(nFraction));
            const auto shifted = [&](const std::uint8_t* q)
            { return hn::Add(Interpolate(LoadWide(d, q), vNear, LoadWide(d, q + 2), vFar), LoadWide(d, q + 1)); };
            hn::StoreU(hn::Add(shifted(rows.pRow[0] + x), shifted(rows.pRow[1] + x)), d, pOut + x);
#endif
        },
        [&](std::int64_t x) { pOut[x] = PlainShiftedSum(rows, nFraction, x); });
}

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo::engine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace narvo::engine
{

HWY_EXPORT(MakeSum2by2);
HWY_EXPORT(MakeSum2by3);
HWY_EXPORT(MakeSum3by2);
HWY_EXPORT(MakeSum3by3);
HWY_EXPORT(MakeMean);
HWY_EXPORT(MakeShiftedSum);

void MakeMeanRow(const CSourceRows& rows, std::int64_t nCount, std::uint8_t* pOut)
{
    HWY_DYNAMIC_DISPATCH(MakeMean)(rows, nCount, pOut);
}

void MakeSumRow(const CSourceRows& rows, int nAcross, int nLines, std::int64_t nCount, std::uint16_t* pOut)
{
    if (nAcross == 2 && nLines == 2)
        HWY_DYNAMIC_DISPATCH(MakeSum2by2)(rows, nCount, pOut);
    else if (nAcross == 2)
        HWY_DYNAMIC_DISPATCH(MakeSum2by3)(rows, nCount, pOut);
    else if (nLines == 2)
        HWY_DYNAMIC_DISPATCH(MakeSum3by2)(rows, nCount, pOut);
    else
        HWY_DYNAMIC_DISPATCH(MakeSum3by3)(rows, nCount, pOut);
}

void MakeShiftedSumRow(const CSourceRows& rows, int nFraction, std::int64_t nCount, std::uint16_t* pOut)
{
    HWY_DYNAMIC_DISPATCH(MakeShiftedSum)(rows, nFraction, nCount, pOut);
}

} // namespace narvo::engine

#endif
