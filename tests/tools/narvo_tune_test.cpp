// SPDX-License-Identifier: MIT
// narvo tune as a user runs it: table, files, proposal, the same with any number of lanes.
#include "tools/run_narvo.h"

#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

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

TEST(NarvoTune, FieldsOfOneUnitAreSweptTogetherAndMasksAreTruth)
{
    TestFolder folder;
    MakeSmallPanel(folder);
    // A mask that is white where the true defects lie.
    const auto truth = nlohmann::json::parse(ReadText(folder / "panel.truth.json"));
    cv::Mat mask = cv::Mat::zeros(cv::imread((folder / "panel.png").string(), cv::IMREAD_GRAYSCALE).size(), CV_8U);
    for (const auto& defect : truth["defects"])
        cv::rectangle(mask, cv::Point(defect["left"].get<int>(), defect["top"].get<int>()),
                      cv::Point(defect["right"].get<int>() - 1, defect["bottom"].get<int>() - 1), 255, cv::FILLED);
    cv::imwrite((folder / "mask.png").string(), mask);
    std::ofstream(folder / "average.json")
        << (R"({"version": 1, "mode": "average", "average": {"bright": 20, "dark": 20}})");
    const auto tune = [&](const char* output, const char* file)
    {
        return RunNarvo(folder, {"tune",   "panel.png",
                                 "-r",     "average.json",
                                 "-f",     "average.bright",
                                 "-f",     "average.dark",
                                 "--from", "30",
                                 "--to",   "90",
                                 "-n",     "4",
                                 "-t",     file,
                                 "-o",     output,
                                 "--save", "both.json"});
    };
    const Outcome byMask = tune("mask", "mask.png");
    ASSERT_EQ(byMask.code, 0) << byMask.error;
    EXPECT_THAT(byMask.out, HasSubstr("average.bright and average.dark, grey levels, over 1 image"));
    EXPECT_EQ(tune("boxes", "panel.truth.json").code, 0);
    EXPECT_EQ(ReadText(folder / "mask.tune.csv"), ReadText(folder / "boxes.tune.csv"));
    const auto saved = nlohmann::json::parse(ReadText(folder / "both.json"));
    EXPECT_EQ(saved["average"]["bright"], saved["average"]["dark"]);
    const Outcome units = RunNarvo(folder, {"tune", "panel.png", "-r", "average.json", "-f", "average.bright", "-f",
                                            "average.window", "--from", "10", "--to", "60"});
    EXPECT_EQ(units.code, 2);
    EXPECT_THAT(units.error,
                HasSubstr("average.window, in pixels; allowed: a field in grey levels, as average.bright"));
}

TEST(NarvoTune, SettingsOfGoldenInspectionsAreSweptAgainstReferences)
{
    TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"board", "--width", "320", "--height", "320", "--defects", "3", "--seed", "2", "-q",
                                "-o", "board"})
                  .code,
              0);
    const auto tune = [&](const char* lanes, const char* output)
    {
        return RunNarvo(folder, {"tune", "board.png", "--reference", "board.good.png", "-f", "threshold", "--from",
                                 "10", "--to", "255", "-n", "3", "-t", "board.truth.json", "-j", lanes, "-o", output});
    };
    const Outcome one = tune("1", "one");
    EXPECT_EQ(one.code, 0) << one.error;
    EXPECT_THAT(one.out, HasSubstr("threshold, grey levels, over 1 image\n"));
    EXPECT_THAT(one.out, testing::ContainsRegex("proposed: threshold = [0-9]+: finds 3 of 3 defects"));
    EXPECT_THAT(ReadText(folder / "one.tune.csv"), testing::ContainsRegex("\n255,1,[0-2],3,[0-2],"));
    EXPECT_EQ(tune("3", "two").code, 0);
    EXPECT_EQ(ReadText(folder / "one.tune.csv"), ReadText(folder / "two.tune.csv"));
    // The proposed value finds in `golden` what the table says.
    const std::string value = one.out.substr(one.out.find("threshold = ") + 12);
    const Outcome check = RunNarvo(folder, {"golden", "board.good.png", "board.png", "--threshold",
                                            value.substr(0, value.find(':')), "-t", "board.truth.json", "-o", "check"});
    EXPECT_EQ(check.code, 0) << check.error;
    EXPECT_THAT(check.out, HasSubstr("recall: 1.000"));
}

TEST(NarvoTune, GoldenSweepsNameWhatIsWrong)
{
    TestFolder folder;
    MakeSmallPanel(folder);
    ASSERT_EQ(RunNarvo(folder, {"board", "--width", "320", "--height", "320", "-q", "-o", "board"}).code, 0);
    const auto expect = [&](const char* field, const char* to, const char* image, const char* message)
    {
        const Outcome outcome = RunNarvo(folder, {"tune", image, "--reference", "board.good.png", "-f", field, "--from",
                                                  "0", "--to", to, "-n", "2", "-o", "x"});
        EXPECT_EQ(outcome.code, 2) << message;
        EXPECT_THAT(outcome.error, HasSubstr(message));
        EXPECT_FALSE(std::filesystem::exists(folder / "x.tune.csv"));
    };
    expect("pitch.x", "9", "board.png", "field: pitch.x; allowed: with references one of threshold, edge_tolerance,");
    expect("edge_tolerance", "40", "board.png", "edge_tolerance: 40; allowed: 0 to 16 pixels");
    expect("threshold", "9", "gone.png", "gone.png: no such file");
    expect("threshold", "9", "panel.png", "image panel.png, image: correlation with the registered reference");
    const Outcome neither = RunNarvo(folder, {"tune", "board.png", "-f", "threshold", "--from", "1", "--to", "2"});
    EXPECT_EQ(neither.code, 2);
    EXPECT_THAT(neither.error, HasSubstr("--recipe or --reference"));
    EXPECT_EQ(RunNarvo(folder, {"tune", "board.png", "-r", "panel.recipe.json", "--reference", "board.good.png", "-f",
                                "threshold", "--from", "1", "--to", "2"})
                  .code,
              2);
}

TEST(NarvoTune, ProblemsAreReportedTogether)
{
    TestFolder folder;
    MakeSmallPanel(folder);
    const Outcome outcome =
        RunNarvo(folder, {"tune", "panel.png", "-r", "panel.recipe.json", "-f", "mode", "--from", "1", "--to", "2",
                          "--truth", "panel.truth.json", "no.json", "--plot", "a.gif"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("--truth: 2 files"));
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
