// SPDX-License-Identifier: MIT
// Images, their rules, shapes of regions and capability by the public headers.
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/host_pictures.h"
#include "support/test_folder.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

std::vector<std::uint8_t> BytesOf(const ImagePixels& pixels)
{
    std::vector<std::uint8_t> bytes;
    for (int y = 0; y < pixels.height; ++y)
    {
        const auto* row = static_cast<const std::uint8_t*>(pixels.pixels) + y * pixels.stride;
        bytes.insert(bytes.end(), row, row + pixels.width);
    }
    return bytes;
}

/// The only problem of a call that must refuse.
Problem ProblemOf(const std::function<void()>& call)
{
    const std::vector<Problem> problems = Attempt(call);
    EXPECT_THAT(problems, SizeIs(1));
    return problems.empty() ? Problem{} : problems.front();
}

const char* const recipeText = R"({"version": 1, "name": "panel", "mode": "pixel", "direction": "horizontal",
    "pitch": {"x": 32, "y": 24}, "threshold": {"base": 24}})";

} // namespace

TEST(HostImages, AFileComesBackAsItWasWritten)
{
    const std::vector<std::uint8_t> pixels = {0, 50, 100, 150, 200, 255};
    const TestFolder folder;
    const std::filesystem::path file = folder / "grey.png";
    SaveImage(file, {pixels.data(), 3, 2});
    ImageNotes notes;
    const Image image = Image::FromFile(file, {}, &notes);
    EXPECT_EQ(image.Width(), 3);
    EXPECT_EQ(image.Height(), 2);
    EXPECT_EQ(image.Channels(), 1);
    EXPECT_THAT(BytesOf(image.Pixels()), ElementsAreArray(pixels));
    EXPECT_THAT(notes.Take(), IsEmpty());
}

TEST(HostImages, RulesChooseTheChannelOfAColourFile)
{
    const std::vector<std::uint8_t> pixels = {10, 20, 30, 40, 50, 60};
    const TestFolder folder;
    const std::filesystem::path file = folder / "colour.png";
    SaveImage(file, {pixels.data(), 2, 1, 3});
    const auto green = ImageRules::FromText(R"({"channel": "green"})");
    EXPECT_THAT(BytesOf(Image::FromFile(file, green).Pixels()), ElementsAre(20, 50));
    const auto each = ImageRules::FromText(R"({"channel": "each"})");
    EXPECT_TRUE(each.InspectsEachColour());
    const Image image = Image::FromFile(file, each);
    ASSERT_EQ(image.Channels(), 3);
    EXPECT_THAT(BytesOf(image.ChannelPixels(0)), ElementsAre(10, 40));
    EXPECT_THAT(BytesOf(image.ChannelPixels(2)), ElementsAre(30, 60));
    EXPECT_EQ(ProblemOf([&] { image.ChannelPixels(3); }).allowed, "0 to 2");
}

TEST(HostImages, WhatIsLostIsNotedOnce)
{
    const std::vector<std::uint8_t> pixels = {10, 200, 30};
    ImageNotes notes;
    Image::FromPixels({pixels.data(), 1, 1, 3}, {}, &notes);
    EXPECT_THAT(notes.Take(), ElementsAre(HasSubstr("pixels")));
    Image::FromPixels({pixels.data(), 1, 1, 3}, {}, &notes);
    EXPECT_THAT(notes.Take(), IsEmpty());
}

TEST(HostImages, FramesAndDeepPixelsFollowTheRules)
{
    const auto rules = ImageRules::FromText(R"({"raw": {"format": "Mono8", "width": 2, "height": 2, "offset": 1}})");
    ASSERT_TRUE(rules.NamesRawFormat());
    const std::vector<std::uint8_t> frame = {99, 1, 2, 3, 4};
    EXPECT_THAT(BytesOf(Image::FromFrame(frame.data(), frame.size(), rules).Pixels()), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(ProblemOf([&] { Image::FromFrame(frame.data(), 3, rules); }).field, "frame");
    EXPECT_EQ(ProblemOf([&] { Image::FromFrame(frame.data(), 3, {}); }).field, "rules");
    const std::vector<std::uint16_t> deep = {0, 500, 1000};
    const auto levels = ImageRules::FromText(R"({"levels": {"low": 0, "high": 1000}})");
    EXPECT_THAT(BytesOf(Image::FromPixels({deep.data(), 3, 1, 1, 16}, levels).Pixels()), ElementsAre(0, 128, 255));
}

TEST(HostImages, RulesOfARecipeAreItsSection)
{
    const Recipe recipe = Recipe::FromText(
        R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 24},
            "image": {"channel": "each"}})");
    EXPECT_TRUE(ImageRules::Of(recipe).InspectsEachColour());
    EXPECT_FALSE(ImageRules::Of(recipe).NamesRawFormat());
    EXPECT_EQ(ProblemOf([&] { ImageRules::Of(recipe, 1); }).allowed, "0 to 0 of the recipe");
}

TEST(HostImages, BadInputIsNamed)
{
    EXPECT_EQ(ProblemOf([] { ImageRules::FromText("[1]"); }).field, "image");
    EXPECT_EQ(ProblemOf([] { ImageRules::FromText("{"); }).value, "no JSON");
    EXPECT_EQ(ProblemOf([] { ImageRules::FromText(R"({"chanel": "red"})"); }).field, "image.chanel");
    const TestFolder folder;
    EXPECT_EQ(ProblemOf([&] { Image::FromFile(folder / "none.png", {}, nullptr, 0); }).field, "max_pixels");
    EXPECT_THAT(Attempt([&] { Image::FromFile(folder / "none.png"); }), SizeIs(1));
    EXPECT_THAT(Attempt([] { Image::FromPixels({nullptr, 0, -1, 2, 9}); }), SizeIs(5));
    const std::uint8_t pixel = 7;
    EXPECT_EQ(ProblemOf([&] { Image::FromPixels({&pixel, 1048576, 1048576}); }).field, "pixels.width");
    EXPECT_EQ(ProblemOf([&] { SaveImage("x.png", {&pixel, 1, 1, 4}); }).field, "pixels.channels");
    EXPECT_EQ(ProblemOf([&] { SaveImage("x.png", {&pixel, 70000, 1, 3}); }).field, "pixels.width");
    EXPECT_THAT(Attempt([&] { SaveImage(folder / "image.unknown", {&pixel, 1, 1}); }), SizeIs(1));
    Image image = Image::FromPixels({&pixel, 1, 1});
    const Image moved = std::move(image);
    EXPECT_EQ(ProblemOf([&] { image.Width(); }).value, "moved from"); // NOLINT: that is what is tested
    EXPECT_EQ(moved.Width(), 1);
}

TEST(HostImages, MeansOfFilesAreIn256thsOfTheirValues)
{
    const std::vector<std::vector<std::uint8_t>> frames = {{10, 20, 30}, {11, 20, 31}};
    const TestFolder folder;
    std::vector<std::filesystem::path> files;
    for (const std::vector<std::uint8_t>& frame : frames)
    {
        files.push_back(folder / ("frame" + std::to_string(files.size()) + ".png"));
        SaveImage(files.back(), {frame.data(), 1, 1, 3});
    }
    const FieldMean mean = MeanOfFiles(files);
    EXPECT_EQ(mean.channels, 3);
    EXPECT_THAT(mean.values, ElementsAre(2688, 5120, 7808));
    EXPECT_THAT(Attempt([] { MeanOfFiles({}); }), SizeIs(1));
    EXPECT_DOUBLE_EQ(mean.low, 10.5);
    EXPECT_DOUBLE_EQ(mean.high, 30.5);
    EXPECT_NEAR(mean.mean, 122.0 / 6.0, 1e-12);
    EXPECT_EQ(mean.saturated, 0);
}

TEST(HostImages, FieldsAreWrittenForRecipes)
{
    const TestFolder folder;
    const FieldMean flat{2, 1, 3, {2688, 5120, 7808, 30000, 40000, 50000}};
    SaveField(folder / "flat.png", flat);
    const Recipe recipe = Recipe::FromText(
        R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 20},
            "image": {"flat_field": "flat.png"}})",
        folder.Path());
    const FieldPixels read = FieldOf(recipe, LightField::Flat);
    EXPECT_EQ(read.bits, 16);
    ASSERT_EQ(read.bytes.size(), 2 * flat.values.size());
    std::vector<std::uint16_t> values(flat.values.size());
    std::memcpy(values.data(), read.bytes.data(), read.bytes.size());
    EXPECT_EQ(values, flat.values);

    const auto fieldOf = [&](const FieldMean& field)
    { return ProblemOf([&] { SaveField(folder / "other.png", field); }).field; };
    EXPECT_EQ(fieldOf({0, 1, 1, {7}}), "field.width");
    EXPECT_EQ(fieldOf({1, 1048577, 1, {7}}), "field.height");
    EXPECT_EQ(fieldOf({1, 1, 4, {7, 7, 7, 7}}), "field.channels");
    EXPECT_EQ(fieldOf({1, 1, 3, {7}}), "field.values");
    EXPECT_EQ(fieldOf({2, 1, 1, {7}}), "field.values");
    EXPECT_EQ(fieldOf({1, 1, 1, {}}), "field.pixels");
    EXPECT_FALSE(std::filesystem::exists(folder / "other.png"));
    EXPECT_THROW(SaveField(folder / "flat.jpg", flat), WriteError);
    EXPECT_THROW(SaveField(folder / "none" / "flat.png", flat), WriteError);
}

TEST(HostImages, InspectionsOfColoursSeeEachOfThem)
{
    const Picture8 pattern = PeriodicPicture(480, 360, 32, 24);
    std::vector<std::uint8_t> colours;
    for (const std::uint8_t grey : pattern.pixels)
        colours.insert(colours.end(), {grey, grey, grey});
    for (int y = 150; y < 156; ++y)
        for (int x = 200; x < 206; ++x)
            colours[static_cast<std::size_t>((y * 480 + x) * 3 + 2)] = 240; // in blue alone
    const Recipe plain = Recipe::FromText(recipeText);
    std::string text = recipeText;
    text.insert(text.rfind('}'), R"(, "image": {"channel": "each"})");
    const Recipe each = Recipe::FromText(text);
    const Image image = Image::FromPixels({colours.data(), 480, 360, 3}, ImageRules::Of(each));
    Inspector inspector;
    EXPECT_THAT(inspector.Inspect(image, each)[0].defects, SizeIs(1));
    EXPECT_EQ(ProblemOf([&] { inspector.Inspect(image, plain); }).field, "image");
    const Image grey = Image::FromPixels({pattern.pixels.data(), 480, 360});
    EXPECT_THAT(inspector.Inspect(grey, plain)[0].defects, IsEmpty());
}

TEST(HostCapability, CountsWhatARecipeFindsWhateverTheThreads)
{
    const Picture8 good = PeriodicPicture(480, 360, 32, 24);
    const std::vector<NamedPicture> images = {{"good", Image::FromPixels({good.pixels.data(), 480, 360})}};
    CapabilityPlan plan;
    plan.SetSizes({2, 12}).SetContrasts({-60, 60}).SetShapes({"spot"}).SetPlaces({"inside"}).SetCount(8).SetSeed(3);
    const Recipe recipe = Recipe::FromText(recipeText);
    const CapabilityReport report = MeasureCapability(recipe, images, plan);
    ASSERT_THAT(report.curves, SizeIs(2));
    EXPECT_EQ(report.curves[1].shape, "spot");
    EXPECT_EQ(report.curves[1].place, "inside");
    EXPECT_EQ(report.curves[1].contrast, 60);
    ASSERT_THAT(report.curves[1].counts, SizeIs(2));
    EXPECT_EQ(report.curves[1].counts[1].size, 12);
    EXPECT_EQ(report.curves[1].counts[1].planted, 8U);
    EXPECT_EQ(report.curves[1].counts[1].found, 8U);
    EXPECT_EQ(report.falseBlobs, 0U);
    EXPECT_GT(report.megapixels, 0.1);
    EXPECT_THAT(report.text, HasSubstr("\"curves\""));
    const CapabilityPlan copy = plan;
    EXPECT_EQ(MeasureCapability(recipe, images, copy, 3).text, report.text);
}

TEST(HostCapability, BadPlansAreNamed)
{
    EXPECT_THAT(PlantedShapes(), ElementsAre("spot", "line-x", "line-y", "stain"));
    EXPECT_THAT(PlantedPlaces(), ElementsAre("inside", "border"));
    CapabilityPlan plan;
    const Problem shape = ProblemOf([&] { plan.SetShapes({"dot"}); });
    EXPECT_EQ(shape.field, "shapes");
    EXPECT_EQ(shape.allowed, "spot, line-x, line-y or stain");
    EXPECT_EQ(ProblemOf([&] { plan.SetPlaces({"outside"}); }).allowed, "inside or border");
    const Recipe recipe = Recipe::FromText(recipeText);
    const std::uint8_t colours[3] = {1, 2, 3};
    const auto each = ImageRules::FromText(R"({"channel": "each"})");
    const std::vector<NamedPicture> coloured = {{"colours", Image::FromPixels({colours, 1, 1, 3}, each)}};
    EXPECT_EQ(ProblemOf([&] { MeasureCapability(recipe, coloured); }).field, "colours");
    EXPECT_EQ(ProblemOf([&] { MeasureCapability(recipe, {}, plan, 0); }).field, "threads");
    EXPECT_THAT(Attempt([&] { MeasureCapability(recipe, {}, plan); }), SizeIs(1));
    EXPECT_THAT(Attempt([&] { MeasureCapability(recipe, {}, plan.SetSizes({0}).SetCount(0)); }),
                SizeIs(testing::Ge(2)));
}

TEST(HostLearning, ColoursAreLearntEach)
{
    std::vector<NamedPicture> greys;
    std::vector<NamedPicture> coloured;
    const auto each = ImageRules::FromText(R"({"channel": "each"})");
    for (unsigned seed = 1; seed <= 3; ++seed)
    {
        const Picture8 good = PeriodicPicture(240, 180, 32, 24, seed);
        std::vector<std::uint8_t> colours;
        for (const std::uint8_t grey : good.pixels)
            colours.insert(colours.end(), {grey, static_cast<std::uint8_t>(grey / 2), grey});
        const std::string name = "good " + std::to_string(seed);
        greys.push_back({name, Image::FromPixels({good.pixels.data(), 240, 180})});
        coloured.push_back({name, Image::FromPixels({colours.data(), 240, 180, 3}, each)});
    }
    const LearnReport grey = LearnFromImages(greys, "texture", {}, "cloth");
    ASSERT_TRUE(grey.recipe.has_value());
    EXPECT_THAT(grey.recipe->Text(), HasSubstr("cloth"));
    EXPECT_FALSE(ImageRules::Of(*grey.recipe).InspectsEachColour());
    ASSERT_THAT(grey.images, SizeIs(3));
    EXPECT_EQ(grey.images[2].width, 240);
    EXPECT_EQ(grey.images[2].height, 180);
    const LearnReport colour = LearnFromImages(coloured, "texture", {{"threads", 2}});
    EXPECT_TRUE(ImageRules::Of(*colour.recipe).InspectsEachColour());
    ASSERT_THAT(colour.spots, testing::Not(IsEmpty()));
    EXPECT_GT(colour.spots[0].planted, 0U);
    greys.push_back(coloured[0]);
    EXPECT_EQ(ProblemOf([&] { LearnFromImages(greys); }).value, "some grey, some in colours");
    EXPECT_EQ(ProblemOf([&] { LearnFromImages(coloured, "guess"); }).field, "mode");
    EXPECT_EQ(ProblemOf([&] { LearnFromImages(coloured, "auto", {{"threads", 0}}); }).field, "threads");
}

TEST(HostShapes, APolygonHasAMaskTrapeziaAndBounds)
{
    const std::vector<Corner> triangle = {{0, 0}, {4, 0}, {0, 4}};
    const Box bounds = BoundsOfPolygon(triangle);
    EXPECT_THAT((std::vector<int>{bounds.left, bounds.top, bounds.right, bounds.bottom}), ElementsAre(0, 0, 4, 4));
    EXPECT_TRUE(IsConvexPolygon(triangle));
    EXPECT_FALSE(IsConvexPolygon({{0, 0}, {8, 0}, {2, 2}, {0, 8}}));
    const std::vector<Corner> square = {{1, 1}, {3, 1}, {3, 3}, {1, 3}};
    EXPECT_THAT(PolygonMask(square, 4, 4), ElementsAre(0, 0, 0, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 0, 0, 0));
    const std::vector<Corner> diamond = {{50, 0}, {100, 50}, {50, 100}, {0, 50}};
    EXPECT_THAT(CutPolygon(diamond, true), SizeIs(testing::Ge(2)));
    const ColumnSpan outside = {200, 300};
    EXPECT_THAT(CutPolygon(diamond, false, &outside), IsEmpty());
}

TEST(HostShapes, PolygonsOutOfRangeAreRefused)
{
    EXPECT_EQ(ProblemOf([] { BoundsOfPolygon({{0, 0}, {1, 1}}); }).allowed, "three or more");
    EXPECT_EQ(ProblemOf([] { IsConvexPolygon({{0, 0}, {2000000, 0}, {0, 5}}); }).value, "corner 2000000, 0");
    EXPECT_EQ(ProblemOf([] { PolygonMask({{0, 0}, {9, 0}, {0, 5}}, 8, 8); }).field, "points");
    EXPECT_EQ(ProblemOf([] { PolygonMask({{0, 0}, {9, 0}, {0, 5}}, 0, 8); }).field, "shape");
    EXPECT_EQ(ProblemOf([] { CutPolygon({{0, 0}, {8, 0}, {2, 2}, {0, 8}}, true); }).field, "points");
    EXPECT_EQ(ProblemOf([] { CutPolygon({{0, 0}, {90000, 0}, {5, 5}}, true); }).value, "corner 90000, 0");
    const ColumnSpan turned = {5, 5};
    EXPECT_EQ(ProblemOf([&] { CutPolygon({{0, 0}, {9, 0}, {0, 5}}, true, &turned); }).field, "columns");
}

} // namespace narvo::test
