// SPDX-License-Identifier: MIT
// The panel maker: same numbers, same files; what it makes is what its numbers say.
#include <algorithm>
#include <cmath>
#include <set>

#include "host/image/grey_image.h"
#include "host/recipe/recipe_file.h"
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using testing::Each;
using testing::HasSubstr;

nlohmann::json ReadJson(const std::filesystem::path& file)
{
    return nlohmann::json::parse(ReadText(file));
}

TEST(NarvoSynth, SameSeedMakesTheSameFilesAndAnotherSeedOthers)
{
    const TestFolder folder;
    for (const char* name : {"a", "b"})
        ASSERT_EQ(RunNarvo(folder, {"synth", "--width", "300", "--height", "320", "--pitch-x", "40", "--pitch-y",
                                    "40.5", "--seed", "5", "--output", name})
                      .code,
                  0);
    ASSERT_EQ(RunNarvo(folder, {"synth", "--width", "300", "--height", "320", "--pitch-x", "40", "--pitch-y", "40.5",
                                "--seed", "6", "--output", "c"})
                  .code,
              0);
    EXPECT_EQ(ReadText(folder / "a.png"), ReadText(folder / "b.png"));
    EXPECT_EQ(ReadText(folder / "a.zones.png"), ReadText(folder / "b.zones.png"));
    EXPECT_EQ(ReadJson(folder / "a.truth.json")["defects"], ReadJson(folder / "b.truth.json")["defects"]);
    EXPECT_NE(ReadText(folder / "a.png"), ReadText(folder / "c.png"));
}

TEST(NarvoSynth, PanelRepeatsExactlyWithoutNoiseDriftAndDefects)
{
    const TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"synth", "--width", "320", "--height", "330", "--pitch-x", "32.5", "--pitch-y", "33.25",
                                "--noise", "0", "--drift", "0", "--defects", "0"})
                  .code,
              0);
    const GreyImage image = LoadGreyImage(folder / "panel.png");
    int differences = 0;
    for (int y = 0; y + 133 < image.Height(); ++y)
        for (int x = 0; x + 65 < image.Width(); ++x)
            differences += image.Row(y)[x] != image.Row(y + 133)[x + 65] ? 1 : 0; // four and two periods
    EXPECT_EQ(differences, 0);
    int contrast = 0;
    for (int x = 0; x < 33; ++x)
        contrast = std::max(contrast, std::abs(image.Row(15)[x] - image.Row(15)[0]));
    EXPECT_GT(contrast, 80);
}

TEST(NarvoSynth, NoiseHasTheStandardDeviationAskedFor)
{
    const TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"synth", "--width", "512", "--height", "512", "--pitch-x", "32", "--pitch-y", "32",
                                "--noise", "4", "--drift", "0", "--defects", "0"})
                  .code,
              0);
    const GreyImage image = LoadGreyImage(folder / "panel.png");
    double sum = 0.0;
    int count = 0;
    for (int y = 0; y + 32 < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x, ++count)
            sum += std::pow(image.Row(y)[x] - image.Row(y + 32)[x], 2);
    EXPECT_NEAR(std::sqrt(sum / count / 2.0), 4.0, 0.15);
}

TEST(NarvoSynth, TruthHoldsTheDefectsInsideTheImageWithTheirContrast)
{
    const TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"synth", "--width", "1200", "--height", "1200", "--pitch-x", "40", "--pitch-y", "40",
                                "--defects", "40"})
                  .code,
              0);
    const auto defects = ReadJson(folder / "panel.truth.json")["defects"];
    ASSERT_EQ(defects.size(), 40U);
    std::set<std::string> kinds;
    for (const auto& defect : defects)
    {
        kinds.insert(defect["kind"].get<std::string>());
        EXPECT_GE(defect["left"].get<int>(), 0);
        EXPECT_GE(defect["top"].get<int>(), 0);
        EXPECT_LE(defect["right"].get<int>(), 1200);
        EXPECT_LE(defect["bottom"].get<int>(), 1200);
        EXPECT_LT(defect["left"].get<int>(), defect["right"].get<int>());
        EXPECT_LT(defect["top"].get<int>(), defect["bottom"].get<int>());
        EXPECT_GE(defect["contrast"].get<double>(), 20.0);
    }
    EXPECT_GE(kinds.size(), 6U);
}

TEST(NarvoSynth, RecipeIsReadyAndItsZoneImageCoversTheCell)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const Recipe recipe = LoadRecipe(folder / "panel.recipe.json");
    EXPECT_EQ(recipe.pitchX, 40.5);
    EXPECT_EQ(recipe.pitchY, 48.25);
    EXPECT_EQ(recipe.zoneImage.Width(), 41);
    EXPECT_EQ(recipe.zoneImage.Height(), 49);
    EXPECT_EQ(recipe.zones.size(), 3U);
}

TEST(NarvoSynth, NumbersOutOfRangeAreNamedTogether)
{
    const TestFolder folder;
    const Outcome outcome = RunNarvo(
        folder, {"synth", "--quiet", "--width", "100", "--pitch-y", "50.01", "--noise", "-1", "--pitch-x", "20"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.error, "narvo: --width: 100; allowed: 256 to 32768 pixels\n"
                             "narvo: --pitch-x: 20; allowed: 24 to 51.2 pixels\n"
                             "narvo: --pitch-y: 50.01; allowed: multiples of 0.0625 pixels\n"
                             "narvo: --noise: -1; allowed: 0 to 20 grey levels\n");
}

TEST(NarvoSynth, UnwritablePlaceExitsWithThree)
{
    const TestFolder folder;
    const Outcome outcome =
        RunNarvo(folder, {"synth", "--width", "400", "--height", "400", "--output", "nowhere/panel", "--quiet"});
    EXPECT_EQ(outcome.code, 3);
    EXPECT_THAT(outcome.error, HasSubstr("nowhere/panel.png: cannot be written"));
}

} // namespace

} // namespace narvo::test
