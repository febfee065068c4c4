// SPDX-License-Identifier: MIT
// Straight ends of a pattern that lie elsewhere: found on every side, left out of golden inspection, and told apart
// from defects at an end.
#include "host/golden/pattern_end.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/golden/golden.h"

namespace narvo::test
{

namespace
{

using testing::Contains;
using testing::HasSubstr;

constexpr std::uint8_t nGround = 230;

/// Tracks of 20 pixels that run along x and y, on empty ground; only what lies in `shown` is left of them.
GreyImage Tracks(const CRect& shown)
{
    GreyImage picture(300, 260, nGround);
    for (int y = shown.top; y < shown.bottom; ++y)
        for (int x = shown.left; x < shown.right; ++x)
            if (x % 40 < 20 || y % 50 < 20)
                picture.Row(y)[x] = 40;
    return picture;
}

GreyImage AllInside()
{
    return {300, 260, 255};
}

TEST(PatternEnd, FindsMovedEndsOnEverySide)
{
    const GreyImage reference = Tracks({25, 31, 275, 235});
    const auto ends = [&](const CRect& shown) { return FindMovedEnds(reference, Tracks(shown), AllInside(), 2.0); };
    EXPECT_TRUE(ends({25, 31, 275, 235}).empty());
    EXPECT_TRUE(ends({25, 31, 275, 233}).empty()); // within the tolerance
    struct Case
    {
        CRect shown;
        PatternEnd::Side side;
        int image;
        int reference;
    };
    for (const Case& one : {Case{{25, 31, 275, 229}, PatternEnd::Side_Bottom, 228, 234},
                            Case{{25, 31, 275, 239}, PatternEnd::Side_Bottom, 238, 234},
                            Case{{25, 36, 275, 235}, PatternEnd::Side_Top, 36, 31},
                            Case{{25, 31, 270, 235}, PatternEnd::Side_Right, 269, 274},
                            Case{{30, 31, 275, 235}, PatternEnd::Side_Left, 30, 25}})
    {
        const std::vector<PatternEnd> found = ends(one.shown);
        ASSERT_EQ(found.size(), 1U) << one.side;
        EXPECT_EQ(found[0].side, one.side);
        EXPECT_EQ(found[0].image, one.image);
        EXPECT_EQ(found[0].reference, one.reference);
    }
}

TEST(PatternEnd, LeavesSquarePicturesAsTheyAre)
{
    // Not the same on the right as on the left, where the pattern reaches the side.
    GreyImage picture(200, 200, nGround);
    for (int y = 20; y < 180; ++y)
        for (int x = 0; x < 170; ++x)
            if (x % 40 < 20 || y % 50 < 20)
                picture.Row(y)[x] = static_cast<std::uint8_t>(40 + x % 7 + y % 5);
    const GreyImage before = picture;
    EXPECT_TRUE(FindMovedEnds(picture, picture, {200, 200, 255}, 2.0).empty());
    for (int y = 0; y < 200; ++y)
        ASSERT_TRUE(std::equal(picture.Row(y), picture.Row(y) + 200, before.Row(y))) << y;
}

TEST(PatternEnd, WhatIsMissingAtAnEndIsNoMovedEnd)
{
    const CRect shown(25, 31, 275, 235);
    const GreyImage reference = Tracks(shown);
    GreyImage notched = reference;
    for (int y = 225; y < 235; ++y)
        std::fill(notched.Row(y) + 100, notched.Row(y) + 160, nGround);
    EXPECT_TRUE(FindMovedEnds(reference, notched, AllInside(), 2.0).empty());
    // Too far off to be the same end.
    EXPECT_TRUE(FindMovedEnds(reference, Tracks({25, 31, 275, 212}), AllInside(), 2.0).empty());
    // Another pattern ends there: the bar along the end is gone.
    GreyImage barred = reference;
    for (int y = 235; y < 241; ++y)
        std::fill(barred.Row(y) + 25, barred.Row(y) + 275, std::uint8_t{40});
    EXPECT_TRUE(FindMovedEnds(barred, reference, AllInside(), 2.0).empty());
}

TEST(PatternEnd, IsLeftOutOfGoldenInspectionAndNamed)
{
    const GoldenSettings settings;
    Inspector inspector(1, settings.maxBlobs);
    const GoldenModel model({Tracks({25, 31, 275, 235})}, settings);
    GreyImage image = Tracks({25, 31, 275, 229});
    const Registration inPlace;
    const GoldenResult result = InspectRegistered(inspector, 0, model, image, inPlace);
    EXPECT_TRUE(result.inspection.blobs.empty());
    EXPECT_THAT(result.inspection.warnings,
                Contains(HasSubstr("the pattern ends at row 228 towards the bottom, the reference's at row 234")));
    // A defect elsewhere is found as ever.
    for (int y = 80; y < 92; ++y)
        std::fill_n(image.Row(y) + 122, 12, nGround);
    EXPECT_EQ(InspectRegistered(inspector, 0, model, image, inPlace).inspection.blobs.size(), 1U);
}

} // namespace

} // namespace narvo::test
