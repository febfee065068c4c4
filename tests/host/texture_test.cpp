// SPDX-License-Identifier: MIT
// Texture mode on made-up cloth: the area of the pattern, light and contrast taken out, lines in all directions, and
// defects where they are.
#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "host/evaluate/threshold_sweep.h"
#include "host/host_test_help.h"
#include "host/image/cv_image.h"
#include "host/input/flatten.h"
#include "host/input/line_means.h"
#include "host/input/pattern_area.h"
#include "host/input/texture_deviations.h"
#include "host/inspect/inspection_plan.h"
#include "host/inspect/inspector.h"
#include "host/inspect/texture_inspection.h"
#include "host/recipe/recipe_check.h"
#include "tools/synthetic/cloth.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

tools::ClothPlan SmallCloth(std::uint64_t seed)
{
    tools::ClothPlan plan;
    plan.width = 1024;
    plan.margin = 128;
    plan.seed = seed;
    return plan;
}

cv::Mat FloatsOf(const GreyImage& image)
{
    cv::Mat floats;
    ViewOf(image).convertTo(floats, CV_32F);
    return floats;
}

/// One measure of brightness over squares of 16 pixels.
json SquareRecipe(double limit)
{
    return {{"version", 1},
            {"mode", "texture"},
            {"texture",
             {{"features",
               {{{"fold", 8},
                 {"size", 2},
                 {"bright", {{"typical", 3.0}, {"limit", limit}}},
                 {"dark", {{"typical", 3.0}, {"limit", limit}}}}}}}}};
}

TEST(PatternArea, LeavesTheTableBesideTheClothOut)
{
    const tools::Cloth cloth = tools::MakeCloth(SmallCloth(5));
    const cv::Mat area = FindPatternArea(FloatsOf(cloth.image), true);
    EXPECT_EQ(cv::countNonZero(area.colRange(0, 112)), 0);
    EXPECT_EQ(cv::countNonZero(area.colRange(912, 1024)), 0);
    EXPECT_EQ(cv::countNonZero(area.colRange(144, 880)), 736 * 256);
    EXPECT_EQ(cv::countNonZero(FindPatternArea(FloatsOf(cloth.image), false)), 1024 * 256);
}

TEST(PatternArea, LeavesOutWhatIsBlownOutOrEmptyOverALargeAreaOnly)
{
    GreyImage image = tools::MakeCloth(SmallCloth(6)).image;
    for (int y = 100; y < 150; ++y)
        for (int x = 400; x < 460; ++x)
            image.Row(y)[x] = 255;
    for (int y = 100; y < 110; ++y)
        for (int x = 600; x < 610; ++x)
            image.Row(y)[x] = 0;
    const cv::Mat area = FindPatternArea(FloatsOf(image), false);
    EXPECT_EQ(area.at<std::uint8_t>(125, 430), 0);
    EXPECT_EQ(area.at<std::uint8_t>(105, 605), 1);
}

TEST(Flatten, TakesLightAndContrastOut)
{
    tools::ClothPlan plan = SmallCloth(7);
    plan.margin = 0;
    plan.light = 0.0;
    plan.noise = 0.0;
    const cv::Mat even = FloatsOf(tools::MakeCloth(plan).image);
    plan.light = 0.5;
    const cv::Mat uneven = FloatsOf(tools::MakeCloth(plan).image);
    const cv::Mat area = cv::Mat::ones(even.size(), CV_8U);
    const cv::Mat a = Flatten(even, area, {97, 97}, 97);
    const cv::Mat b = Flatten(uneven, area, {97, 97}, 97);
    cv::Mat difference;
    cv::absdiff(a, b, difference);
    // Grey falls to a half at the sides; what is left is a share of one deviation.
    EXPECT_GT(cv::norm(even, uneven, cv::NORM_L1) / static_cast<double>(even.total()), 15.0);
    EXPECT_LT(cv::mean(difference)[0], 0.12);
    EXPECT_NEAR(cv::mean(cv::abs(b))[0], 0.8, 0.1); // of a standard deviation
}

TEST(Flatten, PixelsOutsideTheAreaTakeNoPart)
{
    cv::Mat image(128, 128, CV_32F, cv::Scalar(100.0));
    for (int y = 0; y < 128; ++y)
        for (int x = 0; x < 64; ++x)
            image.at<float>(y, x) = (x + y) % 2 == 0 ? 90.0F : 110.0F;
    cv::Mat area = cv::Mat::zeros(image.size(), CV_8U);
    area.colRange(0, 64).setTo(1);
    const cv::Mat before = Flatten(image, area, {33, 33}, 33);
    image.colRange(64, 128).setTo(255.0);
    const cv::Mat after = Flatten(image, area, {33, 33}, 33);
    EXPECT_EQ(cv::norm(before, after, cv::NORM_INF), 0.0);
    EXPECT_EQ(cv::countNonZero(after.colRange(64, 128)), 0);
}

/// The largest deviation to either side in a square in the middle of the image.
float DeviationInTheMiddle(const GreyImage& image, TextureSource source)
{
    TextureFeature feature;
    feature.source = source;
    feature.fold = 4;
    feature.size = 3;
    const TextureDeviations deviations(image, TextureSettings{false}, {feature});
    const TextureDeviation found = deviations.Of(feature);
    const cv::Rect middle(60, 60, 8, 8);
    double bright = 0.0;
    double dark = 0.0;
    cv::minMaxLoc(found.bright(middle), nullptr, &bright);
    cv::minMaxLoc(found.dark(middle), nullptr, &dark);
    return static_cast<float>(std::max(bright, dark));
}

/// 512 by 512 pixels: noise of a standard deviation, and what `value` adds where it is told whether it is in a square
/// of 64 pixels in the middle.
template <typename Value>
GreyImage NoisyImage(double noise, Value value)
{
    GreyImage image(512, 512);
    cv::Mat_<float> random(512, 512);
    cv::RNG(5).fill(random, cv::RNG::NORMAL, 0.0, noise);
    for (int y = 0; y < 512; ++y)
        for (int x = 0; x < 512; ++x)
        {
            const bool inside = x >= 224 && x < 288 && y >= 224 && y < 288;
            image.Row(y)[x] = cv::saturate_cast<std::uint8_t>(128.0 + random(y, x) + value(x, y, inside));
        }
    return image;
}

TEST(TextureDeviations, EnergiesAlongXAndYSeeThatThreadsOfOneDirectionAreMissing)
{
    // As much variation as elsewhere, but all of it along y.
    const GreyImage image = NoisyImage(4.0,
                                       [](int x, int y, bool inside)
                                       {
                                           const double alongY = std::cos(CV_PI * y / 4.0);
                                           return inside ? 28.3 * alongY : 20.0 * (std::cos(CV_PI * x / 4.0) + alongY);
                                       });
    const float plain = DeviationInTheMiddle(image, TextureSource_Energy);
    EXPECT_GT(DeviationInTheMiddle(image, TextureSource_EnergyX), 2.0F * plain);
    EXPECT_GT(DeviationInTheMiddle(image, TextureSource_EnergyY), 2.0F * plain);
}

TEST(TextureDeviations, CoarseEnergySeesIrregularDensityBelowTheNoise)
{
    const GreyImage uneven = NoisyImage(20.0, [](int x, int y, bool inside)
                                        { return inside ? 14.0 * std::cos(CV_PI * (x + y) / 16.0) : 0.0; });
    EXPECT_GT(DeviationInTheMiddle(uneven, TextureSource_Coarse),
              1.5F * DeviationInTheMiddle(uneven, TextureSource_Energy));
}

TEST(LineMeans, TheLineOfAStreakStandsOutOnly)
{
    for (const auto& [dx, dy] : {std::pair(1, 0), std::pair(0, 1), std::pair(1, 1), std::pair(1, -1)})
    {
        cv::Mat values = cv::Mat::zeros(65, 70, CV_32F);
        for (int i = -8; i < 8; ++i)
            values.at<float>(32 + i * dy, 33 + i * dx) = 1.0F;
        float largest = 0.0F;
        int above = 0;
        int directions = 0;
        VisitLineMeans(values, 16,
                       [&](const cv::Mat& means)
                       {
                           ++directions;
                           largest = std::max(largest, means.at<float>(32, 33));
                           above += means.at<float>(32, 33) > 0.9F ? 1 : 0;
                       });
        EXPECT_FLOAT_EQ(largest, 1.0F) << dx << ' ' << dy;
        EXPECT_LE(above, 2) << dx << ' ' << dy;
        EXPECT_EQ(directions, 32);
    }
}

TEST(LineMeans, WidthsThatFillNoWholeLanesAreSummedToTheEnd)
{
    const cv::Mat values = cv::Mat::ones(40, 41, CV_32F);
    VisitLineMeans(values, 16,
                   [&](const cv::Mat& means)
                   {
                       EXPECT_FLOAT_EQ(means.at<float>(20, 20), 1.0F);
                       EXPECT_LT(means.at<float>(39, 40), 1.0F); // zeros outside
                       EXPECT_GT(means.at<float>(39, 40), 0.0F);
                   });
}

TEST(Texture, FindsAStainWhereItIsAndSaysAtWhichScale)
{
    GreyImage image = tools::MakeCloth(SmallCloth(8)).image;
    for (int y = 90; y < 114; ++y)
        for (int x = 500; x < 524; ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(std::min(255, image.Row(y)[x] + 40));
    Inspector inspector(1, 1000);
    const CheckedRecipe recipe = ParseRecipe(SquareRecipe(9.0), {});
    const InspectionResult result = inspector.Inspect(0, image, recipe);
    ASSERT_EQ(result.blobs.size(), 1U);
    const Blob& blob = result.blobs[0];
    EXPECT_TRUE(blob.bright);
    EXPECT_EQ(blob.scale, 8);
    EXPECT_NEAR(blob.center.x, 512, 10);
    EXPECT_NEAR(blob.center.y, 102, 10);
    EXPECT_GE(blob.area, 8 * 8);
    EXPECT_LE(blob.area, 48 * 48);
    EXPECT_EQ(result.region.right, image.Width());
    // The zone beside the margins has no limits here.
    EXPECT_THAT(result.warnings, ElementsAre(testing::HasSubstr("no limits for places beside margins")));

    const ScoreImage scores = ScoreTexture(image, recipe);
    EXPECT_EQ(scores.step, 8);
    EXPECT_GT(scores.At(blob.peakPlace.x, blob.peakPlace.y), 1.0F);
    int above = 0;
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            above += scores.At(x, y) > 1.0F ? 1 : 0;
    EXPECT_EQ(above, blob.area);
}

TEST(Texture, BlobsOfAllScalesComeInOneListWithTheScaleThatFoundThem)
{
    GreyImage image = tools::MakeCloth(SmallCloth(8)).image;
    const auto brighten = [&](int left, int top, int side, int by)
    {
        for (int y = top; y < top + side; ++y)
            for (int x = left; x < left + side; ++x)
                image.Row(y)[x] = static_cast<std::uint8_t>(std::min(255, image.Row(y)[x] + by));
    };
    brighten(300, 60, 6, 90);  // a speck, which vanishes in means over 32 pixels
    brighten(560, 90, 64, 60); // a stain, whose pixels vary as strongly as it is bright
    json document = SquareRecipe(9.0);
    json& features = document["texture"]["features"];
    features.push_back(features[0]);
    features[0]["fold"] = 2;
    features[0]["size"] = 4;
    features[1]["size"] = 4;
    features[1]["bright"]["limit"] = 8.0;
    Inspector inspector(1, 1000);
    std::vector<Blob> blobs = inspector.Inspect(0, image, ParseRecipe(document, {})).blobs;
    ASSERT_EQ(blobs.size(), 2U);
    std::sort(blobs.begin(), blobs.end(), [](const Blob& a, const Blob& b) { return a.center.x < b.center.x; });
    EXPECT_EQ(blobs[0].scale, 2);
    EXPECT_NEAR(blobs[0].center.x, 302, 4);
    EXPECT_NEAR(blobs[0].center.y, 62, 4);
    EXPECT_EQ(blobs[1].scale, 8);
    EXPECT_NEAR(blobs[1].center.x, 592, 24);
    EXPECT_NEAR(blobs[1].center.y, 122, 24);
    // Each alone finds its own only.
    for (const int kept : {0, 1})
    {
        json alone = document;
        alone["texture"]["features"].erase(1 - kept);
        const std::vector<Blob> found = inspector.Inspect(0, image, ParseRecipe(alone, {})).blobs;
        ASSERT_EQ(found.size(), 1U) << kept;
        EXPECT_EQ(found[0].scale, kept == 0 ? 2 : 8);
    }
}

TEST(Texture, SaturatedAndEmptyAreasAreNeitherDefectsNorHideThem)
{
    GreyImage image = tools::MakeCloth(SmallCloth(8)).image;
    const auto fill = [&](int left, int top, int side, std::uint8_t grey)
    {
        for (int y = top; y < top + side; ++y)
            for (int x = left; x < left + side; ++x)
                image.Row(y)[x] = grey;
    };
    fill(300, 0, 120, 255);
    fill(700, 120, 120, 0);
    Inspector inspector(1, 1000);
    const CheckedRecipe recipe = ParseRecipe(SquareRecipe(9.0), {});
    EXPECT_THAT(inspector.Inspect(0, image, recipe).blobs, IsEmpty());
    for (int y = 90; y < 114; ++y)
        for (int x = 560; x < 584; ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(std::max(0, image.Row(y)[x] - 40));
    const std::vector<Blob> blobs = inspector.Inspect(0, image, recipe).blobs;
    ASSERT_EQ(blobs.size(), 1U);
    EXPECT_NEAR(blobs[0].center.x, 572, 10);
}

TEST(Texture, BlobsAtAFactorAreWhereScoresLieAboveIt)
{
    GreyImage image = tools::MakeCloth(SmallCloth(8)).image;
    for (int y = 90; y < 114; ++y)
        for (int x = 500; x < 524; ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(std::min(255, image.Row(y)[x] + 40));
    const CheckedRecipe recipe = ParseRecipe(SquareRecipe(9.0), {});
    const InspectionPlan plan(recipe, image.Width(), image.Height());
    const ScoredTexture scored(image, plan);
    const ScoreImage scores = scored.Scores();
    const float highest = *std::max_element(scores.values.begin(), scores.values.end());
    ASSERT_GT(highest, 1.0F);
    Inspector inspector(1, 1000);
    EXPECT_EQ(scored.Inspect(inspector, 0, 0.95 * highest).blobs.size(), 1U);
    EXPECT_THAT(scored.Inspect(inspector, 0, 1.01 * highest).blobs, IsEmpty());

    // An evaluation takes scores and blobs from there.
    const ImageScores swept = SweepThresholds(inspector, 0, image, recipe);
    EXPECT_EQ(swept.scores.values, scores.values);
    ASSERT_EQ(swept.blobs[nFactorOne].size(), 1U);
    EXPECT_EQ(swept.blobs[nFactorOne][0].box, inspector.Inspect(0, image, recipe).blobs[0].box);
    for (std::size_t i = 0; i < nFactorOne; ++i)
        EXPECT_EQ(swept.blobs[i].empty(), highest <= SweepFactors()[i]) << SweepFactors()[i];
}

TEST(Texture, RegionCutsOutAndBlobsStayInTheImagesCoordinates)
{
    GreyImage image = tools::MakeCloth(SmallCloth(8)).image;
    for (int y = 90; y < 114; ++y)
        for (int x = 500; x < 524; ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(std::max(0, image.Row(y)[x] - 40));
    json document = SquareRecipe(9.0);
    document["region"] = {{"left", 203}, {"top", 13}, {"right", 801}, {"bottom", 243}};
    Inspector inspector(1, 1000);
    const InspectionResult result = inspector.Inspect(0, image, ParseRecipe(document, {}));
    ASSERT_EQ(result.blobs.size(), 1U);
    EXPECT_FALSE(result.blobs[0].bright);
    EXPECT_NEAR(result.blobs[0].center.x, 512, 10);
    EXPECT_NEAR(result.blobs[0].center.y, 102, 10);
    document["region"]["right"] = 490;
    EXPECT_THAT(inspector.Inspect(0, image, ParseRecipe(document, {})).blobs, IsEmpty());
}

TEST(Texture, ScoresDoNotDependOnLightAndContrast)
{
    tools::ClothPlan plan = SmallCloth(9);
    plan.noise = 2.0;
    const GreyImage image = tools::MakeCloth(plan).image;
    GreyImage dim(image.Width(), image.Height());
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            dim.Row(y)[x] = static_cast<std::uint8_t>(std::lround(0.6 * image.Row(y)[x] + 10.0));
    json document = SquareRecipe(9.0);
    document["texture"]["margins"] = false;
    document["region"] = {{"left", 160}, {"top", 0}, {"right", 860}, {"bottom", 256}};
    const CheckedRecipe recipe = ParseRecipe(document, {});
    const ScoreImage a = ScoreTexture(image, recipe);
    const ScoreImage b = ScoreTexture(dim, recipe);
    float most = 0.0F;
    for (std::size_t i = 0; i < a.values.size(); ++i)
        most = std::max(most, std::abs(a.values[i] - b.values[i]));
    EXPECT_LT(most, 0.15F);
}

TEST(Texture, WhatIsWrongIsNamed)
{
    const auto problems = [](const char* pointer, const json& value)
    {
        json document = SquareRecipe(9.0);
        document[json::json_pointer(pointer)] = value;
        return ParseProblems(document);
    };
    EXPECT_THAT(ParseProblems(SquareRecipe(9.0)), IsEmpty());
    EXPECT_THAT(problems("/texture/features", json::array()),
                ElementsAre(IsProblem("texture.features", "0 measures", "1 to 64 measures in texture mode")));
    EXPECT_THAT(problems("/texture/features/0/fold", 3),
                ElementsAre(IsProblem("texture.features[0].fold", "3", "1, 2, 4 or 8")));
    EXPECT_THAT(problems("/texture/features/0/size", 65),
                ElementsAre(IsProblem("texture.features[0].size", "65", "whole number, 1 to 64 reduced pixels")));
    EXPECT_THAT(problems("/texture/features/0/source", "colour"),
                ElementsAre(IsProblem("texture.features[0].source", "\"colour\"",
                                      "brightness, energy, coarse_energy, energy_x or energy_y")));
    EXPECT_THAT(problems("/texture/features/0/bright/limit", 2.5),
                ElementsAre(IsProblem("texture.features[0].bright.limit", "2.5",
                                      "0, or above texture.features[0].bright.typical, 3")));
    EXPECT_THAT(problems("/texture/features/0", 7), Contains(IsAbout("texture.features[0]")));
    EXPECT_THAT(problems("/texture/window", 8), ElementsAre(IsAbout("texture.window")));
    EXPECT_THAT(problems("/keep_singles", false), ElementsAre(IsAbout("keep_singles")));
    json other = SmallestRecipe();
    other["texture"] = SquareRecipe(9.0)["texture"];
    EXPECT_THAT(ParseProblems(other), Contains(IsAbout("texture.features")));

    const CheckedRecipe recipe = ParseRecipe(SquareRecipe(9.0), {});
    EXPECT_THAT(CheckRecipeForImage(recipe, 127, 128), ElementsAre(IsAbout("region's width")));
    EXPECT_THAT(CheckRecipeForImage(recipe, 128, 127), ElementsAre(IsAbout("region's height")));
    EXPECT_THAT(CheckRecipeForImage(recipe, 128, 128), IsEmpty());
    Inspector inspector(1, 100);
    EXPECT_THAT(ProblemsOf([&] { inspector.Inspect(0, GreyImage(100, 200, 90), recipe); }), Not(IsEmpty()));
}

TEST(Texture, RecipeSurvivesTheWayThroughJson)
{
    const Recipe recipe = ParseRecipe(SquareRecipe(9.5), {});
    const auto document = RecipeToJson(recipe);
    EXPECT_EQ(RecipeToJson(ParseRecipe(document, {})), document);
    EXPECT_EQ(document["texture"]["features"][0]["bright"]["limit"], 9.5);
}

TEST(Texture, ConstantAndSmallestImagesGiveNothing)
{
    const CheckedRecipe recipe = ParseRecipe(SquareRecipe(9.0), {});
    Inspector inspector(1, 100);
    for (const int grey : {0, 90, 255})
        EXPECT_THAT(inspector.Inspect(0, GreyImage(131, 129, static_cast<std::uint8_t>(grey)), recipe).blobs, IsEmpty())
            << grey;
}

} // namespace

} // namespace narvo::test
