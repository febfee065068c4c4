// SPDX-License-Identifier: MIT
// Golden cells by the public header.
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

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

Recipe CellRecipe()
{
    return RecipeDraft().Set("mode", "pixel").Set("pitch.x", 32).Set("pitch.y", 24).Set("threshold.base", 40).Check();
}

/// The pattern with a spot in each cell.
Picture8 WithRepeater(int left, int top, int step)
{
    Picture8 picture = PeriodicPicture(480, 360, 32, 24);
    for (int y = 0; y < 360; ++y)
        for (int x = 0; x < 480; ++x)
            if (x % 32 >= left && x % 32 < left + 3 && y % 24 >= top && y % 24 < top + 3)
            {
                std::uint8_t& pixel = picture.pixels[static_cast<std::size_t>(y * 480 + x)];
                pixel = static_cast<std::uint8_t>(pixel + step);
            }
    return picture;
}

} // namespace

TEST(HostCell, FindsWhatEveryCellHas)
{
    const Recipe recipe = CellRecipe();
    const Picture8 good = PeriodicPicture(480, 360, 32, 24);
    const GoldenCell cell = GoldenCell::Learn(recipe, {good.Pixels()});
    EXPECT_EQ(cell.Regions(), 1U);
    EXPECT_EQ(cell.Images(), 1);
    EXPECT_EQ(cell.Size(), std::pair(32, 24));
    EXPECT_THAT(cell.Mean(), SizeIs(32 * 24));
    EXPECT_THAT(cell.Compare(good.Pixels(), recipe).at(0).places, IsEmpty());
    const Picture8 bad = WithRepeater(10, 14, 20);
    const std::vector<CellReport> reports = cell.Compare(bad.Pixels(), recipe);
    ASSERT_THAT(reports, SizeIs(1));
    const CellReport& report = reports[0];
    ASSERT_THAT(report.places, SizeIs(1)) << report.text;
    EXPECT_LE(report.places[0].box.left, 11);
    EXPECT_GE(report.places[0].box.right, 12);
    EXPECT_NEAR(report.places[0].centerX, 11, 1);
    EXPECT_NEAR(report.places[0].centerY, 15, 1);
    EXPECT_GT(report.places[0].standardErrors, 6.0);
    EXPECT_THAT(report.mean, SizeIs(32 * 24));
    EXPECT_EQ(report.width, 32);
    EXPECT_GT(report.difference[15 * 32 + 11], 0.5 * report.places[0].difference);
    EXPECT_THAT(report.text, HasSubstr("1 place of the cell differs"));
    EXPECT_THAT(cell.Compare(bad.Pixels(), recipe, {{"least_difference", 60}}).at(0).places, IsEmpty());

    const TestFolder folder;
    cell.Save(folder / "cell.json");
    EXPECT_EQ(GoldenCell::FromFile(folder / "cell.json").Compare(bad.Pixels(), recipe).at(0).text, report.text);
}

TEST(HostCell, BadInputIsNamed)
{
    const Recipe recipe = CellRecipe();
    const Picture8 good = PeriodicPicture(480, 360, 32, 24);
    const Picture8 flat(480, 360, 90);
    const auto fieldsOf = [](auto call) { return FieldsOf(Attempt(call)); };
    EXPECT_THAT(fieldsOf([&] { GoldenCell::Learn(recipe, {}); }), ElementsAre("images"));
    EXPECT_THAT(fieldsOf([&] { GoldenCell::Learn(recipe, {good.Pixels(), flat.Pixels()}); }), ElementsAre("images[1]"));
    EXPECT_THAT(fieldsOf([&] { GoldenCell::Learn(recipe, {ImagePixels()}); }), SizeIs(testing::Ge(1U)));
    const Recipe pitchless =
        RecipeDraft().Set("mode", "average").Set("average.bright", 20).Set("average.dark", 20).Check();
    EXPECT_THAT(fieldsOf([&] { GoldenCell::Learn(pitchless, {good.Pixels()}); }), ElementsAre("recipe"));
    GoldenCell cell = GoldenCell::Learn(recipe, {good.Pixels()});
    EXPECT_THAT(fieldsOf([&] { cell.Compare(flat.Pixels(), recipe); }), ElementsAre("image"));
    EXPECT_THAT(fieldsOf([&] { cell.Compare(good.Pixels(), recipe, {{"certainty", 2}}); }), ElementsAre("certainty"));
    EXPECT_THAT(fieldsOf([&] { cell.Compare(good.Pixels(), recipe, {{"sureness", 7}}); }), SizeIs(1));
    EXPECT_THAT(fieldsOf([&] { cell.Compare(good.Pixels(), RecipeDraft::Of(recipe).Set("pitch.x", 40).Check()); }),
                ElementsAre("recipe"));
    EXPECT_THAT(fieldsOf([&] { cell.Mean(1); }), ElementsAre("region"));
    EXPECT_THAT(fieldsOf([&] { cell.Size(7); }), ElementsAre("region"));
    EXPECT_THAT(fieldsOf([&] { cell.Save("no such folder/c.json"); }), SizeIs(1));
    EXPECT_THAT(fieldsOf([] { GoldenCell::FromFile("no such file.json"); }), SizeIs(1));
    const GoldenCell moved = std::move(cell);
    EXPECT_THAT(fieldsOf([&] { cell.Images(); }), ElementsAre("cell")); // NOLINT: that is what is tested
    EXPECT_EQ(moved.Images(), 1);
}

} // namespace narvo::test
