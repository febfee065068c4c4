// SPDX-License-Identifier: MIT
// The bound in front of the finder, against the plain comparison's own arithmetic: no hit is missed, whatever the
// bytes, and what passes is next to a hit at the most.
#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "narvoassem/fast/bound/least_offsets.h"
#include "narvoassem/fast/bound/list_candidates.h"
#include "narvoassem/fast/find/compare_pixel.h"
#include "support/random.h"
#include "support/vector_levels.h"

namespace narvo::test
{
namespace
{

using engine::CBoundRows;
using engine::CMarkedWord;
using engine::FormThreshold;
using engine::Interpolate;
using engine::kBoundRows;
using engine::kGreatestBase;
using engine::kLeastBilinearLimit;
using engine::kLeastLinearLimit;
using engine::ListCandidates;
using engine::LowerToLeastOffsets;

constexpr int nGreys = 256;
constexpr int nWords = nGreys / 64;
using CGreySet = std::array<std::uint64_t, nWords>;

/// Adds the greys nFirst .. nEnd - 1.
void AddGreys(CGreySet& set, int nFirst, int nEnd)
{
    for (int nWord = 0; nWord < nWords; nWord++)
    {
        const int nFrom = std::clamp(nFirst - 64 * nWord, 0, 64);
        const int nTo = std::clamp(nEnd - 64 * nWord, 0, 64);
        if (nFrom < nTo)
            set[nWord] |= ~std::uint64_t{0} >> (64 - (nTo - nFrom)) << nFrom;
    }
}

/// The source greys that differ from nReference by more than nLimit.
CGreySet Beyond(int nReference, int nLimit)
{
    CGreySet set = {};
    AddGreys(set, 0, nReference - nLimit);
    AddGreys(set, nReference + nLimit + 1, nGreys);
    return set;
}

/// Rows over all source greys, whose references are near, far, near, far, near. Along each row the references of a
/// bilinear comparison alternate between two bytes.
class CBytePairs
{
public:
    CBytePairs()
    {
        for (int nGrey = 0; nGrey < nGreys; nGrey++)
            m_source[nGrey] = static_cast<std::uint8_t>(nGrey);
        m_rows.nRows = kBoundRows;
        m_rows.pLimit = m_limit.data();
        m_rows.nColumns = nGreys;
        for (int nRow = 0; nRow < kBoundRows; nRow++)
        {
            m_rows.pSource[nRow] = m_source.data();
            m_rows.pWords[nRow] = m_words[nRow].data();
        }
        for (int nRow = 0; nRow <= kBoundRows; nRow++)
            m_rows.pReference[nRow] = m_reference[nRow % 2].data();
    }

    void SetReference(int nNear, int nFar) { SetReference(nNear, nNear, nFar, nFar); }
    /// Near at even and odd columns, and far.
    void SetReference(int nNearEven, int nNearOdd, int nFarEven, int nFarOdd)
    {
        for (std::size_t i = 0; i <= nGreys; i++)
        {
            m_reference[0][i] = static_cast<std::uint8_t>(i % 2 == 0 ? nNearEven : nNearOdd);
            m_reference[1][i] = static_cast<std::uint8_t>(i % 2 == 0 ? nFarEven : nFarOdd);
        }
    }
    void List(int nFraction, int nLimit, int nRows, int nRight = 0)
    {
        m_limit.fill(static_cast<std::uint8_t>(nLimit));
        m_rows.nFraction = nFraction;
        m_rows.nRight = nRight;
        m_rows.nRows = nRows;
        m_rows.nCredit = std::numeric_limits<std::int64_t>::max();
        ASSERT_TRUE(ListCandidates(m_rows));
    }
    CGreySet Candidates(int nRow) const
    {
        CGreySet set = {};
        for (std::size_t n = 0; n < m_rows.nWords[nRow]; n++)
            set[static_cast<std::size_t>(m_words[nRow][n].nGroup / 8)] = m_words[nRow][n].nBits;
        return set;
    }

private:
    std::array<std::uint8_t, nGreys> m_source = {};
    std::array<std::uint8_t, nGreys> m_limit = {};
    std::array<std::array<std::uint8_t, nGreys + 1>, 2> m_reference = {};
    std::array<std::array<CMarkedWord, nWords + 1>, kBoundRows> m_words;
    CBoundRows m_rows;
};

constexpr std::uint64_t nAllColumns = ~std::uint64_t{0};
constexpr std::uint64_t nEvenColumns = 0x5555555555555555;

/// Whether the candidates hold all hits, and nothing whose difference is nError or more below one of them. Only some
/// columns count.
bool AreBetween(const CGreySet& candidates, int nReference, int nLimit, int nError = 1,
                std::uint64_t nColumns = nAllColumns)
{
    const CGreySet hits = Beyond(nReference, nLimit);
    const CGreySet near = Beyond(nReference, nLimit - nError);
    for (int nWord = 0; nWord < nWords; nWord++)
        if (((hits[nWord] & ~candidates[nWord]) | (candidates[nWord] & ~near[nWord])) & nColumns)
            return false;
    return true;
}

/// The reference as the plain comparison forms it.
int Weigh(int nNear, int nFar, int nFraction)
{
    return Interpolate(static_cast<std::uint16_t>(nNear), static_cast<std::uint16_t>(16 - nFraction),
                       static_cast<std::uint16_t>(nFar), static_cast<std::uint16_t>(nFraction));
}

TEST(Bound, MissesNoHitOfAnyBytesAtAnyFraction)
{
    CForcedLevel forced(VectorLevels().front());
    for (const std::int64_t nLevel : VectorLevels())
    {
        forced.Change(nLevel);
        CBytePairs pairs;
        int nCase = 0;
        for (int nNear = 0; nNear < nGreys; nNear++)
            for (int nFar = nNear; nFar < nGreys; nFar++)
            {
                pairs.SetReference(nNear, nFar);
                for (int nFraction = 0; nFraction < 16; nFraction++)
                {
                    // All limits in turn, and mostly small ones.
                    const int nLimit = 1 + (nCase % 2 == 0 ? nCase / 2 % 255 : nCase / 2 % 24);
                    const int nRows = nCase++ % 8 == 0 ? 1 : kBoundRows;
                    pairs.List(nFraction, nLimit, nRows);
                    for (int nRow = 0; nRow < std::min(nRows, 2); nRow++)
                    {
                        const int nReference =
                            nRow == 0 ? Weigh(nNear, nFar, nFraction) : Weigh(nFar, nNear, nFraction);
                        const CGreySet candidates = pairs.Candidates(nRow);
                        ASSERT_TRUE(AreBetween(candidates, nReference, nLimit))
                            << LevelName(nLevel) << ": near " << nNear << ", far " << nFar << ", fraction " << nFraction
                            << ", limit " << nLimit << ", row " << nRow;
                        ASSERT_TRUE(nRows == 1 || candidates == pairs.Candidates(nRow + 2));
                    }
                }
            }
    }
}

/// Along rows the chain is that of the test above; across them it starts from values that may be one too high.
TEST(Bound, MissesNoHitOfBilinearReferences)
{
    CForcedLevel forced(VectorLevels().front());
    for (const std::int64_t nLevel : VectorLevels())
    {
        forced.Change(nLevel);
        CRandom random(7);
        CBytePairs pairs;
        for (int nCase = 0; nCase < 60000; nCase++)
        {
            const bool bClose = random.OneIn(2);
            int aGrey[4];
            for (int& nGrey : aGrey)
                nGrey = bClose ? random.Int(100, 104) : random.Int(0, 255);
            pairs.SetReference(aGrey[0], aGrey[1], aGrey[2], aGrey[3]);
            const int nFraction = random.Int(0, 15);
            const int nRight = random.Int(1, 15);
            const int nLimit = random.Int(kLeastBilinearLimit, random.Pick({3, 24, 255}));
            const int nRows = random.OneIn(8) ? 1 : kBoundRows;
            pairs.List(nFraction, nLimit, nRows, nRight);
            for (int nRow = 0; nRow < std::min(nRows, 2); nRow++)
                for (int nOdd = 0; nOdd < 2; nOdd++)
                {
                    const int nNear = Weigh(aGrey[2 * nRow + nOdd], aGrey[2 * nRow + 1 - nOdd], nRight);
                    const int nFar = Weigh(aGrey[2 - 2 * nRow + nOdd], aGrey[3 - 2 * nRow - nOdd], nRight);
                    ASSERT_TRUE(AreBetween(pairs.Candidates(nRow), Weigh(nNear, nFar, nFraction), nLimit, 2,
                                           nEvenColumns << nOdd))
                        << LevelName(nLevel) << ", case " << nCase << ": fraction " << nFraction << ", right " << nRight
                        << ", limit " << nLimit << ", row " << nRow << ", odd " << nOdd;
                }
        }
    }
}

TEST(Bound, ListsEachColumnOfAnyWidthOnce)
{
    CForcedLevel forced(VectorLevels().front());
    CRandom random(5);
    for (const std::int64_t nLevel : VectorLevels())
    {
        forced.Change(nLevel);
        for (int nColumns = 64; nColumns <= 400; nColumns += 16)
        {
            const auto nBytes = static_cast<std::size_t>(nColumns);
            std::vector<std::uint8_t> aReference(nBytes, 100);
            std::vector<std::uint8_t> aLimit(nBytes, 20);
            std::vector<std::uint8_t> aSource[kBoundRows];
            std::vector<CMarkedWord> aWords[kBoundRows];
            CBoundRows rows;
            rows.nRows = kBoundRows;
            rows.pLimit = aLimit.data();
            rows.nColumns = nColumns;
            rows.nCredit = std::numeric_limits<std::int64_t>::max();
            for (int nRow = 0; nRow < kBoundRows; nRow++)
            {
                for (int x = 0; x < nColumns; x++)
                    aSource[nRow].push_back(random.OneIn(9) ? random.Pick<std::uint8_t>({79, 121}) : 120);
                aWords[nRow].resize(nBytes / 64 + 1);
                rows.pSource[nRow] = aSource[nRow].data();
                rows.pWords[nRow] = aWords[nRow].data();
            }
            std::fill_n(rows.pReference, kBoundRows + 1, aReference.data());
            ASSERT_TRUE(ListCandidates(rows));
            for (int nRow = 0; nRow < kBoundRows; nRow++)
            {
                std::vector<int> aExpected;
                std::vector<int> aFound;
                for (int x = 0; x < nColumns; x++)
                    if (aSource[nRow][static_cast<std::size_t>(x)] != 120)
                        aExpected.push_back(x);
                for (std::size_t n = 0; n < rows.nWords[nRow]; n++)
                    for (int nBit = 0; nBit < 64; nBit++)
                        if ((aWords[nRow][n].nBits >> nBit & 1) != 0)
                            aFound.push_back(static_cast<int>(aWords[nRow][n].nGroup * 8) + nBit);
                ASSERT_EQ(aFound, aExpected) << LevelName(nLevel) << ", " << nColumns << " columns, row " << nRow;
            }
        }
    }
}

TEST(Bound, GivesUpWhatCostsMoreThanTheCredit)
{
    std::array<std::uint8_t, nGreys> source = {};
    source[70] = 9;
    std::array<std::uint8_t, nGreys> reference = {};
    std::array<std::uint8_t, nGreys> limit;
    limit.fill(8);
    std::array<CMarkedWord, nWords + 1> words;
    CBoundRows rows;
    rows.nRows = 1;
    rows.pSource[0] = source.data();
    rows.pReference[0] = rows.pReference[1] = reference.data();
    rows.pLimit = limit.data();
    rows.nColumns = nGreys;
    rows.pWords[0] = words.data();
    rows.nCredit = CBoundRows::kWordCost + CBoundRows::kCandidateCost - 1;
    EXPECT_FALSE(ListCandidates(rows));
    rows.nCredit = CBoundRows::kWordCost + CBoundRows::kCandidateCost;
    ASSERT_TRUE(ListCandidates(rows));
    EXPECT_EQ(rows.nCredit, 0);
    ASSERT_EQ(rows.nWords[0], 1U);
    EXPECT_EQ(words[0].nGroup, 8);
    EXPECT_EQ(words[0].nBits, std::uint64_t{1} << 6);
}

/// The premise of the limits: whatever the gain, a threshold is its base at the least where the base is a limit.
TEST(Bound, NoThresholdGoesBelowABaseThatIsALimit)
{
    for (int nGain = -32768; nGain <= 32767; nGain += 7)
        for (int nGrey = 0; nGrey < nGreys; nGrey++)
            for (const int nBase : {int{kLeastLinearLimit}, 30, int{kGreatestBase}})
                ASSERT_GE(FormThreshold(static_cast<std::uint16_t>(nGrey), static_cast<std::uint16_t>(nGain),
                                        static_cast<std::uint16_t>(nBase)),
                          nBase);
}

TEST(Bound, LimitsAreTheLeastOffsetsOfSomeLines)
{
    CForcedLevel forced(VectorLevels().front());
    CRandom random(6);
    for (int nCase = 0; nCase < 3000; nCase++)
    {
        forced.Change(VectorLevels()[static_cast<std::size_t>(nCase) % VectorLevels().size()]);
        const std::int64_t nCount = random.Int(16, 200);
        const std::int64_t nStride = random.Int(static_cast<int>(nCount), 250);
        const std::int64_t nLines = random.Int(1, 20);
        std::vector<std::int16_t> aMap(static_cast<std::size_t>(nStride * nLines));
        for (std::int16_t& nOffset : aMap)
            nOffset = static_cast<std::int16_t>(random.OneIn(3) ? random.Int(1, 32512) : random.Int(1, 300));
        const auto at = [&](std::int64_t nLine, std::int64_t i) -> std::int16_t&
        { return aMap[static_cast<std::size_t>(nLine * nStride + i)]; };
        const std::int16_t nLowest = random.Pick<std::int16_t>({1, 2});
        for (std::int16_t& nOffset : aMap)
            nOffset = std::max(nOffset, nLowest);
        const bool bNone = random.OneIn(2);
        if (bNone)
            at(random.Range(0, nLines - 1), random.Range(0, nCount - 1)) =
                random.Pick<std::int16_t>({static_cast<std::int16_t>(nLowest - 1), -1, -32768, 32513, 32767});
        std::vector<std::uint8_t> aHeld(static_cast<std::size_t>(nCount));
        for (std::uint8_t& nHeld : aHeld)
            nHeld = static_cast<std::uint8_t>(random.Int(1, 255));
        std::vector<std::uint8_t> aLimit = aHeld;
        ASSERT_EQ(LowerToLeastOffsets(aMap.data(), nStride, nLines, nCount, nLowest, aLimit.data()), !bNone);
        for (std::int64_t i = 0; i < nCount && !bNone; i++)
        {
            int nLeast = aHeld[static_cast<std::size_t>(i)];
            for (std::int64_t nLine = 0; nLine < nLines; nLine++)
                nLeast = std::min<int>(nLeast, at(nLine, i));
            ASSERT_EQ(aLimit[static_cast<std::size_t>(i)], nLeast);
        }
    }
}

} // namespace
} // namespace narvo::test
