// SPDX-License-Identifier: MIT
// The bound of window sums against the sums written out: it lists exactly the windows whose difference exceeds the
// limit, for every window, direction and fraction, and reads nothing beyond them.
#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "narvoassem/fast/bound/list_sum_candidates.h"
#include "narvoassem/fast/find/compare_sums.h"
#include "support/guarded_memory.h"
#include "support/random.h"
#include "support/vector_levels.h"

namespace narvo::test
{
namespace
{

using engine::CMarkedWord;
using engine::CSumBoundRows;
using engine::CSumsRow;
using engine::kBoundRows;
using engine::ListSumCandidates;
using engine::SumsVariant;

/// An image of exactly the bytes that the windows of kBoundRows rows and their references hold, between guard pages.
class CWindowScene
{
public:
    CWindowScene(CRandom& random, int nWidth, int nLines, bool bHorizontal, CGuardedMemory::Flush eFlush)
    {
        m_rows.nWidth = nWidth;
        m_rows.nLines = nLines;
        m_rows.bHorizontal = bHorizontal;
        m_rows.nColumns = random.Int(8, 30) * 8;
        const int nReferenceRows = bHorizontal ? 0 : random.Int(0, 3);
        const int nReferenceColumns = random.Int(0, 20);
        const std::int64_t nRowLength = m_rows.nColumns + nWidth - 1 + nReferenceColumns + (bHorizontal ? 1 : 0);
        m_rows.nRowBytes = nRowLength + random.Int(0, 9);
        m_rows.nReference = nReferenceRows * m_rows.nRowBytes + nReferenceColumns;
        m_rows.nFraction = random.Int(0, 15);
        const int nRows = kBoundRows + nLines - 1 + nReferenceRows + (bHorizontal ? 0 : 1);
        m_memory.emplace(static_cast<std::size_t>((nRows - 1) * m_rows.nRowBytes + nRowLength), eFlush);
        m_rows.pSource = m_memory->Data();
        m_rows.nCredit = std::numeric_limits<std::int64_t>::max();
        for (int nRow = 0; nRow < kBoundRows; nRow++)
        {
            m_aWords[nRow].resize(static_cast<std::size_t>(m_rows.nColumns / 64 + 1));
            m_rows.pWords[nRow] = m_aWords[nRow].data();
        }
    }

    CSumBoundRows& Rows() { return m_rows; }

    /// Bytes of any value, of the two extremes, or close to each other.
    void Fill(CRandom& random)
    {
        const int nKind = random.Int(0, 3);
        for (std::size_t i = 0; i < m_memory->Size(); i++)
        {
            int nByte = random.Int(0, 255);
            if (nKind == 1)
                nByte = random.Pick({0, 255});
            else if (nKind == 2)
                nByte = random.Int(100, 103);
            else if (nKind == 3) // source and reference at opposite ends
                nByte =
                    random.OneIn(9) ? nByte : (static_cast<std::int64_t>(i) / m_rows.nRowBytes < kBoundRows ? 255 : 0);
            m_memory->Data()[i] = static_cast<std::uint8_t>(nByte);
        }
    }

    /// What the plain comparison forms, without limit: 16 times the source sum minus the reference.
    int Difference(int nRow, std::int64_t x) const
    {
        const std::int64_t nFirst = nRow * m_rows.nRowBytes + x;
        const std::int64_t nNear = nFirst + m_rows.nReference;
        return 16 * Sum(nFirst) - (16 - m_rows.nFraction) * Sum(nNear) -
               m_rows.nFraction * Sum(nNear + (m_rows.bHorizontal ? 1 : m_rows.nRowBytes));
    }

    bool IsListed(int nRow, std::int64_t x) const
    {
        for (std::size_t n = 0; n < m_rows.nWords[nRow]; n++)
        {
            const CMarkedWord& word = m_aWords[nRow][n];
            const std::int64_t nBit = x - 8 * word.nGroup;
            if (nBit >= 0 && nBit < 64 && (word.nBits >> nBit & 1) != 0)
                return true;
        }
        return false;
    }

    /// Bits of all words: no column may be listed twice.
    std::int64_t CountListed() const
    {
        std::int64_t nCount = 0;
        for (int nRow = 0; nRow < kBoundRows; nRow++)
            for (std::size_t n = 0; n < m_rows.nWords[nRow]; n++)
                nCount += std::popcount(m_aWords[nRow][n].nBits);
        return nCount;
    }

private:
    int Sum(std::int64_t nFirst) const
    {
        int nSum = 0;
        for (int nLine = 0; nLine < m_rows.nLines; nLine++)
            for (int n = 0; n < m_rows.nWidth; n++)
                nSum += m_rows.pSource[nFirst + nLine * m_rows.nRowBytes + n];
        return nSum;
    }

    std::optional<CGuardedMemory> m_memory;
    std::array<std::vector<CMarkedWord>, kBoundRows> m_aWords;
    CSumBoundRows m_rows;
};

TEST(SumBound, ListsExactlyTheWindowsBeyondTheLimit)
{
    CForcedLevel forced(VectorLevels().front());
    for (const std::int64_t nLevel : VectorLevels())
    {
        forced.Change(nLevel);
        CRandom random(11);
        std::int64_t nListed = 0;
        std::int64_t nPassed = 0;
        for (int nCase = 0; nCase < 1600; nCase++)
        {
            const bool bHorizontal = nCase / 4 % 2 != 0;
            const int nLonger = nCase % 4 == 0 ? 2 : 3;
            const int nShorter = nCase % 4 == 1 ? 3 : 2;
            const int nWidth = bHorizontal ? nLonger : nShorter;
            const int nLines = bHorizontal ? nShorter : nLonger;
            CWindowScene scene(random, nWidth, nLines, bHorizontal,
                               nCase / 8 % 2 != 0 ? CGuardedMemory::Flush::Back : CGuardedMemory::Flush::Front);
            scene.Fill(random);
            CSumBoundRows& rows = scene.Rows();
            // The difference of one of the windows, or next to it, so that the limit is hit on either side.
            const int nDifference = scene.Difference(random.Int(0, kBoundRows - 1), random.Range(0, rows.nColumns - 1));
            rows.nLimit = static_cast<std::int16_t>(std::clamp(std::abs(nDifference) + random.Int(-1, 1), 0, 32766));
            if (random.OneIn(6))
                rows.nLimit = random.Pick<std::int16_t>({0, 1, 32766});
            ASSERT_TRUE(ListSumCandidates(rows));
            std::int64_t nExpected = 0;
            for (int nRow = 0; nRow < kBoundRows; nRow++)
                for (std::int64_t x = 0; x < rows.nColumns; x++)
                {
                    const bool bBeyond = std::abs(scene.Difference(nRow, x)) > rows.nLimit;
                    nExpected += bBeyond ? 1 : 0;
                    ASSERT_EQ(scene.IsListed(nRow, x), bBeyond)
                        << LevelName(nLevel) << ", case " << nCase << ": " << nWidth << " by " << nLines
                        << (bHorizontal ? " along the row" : "") << ", row " << nRow << ", column " << x << " of "
                        << rows.nColumns << ", difference " << scene.Difference(nRow, x) << ", limit " << rows.nLimit
                        << ", fraction " << rows.nFraction;
                }
            ASSERT_EQ(scene.CountListed(), nExpected) << "case " << nCase;
            nListed += nExpected;
            nPassed += kBoundRows * rows.nColumns - nExpected;
        }
        EXPECT_GT(nListed, 100000);
        EXPECT_GT(nPassed, 100000);
    }
}

/// Differences of 3 by 3 windows reach 36720, beyond signed 16 bits.
TEST(SumBound, ListsDifferencesBeyondSixteenBits)
{
    CForcedLevel forced(VectorLevels().front());
    for (const std::int64_t nLevel : VectorLevels())
    {
        forced.Change(nLevel);
        CRandom random(12);
        for (const bool bHorizontal : {false, true})
            for (const int nSign : {-1, 1})
            {
                // The reference of the first 64 windows: below the source, or far to the right of it.
                std::vector<std::uint8_t> aPixels(64 * 400);
                CSumBoundRows rows;
                rows.nWidth = rows.nLines = 3;
                rows.bHorizontal = bHorizontal;
                rows.nColumns = 64;
                rows.nRowBytes = 400;
                rows.nReference = bHorizontal ? 200 : 20 * 400;
                rows.nFraction = random.Int(0, 15);
                for (std::size_t i = 0; i < aPixels.size(); i++)
                {
                    const bool bReference = bHorizontal ? i % 400 >= 150 : i / 400 >= 15;
                    aPixels[i] = bReference == (nSign > 0) ? 0 : 255;
                }
                rows.pSource = aPixels.data();
                rows.nLimit = 32766;
                rows.nCredit = std::numeric_limits<std::int64_t>::max();
                std::array<std::array<CMarkedWord, 2>, kBoundRows> aWords;
                for (int nRow = 0; nRow < kBoundRows; nRow++)
                    rows.pWords[nRow] = aWords[static_cast<std::size_t>(nRow)].data();
                ASSERT_TRUE(ListSumCandidates(rows));
                for (int nRow = 0; nRow < kBoundRows; nRow++)
                {
                    ASSERT_EQ(rows.nWords[nRow], 1U) << LevelName(nLevel);
                    EXPECT_EQ(rows.pWords[nRow]->nBits, ~std::uint64_t{0}) << LevelName(nLevel);
                }
            }
    }
}

TEST(SumBound, GivesUpWhatCostsMoreThanTheCredit)
{
    constexpr std::int64_t nCost = CSumBoundRows::kWordCost + 4 * CSumBoundRows::kCandidateCost;
    std::vector<std::uint8_t> aPixels(20 * 128, 50);
    aPixels[2 * 128 + 70] = 60;
    CSumBoundRows rows;
    rows.nColumns = 120;
    rows.nRowBytes = 128;
    rows.nReference = 10 * 128;
    rows.nLimit = 159;
    rows.pSource = aPixels.data();
    std::array<std::array<CMarkedWord, 2>, kBoundRows> aWords;
    for (int nRow = 0; nRow < kBoundRows; nRow++)
        rows.pWords[nRow] = aWords[static_cast<std::size_t>(nRow)].data();
    rows.nCredit = nCost - 1;
    EXPECT_FALSE(ListSumCandidates(rows));
    rows.nCredit = nCost;
    ASSERT_TRUE(ListSumCandidates(rows));
    EXPECT_EQ(rows.nCredit, 0);
    const std::size_t aExpected[] = {0, 1, 1, 0};
    for (int nRow = 0; nRow < kBoundRows; nRow++)
        EXPECT_EQ(rows.nWords[nRow], aExpected[nRow]) << nRow;
    rows.nLimit = 160;
    ASSERT_TRUE(ListSumCandidates(rows));
    EXPECT_EQ(rows.nWords[1], 0U);
}

/// The premise of the limit, over every value and gains and bases that wrap.
template <SumsVariant kVariant>
void ExpectLeastThreshold(int nArea)
{
    CRandom random(13);
    int nBelow = 0;
    for (int nCase = 0; nCase < 400; nCase++)
    {
        const auto any = [&]
        {
            return static_cast<std::uint16_t>(random.OneIn(2) ? random.Int(0, 65535)
                                                              : random.Pick({0, 1, 60, 255, 256, 300, 32512, 65535}));
        };
        CSumsRow row;
        row.nUnits = static_cast<std::uint16_t>(16 * nArea);
        row.nBase = any();
        row.nGain = any();
        row.nBase2 = any();
        row.nGain2 = any();
        int nLeast = std::numeric_limits<int>::max();
        for (int nValue = 0; nValue <= 255 * row.nUnits; nValue++)
            nLeast =
                std::min<int>(nLeast, engine::FormSumsThreshold<kVariant>(row, static_cast<std::uint16_t>(nValue)));
        ASSERT_EQ(engine::LeastSumsThreshold<kVariant>(row), nLeast)
            << row.nBase << '+' << row.nGain << ", " << row.nBase2 << '+' << row.nGain2;
        nBelow += nLeast < 0 ? 1 : 0;
    }
    EXPECT_GT(nBelow, 0);
    EXPECT_LT(nBelow, 400);
}

TEST(SumBound, TheLeastThresholdIsThatOfAllValues)
{
    ExpectLeastThreshold<SumsVariant::Larger>(4);
    ExpectLeastThreshold<SumsVariant::LargerSmaller>(4);
    ExpectLeastThreshold<SumsVariant::Source>(6);
    ExpectLeastThreshold<SumsVariant::Source>(9);
}

} // namespace
} // namespace narvo::test
