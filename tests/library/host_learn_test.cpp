// SPDX-License-Identifier: MIT
// Pitch search, learning and explanations by the public headers.
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/host_pictures.h"
#include "library/problem_fields.h"
#include "support/test_folder.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

} // namespace

TEST(HostPitch, ProposesARecipeThatFindsADefect)
{
    const Picture8 good = PeriodicPicture(480, 360, 32, 24);
    const PitchProposal proposal = ProposeRecipe(good.Pixels());
    EXPECT_TRUE(proposal.x.found);
    EXPECT_DOUBLE_EQ(proposal.x.pitch, 32.0);
    EXPECT_DOUBLE_EQ(proposal.y.pitch, 24.0);
    EXPECT_NEAR(proposal.y.measured, 24.0, 0.05);
    EXPECT_GT(proposal.x.confidence, 0.8);
    ASSERT_TRUE(proposal.recipe.has_value());
    Picture8 bad = good;
    bad.Fill({200, 150, 206, 156}, 240);
    Inspector inspector;
    EXPECT_THAT(inspector.Inspect(good.Pixels(), *proposal.recipe)[0].defects, IsEmpty());
    EXPECT_THAT(inspector.Inspect(bad.Pixels(), *proposal.recipe)[0].defects, SizeIs(1));
}

TEST(HostPitch, AFoundPitchMakesTheRecipeThatIsProposed)
{
    const Picture8 good = PeriodicPicture(480, 360, 32, 24);
    const Box region = {16, 8, 470, 350};
    const FoundPitch found = FoundPitch::Search(good.Pixels(), region);
    EXPECT_TRUE(found.X().found);
    EXPECT_EQ(found.X().sixteenths, 32 * 16);
    EXPECT_EQ(found.Y().sixteenths, 24 * 16);
    ASSERT_GT(found.X().cost.size(), 512U);
    EXPECT_LT(found.X().cost[512], 0.2F);
    EXPECT_EQ(found.MakeRecipe(good.Pixels(), region).Text(), ProposeRecipe(good.Pixels(), region).recipe->Text());
    const auto outside = Attempt([&] { found.MakeRecipe(good.Pixels(), {0, 0, 481, 360}); });
    EXPECT_EQ(FieldsOf(outside), std::vector<std::string>{"region"});
    const Picture8 plain(480, 360, 90);
    const auto none = Attempt(
        [&] {
            FoundPitch::Search(plain.Pixels(), {0, 0, 480, 360}).MakeRecipe(good.Pixels(), region);
        });
    EXPECT_EQ(FieldsOf(none), std::vector<std::string>{"pitch"});
}

TEST(HostPitch, AFoundLatticeMakesARecipeInLatticeMode)
{
    const Picture8 good = PeriodicPicture(480, 360, 32, 24);
    const Box whole = {0, 0, 480, 360};
    const FoundLattice found = FoundLattice::Search(good.Pixels(), whole);
    ASSERT_THAT(found.Vectors(), SizeIs(2));
    EXPECT_GT(found.Strength(), 0.8);
    EXPECT_THAT(found.Text(), HasSubstr(" and "));
    EXPECT_THAT(found.MakeRecipe(good.Pixels(), whole).Text(), HasSubstr("\"lattice\""));
    const FoundLattice none = FoundLattice::Search(Picture8(480, 360, 90).Pixels(), whole);
    EXPECT_THAT(none.Vectors(), IsEmpty());
    EXPECT_EQ(none.Text(), "none");
    EXPECT_EQ(FieldsOf(Attempt([&] { none.MakeRecipe(good.Pixels(), whole); })), std::vector<std::string>{"lattice"});
    EXPECT_EQ(FieldsOf(Attempt(
                  [&] {
                      FoundLattice::Search(good.Pixels(), {0, 0, 20, 20});
                  })),
              std::vector<std::string>{"region"});
}

TEST(HostPitch, ProposedRecipesAreSavedWithTheirZones)
{
    const Picture8 good = PeriodicPicture(480, 360, 32, 24);
    const PitchProposal proposal = ProposeRecipe(good.Pixels(), {16, 8, 470, 350});
    ASSERT_TRUE(proposal.recipe.has_value());
    const TestFolder folder;
    const std::filesystem::path file = folder / "proposal.json";
    proposal.recipe->Save(file);
    const Recipe read = Recipe::FromFile(file);
    EXPECT_THAT(read.Text(), HasSubstr("proposal.zones.png"));
    Picture8 bad = good;
    bad.Fill({200, 150, 206, 156}, 240);
    Inspector inspector;
    EXPECT_THAT(inspector.Inspect(bad.Pixels(), read)[0].defects, SizeIs(1));
    EXPECT_THROW(read.Save("no such folder/recipe.json"), Error);
}

TEST(HostPitch, SaysWhereNothingRepeats)
{
    Picture8 flat(200, 200, 90);
    const PitchProposal proposal = ProposeRecipe(flat.Pixels());
    EXPECT_FALSE(proposal.x.found);
    EXPECT_FALSE(proposal.y.found);
    EXPECT_FALSE(proposal.recipe.has_value());
    EXPECT_THROW(ProposeRecipe({}), Error);
    EXPECT_THROW(ProposeRecipe(Picture8(63, 200).Pixels()), Error);
    for (const Box& box : {Box{-1, 0, 100, 100}, Box{0, 0, 201, 100}, Box{100, 0, 90, 100}, Box{0, 0, 0, 0},
                           Box{2147483647, 0, -2147483647, 100}})
        EXPECT_THROW(ProposeRecipe(flat.Pixels(), box), Error);
}

TEST(HostLearn, LearnsFromGoodImagesAndSaysWhatToExpect)
{
    std::vector<Picture8> pictures;
    for (unsigned seed = 1; seed <= 4; ++seed)
        pictures.push_back(PeriodicPicture(320, 240, 32, 24, seed));
    std::vector<NamedImage> good;
    for (const Picture8& picture : pictures)
        good.push_back({"good " + std::to_string(good.size()), picture.Pixels()});
    Picture8 bad = PeriodicPicture(320, 240, 32, 24, 9);
    bad.Fill({150, 100, 156, 106}, 230);
    const std::vector<DefectiveImage> defective = {{{"bad", bad.Pixels()}, true, {{150, 100, 156, 106}}}};

    const LearnReport learnt = LearnRecipe(good, "periodic", {{"false_rate", 0.2}, {"threads", 2}}, defective);
    ASSERT_TRUE(learnt.recipe.has_value());
    EXPECT_THAT(learnt.reasons, Not(IsEmpty()));
    EXPECT_THAT(learnt.images, SizeIs(4));
    EXPECT_EQ(learnt.images[2].name, "good 2");
    ASSERT_THAT(learnt.finds, SizeIs(1));
    EXPECT_EQ(learnt.finds[0].found, 1U);
    EXPECT_GT(learnt.falseBound, 0.0);
    Inspector inspector;
    EXPECT_THAT(inspector.Inspect(bad.Pixels(), *learnt.recipe)[0].defects, SizeIs(1));

    const auto fieldsOf = [&](const std::vector<NamedImage>& images, const std::string& mode, const Settings& settings,
                              const std::vector<DefectiveImage>& with = {})
    { return FieldsOf(Attempt([&] { LearnRecipe(images, mode, settings, with); })); };
    EXPECT_THAT(fieldsOf({}, "auto", {}), Not(IsEmpty()));
    EXPECT_THAT(fieldsOf(good, "no such mode", {}), Contains("mode"));
    EXPECT_THAT(fieldsOf(good, "periodic", {{"threads", 0}}), Contains("threads"));
    EXPECT_THAT(fieldsOf(good, "periodic", {{"false_rate", 0}}), Not(IsEmpty()));
    EXPECT_THAT(fieldsOf({{"nothing", {}}}, "periodic", {}), Contains("good[0].pixels"));
    for (const Box& box : {Box{-1, 0, 9, 9}, Box{9, 9, 9, 20}, Box{0, 0, 321, 9}})
        EXPECT_THAT(fieldsOf(good, "periodic", {}, {{{"bad", bad.Pixels()}, true, {box}}}),
                    Contains("defective[0].defects[0]"));
}

TEST(HostExplain, SaysWhyAPixelIsReportedAndWhyNot)
{
    Picture8 bad = PeriodicPicture(320, 240, 32, 24);
    bad.Fill({150, 100, 156, 106}, 230);
    const Recipe recipe =
        RecipeDraft().Set("mode", "pixel").Set("pitch.x", 32).Set("pitch.y", 24).Set("threshold.base", 25).Check();
    Explainer explainer(bad.Pixels(), recipe);
    EXPECT_THAT(explainer.Result().defects, SizeIs(1));
    const Explanation inside = explainer.Explain(152, 103);
    EXPECT_EQ(inside.outcome, "reported");
    EXPECT_EQ(inside.defect, 1);
    EXPECT_EQ(inside.value, 230);
    EXPECT_THAT(inside.why, Not(IsEmpty()));
    EXPECT_THAT(inside.text, HasSubstr("152"));
    const Explanation outside = explainer.Explain(20, 60);
    EXPECT_EQ(outside.defect, 0);
    EXPECT_EQ(outside.outcome, "no hit");
    for (const auto& [x, y] : {std::pair(-1, 0), std::pair(320, 0), std::pair(0, 240), std::pair(0, -2147483647)})
        EXPECT_THROW(explainer.Explain(x, y), Error);
    EXPECT_THROW(Explainer(bad.Pixels(), recipe, 1), Error);
    EXPECT_THROW(Explainer({}, recipe), Error);
    EXPECT_THROW(Explainer(Picture8(64, 30).Pixels(), recipe), Error);

    const Explainer taken = std::move(explainer);
    EXPECT_THROW(explainer.Explain(0, 0), Error);
    EXPECT_THROW(explainer.Result(), Error);
    EXPECT_EQ(taken.Explain(152, 103).outcome, "reported");
}

} // namespace narvo::test
