// SPDX-License-Identifier: MIT
// Fields by name, evenly spaced values, and the choice of a value.
#include "tools/tune/proposal.h"
#include "tools/tune/sweep.h"

#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;

Recipe ZoneRecipe()
{
    Recipe recipe = SmallestParsed();
    recipe.zones = {{.index = 1, .offset = 20}, {.index = 4, .offset = 30}};
    return recipe;
}

tools::Sweep MakeSweep(const std::vector<tools::SweepPoint>& points, bool truth)
{
    tools::Sweep sweep;
    sweep.field = "threshold.base";
    sweep.hasTruth = truth;
    sweep.images = 2;
    sweep.points = points;
    for (std::size_t i = 0; i < points.size(); ++i)
        sweep.points[i].value = static_cast<double>(i);
    return sweep;
}

TEST(SweepField, ScalarFieldsAreSetOrShifted)
{
    Recipe recipe = SmallestParsed();
    recipe.mergeDistance = 6;
    const tools::SweepField field(recipe, "merge_distance");
    EXPECT_TRUE(field.IsWhole());
    EXPECT_EQ(field.Unit(), "pixels");
    EXPECT_EQ(field.With(recipe, 9, false).mergeDistance, 9);
    EXPECT_EQ(field.With(recipe, -2, true).mergeDistance, 4);
    EXPECT_EQ(recipe.mergeDistance, 6);
    const tools::SweepField pitch(recipe, "pitch.x");
    EXPECT_FALSE(pitch.IsWhole());
    EXPECT_DOUBLE_EQ(pitch.With(recipe, 0.25, true).pitchX, recipe.pitchX + 0.25);
}

TEST(SweepField, ZoneFieldsMeanAllZonesOrOne)
{
    const Recipe recipe = ZoneRecipe();
    const Recipe all = tools::SweepField(recipe, "zones.list.offset").With(recipe, 5, true);
    EXPECT_EQ(all.zones[0].offset, 25);
    EXPECT_EQ(all.zones[1].offset, 35);
    const Recipe one = tools::SweepField(recipe, "zones.list[4].offset").With(recipe, 5, false);
    EXPECT_EQ(one.zones[0].offset, 20);
    EXPECT_EQ(one.zones[1].offset, 5);
}

TEST(SweepField, WhatIsNoNumberOfTheModeIsRefusedWithTheListOfThoseThatAre)
{
    const Recipe recipe = ZoneRecipe();
    for (const char* name : {"mode", "keep_singles", "threshold.base", "zones.list", "zones.list.index",
                             "zones.list.none", "zones.list[1]offset", "region", ""})
    {
        const auto found = ProblemsOf([&] { tools::SweepField(recipe, name); });
        ASSERT_EQ(found.size(), 1U) << name;
        EXPECT_EQ(found[0].field, "field");
        EXPECT_THAT(found[0].allowed, HasSubstr("zones.list.offset"));
    }
    EXPECT_THAT(ProblemsOf([&] { tools::SweepField(recipe, "zones.list[2].offset"); }),
                ElementsAre(IsProblem("field", "zones.list[2].offset", "a zone of the recipe")));
    EXPECT_THAT(ProblemsOf([&] { tools::SweepField(recipe, "grey_limit").With(recipe, 300, false); }),
                ElementsAre(IsAbout("grey_limit")));
}

TEST(SweepValues, AreEvenAndWholeOnesComeOnce)
{
    EXPECT_THAT(tools::SweepValues(0.0, 1.0, 5, false), ElementsAre(0.0, 0.25, 0.5, 0.75, 1.0));
    EXPECT_THAT(tools::SweepValues(10.0, 12.0, 5, true), ElementsAre(10.0, 11.0, 12.0));
    EXPECT_THAT(tools::SweepValues(3.0, 1.0, 3, true), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(tools::SweepValues(7.0, 9.0, 1, true), ElementsAre(7.0));
}

TEST(Propose, TakesTheMiddleOfTheBestRun)
{
    const tools::Sweep sweep = MakeSweep({{.defects = 10, .found = 10, .falseBlobs = 40},
                                          {.defects = 10, .found = 10, .falseBlobs = 0},
                                          {.defects = 10, .found = 10, .falseBlobs = 0},
                                          {.defects = 10, .found = 10, .falseBlobs = 0},
                                          {.defects = 10, .found = 6, .falseBlobs = 0}},
                                         true);
    const auto proposal = tools::Propose(sweep, std::nullopt);
    ASSERT_TRUE(proposal);
    EXPECT_EQ(proposal->point, 2U);
    EXPECT_THAT(proposal->reason, HasSubstr("finds 10 of 10 defects (100.0 %) with 0 false blobs"));
    EXPECT_THAT(proposal->reason, HasSubstr("from 1 to 3"));
}

TEST(Propose, LimitOnFalseBlobsOutranksTheBalance)
{
    const tools::Sweep sweep = MakeSweep({{.defects = 10, .found = 10, .falseBlobs = 8},
                                          {.defects = 10, .found = 9, .falseBlobs = 2},
                                          {.defects = 10, .found = 7, .falseBlobs = 0}},
                                         true);
    EXPECT_EQ(tools::Propose(sweep, std::nullopt)->point, 1U);
    EXPECT_EQ(tools::Propose(sweep, 0)->point, 2U);
    EXPECT_EQ(tools::Propose(sweep, 8)->point, 0U);
    tools::Sweep noisy = sweep;
    for (tools::SweepPoint& point : noisy.points)
        point.falseBlobs += 1;
    EXPECT_FALSE(tools::Propose(noisy, 0));
}

TEST(Propose, ValuesThatLeftImagesIncompleteAreNotProposed)
{
    const tools::Sweep sweep =
        MakeSweep({{.defects = 10, .found = 10, .incomplete = 1}, {.defects = 10, .found = 5}}, true);
    EXPECT_EQ(tools::Propose(sweep, std::nullopt)->point, 1U);
}

TEST(Propose, WithoutTruthThePlateauOfTheCountDecides)
{
    const tools::Sweep sweep = MakeSweep(
        {{.blobs = 9000}, {.blobs = 800}, {.blobs = 101}, {.blobs = 100}, {.blobs = 99}, {.blobs = 98}, {.blobs = 40}},
        false);
    const auto proposal = tools::Propose(sweep, std::nullopt);
    ASSERT_TRUE(proposal);
    EXPECT_EQ(proposal->first, 2U);
    EXPECT_EQ(proposal->last, 5U);
    EXPECT_EQ(proposal->point, 3U);
    EXPECT_THAT(proposal->reason, HasSubstr("98 to 101"));
    EXPECT_FALSE(tools::Propose(MakeSweep({{.blobs = 9000}, {.blobs = 800}, {.blobs = 10}}, false), std::nullopt));
}

TEST(Propose, WhatFindsNothingIsNotProposed)
{
    const tools::Sweep sweep =
        MakeSweep({{.defects = 7, .found = 0, .falseBlobs = 0}, {.defects = 7, .found = 0, .falseBlobs = 3}}, true);
    EXPECT_FALSE(tools::Propose(sweep, std::nullopt));
    EXPECT_FALSE(tools::Propose(sweep, 5));
    EXPECT_EQ(tools::WhyNoProposal(sweep), "no value finds a defect");
}

TEST(Propose, GoodImagesAskForTheLeastEmptyValueAndAFifthMore)
{
    tools::Sweep sweep;
    sweep.field = "threshold.base";
    for (int value = 5; value <= 40; ++value)
        sweep.points.push_back({.value = static_cast<double>(value), .blobs = value < 15 ? 100 - value : 0});
    const auto proposal = tools::Propose(sweep, std::nullopt);
    ASSERT_TRUE(proposal);
    EXPECT_EQ(sweep.points[proposal->first].value, 15.0);
    EXPECT_EQ(sweep.points[proposal->point].value, 18.0);
    EXPECT_THAT(proposal->reason, HasSubstr("no image reports a blob from 15 on; a fifth more"));
    // Truth that says of all images that they are good is the same.
    sweep.hasTruth = true;
    EXPECT_EQ(tools::Propose(sweep, std::nullopt)->point, proposal->point);
    // What the sweep adds to counts from what the recipe has.
    sweep.shift = true;
    sweep.own = 20.0;
    EXPECT_EQ(sweep.points[tools::Propose(sweep, std::nullopt)->point].value, 22.0);
    // A sweep that ends before gives its last value, and says so.
    sweep.points.resize(12);
    EXPECT_EQ(tools::Propose(sweep, std::nullopt)->point, 11U);
    EXPECT_THAT(tools::Propose(sweep, std::nullopt)->reason, HasSubstr("would be 22, beyond the sweep"));
}

TEST(SweepField, OwnValuesAreThoseOfTheRecipe)
{
    const Recipe recipe = ZoneRecipe();
    EXPECT_EQ(tools::SweepField(recipe, "zones.list.offset").Own(recipe), 20.0);
    EXPECT_EQ(tools::SweepField(recipe, "zones.list[4].offset").Own(recipe), 30.0);
    EXPECT_EQ(tools::SweepField(recipe, "pitch.x").Own(recipe), recipe.pitchX);
}

TEST(SweepTable, NamesTheProposalAndWhatWasIncomplete)
{
    const tools::Sweep sweep =
        MakeSweep({{.defects = 4, .found = 4, .blobs = 5, .incomplete = 2}, {.defects = 4, .found = 3}}, true);
    const std::string table = tools::SweepTable(sweep, tools::Propose(sweep, std::nullopt)->point);
    EXPECT_THAT(table, HasSubstr("incomplete in 2 images"));
    EXPECT_THAT(table, HasSubstr("<- proposed"));
    EXPECT_EQ(tools::SweepCsv(sweep), "value,images,blobs,defects,found,recall,false,score,incomplete\n"
                                      "0,2,5,4,4,1,0,1,2\n"
                                      "1,2,0,4,3,0.75,0,0.8571428571428571,0\n");
}

} // namespace

} // namespace narvo::test
