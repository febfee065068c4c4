// SPDX-License-Identifier: MIT
// Thresholds pixel by pixel: every place takes its own, in both directions, in bands and on re-runs.
#include "host/zones/region_maps.h"

#include <algorithm>
#include <random>

#include "host/pattern_help.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int nPitch = 20;
constexpr int nStep = 50;
constexpr int nSide = 5; ///< of a planted square

/// A scene of squares on flat grey, on a lattice that keeps them and their echoes apart.
struct Scene
{
    GreyImage image;
    CRect region;
    std::vector<CPoint> corners;
};

template <typename Keep>
Scene MakeScene(int width, int height, const CRect& region, Keep keep)
{
    Scene scene{GreyImage(width, height, 90), region, {}};
    for (int y = region.top + 2 * nPitch + 3; y < region.bottom - 3 * nPitch; y += 3 * nPitch + 7)
        for (int x = region.left + 2 * nPitch + 3; x < region.right - 3 * nPitch; x += 3 * nPitch + 9)
        {
            if (!keep(CPoint(x, y)))
                continue;
            scene.corners.emplace_back(x, y);
            for (int row = y; row < y + nSide; ++row)
                std::fill_n(scene.image.Row(row) + x, nSide, std::uint8_t{90 + nStep});
        }
    return scene;
}

Scene MakeScene(int width, int height, const CRect& region)
{
    return MakeScene(width, height, region, [](const CPoint&) { return true; });
}

/// Offsets that let nothing pass but at the squares of `wanted` and one pitch before them; around them not a pixel
/// more. At the other squares they are as high as the step.
std::shared_ptr<RegionMaps> MapsFor(const Scene& scene, const std::vector<bool>& wanted, bool vertical)
{
    const int width = scene.region.Width();
    const int height = scene.region.Height();
    std::vector<short> offset(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 1);
    for (std::size_t i = 0; i < scene.corners.size(); ++i)
        for (const int back : {0, nPitch})
            for (int y = 0; y < nSide; ++y)
                for (int x = 0; x < nSide; ++x)
                {
                    const int column = scene.corners[i].x - scene.region.left + x - (vertical ? 0 : back);
                    const int row = scene.corners[i].y - scene.region.top + y - (vertical ? back : 0);
                    offset[static_cast<std::size_t>(row * width + column)] = wanted[i] ? nStep - 1 : nStep;
                }
    auto maps = std::make_shared<RegionMaps>(width, height);
    maps->Set(RegionMaps::Map_Offset, offset.data(), width);
    return maps;
}

Recipe MapRecipe(const Scene& scene, bool vertical)
{
    Recipe recipe = SmallestParsed();
    recipe.pitchX = recipe.pitchY = nPitch;
    recipe.direction = vertical ? Direction_Vertical : Direction_Horizontal;
    recipe.region = scene.region;
    recipe.mergeDistance = 0;
    return recipe;
}

std::vector<bool> SomeOf(const Scene& scene, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<bool> wanted;
    for (std::size_t i = 0; i < scene.corners.size(); ++i)
        wanted.push_back(random() % 2 == 0);
    return wanted;
}

void ExpectOnlyTheWanted(const Scene& scene, const std::vector<bool>& wanted, const InspectionResult& result)
{
    EXPECT_THAT(result.warnings, IsEmpty());
    std::vector<CRect> expected;
    for (std::size_t i = 0; i < scene.corners.size(); ++i)
        if (wanted[i])
            expected.emplace_back(scene.corners[i].x, scene.corners[i].y, scene.corners[i].x + nSide,
                                  scene.corners[i].y + nSide);
    std::vector<CRect> found;
    for (const Blob& blob : result.blobs)
    {
        found.push_back(blob.box);
        EXPECT_EQ(blob.area, nSide * nSide);
        EXPECT_EQ(blob.peak, 1);
        EXPECT_TRUE(blob.bright);
    }
    const auto byPlace = [](const CRect& a, const CRect& b)
    { return a.top != b.top ? a.top < b.top : a.left < b.left; };
    std::sort(found.begin(), found.end(), byPlace);
    std::sort(expected.begin(), expected.end(), byPlace);
    EXPECT_EQ(found, expected);
}

} // namespace

class RegionMapsBothWays : public testing::TestWithParam<bool>
{
};

TEST_P(RegionMapsBothWays, EveryPixelTakesItsOwnThreshold)
{
    const Scene scene = MakeScene(645, 500, CRect(7, 5, 639, 493));
    const std::vector<bool> wanted = SomeOf(scene, 1);
    Recipe recipe = MapRecipe(scene, GetParam());
    recipe.maps = MapsFor(scene, wanted, GetParam());
    ExpectOnlyTheWanted(scene, wanted, Inspector(1, 1000).Inspect(0, scene.image, CheckedRecipe(recipe)));
}

TEST_P(RegionMapsBothWays, WideRegionTakesItsOwnThresholdsInEveryBand)
{
    // Four bands of 2048 columns; a square on a seam would come in two pieces.
    const CRect region(21, 9, 8295, 290);
    const Scene scene = MakeScene(8300, 300, region,
                                  [&](const CPoint& corner)
                                  {
                                      const int inBand = (corner.x - region.left) % 2048;
                                      return corner.x > region.left + 4 * 2048 || inBand + nSide <= 2048;
                                  });
    const std::vector<bool> wanted = SomeOf(scene, 2);
    for (const bool split : {true, false})
    {
        Recipe recipe = MapRecipe(scene, GetParam());
        recipe.maps = MapsFor(scene, wanted, GetParam());
        recipe.bandSplit = split;
        ExpectOnlyTheWanted(scene, wanted, Inspector(1, 1000).Inspect(0, scene.image, CheckedRecipe(recipe)));
    }
}

TEST_P(RegionMapsBothWays, ReRunContinuesWithTheSameMaps)
{
    // The first part of the region is so full of hits that the pass stops there; behind it lie the squares.
    const bool vertical = GetParam();
    const int full = 320;
    const CRect region(0, 0, vertical ? 900 : 1400, vertical ? 1400 : 900);
    Scene scene =
        MakeScene(region.right, region.bottom, region,
                  [&](const CPoint& corner) { return (vertical ? corner.x : corner.y) >= full + 4 * nPitch; });
    for (int y = 0; y < (vertical ? scene.image.Height() : full); ++y)
        for (int x = 0; x < (vertical ? full : scene.image.Width()); ++x)
            scene.image.Row(y)[x] = (vertical ? y : x) / nPitch % 2 == 0 ? 60 : 180;
    const std::vector<bool> wanted = SomeOf(scene, 4);
    Recipe recipe = MapRecipe(scene, vertical);
    recipe.bandSplit = false;
    recipe.maps = MapsFor(scene, wanted, vertical);
    InspectionResult result = Inspector(1, 5000).Inspect(0, scene.image, CheckedRecipe(recipe));
    EXPECT_GE(result.reruns, 1);
    std::erase_if(result.blobs,
                  [&](const Blob& blob) { return (vertical ? blob.box.left : blob.box.top) < full + 2 * nPitch; });
    result.warnings.clear();
    ExpectOnlyTheWanted(scene, wanted, result);
}

INSTANTIATE_TEST_SUITE_P(Directions, RegionMapsBothWays, testing::Values(true, false),
                         [](const testing::TestParamInfo<bool>& way) { return way.param ? "Vertical" : "Horizontal"; });

TEST(RegionMaps, GainsZonesAndUpperSegmentComeFromTheirMaps)
{
    const Scene scene = MakeScene(400, 400, CRect(0, 0, 400, 400));
    const std::size_t pixels = 400 * 400;
    auto maps = std::make_shared<RegionMaps>(400, 400);
    // The larger value is 140: threshold 10 + 140 * 64 / 256 = 45 above the knee, 10 + 140 * 128 / 256 = 80 below it.
    std::vector<short> values(pixels, 10);
    maps->Set(RegionMaps::Map_Offset, values.data(), 400);
    maps->Set(RegionMaps::Map_UpperOffset, values.data(), 400);
    values.assign(pixels, 128);
    maps->Set(RegionMaps::Map_Gain, values.data(), 400);
    values.assign(pixels, 64);
    maps->Set(RegionMaps::Map_UpperGain, values.data(), 400);
    // The knee lies below 140 in the left half only.
    for (std::size_t i = 0; i < pixels; ++i)
        values[i] = i % 400 < 200 ? 139 : 140;
    maps->Set(RegionMaps::Map_Knee, values.data(), 400);
    for (std::size_t i = 0; i < pixels; ++i)
        values[i] = i / 400 < 200 ? 3 : 7;
    maps->Set(RegionMaps::Map_Zone, values.data(), 400);
    Recipe recipe = MapRecipe(scene, true);
    recipe.maps = maps;
    recipe.twoSegment = true;
    recipe.zones.resize(2);
    recipe.zones[0].index = 3;
    recipe.zones[1].index = 7;
    const InspectionResult result = Inspector(1, 1000).Inspect(0, scene.image, CheckedRecipe(recipe));
    const auto left = std::count_if(scene.corners.begin(), scene.corners.end(),
                                    [](const CPoint& corner) { return corner.x + nSide <= 200; });
    EXPECT_GE(left, 4);
    EXPECT_THAT(result.blobs, SizeIs(left));
    for (const Blob& blob : result.blobs)
    {
        EXPECT_LE(blob.box.right, 200);
        EXPECT_EQ(blob.peak, 5);
        EXPECT_EQ(blob.zone, blob.box.top < 200 ? 3 : 7);
    }
}

TEST(RegionMaps, ValuesOutsideTheirRangeAreRefusedWithTheirPlace)
{
    RegionMaps maps(3, 2);
    const short values[6] = {0, 1, 2, 3, 300, 5};
    EXPECT_THAT(ProblemsOf([&] { maps.Set(RegionMaps::Map_Gain, values, 3); }),
                ElementsAre(IsProblem("maps, gain", "300 at column 1, row 1", "0 to 256")));
    EXPECT_THAT(ProblemsOf([&] { RegionMaps(0, 5); }), SizeIs(1));
    EXPECT_THAT(ProblemsOf([&] { RegionMaps(200000, 200000); }), SizeIs(1));
}

TEST(RegionMaps, RecipeThatDoesNotSuitThemIsRefused)
{
    const Scene scene = MakeScene(400, 400, CRect(0, 0, 400, 400));
    Recipe recipe = MapRecipe(scene, true);
    auto maps = std::make_shared<RegionMaps>(400, 399);
    const std::vector<short> zones(400 * 399, 4);
    maps->Set(RegionMaps::Map_Zone, zones.data(), 400);
    recipe.maps = maps;
    recipe.zones[0].index = 4;
    EXPECT_THAT(ProblemsOf([&] { Inspector(1, 1000).Inspect(0, scene.image, CheckedRecipe(recipe)); }),
                ElementsAre(IsProblem("maps", "400 by 399 pixels", "400 by 400 pixels, the size of the region")));
    recipe.zones[0].index = 5;
    recipe.twoSegment = true;
    EXPECT_THAT(ProblemsOf([&] { Inspector(1, 1000).Inspect(0, scene.image, CheckedRecipe(recipe)); }),
                ElementsAre(IsAbout("kernel.two_segment"), IsProblem("maps, zone", "4", "the zones of zones.list")));
    Recipe pixel = ParseRecipe(SmallestRecipe("pixel"), {});
    pixel.maps = maps;
    EXPECT_THAT(ProblemsOf([&] { Inspector(1, 1000).Inspect(0, scene.image, CheckedRecipe(pixel)); }),
                ElementsAre(IsProblem("maps", "given", "none in pixel mode")));
}

} // namespace narvo::test
