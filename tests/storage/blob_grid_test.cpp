// SPDX-License-Identifier: MIT
// The grid of blobs: rectangles that are reversed.
#include "narvoassem/storage/blobs/blob_grid.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "gtest/gtest.h"

#include "storage/store_samples.h"

namespace
{

using narvo::engine::CBlobGrid;
using narvo::test::MakeBlob;

/// The blobs that a grid has in the cells of an area.
std::vector<int> BlobsIn(CBlobGrid& grid, const CRect& rt)
{
    std::vector<int> found;
    const narvo::engine::SCells cells = grid.GetCells(rt.left, rt.top, rt.right, rt.bottom);
    for (std::int64_t nRow = cells.nTop; nRow <= cells.nBottom; ++nRow)
        for (std::int64_t nColumn = cells.nLeft; nColumn <= cells.nRight; ++nColumn)
            grid.VisitCell(nColumn, nRow, DefectType_Dark,
                           [&](int nBlob)
                           {
                               found.push_back(nBlob);
                               return CBlobGrid::EVisit::GoOn;
                           });
    return found;
}

TEST(BlobGrid, TellsOfRectanglesThatAreReversedAlongEitherAxis)
{
    for (const CRect& rt : {CRect(10, 10, 9, 20), CRect(10, 10, 20, 9), CRect(10, 10, 20, 20)})
    {
        CBlobGrid grid;
        ASSERT_TRUE(grid.Start(2, 3, false));
        grid.Add(MakeBlob(CRect(0, 0, 1, 1)), 0);
        EXPECT_FALSE(grid.HasReversed());
        grid.Add(MakeBlob(rt), 0);
        EXPECT_EQ(grid.HasReversed(), rt.left > rt.right || rt.top > rt.bottom);
    }
}

TEST(BlobGrid, ARectangleThatTheMarginDoesNotTurnIsInNoCell)
{
    CBlobGrid grid;
    ASSERT_TRUE(grid.Start(5, 3, false));
    grid.Add(MakeBlob(CRect(100, 100, 110, 110)), 0);
    grid.Add(MakeBlob(CRect(107, 100, 100, 110)), 0); // reversed by 7 pixels: more than twice the margin
    grid.Add(MakeBlob(CRect(100, 107, 110, 100)), 0);
    grid.Add(MakeBlob(CRect(106, 100, 100, 110)), 0); // the margin turns it
    grid.Add(MakeBlob(CRect(100, 106, 110, 100)), 0); // and this
    ASSERT_TRUE(grid.Finish());
    std::vector<int> found = BlobsIn(grid, CRect(103, 103, 103, 103));
    EXPECT_EQ(std::count(found.begin(), found.end(), 0), 1);
    EXPECT_EQ(std::count(found.begin(), found.end(), 1), 0);
    EXPECT_EQ(std::count(found.begin(), found.end(), 2), 0);
    EXPECT_EQ(std::count(found.begin(), found.end(), 3), 1);
    EXPECT_EQ(std::count(found.begin(), found.end(), 4), 1);
}

} // namespace
