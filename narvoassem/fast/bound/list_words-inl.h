// SPDX-License-Identifier: MIT
// Goes through rows, 64 columns at a time, and lists what passes a test. Re-included once per instruction set.
#if defined(NARVOASSEM_FAST_LIST_WORDS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef NARVOASSEM_FAST_LIST_WORDS_INL_H_
#undef NARVOASSEM_FAST_LIST_WORDS_INL_H_
#else
#define NARVOASSEM_FAST_LIST_WORDS_INL_H_
#endif

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "hwy/highway.h"

#include "narvoassem/fast/bound/candidate_list.h"

HWY_BEFORE_NAMESPACE();
namespace narvo::engine
{
namespace HWY_NAMESPACE
{
namespace
{
namespace hn = hwy::HWY_NAMESPACE;

using CByteTag = hn::CappedTag<std::uint8_t, kBoundColumns>;
using CBytes = hn::Vec<CByteTag>;

/// A bit for each lane that is not 0.
HWY_INLINE std::uint64_t BitsOf(CBytes vLanes)
{
    const CByteTag d;
    std::uint8_t aBits[sizeof(std::uint64_t)] = {};
    hn::StoreMaskBits(d, hn::Ne(vLanes, hn::Zero(d)), aBits);
    std::uint64_t nBits;
    hwy::CopyBytes<sizeof nBits>(aBits, &nBits);
    return nBits;
}

/// Lists the candidates of kRows rows by TTest, whose functions work on columns x .. x + 63 of all rows: Prefetch
/// fetches what will be read after these rows, PassesAny tells whether any column passes in any row, and Mark gives a
/// bit for each that passes. @return false if the candidates cost more than the credit
template <class TTest, int kRows, class TRows>
HWY_INLINE bool ListWords(TRows& callersRows)
{
    // A copy, so that the pointers can stay in registers.
    TRows rows = callersRows;
    CMarkedWord* pEnd[kRows];
    std::copy_n(rows.pWords, kRows, pEnd);
    // Words that have any are noted first, without a branch: a branch that goes the unusual way costs as much as the
    // test of many words. The rows of a block are still in the first cache level when its words are marked.
    const auto place = [&](std::int64_t nWord) // the last columns are done together with some of those before
    { return std::min(nWord * kBoundColumns, rows.nColumns - kBoundColumns); };
    const std::int64_t nWords = (rows.nColumns + kBoundColumns - 1) / kBoundColumns;
    constexpr std::int64_t kBlock = 64;
    for (std::int64_t nFirst = 0; nFirst < nWords; nFirst += kBlock)
    {
        std::uint64_t nPassing = 0;
        for (std::int64_t nWord = nFirst; nWord < std::min(nFirst + kBlock, nWords); ++nWord)
        {
            TTest::Prefetch(rows, place(nWord));
            nPassing |= std::uint64_t{TTest::PassesAny(rows, place(nWord))} << (nWord - nFirst);
        }
        for (; nPassing != 0; nPassing &= nPassing - 1)
        {
            const std::int64_t nWord = nFirst + std::countr_zero(nPassing);
            const std::int64_t x = place(nWord);
            std::uint64_t aBits[kRows];
            TTest::Mark(rows, x, aBits);
            for (int nRow = 0; nRow < kRows; ++nRow)
            {
                const std::uint64_t nBits = aBits[nRow] & ~std::uint64_t{0} << (nWord * kBoundColumns - x);
                *pEnd[nRow] = {nBits, x / 8};
                pEnd[nRow] += nBits != 0 ? 1 : 0;
                rows.nCredit -= std::popcount(nBits) * CCandidateList::kCandidateCost;
            }
            rows.nCredit -= CCandidateList::kWordCost;
            if (rows.nCredit < 0)
                return false;
        }
    }
    for (int nRow = 0; nRow < kRows; ++nRow)
        callersRows.nWords[nRow] = static_cast<std::size_t>(pEnd[nRow] - rows.pWords[nRow]);
    callersRows.nCredit = rows.nCredit;
    return true;
}

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo::engine
HWY_AFTER_NAMESPACE();

#endif
