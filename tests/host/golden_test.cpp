// SPDX-License-Identifier: MIT
// Golden inspection from references to blobs, on made-up boards.
#include "host/golden/golden.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/golden/golden_file.h"
#include "tools/synthetic/board.h"
#include "tools/truth/truth.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;

tools::BoardPlan SmallPlan()
{
    tools::BoardPlan plan;
    plan.width = 450;
    plan.height = 403;
    plan.defects = 8;
    plan.shiftX = 7.4;
    plan.shiftY = -5.8;
    return plan;
}

GoldenResult InspectBoard(const tools::Board& board, const GoldenSettings& settings = {})
{
    Inspector inspector(1, settings.maxBlobs);
    return InspectGolden(inspector, 0, GoldenModel(board.references, settings), board.image);
}

/// A square of `side` pixels, `step` grey levels off, in a place of the image where nothing else is.
GreyImage WithSquare(const GreyImage& image, int left, int top, int side, int step)
{
    GreyImage changed = image;
    for (int y = top; y < top + side; ++y)
        for (int x = left; x < left + side; ++x)
            changed.Row(y)[x] = static_cast<std::uint8_t>(std::clamp(changed.Row(y)[x] + step, 0, 255));
    return changed;
}

/// A board of one bright field with a dark frame, which leaves room to plant squares.
GreyImage Field()
{
    GreyImage image(240, 200, 180);
    for (int y = 10; y < 190; ++y)
        for (int x = 10; x < 230; ++x)
            if (x < 24 || x >= 216 || y < 24 || y >= 176)
                image.Row(y)[x] = 60;
    return image;
}

GoldenSettings FieldSettings()
{
    GoldenSettings settings;
    settings.registration.maxShift = 8.0;
    return settings;
}

TEST(Golden, FindsAllDefectsAndNothingElseInKnownPlaces)
{
    for (const double rotation : {0.0, 0.9})
        for (const std::uint64_t seed : {1U, 2U})
        {
            tools::BoardPlan plan = SmallPlan();
            plan.rotation = rotation;
            plan.scaleY = 1.012;
            plan.seed = seed;
            const tools::Board board = tools::MakeBoard(plan);
            ASSERT_EQ(board.truth.size(), 8U);
            const GoldenResult result = InspectBoard(board);
            const tools::TruthScore score = tools::CompareWithTruth(board.truth, result.inspection.blobs);
            EXPECT_EQ(score.FoundCount(), 8) << tools::DescribeScore(board.truth, score);
            EXPECT_EQ(score.FalseCount(), 0);
            EXPECT_TRUE(result.inspection.warnings.empty());
        }
}

TEST(Golden, AGoodBoardGivesNoBlob)
{
    tools::BoardPlan plan = SmallPlan();
    plan.defects = 0;
    plan.rotation = -0.8;
    plan.sway = 1.0;
    const GoldenResult result = InspectBoard(tools::MakeBoard(plan));
    EXPECT_TRUE(result.inspection.blobs.empty());
    EXPECT_GT(result.compared, 0.93);
    EXPECT_LT(result.compared, 1.0);
}

TEST(Golden, PolarityIsThatOfTheImageAgainstTheReference)
{
    const tools::Board board = tools::MakeBoard(SmallPlan());
    const GoldenResult result = InspectBoard(board);
    for (const Blob& blob : result.inspection.blobs)
    {
        for (const tools::TruthDefect& defect : board.truth)
        {
            if (blob.box.left < defect.box.right && defect.box.left < blob.box.right &&
                blob.box.top < defect.box.bottom && defect.box.top < blob.box.bottom)
            {
                EXPECT_EQ(blob.bright, defect.bright) << defect.kind;
            }
        }
    }
}

TEST(Golden, BlobsLieInTheImageAndTheirPlacesInTheReference)
{
    const GreyImage reference = Field();
    // The image shows the field three columns and two rows further on.
    GreyImage image(reference.Row(0), 237, 198, reference.Stride());
    for (int y = 2; y < 198; ++y)
        for (int x = 3; x < 237; ++x)
            image.Row(y)[x] = reference.Row(y - 2)[x - 3];
    image = WithSquare(image, 101, 87, 6, -90);
    Inspector inspector(1, 100);
    const GoldenResult result = InspectGolden(inspector, 0, GoldenModel({reference}, FieldSettings()), image);
    ASSERT_EQ(result.inspection.blobs.size(), 1U);
    const Blob& blob = result.inspection.blobs[0];
    EXPECT_EQ(blob.box, CRect(101, 87, 107, 93));
    EXPECT_EQ(blob.area, 36);
    EXPECT_FALSE(blob.bright);
    EXPECT_EQ(blob.maxDifference, 90);
    EXPECT_EQ(blob.meanReference, 180);
    EXPECT_NEAR(result.places[0].center.x, blob.center.x - 3.0, 0.1);
    EXPECT_NEAR(result.places[0].center.y, blob.center.y - 2.0, 0.1);
    EXPECT_NEAR(result.places[0].box.left, 98, 1);
    EXPECT_NEAR(result.places[0].box.bottom, 91, 1);
    EXPECT_NEAR(result.registration.shiftX, 3.0, 0.05);
    EXPECT_NEAR(result.registration.shiftY, 2.0, 0.05);
}

TEST(Golden, ADifferenceMustExceedTheThresholdAndABlobHaveItsPixels)
{
    const GreyImage reference = Field();
    GoldenSettings settings = FieldSettings();
    settings.threshold = 40;
    Inspector inspector(1, 100);
    const GoldenModel model({reference}, settings);
    const auto count = [&](int side, int step)
    { return InspectGolden(inspector, 0, model, WithSquare(reference, 100, 100, side, step)).inspection.blobs.size(); };
    EXPECT_EQ(count(4, -40), 0U);
    EXPECT_EQ(count(4, -41), 1U);
    EXPECT_EQ(count(4, 41), 1U);
    EXPECT_EQ(count(2, -120), 0U); // four pixels, of the five that a blob needs
    EXPECT_EQ(count(3, -120), 1U);
}

/// Blobs where the frame's inner right side is moved over a part of its length that registration does not follow.
std::size_t BlobsOfMovedEdge(int pixels, double tolerance)
{
    const GreyImage reference = Field();
    GreyImage image = reference;
    for (int y = 90; y < 104; ++y)
        for (int x = 216 - pixels; x < 216; ++x)
            image.Row(y)[x] = 60;
    GoldenSettings settings = FieldSettings();
    settings.edgeTolerance = tolerance;
    Inspector inspector(1, 100);
    return InspectGolden(inspector, 0, GoldenModel({reference}, settings), image).inspection.blobs.size();
}

TEST(Golden, EdgesMayLieElsewhereByTheEdgeTolerance)
{
    EXPECT_EQ(BlobsOfMovedEdge(3, 1.0), 1U);
    EXPECT_EQ(BlobsOfMovedEdge(3, 3.0), 0U);
}

TEST(Golden, AnEdgeAFractionBeyondTheToleranceIsNoBlob)
{
    // Pixels a whole pixel beyond it exceed their threshold, but make no blob by themselves.
    for (const double tolerance : {1.0, 2.0, 3.0})
    {
        const int pixels = static_cast<int>(tolerance);
        EXPECT_EQ(BlobsOfMovedEdge(pixels + 1, tolerance), 0U) << tolerance;
        EXPECT_EQ(BlobsOfMovedEdge(pixels + 2, tolerance), 1U) << tolerance;
    }
}

TEST(Golden, SeveralReferencesLetAnUnstableLabelPass)
{
    tools::BoardPlan plan = SmallPlan();
    plan.defects = 6;
    plan.labelPlay = 4.0;
    plan.references = 8;
    const tools::Board board = tools::MakeBoard(plan);
    Inspector inspector(1, 1000);
    const auto falseBlobs = [&](int references)
    {
        const std::vector<GreyImage> some(board.references.begin(), board.references.begin() + references);
        const GoldenResult result = InspectGolden(inspector, 0, GoldenModel(some, {}), board.image);
        const tools::TruthScore score = tools::CompareWithTruth(board.truth, result.inspection.blobs);
        EXPECT_GE(score.FoundCount(), static_cast<int>(board.truth.size()) - (references == 1 ? 0 : 1));
        return score.FalseCount();
    };
    const int one = falseBlobs(1);
    EXPECT_GT(one, 3);
    EXPECT_LE(4 * falseBlobs(8), one);
}

TEST(Golden, AChangeOfLightIsNoDefect)
{
    tools::BoardPlan plan = SmallPlan();
    const tools::Board board = tools::MakeBoard(plan);
    for (const double slope : {0.0, 0.25})
        for (const double gain : {0.7, 0.8, 1.1})
        {
            tools::Board changed = board;
            for (int y = 0; y < changed.image.Height(); ++y)
                for (int x = 0; x < changed.image.Width(); ++x)
                {
                    const double light = gain * (1.0 - slope * x / changed.image.Width());
                    changed.image.Row(y)[x] =
                        static_cast<std::uint8_t>(std::clamp(light * board.image.Row(y)[x] + 6.0, 0.0, 255.0));
                }
            const GoldenResult result = InspectBoard(changed);
            const tools::TruthScore score = tools::CompareWithTruth(changed.truth, result.inspection.blobs);
            EXPECT_GE(score.FoundCount(), 8) << gain << ", " << slope;
            EXPECT_LE(score.FalseCount(), 0) << gain << ", " << slope;
            if (gain < 1.0) // no pixel saturated
            {
                EXPECT_EQ(result.light.IsUniform(), slope == 0.0) << gain;
            }
        }
}

TEST(Golden, TheThresholdFollowsTheNoise)
{
    tools::BoardPlan plan = SmallPlan();
    plan.defects = 0;
    int last = 0;
    for (const double noise : {1.0, 4.0, 8.0})
    {
        plan.noise = noise;
        const GoldenResult result = InspectBoard(tools::MakeBoard(plan));
        EXPECT_GT(result.base.flat, last);
        EXPECT_TRUE(result.inspection.blobs.empty()) << noise;
        EXPECT_NEAR(result.base.noise, noise * std::sqrt(2.0), 0.35 * noise + 0.5);
        last = result.base.flat;
    }
}

TEST(Golden, SeveralReferencesLowerNoiseAndThreshold)
{
    tools::BoardPlan plan = SmallPlan();
    plan.defects = 0;
    plan.noise = 6.0;
    plan.references = 8;
    const tools::Board board = tools::MakeBoard(plan);
    Inspector inspector(1, 1000);
    const auto baseWith = [&](int references)
    {
        const std::vector<GreyImage> some(board.references.begin(), board.references.begin() + references);
        const GoldenResult result = InspectGolden(inspector, 0, GoldenModel(some, {}), board.image);
        EXPECT_TRUE(result.inspection.blobs.empty()) << references;
        return result.base;
    };
    const NoiseThreshold one = baseWith(1);
    const NoiseThreshold eight = baseWith(8);
    EXPECT_LT(eight.noise, 0.9 * one.noise);
    EXPECT_LT(eight.flat, one.flat);
}

TEST(Golden, SeesABreakInANarrowTrack)
{
    for (const int width : {2, 3, 4, 5, 6, 7})
    {
        GreyImage reference = Field();
        for (int y = 60; y < 140; ++y)
            for (int x = 100; x < 100 + width; ++x)
                reference.Row(y)[x] = 60;
        GreyImage image = reference;
        for (int y = 95; y < 107; ++y)
            for (int x = 100; x < 100 + width; ++x)
                image.Row(y)[x] = 180;
        Inspector inspector(1, 100);
        const GoldenResult result = InspectGolden(inspector, 0, GoldenModel({reference}, FieldSettings()), image);
        ASSERT_EQ(result.inspection.blobs.size(), 1U) << width;
        EXPECT_TRUE(result.inspection.blobs[0].bright);
    }
}

TEST(Golden, SaysWhyAnImageIsNotInspected)
{
    tools::BoardPlan plan = SmallPlan();
    const tools::Board board = tools::MakeBoard(plan);
    const GoldenModel model(board.references, {});
    plan.seed = 50;
    const tools::Board other = tools::MakeBoard(plan);
    Inspector inspector(1, 100);
    const auto problemOf = [&](const GreyImage& image, int lane) -> std::string
    {
        try
        {
            InspectGolden(inspector, lane, model, image);
            return "";
        }
        catch (const HostError& error)
        {
            return error.what();
        }
    };
    EXPECT_THAT(problemOf(other.image, 0), HasSubstr("image: "));
    EXPECT_THAT(problemOf(GreyImage(450, 403, 20), 0), HasSubstr("image: no structure to register by"));
    EXPECT_THAT(problemOf(GreyImage(), 0), HasSubstr("image: 0 by 0 pixels"));
    EXPECT_THAT(problemOf(board.image, 1), HasSubstr("lane: 1"));
}

TEST(Golden, WarnsWhereTheShiftAlongStripesIsUncertain)
{
    GreyImage stripes(300, 300);
    for (int y = 0; y < 300; ++y)
        for (int x = 0; x < stripes.Stride(); ++x)
            stripes.Row(y)[x] = static_cast<std::uint8_t>(128.0 + 90.0 * std::sin(0.0007 * x * x));
    Inspector inspector(1, 100);
    const GoldenResult result = InspectGolden(inspector, 0, GoldenModel({stripes}, {}), stripes);
    ASSERT_EQ(result.inspection.warnings.size(), 1U);
    EXPECT_THAT(result.inspection.warnings[0], HasSubstr("direction"));
}

TEST(Golden, FilesHoldRegistrationAndPlaces)
{
    const GoldenResult result = InspectBoard(tools::MakeBoard(SmallPlan()));
    const nlohmann::ordered_json document = GoldenToJson(result);
    EXPECT_NEAR(document["registration"]["shift_x"].get<double>(), 7.4, 0.05);
    ASSERT_EQ(document["blobs"].size(), result.inspection.blobs.size());
    const nlohmann::ordered_json& blob = document["blobs"][0];
    EXPECT_NEAR(blob["reference_center_x"].get<double>(), blob["center_x"].get<double>() - 7.4, 0.2);
    EXPECT_NEAR(blob["reference_center_y"].get<double>(), blob["center_y"].get<double>() + 5.8, 0.2);

    std::istringstream lines(GoldenToCsv(result));
    std::string header;
    std::string line;
    std::getline(lines, header);
    EXPECT_THAT(header, testing::StartsWith("number,polarity,left,"));
    EXPECT_THAT(header, testing::EndsWith(",reference_center_x,reference_center_y"));
    std::size_t count = 0;
    for (; std::getline(lines, line); ++count)
        EXPECT_EQ(std::count(line.begin(), line.end(), ','), std::count(header.begin(), header.end(), ','));
    EXPECT_EQ(count, result.inspection.blobs.size());
}

} // namespace

} // namespace narvo::test
