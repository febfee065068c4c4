// SPDX-License-Identifier: MIT
// The region object: creation, combination, data, deletion.
#include "narvoassem/platform.h"

#include <climits>
#include <cstring>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"

#include "reference/region_reference.h"

namespace
{

using namespace narvo::test;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Region, NewObjectHoldsNoRegion)
{
    CRgn rgn;
    CRgn other;
    ASSERT_EQ(other.CreateRectRgn(0, 0, 4, 4), 1);
    EXPECT_EQ(rgn.GetSafeHandle(), nullptr);
    EXPECT_EQ(rgn.GetRegionData(nullptr, 0), 0);
    EXPECT_EQ(rgn.DeleteObject(), 0);
    EXPECT_EQ(rgn.CombineRgn(&other, &other, RGN_AND), RGN_ERROR);
    EXPECT_EQ(other.CombineRgn(&rgn, &other, RGN_AND), RGN_ERROR);
    EXPECT_EQ(other.CombineRgn(&other, nullptr, RGN_AND), RGN_ERROR);
}

TEST(Region, RectangleCoversItsPixels)
{
    CRgn rgn;
    const CRect rt(-3, 5, 20, 9);
    ASSERT_EQ(rgn.CreateRectRgnIndirect(&rt), 1);
    EXPECT_NE(rgn.GetSafeHandle(), nullptr);
    EXPECT_THAT(ReadRegion(rgn), ElementsAre(rt));
    EXPECT_EQ(rgn.CreateRectRgn(0, 0, 1, 1), 0) << "it holds a region already";
    EXPECT_EQ(rgn.DeleteObject(), 1);
    EXPECT_EQ(rgn.GetSafeHandle(), nullptr);
    EXPECT_EQ(rgn.CreateRectRgn(0, 0, 1, 1), 1);
    CRgn none;
    EXPECT_EQ(none.CreateRectRgnIndirect(nullptr), 0);
}

TEST(Region, EmptyReversedAndHugeRectanglesPrintNothing)
{
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    for (const CRect& rt : {CRect(0, 0, 0, 0), CRect(10, 10, 0, 0), CRect(0, 10, 10, 0), CRect(INT_MAX, 0, INT_MIN, 4)})
    {
        CRgn rgn;
        ASSERT_EQ(rgn.CreateRectRgnIndirect(&rt), 1);
        EXPECT_THAT(ReadRegion(rgn), IsEmpty());
        CRgn all;
        ASSERT_EQ(all.CreateRectRgn(-100, -100, 100, 100), 1);
        CRgn both;
        ASSERT_EQ(both.CreateRectRgn(0, 0, 0, 0), 1);
        EXPECT_EQ(both.CombineRgn(&rgn, &all, RGN_AND), NULLREGION);
    }
    CRgn huge;
    ASSERT_EQ(huge.CreateRectRgn(INT_MIN, INT_MIN, INT_MAX, INT_MAX), 1);
    EXPECT_THAT(ReadRegion(huge), ElementsAre(CRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX)));
    CRgn small;
    ASSERT_EQ(small.CreateRectRgn(3, 4, 5, 6), 1);
    EXPECT_EQ(small.CombineRgn(&small, &huge, RGN_AND), SIMPLEREGION);
    EXPECT_THAT(ReadRegion(small), ElementsAre(CRect(3, 4, 5, 6)));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Region, CombinationReturnsWhetherOneOrSeveralRectanglesAreLeft)
{
    CRgn a;
    CRgn b;
    CRgn target;
    ASSERT_EQ(a.CreateRectRgn(0, 0, 10, 10), 1);
    ASSERT_EQ(target.CreateRectRgn(0, 0, 0, 0), 1);
    ASSERT_EQ(b.CreateRectRgn(10, 0, 20, 10), 1);
    EXPECT_EQ(target.CombineRgn(&a, &b, RGN_AND), NULLREGION);
    EXPECT_EQ(target.CombineRgn(&a, &a, RGN_AND), SIMPLEREGION);
    EXPECT_THAT(ReadRegion(target), ElementsAre(CRect(0, 0, 10, 10)));
    // A comb of two teeth.
    const CPoint comb[] = {{0, 0}, {3, 0}, {3, 5}, {6, 5}, {6, 0}, {9, 0}, {9, 8}, {0, 8}};
    CRgn teeth;
    ASSERT_EQ(teeth.CreatePolygonRgn(comb, 8, ALTERNATE), 1);
    EXPECT_EQ(target.CombineRgn(&a, &teeth, RGN_AND), COMPLEXREGION);
    EXPECT_THAT(ReadRegion(target), ElementsAre(CRect(0, 0, 3, 5), CRect(6, 0, 9, 5), CRect(0, 5, 9, 8)));
    EXPECT_EQ(target.CombineRgn(&a, &b, 2), RGN_ERROR) << "intersection alone is built";
}

TEST(Region, DataHasAHeaderAndNeedsALargeEnoughBlock)
{
    CRgn rgn;
    ASSERT_EQ(rgn.CreateRectRgn(1, 2, 3, 4), 1);
    const int nSize = rgn.GetRegionData(nullptr, 0);
    ASSERT_EQ(nSize, static_cast<int>(sizeof(RGNDATAHEADER) + sizeof(CRect)));
    std::vector<char> block(static_cast<std::size_t>(nSize));
    auto* pData = reinterpret_cast<RGNDATA*>(block.data());
    EXPECT_EQ(rgn.GetRegionData(pData, nSize - 1), 0);
    EXPECT_EQ(rgn.GetRegionData(pData, -1), 0);
    ASSERT_EQ(rgn.GetRegionData(pData, nSize), nSize);
    EXPECT_EQ(pData->rdh.dwSize, sizeof(RGNDATAHEADER));
    EXPECT_EQ(pData->rdh.iType, 1U);
    EXPECT_EQ(pData->rdh.nCount, 1U);
    EXPECT_EQ(pData->rdh.nRgnSize, sizeof(CRect));
    const auto& bounds = pData->rdh.rcBound;
    EXPECT_EQ(CRect(bounds.left, bounds.top, bounds.right, bounds.bottom), CRect(1, 2, 3, 4));
}

} // namespace
