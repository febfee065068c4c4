// SPDX-License-Identifier: MIT
// The golden model: mean, tolerance, and what it takes for references.
#include "host/golden/golden_model.h"

#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/synthetic/board.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;

tools::BoardPlan QuietPlan()
{
    tools::BoardPlan plan;
    plan.width = 320;
    plan.height = 300;
    plan.noise = 0.0;
    plan.defects = 0;
    return plan;
}

TEST(GoldenModel, OneReferenceIsItsOwnMean)
{
    const GreyImage reference = tools::MakeBoard(QuietPlan()).references[0];
    const GoldenModel model({reference}, {});
    for (int y = 0; y < reference.Height(); ++y)
        for (int x = 0; x < reference.Width(); ++x)
            ASSERT_EQ(model.Mean().Row(y)[x], reference.Row(y)[x]);
    EXPECT_TRUE(model.Registrations().empty());
}

TEST(GoldenModel, ToleranceReachesAsFarAsTheEdgeTolerance)
{
    GreyImage reference(200, 200, 50);
    for (int y = 60; y < 130; ++y)
        for (int x = 80; x < 150; ++x)
            reference.Row(y)[x] = 200;
    GoldenSettings settings;
    for (const double tolerance : {0.0, 1.0, 2.0, 2.9, 4.0})
    {
        settings.edgeTolerance = tolerance;
        const GoldenModel model({reference}, settings);
        const GreyImage found = model.Tolerance();
        const int reach = static_cast<int>(tolerance);
        // A share of it reaches a pixel further, except where nothing is tolerated.
        const int outer = reach == 0 ? 0 : reach + 1;
        for (int x = 60; x < 100; ++x)
            EXPECT_EQ(found.Row(100)[x], x >= 80 - reach && x < 80 + reach   ? 150
                                         : x >= 80 - outer && x < 80 + outer ? 105
                                                                             : 0)
                << "tolerance " << tolerance << ", column " << x;
    }
    // A corner is reached along the diagonal within the tolerance alone.
    settings.edgeTolerance = 1.0;
    EXPECT_EQ(GoldenModel({reference}, settings).Tolerance().Row(59)[79], 105);
    settings.edgeTolerance = 1.5;
    EXPECT_EQ(GoldenModel({reference}, settings).Tolerance().Row(59)[79], 150);
}

TEST(GoldenModel, ToleranceShrinksInNarrowTracksAndGaps)
{
    // A track of `width` pixels, and a gap as wide between two others: in their middle nothing is tolerated.
    for (const bool bright : {true, false})
        for (const int width : {2, 3, 4, 5, 6, 12})
        {
            GreyImage reference(200, 200, bright ? 40 : 200);
            for (int y = 0; y < 200; ++y)
                for (int x = 100; x < 100 + width; ++x)
                    reference.Row(y)[x] = bright ? 200 : 40;
            for (int y = 20; y < 40; ++y) // something for a registration to hold on to
                for (int x = 20; x < 60; ++x)
                    reference.Row(y)[x] = 120;
            const GreyImage tolerance = GoldenModel({reference}, {}).Tolerance();
            EXPECT_LE(tolerance.Row(120)[100 + width / 2], width < 12 ? 90 : 112) << width << ", bright " << bright;
            EXPECT_GE(tolerance.Row(120)[99], 112) << width;
        }
}

TEST(GoldenModel, SpreadOfSeveralReferencesWidensTheTolerance)
{
    GreyImage reference = tools::MakeBoard(QuietPlan()).references[0];
    GreyImage other = reference;
    for (int y = 100; y < 110; ++y)
        for (int x = 100; x < 110; ++x)
            other.Row(y)[x] = static_cast<std::uint8_t>(reference.Row(y)[x] > 128 ? reference.Row(y)[x] - 40
                                                                                  : reference.Row(y)[x] + 40);
    GoldenSettings settings;
    settings.edgeTolerance = 0.0;
    const GoldenModel model({reference, other}, settings);
    EXPECT_EQ(model.Registrations().size(), 1U);
    EXPECT_NEAR(std::abs(model.Mean().Row(105)[105] - reference.Row(105)[105]), 20, 2);
    EXPECT_NEAR(model.Tolerance().Row(105)[105], 20, 2);
}

TEST(GoldenModel, RegistersFurtherReferencesToTheFirst)
{
    tools::BoardPlan plan = QuietPlan();
    plan.shiftX = 7.5;
    plan.rotation = 0.5;
    const tools::Board board = tools::MakeBoard(plan);
    const GoldenModel model({board.references[0], board.image}, {});
    double sum = 0.0;
    for (int y = 20; y < 280; ++y)
        for (int x = 20; x < 300; ++x)
            sum += std::abs(model.Mean().Row(y)[x] - board.references[0].Row(y)[x]);
    EXPECT_LT(sum / (260.0 * 280.0), 1.0);
}

TEST(GoldenModel, NamesTheReferenceThatDoesNotFit)
{
    tools::BoardPlan plan = QuietPlan();
    const GreyImage reference = tools::MakeBoard(plan).references[0];
    plan.seed = 77;
    const GreyImage stranger = tools::MakeBoard(plan).references[0];
    try
    {
        const GoldenModel model({reference, reference, stranger}, {});
        FAIL() << "a strange reference was taken";
    }
    catch (const HostError& error)
    {
        ASSERT_EQ(error.Problems().size(), 1U);
        EXPECT_EQ(error.Problems()[0].field, "reference 3");
    }
}

TEST(GoldenModel, RefusesAReferenceWithoutStructure)
{
    try
    {
        const GoldenModel model({GreyImage(200, 200, 90)}, {});
        FAIL() << "a flat reference was taken";
    }
    catch (const HostError& error)
    {
        EXPECT_THAT(error.what(), HasSubstr("reference: no structure to register by"));
    }
}

TEST(GoldenModel, NamesEverySettingOutOfRange)
{
    GoldenSettings settings;
    settings.registration.maxShift = 2000.0;
    settings.edgeTolerance = 16.5;
    settings.threshold = -1;
    settings.minPixels = 0;
    settings.maxBlobs = 1000001;
    std::vector<std::string> fields;
    for (const Problem& problem : CheckGoldenSettings(settings))
        fields.push_back(problem.field);
    EXPECT_THAT(fields, ElementsAre("max_shift", "edge_tolerance", "threshold", "min_pixels", "max_blobs"));
    EXPECT_TRUE(CheckGoldenSettings({}).empty());
    EXPECT_THROW(GoldenModel({}, {}), HostError);
}

} // namespace

} // namespace narvo::test
