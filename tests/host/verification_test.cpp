// SPDX-License-Identifier: MIT
// Verification at short periods, pitch tables of trapezia, and painted dead places: from the recipe to what is found.
#include <algorithm>

#include "host/pattern_help.h"

namespace narvo::test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int nSpotSide = 6;

/// Flat grey with squares at these corners.
GreyImage Squares(const std::vector<CPoint>& corners)
{
    GreyImage image(400, 400, 90);
    for (const CPoint& corner : corners)
        for (int y = 0; y < nSpotSide; ++y)
            std::fill_n(image.Row(corner.y + y) + corner.x, nSpotSide, std::uint8_t{150});
    return image;
}

/// A pattern of 20 by 16 pixels, compared three periods on along both axes.
Recipe ShortPeriodRecipe()
{
    Recipe recipe = SmallestParsed();
    recipe.pitchX = 16.0;
    recipe.pitchY = 20.0;
    recipe.multipleX = recipe.multipleY = 3;
    recipe.zones[0].index = 1;
    recipe.mergeDistance = 0;
    return recipe;
}

std::vector<CPoint> Found(const GreyImage& image, const Recipe& recipe)
{
    std::vector<CPoint> corners;
    for (const Blob& blob : Inspector(1, 1000).Inspect(0, image, CheckedRecipe(recipe)).blobs)
        corners.emplace_back(blob.box.left, blob.box.top);
    std::sort(corners.begin(), corners.end(),
              [](const CPoint& a, const CPoint& b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
    return corners;
}

std::vector<Problem> Problems(const Recipe& recipe)
{
    return ProblemsOf([&] { Inspector(1, 1000).Inspect(0, GreyImage(400, 400, 90), CheckedRecipe(recipe)); });
}

} // namespace

TEST(Verification, FixedCheckDropsWhatFitsOneShortPeriodOn)
{
    const CPoint upper(100, 150);
    const CPoint lower(100, 170);
    const CPoint alone(300, 200);
    const GreyImage image = Squares({upper, lower, alone});
    Recipe recipe = ShortPeriodRecipe();
    EXPECT_THAT(Found(image, recipe), ElementsAre(upper, lower, alone));
    recipe.zones[0].verifyMode = VerifyMode_Fixed;
    recipe.zones[0].verifyPitchY = 20.0;
    recipe.zones[0].verifyChecks = {{VerifyAlong_Y, 1}};
    EXPECT_THAT(Found(image, recipe), ElementsAre(lower, alone));
}

TEST(Verification, FixedCheckAlongXTakesItsOwnPitch)
{
    const CPoint left(100, 150);
    const CPoint right(116, 150);
    const GreyImage image = Squares({left, right});
    Recipe recipe = ShortPeriodRecipe();
    recipe.zones[0].verifyMode = VerifyMode_Fixed;
    recipe.zones[0].verifyPitchX = 16.0;
    recipe.zones[0].verifyChecks = {{VerifyAlong_X, 1}};
    EXPECT_THAT(Found(image, recipe), ElementsAre(right));
}

TEST(Verification, TableCheckLooksBothWaysAndSeveralPeriodsFar)
{
    const CPoint upper(100, 150);
    const CPoint lower(100, 190);
    const CPoint left(200, 150);
    const CPoint right(216, 150);
    const GreyImage image = Squares({upper, lower, left, right});
    Recipe recipe = ShortPeriodRecipe();
    recipe.scanPitches.assign(25, 60.0);
    recipe.zones[0].verifyMode = VerifyMode_Table;
    recipe.zones[0].verifyChecks = {{VerifyAlong_Y, 1}};
    EXPECT_THAT(Found(image, recipe), SizeIs(4));
    recipe.zones[0].verifyChecks = {{VerifyAlong_Y, 2}};
    EXPECT_THAT(Found(image, recipe), ElementsAre(left, right));
    recipe.convPitches.assign(25, 48.0);
    recipe.zones[0].verifyChecks = {{VerifyAlong_Y, 2}, {VerifyAlong_X, 1}};
    EXPECT_THAT(Found(image, recipe), IsEmpty());
}

TEST(Verification, TiltCheckFollowsARowThatLeans)
{
    // One compare distance down, the same square lies a pixel to the right: as the tilt says, it is pattern.
    const CPoint first(100, 120);
    const GreyImage image = Squares({first, CPoint(101, 180), CPoint(102, 240)});
    Recipe recipe = ShortPeriodRecipe();
    recipe.scanPitches.assign(25, 60.0);
    recipe.zones[0].verifyMode = VerifyMode_Table;
    recipe.zones[0].verifyChecks = {{VerifyAlong_Tilt, 1}};
    recipe.scanTilts.assign(25, 0.0);
    const std::vector<CPoint> straight = Found(image, recipe);
    recipe.scanTilts.assign(25, 1.0);
    const std::vector<CPoint> leaning = Found(image, recipe);
    EXPECT_LT(leaning.size(), straight.size());
}

TEST(Verification, WhatTheEngineWouldPassOverIsRefused)
{
    Recipe recipe = ShortPeriodRecipe();
    ZoneSettings& zone = recipe.zones[0];
    zone.verifyChecks = {{VerifyAlong_X, 1}};
    EXPECT_THAT(Problems(recipe),
                ElementsAre(IsProblem("zones.list[0].verify.checks", "1 checks", "none where verify.mode is off")));
    zone.verifyMode = VerifyMode_Fixed;
    EXPECT_THAT(Problems(recipe), ElementsAre(IsProblem("zones.list[0].verify.pitch.x", "0", "1 to 16384 pixels")));
    zone.verifyPitchX = 16.0;
    zone.verifyPitchY = 3.0;
    zone.verifyChecks = {{VerifyAlong_X, 4}, {VerifyAlong_Tilt, 1}};
    EXPECT_THAT(
        Problems(recipe),
        ElementsAre(IsProblem("zones.list[0].verify.pitch.y", "3", "0 where no fixed check goes along it"),
                    IsProblem("zones.list[0].verify.checks[0].cycles", "4",
                              "1 to 3 short periods, those that a comparison spans"),
                    IsProblem("zones.list[0].verify.checks[1].along", "tilt", "x or y where verify.mode is fixed")));
    zone.verifyPitchY = 0.0;
    zone.verifyChecks.assign(6, {VerifyAlong_X, 1});
    EXPECT_THAT(Problems(recipe), ElementsAre(IsProblem("zones.list[0].verify.checks", "6 checks",
                                                        "1 to 5 checks where verify.mode is on")));
    zone.verifyChecks.resize(1);
    zone.index = 0;
    EXPECT_THAT(Problems(recipe),
                ElementsAre(IsProblem("zones.list[0].verify.mode", "on", "off in zone 0, which is never verified")));
    zone.index = 1;
    recipe.direction = Direction_Horizontal;
    EXPECT_THAT(Problems(recipe),
                ElementsAre(IsProblem("zones.list[0].verify.mode", "on", "off in horizontal direction")));
    recipe.direction = Direction_Vertical;
    zone.verifyMode = VerifyMode_Table;
    zone.verifyPitchX = 0.0;
    zone.verifyChecks = {{VerifyAlong_X, 1}, {VerifyAlong_Y, 1}, {VerifyAlong_Tilt, 1}};
    EXPECT_THAT(Problems(recipe),
                testing::UnorderedElementsAre(IsAbout("tables.conv_pitch"), IsAbout("tables.scan_pitch"),
                                              IsAbout("tables.scan_tilt")));
    recipe.scanTilts.assign(25, 1.5);
    EXPECT_THAT(Problems(recipe), Contains(IsProblem("tables.scan_tilt[3]", "1.5", "-1 to 1 pixels")));
    recipe.scanTilts.assign(24, 1.0);
    recipe.scanPitches.assign(25, 60.0);
    recipe.convPitches.assign(25, 4096.0);
    EXPECT_THAT(Problems(recipe), Contains(IsAbout("tables.conv_pitch[0]")));
    recipe.convPitches.assign(25, 60.0);
    EXPECT_THAT(Problems(recipe), Contains(IsAbout("tables.scan_tilt")));
    zone.verifyChecks = {{VerifyAlong_Y, 1}};
    recipe.scanTilts.assign(25, 1.0);
    EXPECT_THAT(Problems(recipe),
                Contains(IsProblem("tables.scan_tilt", "given", "left out where no zone verifies along the tilt")));
    EXPECT_THAT(Problems(recipe), Contains(IsAbout("tables.conv_pitch")));
}

class TrapeziumTables : public testing::TestWithParam<bool>
{
};

TEST_P(TrapeziumTables, TableOfThePatternsPitchFindsTheSquareAndAWrongOneThePattern)
{
    const bool vertical = GetParam();
    const GreyImage image = MakePattern(nWidth, nHeight, 200, 150, 40);
    Recipe recipe = PatternRecipe();
    recipe.mode = Mode_Float;
    recipe.thresholdBase = 80;
    recipe.direction = vertical ? Direction_Vertical : Direction_Horizontal;
    recipe.regionShape = RegionShape_Trapezium;
    recipe.regionPoints = {{10, 10}, {390, 10}, {380, 290}, {20, 290}};
    ExpectTheSquare(Inspector(1, 1000).Inspect(0, image, CheckedRecipe(recipe)), 200, 150, true, 2);
    std::vector<double>& table = vertical ? recipe.columnPitches : recipe.rowPitches;
    table.assign(25, vertical ? dPitchY : dPitchX);
    ExpectTheSquare(Inspector(1, 1000).Inspect(0, image, CheckedRecipe(recipe)), 200, 150, true, 2);
    std::fill(table.begin() + 9, table.end(), vertical ? dPitchY + 6 : dPitchX + 6);
    const InspectionResult wrong = Inspector(1, 1000).Inspect(0, image, CheckedRecipe(recipe));
    const auto place = [&](const Blob& blob) { return vertical ? blob.box.left : blob.box.top; };
    EXPECT_GE(wrong.blobs.size(), 2U);
    EXPECT_EQ(std::count_if(wrong.blobs.begin(), wrong.blobs.end(),
                            [&](const Blob& blob) { return place(blob) < 9 * 16 - 32; }),
              0);
    std::swap(recipe.rowPitches, recipe.columnPitches);
    EXPECT_THAT(Problems(recipe), Contains(IsAbout(vertical ? "tables.row_pitch" : "tables.column_pitch")));
}

INSTANTIATE_TEST_SUITE_P(Directions, TrapeziumTables, testing::Values(true, false),
                         [](const testing::TestParamInfo<bool>& way) { return way.param ? "Vertical" : "Horizontal"; });

TEST(DeadPlaces, DeadZoneOfTheCellFindsNothingAndItsNeighboursGoOn)
{
    const CPoint dead(100, 150);
    const CPoint live(208, 150);
    const GreyImage image = Squares({dead, live});
    Recipe recipe = SmallestParsed();
    recipe.pitchX = 130.0;
    recipe.pitchY = 40.0;
    recipe.zoneImage = GreyImage(130, 40, 1);
    for (int y = 0; y < 40; ++y)
        std::fill_n(recipe.zoneImage.Row(y) + 90, 30, std::uint8_t{2});
    recipe.zones = {{.index = 1}, {.index = 2}};
    EXPECT_THAT(Found(image, recipe), ElementsAre(dead, live));
    recipe.zones[1].dead = true;
    recipe.zones[1].offset = 0;
    EXPECT_THAT(Found(image, recipe), ElementsAre(live));
    recipe.extendedKernel = recipe.zoneTables = true;
    EXPECT_THAT(Found(image, recipe), ElementsAre(live));
}

TEST(DeadPlaces, PaintedImageLeavesOutWhatLiesThereInEveryMode)
{
    const CPoint dead(100, 150);
    const CPoint live(208, 150);
    const GreyImage image = Squares({dead, live});
    for (const int mode : {Mode_Zone, Mode_Pixel})
    {
        Recipe recipe = SmallestParsed();
        recipe.mode = mode;
        recipe.thresholdBase = mode == Mode_Pixel ? 20 : 0;
        recipe.pitchY = 40.0;
        recipe.deadImage = GreyImage(400, 400, 0);
        for (int y = 140; y < 160; ++y)
            std::fill_n(recipe.deadImage.Row(y) + 90, 30, std::uint8_t{255});
        const InspectionResult result = Inspector(1, 1000).Inspect(0, image, CheckedRecipe(recipe));
        ASSERT_THAT(result.blobs, SizeIs(1));
        EXPECT_EQ(result.blobs[0].box.left, live.x);
        EXPECT_EQ(result.blobs[0].number, 1);
        EXPECT_EQ(result.deadBlobs, 1);
        recipe.deadImage = GreyImage(400, 399, 0);
        EXPECT_THAT(Problems(recipe), ElementsAre(IsProblem("dead_image", "400 by 399 pixels",
                                                            "at least 400 by 400 pixels, the size of the image")));
    }
}

TEST(Verification, ReadsFromJsonAndBack)
{
    nlohmann::json document = SmallestRecipe();
    document["multiple"] = {{"x", 3}, {"y", 3}};
    document["tables"] = {{"scan_pitch", {90.75, 90.75}}, {"scan_tilt", {0.5, -0.5}}};
    document["zones"]["list"] = {
        {{"index", 4},
         {"dead", true},
         {"verify", {{"mode", "table"}, {"checks", {{{"along", "y"}, {"cycles", 2}}, {{"along", "tilt"}}}}}}}};
    const Recipe recipe = ParseRecipe(document, {});
    ASSERT_THAT(recipe.zones, SizeIs(1));
    EXPECT_TRUE(recipe.zones[0].dead);
    ASSERT_THAT(recipe.zones[0].verifyChecks, SizeIs(2));
    EXPECT_EQ(recipe.zones[0].verifyChecks[0].cycles, 2);
    EXPECT_EQ(recipe.zones[0].verifyChecks[1].along, VerifyAlong_Tilt);
    EXPECT_THAT(recipe.scanTilts, ElementsAre(0.5, -0.5));
    EXPECT_EQ(RecipeToJson(ParseRecipe(nlohmann::json(RecipeToJson(recipe)), {})), RecipeToJson(recipe));

    document["zones"]["list"][0]["verify"]["checks"] = {
        {{"along", "z"}}, 5, {{"along", "x"}, {"cycles", "2"}, {"far", 1}}};
    EXPECT_THAT(ParseProblems(document),
                testing::IsSupersetOf(
                    {IsProblem("zones.list[0].verify.checks[0].along", "\"z\"", "x, y or tilt"),
                     IsProblem("zones.list[0].verify.checks[1]", "5", "an object with along and cycles"),
                     IsProblem("zones.list[0].verify.checks[2].cycles", "\"2\"", "whole number, 1 to 99 short periods"),
                     IsProblem("zones.list[0].verify.checks[2].far", "unknown field", "one of along, cycles")}));
}

} // namespace narvo::test
