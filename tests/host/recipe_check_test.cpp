// SPDX-License-Identifier: MIT
// Rules between the recipe's fields, and between recipe and image.
#include "host/recipe/recipe_check.h"

#include "host/host_test_help.h"
#include "host/recipe_settings.h"

namespace narvo::test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr int nWidth = 400;
constexpr int nHeight = 300;

std::vector<Problem> ImageProblems(const Recipe& recipe)
{
    return CheckRecipeForImage(CheckedRecipe(recipe), nWidth, nHeight);
}

TEST(RecipeCheck, SmallestRecipePasses)
{
    EXPECT_THAT(CheckRecipe(SmallestParsed()), IsEmpty());
    EXPECT_THAT(ImageProblems(SmallestParsed()), IsEmpty());
}

TEST(RecipeCheck, ValuesSetByCodeAreCheckedToo)
{
    Recipe recipe = SmallestParsed();
    recipe.greyLimit = 0;
    recipe.pitchX = std::nan("");
    recipe.mode = 8;
    EXPECT_THAT(CheckRecipe(recipe),
                ElementsAre(IsProblem("mode", "8", "zone, pixel, float, binarise, average, asg, texture or lattice"),
                            IsProblem("pitch.x", "nan", "1 to 16384 pixels"),
                            IsProblem("grey_limit", "0", "whole number, 1 to 255 grey levels")));
}

TEST(RecipeCheck, RegionSidesOutsideTheImageAreNamedOneByOne)
{
    Recipe recipe = SmallestParsed();
    recipe.region = CRect(-1, -2, 401, 301);
    EXPECT_THAT(ImageProblems(recipe), ElementsAre(IsProblem("region.left", "-1", "0 to 399 pixels"),
                                                   IsProblem("region.top", "-2", "0 to 299 pixels"),
                                                   IsProblem("region.right", "401", "1 to 400 pixels"),
                                                   IsProblem("region.bottom", "301", "1 to 300 pixels")));
}

TEST(RecipeCheck, ReversedRegionIsRefused)
{
    Recipe recipe = SmallestParsed();
    recipe.region = CRect(100, 50, 100, 40);
    EXPECT_THAT(ImageProblems(recipe), ElementsAre(IsProblem("region.right", "100", "101 to 400 pixels"),
                                                   IsProblem("region.bottom", "40", "51 to 300 pixels")));
}

TEST(RecipeCheck, ThreePitchesMustFitAlongTheCompareDirection)
{
    Recipe recipe = SmallestParsed();
    recipe.pitchY = 100.0;
    EXPECT_THAT(ImageProblems(recipe), IsEmpty());
    recipe.pitchY = 100.1;
    EXPECT_THAT(
        ImageProblems(recipe),
        ElementsAre(IsProblem("pitch.y", "100.1", "at most 100 pixels, a third of the region's height of 300")));
    recipe.pitchY = 51.0;
    recipe.multipleY = 2;
    EXPECT_THAT(ImageProblems(recipe),
                ElementsAre(IsProblem("pitch.y", "51 (times multiple.y, 2)",
                                      "at most 50 pixels, a third of the region's height of 300")));
    recipe.direction = Direction_Horizontal;
    recipe.pitchX = 134.0;
    EXPECT_THAT(ImageProblems(recipe), ElementsAre(IsAbout("pitch.x")));
}

TEST(RecipeCheck, VerticalRunsTooWantThreePitchesAcrossTheImage)
{
    Recipe recipe = SmallestParsed();
    recipe.pitchX = 134.0;
    const auto found = ImageProblems(recipe);
    ASSERT_THAT(found, ElementsAre(IsAbout("pitch.x")));
    EXPECT_THAT(found[0].allowed, HasSubstr("a third of the image's width of 400"));
}

TEST(RecipeCheck, AutoDirectionTakesTheDirectionThatFits)
{
    Recipe recipe = SmallestParsed();
    recipe.pitchY = 101.0;
    recipe.autoDirection = true;
    EXPECT_EQ(ResolveDirection(recipe, CRect(0, 0, nWidth, nHeight)), Direction_Horizontal);
    EXPECT_THAT(ImageProblems(recipe), IsEmpty());
    recipe.pitchX = 150.0;
    EXPECT_EQ(ResolveDirection(recipe, CRect(0, 0, nWidth, nHeight)), Direction_Vertical);
    EXPECT_THAT(ImageProblems(recipe), Contains(IsAbout("pitch.y")));
}

TEST(RecipeCheck, RegionMustHoldAStripAndTheWindows)
{
    Recipe recipe = SmallestParsed();
    recipe.region = CRect(0, 0, 15, 300);
    EXPECT_THAT(ImageProblems(recipe),
                Contains(IsProblem("region's width", "15 pixels", "at least 16 pixels, one strip")));
    recipe.region.reset();
    recipe.windowWidth = 134;
    recipe.windowHeight = 151;
    const auto found = ImageProblems(recipe);
    EXPECT_THAT(found,
                Contains(IsProblem("region's width", "400 pixels", "at least 402 pixels, three times window.width")));
    EXPECT_THAT(found,
                Contains(IsProblem("region's height", "300 pixels", "at least 302 pixels, twice window.height")));
}

TEST(RecipeCheck, ZoneCellMustBeWideEnoughForTheKernelsSteps)
{
    Recipe recipe = SmallestParsed();
    recipe.pitchX = 5.5;
    recipe.pitchY = 1.5;
    const auto found = CheckRecipe(recipe);
    EXPECT_THAT(found, ElementsAre(IsProblem("zones.multiple.x", "1 (a cell 5.5 pixels wide)",
                                             "enough periods for a cell of 16 pixels or more"),
                                   IsProblem("zones.multiple.y", "1 (a cell 1.5 pixels high)",
                                             "enough periods for a cell of 2 pixels or more")));
    recipe.zoneMultipleX = 3;
    recipe.zoneMultipleY = 2;
    EXPECT_THAT(CheckRecipe(recipe), IsEmpty());
}

TEST(RecipeCheck, ZoneCellMustNotBeHuge)
{
    Recipe recipe = SmallestParsed();
    recipe.zoneMultipleX = 1000;
    recipe.zoneMultipleY = 1000;
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsAbout("zones.multiple")));
}

TEST(RecipeCheck, PaintedCellMustCoverTheZoneCell)
{
    Recipe recipe = SmallestParsed();
    recipe.zoneImage = GreyImage(20, 31);
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsProblem("zones.image", "20 by 31 pixels",
                                                           "at least 21 by 31 pixels, the size of a zone cell")));
    recipe.zoneImage = GreyImage(21, 31);
    EXPECT_THAT(CheckRecipe(recipe), IsEmpty());
    recipe.zoneMultipleY = 2;
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsAbout("zones.image")));
}

TEST(RecipeCheck, PaintedZonesMustBeListed)
{
    Recipe recipe = SmallestParsed();
    recipe.zoneImage = GreyImage(21, 31);
    recipe.zoneImage.Row(4)[9] = 2;
    EXPECT_THAT(CheckRecipe(recipe),
                ElementsAre(IsProblem("zones.image", "value 2 at column 9, row 4", "the zones of zones.list")));
    recipe.zones.push_back({.index = 2});
    EXPECT_THAT(CheckRecipe(recipe), IsEmpty());
}

TEST(RecipeCheck, ZonesAreListedOnce)
{
    Recipe recipe = SmallestParsed();
    recipe.zoneImage = GreyImage(21, 31);
    recipe.zones.push_back({.index = 0});
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsProblem("zones.list[1].index", "0", "each zone once")));
}

TEST(RecipeCheck, FlatZoneIsExactlyOne)
{
    Recipe recipe = SmallestParsed();
    recipe.zones.push_back({.index = 1});
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsAbout("zones.list")));
    recipe.zones.clear();
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsAbout("zones.list")));
}

TEST(RecipeCheck, ZoneZeroHasNoGreyLimits)
{
    Recipe recipe = SmallestParsed();
    recipe.zones[0].darkGreyLimit = 40;
    recipe.zones[0].brightMinDifference = 30;
    EXPECT_THAT(CheckRecipe(recipe),
                ElementsAre(IsAbout("zones.list[0].dark_grey_limit"), IsAbout("zones.list[0].bright_min_difference")));
    recipe.zones[0].index = 1;
    EXPECT_THAT(CheckRecipe(recipe), IsEmpty());
}

TEST(RecipeCheck, ClassImageHoldsValuesBelowSixteen)
{
    Recipe recipe = SmallestParsed();
    recipe.scanPitches = {30.25};
    recipe.extendedKernel = true;
    recipe.classImage = GreyImage(21, 31, 15);
    EXPECT_THAT(CheckRecipe(recipe), IsEmpty());
    recipe.classImage.Row(0)[0] = 16;
    EXPECT_THAT(CheckRecipe(recipe),
                ElementsAre(IsProblem("zones.class_image", "value 16 at column 0, row 0", "values 0 to 15")));
}

TEST(RecipeCheck, NineDeadZonesAreTheMost)
{
    Recipe recipe = SmallestParsed();
    recipe.extendedKernel = true;
    recipe.zoneTables = true;
    recipe.deadZones.assign(9, CRect(0, 0, 5, 5));
    EXPECT_THAT(CheckRecipe(recipe), IsEmpty());
    recipe.deadZones.emplace_back(0, 0, 5, 5);
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsProblem("dead_zones", "10 rectangles", "at most 9 rectangles")));
}

TEST(RecipeCheck, DeadZonesAreInsideTheImageAndNotEmpty)
{
    Recipe recipe = SmallestParsed();
    recipe.extendedKernel = true;
    recipe.zoneTables = true;
    recipe.deadZones = {CRect(5, 5, 5, 9)};
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsAbout("dead_zones[0]")));
    recipe.deadZones = {CRect(5, 5, 401, 9)};
    EXPECT_THAT(ImageProblems(recipe), ElementsAre(IsProblem("dead_zones[0].right", "401", "1 to 400 pixels")));
}

TEST(RecipeCheck, MarginFrameIsInsideTheImage)
{
    Recipe recipe = SmallestParsed();
    recipe.marginFrame = CRect(0, 0, 400, 301);
    EXPECT_THAT(ImageProblems(recipe), ElementsAre(IsProblem("margin_frame.bottom", "301", "1 to 300 pixels")));
}

TEST(RecipeCheck, TablesCoverTheWholeImage)
{
    Recipe recipe = SmallestParsed();
    recipe.scanPitches.assign(18, 30.25);
    EXPECT_THAT(ImageProblems(recipe),
                ElementsAre(IsProblem("tables.scan_pitch", "18 entries",
                                      "at least 19 entries, one for each 16 pixels of the image")));
    recipe.scanPitches.assign(19, 30.25);
    EXPECT_THAT(ImageProblems(recipe), IsEmpty());

    recipe.scanPitches.clear();
    recipe.direction = Direction_Horizontal;
    recipe.convPitches.assign(24, 20.5);
    EXPECT_THAT(ImageProblems(recipe), ElementsAre(IsAbout("tables.conv_pitch")));
    recipe.convPitches.assign(25, 20.5);
    EXPECT_THAT(ImageProblems(recipe), IsEmpty());
    recipe.convPitches[3] = 0.5;
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsProblem("tables.conv_pitch[3]", "0.5", "1 to 16384 pixels")));
}

TEST(RecipeCheck, SkippedCellsRuleOutRerunsAndBands)
{
    Recipe recipe = SmallestParsed();
    recipe.skippedCells = {{1, 1}};
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsProblem("max_reruns", "3", "0 where zones.skip is given"),
                                                 IsProblem("band_split", "true", "false where zones.skip is given")));
    recipe.maxReruns = 0;
    recipe.bandSplit = false;
    EXPECT_THAT(CheckRecipe(recipe), IsEmpty());
}

TEST(RecipeCheck, HorizontalRerunsLimitTheGridRows)
{
    Recipe recipe = SmallestParsed();
    recipe.direction = Direction_Horizontal;
    recipe.pitchY = 2.0;
    EXPECT_THAT(CheckRecipeForImage(CheckedRecipe(recipe), 400, 3970), IsEmpty());
    EXPECT_THAT(CheckRecipeForImage(CheckedRecipe(recipe), 400, 3990), ElementsAre(IsAbout("zones.multiple.y")));
    recipe.maxReruns = 0;
    EXPECT_THAT(CheckRecipeForImage(CheckedRecipe(recipe), 400, 3990), IsEmpty());
}

/// Recipe with the named settings given.
Recipe With(SettingNames names, Direction direction = Direction_Vertical)
{
    Recipe recipe = SmallestParsed();
    recipe.direction = direction;
    GiveSettings(recipe, names);
    return recipe;
}

TEST(RecipeCheck, CombinationsThatSelectOneKernelPass)
{
    for (const auto& names :
         std::initializer_list<SettingNames>{{"tables.scan_pitch"},
                                             {"tables.scan_pitch", "kernel.cross_shift"},
                                             {"tables.scan_pitch", "kernel.extended"},
                                             {"tables.scan_pitch", "kernel.extended", "zones.class_image"},
                                             {"kernel.cross_shift"},
                                             {"kernel.cross_shift", "kernel.extended", "dead_zones"},
                                             {"kernel.line_buffer"},
                                             {"kernel.two_segment"},
                                             {"zones.skip"},
                                             {"zones.skip", "kernel.average_2by2"},
                                             {"kernel.average_2by2"},
                                             {"kernel.extended", "kernel.zone_tables", "dead_zones"},
                                             {"kernel.extended", "kernel.dark_base", "dead_zones"},
                                             {"kernel.extended", "kernel.class_pitch"},
                                             {"kernel.extended"}})
        EXPECT_THAT(CheckRecipe(With(names)), IsEmpty());
    EXPECT_THAT(CheckRecipe(With({"tables.conv_pitch"}, Direction_Horizontal)), IsEmpty());
}

TEST(RecipeCheck, SettingsThatTheChosenKernelDoesNotReadAreRefused)
{
    EXPECT_THAT(CheckRecipe(With({"kernel.line_buffer", "kernel.average_2by2"})),
                ElementsAre(IsProblem("kernel.average_2by2", "true",
                                      "false, since the other settings select the direct kernel, which does not read "
                                      "it")));
    EXPECT_THAT(CheckRecipe(With({"kernel.extended", "kernel.zone_tables", "kernel.dark_base"})),
                ElementsAre(IsAbout("kernel.dark_base")));
    EXPECT_THAT(CheckRecipe(With({"kernel.dark_base"})), ElementsAre(IsAbout("kernel.dark_base")));
    EXPECT_THAT(CheckRecipe(With({"dead_zones"})), ElementsAre(IsAbout("dead_zones")));
    EXPECT_THAT(CheckRecipe(With({"kernel.extended", "dead_zones"})), ElementsAre(IsAbout("dead_zones")));
    EXPECT_THAT(CheckRecipe(With({"tables.conv_pitch"})), ElementsAre(IsAbout("tables.conv_pitch")));
    EXPECT_THAT(CheckRecipe(With({"kernel.extended", "zones.class_image"})), ElementsAre(IsAbout("zones.class_image")));
}

TEST(RecipeCheck, HorizontalKernelsReadNoneOfTheVerticalSettings)
{
    for (const char* name : {"tables.scan_pitch", "kernel.extended", "kernel.cross_shift", "kernel.line_buffer",
                             "kernel.two_segment", "zones.skip", "kernel.average_2by2", "kernel.zone_tables",
                             "kernel.dark_base", "kernel.class_pitch", "zones.class_image", "dead_zones"})
        EXPECT_THAT(CheckRecipe(With({name}, Direction_Horizontal)), Contains(IsAbout(name)));
}

TEST(RecipeCheck, AutoDirectionChecksSettingsAgainstTheDirectionThatIsTaken)
{
    Recipe recipe = With({"kernel.average_2by2"});
    recipe.autoDirection = true;
    EXPECT_THAT(ImageProblems(recipe), IsEmpty());
    recipe.pitchY = 101.0;
    EXPECT_THAT(ImageProblems(recipe), ElementsAre(IsAbout("kernel.average_2by2")));
}

} // namespace

} // namespace narvo::test
