// SPDX-License-Identifier: MIT
// Colour images channel by channel: a defect that one channel alone shows is found and says so, one that several show
// is one blob, and the rest of the host layer works with such images as with grey ones.
#include <algorithm>
#include <array>

#include "host/capability/planted.h"
#include "host/evaluate/golden_scores.h"
#include "host/evaluate/threshold_sweep.h"
#include "host/golden/golden.h"
#include "host/inspect/batch.h"
#include "host/inspect/channel_inspection.h"
#include "host/pattern_help.h"
#include "host/result/result_file.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A colour image as each of its channels is to be inspected.
GreyImage ColourImage(const std::array<GreyImage, 3>& planes)
{
    std::vector<std::uint8_t> pixels;
    for (int y = 0; y < planes[0].Height(); ++y)
        for (int x = 0; x < planes[0].Width(); ++x)
            for (const GreyImage& plane : planes)
                pixels.push_back(plane.Row(y)[x]);
    ImageReading each;
    each.channel = Channel_Each;
    return ConvertPixels({pixels.data(), planes[0].Width(), planes[0].Height(), 3, 1}, each, "colours");
}

GreyImage Square(int x, int y, int step)
{
    return MakePattern(nWidth, nHeight, x, y, step);
}

Recipe EachRecipe()
{
    Recipe recipe = PatternRecipe();
    recipe.mode = Mode_Pixel;
    recipe.thresholdBase = 20;
    recipe.channel = Channel_Each;
    return recipe;
}

/// What a channel found: a box and how strong it is.
struct Spot
{
    CRect box;
    int strength;
};

std::vector<int> StrengthsOf(const std::vector<std::vector<Spot>>& byChannel)
{
    std::vector<int> strengths;
    for (const Spot& spot : JoinFound(byChannel, [](const Spot&a, const Spot&b) { return a.strength > b.strength; }))
        strengths.push_back(spot.strength);
    return strengths;
}

} // namespace

TEST(ChannelInspection, ADefectOfOneChannelIsFoundThereAndNotInTheLuma)
{
    const std::array<Channel, 3> channels = {Channel_Red, Channel_Green, Channel_Blue};
    for (std::size_t i = 0; i < 3; ++i)
    {
        std::array<GreyImage, 3> planes = {Square(203, 151, 0), Square(203, 151, 0), Square(203, 151, 0)};
        planes[i] = Square(203, 151, i == 1 ? 30 : 60);
        const GreyImage image = ColourImage(planes);
        Inspector inspector(1, 1000);
        const InspectionResult result = inspector.Inspect(0, image, CheckedRecipe(EachRecipe()));
        ExpectTheSquare(result, 203, 151, true);
        EXPECT_EQ(result.blobs[0].channel, channels[i]);
        const GreyImage luma(image.Row(0), image.Width(), image.Height(), image.Stride());
        EXPECT_THAT(inspector.Inspect(0, luma, CheckedRecipe(EachRecipe())).blobs, IsEmpty());
    }
}

TEST(ChannelInspection, WhatSeveralChannelsShowIsOneBlobOfTheStrongest)
{
    const GreyImage image = ColourImage({Square(203, 151, 40), Square(204, 152, -70), Square(90, 60, 50)});
    Inspector inspector(1, 1000);
    const InspectionResult result = inspector.Inspect(0, image, CheckedRecipe(EachRecipe()));
    ASSERT_THAT(result.blobs, SizeIs(2));
    EXPECT_EQ(result.blobs[0].channel, Channel_Green);
    EXPECT_FALSE(result.blobs[0].bright);
    // The box holds what red shows a pixel further to the left and above.
    EXPECT_LE(result.blobs[0].box.left, 201);
    EXPECT_GE(result.blobs[0].box.right, 207);
    EXPECT_EQ(result.blobs[1].channel, Channel_Blue);
    EXPECT_EQ(result.blobs[0].number, 1);
    EXPECT_EQ(result.blobs[1].number, 2);
}

TEST(ChannelInspection, JoiningKeepsTheStrongestAndMakesNoChains)
{
    const auto at = [](int left, int right, int strength) { return Spot{CRect(left, 0, right, 4), strength}; };
    EXPECT_THAT(StrengthsOf({{at(0, 4, 5)}, {at(3, 9, 7)}, {at(20, 22, 1)}}), ElementsAre(7, 1));
    // Two blobs of one channel stay two, also below a weaker one of another that touches both.
    EXPECT_THAT(StrengthsOf({{at(0, 4, 5), at(8, 12, 6)}, {at(3, 9, 4)}, {}}), ElementsAre(5, 6));
    // The third touches what the first has grown to, not the first.
    EXPECT_THAT(StrengthsOf({{at(0, 4, 9)}, {at(3, 9, 4)}, {at(8, 12, 2)}}), ElementsAre(9, 2));
    EXPECT_THAT(StrengthsOf({{at(0, 4, 3)}, {at(0, 4, 3)}, {at(4, 8, 3)}}), ElementsAre(3, 3));
    const std::vector<Spot> joined = JoinFound(std::vector<std::vector<Spot>>{{at(0, 4, 5)}, {at(3, 9, 7)}},
                                               [](const Spot& a, const Spot& b) { return a.strength > b.strength; });
    EXPECT_EQ(joined[0].box.left, 0);
    EXPECT_EQ(joined[0].box.right, 9);
}

TEST(ChannelInspection, GreyPixelsAreInspectedOnce)
{
    const GreyImage grey = Square(203, 151, 60);
    ImageReading each;
    each.channel = Channel_Each;
    const GreyImage image = ConvertPixels({grey.Row(0), nWidth, nHeight, 1, 1}, each, "grey");
    EXPECT_EQ(image.Channels(), nullptr);
    Inspector inspector(1, 1000);
    const InspectionResult result = inspector.Inspect(0, image, CheckedRecipe(EachRecipe()));
    ExpectTheSquare(result, 203, 151, true);
    EXPECT_EQ(ResultToJson(result)["blobs"][0]["channel"], "grey");
}

TEST(ChannelInspection, ChannelsAreReadByTheLevels)
{
    const std::vector<std::uint16_t> pixels = {0, 1000, 2000};
    ImageReading each;
    each.channel = Channel_Each;
    each.levelHigh = 2000;
    const GreyImage image = ConvertPixels({pixels.data(), 1, 1, 3, 2}, each, "deep");
    ASSERT_NE(image.Channels(), nullptr);
    ASSERT_THAT(*image.Channels(), SizeIs(3));
    EXPECT_EQ((*image.Channels())[0].Row(0)[0], 0);
    EXPECT_EQ((*image.Channels())[1].Row(0)[0], 128);
    EXPECT_EQ((*image.Channels())[2].Row(0)[0], 255);
}

TEST(ChannelInspection, LanesChangeNothing)
{
    std::vector<BatchImage> images;
    for (int i = 0; i < 5; ++i)
    {
        auto image = std::make_shared<const GreyImage>(
            ColourImage({Square(100 + 20 * i, 100, 50), Square(200, 90 + 10 * i, -50), Square(300, 200, 10 * i)}));
        images.push_back({"image " + std::to_string(i), [image] { return image; }});
    }
    std::vector<std::string> byLanes;
    for (const int lanes : {1, 3})
    {
        Batch batch({CheckedRecipe(EachRecipe())}, lanes);
        std::string text;
        batch.Run(images,
                  [&](const ImageResult& result)
                  {
                      ASSERT_TRUE(result.IsInspected());
                      text += ResultToCsv(result.regions[0]);
                  });
        byLanes.push_back(text);
    }
    EXPECT_EQ(byLanes[0], byLanes[1]);
    EXPECT_THAT(byLanes[0], testing::HasSubstr(",green,"));
}

TEST(ChannelInspection, ScoresHoldTheStrongestChannelAndBlobsAreThoseOfTheInspection)
{
    const GreyImage image = ColourImage({Square(203, 151, 0), Square(203, 151, 0), Square(203, 151, 60)});
    Inspector inspector(1, 1000);
    const CheckedRecipe recipe{EachRecipe()};
    const ImageScores scores = SweepThresholds(inspector, 0, image, recipe);
    const InspectionResult result = inspector.Inspect(0, image, recipe);
    ASSERT_THAT(scores.blobs[nFactorOne], SizeIs(1));
    EXPECT_EQ(scores.blobs[nFactorOne][0].box.left, result.blobs[0].box.left);
    EXPECT_EQ(scores.blobs[nFactorOne][0].area, result.blobs[0].area);
    EXPECT_GT(scores.scores.values[151 * nWidth + 203], 2.0F);
}

TEST(ChannelInspection, PlantedDefectsAreInEveryChannel)
{
    GreyImage image = ColourImage({Square(203, 151, 0), Square(203, 151, 0), Square(203, 151, 0)});
    const GreyImage good = image;
    const PlantedDefect spot{Planted_Spot, 8, 30, CRect(50, 50, 58, 58)};
    PlantInChannels({spot}, image);
    for (std::size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ((*image.Channels())[i].Row(54)[54], (*good.Channels())[i].Row(54)[54] + 30);
        EXPECT_EQ((*image.Channels())[i].Row(100)[54], (*good.Channels())[i].Row(100)[54]);
    }
}

TEST(ChannelInspection, GoldenInspectionComparesEachChannel)
{
    const GreyImage plain = Square(203, 151, 0);
    const GreyImage reference = ColourImage({plain, plain, plain});
    const GreyImage image = ColourImage({plain, plain, Square(203, 151, 80)});
    GoldenSettings settings;
    settings.registration.maxShift = 4.0;
    settings.threshold = 20;
    const GoldenModel model({reference}, settings);
    Inspector inspector(1, 1000);
    const GoldenResult result = InspectGolden(inspector, 0, model, image);
    ASSERT_THAT(result.inspection.blobs, SizeIs(1));
    EXPECT_EQ(result.inspection.blobs[0].channel, Channel_Blue);
    EXPECT_THAT(result.places, SizeIs(1));
    EXPECT_GT(ScoreGolden(inspector, 0, model, image).scores.values[151 * nWidth + 203], 1.0F);
    const GreyImage luma(image.Row(0), nWidth, nHeight, image.Stride());
    EXPECT_THAT(InspectGolden(inspector, 0, model, luma).inspection.blobs, IsEmpty());
}

} // namespace narvo::test
