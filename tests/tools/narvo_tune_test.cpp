// SPDX-License-Identifier: MIT
// narvo tune as a user runs it: table, files, proposal, the same with any number of lanes.
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;

TEST(NarvoTune, FindsAThresholdForAPanelAndSavesItsRecipe)
{
    TestFolder folder;
    MakeSmallPanel(folder);
    const auto tune = [&](const char* output, const char* lanes)
    {
        return RunNarvo(folder, {"tune",
                                 "panel.png",
                                 "-r",
                                 "panel.recipe.json",
                                 "--field",
                                 "zones.list.offset",
                                 "--shift",
                                 "--from",
                                 "-10",
                                 "--to",
                                 "30",
                                 "--steps",
                                 "9",
                                 "--truth",
                                 "panel.truth.json",
                                 "-o",
                                 output,
                                 "--lanes",
                                 lanes,
                                 "--save",
                                 "tuned.json"});
    };
    const Outcome one = tune("one", "1");
    EXPECT_EQ(one.code, 0) << one.error;
    EXPECT_THAT(one.out, HasSubstr("proposed: zones.list.offset changed by"));
    EXPECT_THAT(one.out, HasSubstr("<- proposed"));
    EXPECT_EQ(tune("two", "3").code, 0);
    EXPECT_EQ(ReadText(folder / "one.tune.csv"), ReadText(folder / "two.tune.csv"));
    EXPECT_EQ(ReadText(folder / "one.tune.svg"), ReadText(folder / "two.tune.svg"));
    EXPECT_THAT(ReadText(folder / "one.tune.svg"), HasSubstr("Defects found, of 8, against false blobs"));
    // The saved recipe finds what the table says.
    const Outcome check =
        RunNarvo(folder, {"inspect", "panel.png", "-r", "tuned.json", "-t", "panel.truth.json", "-o", "check"});
    EXPECT_EQ(check.code, 0) << check.error;
    EXPECT_THAT(check.out, HasSubstr("recall: 1.000"));
}

TEST(NarvoTune, WithoutTruthBlobsAreCountedAndThePictureMayBePng)
{
    TestFolder folder;
    MakeSmallPanel(folder);
    const Outcome outcome = RunNarvo(folder, {"tune", "panel.png", "-r", "panel.recipe.json", "-f", "zones.list.offset",
                                              "--from", "12", "--to", "40", "-n", "5", "--plot", "plot.png", "-q"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("proposed: "));
    EXPECT_EQ(ReadText(folder / "plot.png").substr(1, 3), "PNG");
    EXPECT_EQ(ReadText(folder / "panel.recipe.tune.csv").substr(0, 30), "value,images,blobs,incomplete\n");
}

TEST(NarvoTune, ProblemsAreReportedTogether)
{
    TestFolder folder;
    MakeSmallPanel(folder);
    const Outcome outcome =
        RunNarvo(folder, {"tune", "panel.png", "-r", "panel.recipe.json", "-f", "mode", "--from", "1", "--to", "2",
                          "--truth", "panel.truth.json", "no.json", "--plot", "a.gif"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("no.json"));
    EXPECT_THAT(outcome.error, HasSubstr("--plot"));
    const Outcome field = RunNarvo(
        folder, {"tune", "panel.png", "-r", "panel.recipe.json", "-f", "threshold.base", "--from", "1", "--to", "2"});
    EXPECT_EQ(field.code, 2);
    EXPECT_THAT(field.error, HasSubstr("narvo: field: threshold.base"));
    const Outcome image = RunNarvo(
        folder, {"tune", "gone.png", "-r", "panel.recipe.json", "-f", "merge_distance", "--from", "1", "--to", "2"});
    EXPECT_EQ(image.code, 2);
    EXPECT_THAT(image.error, HasSubstr("gone.png"));
    EXPECT_EQ(RunNarvo(folder, {"tune", "panel.png", "-r", "panel.recipe.json", "-f", "merge_distance", "--from", "1",
                                "--to", "2", "-n", "2", "-o", "none/x"})
                  .code,
              3);
}

} // namespace

} // namespace narvo::test
