// SPDX-License-Identifier: MIT
// Light, noise and pitch of made-up images, of which they are known.
#include "host/inspect/drift_measures.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>

#include "host/host_test_help.h"
#include "host/inspect/inspector.h"

namespace narvo::test
{
namespace
{

struct Scene
{
    double pitchX = 17.3;
    double pitchY = 23.6;
    double light = 120.0;
    double depth = 60.0; ///< of the pattern, grey levels
    double noise = 2.0;
    int width = 1024;
    int height = 768;
};

/// A smooth pattern with normal noise.
GreyImage Draw(const Scene& scene, unsigned seed = 1)
{
    std::mt19937 random(seed);
    std::normal_distribution<double> noise(0.0, 1.0);
    GreyImage image(scene.width, scene.height);
    for (int y = 0; y < scene.height; ++y)
        for (int x = 0; x < scene.width; ++x)
        {
            const double wave = std::cos(2.0 * M_PI * x / scene.pitchX) + std::cos(2.0 * M_PI * y / scene.pitchY);
            const double grey = scene.light + 0.5 * scene.depth * wave + scene.noise * noise(random);
            image.Row(y)[x] = static_cast<std::uint8_t>(std::clamp(std::lround(grey), 0L, 255L));
        }
    return image;
}

Recipe RecipeOf(const Scene& scene)
{
    Recipe recipe;
    recipe.mode = Mode_Pixel;
    recipe.pitchX = scene.pitchX;
    recipe.pitchY = scene.pitchY;
    recipe.thresholdBase = 40;
    return recipe;
}

DriftMeasures Measure(const GreyImage& image, const Recipe& recipe, Direction direction = Direction_Vertical)
{
    return MeasureDrift(image, CRect(0, 0, image.Width(), image.Height()), recipe, direction);
}

TEST(DriftMeasures, GiveLightNoiseAndPitchOfAPattern)
{
    for (const double noise : {0.7, 2.0, 6.0})
        for (const Direction direction : {Direction_Vertical, Direction_Horizontal})
        {
            Scene scene;
            scene.noise = noise;
            const DriftMeasures found = Measure(Draw(scene), RecipeOf(scene), direction);
            EXPECT_NEAR(found.light, scene.light, 1.0) << noise;
            // Rounding to whole grey levels adds a twelfth of a level's square, reading between pixels a little.
            EXPECT_NEAR(found.noise, std::sqrt(noise * noise + 1.0 / 12.0), 0.1 * noise + 0.1) << direction;
            EXPECT_NEAR(found.pitchX, scene.pitchX, 0.05) << noise;
            EXPECT_NEAR(found.pitchY, scene.pitchY, 0.05) << noise;
        }
}

TEST(DriftMeasures, FollowWhatDrifts)
{
    const Scene scene;
    const Recipe recipe = RecipeOf(scene);
    Scene drifted = scene;
    drifted.light = 131.0;
    drifted.noise = 2.6;
    drifted.pitchX = 17.5;
    drifted.pitchY = 23.4;
    const DriftMeasures before = Measure(Draw(scene, 1), recipe);
    const DriftMeasures after = Measure(Draw(drifted, 2), recipe);
    EXPECT_NEAR(after.light - before.light, 11.0, 1.0);
    EXPECT_GT(after.noise, before.noise + 0.3);
    EXPECT_NEAR(after.pitchX - before.pitchX, 0.2, 0.05);
    EXPECT_NEAR(after.pitchY - before.pitchY, -0.2, 0.05);
}

TEST(DriftMeasures, ADistanceOfSeveralPitchesIsDividedByThem)
{
    const Scene scene;
    Recipe recipe = RecipeOf(scene);
    recipe.multipleX = 3;
    recipe.multipleY = 2;
    const DriftMeasures found = Measure(Draw(scene), recipe);
    EXPECT_NEAR(found.pitchX, scene.pitchX, 0.02);
    EXPECT_NEAR(found.pitchY, scene.pitchY, 0.03);
}

TEST(DriftMeasures, DefectsDoNotChangeTheNoise)
{
    const Scene scene;
    GreyImage image = Draw(scene);
    const double clean = Measure(image, RecipeOf(scene)).noise;
    for (int y = 100; y < 180; ++y) // a tenth of the rows, and what is compared with them
        std::memset(image.Row(y), 255, static_cast<std::size_t>(image.Width()));
    EXPECT_NEAR(Measure(image, RecipeOf(scene)).noise, clean, 0.35 * clean);
}

TEST(DriftMeasures, FarPitchesAndBlankImagesHaveNone)
{
    const Scene scene;
    Recipe recipe = RecipeOf(scene);
    recipe.pitchX = scene.pitchX + 3.0;
    EXPECT_TRUE(std::isnan(Measure(Draw(scene), recipe).pitchX));
    Scene blank = scene;
    blank.depth = 0.0;
    const DriftMeasures found = Measure(Draw(blank), RecipeOf(blank));
    EXPECT_TRUE(std::isnan(found.pitchX));
    EXPECT_TRUE(std::isnan(found.pitchY));
    EXPECT_NEAR(found.noise, 2.0, 0.25);
    blank.noise = 0.0;
    EXPECT_LT(Measure(Draw(blank), RecipeOf(blank)).noise, 0.35) << "that of rounding to whole grey levels";
}

TEST(DriftMeasures, SmallRegionsHaveWhatTheyHaveRoomFor)
{
    const Scene scene;
    const GreyImage image = Draw(scene);
    const Recipe recipe = RecipeOf(scene);
    const auto measure = [&](const CRect& region) { return MeasureDrift(image, region, recipe, Direction_Vertical); };
    const DriftMeasures low = measure(CRect(0, 0, 400, 20));
    EXPECT_FALSE(std::isnan(low.light));
    EXPECT_TRUE(std::isnan(low.noise)) << "lower than the pitch";
    const DriftMeasures narrow = measure(CRect(0, 0, 30, 700));
    EXPECT_FALSE(std::isnan(narrow.noise));
    EXPECT_TRUE(std::isnan(narrow.pitchX)) << "no room for a stretch and a pitch";
    EXPECT_TRUE(std::isnan(measure(CRect(10, 10, 20, 20)).light));
    EXPECT_TRUE(std::isnan(measure(CRect(10, 10, 10, 10)).light));
    EXPECT_TRUE(std::isnan(measure(CRect(2000, 10, 3000, 100)).light)) << "outside the image";
}

TEST(DriftMeasures, PixelsOutsideTheRegionDoNotCount)
{
    const Scene scene;
    GreyImage image = Draw(scene);
    const CRect region(100, 80, 900, 700);
    const auto measure = [&] { return MeasureDrift(image, region, RecipeOf(scene), Direction_Vertical); };
    const DriftMeasures before = measure();
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            if (!region.PtInRect(CPoint(x, y)))
                image.Row(y)[x] = static_cast<std::uint8_t>(x * y);
    const DriftMeasures after = measure();
    EXPECT_EQ(after.light, before.light);
    EXPECT_EQ(after.noise, before.noise);
    EXPECT_EQ(after.pitchX, before.pitchX);
    EXPECT_EQ(after.pitchY, before.pitchY);
}

TEST(DriftMeasures, ComeWithAnInspection)
{
    const Scene scene;
    const GreyImage image = Draw(scene);
    const Recipe recipe = RecipeOf(scene);
    Inspector inspector(1, 1000);
    const InspectionResult result = inspector.Inspect(0, image, CheckedRecipe(recipe));
    const DriftMeasures found = MeasureDrift(image, result.region, recipe, result.direction);
    EXPECT_EQ(result.drift.light, found.light);
    EXPECT_EQ(result.drift.noise, found.noise);
    EXPECT_EQ(result.drift.pitchX, found.pitchX);
    EXPECT_EQ(result.drift.pitchY, found.pitchY);
}

} // namespace
} // namespace narvo::test
