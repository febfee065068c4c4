// SPDX-License-Identifier: MIT
// The bound in front of the finder, against the plain comparison's own arithmetic: no hit is missed, whatever the
// bytes, and what passes is next to a hit at the most.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "narvoassem/fast/bound/column_reference.h"
#include "narvoassem/fast/bound/least_offsets.h"
#include "narvoassem/fast/bound/list_candidates.h"
#include "narvoassem/fast/find/compare_pixel.h"
#include "support/random.h"
#include "support/seeds.h"
#include "support/vector_levels.h"

namespace narvo::test
{
namespace
{

using engine::BoundShape;
using engine::CBoundRows;
using engine::CFindRow;
using engine::CMarkedWord;
using engine::CStripRun;
using engine::FormColumnReference;
using engine::FormThreshold;
using engine::GreatestError;
using engine::Interpolate;
using engine::kBoundRows;
using engine::kGreatestBase;
using engine::ListCandidates;
using engine::LowerToLeastOffsets;
using engine::PairColumnWeights;

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

/// Rows over all source greys, whose references are near, far, near, far, near. Along each row the references may
/// alternate between two bytes.
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
    void List(int nFraction, int nLimit, int nRows, BoundShape eShape = BoundShape::Rows, int nRight = 0)
    {
        m_rows.eShape = eShape;
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
    const CGreySet close = Beyond(nReference, nLimit - nError);
    for (int nWord = 0; nWord < nWords; nWord++)
        if (((hits[nWord] & ~candidates[nWord]) | (candidates[nWord] & ~close[nWord])) & nColumns)
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
    const int nShare = CaseShare();
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
                    const int nNumber = nCase++;
                    if (nNumber % nShare != 0)
                        continue;
                    // All limits in turn, and mostly small ones.
                    const int nLimit = 1 + (nNumber % 2 == 0 ? nNumber / 2 % 255 : nNumber / 2 % 24);
                    const int nRows = nNumber % 8 == 0 ? 1 : kBoundRows;
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
        for (int nCase = 0; nCase < 60000 / CaseShare(); nCase++)
        {
            const bool bClose = random.OneIn(2);
            int aGrey[4];
            for (int& nGrey : aGrey)
                nGrey = bClose ? random.Int(100, 104) : random.Int(0, 255);
            pairs.SetReference(aGrey[0], aGrey[1], aGrey[2], aGrey[3]);
            const int nFraction = random.Int(0, 15);
            const int nRight = random.Int(1, 15);
            const int nLimit = random.Int(GreatestError(BoundShape::Bilinear), random.Pick({3, 24, 255}));
            const int nRows = random.OneIn(8) ? 1 : kBoundRows;
            pairs.List(nFraction, nLimit, nRows, BoundShape::Bilinear, nRight);
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

/// The chain is that of rows; what differs is where near and far lie.
TEST(Bound, MissesNoHitOfReferencesAlongTheRow)
{
    CForcedLevel forced(VectorLevels().front());
    for (const std::int64_t nLevel : VectorLevels())
    {
        forced.Change(nLevel);
        CRandom random(8);
        CBytePairs pairs;
        for (int nCase = 0; nCase < 60000 / CaseShare(); nCase++)
        {
            const int aGrey[2] = {random.Int(0, 255), random.Int(0, 255)};
            // Rows with an even number begin with the first grey, the others with the second.
            pairs.SetReference(aGrey[0], aGrey[1], aGrey[1], aGrey[0]);
            const int nFraction = random.Int(0, 15);
            const int nLimit = random.Int(1, random.Pick({3, 24, 255}));
            pairs.List(nFraction, nLimit, kBoundRows, BoundShape::Columns);
            for (int nRow = 0; nRow < kBoundRows; nRow++)
                for (int nOdd = 0; nOdd < 2; nOdd++)
                {
                    const int nNear = aGrey[(nRow + nOdd) % 2];
                    const int nFar = aGrey[(nRow + nOdd + 1) % 2];
                    ASSERT_TRUE(AreBetween(pairs.Candidates(nRow), Weigh(nNear, nFar, nFraction), nLimit, 1,
                                           nEvenColumns << nOdd))
                        << LevelName(nLevel) << ", case " << nCase << ": fraction " << nFraction << ", limit " << nLimit
                        << ", row " << nRow << ", odd " << nOdd;
                }
        }
    }
}

/// Two rounded averages of two, and their rounded average, over all sums that four bytes have.
TEST(Bound, RoundedAveragesOfAMeanAreItOrOneMore)
{
    const auto average = [](int a, int b) { return (a + b + 1) / 2; };
    for (int nFirst = 0; nFirst <= 2 * 255; nFirst++)
        for (int nSecond = 0; nSecond <= 2 * 255; nSecond++)
        {
            const int nExcess = average((nFirst + 1) / 2, (nSecond + 1) / 2) - (nFirst + nSecond) / 4;
            ASSERT_TRUE(nExcess == 0 || nExcess == 1) << nFirst << ", " << nSecond;
        }
}

/// Rows of few greys, whose means take all remainders; limits are those of some differences, or next to them.
TEST(Bound, MissesNoHitOfMeans)
{
    CForcedLevel forced(VectorLevels().front());
    for (const std::int64_t nLevel : VectorLevels())
    {
        forced.Change(nLevel);
        CRandom random(9);
        constexpr int nColumns = 96;
        for (int nCase = 0; nCase < 6000; nCase++)
        {
            const int nGrey = random.Pick({0, 252, random.Int(0, 252)});
            const int nRise = random.Pick({0, 1, 20, random.Int(0, 252)});
            const int nFraction = random.Int(0, 15);
            std::uint8_t aaSource[kBoundRows + 1][nColumns + 1];
            std::uint8_t aaReference[kBoundRows + 2][nColumns + 1];
            for (auto& row : aaSource)
                for (std::uint8_t& nPixel : row)
                    nPixel = static_cast<std::uint8_t>(nGrey + random.Int(0, 3));
            for (auto& row : aaReference)
                for (std::uint8_t& nPixel : row)
                    nPixel = static_cast<std::uint8_t>(std::abs(nGrey - nRise) % 253 + random.Int(0, 3));
            const auto mean = [](const auto& rows, int nRow, int x)
            { return (rows[nRow][x] + rows[nRow][x + 1] + rows[nRow + 1][x] + rows[nRow + 1][x + 1]) / 4; };
            const auto difference = [&](int nRow, int x) {
                return mean(aaSource, nRow, x) -
                       Weigh(mean(aaReference, nRow, x), mean(aaReference, nRow + 1, x), nFraction);
            };
            const int nLimit =
                std::clamp(std::abs(difference(random.Int(0, 3), random.Int(0, nColumns - 1))) + random.Int(-2, 1),
                           int{GreatestError(BoundShape::Means)}, 255);

            CBoundRows rows;
            std::array<std::uint8_t, nColumns> aLimit;
            aLimit.fill(static_cast<std::uint8_t>(nLimit));
            std::array<CMarkedWord, nColumns / 64 + 1> aWords[kBoundRows];
            rows.eShape = BoundShape::Means;
            rows.nRows = kBoundRows;
            rows.nColumns = nColumns;
            rows.pLimit = aLimit.data();
            rows.nFraction = nFraction;
            rows.nCredit = std::numeric_limits<std::int64_t>::max();
            for (int nRow = 0; nRow < kBoundRows + 2; nRow++)
                rows.pReference[nRow] = aaReference[nRow];
            for (int nRow = 0; nRow < kBoundRows + 1; nRow++)
                rows.pSource[nRow] = aaSource[nRow];
            for (int nRow = 0; nRow < kBoundRows; nRow++)
                rows.pWords[nRow] = aWords[nRow].data();
            ASSERT_TRUE(ListCandidates(rows));
            for (int nRow = 0; nRow < kBoundRows; nRow++)
            {
                std::array<bool, nColumns> aListed = {};
                for (std::size_t n = 0; n < rows.nWords[nRow]; n++)
                    for (int nBit = 0; nBit < 64; nBit++)
                        if ((aWords[nRow][n].nBits >> nBit & 1) != 0)
                            aListed[static_cast<std::size_t>(aWords[nRow][n].nGroup * 8 + nBit)] = true;
                for (int x = 0; x < nColumns; x++)
                {
                    const int nBeyond = std::abs(difference(nRow, x)) - nLimit;
                    ASSERT_TRUE(aListed[static_cast<std::size_t>(x)] ? nBeyond > -3 : nBeyond <= 0)
                        << LevelName(nLevel) << ", case " << nCase << ": fraction " << nFraction << ", limit " << nLimit
                        << ", row " << nRow << ", column " << x << ", difference " << difference(nRow, x);
                }
            }
        }
    }
}

TEST(Bound, FormsReferencesOfAnyColumnWeights)
{
    CForcedLevel forced(VectorLevels().front());
    CRandom random(10);
    for (int nCase = 0; nCase < 8000; nCase++)
    {
        forced.Change(VectorLevels()[static_cast<std::size_t>(nCase) % VectorLevels().size()]);
        const auto nColumns = static_cast<std::size_t>(16 * random.Int(1, 20));
        std::vector<std::int16_t> aNear(nColumns);
        std::vector<std::int16_t> aFar(nColumns);
        for (std::size_t x = 0; x < nColumns; x++)
        {
            // Both halves of a strip have the same weights.
            aNear[x] = static_cast<std::int16_t>(x % 16 < 8 ? random.Int(0, 16) : aNear[x - 8]);
            aFar[x] = static_cast<std::int16_t>(x % 16 < 8 ? random.Int(0, 16 - aNear[x]) : aFar[x - 8]);
        }
        std::vector<std::uint8_t> aPixels(nColumns + 71);
        for (std::uint8_t& nPixel : aPixels)
            nPixel = static_cast<std::uint8_t>(random.OneIn(3) ? 255 : random.Int(0, 255));
        CFindRow row;
        row.pColumnNear = aNear.data();
        row.pColumnFar = aFar.data();
        std::vector<std::uint8_t> aWeights(nColumns);
        const auto nCount = static_cast<std::int64_t>(nColumns);
        ASSERT_TRUE(PairColumnWeights(row, nCount, aWeights.data()));
        // Neighbouring runs of equal displacement, and others.
        std::vector<CStripRun> aRuns;
        for (std::int64_t nStrip = 0; nStrip < nCount / 16;)
        {
            const std::int64_t nStrips = std::min<std::int64_t>(random.Int(1, 9), nCount / 16 - nStrip);
            aRuns.push_back({.nFirstStrip = nStrip, .nStripCount = nStrips, .nDisplacement = random.Pick({0, 5, 70})});
            nStrip += nStrips;
        }
        row.pRuns = aRuns.data();
        row.nRunCount = aRuns.size();
        std::vector<std::uint8_t> aFormed(nColumns);
        FormColumnReference(row, aPixels.data(), aWeights.data(), aFormed.data());
        for (const CStripRun& run : aRuns)
            for (std::int64_t n = 16 * run.nFirstStrip; n < 16 * (run.nFirstStrip + run.nStripCount); n++)
            {
                const auto x = static_cast<std::size_t>(n);
                const std::uint8_t* const p = aPixels.data() + n + run.nDisplacement;
                ASSERT_EQ(aFormed[x], Interpolate(p[0], static_cast<std::uint16_t>(aNear[x]), p[1],
                                                  static_cast<std::uint16_t>(aFar[x])))
                    << "case " << nCase << ", column " << n << " of " << nColumns;
            }

        const std::size_t nAt = static_cast<std::size_t>(random.Int(0, 7));
        (random.OneIn(2) ? aNear : aFar)[nAt] = random.Pick<std::int16_t>({-1, 17, 256, -32768, 32767});
        ASSERT_FALSE(PairColumnWeights(row, nCount, aWeights.data()));
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
            for (const int nBase : {1, 30, int{kGreatestBase}})
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
