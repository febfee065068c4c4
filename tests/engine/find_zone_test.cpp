// SPDX-License-Identifier: MIT
// The search of the origin grid for the entry of a re-run.
#include <vector>

#include <gtest/gtest.h>

#include "narvoassem/narvoassem.h"

namespace
{

class CGridEngine : public CNarvoAssem
{
public:
    using CNarvoAssem::FindZoneColumn;
    using CNarvoAssem::FindZoneRow;
};

/// A grid row of nCount records whose x are nFirst, nFirst + nStep, ...; y is 77 throughout.
std::vector<int> MakeRow(int nCount, int nFirst, int nStep)
{
    std::vector<int> row;
    for (int i = 0; i < nCount; ++i)
        row.insert(row.end(), {nFirst + i * nStep, 77});
    return row;
}

TEST(FindZoneColumn, ReturnsTheRecordBeforeTheFirstThatReachesTheValue)
{
    std::vector<int> row = MakeRow(20, 0, 100);
    EXPECT_EQ(CGridEngine::FindZoneColumn(250, row.data(), 4, 20), row.data() + 2 * 2);
    EXPECT_EQ(CGridEngine::FindZoneColumn(1, row.data(), 4, 20), row.data());
    EXPECT_EQ(CGridEngine::FindZoneColumn(201, row.data(), 4, 20), row.data() + 2 * 2);
}

TEST(FindZoneColumn, ValueOnARecordGivesTheOneBeforeIt)
{
    std::vector<int> row = MakeRow(20, 0, 100);
    EXPECT_EQ(CGridEngine::FindZoneColumn(200, row.data(), 4, 20), row.data() + 2 * 1);
    EXPECT_EQ(CGridEngine::FindZoneColumn(0, row.data(), 4, 20), row.data());
}

TEST(FindZoneColumn, CountsFromFourUpToItsLimit)
{
    std::vector<int> row = MakeRow(20, 0, 100);
    // Six steps from 4 reach the limit of 10: the record at 600 can still be looked at, that at 700 cannot.
    EXPECT_EQ(CGridEngine::FindZoneColumn(600, row.data(), 4, 10), row.data() + 2 * 5);
    EXPECT_EQ(CGridEngine::FindZoneColumn(601, row.data(), 4, 10), nullptr);
    EXPECT_EQ(CGridEngine::FindZoneColumn(50, row.data(), 4, 4), nullptr);
    EXPECT_EQ(CGridEngine::FindZoneColumn(50, row.data(), 4, 3), nullptr);
}

TEST(FindZoneColumn, ValueLeftOfTheFirstRecordGivesNullAfterFourForwardSteps)
{
    std::vector<int> row = MakeRow(5, 100, 100);
    EXPECT_EQ(CGridEngine::FindZoneColumn(50, row.data(), 4, 300), nullptr);
}

TEST(FindZoneColumn, DescendingTableGivesTheFirstRecordAtOrBelowTheValue)
{
    std::vector<int> row = MakeRow(5, 400, -100);
    EXPECT_EQ(CGridEngine::FindZoneColumn(350, row.data(), 4, 300), row.data() + 2);
    EXPECT_EQ(CGridEngine::FindZoneColumn(0, row.data(), 4, 300), row.data() + 2 * 4);
}

TEST(FindZoneColumn, NullTableGivesNull)
{
    EXPECT_EQ(CGridEngine::FindZoneColumn(0, nullptr, 4, 300), nullptr);
    EXPECT_EQ(CGridEngine::FindZoneRow(0, nullptr, 4, 2000, 300), nullptr);
}

TEST(FindZoneRow, ComparesYDownAGridColumn)
{
    constexpr int nColumns = 3;
    std::vector<int> grid;
    for (int nRow = 0; nRow < 8; ++nRow)
        for (int nColumn = 0; nColumn < nColumns; ++nColumn)
            grid.insert(grid.end(), {nColumn * 1000, nRow * 50});
    EXPECT_EQ(CGridEngine::FindZoneRow(120, grid.data(), 4, 2000, nColumns), grid.data() + 2 * nColumns * 2);
    EXPECT_EQ(CGridEngine::FindZoneRow(100, grid.data(), 4, 2000, nColumns), grid.data() + 2 * nColumns * 1);
    EXPECT_EQ(CGridEngine::FindZoneRow(-1, grid.data(), 4, 2000, nColumns), nullptr);
}

TEST(FindZoneRow, StepsByRecordsOfTwoIntsAlsoThroughFlaggedGrids)
{
    // Six records of three ints read as nine of two: with three "columns" a step is six ints.
    std::vector<int> grid = {0, 0, 0, 100, 0, 0, /* step */ 0, 50, 0, 100, 50, 0, /* step */ 0, 100, 0, 100, 100, 0};
    EXPECT_EQ(CGridEngine::FindZoneRow(60, grid.data(), 4, 2000, 3), grid.data() + 6);
}

} // namespace
