// SPDX-License-Identifier: MIT
// The recipe's section `image`: what it takes and refuses, alone and with the rest of a recipe.
#include "host/recipe/image_section.h"

#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;

std::vector<Problem> SectionProblems(const json& section)
{
    return ProblemsOf([&] { ParseImageSection(section); });
}

} // namespace

TEST(ImageSection, EveryFieldIsRead)
{
    const ImageReading reading =
        ParseImageSection({{"channel", "mixture"},
                           {"weights", {{"red", 0.5}, {"green", -1}, {"blue", 2}}},
                           {"bayer", "gbrg"},
                           {"demosaic", "edge_aware"},
                           {"levels", {{"low", 64}, {"high", 4000}}},
                           {"raw", {{"format", "Mono10p"}, {"width", 640}, {"height", 480}, {"offset", 32}}}});
    EXPECT_EQ(reading.channel, Channel_Mixture);
    EXPECT_EQ(reading.weightRed, 0.5);
    EXPECT_EQ(reading.weightGreen, -1.0);
    EXPECT_EQ(reading.weightBlue, 2.0);
    EXPECT_EQ(reading.bayer, Bayer_Gbrg);
    EXPECT_EQ(reading.demosaic, Demosaic_EdgeAware);
    EXPECT_EQ(reading.levelLow, 64);
    EXPECT_EQ(reading.levelHigh, 4000);
    EXPECT_EQ(reading.rawFormat, RawFormat_Mono10p);
    EXPECT_EQ(reading.rawWidth, 640);
    EXPECT_EQ(reading.rawHeight, 480);
    EXPECT_EQ(reading.rawOffset, 32);
    EXPECT_EQ(ParseImageSection(json::object()), ImageReading());
}

TEST(ImageSection, RecipeKeepsItAndWritesItBack)
{
    json document = SmallestRecipe();
    document["image"] = {{"channel", "green"}, {"levels", {{"high", 1023}}}};
    const Recipe recipe = *ParseRecipe(document, {});
    EXPECT_EQ(recipe.channel, Channel_Green);
    EXPECT_EQ(recipe.levelHigh, 1023);
    const Recipe again = *ParseRecipe(RecipeToJson(recipe), {});
    EXPECT_EQ(static_cast<const ImageReading&>(again), static_cast<const ImageReading&>(recipe));
}

TEST(ImageSection, ProblemsNameFieldValueAndRange)
{
    EXPECT_THAT(SectionProblems({{"channel", "infrared"}}),
                testing::ElementsAre(
                    IsProblem("image.channel", "\"infrared\"", "auto, luma, red, green, blue, mixture or each")));
    EXPECT_THAT(SectionProblems({{"levels", {{"low", 2000000}}}}),
                testing::ElementsAre(IsProblem("image.levels.low", "2000000",
                                               "whole number, -1000000 to 1000000 in the camera's values")));
    EXPECT_THAT(SectionProblems({{"levels", {{"low", 100}, {"high", 100}}}}),
                testing::ElementsAre(IsAbout("image.levels.high")));
    EXPECT_THAT(SectionProblems({{"gamma", 2}}), testing::ElementsAre(IsAbout("image.gamma")));
    EXPECT_THAT(SectionProblems({{"channel", "mixture"}}), testing::ElementsAre(IsAbout("image.weights")));
    EXPECT_THAT(SectionProblems({{"weights", {{"red", 1}}}}), testing::ElementsAre(IsAbout("image.weights.red")));
    EXPECT_THAT(SectionProblems({{"demosaic", "off"}}), testing::ElementsAre(IsAbout("image.demosaic")));
    EXPECT_THAT(SectionProblems({{"bayer", "rggb"}, {"demosaic", "off"}, {"channel", "red"}}),
                testing::ElementsAre(IsAbout("image.channel")));
    EXPECT_THAT(SectionProblems({{"raw", {{"format", "Mono12p"}, {"height", 4}}}}),
                testing::ElementsAre(IsAbout("image.raw.width")));
    EXPECT_THAT(SectionProblems({{"raw", {{"width", 4}}}}), testing::ElementsAre(IsAbout("image.raw.width")));
    EXPECT_THAT(SectionProblems({{"raw", {{"format", "Mono12packed"}}}}),
                testing::ElementsAre(IsProblem("image.raw.format", "\"Mono12packed\"",
                                               "none, Mono8, Mono10, Mono10p, Mono12, Mono12p or Mono16")));
}

TEST(ImageSection, MosaicIsComparedAtEvenPitchesOnly)
{
    json document = SmallestRecipe("pixel");
    document["image"] = {{"bayer", "rggb"}, {"demosaic", "off"}};
    EXPECT_THAT(ParseProblems(document), testing::UnorderedElementsAre(IsAbout("pitch.x"), IsAbout("pitch.y")));
    document["pitch"] = {{"x", 21}, {"y", 30}};
    document["multiple"] = {{"x", 2}};
    EXPECT_THAT(ParseProblems(document), testing::IsEmpty());
    document["multiple"] = {{"x", 1}};
    EXPECT_THAT(ParseProblems(document), testing::ElementsAre(IsAbout("pitch.x")));
    document["image"]["demosaic"] = "bilinear";
    EXPECT_THAT(ParseProblems(document), testing::IsEmpty());

    document = SmallestRecipe("average");
    document["image"] = {{"bayer", "rggb"}, {"demosaic", "off"}};
    EXPECT_THAT(ParseProblems(document),
                testing::UnorderedElementsAre(IsAbout("average.window"), IsAbout("average.background")));
}

TEST(ImageSection, RegionsShareOne)
{
    json document = SmallestRecipe();
    document["image"] = {{"channel", "red"}};
    document["regions"] = {{{"name", "a"}}, {{"name", "b"}}};
    EXPECT_EQ(ParseRecipes(document, {}).size(), 2U);
    document["regions"][1]["image"] = {{"channel", "blue"}};
    EXPECT_THAT(ProblemsOf([&] { ParseRecipes(document, {}); }), testing::ElementsAre(IsAbout("regions[1].image")));
}

} // namespace narvo::test
