// SPDX-License-Identifier: MIT
// The golden cell: what every cell of an image has alike that the good ones had not.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

#include "host/cell/golden_cell.h"
#include "host/cell/golden_cell_file.h"
#include "host/host_test_help.h"
#include "host/statistics/mixed_numbers.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// A scene as a camera would see it: a pattern of one cell, light, noise, and what differs in every cell.
struct CellScene
{
    double pitchX = 32.5;
    double pitchY = 24.25;
    double shiftX = 0.0; ///< pixels by which the pattern lies further right
    double shiftY = 0.0;
    double gain = 1.0;
    double offset = 0.0;
    double noise = 4.0;    ///< half the width of its even distribution, grey levels
    double repeater = 0.0; ///< grey levels of a spot at 8, 6 in each cell
    std::uint64_t seed = 1;

    GreyImage Draw(int width = 640, int height = 480) const
    {
        GreyImage image(width, height);
        MixedNumbers numbers(seed);
        for (int y = 0; y < height; ++y)
        {
            for (int x = 0; x < width; ++x)
            {
                const double u = std::fmod(x - shiftX + 1000.0 * pitchX, pitchX);
                const double v = std::fmod(y - shiftY + 1000.0 * pitchY, pitchY);
                constexpr double dTurn = 2.0 * std::numbers::pi;
                double value = 110.0 + 40.0 * std::sin(dTurn * u / pitchX) * std::sin(dTurn * v / pitchY) +
                               15.0 * std::cos(dTurn * u / pitchX) + 10.0 * std::cos(dTurn * v / pitchY);
                if (std::abs(u - 8.0) < 1.5 && std::abs(v - 6.0) < 1.5)
                    value += repeater;
                const double unit = static_cast<double>(numbers.Next() >> 11U) * 0x1p-53;
                value = gain * value + offset + noise * (2.0 * unit - 1.0);
                image.Row(y)[x] = static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
            }
        }
        image.FillUpRows();
        return image;
    }
};

Recipe RecipeOf(const CellScene& scene)
{
    Recipe recipe = SmallestParsed();
    recipe.pitchX = scene.pitchX;
    recipe.pitchY = scene.pitchY;
    return recipe;
}

GoldenCell Learn(const std::vector<CellScene>& scenes)
{
    GoldenCellLearner learner(RecipeOf(scenes.at(0)));
    for (const CellScene& scene : scenes)
        learner.Add(scene.Draw());
    return learner.Finish();
}

CellComparison Compare(const GoldenCell& golden, const CellScene& scene)
{
    return CompareCell(golden, scene.Draw(), RecipeOf(scene));
}

std::vector<Problem> ProblemsOf(const std::function<void()>& call)
{
    try
    {
        call();
    }
    catch (const HostError& error)
    {
        return error.Problems();
    }
    return {};
}

TEST(GoldenCell, SeesWhatEveryCellHasWithinTheNoise)
{
    const GoldenCell golden = Learn({{}});
    CellScene bad;
    bad.seed = 2;
    bad.repeater = 5.0; // no more than the noise of a pixel
    const CellComparison comparison = Compare(golden, bad);
    ASSERT_THAT(comparison.found, SizeIs(1));
    EXPECT_NEAR(comparison.found[0].x, 8, 1);
    EXPECT_NEAR(comparison.found[0].y, 6, 1);
    EXPECT_NEAR(comparison.found[0].difference, 5.0, 1.5);
    EXPECT_GT(comparison.found[0].errors, 6.0);
    EXPECT_EQ(comparison.shown.leftOut, 0U);
}

TEST(GoldenCell, FindsNothingInGoodImagesWhereverTheyLieAndHoweverTheyAreLit)
{
    const GoldenCell golden = Learn({{}});
    MixedNumbers numbers(7);
    const auto unit = [&] { return static_cast<double>(numbers.Next() >> 11U) * 0x1p-53; };
    for (std::uint64_t seed = 10; seed < 40; ++seed)
    {
        CellScene good;
        good.seed = seed;
        good.shiftX = 32.5 * unit();
        good.shiftY = 24.25 * unit();
        good.gain = 0.7 + 0.6 * unit();
        good.offset = 20.0 * unit() - 10.0;
        const CellComparison comparison = Compare(golden, good);
        EXPECT_THAT(comparison.found, IsEmpty()) << "seed " << seed;
        const auto apart = [](double a, double b, double period)
        { return std::abs(a - b - period * std::round((a - b) / period)); };
        EXPECT_LT(apart(comparison.shown.displacement.x, good.shiftX, 32.5), 0.1) << "seed " << seed;
        EXPECT_LT(apart(comparison.shown.displacement.y, good.shiftY, 24.25), 0.1) << "seed " << seed;
        EXPECT_NEAR(comparison.shown.light.gain, good.gain, 0.03) << "seed " << seed;
    }
}

TEST(GoldenCell, SeesARepeaterWhereverTheImageLies)
{
    const GoldenCell golden = Learn({{}});
    for (int step = 0; step < 8; ++step)
    {
        CellScene bad;
        bad.seed = 50 + static_cast<std::uint64_t>(step);
        bad.shiftX = 4.1 * step;
        bad.shiftY = -3.3 * step;
        bad.repeater = -9.0;
        const CellComparison comparison = Compare(golden, bad);
        ASSERT_THAT(comparison.found, SizeIs(1)) << step;
        EXPECT_NEAR(comparison.found[0].x, 8, 1) << "places are those of the golden cell";
        EXPECT_NEAR(comparison.found[0].y, 6, 1);
        EXPECT_LT(comparison.found[0].difference, 0.0);
    }
}

TEST(GoldenCell, APitchThatIsALittleWrongBlursNothing)
{
    CellScene scene;
    const Recipe recipe = RecipeOf(scene);
    scene.pitchX = 32.53; // half a pixel over the image
    GoldenCellLearner learner(recipe);
    learner.Add(scene.Draw());
    const GoldenCell golden = learner.Finish();
    scene.seed = 3;
    EXPECT_THAT(CompareCell(golden, scene.Draw(), recipe).found, IsEmpty());
    scene.repeater = 8.0;
    EXPECT_THAT(CompareCell(golden, scene.Draw(), recipe).found, SizeIs(1));
}

TEST(GoldenCell, DefectsOfSomeCellsAreNotItsBusiness)
{
    const GoldenCell golden = Learn({{}});
    CellScene scene;
    scene.seed = 4;
    GreyImage image = scene.Draw();
    for (int y = 100; y < 140; ++y)
        for (int x = 200; x < 240; ++x)
            image.Row(y)[x] = 255;
    EXPECT_THAT(CompareCell(golden, image, RecipeOf(scene)).found, IsEmpty());
}

TEST(GoldenCell, ScatterOfGoodImagesIsAllowed)
{
    std::vector<CellScene> scenes(4);
    for (std::size_t i = 0; i < scenes.size(); ++i)
    {
        scenes[i].seed = 20 + i;
        scenes[i].repeater = i % 2 == 0 ? 3.0 : -3.0; // the spot is not the same in all good images
    }
    const GoldenCell golden = Learn(scenes);
    EXPECT_EQ(golden.images, 4);
    CellScene later;
    later.seed = 30;
    later.repeater = 4.0;
    EXPECT_THAT(Compare(golden, later).found, IsEmpty());
    EXPECT_THAT(Compare(Learn({{}}), later).found, SizeIs(1)) << "one good image has no scatter";
}

TEST(GoldenCell, CellsOfALatticeAreSlanted)
{
    const double ax = 20.25;
    const double ay = 5.5;
    const double bx = -6.0;
    const double by = 18.75;
    const auto draw = [&](double spot, std::uint64_t seed)
    {
        GreyImage image(600, 500);
        MixedNumbers numbers(seed);
        for (int y = 0; y < 500; ++y)
            for (int x = 0; x < 600; ++x)
            {
                const double s = (x * by - y * bx) / (ax * by - ay * bx);
                const double t = (y * ax - x * ay) / (ax * by - ay * bx);
                constexpr double dTurn = 2.0 * std::numbers::pi;
                double value = 120.0 + 30.0 * std::sin(dTurn * s) + 30.0 * std::cos(dTurn * t) +
                               static_cast<double>(numbers.Below(7));
                if (std::abs(s - std::floor(s) - 0.5) < 0.08 && std::abs(t - std::floor(t) - 0.5) < 0.08)
                    value += spot;
                image.Row(y)[x] = static_cast<std::uint8_t>(std::lround(value));
            }
        image.FillUpRows();
        return image;
    };
    Recipe recipe = SmallestParsed();
    recipe.mode = Mode_Lattice;
    recipe.latticeAX = ax;
    recipe.latticeAY = ay;
    recipe.latticeBX = bx;
    recipe.latticeBY = by;
    GoldenCellLearner learner(recipe);
    learner.Add(draw(0.0, 1));
    const GoldenCell golden = learner.Finish();
    EXPECT_THAT(CompareCell(golden, draw(0.0, 2), recipe).found, IsEmpty());
    const CellComparison comparison = CompareCell(golden, draw(10.0, 3), recipe);
    ASSERT_THAT(comparison.found, SizeIs(1));
    EXPECT_NEAR(comparison.found[0].x, 0.5 * std::hypot(ax, ay), 1.5);
    EXPECT_NEAR(comparison.found[0].y, 0.5 * std::hypot(bx, by), 1.5);
}

TEST(GoldenCell, ComesBackFromItsFile)
{
    const TestFolder folder;
    const GoldenCell golden = Learn({{}});
    SaveGoldenCells(folder / "cell.json", {golden});
    const std::vector<GoldenCell> read = LoadGoldenCells(folder / "cell.json");
    ASSERT_THAT(read, SizeIs(1));
    EXPECT_LT(cv::norm(read[0].mean, golden.mean, cv::NORM_INF), 0.001);
    EXPECT_LT(cv::norm(read[0].noise, golden.noise, cv::NORM_INF), 0.001);
    EXPECT_EQ(read[0].images, 1);
    EXPECT_EQ(read[0].cell.lattice.vectors[0].x, 32.5);
    CellScene bad;
    bad.repeater = 9.0;
    const CellComparison one = Compare(golden, bad);
    EXPECT_EQ(ComparisonText(Compare(read[0], bad)), ComparisonText(one));
    EXPECT_THAT(ComparisonText(one), HasSubstr("1 place of the cell differs"));
}

TEST(GoldenCell, DamagedFilesAreRefusedByField)
{
    const TestFolder folder;
    SaveGoldenCells(folder / "cell.json", {Learn({{}})});
    const nlohmann::json whole = nlohmann::json::parse(std::ifstream(folder / "cell.json"));
    const auto fieldOf = [&](const std::function<void(nlohmann::json&)>& change)
    {
        nlohmann::json document = whole;
        change(document);
        std::ofstream(folder / "bad.json") << document;
        const std::vector<Problem> found = ProblemsOf([&] { LoadGoldenCells(folder / "bad.json"); });
        return found.empty() ? std::string() : found[0].field;
    };
    EXPECT_EQ(fieldOf([](nlohmann::json&) {}), "");
    EXPECT_THAT(fieldOf([](nlohmann::json& d) { d = nlohmann::json::array(); }), HasSubstr("the file"));
    EXPECT_THAT(fieldOf([](nlohmann::json& d) { d["golden_cell"] = 2; }), HasSubstr("golden_cell"));
    EXPECT_THAT(fieldOf([](nlohmann::json& d) { d["regions"] = nlohmann::json::array(); }), HasSubstr("regions"));
    EXPECT_THAT(fieldOf([](nlohmann::json& d) { d["regions"][0] = 4; }), HasSubstr("regions[0]"));
    EXPECT_THAT(fieldOf([](nlohmann::json& d) { d["regions"][0]["vectors"][1] = {0.0, 0.0}; }), HasSubstr("vectors"));
    EXPECT_THAT(fieldOf([](nlohmann::json& d) { d["regions"][0]["vectors"][1] = {0.0, 1e9}; }), HasSubstr("vectors"));
    EXPECT_THAT(fieldOf([](nlohmann::json& d) { d["regions"][0]["origin"] = {1}; }), HasSubstr("origin"));
    EXPECT_THAT(fieldOf([](nlohmann::json& d) { d["regions"][0]["mean"].erase(3); }), HasSubstr("mean"));
    EXPECT_THAT(fieldOf([](nlohmann::json& d) { d["regions"][0]["mean"][2][5] = "x"; }), HasSubstr("mean"));
    EXPECT_THAT(fieldOf([](nlohmann::json& d) { d["regions"][0]["noise"][2][5] = -1; }), HasSubstr("noise"));
    EXPECT_THAT(fieldOf([](nlohmann::json& d) { d["regions"][0]["noise"][2].erase(0); }), HasSubstr("noise"));
}

TEST(GoldenCell, SaysWhatItCannotUse)
{
    const CellScene scene;
    Recipe recipe = RecipeOf(scene);
    const auto firstOf = [](const std::function<void()>& call)
    {
        const std::vector<Problem> found = ProblemsOf(call);
        return found.empty() ? std::string() : found[0].Text();
    };
    const auto learn = [&](const GreyImage& image)
    {
        GoldenCellLearner learner(recipe);
        learner.Add(image);
    };
    EXPECT_THAT(firstOf([&] { learn(GreyImage(640, 480, 90)); }), HasSubstr("no contrast"));
    EXPECT_THAT(firstOf([&] { learn(scene.Draw(60, 40)); }), HasSubstr("60 by 40"));
    EXPECT_THAT(firstOf([&] { GoldenCellLearner(recipe).Finish(); }), HasSubstr("images: none"));
    CellScene other;
    other.pitchX = 27.0;
    EXPECT_THAT(firstOf([&] { learn(other.Draw()); }), HasSubstr("the pitch may be another"));
    const GoldenCell golden = Learn({scene});
    EXPECT_THAT(firstOf([&] { CompareCell(golden, GreyImage(640, 480, 90), recipe); }), HasSubstr("resemble"));
    recipe.pitchX = 40.0;
    EXPECT_THAT(firstOf([&] { CompareCell(golden, scene.Draw(), recipe); }), HasSubstr("33 by 24"));
    recipe.pitchY = 0.0;
    EXPECT_THAT(firstOf([&] { GoldenCellLearner{recipe}; }), HasSubstr("no pitch along both axes"));
    EXPECT_THAT(ProblemsOf([] { CheckCellSettings({-1.0, 5.0, 2.0}); }), SizeIs(3));
    EXPECT_THAT(ProblemsOf([] { CheckCellSettings({}); }), IsEmpty());
}

TEST(GoldenCell, OnlyTheRegionCounts)
{
    const CellScene scene;
    Recipe recipe = RecipeOf(scene);
    recipe.region = CRect(120, 40, 600, 460);
    GreyImage image = scene.Draw();
    for (int y = 0; y < 480; ++y)
        for (int x = 0; x < 120; ++x)
            image.Row(y)[x] = 255;
    GoldenCellLearner learner(recipe);
    learner.Add(image);
    const GoldenCell golden = learner.Finish();
    EXPECT_EQ(CompareCell(golden, image, recipe).shown.leftOut, 0U);
    recipe.region.reset();
    EXPECT_GT(CompareCell(golden, image, recipe).shown.leftOut, 0U);
    recipe.regionPoints = {{130, 40}, {600, 60}, {560, 470}, {140, 440}};
    recipe.regionShape = RegionShape_Polygon;
    const CellComparison comparison = CompareCell(golden, image, recipe);
    EXPECT_THAT(comparison.found, IsEmpty());
    EXPECT_GE(comparison.shown.parts, 4U);
}

} // namespace

} // namespace narvo::test
