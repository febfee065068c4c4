// SPDX-License-Identifier: MIT
// Defects planted in good images: what is drawn, where, and what is counted.
#include "host/capability/capability.h"

#include <algorithm>
#include <memory>

#include "host/pattern_help.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

Recipe PixelRecipe(int threshold)
{
    Recipe recipe = PatternRecipe();
    recipe.mode = Mode_Pixel;
    recipe.thresholdBase = threshold;
    return recipe;
}

std::vector<BatchImage> Patterns(std::size_t count, int width = 480, int height = 360)
{
    std::vector<BatchImage> images;
    for (std::size_t i = 0; i < count; ++i)
        images.push_back({"pattern " + std::to_string(i),
                          [=] { return std::make_shared<const GreyImage>(MakePattern(width, height, 0, 0, 0)); }});
    return images;
}

CapabilitySettings Small()
{
    CapabilitySettings settings;
    settings.sizes = {2, 6, 12};
    settings.contrasts = {-40, 40};
    settings.shapes = {Planted_Spot};
    settings.places = {Place_Inside};
    settings.count = 10;
    return settings;
}

TEST(Planted, ShapesAreDrawnInTheirBoxes)
{
    const auto draw = [](int shape, int size, int contrast)
    {
        GreyImage image(40, 40, 100);
        const CRect box = PlantedBox(shape, size);
        EXPECT_FALSE(PlantDefect({shape, size, contrast, CRect(20, 20, 20 + box.Width(), 20 + box.Height())}, image));
        return image;
    };
    const GreyImage spot = draw(Planted_Spot, 6, 30);
    EXPECT_EQ(spot.Row(22)[22], 130);
    EXPECT_EQ(spot.Row(20)[20], 100); // the corner of its box
    EXPECT_EQ(spot.Row(22)[19], 100);
    const GreyImage line = draw(Planted_LineX, 8, -30);
    EXPECT_EQ(line.Row(20)[20], 70);
    EXPECT_EQ(line.Row(21)[27], 70);
    EXPECT_EQ(line.Row(22)[20], 100);
    EXPECT_EQ(line.Row(20)[28], 100);
    EXPECT_EQ(draw(Planted_LineY, 8, 30).Row(27)[21], 130);
    EXPECT_EQ(draw(Planted_LineY, 1, 30).Row(20)[21], 100);
    const GreyImage stain = draw(Planted_Stain, 9, 40);
    EXPECT_EQ(stain.Row(24)[24], 140);
    EXPECT_NEAR(stain.Row(24)[20], 123, 3); // near half of the contrast
    EXPECT_GT(stain.Row(24)[18], 100);      // fades beyond its box
    GreyImage bright(8, 8, 250);
    EXPECT_TRUE(PlantDefect({Planted_Spot, 4, 10, CRect(2, 2, 6, 6)}, bright));
    EXPECT_EQ(bright.Row(3)[3], 255);
}

TEST(Planting, PlacesLieInsideOrAtTheBorderOfWhatIsInspected)
{
    Recipe recipe = PixelRecipe(20);
    recipe.region = CRect(40, 30, 440, 330);
    const CRect dead(200, 100, 260, 160);
    recipe.deadImage = GreyImage(480, 360);
    for (int y = dead.top; y < dead.bottom; ++y)
        std::fill_n(recipe.deadImage.Row(y) + dead.left, dead.Width(), std::uint8_t{255});
    const std::vector<CheckedRecipe> recipes = {CheckedRecipe(recipe)};
    const GreyImage image = MakePattern(480, 360, 0, 0, 0);
    Inspector inspector(1, recipe.maxBlobs);
    std::vector<InspectionResult> clean = InspectBy(recipes, inspector, 0, image);
    ASSERT_THAT(clean[0].blobs, IsEmpty());
    clean[0].blobs.resize(1);
    clean[0].blobs[0].box = CRect(300, 200, 340, 240); // as if something had been reported there
    const PlantingArea area(image, recipes, clean);
    EXPECT_NEAR(area.Megapixels(), (400 * 300 - 60 * 60) / 1e6, 1e-9);
    const std::vector<PlantingCell> cells = area.Cells(12);
    EXPECT_THAT(cells, testing::SizeIs(6));
    MixedNumbers numbers(5);
    int inside = 0;
    int border = 0;
    const CRect region = *recipe.region;
    for (int i = 0; i < 400; ++i)
        for (const PlantingCell& cell : cells)
        {
            const CRect* apart[] = {&dead, &clean[0].blobs[0].box};
            for (const int place : {Place_Inside, Place_Border})
            {
                const auto box = area.FindPlace(cell, Planted_LineX, 12, place, numbers);
                if (!box)
                    continue;
                EXPECT_EQ(box->Width(), 12);
                EXPECT_EQ(box->Height(), nPlantedLine);
                for (const CRect* other : apart)
                    EXPECT_TRUE(box->right <= other->left || other->right <= box->left || box->bottom <= other->top ||
                                other->bottom <= box->top);
                const auto gapTo = [&](const CRect& hole)
                {
                    const int x = std::max({hole.left - box->right, box->left - hole.right, 0});
                    const int y = std::max({hole.top - box->bottom, box->top - hole.bottom, 0});
                    return std::max(x, y);
                };
                const int gap = std::min({box->left - region.left, box->top - region.top, region.right - box->right,
                                          region.bottom - box->bottom, gapTo(dead)});
                EXPECT_GE(gap, 0);
                if (place == Place_Inside)
                    EXPECT_GE(gap, 16);
                else
                    EXPECT_LT(gap, 3);
                ++(place == Place_Inside ? inside : border);
            }
        }
    EXPECT_GT(inside, 1000);
    EXPECT_GT(border, 300);
}

TEST(Capability, WhatIsAboveTheThresholdIsFoundAndWhatIsBelowIsNot)
{
    CapabilitySettings settings = Small();
    settings.contrasts = {40, 8};
    const CapabilityResult result = MeasureCapability({CheckedRecipe(PixelRecipe(20))}, Patterns(2), settings, 2);
    ASSERT_EQ(result.curves.size(), 2U);
    EXPECT_EQ(result.curves[0].contrast, 8);
    EXPECT_EQ(result.curves[0].fit.outcome, Fit_NothingFound);
    EXPECT_EQ(result.curves[1].contrast, 40);
    EXPECT_EQ(result.curves[1].fit.outcome, Fit_EverythingFound);
    for (const CapabilityCurve& curve : result.curves)
        for (const SizeCount& count : curve.counts)
            EXPECT_EQ(count.planted, 10U) << curve.contrast << ' ' << count.size;
    EXPECT_EQ(result.falseBlobs, 0U);
    EXPECT_NEAR(result.megapixels, 2 * 480 * 360 / 1e6, 1e-9);
    EXPECT_NEAR(result.falseBound, 2.9957 / result.megapixels, 0.01);
    EXPECT_THAT(result.warnings, IsEmpty());
}

TEST(Capability, NumberOfThreadsChangesNothingAndSeedsGiveOtherPlaces)
{
    CapabilitySettings settings = Small();
    settings.places = {Place_Border, Place_Inside};
    settings.shapes = {Planted_LineY, Planted_Spot};
    settings.contrasts = {-22, 22};
    const std::vector<CheckedRecipe> recipes = {CheckedRecipe(PixelRecipe(20))};
    const auto measure = [&](int threads)
    { return CapabilityToJson(MeasureCapability(recipes, Patterns(3), settings, threads)).dump(); };
    const std::string one = measure(1);
    EXPECT_EQ(measure(3), one);
    EXPECT_THAT(one, HasSubstr(R"("shape":"spot","contrast":-22,"place":"inside","counts":[{"size":2,"planted":10)"));
    settings.seed = 2;
    EXPECT_NE(measure(1), one);
}

TEST(Capability, EveryModeIsMeasured)
{
    CapabilitySettings settings = Small();
    settings.count = 2;
    settings.contrasts = {-90};
    for (const char* mode : {"zone", "pixel", "float", "binarise", "average", "asg", "texture", "lattice"})
    {
        nlohmann::json document = SmallestRecipe(mode);
        if (document["mode"] == "average")
            document["average"] = {{"bright", 120}, {"dark", 120}}; // above what the pattern itself differs
        if (document.contains("pitch"))
            document["pitch"] = {{"x", dPitchX}, {"y", dPitchY}};
        const CapabilityResult result =
            MeasureCapability({CheckedRecipe(ParseRecipe(document, {}))}, Patterns(1), settings, 1);
        ASSERT_EQ(result.curves.size(), 1U) << mode;
        EXPECT_EQ(result.curves[0].fit.trials, 6U) << mode;
        EXPECT_GT(result.megapixels, 0.0) << mode;
    }
}

TEST(Capability, WhatHasNoRoomIsSaid)
{
    CapabilitySettings settings = Small();
    settings.sizes = {4, 200};
    const CapabilityResult result =
        MeasureCapability({CheckedRecipe(PixelRecipe(20))}, Patterns(1, 160, 128), settings, 1);
    EXPECT_EQ(result.curves[0].counts[0].planted, 10U);
    EXPECT_EQ(result.curves[0].counts[1].planted, 0U);
    EXPECT_THAT(result.warnings, ElementsAre("Of 40 defects that were wanted, 20 could be planted: the images have no "
                                             "room for the others."));
}

TEST(Capability, BlobsOfGoodImagesAreFalseAndNothingIsPlantedThere)
{
    // A step that the recipe reports, in each of two images.
    std::vector<BatchImage> good = {
        {"marked", [] { return std::make_shared<const GreyImage>(MakePattern(480, 360, 200, 170, 60)); }},
        {"marked too", [] { return std::make_shared<const GreyImage>(MakePattern(480, 360, 100, 100, 60)); }}};
    CapabilitySettings settings = Small();
    settings.contrasts = {8};
    const CapabilityResult result = MeasureCapability({CheckedRecipe(PixelRecipe(20))}, good, settings, 2);
    EXPECT_EQ(result.falseBlobs, 2U);
    EXPECT_EQ(result.images[1].falseBlobs, 1U);
    EXPECT_EQ(result.images[1].name, "marked too");
    EXPECT_NEAR(result.falseRate, 2 / result.megapixels, 1e-9);
    EXPECT_NEAR(result.falseBound, 6.296 / result.megapixels, 0.01);
    EXPECT_EQ(result.curves[0].fit.outcome, Fit_NothingFound);
    EXPECT_THAT(result.warnings, ElementsAre(HasSubstr("2 blobs as they are")));
}

TEST(Capability, WhatIsWrongIsNamed)
{
    const std::vector<CheckedRecipe> recipes = {CheckedRecipe(PixelRecipe(20))};
    CapabilitySettings settings;
    settings.sizes = {0, 4, 4};
    settings.contrasts = {0, 256};
    settings.shapes = {7};
    settings.places = {};
    settings.count = 0;
    EXPECT_THAT(ProblemsOf([&] { MeasureCapability(recipes, {}, settings, 1); }),
                ElementsAre(IsProblem("sizes", "0", "1 to 512 pixels"),
                            IsProblem("sizes", "4 twice", "each value once"),
                            IsProblem("contrasts", "0", "-255 to 255 grey levels, not 0"),
                            IsProblem("contrasts", "256", "-255 to 255 grey levels, not 0"),
                            IsProblem("shapes", "7", "spot, line-x, line-y or stain"),
                            IsProblem("places", "0 values", "1 to 2 values"), IsProblem("count", "0", "1 to 1000"),
                            IsProblem("images", "0", "1 to 1000")));
    CapabilitySettings many;
    many.sizes.clear();
    many.contrasts.clear();
    for (int i = 1; i <= 32; ++i)
    {
        many.sizes.push_back(i);
        many.contrasts.push_back(i);
    }
    many.count = 1000;
    EXPECT_THAT(CheckCapability(many), ElementsAre(IsAbout("count")));
    // An image that the recipe does not suit is named.
    EXPECT_THAT(ProblemsOf([&] { MeasureCapability(recipes, Patterns(1, 480, 40), Small(), 1); }),
                testing::Each(testing::Field(&Problem::field, HasSubstr("pattern 0"))));
}

} // namespace

} // namespace narvo::test
