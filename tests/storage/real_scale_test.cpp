// SPDX-License-Identifier: MIT
// The real-scale diameter of points that lie further apart than an int holds.
#include <climits>

#include "gtest/gtest.h"

#include "storage/store_samples.h"

namespace
{

/// The diameter of a box of extreme points, of which no two lie in opposite corners where `bCorners` is false.
int ScaleOf(const CPoint& ptLow, const CPoint& ptHigh, bool bCorners)
{
    CBlobStorage store;
    store.ConvParam.dPixelSizeX = 1.0;
    store.ConvParam.dPixelSizeY = 1.0;
    CPoint points[CDefectBlob::nExtremeCount];
    for (int i = 0; i < CDefectBlob::nExtremeCount; ++i)
        points[i] = i % 2 == 0 ? ptLow : ptHigh;
    if (!bCorners)
    {
        points[0] = CPoint(ptLow.x, ptHigh.y);
        for (int i = 1; i < CDefectBlob::nExtremeCount; ++i)
            points[i] = i % 2 == 0 ? CPoint(ptLow.x, ptLow.y) : CPoint(ptHigh.x, ptLow.y);
    }
    return store.CalcRScale(points);
}

TEST(RealScale, OppositeCornersGiveTheDiagonalWithBothEnds)
{
    EXPECT_EQ(ScaleOf(CPoint(10, 10), CPoint(13, 14), true), ScaleOf(CPoint(0, 0), CPoint(3, 4), true));
    EXPECT_GE(ScaleOf(CPoint(0, 0), CPoint(30, 40), true), 50);
    EXPECT_EQ(ScaleOf(CPoint(0, 0), CPoint(30, 40), false), ScaleOf(CPoint(0, 0), CPoint(30, 40), true));
}

TEST(RealScale, DistancesThatWrapAroundAreComparedPairByPair)
{
    // Width or height is negative after wrapping: the short cut over the corners does not hold.
    const int nWide = ScaleOf(CPoint(INT_MIN, 0), CPoint(INT_MAX, 4), true);
    const int nHigh = ScaleOf(CPoint(0, INT_MIN), CPoint(4, INT_MAX), true);
    EXPECT_EQ(nWide, ScaleOf(CPoint(0, 0), CPoint(-1, 4), true)) << "INT_MAX - INT_MIN is -1";
    EXPECT_EQ(nHigh, ScaleOf(CPoint(0, 0), CPoint(4, -1), true));
}

} // namespace
