// SPDX-License-Identifier: MIT
// What each mode reads, and that everything else is refused there.
#include "host/host_test_help.h"
#include "host/recipe/recipe_check.h"
#include "host/recipe/recipe_fields.h"
#include "host/recipe/recipe_rules.h"
#include "host/recipe_settings.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int nWidth = 400;
constexpr int nHeight = 300;

const char* const modes[] = {"zone", "pixel", "float", "binarise", "average", "asg", "texture", "lattice"};

Recipe SmallestOf(const char* mode)
{
    return ParseRecipe(SmallestRecipe(mode), {});
}

TEST(ModeCheck, SmallestRecipeOfEveryModePassesAndSurvivesTheWayThroughJson)
{
    for (const char* mode : modes)
    {
        const Recipe recipe = SmallestOf(mode);
        EXPECT_THAT(CheckRecipeForImage(CheckedRecipe(recipe), nWidth, nHeight), IsEmpty()) << mode;
        EXPECT_EQ(RecipeToJson(ParseRecipe(RecipeToJson(recipe), {})), RecipeToJson(recipe)) << mode;
    }
}

TEST(ModeCheck, FieldsWithoutADefaultAreAskedForInTheirModesOnly)
{
    const auto missing = [](const char* mode) { return ParseProblems({{"version", 1}, {"mode", mode}}); };
    EXPECT_THAT(missing("pixel"), ElementsAre(IsAbout("pitch.x"), IsAbout("pitch.y"), IsAbout("threshold.base")));
    EXPECT_THAT(missing("binarise"),
                ElementsAre(IsProblem("binarise.limit", "missing", "whole number, 2 to 255 grey levels")));
    EXPECT_THAT(missing("average"), ElementsAre(IsAbout("average.bright"), IsAbout("average.dark")));
    EXPECT_THAT(missing("asg"), ElementsAre(IsAbout("pitch.x"), IsAbout("pitch.y")));
}

TEST(ModeCheck, PaintedCellsBesideTheFieldsAreRefusedWhereTheirFieldsAre)
{
    const auto refused = [](const char* mode, GreyImage Recipe::*image)
    {
        Recipe recipe = SmallestOf(mode);
        recipe.*image = GreyImage(40, 30);
        return CheckRecipe(recipe);
    };
    EXPECT_THAT(refused("pixel", &Recipe::zoneImage),
                ElementsAre(IsProblem("zones.image", "given", "left out in pixel mode, which does not read it")));
    EXPECT_THAT(
        refused("texture", &Recipe::classImage),
        ElementsAre(IsProblem("zones.class_image", "given", "left out in texture mode, which does not read it")));
    EXPECT_THAT(refused("asg", &Recipe::classImage), Contains(IsAbout("zones.class_image")));
    EXPECT_THAT(refused("pixel", &Recipe::deadImage), IsEmpty());
}

TEST(ModeCheck, FieldsOfOtherModesAreRefused)
{
    const auto refused = [](const char* mode, const char* pointer, const json& value)
    {
        json document = SmallestRecipe(mode);
        document[json::json_pointer(pointer)] = value;
        return ParseProblems(document);
    };
    EXPECT_THAT(refused("pixel", "/zones/multiple/x", 2),
                ElementsAre(IsProblem("zones.multiple.x", "2", "left out in pixel mode, which does not read it")));
    EXPECT_THAT(refused("pixel", "/zones/list", json::array({{{"index", 0}, {"offset", 9}}})),
                ElementsAre(IsProblem("zones.list", "given", "left out in pixel mode, which does not read it")));
    EXPECT_THAT(refused("zone", "/threshold/base", 20), ElementsAre(IsAbout("threshold.base")));
    EXPECT_THAT(refused("float", "/twice/pitch", 40), ElementsAre(IsAbout("twice.pitch")));
    EXPECT_THAT(refused("float", "/kernel/line_buffer", false), ElementsAre(IsAbout("kernel.line_buffer")));
    EXPECT_THAT(refused("pixel", "/window/width", 3), ElementsAre(IsAbout("window.width")));
    EXPECT_THAT(refused("binarise", "/pitch/x", 20), ElementsAre(IsAbout("pitch.x")));
    EXPECT_THAT(
        refused("binarise", "/dead_zones", json::array({{{"left", 0}, {"top", 0}, {"right", 5}, {"bottom", 5}}})),
        ElementsAre(IsAbout("dead_zones")));
    EXPECT_THAT(refused("average", "/max_reruns", 2), ElementsAre(IsAbout("max_reruns")));
    EXPECT_THAT(refused("asg", "/keep_singles", false), ElementsAre(IsAbout("keep_singles")));
    EXPECT_THAT(refused("asg", "/kernel/extended", true), ElementsAre(IsAbout("kernel.extended")));
    EXPECT_THAT(refused("asg", "/filters/test", "jump"), ElementsAre(IsAbout("filters.test")));
}

TEST(ModeCheck, EveryRowOfAFieldWithSeveralServesKindsOfItsOwn)
{
    for (const Field<Recipe>& field : RecipeFields())
        for (const Field<Recipe>& other : RecipeFields())
            EXPECT_TRUE(&field == &other || field.path != other.path || (field.kinds & other.kinds) == 0U)
                << field.path;
}

std::vector<Problem> ProblemsWith(const char* mode, SettingNames names, Direction direction = Direction_Vertical)
{
    Recipe recipe = SmallestOf(mode);
    recipe.direction = direction;
    GiveSettings(recipe, names);
    return CheckRecipe(recipe);
}

TEST(ModeCheck, CombinationsThatSelectOnePixelKernelPass)
{
    for (const SettingNames& names :
         std::initializer_list<SettingNames>{{"tables.scan_pitch", "kernel.extended", "kernel.dark_base"},
                                             {"tables.scan_pitch", "kernel.dark_base"},
                                             {"tables.scan_pitch", "keep_singles"},
                                             {"kernel.line_buffer"},
                                             {"kernel.extended", "twice.pitch", "dead_zones"},
                                             {"kernel.extended", "twice.pitch", "kernel.dark_base"},
                                             {"kernel.extended", "kernel.class_pitch", "kernel.dark_base"},
                                             {"kernel.extended", "kernel.cross_shift"},
                                             {"kernel.dark_base"}})
        EXPECT_THAT(ProblemsWith("pixel", names), IsEmpty());
    for (const SettingNames& names : std::initializer_list<SettingNames>{
             {"tables.conv_pitch"}, {"kernel.extended"}, {"kernel.extended", "twice.pitch"}, {"keep_singles"}})
        EXPECT_THAT(ProblemsWith("pixel", names, Direction_Horizontal), IsEmpty());
}

TEST(ModeCheck, SettingsThatThePixelKernelDoesNotReadAreRefused)
{
    EXPECT_THAT(ProblemsWith("pixel", {"twice.pitch"}),
                ElementsAre(IsProblem("twice.pitch", "nonzero",
                                      "0, since the other settings select the plain vertical kernel, which does not "
                                      "read it")));
    EXPECT_THAT(ProblemsWith("pixel", {"kernel.extended", "dead_zones"}), ElementsAre(IsAbout("dead_zones")));
    EXPECT_THAT(ProblemsWith("pixel", {"kernel.cross_shift"}), ElementsAre(IsAbout("kernel.cross_shift")));
    EXPECT_THAT(ProblemsWith("pixel", {"kernel.extended", "kernel.class_pitch", "kernel.cross_shift"}),
                ElementsAre(IsAbout("kernel.cross_shift")));
    EXPECT_THAT(ProblemsWith("pixel", {"kernel.line_buffer", "kernel.extended"}),
                ElementsAre(IsAbout("kernel.extended")));
    EXPECT_THAT(ProblemsWith("pixel", {"tables.scan_pitch", "kernel.extended", "twice.pitch"}),
                ElementsAre(IsAbout("twice.pitch")));
    for (const char* name : {"tables.scan_pitch", "kernel.cross_shift", "kernel.line_buffer", "kernel.dark_base",
                             "kernel.class_pitch", "twice.pitch", "dead_zones"})
        EXPECT_THAT(ProblemsWith("pixel", {name}, Direction_Horizontal), ElementsAre(IsAbout(name)));
}

TEST(ModeCheck, CombinationsThatSelectOneFloatKernelPass)
{
    for (const SettingNames& names : std::initializer_list<SettingNames>{
             {"tables.scan_pitch", "kernel.extended", "kernel.cross_shift", "dead_zones"},
             {"kernel.cross_shift", "kernel.extended", "kernel.dark_base"},
             {"tables.scan_pitch", "kernel.cross_shift"},
             {"window"},
             {"window 3 by 3"},
             {"kernel.extended", "dead_zones", "kernel.dark_base", "keep_singles"},
             {"polygon", "kernel.dark_base", "keep_singles"},
             {"trapezium"}})
        EXPECT_THAT(ProblemsWith("float", names), IsEmpty());
    for (const SettingNames& names : std::initializer_list<SettingNames>{
             {"tables.conv_pitch"}, {"tables.conv_pitch", "window"}, {"window"}, {"window 3 by 3"}, {"trapezium"}})
        EXPECT_THAT(ProblemsWith("float", names, Direction_Horizontal), IsEmpty());
}

TEST(ModeCheck, SettingsThatTheFloatKernelDoesNotReadAreRefused)
{
    EXPECT_THAT(ProblemsWith("float", {"tables.scan_pitch", "window"}),
                ElementsAre(IsProblem("window", "area of 6 pixels",
                                      "2 by 2 pixels, since the other settings select the row table kernel, which does "
                                      "not read it")));
    EXPECT_THAT(ProblemsWith("float", {"keep_singles"}), ElementsAre(IsAbout("keep_singles")));
    EXPECT_THAT(ProblemsWith("float", {"dead_zones"}), ElementsAre(IsAbout("dead_zones")));
    EXPECT_THAT(ProblemsWith("float", {"kernel.dark_base"}), ElementsAre(IsAbout("kernel.dark_base")));
    EXPECT_THAT(ProblemsWith("float", {"window", "kernel.extended"}), ElementsAre(IsAbout("kernel.extended")));
    EXPECT_THAT(ProblemsWith("float", {"polygon", "window"}), ElementsAre(IsAbout("window")));
    EXPECT_THAT(ProblemsWith("float", {"polygon", "kernel.extended"}), ElementsAre(IsAbout("kernel.extended")));
    EXPECT_THAT(ProblemsWith("float", {"trapezium", "window 3 by 3"}), ElementsAre(IsAbout("window")));
    EXPECT_THAT(ProblemsWith("float", {"trapezium", "keep_singles"}), ElementsAre(IsAbout("keep_singles")));
    EXPECT_THAT(ProblemsWith("float", {"tables.conv_pitch", "window 3 by 3"}, Direction_Horizontal),
                ElementsAre(IsAbout("window")));
    EXPECT_THAT(ProblemsWith("float", {"keep_singles"}, Direction_Horizontal), ElementsAre(IsAbout("keep_singles")));
    EXPECT_THAT(ProblemsWith("float", {"kernel.extended"}, Direction_Horizontal),
                ElementsAre(IsAbout("kernel.extended")));
    EXPECT_THAT(ProblemsWith("float", {"polygon"}, Direction_Horizontal), ElementsAre(IsAbout("direction")));
}

TEST(ModeCheck, FloatWindowsOfSixPixelsLieAlongTheDirection)
{
    Recipe recipe = SmallestOf("float");
    recipe.windowWidth = 3;
    EXPECT_THAT(CheckRecipe(recipe),
                ElementsAre(IsProblem("window", "3 by 2 pixels", "2 by 3 pixels, since the direction is vertical")));
    recipe.direction = Direction_Horizontal;
    EXPECT_THAT(CheckRecipe(recipe), IsEmpty());
}

TEST(ModeCheck, WindowsOfNinePixelsHoldTheGreyLimitDown)
{
    Recipe recipe = SmallestOf("float");
    recipe.windowWidth = 3;
    recipe.windowHeight = 3;
    EXPECT_THAT(CheckRecipe(recipe), IsEmpty()); // 255 says nothing about the window
    EXPECT_EQ(GreyLimitOf(recipe), 227);
    recipe.greyLimit = 228;
    EXPECT_THAT(CheckRecipe(recipe),
                ElementsAre(IsProblem("grey_limit", "228", "at most 227 where the window is 3 by 3 pixels, or 255")));
    recipe.greyLimit = 227;
    EXPECT_THAT(CheckRecipe(recipe), IsEmpty());
    recipe.greyLimit = 255;
    recipe.windowHeight = 2;
    EXPECT_EQ(GreyLimitOf(recipe), 255);
}

TEST(ModeCheck, SettingsOfTheAsgKernels)
{
    EXPECT_THAT(ProblemsWith("asg", {"kernel.two_segment"}), IsEmpty());
    EXPECT_THAT(ProblemsWith("asg", {"kernel.average_2by2"}), IsEmpty());
    EXPECT_THAT(ProblemsWith("asg", {"kernel.line_buffer"}), IsEmpty());
    EXPECT_THAT(ProblemsWith("asg", {"kernel.line_buffer", "kernel.average_2by2"}),
                ElementsAre(IsAbout("kernel.average_2by2")));
    EXPECT_THAT(ProblemsWith("asg", {"tables.conv_pitch"}), ElementsAre(IsAbout("tables.conv_pitch")));
    EXPECT_THAT(ProblemsWith("asg", {"tables.conv_pitch"}, Direction_Horizontal), IsEmpty());
    Recipe recipe = SmallestOf("asg");
    recipe.direction = Direction_Horizontal;
    recipe.zoneMultipleX = 2;
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsAbout("zones.multiple.x")));
    recipe.multipleX = 2;
    EXPECT_THAT(CheckRecipe(recipe), IsEmpty());
}

TEST(ModeCheck, FieldsThatAnotherOneSwitchesOnAreRefusedWithoutIt)
{
    Recipe recipe = SmallestOf("pixel");
    recipe.darkFilterGain = 3;
    recipe.twiceBase = 30;
    recipe.twiceGain = 5;
    EXPECT_THAT(CheckRecipe(recipe),
                ElementsAre(IsProblem("kernel.dark_gain", "3", "0 where kernel.dark_base is 0"),
                            IsProblem("twice.base", "30", "20 where twice.pitch is 0"), IsAbout("twice.gain")));
}

TEST(ModeCheck, SecondPitchIsHeldToThreeInTheRegion)
{
    Recipe recipe = SmallestOf("pixel");
    recipe.extendedKernel = true;
    recipe.twicePitch = 0.5;
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsProblem("twice.pitch", "0.5", "0, or 1 to 16384 pixels")));
    recipe.twicePitch = 100.5;
    EXPECT_THAT(
        CheckRecipeForImage(CheckedRecipe(recipe), nWidth, nHeight),
        ElementsAre(IsProblem("twice.pitch", "100.5", "at most 100 pixels, a third of the region's height of 300")));
}

TEST(ModeCheck, WindowsOfAverageModeFitIntoEachOtherAndTheRegion)
{
    Recipe recipe = SmallestOf("average");
    recipe.averageWindow = 46;
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsProblem("average.window", "46", "at most average.background, 45")));
    recipe.averageWindow = 9;
    recipe.region = CRect(0, 0, 44, 300);
    EXPECT_THAT(CheckRecipeForImage(CheckedRecipe(recipe), nWidth, nHeight),
                ElementsAre(IsProblem("region's width", "44 pixels", "at least 45 pixels, average.background")));
}

TEST(ModeCheck, BinariseRegionMustHoldABlockAndAColumn)
{
    Recipe recipe = SmallestOf("binarise");
    recipe.region = CRect(0, 0, 16, 1);
    EXPECT_THAT(CheckRecipeForImage(CheckedRecipe(recipe), nWidth, nHeight), ElementsAre(IsAbout("region's width")));
    recipe.region = CRect(0, 0, 17, 1);
    EXPECT_THAT(CheckRecipeForImage(CheckedRecipe(recipe), nWidth, nHeight), IsEmpty());
}

json WithRegion(const char* mode, const json& region)
{
    json document = SmallestRecipe(mode);
    document["region"] = region;
    return document;
}

TEST(ModeCheck, ShapesOtherThanRectanglesBelongToFloatMode)
{
    const json triangle = {{"shape", "polygon"}, {"points", {{0, 0}, {400, 0}, {200, 300}}}};
    EXPECT_THAT(ParseProblems(WithRegion("float", triangle)), IsEmpty());
    EXPECT_THAT(ParseProblems(WithRegion("pixel", triangle)),
                ElementsAre(IsProblem("region.shape", "polygon", "rectangle where mode is not float")));
}

TEST(ModeCheck, RegionsAreReadByTheirShape)
{
    EXPECT_THAT(ParseProblems(WithRegion("float", {{"shape", "circle"}})),
                ElementsAre(IsProblem("region.shape", "\"circle\"", "rectangle, trapezium or polygon")));
    EXPECT_THAT(
        ParseProblems(WithRegion("float", {{"shape", "polygon"}, {"points", {{0, 0}, {4, "x"}, {1, 2}, {0, 9}}}})),
        ElementsAre(IsProblem("region.points[1]", "[4,\"x\"]", "[x, y] in whole pixels")));
    EXPECT_THAT(ParseProblems(WithRegion("float", {{"shape", "polygon"}, {"points", {{0, 0}, {9, 9}}}})),
                ElementsAre(IsProblem("region.points", "2 corners", "at least 3 corners that do not lie on one line")));
    EXPECT_THAT(ParseProblems(WithRegion(
                    "float", {{"shape", "polygon"}, {"points", {{0, 0}, {9, 0}, {0, 9}}}, {"columns", {2, 5}}})),
                ElementsAre(IsProblem("region.columns", "unknown field", "one of shape, points")));
}

TEST(ModeCheck, TrapeziumRegionsAreConvexAndOfFewCorners)
{
    Recipe recipe = SmallestOf("float");
    recipe.regionShape = RegionShape_Trapezium;
    recipe.regionPoints = {{0, 0}, {400, 0}, {100, 100}, {0, 300}};
    EXPECT_THAT(CheckRecipe(recipe),
                ElementsAre(IsProblem("region.points", "not convex", "a convex polygon that does not cross itself")));
    recipe.regionPoints = {{50, 0}, {80, 90}, {0, 35}, {100, 35}, {20, 90}};
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsAbout("region.points")));
    recipe.regionPoints.clear();
    for (int i = 0; i < 11; ++i)
        recipe.regionPoints.emplace_back(i * 10, i * i);
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsProblem("region.points", "11 corners", "at most 10 corners")));
    recipe.regionPoints.pop_back();
    EXPECT_THAT(CheckRecipe(recipe), IsEmpty());
    recipe.regionColumns = {10, 30};
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsProblem("region.points", "10 corners",
                                                           "at most 8 corners where region.columns is given")));
    recipe.regionPoints = {{0, 0}, {400, 0}, {200, 300}};
    recipe.regionColumns = {30, 30};
    EXPECT_THAT(CheckRecipe(recipe), ElementsAre(IsProblem("region.columns", "30 to 30", "first below last")));
}

TEST(ModeCheck, CornersLieInsideTheImage)
{
    Recipe recipe = SmallestOf("float");
    recipe.regionShape = RegionShape_Polygon;
    recipe.regionPoints = {{-1, 0}, {401, 0}, {200, 301}};
    EXPECT_THAT(CheckRecipeForImage(CheckedRecipe(recipe), nWidth, nHeight),
                ElementsAre(IsProblem("region.points[0].x", "-1", "0 to 400 pixels"),
                            IsProblem("region.points[1].x", "401", "0 to 400 pixels"),
                            IsProblem("region.points[2].y", "301", "0 to 300 pixels")));
    recipe.regionShape = RegionShape_Trapezium;
    recipe.regionPoints = {{0, 0}, {200, 0}, {200, 300}};
    recipe.regionColumns = {300, 400};
    EXPECT_THAT(CheckRecipeForImage(CheckedRecipe(recipe), nWidth, nHeight),
                ElementsAre(IsProblem("region.columns", "300 to 400", "columns that the polygon crosses")));
}

TEST(ModeCheck, PrintedReferenceNamesTheModesOfAField)
{
    const std::string text = DescribeRecipeFields();
    EXPECT_THAT(text, HasSubstr("threshold.base: whole number, 1 to 255 grey levels; required; modes pixel, "
                                "float/polygon; "));
    EXPECT_THAT(text, HasSubstr("twice.pitch: 0 to 16384 pixels; default 0; modes pixel; "));
    EXPECT_THAT(text, HasSubstr("min_area: whole number, 1 to 1000000 pixels; default 1; smaller"));
}

} // namespace

} // namespace narvo::test
