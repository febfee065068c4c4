// SPDX-License-Identifier: MIT
// The recipe's JSON form: every field's range, unknown and missing fields, defaults, the way there and back.
#include "host/recipe/recipe_file.h"

#include <fstream>

#include "host/host_test_help.h"
#include "host/recipe/recipe_fields.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// Sets a dotted path.
void Set(json& document, const std::string& path, const json& value)
{
    std::string pointer = "/" + path;
    std::replace(pointer.begin(), pointer.end(), '.', '/');
    document[json::json_pointer(pointer)] = value;
}

struct BadField
{
    const char* path;
    json value;
    const char* allowed;
    const char* mode = "zone";
};

const BadField badFields[] = {
    {"version", 2, "whole number, 1"},
    {"name", 5, "text, or empty"},
    {"mode", "median", "zone, pixel, float, binarise, average, asg, texture or lattice"},
    {"direction", "diagonal", "horizontal or vertical"},
    {"direction", 1, "horizontal or vertical"},
    {"auto_direction", 1, "true or false"},
    {"max_reruns", -1, "whole number, 0 to 1000 runs"},
    {"max_reruns", 1001, "whole number, 0 to 1000 runs"},
    {"max_blobs", 0, "whole number, 1 to 1000000 blobs"},
    {"max_blobs", 1000001, "whole number, 1 to 1000000 blobs"},
    {"min_area", 0, "whole number, 1 to 1000000 pixels"},
    {"label", 2147483648LL, "whole number, -2147483648 to 2147483647"},
    {"pitch.x", 0.99, "1 to 16384 pixels"},
    {"pitch.x", 16384.5, "1 to 16384 pixels"},
    {"pitch.y", 0, "1 to 16384 pixels"},
    {"pitch.y", "30", "1 to 16384 pixels"},
    {"multiple.x", 0, "whole number, 1 to 1000 periods"},
    {"multiple.y", 1.5, "whole number, 1 to 1000 periods"},
    {"window.width", 0, "whole number, 1 to 1023 pixels"},
    {"window.width", 1024, "whole number, 1 to 1023 pixels"},
    {"window.height", 0, "whole number, 1 to 1023 pixels"},
    {"window.height", 1024, "whole number, 1 to 1023 pixels"},
    {"grey_limit", 0, "whole number, 1 to 255 grey levels"},
    {"grey_limit", 256, "whole number, 1 to 255 grey levels"},
    {"grey_limit", 256, "whole number, 1 to 255 grey levels", "average"},
    {"window.width", 4, "whole number, 2 to 3 pixels", "float"},
    {"window.height", 1, "whole number, 2 to 3 pixels", "float"},
    {"threshold.base", 0, "whole number, 1 to 255 grey levels", "pixel"},
    {"threshold.base", 256, "whole number, 1 to 255 grey levels", "pixel"},
    {"threshold.base", 2296, "whole number, 1 to 2295 grey levels of the window's sum", "float"},
    {"threshold.gain", -1, "whole number, 0 to 256 in 1/256", "pixel"},
    {"threshold.gain", 257, "whole number, 0 to 256 in 1/256", "float"},
    {"twice.pitch", 16385, "0 to 16384 pixels", "pixel"},
    {"twice.pitch", "24", "0 to 16384 pixels", "pixel"},
    {"twice.base", true, "whole number, 1 to 255 grey levels", "pixel"},
    {"twice.gain", true, "whole number, 0 to 256 in 1/256", "pixel"},
    {"binarise.limit", 1, "whole number, 2 to 255 grey levels", "binarise"},
    {"binarise.limit", 256, "whole number, 2 to 255 grey levels", "binarise"},
    {"average.bright", 0, "whole number, 1 to 255 grey levels", "average"},
    {"average.dark", 256, "whole number, 1 to 255 grey levels", "average"},
    {"average.window", 0, "whole number, 1 to 4096 pixels", "average"},
    {"average.background", 4097, "whole number, 1 to 4096 pixels", "average"},
    {"threshold_extra", -1, "whole number, 0 to 255 grey levels"},
    {"threshold_extra", 256, "whole number, 0 to 255 grey levels"},
    {"keep_singles", 1, "true or false"},
    {"band_split", "yes", "true or false"},
    {"merge_distance", -1, "whole number, 0 to 10000 pixels"},
    {"merge_distance", 10001, "whole number, 0 to 10000 pixels"},
    {"pixel_size.x", -0.5, "0 to 1000000 length units"},
    {"pixel_size.y", -0.5, "0 to 1000000 length units"},
    {"kernel.extended", 1, "true or false"},
    {"kernel.average_2by2", 1, "true or false"},
    {"kernel.line_buffer", 1, "true or false"},
    {"kernel.two_segment", 1, "true or false"},
    {"kernel.zone_tables", 1, "true or false"},
    {"kernel.cross_shift", 1.01, "-1 to 1 pixels"},
    {"kernel.cross_shift", -1.01, "-1 to 1 pixels"},
    {"kernel.class_pitch", -1, "0 to 16384 pixels"},
    {"kernel.dark_base", -1, "whole number, 0 to 255 grey levels"},
    {"kernel.dark_base", 256, "whole number, 0 to 255 grey levels"},
    {"kernel.dark_gain", -1, "whole number, 0 to 256 in 1/256"},
    {"kernel.dark_gain", 257, "whole number, 0 to 256 in 1/256"},
    {"filters.enabled", 1, "true or false"},
    {"filters.margin", 1, "true or false"},
    {"filters.test", "leap", "cross or jump"},
    {"filters.all_pairs", 1, "true or false"},
    {"filters.sample", "line", "pixel or block"},
    {"filters.zone_thresholds", 1, "true or false"},
    {"zones.multiple.x", 0, "whole number, 1 to 1000 periods"},
    {"zones.multiple.y", 1001, "whole number, 1 to 1000 periods"},
    {"zones.origin.x", 1000001, "-1000000 to 1000000 pixels"},
    {"zones.origin.y", -1000001, "-1000000 to 1000000 pixels"},
    {"zones.image", 5, "name of an image file, or empty"},
    {"zones.class_image", 5, "name of an image file, or empty"},
    {"dead_image", 5, "name of an image file, or empty"},
    {"image.channel", "infrared", "auto, luma, red, green, blue, mixture or each"},
    {"image.weights.red", 101, "-100 to 100 of a mixture"},
    {"image.weights.green", -101, "-100 to 100 of a mixture"},
    {"image.weights.blue", "1", "-100 to 100 of a mixture"},
    {"image.bayer", "rgb", "none, rggb, grbg, gbrg or bggr"},
    {"image.demosaic", "nearest", "bilinear, edge_aware or off"},
    {"image.levels.low", -1000001, "whole number, -1000000 to 1000000 in the camera's values"},
    {"image.levels.high", 1000001, "whole number, -1000000 to 1000000 in the camera's values"},
    {"image.raw.format", "Mono14", "none, Mono8, Mono10, Mono10p, Mono12, Mono12p or Mono16"},
    {"image.raw.width", 1048577, "whole number, 0 to 1048576 pixels"},
    {"image.raw.height", -1, "whole number, 0 to 1048576 pixels"},
    {"image.raw.offset", -1, "whole number, 0 to 2147483647 bytes"},
    {"camera.buffers", 257, "whole number, 2 to 256 frames"},
    {"camera.frame_pause", 0, "whole number, 1 to 3600000 milliseconds"},
    {"image.flat_field", 5, "name of an image file, or empty"},
    {"image.dark_field", 5, "name of an image file, or empty"},
    {"texture.margins", 1, "true or false", "texture"},
    {"texture.window", 8, "whole number, 9 to 1001 pixels", "texture"},
    {"texture.edge_zone", 1001, "whole number, 0 to 1000 pixels", "texture"},
    {"texture.edge_window", 1002, "whole number, 9 to 1001 pixels", "texture"},
    {"texture.energy_window", 8, "whole number, 9 to 1001 pixels", "texture"},
    {"lattice.a.x", 16385, "-16384 to 16384 pixels", "lattice"},
    {"lattice.a.y", -16385, "-16384 to 16384 pixels", "lattice"},
    {"lattice.b.x", -16385, "-16384 to 16384 pixels", "lattice"},
    {"lattice.b.y", 16385, "-16384 to 16384 pixels", "lattice"},
    {"lattice.neighbours", 33, "whole number, 1 to 32 pixels", "lattice"},
    {"lattice.join", "mean", "median or trimmed_mean", "lattice"},
    {"lattice.strip", 4097, "whole number, 0 to 4096 pixels", "lattice"},
    {"lattice.slack", 17, "whole number, 0 to 16 pixels", "lattice"},
    {"lattice.margins", 1, "true or false", "lattice"},
    {"lattice.flatten", 1002, "whole number, 0 to 1001 pixels", "lattice"},
    {"lattice.edge_tolerance", 16.5, "0 to 16 pixels", "lattice"},
    {"lattice.threshold", 256, "whole number, 0 to 255 grey levels", "lattice"},
};

TEST(Recipe, EveryFieldIsRefusedOutsideItsRangeByNameValueAndRange)
{
    for (const BadField& bad : badFields)
    {
        json document = SmallestRecipe(bad.mode);
        Set(document, bad.path, bad.value);
        const auto found = ParseProblems(document);
        EXPECT_THAT(found, Contains(IsProblem(bad.path, bad.value.dump(), bad.allowed)))
            << bad.path << " " << bad.value;
        EXPECT_THAT(found, SizeIs(1)) << bad.path << " " << bad.value;
    }
}

TEST(Recipe, EveryScalarFieldHasARangeTest)
{
    for (const Field<Recipe>& field : RecipeFields())
        EXPECT_TRUE(std::any_of(std::begin(badFields), std::end(badFields),
                                [&](const BadField& bad) { return bad.path == field.path; }))
            << field.path;
}

const BadField badZoneFields[] = {
    {"index", -1, "whole number, 0 to 15"},
    {"index", 16, "whole number, 0 to 15"},
    {"offset", -1, "whole number, 0 to 32512 grey levels"},
    {"offset", 32513, "whole number, 0 to 32512 grey levels"},
    {"gain", -1, "whole number, 0 to 256 in 1/256"},
    {"gain", 257, "whole number, 0 to 256 in 1/256"},
    {"upper.knee", 256, "whole number, 0 to 255 grey levels"},
    {"upper.offset", 32513, "whole number, 0 to 32512 grey levels"},
    {"upper.gain", 257, "whole number, 0 to 256 in 1/256"},
    {"filter.dark_offset", 256, "whole number, 0 to 255 grey levels"},
    {"filter.dark_gain", 257, "whole number, 0 to 256 in 1/256"},
    {"filter.bright_offset", 256, "whole number, 0 to 255 grey levels"},
    {"filter.bright_gain", 257, "whole number, 0 to 256 in 1/256"},
    {"table.offset", 256, "whole number, 0 to 255 grey levels"},
    {"table.gain", 257, "whole number, 0 to 256 in 1/256"},
    {"dark_grey_limit", 256, "whole number, 0 to 255 grey levels"},
    {"bright_min_difference", 256, "whole number, 0 to 255 grey levels"},
    {"dead", 1, "true or false"},
    {"verify.mode", "on", "off, fixed or table"},
    {"verify.pitch.x", -1, "0 to 16384 pixels"},
    {"verify.pitch.y", 16385, "0 to 16384 pixels"},
};

TEST(Recipe, EveryZoneFieldIsRefusedOutsideItsRange)
{
    for (const BadField& bad : badZoneFields)
    {
        json zone = {{"index", 1}};
        Set(zone, bad.path, bad.value);
        json document = SmallestRecipe();
        document["zones"]["list"] = json::array({zone});
        const std::string path = std::string("zones.list[0].") + bad.path;
        EXPECT_THAT(ParseProblems(document), ElementsAre(IsProblem(path, bad.value.dump(), bad.allowed)));
    }
    for (const Field<ZoneSettings>& field : ZoneFields())
        EXPECT_TRUE(std::any_of(std::begin(badZoneFields), std::end(badZoneFields),
                                [&](const BadField& bad) { return bad.path == field.path; }))
            << field.path;
}

TEST(Recipe, RequiredFieldsThatAreMissingAreNamedTogether)
{
    EXPECT_THAT(ParseProblems(json::object()), ElementsAre(IsProblem("version", "missing", "whole number, 1"),
                                                           IsProblem("pitch.x", "missing", "1 to 16384 pixels"),
                                                           IsProblem("pitch.y", "missing", "1 to 16384 pixels")));
}

TEST(Recipe, UnknownFieldsAreRefusedAtEveryLevel)
{
    json document = SmallestRecipe();
    document["pich"] = 3;
    document["pitch"]["z"] = 3;
    document["zones"]["list"] = json::array({{{"index", 0}, {"gian", 3}}});
    document["region"] = {{"left", 0}, {"top", 0}, {"right", 9}, {"bottom", 9}, {"width", 9}};
    document[""] = 3;
    const auto found = ParseProblems(document);
    EXPECT_THAT(found, SizeIs(5));
    EXPECT_THAT(found, Contains(IsAbout("\"\"")));
    EXPECT_THAT(found, Contains(IsProblem("pitch.z", "unknown field", "one of x, y")));
    EXPECT_THAT(found, Contains(IsAbout("pich")));
    EXPECT_THAT(found, Contains(IsAbout("zones.list[0].gian")));
    EXPECT_THAT(found, Contains(IsAbout("region.width")));
}

TEST(Recipe, AllProblemsAreReportedAtOnce)
{
    json document = SmallestRecipe();
    document["pitch"]["x"] = -4;
    document["grey_limit"] = 300;
    document["tables"]["scan_pitch"] = "none";
    const auto found = ParseProblems(document);
    EXPECT_THAT(found, SizeIs(3));
    EXPECT_THAT(found, Contains(IsProblem("pitch.x", "-4", "1 to 16384 pixels")));
    EXPECT_THAT(found, Contains(IsAbout("grey_limit")));
    EXPECT_THAT(found, Contains(IsProblem("tables.scan_pitch", "\"none\"", "a list of pitches in pixels")));
}

TEST(Recipe, MessageHasOneLineForEachProblem)
{
    try
    {
        ParseRecipe(json::object(), {});
        FAIL();
    }
    catch (const HostError& error)
    {
        EXPECT_STREQ(error.what(), "version: missing; allowed: whole number, 1\n"
                                   "pitch.x: missing; allowed: 1 to 16384 pixels\n"
                                   "pitch.y: missing; allowed: 1 to 16384 pixels");
    }
}

TEST(Recipe, ScalarInPlaceOfAGroupIsRefused)
{
    json document = SmallestRecipe();
    document["kernel"] = true;
    EXPECT_THAT(ParseProblems(document), ElementsAre(IsAbout("kernel")));
}

TEST(Recipe, RectanglesNeedTheirFourSides)
{
    json document = SmallestRecipe();
    document["region"] = {{"left", 0}, {"top", "0"}, {"right", 9}};
    EXPECT_THAT(ParseProblems(document), ElementsAre(IsProblem("region.top", "\"0\"", "whole number of pixels"),
                                                     IsProblem("region.bottom", "missing", "whole number of pixels")));
    document["region"] = {{"left", 0}, {"top", 0}, {"right", 9}, {"bottom", 9}, {"shape", "circle"}};
    EXPECT_THAT(ParseProblems(document),
                ElementsAre(IsProblem("region.shape", "\"circle\"", "rectangle, trapezium or polygon")));
    document["region"] = 5;
    EXPECT_THAT(ParseProblems(document), ElementsAre(IsAbout("region")));
}

TEST(Recipe, ListsOfTheWrongFormAreRefusedByEntry)
{
    json document = SmallestRecipe();
    document["dead_zones"] = json::array({5});
    document["zones"]["skip"] = json::array({json::array({1})});
    document["zones"]["list"] = json::array({7});
    document["tables"]["conv_pitch"] = json::array({"a"});
    const auto found = ParseProblems(document);
    EXPECT_THAT(found, Contains(IsAbout("dead_zones[0]")));
    EXPECT_THAT(found, Contains(IsProblem("zones.skip[0]", "[1]", "[column, row] of a cell")));
    EXPECT_THAT(found, Contains(IsAbout("zones.list[0]")));
    EXPECT_THAT(found, Contains(IsProblem("tables.conv_pitch[0]", "\"a\"", "a pitch in pixels")));
}

TEST(Recipe, DefaultsAreThoseOfTheEngineWhereItHasSome)
{
    const Recipe recipe = SmallestParsed();
    EXPECT_EQ(recipe.maxReruns, 3);
    EXPECT_EQ(recipe.greyLimit, 255);
    EXPECT_EQ(recipe.mergeDistance, 4);
    EXPECT_EQ(recipe.label, -1);
    EXPECT_TRUE(recipe.bandSplit);
    EXPECT_TRUE(recipe.lineBuffer);
    EXPECT_TRUE(recipe.keepSingles);
    EXPECT_TRUE(recipe.filters);
    EXPECT_TRUE(recipe.marginFilter);
    EXPECT_EQ(recipe.multipleX, 1);
    EXPECT_EQ(recipe.zoneMultipleY, 1);
    EXPECT_FALSE(recipe.region.has_value());
    ASSERT_EQ(recipe.zones.size(), 1U);
    EXPECT_EQ(recipe.zones[0].index, 0);
}

TEST(Recipe, WrittenRecipeReadsBackTheSame)
{
    Recipe recipe = SmallestParsed();
    recipe.direction = Direction_Horizontal;
    recipe.filterTest = FilterTest_Jump;
    recipe.region = CRect(1, 2, 300, 400);
    recipe.marginFrame = CRect(0, 0, 310, 410);
    recipe.convPitches = {20.5, 20.5625};
    recipe.zones[0].offset = 33;
    recipe.zones[0].upperGain = 9;
    const auto written = RecipeToJson(recipe);
    const Recipe again = ParseRecipe(json(written), {});
    EXPECT_EQ(RecipeToJson(again), written);
    EXPECT_EQ(again.region, recipe.region);
    EXPECT_EQ(again.convPitches, recipe.convPitches);
    EXPECT_EQ(again.zones[0].upperGain, 9);
}

TEST(Recipe, WrittenRecipeShowsEveryField)
{
    const auto written = RecipeToJson(SmallestParsed());
    for (const Field<Recipe>& field : RecipeFields())
    {
        std::string pointer = "/" + std::string(field.path);
        std::replace(pointer.begin(), pointer.end(), '.', '/');
        EXPECT_TRUE(written.contains(nlohmann::ordered_json::json_pointer(pointer))) << field.path;
    }
}

TEST(Recipe, ReferenceTextNamesEveryField)
{
    const std::string text = DescribeRecipeFields();
    for (const Field<Recipe>& field : RecipeFields())
        EXPECT_THAT(text, HasSubstr(std::string(field.path) + ": " + AllowedText(field)));
    for (const char* name : {"region", "margin_frame", "dead_zones", "tables.scan_pitch", "tables.conv_pitch",
                             "zones.skip", "zones.list", "camera.features"})
        EXPECT_THAT(text, HasSubstr(std::string("\n") + name + ": "));
}

TEST(Recipe, CameraFeaturesKeepTheirOrderAndTypes)
{
    json document = SmallestRecipe();
    document["camera"]["features"] = json::parse(R"([{"Width": 512}, {"GainSelector": "All"}, {"Gain": 1.5},
                                                     {"GainSelector": "Red"}, {"ReverseX": true}, {"Big": 1e300}])");
    const CheckedRecipe recipe = ParseRecipe(document, {});
    const std::vector<CameraFeature> wanted = {{"Width", std::int64_t{512}}, {"GainSelector", "All"}, {"Gain", 1.5},
                                               {"GainSelector", "Red"},      {"ReverseX", true},      {"Big", 1e300}};
    EXPECT_EQ(recipe->cameraFeatures, wanted);
    EXPECT_EQ(recipe->cameraBuffers, 8);
    EXPECT_EQ(json(RecipeToJson(recipe)["camera"]["features"]), document["camera"]["features"]);
    EXPECT_EQ(ParseRecipe(RecipeToJson(recipe), {})->cameraFeatures, wanted);
}

TEST(Recipe, CameraFeaturesThatAreNoneAreNamed)
{
    json document = SmallestRecipe();
    document["camera"]["features"] =
        json::parse(R"([{"Width": 512, "Height": 3}, {"Gain": null}, {"2Wide": 3}, {"A b": 1}, {"": 1}, 7])");
    const auto found = ParseProblems(document);
    for (const char* const field : {"camera.features[0]", "camera.features[1].Gain", "camera.features[5]"})
        EXPECT_THAT(found, Contains(IsAbout(field)));
    document["camera"]["features"] = json::parse(R"([{"2Wide": 3}, {"A b": 1}, {"": 1}])");
    EXPECT_THAT(ParseProblems(document), SizeIs(3));
    document["camera"]["features"] = {{{"Text", std::string(1001, 'x')}}};
    EXPECT_THAT(ParseProblems(document), ElementsAre(IsAbout("camera.features[0].Text")));
    document["camera"]["features"] = json(std::vector<json>(1001, json{{"Width", 1}}));
    EXPECT_THAT(ParseProblems(document),
                ElementsAre(IsProblem("camera.features", "1001 features", "at most 1000 features")));
    document["camera"] = {{"buffers", 257}};
    EXPECT_THAT(ParseProblems(document),
                ElementsAre(IsProblem("camera.buffers", "257", "whole number, 2 to 256 frames")));
}

TEST(RecipeFile, MissingFileIsNamed)
{
    const TestFolder folder;
    const auto found = ProblemsOf([&] { LoadRecipe(folder / "none.json"); });
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_THAT(found[0].field, HasSubstr("none.json"));
    EXPECT_EQ(found[0].value, "no such file");
}

TEST(RecipeFile, DeepNestingAndNumbersBeyondDoubleAreProblemsAndNoCrash)
{
    const TestFolder folder;
    const std::size_t nDepth = 1000000;
    std::ofstream(folder / "deep.json") << "{\"pitch\": " << std::string(nDepth, '[') << std::string(nDepth, ']')
                                        << "}";
    auto found = ProblemsOf([&] { LoadRecipe(folder / "deep.json"); });
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_THAT(found[0].value, HasSubstr("nested more than"));

    std::ofstream(folder / "large.json") << "{\"version\": 1e999}";
    found = ProblemsOf([&] { LoadRecipe(folder / "large.json"); });
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_THAT(found[0].value, HasSubstr("1e999"));
}

TEST(RecipeFile, ImagesAreWrittenBesideAndReadBack)
{
    const TestFolder folder;
    Recipe recipe = SmallestParsed();
    recipe.zoneImage = GreyImage(21, 31, 0);
    recipe.zoneImage.Row(7)[5] = 0;
    recipe.zones = {ZoneSettings{}};
    SaveRecipeWithImages(folder / "a.json", recipe);
    const Recipe read = LoadRecipe(folder / "a.json");
    EXPECT_EQ(read.zoneImageFile, "a.zones.png");
    EXPECT_TRUE(read.classImage.IsEmpty());
    ASSERT_EQ(read.zoneImage.Width(), 21);
    ASSERT_EQ(read.zoneImage.Height(), 31);
}

TEST(RecipeFile, GivenImagesTakeThePlaceOfFiles)
{
    nlohmann::json document = SmallestRecipe();
    document["zones"]["image"] = "no_such_file.png";
    RecipeImages images;
    images.zoneImage = GreyImage(21, 31, 0);
    EXPECT_EQ(ParseRecipe(document, {}, images)->zoneImage.Width(), 21);
    images.zoneImage = GreyImage(5, 31, 0);
    EXPECT_THAT(ProblemsOf([&] { ParseRecipe(document, {}, images); }), Contains(IsAbout("zones.image")));
}

TEST(RecipeFile, BrokenJsonIsNamedWithItsPlace)
{
    const TestFolder folder;
    std::ofstream(folder / "a.json") << "{\n \"version\": 1,\n oops }";
    const auto found = ProblemsOf([&] { LoadRecipe(folder / "a.json"); });
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_THAT(found[0].value, HasSubstr("line 3"));
}

TEST(RecipeFile, ListInPlaceOfAnObjectIsRefused)
{
    const TestFolder folder;
    std::ofstream(folder / "a.json") << "[1, 2]";
    EXPECT_THAT(ProblemsOf([&] { LoadRecipe(folder / "a.json"); }), ElementsAre(IsAbout("recipe")));
}

TEST(RecipeFile, ZoneImagesAreLookedUpBesideTheRecipe)
{
    const TestFolder folder;
    SaveGreyImage(folder / "cell.png", GreyImage(21, 31, 3));
    json document = SmallestRecipe();
    document["zones"] = {{"image", "cell.png"}, {"list", json::array({{{"index", 3}}})}};
    std::ofstream(folder / "a.json") << document;
    const Recipe recipe = LoadRecipe(folder / "a.json");
    EXPECT_EQ(recipe.zoneImage.Width(), 21);
    EXPECT_EQ(recipe.zoneImageFile, "cell.png");

    document["zones"]["image"] = "other.png";
    std::ofstream(folder / "b.json") << document;
    const auto found = ProblemsOf([&] { LoadRecipe(folder / "b.json"); });
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_EQ(found[0].field, "zones.image");
    EXPECT_THAT(found[0].value, HasSubstr("other.png, no such file"));
}

TEST(RecipeFile, SavedRecipeLoads)
{
    const TestFolder folder;
    SaveRecipe(folder / "a.json", SmallestParsed());
    EXPECT_EQ(LoadRecipe(folder / "a.json")->pitchY, 30.25);
    EXPECT_THAT(ProblemsOf([&] { SaveRecipe(folder / "no" / "a.json", SmallestParsed()); }), SizeIs(1));
}

} // namespace

} // namespace narvo::test
