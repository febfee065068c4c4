// Vector code of average mode. Sums are taken modulo 2 to the 32: differences of four of them are exact.
#include "narvoassem/modes/average_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "narvoassem/modes/average_rows.cc"
#include <hwy/foreach_target.h>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace narvo
{
namespace HWY_NAMESPACE
{
namespace
{

namespace hn = hwy::HWY_NAMESPACE;

/// Cells nFrom + 1 .. nTo of a row, one at a time. @return the sum of the pixels up to nTo
std::uint32_t AppendPlain(const std::uint8_t* pPixels, std::int64_t nFrom, std::int64_t nTo, std::uint32_t nSum,
                          const std::uint32_t* pAbove, std::uint32_t* pRow, std::int64_t* pRunning,
                          std::int64_t* pTable)
{
    for (std::int64_t x = nFrom; x < nTo; ++x)
    {
        nSum += pPixels[x];
        pRow[x + 1] = pAbove[x + 1] + nSum;
        pRunning[x + 1] += nSum;
        pTable[x + 1] = pRunning[x + 1];
    }
    return nSum;
}

#if HWY_TARGET != HWY_SCALAR
/// Moves lanes of 32 bits up by a number of lanes, zeros following.
class CLaneShift
{
    using D = hn::ScalableTag<std::uint32_t>;
    using V = hn::Vec<D>;

public:
    explicit CLaneShift(int nStep)
        : m_indices(hn::IndicesFromVec(D(), hn::And(hn::Sub(hn::Iota(D(), 0), hn::Set(D(), Unsigned(nStep))),
                                                    hn::Set(D(), Unsigned(hn::MaxLanes(D()) - 1))))),
          m_mask(hn::RebindMask(
              D(), hn::Gt(hn::Iota(hn::RebindToSigned<D>(), 0), hn::Set(hn::RebindToSigned<D>(), nStep - 1))))
    {
    }

    V Apply(V v) const { return hn::IfThenElseZero(m_mask, hn::TableLookupLanes(v, m_indices)); }

private:
    template <typename T>
    static std::uint32_t Unsigned(T n)
    {
        return static_cast<std::uint32_t>(n);
    }

    decltype(hn::IndicesFromVec(D(), hn::Zero(D()))) m_indices;
    decltype(hn::Eq(hn::Zero(D()), hn::Zero(D()))) m_mask;
};
#endif

void AppendSumRow(const std::uint8_t* pPixels, std::int64_t nWidth, const std::uint32_t* pAbove, std::uint32_t* pRow,
                  std::int64_t* pRunning, std::int64_t* pTable)
{
    pTable[0] = 0;
    std::int64_t x = 0;
    std::uint32_t nSum = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<std::uint32_t> d;
    const hn::Half<decltype(d)> dHalf;
    const hn::Repartition<std::uint64_t, decltype(d)> dWide;
    const hn::Rebind<std::uint8_t, decltype(d)> dByte;
    constexpr std::size_t nLanes = hn::MaxLanes(d);

    // Stores past the cache want whole vectors: start where the table is aligned.
    while (x < nWidth && reinterpret_cast<std::uintptr_t>(pTable + x + 1) % sizeof(hn::Vec<decltype(d)>) != 0)
    {
        nSum = AppendPlain(pPixels, x, x + 1, nSum, pAbove, pRow, pRunning, pTable);
        ++x;
    }

    // The sum over a vector in log steps: lane i takes lane i - nStep, then the total goes to all lanes.
    const CLaneShift shift1(1);
    const CLaneShift shift2(2);
    const CLaneShift shift4(4);
    const CLaneShift shift8(8);
    const auto vLast = hn::IndicesFromVec(d, hn::Set(d, static_cast<std::uint32_t>(nLanes - 1)));
    auto vSum = hn::Set(d, nSum);
    for (; x + static_cast<std::int64_t>(nLanes) <= nWidth; x += static_cast<std::int64_t>(nLanes))
    {
        auto v = hn::PromoteTo(d, hn::LoadU(dByte, pPixels + x));
        v = hn::Add(v, shift1.Apply(v));
        v = hn::Add(v, shift2.Apply(v));
        if (nLanes > 4)
            v = hn::Add(v, shift4.Apply(v));
        if (nLanes > 8)
            v = hn::Add(v, shift8.Apply(v));
        const auto vPrefix = hn::Add(v, vSum);
        vSum = hn::Add(vSum, hn::TableLookupLanes(v, vLast));
        hn::StoreU(hn::Add(hn::LoadU(d, pAbove + x + 1), vPrefix), d, pRow + x + 1);

        auto* pFull = reinterpret_cast<std::uint64_t*>(pRunning + x + 1);
        auto* pCell = reinterpret_cast<std::uint64_t*>(pTable + x + 1);
        const auto vLow = hn::Add(hn::LoadU(dWide, pFull), hn::PromoteTo(dWide, hn::LowerHalf(dHalf, vPrefix)));
        hn::StoreU(vLow, dWide, pFull);
        hn::Stream(vLow, dWide, pCell);
        const auto vHigh =
            hn::Add(hn::LoadU(dWide, pFull + nLanes / 2), hn::PromoteTo(dWide, hn::UpperHalf(dHalf, vPrefix)));
        hn::StoreU(vHigh, dWide, pFull + nLanes / 2);
        hn::Stream(vHigh, dWide, pCell + nLanes / 2);
    }
    nSum = hn::GetLane(vSum);
#endif
    AppendPlain(pPixels, x, nWidth, nSum, pAbove, pRow, pRunning, pTable);
}

void FinishSumRows()
{
    hwy::FlushStream();
}

/// How a window lies over a run of columns: it moves with the column, or it stands still at an end of the region.
struct CWindowRun
{
    const std::uint32_t* pTop;
    const std::uint32_t* pBottom;
    std::int64_t nFrom; ///< moving: offsets of the window's ends from the column; standing: its ends
    std::int64_t nTo;
    bool bMoving;

    std::int32_t GetSum(std::int64_t x) const
    {
        const std::int64_t nBase = bMoving ? x : 0;
        return static_cast<std::int32_t>(pBottom[nBase + nTo] - pTop[nBase + nTo] - pBottom[nBase + nFrom] +
                                         pTop[nBase + nFrom]);
    }
};

CWindowRun MakeRun(const std::uint32_t* pTop, const std::uint32_t* pBottom, std::int64_t x, std::int64_t nSize,
                   std::int64_t nWidth)
{
    const std::int64_t nHalf = nSize / 2;
    if (x >= nHalf && x + nHalf + 1 <= nWidth)
        return {pTop, pBottom, -nHalf, nHalf + 1, true};
    const CWindowSpan span = FindWindowSpan(x, nSize, 0, nWidth);
    return {pTop, pBottom, span.nFrom, span.nTo, false};
}

bool IsHit(const CAverageRow& row, std::int32_t nBackSum, std::int32_t nDefectSum)
{
    const std::int32_t nScaled = nDefectSum * row.nScale;
    const std::int32_t nDiff = nScaled - nBackSum;
    return nScaled <= row.nLimit && (nDiff < row.nDark || nDiff > row.nBright);
}

/// Columns nFrom .. nTo of one run.
template <bool bBackMoving, bool bDefectMoving>
std::int32_t* TestRun(const CAverageRow& row, const CWindowRun& back, const CWindowRun& defect, std::int64_t nFrom,
                      std::int64_t nTo, std::int32_t* pColumns)
{
#if HWY_TARGET == HWY_SCALAR
    for (std::int64_t x = nFrom; x < nTo; ++x)
        if (IsHit(row, back.GetSum(x), defect.GetSum(x)))
            *pColumns++ = static_cast<std::int32_t>(x);
#else
    const hn::ScalableTag<std::int32_t> d;
    const hn::RebindToUnsigned<decltype(d)> dUnsigned;
    constexpr std::int64_t nLanes = hn::MaxLanes(d);
    const auto vScale = hn::Set(d, row.nScale);
    const auto vDark = hn::Set(d, row.nDark);
    const auto vBright = hn::Set(d, row.nBright);
    const auto vLimit = hn::Set(d, row.nLimit);
    const auto vBackStanding = hn::Set(d, bBackMoving ? 0 : back.GetSum(0));
    const auto vDefectStanding = hn::Set(d, bDefectMoving ? 0 : defect.GetSum(0));
    const auto getSum = [&](const CWindowRun& run, std::int64_t x)
    {
        const auto vRight =
            hn::Sub(hn::LoadU(dUnsigned, run.pBottom + x + run.nTo), hn::LoadU(dUnsigned, run.pTop + x + run.nTo));
        const auto vLeft =
            hn::Sub(hn::LoadU(dUnsigned, run.pBottom + x + run.nFrom), hn::LoadU(dUnsigned, run.pTop + x + run.nFrom));
        return hn::BitCast(d, hn::Sub(vRight, vLeft));
    };
    for (std::int64_t x = nFrom; x < nTo; x += nLanes)
    {
        const auto vBack = bBackMoving ? getSum(back, x) : vBackStanding;
        const auto vDefect = bDefectMoving ? getSum(defect, x) : vDefectStanding;
        const auto vScaled = hn::Mul(vDefect, vScale);
        const auto vDiff = hn::Sub(vScaled, vBack);
        const auto mHit = hn::AndNot(hn::Gt(vScaled, vLimit), hn::Or(hn::Lt(vDiff, vDark), hn::Gt(vDiff, vBright)));
        if (HWY_LIKELY(hn::AllFalse(d, mHit)))
            continue;
        std::uint8_t cBits[8] = {};
        hn::StoreMaskBits(d, mHit, cBits);
        for (std::int64_t i = 0; i < nLanes && x + i < nTo; ++i)
            if ((cBits[i / 8] >> (i % 8) & 1) != 0)
                *pColumns++ = static_cast<std::int32_t>(x + i);
    }
#endif
    return pColumns;
}

std::int64_t FindAverageHits(const CAverageRow& row, std::int32_t* pColumns)
{
    // Ends of the runs in which neither window changes between moving and standing.
    const auto getRightEdge = [&](std::int64_t nSize)
    {
        const std::int64_t nHalf = nSize / 2;
        return row.nWidth - nHalf > nHalf ? row.nWidth - nHalf : nHalf;
    };
    const std::int64_t nEnds[] = {row.nDefect / 2, row.nBack / 2, getRightEdge(row.nBack), getRightEdge(row.nDefect),
                                  row.nWidth};
    std::int32_t* pEnd = pColumns;
    std::int64_t nFrom = 0;
    while (nFrom < row.nWidth)
    {
        std::int64_t nTo = row.nWidth;
        for (const std::int64_t nEnd : nEnds)
            if (nEnd > nFrom && nEnd < nTo)
                nTo = nEnd;
        const CWindowRun back = MakeRun(row.pBackTop, row.pBackBottom, nFrom, row.nBack, row.nWidth);
        const CWindowRun defect = MakeRun(row.pDefectTop, row.pDefectBottom, nFrom, row.nDefect, row.nWidth);
        const auto pTest = back.bMoving     ? (defect.bMoving ? TestRun<true, true> : TestRun<true, false>)
                           : defect.bMoving ? TestRun<false, true>
                                            : TestRun<false, false>;
        pEnd = pTest(row, back, defect, nFrom, nTo, pEnd);
        nFrom = nTo;
    }
    return pEnd - pColumns;
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
HWY_EXPORT(AppendSumRow);
HWY_EXPORT(FinishSumRows);
HWY_EXPORT(FindAverageHits);
} // namespace

void AppendSumRow(const std::uint8_t* pPixels, std::int64_t nWidth, const std::uint32_t* pAbove, std::uint32_t* pRow,
                  std::int64_t* pRunning, std::int64_t* pTable)
{
    HWY_DYNAMIC_DISPATCH(AppendSumRow)(pPixels, nWidth, pAbove, pRow, pRunning, pTable);
}

void FinishSumRows()
{
    HWY_DYNAMIC_DISPATCH(FinishSumRows)();
}

std::int64_t FindAverageHits(const CAverageRow& row, std::int32_t* pColumns)
{
    return HWY_DYNAMIC_DISPATCH(FindAverageHits)(row, pColumns);
}

} // namespace narvo
#endif
