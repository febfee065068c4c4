// SPDX-License-Identifier: MIT
// Recipes learnt from good images: empty on further good ones, alert to defects, the same on any number of threads.
#include "host/learn/learn.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include "host/host_test_help.h"
#include "host/inspect/inspector.h"
#include "host/learn/extreme_value.h"
#include "host/learn/place_maxima.h"
#include "host/pattern_help.h"
#include "host/recipe/recipe_check.h"
#include "tools/synthetic/cloth.h"

namespace narvo::test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

tools::ClothPlan LearnCloth(std::uint64_t seed, int defects = 0)
{
    tools::ClothPlan plan;
    plan.width = 1024;
    plan.margin = 96;
    plan.defects = defects;
    plan.seed = seed;
    return plan;
}

std::shared_ptr<const GreyImage> Shared(GreyImage image)
{
    return std::make_shared<const GreyImage>(std::move(image));
}

std::vector<BatchImage> GoodCloth(std::uint64_t first, std::size_t count)
{
    std::vector<BatchImage> images;
    for (std::size_t i = 0; i < count; ++i)
        images.push_back(
            {"cloth " + std::to_string(i), [=] { return Shared(tools::MakeCloth(LearnCloth(first + i)).image); }});
    return images;
}

/// The pattern of pattern_help.h with a little noise, moved from image to image.
GreyImage NoisyPattern(int seed, int step)
{
    GreyImage image = MakePattern(480, 360, 200, 170, step);
    std::uint32_t state = 77U + static_cast<std::uint32_t>(seed);
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
        {
            state = state * 1664525U + 1013904223U;
            image.Row(y)[x] = static_cast<std::uint8_t>(image.Row(y)[x] + static_cast<int>(state >> 29) - 4);
        }
    return image;
}

LearnSettings Only(LearnMode mode)
{
    LearnSettings settings;
    settings.mode = mode;
    return settings;
}

TEST(Learn, ClothStaysEmptyAndDefectsAreFound)
{
    const LearnResult learnt = LearnRecipe(GoodCloth(100, 6), Only(LearnMode_Texture), 2);
    EXPECT_EQ(learnt.recipe.mode, Mode_Texture);
    ASSERT_EQ(learnt.images.size(), 6U);
    EXPECT_GT(learnt.images[0].area, 0.7);
    EXPECT_LT(learnt.images[0].area, 0.9);
    EXPECT_LT(learnt.falseBound, 2.0);
    EXPECT_THAT(learnt.reasons, Contains(HasSubstr("95 % confidence")));

    Inspector inspector(1, learnt.recipe.maxBlobs);
    std::size_t falseBlobs = 0;
    for (std::uint64_t seed = 200; seed < 206; ++seed)
        falseBlobs +=
            inspector.Inspect(0, tools::MakeCloth(LearnCloth(seed)).image, CheckedRecipe(learnt.recipe)).blobs.size();
    EXPECT_LE(falseBlobs, 1U);

    std::size_t planted = 0;
    std::size_t found = 0;
    for (std::uint64_t seed = 300; seed < 306; ++seed)
    {
        const tools::Cloth cloth = tools::MakeCloth(LearnCloth(seed, 2));
        const tools::TruthScore score =
            tools::CompareWithTruth(cloth.truth, inspector.Inspect(0, cloth.image, CheckedRecipe(learnt.recipe)).blobs);
        planted += cloth.truth.size();
        found += static_cast<std::size_t>(score.FoundCount());
    }
    EXPECT_EQ(planted, 12U);
    EXPECT_GE(found, 10U);
}

TEST(Learn, NumberOfThreadsChangesNothing)
{
    std::vector<BatchImage> good = GoodCloth(400, 3);
    for (std::size_t i = 0; i < good.size(); ++i)
        good[i].load = [i]
        {
            tools::ClothPlan plan = LearnCloth(400 + i);
            plan.width = 512;
            plan.height = 192;
            plan.margin = 48;
            return Shared(tools::MakeCloth(plan).image);
        };
    const LearnResult one = LearnRecipe(good, LearnSettings(), 1);
    const LearnResult three = LearnRecipe(good, LearnSettings(), 3);
    EXPECT_EQ(RecipeToJson(one.recipe).dump(), RecipeToJson(three.recipe).dump());
    EXPECT_EQ(one.reasons, three.reasons);
    EXPECT_EQ(one.warnings, three.warnings);
}

TEST(Learn, OneImageIsEnoughAndItSaysWhatItCannotKnow)
{
    const LearnResult learnt = LearnRecipe(GoodCloth(500, 1), Only(LearnMode_Texture), 1);
    EXPECT_THAT(learnt.warnings, Contains(HasSubstr("Learnt from 1 image;")));
    EXPECT_THAT(learnt.reasons, Contains(HasSubstr("cannot be forecast")));
    Inspector inspector(1, learnt.recipe.maxBlobs);
    EXPECT_THAT(inspector.Inspect(0, tools::MakeCloth(LearnCloth(500)).image, CheckedRecipe(learnt.recipe)).blobs,
                IsEmpty());
}

TEST(Learn, PeriodicPatternGetsItsPitchAndAThresholdThatLeavesItEmpty)
{
    std::vector<BatchImage> good;
    for (int i = 0; i < 4; ++i)
        good.push_back({"pattern", [=] { return Shared(NoisyPattern(i, 0)); }});
    const LearnResult learnt = LearnRecipe(good, Only(LearnMode_Periodic), 2);
    EXPECT_NEAR(learnt.recipe.pitchX, dPitchX, 0.0626);
    EXPECT_NEAR(learnt.recipe.pitchY, dPitchY, 0.0626);
    EXPECT_THAT(learnt.reasons, Contains(HasSubstr("The pattern repeats every 32.5 pixels along x")));
    Inspector inspector(1, learnt.recipe.maxBlobs);
    EXPECT_THAT(inspector.Inspect(0, NoisyPattern(50, 0), CheckedRecipe(learnt.recipe)).blobs, IsEmpty());
    const std::vector<Blob> blobs = inspector.Inspect(0, NoisyPattern(51, 40), CheckedRecipe(learnt.recipe)).blobs;
    ASSERT_FALSE(blobs.empty());
    EXPECT_NEAR(blobs[0].center.x, 200, 3);
    EXPECT_NEAR(blobs[0].center.y, 170, 3);
}

TEST(Learn, WithAllWaysOpenTheOneThatFindsMoreIsTaken)
{
    std::vector<BatchImage> good;
    for (int i = 0; i < 3; ++i)
        good.push_back({"pattern", [=] { return Shared(NoisyPattern(i, 0)); }});
    const LearnResult learnt = LearnRecipe(good, LearnSettings(), 2);
    ASSERT_EQ(learnt.candidates.size(), 3U);
    double most = 0.0;
    for (const LearnCandidate& candidate : learnt.candidates)
        most = std::max(most, candidate.found);
    std::size_t chosen = 0;
    for (const LearnCandidate& candidate : learnt.candidates)
    {
        chosen += candidate.chosen ? 1 : 0;
        EXPECT_TRUE(!candidate.chosen || candidate.found == most) << candidate.description;
        EXPECT_THAT(learnt.reasons, Contains(HasSubstr(candidate.description + " found ")));
    }
    EXPECT_EQ(chosen, 1U);
    EXPECT_GT(most, 0.2);
}

TEST(Learn, KnownDefectsDecideBetweenWaysOfInspecting)
{
    std::vector<BatchImage> good;
    for (int i = 0; i < 3; ++i)
        good.push_back({"pattern", [=] { return Shared(NoisyPattern(i, 0)); }});
    const auto withSquare = [] { return Shared(NoisyPattern(9, 60)); };
    const auto learn = [&](std::vector<CRect> defects) {
        return LearnRecipe(good, LearnSettings(), 2, {{{"bad", withSquare}, std::move(defects)}});
    };
    const LearnResult learnt = learn({CRect(198, 168, 203, 173)});
    ASSERT_EQ(learnt.candidates.size(), 3U);
    ASSERT_EQ(learnt.finds.size(), 1U);
    EXPECT_EQ(learnt.defects, 1U);
    EXPECT_TRUE(learnt.finds[0].known);
    EXPECT_EQ(learnt.finds[0].name, "bad");
    EXPECT_EQ(learnt.finds[0].found, 1U);
    EXPECT_EQ(learnt.finds[0].falseBlobs + 1, learnt.finds[0].blobs);
    for (const LearnCandidate& candidate : learnt.candidates)
        EXPECT_TRUE(!candidate.chosen || candidate.defectsFound == 1U) << candidate.defectsFound;
    EXPECT_THAT(learnt.reasons, Contains(HasSubstr("Of 1 known defect, ")));
    // What is elsewhere is not found, and then planted spots decide.
    const LearnResult elsewhere = learn({CRect(10, 10, 14, 14)});
    EXPECT_EQ(elsewhere.finds[0].found, 0U);
    EXPECT_THAT(elsewhere.reasons, Contains(HasSubstr("; planted spots decide.")));
    // Without their places images are only counted.
    const LearnResult unknown = LearnRecipe(good, LearnSettings(), 1, {{{"bad", withSquare}, std::nullopt}});
    EXPECT_FALSE(unknown.finds[0].known);
    EXPECT_GE(unknown.finds[0].blobs, 1U);
    EXPECT_EQ(unknown.defects, 0U);
}

TEST(Learn, ImagesThatDisagreeAreNamed)
{
    std::vector<BatchImage> good = GoodCloth(600, 4);
    good[2].load = []
    {
        GreyImage image = tools::MakeCloth(LearnCloth(602)).image;
        for (int y = 0; y < image.Height(); ++y)
            for (int x = 0; x < image.Width(); ++x)
                image.Row(y)[x] = static_cast<std::uint8_t>(image.Row(y)[x] / 2);
        return Shared(image);
    };
    const LearnResult learnt = LearnRecipe(good, Only(LearnMode_Texture), 1);
    EXPECT_THAT(learnt.warnings, Contains(testing::AllOf(HasSubstr("Light differs"), HasSubstr("cloth 2"))));
}

/// A grid of that pitch with noise.
GreyImage GridOf(double pitch, std::uint32_t seed)
{
    GreyImage image(400, 300);
    std::uint32_t state = seed;
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
        {
            state = state * 1664525U + 1013904223U;
            const double turn = 2.0 * std::numbers::pi / pitch;
            image.Row(y)[x] = static_cast<std::uint8_t>(std::lround(
                120.0 + 30.0 * std::cos(turn * x) + 30.0 * std::cos(turn * y) + static_cast<double>(state >> 29)));
        }
    return image;
}

std::vector<BatchImage> Grids(std::initializer_list<double> pitches)
{
    std::vector<BatchImage> images;
    for (const double pitch : pitches)
    {
        const auto seed = static_cast<std::uint32_t>(images.size()) + 1U;
        images.push_back(
            {"grid " + FormatNumber(pitch), [=] { return std::make_shared<const GreyImage>(GridOf(pitch, seed)); }});
    }
    return images;
}

TEST(Learn, ImagesThatShowNoPatternDoNotSpoilTheForecast)
{
    // All that can be learnt is in the first image; without it nothing is left.
    std::vector<BatchImage> good = GoodCloth(650, 1);
    const auto dark = [] { return std::make_shared<const GreyImage>(256, 256, std::uint8_t{0}); };
    good.push_back({"dark", dark});
    good.push_back({"dark too", dark});
    const LearnResult learnt = LearnRecipe(good, Only(LearnMode_Texture), 1);
    EXPECT_THAT(CheckRecipe(learnt.recipe), IsEmpty());
    EXPECT_THAT(learnt.reasons, Contains(HasSubstr("too little pattern for limits to be learnt without each")));
    for (const LearnImage& image : learnt.images)
        EXPECT_TRUE(std::isfinite(image.highest)) << image.name;
}

TEST(Learn, PitchThatDriftsGivesAWarningAndOneThatDoesNotHoldIsNotUsed)
{
    const LearnResult steady = LearnRecipe(Grids({24.0, 24.0}), Only(LearnMode_Periodic), 1);
    EXPECT_THAT(steady.warnings, testing::Not(Contains(HasSubstr("pitch differs"))));
    const LearnResult drifting = LearnRecipe(Grids({24.0, 25.0}), Only(LearnMode_Periodic), 1);
    EXPECT_THAT(drifting.warnings, Contains(HasSubstr("The pitch differs by 3.94 % from image to image")));
    const LearnResult apart = LearnRecipe(Grids({24.0, 27.0}), LearnSettings(), 1);
    EXPECT_EQ(apart.recipe.mode, Mode_Texture);
    EXPECT_THAT(apart.reasons, Contains(HasSubstr("the pitch goes from 24 to 27 pixels from image to image")));
}

TEST(Learn, EveryRateAndEvenImagesWithoutContrastGiveAValidRecipe)
{
    std::vector<std::vector<BatchImage>> sets = {GoodCloth(700, 2)};
    const auto constant = [] { return std::make_shared<const GreyImage>(256, 256, std::uint8_t{90}); };
    sets.push_back({{"constant", constant}, {"constant too", constant}});
    for (const std::vector<BatchImage>& set : sets)
        for (const double rate : {dFalseRateLow, dFalseRateHigh})
        {
            LearnSettings settings = Only(LearnMode_Texture);
            settings.falseRate = rate;
            const LearnResult learnt = LearnRecipe(set, settings, 1);
            EXPECT_THAT(CheckRecipe(learnt.recipe), IsEmpty()) << set[0].name << ' ' << rate;
            const auto warning = Contains(HasSubstr("There is little to see in constant"));
            if (set[0].name == "constant")
                EXPECT_THAT(learnt.warnings, warning);
            else
                EXPECT_THAT(learnt.warnings, testing::Not(warning));
        }
}

TEST(Learn, LowerRatesGiveHigherLimits)
{
    const std::vector<BatchImage> good = GoodCloth(800, 3);
    LearnSettings settings = Only(LearnMode_Texture);
    double last = 0.0;
    for (const double rate : {1.0, 0.1, 0.01})
    {
        settings.falseRate = rate;
        const double limit = LearnRecipe(good, settings, 2).recipe.textureFeatures[0].brightLimit;
        EXPECT_GT(limit, last) << rate;
        last = limit;
    }
}

TEST(Learn, WhatIsWrongIsNamed)
{
    EXPECT_THAT(ProblemsOf([] { LearnRecipe({}, LearnSettings(), 1); }),
                ElementsAre(IsProblem("images", "0", "1 to 1000")));
    LearnSettings settings;
    settings.falseRate = 0.0;
    EXPECT_THAT(ProblemsOf([&] { LearnRecipe(GoodCloth(1, 1), settings, 1); }),
                ElementsAre(IsProblem("false_rate", "0", "0.001 to 10 false blobs an image")));
    const std::vector<BatchImage> tiny = {{"tiny", [] { return Shared(GreyImage(90, 300, 100)); }}};
    EXPECT_THAT(ProblemsOf([&] { LearnRecipe(tiny, Only(LearnMode_Texture), 1); }),
                ElementsAre(IsProblem("image tiny", "90 by 300 pixels", "sides of 128 pixels or more")));
    EXPECT_THAT(ProblemsOf([&] { LearnRecipe(tiny, Only(LearnMode_Periodic), 1); }), ElementsAre(IsAbout("images")));
    const std::vector<BatchImage> missing = {{"gone", [] { return Shared(LoadGreyImage("gone.png")); }}};
    EXPECT_THAT(ProblemsOf([&] { LearnRecipe(missing, LearnSettings(), 1); }), testing::Not(IsEmpty()));
}

TEST(ExtremeValue, OneImageHasWiderLimitsThanAsManyPlacesOfTwo)
{
    const auto places = [](int from, int to)
    {
        PlaceMaxima image;
        image.places = static_cast<std::size_t>(to - from);
        image.bright.resize(1);
        image.dark.resize(1);
        for (int i = from; i < to; ++i)
            for (FeatureMaxima* maxima : {&image.bright[0], &image.dark[0]})
                maxima->inside.push_back(4.0 + 0.1 * (7 * i % 16));
        return image;
    };
    const auto limitOf = [](const std::vector<PlaceMaxima>& images, double rate)
    {
        std::vector<const PlaceMaxima*> good;
        for (const PlaceMaxima& image : images)
            good.push_back(&image);
        std::vector<TextureFeature> features(1);
        SetLimits(good, rate, features);
        return features[0].brightLimit;
    };
    // The same values, places and rate a place.
    EXPECT_GT(limitOf({places(0, 16)}, 0.1), limitOf({places(0, 8), places(8, 16)}, 0.05) + 0.2);
}

TEST(ExtremeValue, LimitIsTheQuantileOfTheDistribution)
{
    // Quantiles of the Gumbel distribution with mode 10 and scale 2.
    std::vector<double> values;
    for (int i = 0; i < 4000; ++i)
        values.push_back(10.0 - 2.0 * std::log(-std::log((i + 0.5) / 4000.0)));
    EXPECT_NEAR(ExtremeLimit(values, 0.01, 0.0), 10.0 - 2.0 * std::log(0.01), 0.15);
    EXPECT_GT(ExtremeLimit(values, 0.01, 1.0), ExtremeLimit(values, 0.01, 0.0));
    values.resize(2000); // the lower half
    EXPECT_LT(ExtremeLimit(values, 0.01, 0.0), 15.0);
}

} // namespace

} // namespace narvo::test
