// SPDX-License-Identifier: MIT
// Rows of the table of sums: cells far beyond 32 bits.
#include "narvoassem/modes/average_rows.h"

#include <vector>

#include "gtest/gtest.h"

#include "support/random.h"
#include "support/vector_levels.h"

namespace
{

using namespace narvo::test;

/// Columns whose sums so far are those of nRows rows of grey nGray.
template <typename TSum>
void CheckRow(std::int64_t nRows, int nGray, std::int64_t nWidth, int nStep, std::size_t nShift, CRandom& random)
{
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(nWidth));
    for (std::uint8_t& nPixel : pixels)
        nPixel = static_cast<std::uint8_t>(random.Int(0, 255));
    const auto nCells = static_cast<std::size_t>(nWidth + 1 + narvo::engine::nSumRowSlack);
    std::vector<TSum> sums(nCells);
    std::vector<std::uint32_t> low(nCells);
    std::vector<std::int64_t> table(nCells + 8);
    for (std::size_t i = 0; i <= static_cast<std::size_t>(nWidth); ++i)
        low[i] = static_cast<std::uint32_t>(static_cast<std::uint64_t>(i) * static_cast<std::uint64_t>(nRows * nGray));
    narvo::engine::CSumRow<TSum> row{pixels.data(), nWidth, sums.data(), low.data(), table.data() + nShift};
    for (std::int64_t x = 0; x < nWidth; x += nStep)
        narvo::engine::AppendSums(row, std::min(x + nStep, nWidth));
    narvo::engine::FinishSumRows();
    std::int64_t nSum = 0;
    for (std::int64_t x = 0; x < nWidth; ++x)
    {
        nSum += pixels[static_cast<std::size_t>(x)];
        const auto nCell = static_cast<std::size_t>(x + 1);
        ASSERT_EQ(table[nShift + nCell], (x + 1) * nRows * nGray + nSum) << "column " << x;
        ASSERT_EQ(low[nCell], static_cast<std::uint32_t>(table[nShift + nCell]));
        ASSERT_EQ(sums[nCell], static_cast<TSum>(nSum));
    }
}

TEST(AverageRows, CellsBeyondThirtyTwoBitsCarryIntoTheirHighHalf)
{
    CForcedLevel level(VectorLevels().front());
    CRandom random(31);
    for (const std::int64_t nLevel : VectorLevels())
    {
        level.Change(nLevel);
        SCOPED_TRACE(LevelName(nLevel));
        for (int nCase = 0; nCase < 60; ++nCase)
        {
            const std::int64_t nRows = nCase == 0 ? narvo::engine::nSumHeightLimit - 1 : random.Range(0, 1 << 20);
            const int nGray = nCase == 0 ? 255 : random.Int(0, 255);
            const std::int64_t nWidth = random.Int(1, 900);
            const int nStep = random.Pick({64, 100, 512, 1000});
            const auto nShift = static_cast<std::size_t>(random.Int(0, 7));
            CheckRow<std::uint16_t>(nRows, nGray, nWidth, nStep, nShift, random);
            CheckRow<std::uint32_t>(nRows, nGray, nWidth, nStep, nShift, random);
        }
    }
}

} // namespace
