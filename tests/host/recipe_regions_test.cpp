// SPDX-License-Identifier: MIT
// Recipes of several regions: what is shared, what each lays over it, and how problems name them.
#include <nlohmann/json.hpp>

#include "host/host_test_help.h"
#include "host/recipe/recipe_file.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::ElementsAre;
using testing::SizeIs;

json Rect(int left, int top, int right, int bottom)
{
    return {{"left", left}, {"top", top}, {"right", right}, {"bottom", bottom}};
}

std::vector<Problem> RegionProblems(const json& document)
{
    return ProblemsOf([&] { ParseRecipes(document, {}); });
}

} // namespace

TEST(RecipeRegions, WithoutAListThereIsOneRegion)
{
    const std::vector<CheckedRecipe> recipes = ParseRecipes(SmallestRecipe(), {});
    ASSERT_THAT(recipes, SizeIs(1));
    EXPECT_EQ(recipes[0]->name, "");
    EXPECT_EQ(recipes[0]->pitchX, 20.5);
}

TEST(RecipeRegions, EachRegionLaysItsFieldsOverTheCommonOnes)
{
    json document = SmallestRecipe();
    document["grey_limit"] = 200;
    document["dead_zones"] = json::array();
    document["zones"] = {{"origin", {{"x", 5}, {"y", 6}}}};
    document["regions"] = {{{"name", "left"}, {"region", Rect(0, 0, 100, 300)}, {"pitch", {{"y", 40}}}},
                           {{"mode", "pixel"},
                            {"region", Rect(100, 0, 200, 300)},
                            {"threshold", {{"base", 9}}},
                            {"zones", nullptr},
                            {"grey_limit", nullptr}}};
    const std::vector<CheckedRecipe> recipes = ParseRecipes(document, {});
    ASSERT_THAT(recipes, SizeIs(2));
    EXPECT_EQ(recipes[0]->name, "left");
    EXPECT_EQ(recipes[0]->pitchX, 20.5);
    EXPECT_EQ(recipes[0]->pitchY, 40.0);
    EXPECT_EQ(recipes[0]->greyLimit, 200);
    EXPECT_EQ(recipes[0]->zoneOriginY, 6.0);
    EXPECT_EQ(recipes[1]->name, "region 2");
    EXPECT_EQ(recipes[1]->mode, Mode_Pixel);
    EXPECT_EQ(recipes[1]->pitchY, 30.25);
    EXPECT_EQ(recipes[1]->greyLimit, 255);
    EXPECT_EQ(recipes[1]->region, CRect(100, 0, 200, 300));
}

TEST(RecipeRegions, RegionOfAnotherShapeReplacesTheCommonOneWhole)
{
    json document = SmallestRecipe("float");
    document["region"] = Rect(0, 0, 100, 100);
    document["regions"] = {
        {{"name", "a"}}, {{"name", "b"}, {"region", {{"shape", "polygon"}, {"points", {{0, 0}, {200, 0}, {0, 200}}}}}}};
    const std::vector<CheckedRecipe> recipes = ParseRecipes(document, {});
    ASSERT_THAT(recipes, SizeIs(2));
    EXPECT_EQ(recipes[0]->GetKind(), Kind_Float);
    EXPECT_EQ(recipes[1]->GetKind(), Kind_FreeForm);
    EXPECT_THAT(recipes[1]->regionPoints, SizeIs(3));
}

TEST(RecipeRegions, ProblemsNameTheirRegionAndCommonOnesComeOnce)
{
    json document = SmallestRecipe();
    document["grey_limit"] = 300;
    document["colour"] = 1;
    document["regions"] = {{{"name", "a"}, {"multiple", {{"x", 0}}}}, {{"name", "b"}, {"min_area", 0}}, 7};
    EXPECT_THAT(
        RegionProblems(document),
        testing::UnorderedElementsAre(IsProblem("regions[0].grey_limit", "300", "whole number, 1 to 255 grey levels"),
                                      IsProblem("regions[1].grey_limit", "300", "whole number, 1 to 255 grey levels"),
                                      IsAbout("regions[0].colour"), IsAbout("regions[1].colour"),
                                      IsAbout("regions[0].multiple.x"), IsAbout("regions[1].min_area"),
                                      IsProblem("regions[2]", "7", "an object with the fields of one region")));
    document["regions"].erase(2);
    EXPECT_THAT(RegionProblems(document),
                testing::UnorderedElementsAre(IsProblem("grey_limit", "300", "whole number, 1 to 255 grey levels"),
                                              IsAbout("colour"), IsAbout("regions[0].multiple.x"),
                                              IsAbout("regions[1].min_area")));
}

TEST(RecipeRegions, NamesAreNotSharedAndTheListIsNotEmpty)
{
    json document = SmallestRecipe();
    document["regions"] = {{{"name", "a"}}, {{"name", "a"}}};
    EXPECT_THAT(RegionProblems(document),
                ElementsAre(IsProblem("regions[1].name", "\"a\"", "a name for each region of its own")));
    document["regions"] = json::array();
    EXPECT_THAT(RegionProblems(document), ElementsAre(IsProblem("regions", "[]", "a list of one region or more")));
    document["regions"] = 3;
    EXPECT_THAT(RegionProblems(document), ElementsAre(IsProblem("regions", "3", "a list of one region or more")));
}

TEST(RecipeRegions, WhereOneRegionIsWantedSeveralAreRefused)
{
    json document = SmallestRecipe();
    document["regions"] = {{{"name", "a"}}, {{"name", "b"}}};
    EXPECT_THAT(ParseProblems(document), ElementsAre(IsProblem("regions", "2 regions", "one region here")));
    document["regions"].erase(1);
    EXPECT_EQ(ParseRecipe(document, {})->name, "a");
}

TEST(RecipeRegions, WrittenRegionsReadBack)
{
    json document = SmallestRecipe();
    document["regions"] = {{{"name", "a"}, {"min_area", 5}}, {{"name", "b"}, {"region", Rect(0, 0, 99, 98)}}};
    const std::vector<CheckedRecipe> recipes = ParseRecipes(document, {});
    const nlohmann::ordered_json written = RecipesToJson(recipes);
    const std::vector<CheckedRecipe> again = ParseRecipes(json(written), {});
    ASSERT_THAT(again, SizeIs(2));
    EXPECT_EQ(again[0]->minArea, 5);
    EXPECT_EQ(again[1]->region, CRect(0, 0, 99, 98));
    EXPECT_EQ(RecipesToJson(again), written);
    EXPECT_EQ(RecipesToJson({recipes[0]}), RecipeToJson(recipes[0]));
}

} // namespace narvo::test
