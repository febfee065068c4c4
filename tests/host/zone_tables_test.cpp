// SPDX-License-Identifier: MIT
// Zone maps and origin tables against a plain walk over cells as the kernels make it.
#include "host/zones/zone_tables.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

namespace narvo::test
{

namespace
{

struct Walk
{
    CellGeometry cell;
    CRect region;
    OriginTable table;
    CRect extent;
    std::array<int, 2> worst = {0, 0}; ///< largest distance from the pixel's own place in its cell

    Walk(const CellGeometry& geometry, const CRect& inspected)
        : cell(geometry), region(inspected), table(geometry, inspected, {}), extent(CellMap::Extent(geometry))
    {
    }

    static int Distance(double place, double other, double size)
    {
        const double apart = std::fabs(std::remainder(place - other, size));
        return static_cast<int>(std::floor(apart));
    }

    /// One pixel is read at its place counted from a record.
    void Look(int x, int y, const int* record)
    {
        const int nX = x - record[0];
        const int nY = y - record[1];
        ASSERT_GE(nX, extent.left);
        ASSERT_LT(nX, extent.right);
        ASSERT_GE(nY, extent.top);
        ASSERT_LT(nY, extent.bottom);
        worst[0] = std::max(worst[0], Distance(nX, x - cell.originX, cell.width));
        worst[1] = std::max(worst[1], Distance(nY, y - cell.originY, cell.height));
    }

    /// Strips of 16 columns from `left` on, entered at `entry` as the vertical kernels do.
    void Vertical(int left, int right, int* entry)
    {
        const int high = static_cast<int>(cell.height);
        const int wide = static_cast<int>(cell.width);
        const int stride = table.Columns() * table.RecordInts();
        const int stripEnd = left + ((right - left) & ~15);
        int* column = entry;
        int cellRight = column[stride] + wide;
        int* record = column + stride;
        int cellBottom = record[1] + high;
        for (int x = left; x < stripEnd; x += 16)
        {
            if (x >= cellRight)
            {
                column += table.RecordInts();
                record = column + stride;
                cellBottom = record[1] + high;
                cellRight = record[0] + wide;
                if (record[0] + 2 * wide >= stripEnd)
                    cellRight = record[0] + 2 * wide;
            }
            const int firstBottom = column[stride + 1] + high;
            for (int y = region.top; y < region.bottom - 2; ++y)
            {
                if (y >= cellBottom)
                {
                    record += stride;
                    ASSERT_LT(record - table.Entry(true), table.Rows() * stride);
                    cellBottom = record[1] + high;
                    if (record[1] + 2 * high >= region.bottom - 1)
                        cellBottom = record[1] + 2 * high;
                }
                ASSERT_NO_FATAL_FAILURE(Look(x, y, record));
                ASSERT_NO_FATAL_FAILURE(Look(x + 15, y, record));
            }
            record = column; // one grid row too high: the lag
            cellBottom = firstBottom;
        }
        ASSERT_LT(column - entry, (table.Columns() - 1) * table.RecordInts());
    }

    void Horizontal()
    {
        const int high = static_cast<int>(cell.height);
        const int wide = static_cast<int>(cell.width);
        const int stride = table.Columns() * table.RecordInts();
        const int scanEnd = region.left + ((region.right - region.left) & ~15);
        int* row = table.Entry(false);
        int cellBottom = row[1] + high;
        for (int y = region.top; y < region.bottom; ++y)
        {
            if (y >= cellBottom)
            {
                row += stride;
                ASSERT_LT(row - table.Entry(true), table.Rows() * stride);
                cellBottom = row[1] + high;
                if (row[1] + 2 * high > region.bottom)
                    cellBottom = row[1] + 2 * high;
            }
            int* record = row;
            int cellRight = record[0] + wide;
            for (int x = region.left; x < scanEnd; x += 16)
            {
                if (x >= cellRight)
                {
                    record += table.RecordInts();
                    ASSERT_LT(record - row, stride);
                    cellRight = record[0] + wide;
                    if (record[0] + 2 * wide >= scanEnd)
                        cellRight = record[0] + 2 * wide;
                }
                ASSERT_NO_FATAL_FAILURE(Look(x, y, record));
                ASSERT_NO_FATAL_FAILURE(Look(x + 15, y, record));
            }
        }
    }

    /// The entry of a band: the first record right of its left side.
    int* BandEntry(int left)
    {
        int* entry = table.Entry(true);
        for (int i = 0; i < table.Columns(); ++i, entry += 2)
            if (entry[0] > left)
                return entry;
        return nullptr;
    }
};

Walk RandomWalk(std::mt19937& random)
{
    const auto real = [&](double low, double high) { return std::uniform_real_distribution<>(low, high)(random); };
    const auto whole = [&](int low, int high) { return std::uniform_int_distribution<>(low, high)(random); };
    const CellGeometry cell = {real(16.0, 90.0), real(2.0, 90.0), real(-200.0, 200.0), real(-200.0, 200.0)};
    const int left = whole(0, 60);
    const int top = whole(0, 60);
    return {cell, CRect(left, top, left + whole(20, 500), top + whole(10, 300))};
}

TEST(ZoneTables, VerticalWalkStaysInsideTheMapAndWithinAPixelOfThePattern)
{
    std::mt19937 random(1);
    for (int i = 0; i < 300; ++i)
    {
        Walk walk = RandomWalk(random);
        ASSERT_NO_FATAL_FAILURE(walk.Vertical(walk.region.left, walk.region.right, walk.table.Entry(true)));
        EXPECT_LE(walk.worst[0], 1);
        EXPECT_LE(walk.worst[1], 1);
    }
}

TEST(ZoneTables, BandEnteredAtTheNextCellStaysInsideTheMapAndWithinAPixelOfThePattern)
{
    std::mt19937 random(2);
    for (int i = 0; i < 300; ++i)
    {
        Walk walk = RandomWalk(random);
        const int left = std::uniform_int_distribution<>(walk.region.left, walk.region.right - 17)(random);
        int* entry = walk.BandEntry(left);
        ASSERT_NE(entry, nullptr);
        ASSERT_NO_FATAL_FAILURE(walk.Vertical(left, walk.region.right, entry));
        EXPECT_LE(walk.worst[0], 1);
        EXPECT_LE(walk.worst[1], 1);
    }
}

TEST(ZoneTables, HorizontalWalkStaysInsideTheMapAndWithinAPixelOfThePattern)
{
    std::mt19937 random(3);
    for (int i = 0; i < 300; ++i)
    {
        Walk walk = RandomWalk(random);
        ASSERT_NO_FATAL_FAILURE(walk.Horizontal());
        EXPECT_LE(walk.worst[0], 1);
        EXPECT_LE(walk.worst[1], 1);
    }
}

TEST(ZoneTables, EntryCellHoldsTheRegionsCorner)
{
    std::mt19937 random(4);
    for (int i = 0; i < 300; ++i)
    {
        Walk walk = RandomWalk(random);
        const int* record = walk.table.Entry(false);
        EXPECT_LE(record[0], walk.region.left);
        EXPECT_GT(record[2], walk.region.left);
        EXPECT_LE(record[1], walk.region.top);
        EXPECT_GT(record[walk.table.Columns() * 2 + 1], walk.region.top);
        EXPECT_LT(walk.table.Entry(true)[1], record[1]);
    }
}

TEST(ZoneTables, SpareRecordsLieBehindTheRegion)
{
    std::mt19937 random(5);
    for (int i = 0; i < 300; ++i)
    {
        Walk walk = RandomWalk(random);
        const int* first = walk.table.Entry(true);
        const int columns = walk.table.Columns();
        EXPECT_GT(first[(columns - 5) * 2], walk.region.right);
        EXPECT_GT(first[(walk.table.Rows() - 5) * columns * 2 + 1], walk.region.bottom);
    }
}

TEST(ZoneTables, SkippedCellsAreMarkedInRecordsOfThreeInts)
{
    const CellGeometry cell = {20.0, 30.0, 0.0, 0.0};
    OriginTable table(cell, CRect(0, 0, 100, 100), {{2, 1}});
    ASSERT_EQ(table.RecordInts(), 3);
    for (int row = 0; row < table.Rows(); ++row)
        for (int column = 0; column < table.Columns(); ++column)
        {
            const int* record = table.Entry(true) + (row * table.Columns() + column) * 3;
            EXPECT_EQ(record[0], column * 20);
            EXPECT_EQ(record[1], (row - 1) * 30);
            EXPECT_EQ(record[2], column == 2 && row - 1 == 1 ? 1 : 0);
        }
}

TEST(ZoneTables, MapContinuesThePaintedCellAtItsRealSize)
{
    const CellGeometry cell = {20.5, 16.0, 0.0, 0.0};
    GreyImage painted(21, 16, 1);
    painted.Row(3)[0] = 2;
    CellMap map(cell, painted, {0, 100, 200});
    const auto at = [&](int x, int y) { return map.Data()[y * map.Stride() + x]; };
    EXPECT_EQ(at(0, 3), 200);
    EXPECT_EQ(at(1, 3), 100);
    EXPECT_EQ(at(21, 3), 200); // 20.5 falls into column 0 from 21 on
    EXPECT_EQ(at(20, 3), 100);
    EXPECT_EQ(at(41, 3), 200);  // two periods
    EXPECT_EQ(at(0, 19), 200);  // one period down
    EXPECT_EQ(at(0, -13), 200); // one period up
    EXPECT_EQ(at(-20, 3), 200); // 0.5 of the cell before
}

TEST(ZoneTables, MapWithoutAPaintedCellHoldsOneValue)
{
    const CellGeometry cell = {20.5, 16.0, 0.0, 0.0};
    CellMap map(cell, GreyImage(), {7});
    const CRect extent = CellMap::Extent(cell);
    for (int y = extent.top; y < extent.bottom; ++y)
        for (int x = extent.left; x < extent.right; ++x)
            ASSERT_EQ(map.Data()[y * map.Stride() + x], 7);
}

} // namespace

} // namespace narvo::test
