// SPDX-License-Identifier: MIT
// Vector code of the bound of single pixels, compiled once per instruction set and for each fraction. It compares 64
// columns of all rows at a time and branches once for them, since nearly everywhere there is no candidate.
#include "narvoassem/fast/bound/list_candidates.h"

#include <cstdint>
#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "narvoassem/fast/bound/list_candidates.cc"
#include "hwy/foreach_target.h"
//
#include "hwy/cache_control.h"
#include "hwy/highway.h"
//
#include "narvoassem/fast/bound/list_words-inl.h"

HWY_BEFORE_NAMESPACE();
namespace narvo::engine
{
namespace HWY_NAMESPACE
{
namespace
{
/// The average for bit kBit of the fraction; none before its lowest set bit.
template <int kFraction, int kBit>
HWY_INLINE CBytes Weigh(CBytes vChain, CBytes vNear, CBytes vFar)
{
    if constexpr ((kFraction & kBit) != 0)
        return hn::AverageRound(vChain, vFar);
    else if constexpr ((kFraction & (kBit - 1)) != 0)
        return hn::AverageRound(vChain, vNear);
    else
        return vChain;
}

/// The reference or, with a fraction, one more.
template <int kFraction>
HWY_INLINE CBytes FormReference(CBytes vNear, CBytes vFar)
{
    CBytes vChain = Weigh<kFraction, 1>(vNear, vNear, vFar);
    vChain = Weigh<kFraction, 2>(vChain, vNear, vFar);
    vChain = Weigh<kFraction, 4>(vChain, vNear, vFar);
    return Weigh<kFraction, 8>(vChain, vNear, vFar);
}

/// Columns of a reference row: its bytes or, with a weight nRight of the next column, the chain between neighbours,
/// with one average for each bit. Below the lowest set bit it averages the same bytes.
template <bool kBilinear>
HWY_INLINE CBytes LoadReference(const std::uint8_t* pRow, int nRight)
{
    const CByteTag d;
    CBytes vChain = hn::LoadU(d, pRow);
    if constexpr (kBilinear)
        for (int nBit = 0; nBit < 4; ++nBit)
            vChain = hn::AverageRound(vChain, hn::LoadU(d, pRow + (nRight >> nBit & 1)));
    return vChain;
}

/// How far the source lies above the reference, and below.
struct CDistance
{
    CBytes vAbove;
    CBytes vBelow;

    HWY_INLINE CDistance(CBytes vSource, CBytes vReference)
        : vAbove(hn::SaturatedSub(vSource, vReference)), vBelow(hn::SaturatedSub(vReference, vSource))
    {
    }
    HWY_INLINE void Widen(const CDistance& other)
    {
        vAbove = hn::Max(vAbove, other.vAbove);
        vBelow = hn::Max(vBelow, other.vBelow);
    }
    /// Not 0 in lanes that pass the test; the reference is at most kError too high.
    template <int kError>
    HWY_INLINE CBytes Excess(CBytes vLimit) const
    {
        const CByteTag d;
        const CBytes vLower = kError == 0 ? vLimit : hn::SaturatedSub(vLimit, hn::Set(d, kError));
        return hn::Or(hn::SaturatedSub(vAbove, vLower), hn::SaturatedSub(vBelow, vLimit));
    }
};

/// How much the chains may be too high.
template <int kFraction, bool kBilinear>
constexpr int kChainError = (kFraction != 0 ? 1 : 0) + (kBilinear ? 1 : 0);

/// Columns x .. x + 63 of one row: a bit for each that passes.
template <int kFraction, bool kBilinear>
HWY_NOINLINE std::uint64_t MarkWord(const CBoundRows& rows, int nRow, std::int64_t x)
{
    const CByteTag d;
    constexpr std::int64_t kLanes = hn::MaxLanes(d);
    std::uint64_t nBits = 0;
    for (std::int64_t i = 0; i < kBoundColumns; i += kLanes)
    {
        const CDistance distance(
            hn::LoadU(d, rows.pSource[nRow] + x + i),
            FormReference<kFraction>(LoadReference<kBilinear>(rows.pReference[nRow] + x + i, rows.nRight),
                                     LoadReference<kBilinear>(rows.pReference[nRow + 1] + x + i, rows.nRight)));
        const CBytes vExcess = distance.Excess<kChainError<kFraction, kBilinear>>(hn::LoadU(d, rows.pLimit + x + i));
        nBits |= BitsOf(vExcess) << i;
    }
    return nBits;
}

template <int kFraction, bool kBilinear, int kRows>
struct CPixelTest
{
    static HWY_INLINE void Prefetch(const CBoundRows& rows, std::int64_t x)
    {
        for (int nRow = 1; nRow <= kRows; ++nRow)
        {
            hwy::Prefetch(rows.pReference[kRows] + nRow * rows.nPrefetch + x);
            if (kRows > 1)
                hwy::Prefetch(rows.pSource[kRows - 1] + nRow * rows.nPrefetch + x);
        }
    }
    static HWY_INLINE bool PassesAny(const CBoundRows& rows, std::int64_t x)
    {
        const CByteTag d;
        constexpr std::int64_t kLanes = hn::MaxLanes(d);
        CBytes vAny = hn::Zero(d);
        for (std::int64_t i = x; i < x + kBoundColumns; i += kLanes)
        {
            CBytes vNear = LoadReference<kBilinear>(rows.pReference[0] + i, rows.nRight);
            CDistance furthest(vNear, vNear);
            for (int nRow = 0; nRow < kRows; ++nRow)
            {
                const CBytes vFar = LoadReference<kBilinear>(rows.pReference[nRow + 1] + i, rows.nRight);
                furthest.Widen(CDistance(hn::LoadU(d, rows.pSource[nRow] + i), FormReference<kFraction>(vNear, vFar)));
                vNear = vFar;
            }
            vAny = hn::Or(vAny, furthest.Excess<kChainError<kFraction, kBilinear>>(hn::LoadU(d, rows.pLimit + i)));
        }
        return !hn::AllTrue(d, hn::Eq(vAny, hn::Zero(d)));
    }
    static HWY_INLINE void Mark(const CBoundRows& rows, std::int64_t x, std::uint64_t* pBits)
    {
        for (int nRow = 0; nRow < kRows; ++nRow)
            pBits[nRow] = MarkWord<kFraction, kBilinear>(rows, nRow, x);
    }
};

template <int kFraction, bool kBilinear, int kRows>
bool ListFor(CBoundRows& rows)
{
    return ListWords<CPixelTest<kFraction, kBilinear, kRows>, kRows>(rows);
}

template <bool kBilinear, int... kFraction>
bool ListBy(std::integer_sequence<int, kFraction...> /*fractions*/, CBoundRows& rows)
{
    static constexpr bool (*one[])(CBoundRows&) = {ListFor<kFraction, kBilinear, 1>...};
    static constexpr bool (*several[])(CBoundRows&) = {ListFor<kFraction, kBilinear, kBoundRows>...};
    return (rows.nRows == 1 ? one : several)[rows.nFraction](rows);
}

bool List(CBoundRows& rows)
{
    const std::make_integer_sequence<int, 16> fractions;
    return rows.nRight != 0 ? ListBy<true>(fractions, rows) : ListBy<false>(fractions, rows);
}

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo::engine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace narvo::engine
{

HWY_EXPORT(List);

bool ListCandidates(CBoundRows& rows)
{
    return HWY_DYNAMIC_DISPATCH(List)(rows);
}

} // namespace narvo::engine

#endif
