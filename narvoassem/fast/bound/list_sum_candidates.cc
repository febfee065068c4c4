// SPDX-License-Identifier: MIT
// Vector code of the bound of window sums, compiled once per instruction set and for each window and direction. Bytes
// are weighted and added in pairs, so that 16-bit lanes hold every other column: one vector of even columns and one of
// odd ones for each vector of bytes.
#include "narvoassem/fast/bound/list_sum_candidates.h"

#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "narvoassem/fast/bound/list_sum_candidates.cc"
#include "hwy/foreach_target.h"
//
#include "hwy/cache_control.h"
#include "hwy/highway.h"
//
#include "narvoassem/fast/bound/list_words-inl.h"
#include "narvoassem/fast/bound/pair_products-inl.h"

HWY_BEFORE_NAMESPACE();
namespace narvo::engine
{
namespace HWY_NAMESPACE
{
namespace
{

#if HWY_TARGET == HWY_SSE4 && (HWY_TARGETS & HWY_SSSE3) != 0

// It uses nothing that SSSE3 lacks.
using N_SSSE3::ListSums;

#else

#if HWY_TARGET == HWY_SCALAR

/// The difference of the window at pWindow.
int Difference(const CSumBoundRows& rows, const std::uint8_t* pWindow)
{
    const auto sum = [&](const std::uint8_t* p)
    {
        int nSum = 0;
        for (int nLine = 0; nLine < rows.nLines; ++nLine)
            for (int n = 0; n < rows.nWidth; ++n)
                nSum += p[nLine * rows.nRowBytes + n];
        return nSum;
    };
    const std::uint8_t* const pNear = pWindow + rows.nReference;
    return 16 * sum(pWindow) - (16 - rows.nFraction) * sum(pNear) -
           rows.nFraction * sum(pNear + (rows.bHorizontal ? 1 : rows.nRowBytes));
}

template <bool kHorizontal, int kWidth, int kLines>
struct CSumTest
{
    static void Prefetch(const CSumBoundRows& /*rows*/, std::int64_t /*x*/) {}
    static void Mark(const CSumBoundRows& rows, std::int64_t x, std::uint64_t* pBits)
    {
        for (int nRow = 0; nRow < kBoundRows; ++nRow)
        {
            pBits[nRow] = 0;
            for (int i = 0; i < kBoundColumns; ++i)
            {
                const int nDifference = Difference(rows, rows.pSource + nRow * rows.nRowBytes + x + i);
                const bool bPasses = nDifference > rows.nLimit || -nDifference > rows.nLimit;
                pBits[nRow] |= std::uint64_t{bPasses} << i;
            }
        }
    }
    static bool PassesAny(const CSumBoundRows& rows, std::int64_t x)
    {
        std::uint64_t aBits[kBoundRows];
        Mark(rows, x, aBits);
        return (aBits[0] | aBits[1] | aBits[2] | aBits[3]) != 0;
    }
};

#else

using CWordTag = hn::Repartition<std::int16_t, CByteTag>;
using CWords = hn::Vec<CWordTag>;

/// Two weights, -16 .. 16, for the bytes of each pair.
HWY_INLINE CWords Weights(int nFirst, int nSecond)
{
    return hn::Set(CWordTag(), static_cast<std::int16_t>((nFirst & 0xFF) | nSecond * 256));
}

/// The weighted sum of each pair of bytes at p.
HWY_INLINE CWords AddPairs(const std::uint8_t* p, CWords vWeights)
{
    return MultiplyPairs(hn::LoadU(CByteTag(), p), vWeights);
}

/// A value for each even column, and for each odd one.
struct CColumns
{
    CWords vEven;
    CWords vOdd;

    friend HWY_INLINE CColumns operator+(const CColumns& a, const CColumns& b)
    {
        return {hn::SaturatedAdd(a.vEven, b.vEven), hn::SaturatedAdd(a.vOdd, b.vOdd)};
    }
};

/// Weighted sums of the 2 or 3 pixels of a row's windows, in parts that several rows may be added to before they are
/// joined. Of 2 pixels: even and odd windows. Of 3: the first pixel of even windows, the two that even and odd windows
/// share, and the last one of odd windows.
template <int kWidth>
struct CParts
{
    CWords vFirst;
    CWords vMiddle;
    CWords vLast;

    HWY_INLINE CParts(const std::uint8_t* p, int nWeight)
    {
        const CWords vBoth = Weights(nWeight, nWeight);
        if constexpr (kWidth == 2)
        {
            vFirst = AddPairs(p, vBoth);
            vLast = AddPairs(p + 1, vBoth);
        }
        else
        {
            vFirst = AddPairs(p, Weights(nWeight, 0));
            vMiddle = AddPairs(p + 1, vBoth);
            vLast = AddPairs(p + 2, Weights(0, nWeight));
        }
    }
    HWY_INLINE void Add(const CParts& other)
    {
        vFirst = hn::Add(vFirst, other.vFirst);
        vLast = hn::Add(vLast, other.vLast);
        if constexpr (kWidth == 3)
            vMiddle = hn::Add(vMiddle, other.vMiddle);
    }
    HWY_INLINE CColumns Join() const
    {
        if constexpr (kWidth == 2)
            return {vFirst, vLast};
        else
            return {hn::Add(vFirst, vMiddle), hn::Add(vMiddle, vLast)};
    }
};

/// What each row of pixels adds to the differences of the windows that hold it, from the top down.
template <bool kHorizontal, int kWidth>
class CRowTerms
{
public:
    HWY_INLINE CRowTerms(const CSumBoundRows& rows, std::int64_t x)
        : m_rows(rows), m_pRow(rows.pSource + x), m_near(m_pRow + rows.nReference, rows.nFraction - 16)
    {
    }

    HWY_INLINE CColumns Next()
    {
        CParts<kWidth> parts(m_pRow, 16);
        const std::uint8_t* const pReference = m_pRow + m_rows.nReference;
        m_pRow += m_rows.nRowBytes;
        if constexpr (kHorizontal)
            return parts.Join() + AlongRow(pReference);
        else
        {
            // The far row of this one is the near row of the next.
            parts.Add(m_near);
            parts.Add(CParts<kWidth>(pReference + m_rows.nRowBytes, -m_rows.nFraction));
            m_near = CParts<kWidth>(pReference + m_rows.nRowBytes, m_rows.nFraction - 16);
            return parts.Join();
        }
    }

private:
    /// Near and far window overlap: together they are one that is a pixel wider, with weights of its own.
    HWY_INLINE CColumns AlongRow(const std::uint8_t* p) const
    {
        const int nFar = -m_rows.nFraction;
        const CWords vBegin = Weights(-16 - nFar, -16);
        const CColumns begin = {AddPairs(p, vBegin), AddPairs(p + 1, vBegin)};
        if constexpr (kWidth == 2)
            return begin + CColumns{AddPairs(p + 2, Weights(nFar, 0)), AddPairs(p + 2, Weights(0, nFar))};
        else
        {
            const CWords vEnd = Weights(-16, nFar);
            return begin + CColumns{AddPairs(p + 2, vEnd), AddPairs(p + 3, vEnd)};
        }
    }

    const CSumBoundRows& m_rows;
    const std::uint8_t* m_pRow;
    CParts<kWidth> m_near; ///< vertical: of the next row
};

/// Calls visit(row, differences) for each row, with the windows at column x and after it.
template <bool kHorizontal, int kWidth, int kLines, class TVisit>
HWY_INLINE void FormDifferences(const CSumBoundRows& rows, std::int64_t x, const TVisit& visit)
{
    CRowTerms<kHorizontal, kWidth> terms(rows, x);
    CColumns above = terms.Next();
    CColumns two = above;
    if constexpr (kLines == 3)
    {
        above = terms.Next();
        two = two + above;
    }
    for (int nRow = 0; nRow < kBoundRows; ++nRow)
    {
        const CColumns last = terms.Next();
        visit(nRow, two + last);
        two = kLines == 3 ? above + last : last;
        above = last;
    }
}

/// All bits of the bytes of columns that pass are set.
HWY_INLINE CBytes PassingColumns(const CColumns& high, const CColumns& low, std::int16_t nLimit)
{
    const CWordTag d;
    const CWords vHigh = hn::Set(d, nLimit);
    const CWords vLow = hn::Neg(vHigh);
    const auto passes = [&](CWords vMost, CWords vLeast)
    { return hn::VecFromMask(d, hn::Or(hn::Gt(vMost, vHigh), hn::Lt(vLeast, vLow))); };
    const CWords vEven = hn::And(passes(high.vEven, low.vEven), hn::Set(d, 0xFF));
    const CWords vOdd = hn::AndNot(hn::Set(d, 0xFF), passes(high.vOdd, low.vOdd));
    return hn::BitCast(CByteTag(), hn::Or(vEven, vOdd));
}

template <bool kHorizontal, int kWidth, int kLines>
HWY_NOINLINE void MarkWords(const CSumBoundRows& rows, std::int64_t x, std::uint64_t* pBits)
{
    constexpr std::int64_t kLanes = hn::MaxLanes(CByteTag());
    for (std::int64_t i = 0; i < kBoundColumns; i += kLanes)
        FormDifferences<kHorizontal, kWidth, kLines>(rows, x + i,
                                                     [&](int nRow, const CColumns& difference)
                                                     {
                                                         const std::uint64_t nPart = BitsOf(
                                                             PassingColumns(difference, difference, rows.nLimit));
                                                         pBits[nRow] = (i == 0 ? 0 : pBits[nRow]) | nPart << i;
                                                     });
}

template <bool kHorizontal, int kWidth, int kLines>
struct CSumTest
{
    static HWY_INLINE void Prefetch(const CSumBoundRows& rows, std::int64_t x)
    {
        const std::uint8_t* const pNext = rows.pSource + (kBoundRows + kLines - 1) * rows.nRowBytes + x;
        for (int nRow = 0; nRow < kBoundRows; ++nRow)
        {
            hwy::Prefetch(pNext + rows.nReference + (nRow + (kHorizontal ? 0 : 1)) * rows.nRowBytes);
            if (!kHorizontal)
                hwy::Prefetch(pNext + nRow * rows.nRowBytes);
        }
    }
    static HWY_INLINE bool PassesAny(const CSumBoundRows& rows, std::int64_t x)
    {
        const CWordTag d;
        constexpr std::int64_t kLanes = hn::MaxLanes(CByteTag());
        CColumns high = {hn::Zero(d), hn::Zero(d)};
        CColumns low = high;
        for (std::int64_t i = 0; i < kBoundColumns; i += kLanes)
            FormDifferences<kHorizontal, kWidth, kLines>(
                rows, x + i,
                [&](int /*nRow*/, const CColumns& difference)
                {
                    high = {hn::Max(high.vEven, difference.vEven), hn::Max(high.vOdd, difference.vOdd)};
                    low = {hn::Min(low.vEven, difference.vEven), hn::Min(low.vOdd, difference.vOdd)};
                });
        const CWords vHigh = hn::Max(high.vEven, high.vOdd);
        const CWords vLow = hn::Min(low.vEven, low.vOdd);
        const CWords vLimit = hn::Set(d, rows.nLimit);
        return !hn::AllFalse(d, hn::Or(hn::Gt(vHigh, vLimit), hn::Lt(vLow, hn::Neg(vLimit))));
    }
    static HWY_INLINE void Mark(const CSumBoundRows& rows, std::int64_t x, std::uint64_t* pBits)
    {
        MarkWords<kHorizontal, kWidth, kLines>(rows, x, pBits);
    }
};

#endif

template <bool kHorizontal, int kWidth, int kLines>
bool ListSumsFor(CSumBoundRows& rows)
{
    return ListWords<CSumTest<kHorizontal, kWidth, kLines>, kBoundRows>(rows);
}

bool ListSums(CSumBoundRows& rows)
{
    // No window is wider than it is high in vertical scans, or higher than it is wide in horizontal ones.
    if (rows.bHorizontal)
        return rows.nLines == 3   ? ListSumsFor<true, 3, 3>(rows)
               : rows.nWidth == 3 ? ListSumsFor<true, 3, 2>(rows)
                                  : ListSumsFor<true, 2, 2>(rows);
    return rows.nWidth == 3   ? ListSumsFor<false, 3, 3>(rows)
           : rows.nLines == 3 ? ListSumsFor<false, 2, 3>(rows)
                              : ListSumsFor<false, 2, 2>(rows);
}

#endif

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo::engine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace narvo::engine
{

HWY_EXPORT(ListSums);

bool ListSumCandidates(CSumBoundRows& rows)
{
    return HWY_DYNAMIC_DISPATCH(ListSums)(rows);
}

} // namespace narvo::engine

#endif
