// SPDX-License-Identifier: MIT
// Growth of all edges: fitted on made-up boards whose edges were moved by a known amount, and left out of inspection.
#include "host/golden/edge_growth.h"

#include <algorithm>
#include <cstdint>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/golden/golden.h"
#include "host/golden/golden_file.h"
#include "host/reference/edge_tolerance.h"
#include "tools/synthetic/board.h"
#include "tools/truth/truth.h"

namespace narvo::test
{

namespace
{

tools::Board GrowthBoard(int defects)
{
    tools::BoardPlan plan;
    plan.width = 450;
    plan.height = 403;
    plan.defects = defects;
    plan.seed = 3;
    return tools::MakeBoard(plan);
}

double GrowthOf(const GreyImage& reference, const GreyImage& image)
{
    const GreyImage nearEdge = NearEdges(reference, 8, 40);
    return FitEdgeGrowth(reference, image, nearEdge, GreyImage(image.Width(), image.Height(), 255));
}

GreyImage Grown(GreyImage picture, double growth)
{
    GrowBright(growth, picture);
    return picture;
}

TEST(EdgeGrowth, FindsByHowMuchBrightIsWider)
{
    const tools::Board board = GrowthBoard(0);
    const GreyImage& reference = board.references[0];
    for (const double growth : {-1.0, -0.6, -0.3, 0.3, 0.6, 1.0})
        EXPECT_NEAR(GrowthOf(reference, Grown(reference, growth)), growth, 0.15) << growth;
    EXPECT_EQ(GrowthOf(reference, reference), 0.0);
    EXPECT_EQ(GrowthOf(reference, board.image), 0.0); // noise of its own
}

TEST(EdgeGrowth, AShiftThatIsLeftOverIsNone)
{
    const GreyImage reference = GrowthBoard(0).references[0];
    GreyImage moved = reference;
    for (int y = 0; y < reference.Height(); ++y)
        std::copy_n(reference.Row(y), reference.Width() - 1, moved.Row(y) + 1);
    EXPECT_NEAR(GrowthOf(reference, moved), 0.0, 0.12);
}

TEST(EdgeGrowth, EdgesThatAllFaceOneWaySayNothing)
{
    // A frame's left side alone: that it is wider and that it lies elsewhere look the same.
    GreyImage reference(256, 256, 40);
    GreyImage image = reference;
    for (int y = 0; y < 256; ++y)
    {
        std::fill(reference.Row(y) + 100, reference.Row(y) + 256, std::uint8_t{200});
        std::fill(image.Row(y) + 99, image.Row(y) + 256, std::uint8_t{200});
    }
    EXPECT_EQ(GrowthOf(reference, image), 0.0);
}

TEST(EdgeGrowth, APatternThatIsWiderAsAWholeIsNoDefect)
{
    for (const double growth : {-0.9, 0.9})
    {
        const tools::Board board = GrowthBoard(8);
        Inspector inspector(1, 10000);
        GoldenSettings settings;
        settings.edgeTolerance = 1.0; // no more than the growth
        const GoldenModel model({board.references[0]}, settings);
        const GoldenResult result = InspectGolden(inspector, 0, model, Grown(board.image, growth));
        EXPECT_NEAR(result.edgeGrowth, growth, 0.2);
        EXPECT_EQ(GoldenToJson(result)["edge_growth"].get<double>() > 0.0, growth > 0.0);
        const tools::TruthScore score = tools::CompareWithTruth(board.truth, result.inspection.blobs);
        EXPECT_EQ(score.FoundCount(), static_cast<int>(board.truth.size())) << growth;
        EXPECT_EQ(score.FalseCount(), 0) << growth;
    }
}

} // namespace

} // namespace narvo::test
