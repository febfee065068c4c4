// SPDX-License-Identifier: MIT
// Vector code of the bound of single pixels and of means, compiled once per instruction set and for each fraction up to
// a half. It compares 64 columns of all rows at a time and gives one answer for them, since nearly everywhere there is
// no candidate.
#include "narvoassem/fast/bound/list_candidates.h"

#include <algorithm>
#include <cstddef>
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

#ifndef NARVOASSEM_FAST_ORDERED_ROWS_
#define NARVOASSEM_FAST_ORDERED_ROWS_

namespace narvo::engine
{

/// Rows with a fraction of at most one half. A weight of the far row above that is one of the near row below it: the
/// lowest set bit of a fraction is also that of 16 less it, and the bits above are the others, so the chain is the same
/// with near and far exchanged. Rows are exchanged by taking them from the bottom up.
struct COrderedRows : CBoundRows
{
    bool bReversed;
    int nNear = 0; ///< columns: bytes from a place in the reference rows to the near pixel, and to the far one
    int nFar = 1;
    const std::uint8_t* pNextSource;    ///< the first row after these
    const std::uint8_t* pNextReference; ///< the first one not read for these

    explicit COrderedRows(const CBoundRows& rows) : CBoundRows(rows), bReversed(rows.nFraction > 8)
    {
        const int nShared = eShape == BoundShape::Means ? 1 : 0; // means: rows that the last one shares with the next
        const int nReferences = nRows + nShared + (eShape == BoundShape::Columns ? 0 : 1);
        pNextSource = pSource[nRows + nShared - 1] + nPrefetch;
        pNextReference = pReference[nReferences - 1] + nPrefetch;
        if (!bReversed)
            return;
        nFraction = 16 - nFraction;
        if (eShape == BoundShape::Columns)
        {
            std::swap(nNear, nFar);
            return;
        }
        std::reverse(pSource, pSource + nRows + nShared);
        std::reverse(pReference, pReference + nReferences);
        std::reverse(pWords, pWords + nRows);
    }

    /// Number of words of each row, as the caller has them.
    void PutInto(CBoundRows& rows) const
    {
        rows.nCredit = nCredit;
        std::copy_n(nWords, nRows, rows.nWords);
        if (bReversed && eShape != BoundShape::Columns)
            std::reverse(rows.nWords, rows.nWords + nRows);
    }
};

} // namespace narvo::engine

#endif

HWY_BEFORE_NAMESPACE();
namespace narvo::engine
{
namespace HWY_NAMESPACE
{
namespace
{

#if HWY_TARGET == HWY_SSE4 && (HWY_TARGETS & HWY_SSSE3) != 0

// It uses nothing that SSSE3 lacks.
using N_SSSE3::List;

#else

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

constexpr int kAnyFraction = -1;

/// The reference or, with a fraction, one more. nFraction: of kAnyFraction.
template <int kFraction>
HWY_INLINE CBytes FormReference(CBytes vNear, CBytes vFar, int nFraction)
{
    CBytes vChain = vNear;
    if constexpr (kFraction == kAnyFraction)
    {
        // Below the lowest set bit it averages equal bytes.
        for (int nBit = 0; nBit < 4; ++nBit)
            vChain = hn::AverageRound(vChain, (nFraction >> nBit & 1) != 0 ? vFar : vNear);
        return vChain;
    }
    else
    {
        vChain = Weigh<kFraction, 1>(vChain, vNear, vFar);
        vChain = Weigh<kFraction, 2>(vChain, vNear, vFar);
        vChain = Weigh<kFraction, 4>(vChain, vNear, vFar);
        return Weigh<kFraction, 8>(vChain, vNear, vFar);
    }
}

/// Goes through rows from the top down.
class CPixelLines
{
public:
    HWY_INLINE CPixelLines(const std::uint8_t* const* ppRow, std::int64_t x) : m_ppRow(ppRow), m_x(x) {}
    HWY_INLINE CBytes Next() { return hn::LoadU(CByteTag(), *m_ppRow++ + m_x); }

private:
    const std::uint8_t* const* m_ppRow;
    std::int64_t m_x;
};

/// The same for pixels between neighbours, by a chain with one average for each bit.
class CShiftedLines
{
public:
    HWY_INLINE CShiftedLines(const std::uint8_t* const* ppRow, std::int64_t x, int nRight)
        : m_ppRow(ppRow), m_x(x), m_nRight(nRight)
    {
    }
    HWY_INLINE CBytes Next()
    {
        const CByteTag d;
        const std::uint8_t* const p = *m_ppRow++ + m_x;
        CBytes vChain = hn::LoadU(d, p);
        for (int nBit = 0; nBit < 4; ++nBit)
            vChain = hn::AverageRound(vChain, hn::LoadU(d, p + (m_nRight >> nBit & 1)));
        return vChain;
    }

private:
    const std::uint8_t* const* m_ppRow;
    std::int64_t m_x;
    int m_nRight;
};

/// The same for means: each row is averaged once, for the means above and below it.
class CMeanLines
{
public:
    HWY_INLINE CMeanLines(const std::uint8_t* const* ppRow, std::int64_t x)
        : m_ppRow(ppRow), m_x(x), m_vAbove(AverageNext())
    {
    }
    HWY_INLINE CBytes Next()
    {
        const CBytes vBelow = AverageNext();
        const CBytes vMean = hn::AverageRound(m_vAbove, vBelow);
        m_vAbove = vBelow;
        return vMean;
    }

private:
    HWY_INLINE CBytes AverageNext()
    {
        const CByteTag d;
        const std::uint8_t* const p = *m_ppRow++ + m_x;
        return hn::AverageRound(hn::LoadU(d, p), hn::LoadU(d, p + 1));
    }

    const std::uint8_t* const* m_ppRow;
    std::int64_t m_x;
    CBytes m_vAbove;
};

template <BoundShape kShape>
HWY_INLINE auto SourceLines(const COrderedRows& rows, int nRow, std::int64_t x)
{
    if constexpr (kShape == BoundShape::Means)
        return CMeanLines(rows.pSource + nRow, x);
    else
        return CPixelLines(rows.pSource + nRow, x);
}

template <BoundShape kShape>
HWY_INLINE auto ReferenceLines(const COrderedRows& rows, int nRow, std::int64_t x)
{
    if constexpr (kShape == BoundShape::Bilinear)
        return CShiftedLines(rows.pReference + nRow, x, rows.nRight);
    else if constexpr (kShape == BoundShape::Means)
        return CMeanLines(rows.pReference + nRow, x);
    else
        return CPixelLines(rows.pReference + nRow, x);
}

/// The references of rows from the top down: the far line of one is the near line of the next.
template <BoundShape kShape, int kFraction>
class CReferences
{
public:
    HWY_INLINE CReferences(const COrderedRows& rows, int nRow, std::int64_t x)
        : m_nFraction(rows.nFraction), m_lines(ReferenceLines<kShape>(rows, nRow, x)), m_vNear(m_lines.Next())
    {
    }
    HWY_INLINE CBytes Next()
    {
        const CBytes vFar = m_lines.Next();
        const CBytes vReference = FormReference<kFraction>(m_vNear, vFar, m_nFraction);
        m_vNear = vFar;
        return vReference;
    }

private:
    int m_nFraction;
    decltype(ReferenceLines<kShape>(std::declval<const COrderedRows&>(), 0, 0)) m_lines;
    CBytes m_vNear;
};

template <int kFraction>
class CReferences<BoundShape::Columns, kFraction>
{
public:
    HWY_INLINE CReferences(const COrderedRows& rows, int nRow, std::int64_t x)
        : m_nFraction(rows.nFraction), m_near(rows.pReference + nRow, x + rows.nNear),
          m_far(rows.pReference + nRow, x + rows.nFar)
    {
    }
    HWY_INLINE CBytes Next() { return FormReference<kFraction>(m_near.Next(), m_far.Next(), m_nFraction); }

private:
    int m_nFraction;
    CPixelLines m_near;
    CPixelLines m_far;
};

/// How far sources lie above their references, and below.
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
    /// Not 0 in lanes that pass the test.
    template <BoundShape kShape>
    HWY_INLINE CBytes Excess(CBytes vLimit, int nFraction) const
    {
        return hn::Or(hn::SaturatedSub(vAbove, Lower(vLimit, GreatestError(kShape) - (nFraction == 0 ? 1 : 0))),
                      hn::SaturatedSub(vBelow, Lower(vLimit, kShape == BoundShape::Means ? 1 : 0)));
    }

private:
    static HWY_INLINE CBytes Lower(CBytes vLimit, int nError)
    {
        return nError == 0 ? vLimit : hn::SaturatedSub(vLimit, hn::Set(CByteTag(), static_cast<std::uint8_t>(nError)));
    }
};

/// Columns x .. x + 63 of one row: a bit for each that passes.
template <BoundShape kShape>
HWY_NOINLINE std::uint64_t MarkWord(const COrderedRows& rows, int nRow, std::int64_t x)
{
    const CByteTag d;
    constexpr std::int64_t kLanes = hn::MaxLanes(d);
    std::uint64_t nBits = 0;
    for (std::int64_t i = 0; i < kBoundColumns; i += kLanes)
    {
        auto source = SourceLines<kShape>(rows, nRow, x + i);
        CReferences<kShape, kAnyFraction> reference(rows, nRow, x + i);
        const CDistance distance(source.Next(), reference.Next());
        nBits |= BitsOf(distance.template Excess<kShape>(hn::LoadU(d, rows.pLimit + x + i), rows.nFraction)) << i;
    }
    return nBits;
}

template <BoundShape kShape, int kFraction, int kRows>
struct CPixelTest
{
    static HWY_INLINE void Prefetch(const COrderedRows& rows, std::int64_t x)
    {
        for (int nRow = 0; nRow < kRows; ++nRow)
        {
            hwy::Prefetch(rows.pNextReference + nRow * rows.nPrefetch + x);
            // The source of columns lies in the row of the reference.
            if (kRows > 1 && kShape != BoundShape::Columns)
                hwy::Prefetch(rows.pNextSource + nRow * rows.nPrefetch + x);
        }
    }
    static HWY_INLINE bool PassesAny(const COrderedRows& rows, std::int64_t x)
    {
        const CByteTag d;
        constexpr std::int64_t kLanes = hn::MaxLanes(d);
        const int nFraction = kFraction == kAnyFraction ? rows.nFraction : kFraction;
        CBytes vAny = hn::Zero(d);
        for (std::int64_t i = x; i < x + kBoundColumns; i += kLanes)
        {
            auto source = SourceLines<kShape>(rows, 0, i);
            CReferences<kShape, kFraction> reference(rows, 0, i);
            CDistance furthest(source.Next(), reference.Next());
            for (int nRow = 1; nRow < kRows; ++nRow)
                furthest.Widen(CDistance(source.Next(), reference.Next()));
            vAny = hn::Or(vAny, furthest.template Excess<kShape>(hn::LoadU(d, rows.pLimit + i), nFraction));
        }
        return !hn::AllTrue(d, hn::Eq(vAny, hn::Zero(d)));
    }
    static HWY_INLINE void Mark(const COrderedRows& rows, std::int64_t x, std::uint64_t* pBits)
    {
        for (int nRow = 0; nRow < kRows; ++nRow)
            pBits[nRow] = MarkWord<kShape>(rows, nRow, x);
    }
};

template <BoundShape kShape, int kFraction, int kRows>
bool ListFor(COrderedRows& rows)
{
    return ListWords<CPixelTest<kShape, kFraction, kRows>, kRows>(rows);
}

template <BoundShape kShape, int... kFraction>
[[maybe_unused]] bool ListBy(std::integer_sequence<int, kFraction...> /*fractions*/, COrderedRows& rows)
{
    static constexpr bool (*list[])(COrderedRows&) = {ListFor<kShape, kFraction, kBoundRows>...};
    return list[rows.nFraction](rows);
}

template <BoundShape kShape>
bool ListShape(COrderedRows& rows)
{
    // Single rows are few: the last ones before the cells or the pitch change.
    if constexpr (kShape == BoundShape::Rows || kShape == BoundShape::Bilinear)
        if (rows.nRows == 1)
            return ListFor<kShape, kAnyFraction, 1>(rows);
#if HWY_TARGET == HWY_SCALAR
    return ListFor<kShape, kAnyFraction, kBoundRows>(rows);
#else
    return ListBy<kShape>(std::make_integer_sequence<int, 9>(), rows);
#endif
}

bool List(COrderedRows& rows)
{
    using enum BoundShape;
    static constexpr bool (*list[])(COrderedRows&) = {ListShape<Rows>, ListShape<Bilinear>, ListShape<Columns>,
                                                      ListShape<Means>};
    return list[static_cast<std::size_t>(rows.eShape)](rows);
}

#endif

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
    COrderedRows ordered(rows);
    if (!HWY_DYNAMIC_DISPATCH(List)(ordered))
        return false;
    ordered.PutInto(rows);
    return true;
}

} // namespace narvo::engine

#endif
