// SPDX-License-Identifier: MIT
// `narvo evaluate` on made-up sets whose defects are known.
#include <fstream>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::HasSubstr;

json TruthOf(const TestFolder& folder, const std::string& name)
{
    return json::parse(ReadText(folder / (name + ".truth.json")))["defects"];
}

/// The true boxes as lines of left, top, right, bottom and kind.
void SaveBoxLines(const TestFolder& folder, const std::string& name, const std::string& file)
{
    std::ofstream lines(folder / file);
    for (const json& defect : TruthOf(folder, name))
        lines << defect["left"] << ' ' << defect["top"] << ' ' << defect["right"] << ' ' << defect["bottom"] << ' '
              << defect["kind"].get<std::string>() << '\n';
}

/// Two boards of 512 by 512 pixels with four defects each, as pairs in pairs/.
void MakePairs(const TestFolder& folder)
{
    std::filesystem::create_directory(folder / "pairs");
    for (const std::string seed : {"1", "2"})
    {
        const std::string name = "board" + seed;
        ASSERT_EQ(RunNarvo(folder, {"board", "--width", "512", "--height", "512", "--defects", "4", "--shift-x", "6.5",
                                    "--seed", seed, "--quiet", "--output", name})
                      .code,
                  0);
        std::filesystem::rename(folder / (name + ".good.png"), folder / ("pairs/" + name + "_temp.png"));
        std::filesystem::rename(folder / (name + ".png"), folder / ("pairs/" + name + "_test.png"));
        SaveBoxLines(folder, name, "pairs/" + name + ".txt");
    }
}

/// A good panel and a defective one with the mask of its defects, in set/; the recipe is bad.recipe.json.
void MakeMaskedPanels(const TestFolder& folder)
{
    for (const std::string part : {"good", "defective", "mask"})
        std::filesystem::create_directories(folder / "set" / part);
    for (const std::string name : {"good", "bad"})
        ASSERT_EQ(
            RunNarvo(folder, {"synth", "--width", "512", "--height", "640", "--pitch-x", "40.5", "--pitch-y", "48.25",
                              "--defects", name == "good" ? "0" : "6", "--seed", "3", "--quiet", "--output", name})
                .code,
            0);
    cv::Mat mask = cv::Mat::zeros(640, 512, CV_8UC1);
    for (const json& defect : TruthOf(folder, "bad"))
        mask(cv::Rect(cv::Point(defect["left"], defect["top"]), cv::Point(defect["right"], defect["bottom"])))
            .setTo(255);
    ASSERT_TRUE(cv::imwrite((folder / "set/mask/a.png").string(), mask));
    std::filesystem::copy_file(folder / "good.png", folder / "set/good/a.png");
    std::filesystem::copy_file(folder / "bad.png", folder / "set/defective/a.png");
}

const json& MethodNamed(const json& document, const std::string& name)
{
    for (const json& method : document["methods"])
        if (method["name"] == name)
            return method;
    ADD_FAILURE() << "no method " << name;
    return document["methods"][0];
}

} // namespace

TEST(NarvoEvaluate, PairsAreMeasuredByGoldenInspectionForAnyNumberOfLanes)
{
    const TestFolder folder;
    MakePairs(folder);
    const Outcome one = RunNarvo(folder, {"evaluate", "pairs", "--json", "one.json", "--page", "one.html", "-j", "1"});
    EXPECT_EQ(one.code, 0) << one.error;
    EXPECT_THAT(one.out, HasSubstr("pairs of reference and image with boxes, 2 images"));
    const Outcome two = RunNarvo(folder, {"evaluate", "pairs", "--json", "two.json", "--page", "two.html", "-j", "2"});
    EXPECT_EQ(two.out, one.out);
    EXPECT_EQ(ReadText(folder / "two.json"), ReadText(folder / "one.json"));
    EXPECT_EQ(ReadText(folder / "two.html"), ReadText(folder / "one.html"));

    const json document = json::parse(ReadText(folder / "one.json"));
    const json golden = MethodNamed(document, "golden");
    EXPECT_GE(golden["found"]["value"], 0.75);
    EXPECT_LE(golden["false_an_image"]["value"], 2.0);
    int regions = 0;
    for (const auto& [kind, count] : golden["kinds"].items())
        regions += count["regions"].get<int>();
    EXPECT_EQ(regions, 8);
    // The board lies shifted on its reference, which the plain difference takes for defects.
    EXPECT_GT(MethodNamed(document, "absolute difference")["false_an_image"]["value"],
              golden["false_an_image"]["value"]);
    EXPECT_THAT(ReadText(folder / "one.html"), HasSubstr("<svg"));
}

TEST(NarvoEvaluate, RecipeIsMeasuredOnMasksBesideTheBaselines)
{
    const TestFolder folder;
    MakeMaskedPanels(folder);
    const Outcome outcome = RunNarvo(folder, {"evaluate", "set", "--recipe", "bad.recipe.json", "--json", "set.json"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("image AUROC     1.000"));
    const json document = json::parse(ReadText(folder / "set.json"));
    EXPECT_EQ(document["margin"], 5);
    const json recipe = MethodNamed(document, "recipe");
    EXPECT_EQ(recipe["image_auroc"]["value"], 1.0);
    EXPECT_GT(recipe["pixel_auroc"]["value"], 0.6);
    EXPECT_GE(recipe["found"]["value"], 0.8);
    EXPECT_EQ(recipe["images"][0]["name"], "good/a.png");
    EXPECT_EQ(recipe["images"][0]["false"], 0);
    MethodNamed(document, "absolute difference at the pitch");
    MethodNamed(document, "local deviation");
    // At higher thresholds no more is found, and no more is false.
    double found = 0.0;
    for (const json& point : recipe["factors"])
    {
        if (point["factor"] < 1.0)
            break;
        EXPECT_GE(point["found"], found);
        found = point["found"];
    }
}

TEST(NarvoEvaluate, RecipeIsLearntFromTheFirstGoodImagesAndMeasuredOnTheOthers)
{
    const TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"cloth", "--good", "4", "--bad", "2", "--width", "640", "--height", "192", "--margin",
                                "80", "--defects", "2", "--seed", "1", "--output", "set"})
                  .code,
              0);
    const auto evaluate = [&](const char* lanes, const char* name)
    {
        return RunNarvo(folder, {"evaluate", "set", "--learn", "3", "-j", lanes, "--json", std::string(name) + ".json",
                                 "--page", std::string(name) + ".html"});
    };
    const Outcome one = evaluate("1", "one");
    EXPECT_EQ(one.code, 0) << one.error;
    const std::string from = "Learnt from 3 good images, which are not measured: good/001.png, good/002.png, "
                             "good/003.png; ";
    EXPECT_THAT(one.out, HasSubstr("good, defective and mask folders, 3 images\n" + from));
    EXPECT_THAT(one.out, HasSubstr("\nlearnt from 3 images:\n"));
    EXPECT_THAT(one.error, HasSubstr("narvo: warning: Learnt from 3 images; take 6 or more"));
    EXPECT_THAT(ReadText(folder / "one.html"), HasSubstr(from));
    const json document = json::parse(ReadText(folder / "one.json"));
    EXPECT_EQ(document["learnt_from"], json({"good/001.png", "good/002.png", "good/003.png"}));
    const json learnt = MethodNamed(document, "learnt from 3 images");
    ASSERT_EQ(learnt["images"].size(), 3U);
    EXPECT_EQ(learnt["images"][0]["name"], "good/004.png");
    EXPECT_GE(learnt["found"]["value"], 0.5);
    MethodNamed(document, "local deviation");

    EXPECT_EQ(evaluate("2", "two").out, one.out);
    EXPECT_EQ(ReadText(folder / "two.json"), ReadText(folder / "one.json"));
    EXPECT_EQ(ReadText(folder / "two.html"), ReadText(folder / "one.html"));

    const Outcome all = RunNarvo(folder, {"evaluate", "set", "--learn", "5"});
    EXPECT_EQ(all.code, 2);
    EXPECT_THAT(all.error, HasSubstr("--learn: 5; allowed: 1 to 4, since the set has 4 good images of 6"));
    EXPECT_EQ(RunNarvo(folder, {"evaluate", "set", "--learn", "0"}).code, 2);
    EXPECT_EQ(RunNarvo(folder, {"evaluate", "set", "--learn", "2", "--recipe", "r.json"}).code, 2);
    const Outcome over = RunNarvo(folder, {"evaluate", "set", "--learn", "2", "--json", "set/good/001.png"});
    EXPECT_EQ(over.code, 2);
    EXPECT_THAT(over.error, HasSubstr("set/good/001.png"));
}

TEST(NarvoEvaluate, ReferenceStandsForTheWholeSet)
{
    const TestFolder folder;
    MakePairs(folder);
    std::filesystem::create_directory(folder / "boxes");
    std::filesystem::rename(folder / "pairs/board1_test.png", folder / "boxes/a.png");
    std::filesystem::rename(folder / "pairs/board1.txt", folder / "boxes/a.txt");
    std::filesystem::copy_file(folder / "pairs/board1_temp.png", folder / "boxes/good.png");
    const Outcome outcome =
        RunNarvo(folder, {"evaluate", "boxes", "--reference", "pairs/board1_temp.png", "--json", "boxes.json"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    const json document = json::parse(ReadText(folder / "boxes.json"));
    EXPECT_GE(MethodNamed(document, "golden")["found"]["value"], 0.75);
    EXPECT_EQ(MethodNamed(document, "golden")["image_auroc"]["value"], 1.0);
}

TEST(NarvoEvaluate, RefusedImageCountsAsNotFoundAndIsNamed)
{
    const TestFolder folder;
    MakePairs(folder);
    // Another board does not lie on this reference.
    std::filesystem::copy_file(folder / "pairs/board2_test.png", folder / "pairs/board1_test.png",
                               std::filesystem::copy_options::overwrite_existing);
    const Outcome outcome = RunNarvo(folder, {"evaluate", "pairs", "--json", "pairs.json"});
    EXPECT_EQ(outcome.code, 7);
    EXPECT_THAT(outcome.out, HasSubstr("refused         1"));
    EXPECT_NE(outcome.error, "");
    const json golden = MethodNamed(json::parse(ReadText(folder / "pairs.json")), "golden");
    EXPECT_EQ(golden["refused"], 1);
    EXPECT_EQ(golden["images"][0]["found"], 0);
    EXPECT_FALSE(golden["images"][0]["problems"].empty());
}

TEST(NarvoEvaluate, WhatDoesNotFitIsNamed)
{
    const TestFolder folder;
    MakeMaskedPanels(folder);
    const auto refusal = [&](const std::vector<std::string>& arguments)
    {
        const Outcome outcome = RunNarvo(folder, arguments);
        EXPECT_EQ(outcome.code, 2) << outcome.out;
        return outcome.error;
    };
    EXPECT_THAT(refusal({"evaluate", "nowhere", "-r", "bad.recipe.json"}), HasSubstr("no such folder"));
    EXPECT_THAT(refusal({"evaluate", "set"}), HasSubstr("--reference"));
    EXPECT_THAT(refusal({"evaluate", "set", "-r", "bad.recipe.json", "--json", "set/mask/a.png"}),
                HasSubstr("set/mask/a.png"));
    EXPECT_THAT(refusal({"evaluate", "set", "-r", "bad.recipe.json", "--patch", "7"}), HasSubstr("--patch"));
    ASSERT_TRUE(cv::imwrite((folder / "set/mask/a.png").string(), cv::Mat(64, 640, CV_8UC1, cv::Scalar(255))));
    const std::string error = refusal({"evaluate", "set", "-r", "bad.recipe.json"});
    EXPECT_THAT(error, HasSubstr("640 by 64 pixels"));
    EXPECT_THAT(error, HasSubstr("512 by 640 pixels of the image"));
}

TEST(NarvoEvaluate, ScriptMeasuresSeveralFoldersIntoOneTable)
{
    const TestFolder folder;
    MakePairs(folder);
    std::filesystem::create_directory(folder / "one");
    for (const std::string file : {"board1_temp.png", "board1_test.png", "board1.txt"})
        std::filesystem::copy_file(folder / "pairs" / file, folder / "one" / file);
    const Outcome outcome = RunLine(folder, "NARVO='" NARVO_PROGRAM "' '" NARVO_SOURCE_FOLDER
                                            "/scripts/evaluate' -o out pairs one -- -j 2");
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("-pairs | 2 | golden | "));
    EXPECT_THAT(outcome.out, HasSubstr("-one | 1 | golden | "));
    int pages = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "out"))
        pages += entry.path().extension() == ".html" ? 1 : 0;
    EXPECT_EQ(pages, 2);
    EXPECT_EQ(RunLine(folder, "NARVO=narvo '" NARVO_SOURCE_FOLDER "/scripts/evaluate'").code, 2);
}

} // namespace narvo::test
