// SPDX-License-Identifier: MIT
// How long a recipe's lists may be, how many problems are listed, and keys that come twice.
#include <fstream>
#include <string>

#include "host/host_test_help.h"
#include "host/limits.h"
#include "host/recipe/recipe_fields.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::ElementsAre;
using testing::SizeIs;

json Repeated(std::size_t count, const json& entry)
{
    json list = json::array();
    for (std::size_t i = 0; i < count; ++i)
        list.push_back(entry);
    return list;
}

std::vector<Problem> ProblemsWith(const char* pointer, const json& value, const std::string& mode = "zone")
{
    json document = SmallestRecipe(mode);
    document[json::json_pointer(pointer)] = value;
    return ParseProblems(document);
}

TEST(RecipeLimits, ListsThatAreTooLongAreRefusedWithoutTheirEntries)
{
    // Each entry is wrong as well: none of them is read.
    EXPECT_THAT(ProblemsWith("/dead_zones", Repeated(80000, 5)),
                ElementsAre(IsProblem("dead_zones", "80000 rectangles", "at most 9 rectangles")));
    EXPECT_THAT(ProblemsWith("/zones/list", Repeated(1000000, 5)),
                ElementsAre(IsProblem("zones.list", "1000000 zones", "at most 16 zones")));
    EXPECT_THAT(ProblemsWith("/zones/skip", Repeated(nSkippedCellLimit + 1, 5)),
                ElementsAre(IsProblem("zones.skip", "100001 cells", "at most 100000 cells")));
    EXPECT_THAT(
        ProblemsWith("/tables/scan_pitch", Repeated(nTableEntryLimit + 1, "a")),
        ElementsAre(IsProblem("tables.scan_pitch", "65537 pitches in pixels", "at most 65536 pitches in pixels")));
    const auto corners = ProblemsWith("/region", {{"shape", "polygon"}, {"points", Repeated(1000000, 5)}}, "float");
    ASSERT_FALSE(corners.empty());
    EXPECT_THAT(corners[0], IsProblem("region.points", "1000000 corners", "at most 10000 corners"));
}

TEST(RecipeLimits, ListsAtTheirLimitAreRead)
{
    EXPECT_THAT(ProblemsWith("/tables/scan_pitch", Repeated(nTableEntryLimit, 30.25)), testing::IsEmpty());
    json polygon = {{"shape", "polygon"}, {"points", json::array()}};
    for (int i = 0; i < static_cast<int>(nCornerLimit); ++i)
        polygon["points"].push_back({i, i % 2 == 0 ? 10 : 200 + i % 7});
    EXPECT_THAT(ProblemsWith("/region", polygon, "float"), testing::IsEmpty());
}

TEST(RecipeLimits, RegionsAreLimitedInNumberAndAllTogether)
{
    json document = SmallestRecipe();
    document["regions"] = Repeated(100000, 5);
    EXPECT_THAT(ProblemsOf([&] { ParseRecipes(document, {}); }),
                ElementsAre(IsProblem("regions", "100000 regions", "at most 10000 regions")));

    document["regions"] = Repeated(100, json::object());
    document["tables"]["scan_pitch"] = Repeated(nTableEntryLimit, 30.25);
    EXPECT_THAT(ProblemsOf([&] { ParseRecipes(document, {}); }),
                ElementsAre(IsProblem("regions", "1048576 entries of lists in 16 regions",
                                      "at most 1000000 entries in all regions together")));
}

TEST(RecipeLimits, PaintedImagesOfAllRegionsAreLimitedTogether)
{
    const TestFolder folder;
    SaveGreyImage(folder / "dead.png", GreyImage(100, 100));
    json document = SmallestRecipe();
    document["dead_image"] = "dead.png";
    document["regions"] = Repeated(5, json::object());
    SetMaxImagePixels(40000);
    const auto found = ProblemsOf([&] { ParseRecipes(document, folder.Path()); });
    SetMaxImagePixels(nDefaultMaxPixels);
    EXPECT_THAT(found, ElementsAre(IsProblem("regions", "50000 pixels of painted images in 5 regions",
                                             "at most 40000 pixels in all regions together, unless max-pixels allows "
                                             "more")));
    EXPECT_THAT(ParseRecipes(document, folder.Path()), SizeIs(5));
}

TEST(RecipeLimits, TheFirstHundredProblemsAreListed)
{
    json document = SmallestRecipe();
    document["regions"] = json::array();
    for (int i = 0; i < 10000; ++i)
        document["regions"].push_back({{"min_area", -i}, {"label", "none"}});
    const auto found = ProblemsOf([&] { ParseRecipes(document, {}); });
    ASSERT_THAT(found, SizeIs(nListedProblems + 1));
    EXPECT_THAT(found[0], IsAbout("regions[0].label"));
    EXPECT_THAT(found[99], IsAbout("regions[49].min_area"));
    EXPECT_THAT(found[100], IsProblem("further problems", "19900", "none; the first 100 are listed"));
    // Lists of such lists are counted right.
    std::vector<Problem> both(5, Problem{"a", "b", "c"});
    both.insert(both.end(), found.begin(), found.end());
    EXPECT_THAT(FirstOf(both)[100], IsProblem("further problems", "19905", "none; the first 100 are listed"));
    // One more than that takes no less room to count than to list.
    EXPECT_THAT(HostError(std::vector<Problem>(101, Problem{"a", "b", "c"})).Problems()[100], IsAbout("a"));
}

TEST(RecipeLimits, ProblemsOfAllRegionsAreStillReportedOnce)
{
    json document = SmallestRecipe();
    document["min_area"] = -1;
    document["regions"] = {{{"name", "a"}}, {{"name", "a"}, {"label", 1.5}}};
    EXPECT_THAT(ProblemsOf([&] { ParseRecipes(document, {}); }),
                ElementsAre(IsAbout("min_area"), IsAbout("regions[1].label")));
}

TEST(RecipeLimits, KeysThatComeTwiceAreRefusedWithTheirPlace)
{
    const auto problems = [](const std::string& text) { return ProblemsOf([&] { ParseJsonText(text, "recipe"); }); };
    EXPECT_THAT(problems(R"({"a": 1, "b": {"c": [3, {"d": 1, "e": {}, "d": 2}]}})"),
                ElementsAre(IsProblem("b.c[1].d", "given twice in recipe", "each key once")));
    EXPECT_THAT(problems(R"({"a": 1, "a": 1})"), ElementsAre(IsProblem("a", "given twice in recipe", "each key once")));
    EXPECT_THAT(problems(R"([{"a": 1}, {"a": {"a": 1}}, [[1], {"a": 1}]])"), testing::IsEmpty());
}

TEST(RecipeLimits, LongTextsAreRefused)
{
    const TestFolder folder;
    const std::string text = "{\"version\": 1" + std::string(nRecipeByteLimit, ' ') + "}";
    const std::string most = "at most 16777216 bytes";
    EXPECT_THAT(ProblemsOf([&] { ParseJsonText(text, "recipe"); }),
                ElementsAre(IsProblem("recipe", std::to_string(text.size()) + " bytes", most)));
    std::ofstream(folder / "a.json") << text;
    EXPECT_THAT(
        ProblemsOf([&] { LoadRecipe(folder / "a.json"); }),
        ElementsAre(IsProblem("recipe " + (folder / "a.json").string(), std::to_string(text.size()) + " bytes", most)));
}

TEST(RecipeLimits, PaintedCellsFitTheirCell)
{
    // The smallest recipe's cell is 20.5 by 30.25 pixels.
    const auto problems = [&](int width, int height)
    {
        json document = SmallestRecipe();
        document["zones"]["list"] = {{{"index", 0}}};
        RecipeImages images;
        images.zoneImage = GreyImage(width, height);
        return ProblemsOf([&] { ParseRecipe(document, {}, images); });
    };
    EXPECT_THAT(problems(21, 31), testing::IsEmpty());
    EXPECT_THAT(problems(22, 32), testing::IsEmpty());
    EXPECT_THAT(problems(42, 31),
                ElementsAre(IsProblem("zones.image", "42 by 31 pixels",
                                      "at most 22 by 32 pixels: what lies beyond the zone cell is not read")));
}

} // namespace

} // namespace narvo::test
