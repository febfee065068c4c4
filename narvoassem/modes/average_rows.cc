// SPDX-License-Identifier: MIT
// Vector code of average mode. Sums are kept modulo 2 to the 16 or 32; differences that fit are still exact.
#include "narvoassem/modes/average_rows.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "narvoassem/modes/average_rows.cc"
#include <hwy/foreach_target.h>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace narvo::engine
{
namespace HWY_NAMESPACE
{
namespace
{

namespace hn = hwy::HWY_NAMESPACE;

/// The next columns up to nTo, one at a time.
template <typename TSum>
void AppendPlain(CSumRow<TSum>& row, std::int64_t nTo)
{
    for (; row.x < nTo; ++row.x)
    {
        row.nSum += row.pPixels[row.x];
        row.pSums[row.x + 1] = static_cast<TSum>(row.nSum);
        const std::uint32_t nCell = row.pLow[row.x + 1] + row.nSum;
        // Cells grow along the row by less than 2 to the 32: a smaller low half is a carry.
        row.nHigh += std::uint64_t{nCell < row.nLast} << 32;
        row.nLast = nCell;
        row.pLow[row.x + 1] = nCell;
        row.pTable[row.x + 1] = static_cast<std::int64_t>(row.nHigh | nCell);
    }
}

#if HWY_TARGET != HWY_SCALAR
/// The widest vectors, of up to 64 bytes: as many as the slack of the rows and the bits of a word allow.
template <typename T>
using CTag = hn::CappedTag<T, 64 / sizeof(T)>;

/// For each lane the one nStep below, or any where there is none.
template <class D>
auto GetLanesBelow(D d, std::uint32_t nStep)
{
    const auto nLast = static_cast<std::uint32_t>(hn::Lanes(d) - 1);
    return hn::IndicesFromVec(d, hn::And(hn::Sub(hn::Iota(d, 0), hn::Set(d, nStep)), hn::Set(d, nLast)));
}

/// Adds the lane nStep below, if there is one, to each lane.
template <class D, class V, class I>
HWY_INLINE V AddLanesBelow(D d, V v, std::int32_t nStep, I lanesBelow)
{
    const hn::RebindToSigned<D> dSigned;
    const auto mExists = hn::RebindMask(d, hn::Gt(hn::Iota(dSigned, 0), hn::Set(dSigned, nStep - 1)));
    return hn::Add(v, hn::IfThenElseZero(mExists, hn::TableLookupLanes(v, lanesBelow)));
}
#endif

template <typename TSum>
void AppendRow(CSumRow<TSum>& row, std::int64_t nTo)
{
#if HWY_TARGET != HWY_SCALAR
    const CTag<std::uint32_t> d;
    const hn::Half<decltype(d)> dHalf;
    const hn::Repartition<std::uint64_t, decltype(d)> dWide;
    const hn::Rebind<std::uint8_t, decltype(d)> dByte;
    [[maybe_unused]] const hn::Rebind<std::uint16_t, decltype(d)> dShort;
    const auto nLanes = static_cast<std::int64_t>(hn::Lanes(d));

    // Non-temporal stores need whole vectors: start where the table is aligned.
    if (row.x == 0)
    {
        const auto nOffset = reinterpret_cast<std::uintptr_t>(row.pTable + 1) / sizeof(std::int64_t);
        AppendPlain(row, std::min<std::int64_t>(row.nWidth, -nOffset % static_cast<std::uintptr_t>(nLanes / 2)));
    }

    // The sum over a vector in log steps: lane i takes lane i - nStep, then the total goes to all lanes.
    const auto lanesBelow1 = GetLanesBelow(d, 1);
    const auto lanesBelow2 = GetLanesBelow(d, 2);
    const auto lanesBelow4 = GetLanesBelow(d, 4);
    const auto lanesBelow8 = GetLanesBelow(d, 8);
    const auto lastLane = hn::IndicesFromVec(d, hn::Set(d, static_cast<std::uint32_t>(nLanes - 1)));
    auto vSum = hn::Set(d, row.nSum);
    auto vLast = hn::Set(d, row.nLast);
    auto vHigh = hn::Set(dWide, row.nHigh);
    // Copies: the stores below could alias the record.
    const std::uint8_t* pPixels = row.pPixels;
    std::uint32_t* pLow = row.pLow + 1;
    TSum* pSums = row.pSums + 1;
    auto* pTable = reinterpret_cast<std::uint64_t*>(row.pTable + 1);
    const std::int64_t nEnd = std::min(nTo + nLanes - 1, row.nWidth) - nLanes;
    std::int64_t x = row.x;
    for (; x <= nEnd; x += nLanes)
    {
        auto v = hn::PromoteTo(d, hn::LoadU(dByte, pPixels + x));
        v = AddLanesBelow(d, v, 1, lanesBelow1);
        v = AddLanesBelow(d, v, 2, lanesBelow2);
        if (nLanes > 4)
            v = AddLanesBelow(d, v, 4, lanesBelow4);
        if (nLanes > 8)
            v = AddLanesBelow(d, v, 8, lanesBelow8);
        const auto vPrefix = hn::Add(v, vSum);
        const auto vCells = hn::Add(hn::LoadU(d, pLow + x), vPrefix);
        if (HWY_UNLIKELY(!hn::AllFalse(d, hn::Lt(vCells, vLast))))
        {
            row.x = x;
            row.nSum = hn::GetLane(vSum);
            row.nLast = hn::GetLane(vLast);
            AppendPlain(row, x + nLanes);
            vSum = hn::Set(d, row.nSum);
            vLast = hn::Set(d, row.nLast);
            vHigh = hn::Set(dWide, row.nHigh);
            continue;
        }
        vSum = hn::Add(vSum, hn::TableLookupLanes(v, lastLane));
        vLast = hn::TableLookupLanes(vCells, lastLane);
        hn::StoreU(vCells, d, pLow + x);
        if constexpr (sizeof(TSum) == sizeof(std::uint16_t))
            hn::StoreU(hn::TruncateTo(dShort, vPrefix), dShort, pSums + x);
        else
            hn::StoreU(vPrefix, d, pSums + x);
        hn::Stream(hn::Or(hn::PromoteTo(dWide, hn::LowerHalf(dHalf, vCells)), vHigh), dWide, pTable + x);
        hn::Stream(hn::Or(hn::PromoteTo(dWide, hn::UpperHalf(dHalf, vCells)), vHigh), dWide, pTable + x + nLanes / 2);
    }
    row.x = x;
    row.nSum = hn::GetLane(vSum);
    row.nLast = hn::GetLane(vLast);
#endif
    if (nTo >= row.nWidth || HWY_TARGET == HWY_SCALAR)
        AppendPlain(row, std::min(nTo, row.nWidth));
}

void FinishSumRows()
{
    hwy::FlushStream();
}

/// The ends of a window over a run of columns, as cells of a row of sums: offsets from the column while the window
/// moves along, or cells themselves where it is fixed at an end of the region.
struct CWindowRun
{
    std::int64_t nFrom;
    std::int64_t nTo;
    bool bMoving;
};

CWindowRun MakeRun(std::int64_t x, std::int64_t nSize, std::int64_t nWidth)
{
    const std::int64_t nHalf = nSize / 2;
    if (x >= nHalf && x + nHalf + 1 <= nWidth)
        return {-nHalf, nHalf + 1, true};
    const CWindowSpan span = FindWindowSpan(x, nSize, 0, nWidth);
    return {span.nFrom, span.nTo, false};
}

/// By how much the sum of a window at column x changes when it moves down.
template <typename TSum>
std::int32_t GetChange(const CWindowMove<TSum>& move, const CWindowRun& run, std::int64_t x)
{
    const std::int64_t nBase = run.bMoving ? x : 0;
    const auto nRight = static_cast<TSum>(move.pEnter[nBase + run.nTo] - move.pLeave[nBase + run.nTo]);
    const auto nLeft = static_cast<TSum>(move.pEnter[nBase + run.nFrom] - move.pLeave[nBase + run.nFrom]);
    return static_cast<std::make_signed_t<TSum>>(static_cast<TSum>(nRight - nLeft));
}

#if HWY_TARGET == HWY_SCALAR
template <typename TSum, bool bBackMoving, bool bDefectMoving>
std::int32_t* TestRun(const CAverageRow<TSum>& row, const CWindowRun& back, const CWindowRun& defect,
                      std::int64_t nFrom, std::int64_t nTo, CColumnCursor& cursor, std::int32_t* pColumns)
{
    for (std::int64_t x = nFrom; x < nTo; ++x)
    {
        const std::int32_t nDefectChange = GetChange(row.defect, defect, x);
        const std::int32_t nDiff = *cursor.pDifference + nDefectChange * row.nScale - GetChange(row.back, back, x);
        *cursor.pDifference++ = nDiff;
        *cursor.pDefect += nDefectChange;
        if (*cursor.pDefect++ <= row.nLimit && (nDiff < row.nDark || nDiff > row.nBright))
            *pColumns++ = static_cast<std::int32_t>(x);
    }
    return pColumns;
}
#else
template <class D, class M>
std::uint64_t GetBits(D d, M mask)
{
    std::uint8_t cBits[8] = {};
    hn::StoreMaskBits(d, mask, cBits);
    std::uint64_t nBits = 0;
    std::memcpy(&nBits, cBits, sizeof nBits);
    return nBits;
}

/// Sums of products of neighbouring 16-bit lanes, added to v.
template <class D, class V, class V16>
V AddPairProducts(D d, V v, V16 vPairs, V16 vWeights)
{
    // From zero: NEON adds neighbours in what it has accumulated.
    auto vRest = hn::Zero(d);
    const auto vProducts = hn::ReorderWidenMulAccumulate(d, vPairs, vWeights, hn::Zero(d), vRest);
    return hn::Add(v, hn::RearrangeToOddPlusEven(vProducts, vRest));
}

/// Columns nFrom .. nTo - 1 of one run.
template <typename TSum, bool bBackMoving, bool bDefectMoving>
std::int32_t* TestRun(const CAverageRow<TSum>& row, const CWindowRun& back, const CWindowRun& defect,
                      std::int64_t nFrom, std::int64_t nTo, CColumnCursor& cursor, std::int32_t* pColumns)
{
    using TChange = std::make_signed_t<TSum>;
    constexpr bool bShort = sizeof(TSum) == sizeof(std::uint16_t);
    const CTag<TSum> dSum;
    const CTag<TChange> dChange;
    const CTag<std::int32_t> d;
    const CTag<std::uint32_t> dUnsigned;
    const auto nLanes = static_cast<std::int64_t>(hn::Lanes(dSum));
    const auto nHalf = static_cast<std::int64_t>(hn::Lanes(d));

    // Copies: the stores below could alias the records.
    const CWindowMove<TSum> backMove{row.back.pEnter + (bBackMoving ? back.nTo : 0),
                                     row.back.pLeave + (bBackMoving ? back.nTo : 0)};
    const CWindowMove<TSum> defectMove{row.defect.pEnter + (bDefectMoving ? defect.nTo : 0),
                                       row.defect.pLeave + (bDefectMoving ? defect.nTo : 0)};
    const std::int64_t nBackSpan = back.nTo - back.nFrom;
    const std::int64_t nDefectSpan = defect.nTo - defect.nFrom;
    const auto getChange = [&](const CWindowMove<TSum>& move, std::int64_t x, std::int64_t nSpan) HWY_ATTR
    {
        const auto vRight = hn::Sub(hn::LoadU(dSum, move.pEnter + x), hn::LoadU(dSum, move.pLeave + x));
        const auto vLeft = hn::Sub(hn::LoadU(dSum, move.pEnter + x - nSpan), hn::LoadU(dSum, move.pLeave + x - nSpan));
        return hn::BitCast(dChange, hn::Sub(vRight, vLeft));
    };
    const auto vBackStanding = hn::Set(dChange, static_cast<TChange>(bBackMoving ? 0 : GetChange(row.back, back, 0)));
    const auto vDefectStanding =
        hn::Set(dChange, static_cast<TChange>(bDefectMoving ? 0 : GetChange(row.defect, defect, 0)));

    // Weights of a pair of changes, defect first: in the difference, and in the defect sum.
    const auto vScale = hn::Set(d, row.nScale);
    [[maybe_unused]] const auto vWeights =
        hn::BitCast(dChange, hn::Set(dUnsigned, 0xFFFF0000U | (static_cast<std::uint32_t>(row.nScale) & 0xFFFF)));
    [[maybe_unused]] const auto vDefectOnly = hn::BitCast(dChange, hn::Set(dUnsigned, 1));
    // Inside the limits: the distance from the lower one does not exceed that between them.
    const auto vDark = hn::Set(d, row.nDark);
    const auto vWidth =
        hn::Set(dUnsigned, static_cast<std::uint32_t>(row.nBright) - static_cast<std::uint32_t>(row.nDark));
    const bool bAnyDiffers = row.nBright < row.nDark;
    const auto vLimit = hn::Set(d, row.nLimit);
    const bool bLimited = row.bLimited;

    std::int32_t* pDifference = cursor.pDifference;
    std::int32_t* pDefect = cursor.pDefect;
    for (std::int64_t x = nFrom; x < nTo; x += nLanes, pDifference += nLanes, pDefect += nLanes)
    {
        const auto vBack = bBackMoving ? getChange(backMove, x, nBackSpan) : vBackStanding;
        const auto vDefect = bDefectMoving ? getChange(defectMove, x, nDefectSpan) : vDefectStanding;
        // With short sums a vector of columns becomes two: of each block of eight the first four, and the others.
        auto vDiff0 = hn::LoadU(d, pDifference);
        auto vDiff1 = vDiff0;
        if constexpr (bShort)
        {
            vDiff0 = AddPairProducts(d, vDiff0, hn::InterleaveLower(dChange, vDefect, vBack), vWeights);
            vDiff1 = AddPairProducts(d, hn::LoadU(d, pDifference + nHalf), hn::InterleaveUpper(dChange, vDefect, vBack),
                                     vWeights);
            hn::StoreU(vDiff1, d, pDifference + nHalf);
        }
        else
        {
            vDiff0 = hn::Add(vDiff0, hn::Sub(hn::Mul(vDefect, vScale), vBack));
        }
        hn::StoreU(vDiff0, d, pDifference);

        auto mHit0 = hn::Gt(hn::BitCast(dUnsigned, hn::Sub(vDiff0, vDark)), vWidth);
        auto mHit1 = mHit0;
        if constexpr (bShort)
            mHit1 = hn::Gt(hn::BitCast(dUnsigned, hn::Sub(vDiff1, vDark)), vWidth);
        if (HWY_UNLIKELY(bAnyDiffers))
            mHit0 = mHit1 = hn::RebindMask(dUnsigned, hn::Eq(vLimit, vLimit));
        if (bLimited)
        {
            auto vSum0 = hn::LoadU(d, pDefect);
            if constexpr (bShort)
            {
                vSum0 = AddPairProducts(d, vSum0, hn::InterleaveLower(dChange, vDefect, vBack), vDefectOnly);
                const auto vSum1 = AddPairProducts(d, hn::LoadU(d, pDefect + nHalf),
                                                   hn::InterleaveUpper(dChange, vDefect, vBack), vDefectOnly);
                hn::StoreU(vSum1, d, pDefect + nHalf);
                mHit1 = hn::AndNot(hn::RebindMask(dUnsigned, hn::Gt(vSum1, vLimit)), mHit1);
            }
            else
            {
                vSum0 = hn::Add(vSum0, vDefect);
            }
            hn::StoreU(vSum0, d, pDefect);
            mHit0 = hn::AndNot(hn::RebindMask(dUnsigned, hn::Gt(vSum0, vLimit)), mHit0);
        }
        if (HWY_LIKELY(hn::AllFalse(dUnsigned, hn::Or(mHit0, mHit1))))
            continue;
        std::uint64_t nBits = GetBits(dUnsigned, mHit0);
        if constexpr (bShort)
        {
            const std::uint64_t nFirst = nBits;
            const std::uint64_t nSecond = GetBits(dUnsigned, mHit1);
            nBits = 0;
            for (std::int64_t i = 0; i < nHalf; i += 4)
                nBits |= (nFirst >> i & 15) << (2 * i) | (nSecond >> i & 15) << (2 * i + 4);
        }
        if (nTo - x < nLanes)
            nBits &= (std::uint64_t{1} << (nTo - x)) - 1;
        for (; nBits != 0; nBits &= nBits - 1)
            *pColumns++ = static_cast<std::int32_t>(x + std::countr_zero(nBits));
    }
    cursor.pDifference = pDifference;
    cursor.pDefect = pDefect;
    return pColumns;
}
#endif

template <typename TSum>
std::int64_t FindHits(const CAverageRow<TSum>& row, std::int64_t nFrom, std::int64_t nTo, CColumnCursor& cursor,
                      std::int32_t* pColumns)
{
    // Ends of the runs in which neither window changes between moving and fixed.
    const auto getRightEdge = [&](std::int64_t nSize)
    {
        const std::int64_t nHalf = nSize / 2;
        return row.nWidth - nHalf > nHalf ? row.nWidth - nHalf : nHalf;
    };
    const std::int64_t nEnds[] = {row.nDefect / 2, row.nBack / 2, getRightEdge(row.nBack), getRightEdge(row.nDefect)};
    std::int32_t* pEnd = pColumns;
    while (nFrom < nTo)
    {
        std::int64_t nRunTo = nTo;
        for (const std::int64_t nEnd : nEnds)
            if (nEnd > nFrom && nEnd < nRunTo)
                nRunTo = nEnd;
        const CWindowRun back = MakeRun(nFrom, row.nBack, row.nWidth);
        const CWindowRun defect = MakeRun(nFrom, row.nDefect, row.nWidth);
        const auto pTest = back.bMoving     ? (defect.bMoving ? TestRun<TSum, true, true> : TestRun<TSum, true, false>)
                           : defect.bMoving ? TestRun<TSum, false, true>
                                            : TestRun<TSum, false, false>;
        pEnd = pTest(row, back, defect, nFrom, nRunTo, cursor, pEnd);
        nFrom = nRunTo;
    }
    return pEnd - pColumns;
}

void AppendShortSums(CSumRow<std::uint16_t>& row, std::int64_t nTo)
{
    AppendRow(row, nTo);
}

void AppendLongSums(CSumRow<std::uint32_t>& row, std::int64_t nTo)
{
    AppendRow(row, nTo);
}

std::int64_t FindShortHits(const CAverageRow<std::uint16_t>& row, std::int64_t nFrom, std::int64_t nTo,
                           CColumnCursor& cursor, std::int32_t* pColumns)
{
    return FindHits(row, nFrom, nTo, cursor, pColumns);
}

std::int64_t FindLongHits(const CAverageRow<std::uint32_t>& row, std::int64_t nFrom, std::int64_t nTo,
                          CColumnCursor& cursor, std::int32_t* pColumns)
{
    return FindHits(row, nFrom, nTo, cursor, pColumns);
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
HWY_EXPORT(AppendShortSums);
HWY_EXPORT(AppendLongSums);
HWY_EXPORT(FinishSumRows);
HWY_EXPORT(FindShortHits);
HWY_EXPORT(FindLongHits);
} // namespace

void AppendSums(CSumRow<std::uint16_t>& row, std::int64_t nTo)
{
    HWY_DYNAMIC_DISPATCH(AppendShortSums)(row, nTo);
}

void AppendSums(CSumRow<std::uint32_t>& row, std::int64_t nTo)
{
    HWY_DYNAMIC_DISPATCH(AppendLongSums)(row, nTo);
}

void FinishSumRows()
{
    HWY_DYNAMIC_DISPATCH(FinishSumRows)();
}

std::int64_t FindAverageHits(const CAverageRow<std::uint16_t>& row, std::int64_t nFrom, std::int64_t nTo,
                             CColumnCursor& cursor, std::int32_t* pColumns)
{
    return HWY_DYNAMIC_DISPATCH(FindShortHits)(row, nFrom, nTo, cursor, pColumns);
}

std::int64_t FindAverageHits(const CAverageRow<std::uint32_t>& row, std::int64_t nFrom, std::int64_t nTo,
                             CColumnCursor& cursor, std::int32_t* pColumns)
{
    return HWY_DYNAMIC_DISPATCH(FindLongHits)(row, nFrom, nTo, cursor, pColumns);
}

} // namespace narvo::engine
#endif
