// SPDX-License-Identifier: MIT
// The host library as a program uses it: by its public headers and its exported symbols alone.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/problem_fields.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

using testing::Contains;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int nPitchX = 32;
constexpr int nPitchY = 24;
constexpr int nHeight = 288;

/// A pattern with a bright square of 4 by 4 pixels at each place, in rows of `stride` bytes; `gap` fills the rest.
template <typename T>
std::vector<T> Picture(int width, int stride, const std::vector<Box>& squares, int scale = 1, T gap = 0)
{
    std::vector<T> pixels(static_cast<std::size_t>(stride) * nHeight, gap);
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < width; ++x)
        {
            int value = x % nPitchX < 12 && y % nPitchY < 16 ? 150 : 60;
            for (const Box& box : squares)
                if (x >= box.left && x < box.left + 4 && y >= box.top && y < box.top + 4)
                    value = 230;
            pixels[static_cast<std::size_t>(y) * stride + x] = static_cast<T>(value * scale);
        }
    return pixels;
}

RecipeDraft Draft(const char* mode = "pixel")
{
    RecipeDraft draft;
    draft.Set("mode", mode).Set("pitch.x", nPitchX).Set("pitch.y", nPitchY);
    if (std::string(mode) == "pixel")
        draft.Set("threshold.base", 25);
    return draft;
}

bool Reports(const std::vector<Report>& reports, const Box& square)
{
    for (const Defect& defect : reports.at(0).defects)
        if (defect.bright && defect.box.left <= square.left + 2 && defect.box.right >= square.left + 2 &&
            defect.box.top <= square.top + 2 && defect.box.bottom >= square.top + 2)
            return true;
    return false;
}

} // namespace

TEST(HostLibrary, FindsTheDefectsOfTheOuterPitchesOrSaysWhichColumnsItLeavesOut)
{
    Inspector inspector;
    for (const char* direction : {"vertical", "horizontal"})
    {
        const Recipe recipe = Draft().Set("direction", direction).Check();
        for (int width = 508; width <= 516; ++width)
        {
            const int whole = width / 16 * 16;
            const bool vertical = std::string(direction) == "vertical";
            const std::vector<Box> squares = {vertical ? Box{200, 6, 0, 0} : Box{8, 100, 0, 0},
                                              {300, 140, 0, 0},
                                              vertical ? Box{400, nHeight - 10, 0, 0} : Box{whole - 12, 200, 0, 0}};
            const auto pixels = Picture<std::uint8_t>(width, width, squares);
            const std::vector<Report> reports = inspector.Inspect({pixels.data(), width, nHeight}, recipe);
            ASSERT_THAT(reports, SizeIs(1));
            EXPECT_EQ(reports[0].code, 1);
            if (whole == width)
                EXPECT_THAT(reports[0].warnings, IsEmpty());
            else
                EXPECT_THAT(reports[0].warnings,
                            testing::ElementsAre(testing::StartsWith("columns " + std::to_string(whole) + " to " +
                                                                     std::to_string(width - 1))));
            EXPECT_THAT(reports[0].defects, SizeIs(3)) << direction << ' ' << width;
            for (const Box& square : squares)
                EXPECT_TRUE(Reports(reports, square)) << direction << ' ' << width << ": " << square.left;
        }
    }
}

TEST(HostLibrary, WhatLiesBetweenRowsDoesNotMatter)
{
    Inspector inspector;
    const Recipe recipe = Draft().Check();
    const std::vector<Box> squares = {{498, 4, 0, 0}, {6, 140, 0, 0}};
    for (const std::uint8_t gap : {std::uint8_t{0}, std::uint8_t{255}})
    {
        const auto pixels = Picture<std::uint8_t>(512, 777, squares, 1, gap);
        const std::vector<Report> reports = inspector.Inspect({pixels.data(), 512, nHeight, 777}, recipe);
        EXPECT_THAT(reports[0].defects, SizeIs(2));
    }
}

TEST(HostLibrary, TakesSixteenBitPixels)
{
    Inspector inspector;
    const auto pixels = Picture<std::uint16_t>(510, 600, {{300, 100, 0, 0}}, 16);
    const std::vector<Report> reports = inspector.Inspect({pixels.data(), 510, nHeight, 1200, 12}, Draft().Check());
    EXPECT_THAT(reports[0].defects, SizeIs(1));
    EXPECT_TRUE(Reports(reports, {300, 100, 0, 0}));
}

TEST(HostLibrary, RefusesImagesThatItCannotRead)
{
    Inspector inspector;
    const Recipe recipe = Draft().Check();
    const std::vector<std::uint8_t> pixels(512 * nHeight);
    const std::vector<std::uint16_t> wide(512 * nHeight);
    const auto fieldsOf = [&](const ImagePixels& image)
    { return FieldsOf(Attempt([&] { inspector.Inspect(image, recipe); })); };
    constexpr int nMost = std::numeric_limits<int>::max();

    EXPECT_THAT(fieldsOf({}), Contains("image.pixels"));
    EXPECT_THAT(fieldsOf({static_cast<const std::uint8_t*>(nullptr), 512, nHeight}), Contains("image.pixels"));
    for (const int side : {0, -1, -nMost, 1048577, nMost})
    {
        EXPECT_THAT(fieldsOf({pixels.data(), side, nHeight}), Contains("image.width")) << side;
        EXPECT_THAT(fieldsOf({pixels.data(), 512, side}), Contains("image.height")) << side;
    }
    EXPECT_THAT(fieldsOf({pixels.data(), 1048576, 1048576}), Contains("image.width"));
    for (const std::ptrdiff_t stride : {std::ptrdiff_t{511}, std::ptrdiff_t{-512}, std::ptrdiff_t{1} << 60})
        EXPECT_THAT(fieldsOf({pixels.data(), 512, nHeight, stride}), Contains("image.stride")) << stride;
    EXPECT_THAT(fieldsOf({wide.data(), 512, nHeight, 1025}), Contains("image.stride"));
    for (const int bits : {-1, 0, 7, 17, nMost})
        EXPECT_THAT(fieldsOf({wide.data(), 512, nHeight, 0, bits}), Contains("image.bits")) << bits;

    ImagePixels odd(wide.data(), 500, 100);
    odd.pixels = pixels.data() + (reinterpret_cast<std::uintptr_t>(pixels.data()) % 2 == 0 ? 1 : 0);
    EXPECT_THAT(fieldsOf(odd), Contains("image.pixels"));
    EXPECT_THAT(fieldsOf({pixels.data(), 512, 40}), testing::Not(IsEmpty())); // less than three pitches

    EXPECT_THAT(inspector.Inspect({pixels.data(), 512, nHeight}, recipe)[0].defects, IsEmpty()); // still usable
}

TEST(HostLibrary, RefusesRecipesWithFieldValueAndWhatIsAllowed)
{
    const auto fieldsOf = [](const RecipeDraft& draft) { return FieldsOf(Attempt([&] { draft.Check(); })); };
    EXPECT_THAT(fieldsOf(Draft("no such mode")), Contains("mode"));
    EXPECT_THAT(fieldsOf(Draft().Set("threshold.base", 100000)), Contains("threshold.base"));
    EXPECT_THAT(fieldsOf(Draft().Set("no_such_field", 1)), Contains("no_such_field"));
    EXPECT_THAT(fieldsOf(Draft().Set("multiple.x", 0)), Contains("multiple.x"));
    EXPECT_THAT(fieldsOf(Draft().Set("pitch.x", std::numeric_limits<double>::quiet_NaN())), Contains("pitch.x"));
    EXPECT_THAT(fieldsOf(Draft().Set("pitch", "wide").Set("threshold.base", true)), SizeIs(testing::Ge(2)));
    EXPECT_THAT(fieldsOf(RecipeDraft()), testing::Not(IsEmpty()));
    EXPECT_THAT(fieldsOf(Draft().Set("name", "\xff")), SizeIs(1));
    EXPECT_THAT(fieldsOf(Draft().Set("\xff", 1)), SizeIs(1));
    std::string deep;
    for (int level = 0; level < 500000; ++level)
        deep += "a.";
    EXPECT_THAT(fieldsOf(Draft().Set(deep, 1)), SizeIs(1));
    EXPECT_THROW(Draft().SetJson("zones.list", "[{"), Error);
    EXPECT_THROW(Draft().SetZoneImage({}), Error);
    EXPECT_THROW(Recipe::FromText("no recipe"), Error);
    EXPECT_THROW(Recipe::FromFile("no such file.json"), Error);
    try
    {
        Draft().Set("threshold.base", 100000).Check();
        FAIL();
    }
    catch (const Error& error)
    {
        ASSERT_THAT(error.Problems(), SizeIs(1));
        EXPECT_EQ(error.Problems()[0].value, "100000");
        EXPECT_FALSE(error.Problems()[0].allowed.empty());
        EXPECT_THAT(error.what(), testing::StartsWith("threshold.base: 100000; allowed: "));
    }
}

TEST(HostLibrary, ObjectsThatWereMovedFromRefuse)
{
    RecipeDraft draft = Draft();
    const RecipeDraft taken = std::move(draft);
    Recipe recipe = taken.Check();
    const Recipe moved = std::move(recipe);
    const std::vector<std::uint8_t> pixels(512 * nHeight);
    Inspector inspector;
    EXPECT_THROW(inspector.Inspect({pixels.data(), 512, nHeight}, recipe), Error);
    EXPECT_THROW(recipe.Text(), Error);
    EXPECT_THROW(recipe.Regions(), Error);
    EXPECT_THROW(draft.Check(), Error);
    EXPECT_EQ(draft.Set("mode", "binarise")
                  .Set("version", 1)
                  .Set("mode", "pixel")
                  .Set("threshold.base", 25)
                  .Set("pitch.x", nPitchX)
                  .Set("pitch.y", nPitchY)
                  .Check()
                  .Text(),
              moved.Text());
}

TEST(HostLibrary, RefusesLaneCountsOutsideTheirRange)
{
    for (const int lanes : {0, -1, 257, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        EXPECT_THAT(FieldsOf(Attempt([&] { Inspector inspector(lanes); })), SizeIs(1)) << lanes;
}

TEST(HostLibrary, ZonesArePaintedInMemory)
{
    std::vector<std::uint8_t> cell(nPitchX * nPitchY, 1);
    for (int y = 0; y < nPitchY; ++y)
        for (int x = 16; x < nPitchX; ++x)
            cell[static_cast<std::size_t>(y) * nPitchX + x] = 2;
    const Recipe recipe = Draft("zone")
                              .SetZoneImage({cell.data(), nPitchX, nPitchY})
                              .SetJson("zones.list", R"([{"index": 1, "offset": 25}, {"index": 2, "dead": true}])")
                              .Check();
    Inspector inspector;
    const auto pixels = Picture<std::uint8_t>(510, 510, {{5 * nPitchX + 4, 100, 0, 0}, {7 * nPitchX + 22, 100, 0, 0}});
    const std::vector<Report> reports = inspector.Inspect({pixels.data(), 510, nHeight}, recipe);
    ASSERT_THAT(reports[0].defects, SizeIs(1));
    EXPECT_EQ(reports[0].defects[0].zone, 1);
}

TEST(HostLibrary, RegionMapsHaveAThresholdForEachPixel)
{
    constexpr int nWidth = 512;
    constexpr int nStride = 600;
    std::vector<std::int16_t> offsets(static_cast<std::size_t>(nStride) * nHeight, -1); // gaps are not read
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < nWidth; ++x)
            offsets[static_cast<std::size_t>(y) * nStride + x] = static_cast<std::int16_t>(x < 256 ? 25 : 256);
    RecipeDraft draft = Draft("zone");
    draft.SetRegionMap(RegionMap::Offset, {offsets.data(), nWidth, nHeight, nStride});
    const Recipe recipe = draft.Check();
    const std::vector<Box> squares = {{100, 140, 0, 0}, {400, 140, 0, 0}};
    const auto pixels = Picture<std::uint8_t>(nWidth, nWidth, squares);
    Inspector inspector;
    const std::vector<Report> reports = inspector.Inspect({pixels.data(), nWidth, nHeight}, recipe);
    ASSERT_THAT(reports[0].defects, SizeIs(1));
    EXPECT_TRUE(Reports(reports, squares[0]));

    // A recipe keeps its maps while the draft goes on.
    std::fill(offsets.begin(), offsets.end(), std::int16_t{256});
    draft.SetRegionMap(RegionMap::Offset, {offsets.data(), nWidth, nHeight, nStride});
    EXPECT_THAT(inspector.Inspect({pixels.data(), nWidth, nHeight}, recipe)[0].defects, SizeIs(1));
    EXPECT_THAT(inspector.Inspect({pixels.data(), nWidth, nHeight}, draft.Check())[0].defects, IsEmpty());

    const auto fieldsOf = [&](RegionMap map, const MapValues& values)
    { return FieldsOf(Attempt([&] { draft.SetRegionMap(map, values); })); };
    EXPECT_THAT(fieldsOf(RegionMap::Zone, {nullptr, nWidth, nHeight}), Contains("map.values"));
    EXPECT_THAT(fieldsOf(RegionMap::Zone, {offsets.data(), 0, nHeight}), Contains("map.width"));
    EXPECT_THAT(fieldsOf(RegionMap::Zone, {offsets.data(), nWidth, -1}), Contains("map.height"));
    EXPECT_THAT(fieldsOf(RegionMap::Zone, {offsets.data(), nWidth, nHeight, 511}), Contains("map.stride"));
    EXPECT_THAT(fieldsOf(RegionMap::Zone, {offsets.data(), nWidth, nHeight - 1}), Contains("map"));
    EXPECT_THAT(fieldsOf(RegionMap::Zone, {offsets.data(), nWidth, nHeight}), Contains("maps, zone"));
    EXPECT_THAT(fieldsOf(static_cast<RegionMap>(7), {offsets.data(), nWidth, nHeight}), Contains("map"));
    EXPECT_THROW(recipe.CheckSize(nWidth, nHeight - 1), Error);
    EXPECT_THROW(recipe.Save("maps.recipe.json"), Error);
    EXPECT_THROW(Draft().SetRegionMap(RegionMap::Gain, {offsets.data(), 8, 8}).Check(), Error);
}

TEST(HostLibrary, TablesComeWithTheirLength)
{
    const std::vector<double> pitches((nHeight + 15) / 16, 24.0);
    const auto fieldsOf = [&](const double* values, std::size_t count)
    {
        return FieldsOf(
            Attempt([&] { Draft().SetList("tables.scan_pitch", values, count).Check().CheckSize(512, nHeight); }));
    };
    EXPECT_THAT(fieldsOf(pitches.data(), pitches.size()), IsEmpty());
    EXPECT_THAT(fieldsOf(pitches.data(), pitches.size() - 1), Contains("tables.scan_pitch"));
    EXPECT_THAT(fieldsOf(nullptr, 18), Contains("tables.scan_pitch"));
    const double infinite = std::numeric_limits<double>::infinity();
    EXPECT_THAT(fieldsOf(&infinite, 1), SizeIs(1));
}

TEST(HostLibrary, RegionsReportInTheirOrder)
{
    const Recipe recipe = Recipe::FromText(
        R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 25}, "regions": [
            {"name": "left", "region": {"left": 0, "top": 0, "right": 256, "bottom": 288}},
            {"name": "right", "region": {"left": 256, "top": 0, "right": 510, "bottom": 288}}]})");
    EXPECT_EQ(recipe.Regions(), 2U);
    EXPECT_EQ(Recipe::FromText(recipe.Text()).Text(), recipe.Text());
    Inspector inspector;
    const auto pixels = Picture<std::uint8_t>(510, 510, {{400, 100, 0, 0}});
    const std::vector<Report> reports = inspector.Inspect({pixels.data(), 510, nHeight}, recipe);
    ASSERT_THAT(reports, SizeIs(2));
    EXPECT_EQ(reports[0].name, "left");
    EXPECT_THAT(reports[0].defects, IsEmpty());
    EXPECT_THAT(reports[1].defects, SizeIs(1));
    EXPECT_THROW(recipe.CheckSize(400, nHeight), Error);
    for (const int side : {0, -1, 1048577, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
    {
        EXPECT_THAT(FieldsOf(Attempt([&] { recipe.CheckSize(side, nHeight); })), testing::ElementsAre("width")) << side;
        EXPECT_THAT(FieldsOf(Attempt([&] { recipe.CheckSize(512, side); })), testing::ElementsAre("height")) << side;
    }
}

TEST(HostLibrary, MoreThreadsThanLanesShareAnInspector)
{
    Inspector inspector(2);
    const Recipe recipe = Draft().Check();
    std::vector<int> wrong(6);
    std::vector<std::thread> threads;
    for (int i = 0; i < 6; ++i)
        threads.emplace_back(
            [&, i]
            {
                // Two sizes, so that the plans that the recipe keeps are replaced while others use them.
                const int width = i % 2 == 0 ? 510 : 512;
                const std::vector<Box> squares(static_cast<std::size_t>(1), Box{100 + 40 * i, 100, 0, 0});
                const auto pixels = Picture<std::uint8_t>(width, width, squares);
                for (int run = 0; run < 10; ++run)
                {
                    const std::vector<Report> reports = inspector.Inspect({pixels.data(), width, nHeight}, recipe);
                    wrong[static_cast<std::size_t>(i)] +=
                        reports[0].defects.size() != 1 || !Reports(reports, squares[0]);
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(wrong, testing::Each(0));
}

TEST(HostLibrary, AttemptLetsOtherExceptionsPass)
{
    EXPECT_THAT(Attempt([] {}), IsEmpty());
    EXPECT_THROW(Attempt([] { throw std::logic_error("the host's own"); }), std::logic_error);
    EXPECT_THAT(Attempt([] { throw std::bad_alloc(); }), Contains(Field(&Problem::field, "memory")));
}

} // namespace narvo::test
