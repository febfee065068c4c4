// SPDX-License-Identifier: MIT
// Inspection from files to files, and every kind of bad input by exit code and message.
#include <algorithm>

#include <opencv2/imgcodecs.hpp>

#include "host/image/grey_image.h"
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;

/// The small panel's recipe with one value changed, written as changed.json.
void ChangeRecipe(const TestFolder& folder, const char* pointer, const json& value)
{
    json document = json::parse(ReadText(folder / "panel.recipe.json"));
    document[json::json_pointer(pointer)] = value;
    std::ofstream(folder / "changed.json") << document;
}

Outcome InspectChanged(const TestFolder& folder)
{
    return RunNarvo(folder, {"inspect", "panel.png", "--recipe", "changed.json", "--quiet"});
}

TEST(NarvoInspect, SmallPanelIsInspectedToItsTruth)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const Outcome outcome =
        RunNarvo(folder, {"inspect", "panel.png", "--recipe", "panel.recipe.json", "--truth", "panel.truth.json"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_THAT(outcome.out, HasSubstr("recall: 1.000 (8 of 8)\nfalse blobs: 0\n"));
    for (const char* text : {"image:  panel.png, 512 by 640 pixels", "inspected vertically", "blobs:  "})
        EXPECT_THAT(outcome.out, HasSubstr(text));
}

TEST(NarvoInspect, HorizontalDirectionFindsTheSameDefects)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    ChangeRecipe(folder, "/direction", "horizontal");
    const Outcome outcome =
        RunNarvo(folder, {"inspect", "panel.png", "--recipe", "changed.json", "--truth", "panel.truth.json"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.out, HasSubstr("recall: 1.000 (8 of 8)\nfalse blobs: 0\n"));
    EXPECT_THAT(outcome.out, HasSubstr("inspected horizontally"));
}

TEST(NarvoInspect, WideRegionGivesTheSameBlobsInBandsAndInOne)
{
    const TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"synth", "--width", "4352", "--height", "400", "--pitch-x", "50.5", "--pitch-y",
                                "44.25", "--defects", "30", "--seed", "11", "--quiet"})
                  .code,
              0);
    const auto boxes = [&](bool split)
    {
        ChangeRecipe(folder, "/band_split", split);
        EXPECT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "changed.json", "-q"}).code, 0);
        std::vector<json> found;
        const json result = json::parse(ReadText(folder / "panel.blobs.json"));
        for (json blob : result["blobs"])
        {
            blob.erase("number");
            found.push_back(blob);
        }
        std::sort(found.begin(), found.end());
        return found;
    };
    const auto whole = boxes(false);
    EXPECT_GE(whole.size(), 25U);
    EXPECT_EQ(boxes(true), whole);
}

TEST(NarvoInspect, JsonAndCsvHoldTheSameBlobsAndTheOverlayTheImagesSize)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    ASSERT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "-o", "out", "-q"}).code, 0);
    const json result = json::parse(ReadText(folder / "out.blobs.json"));
    EXPECT_EQ(result["version"], 1);
    EXPECT_EQ(result["code"], 1);
    EXPECT_EQ(result["image"], "panel.png");
    const std::string csv = ReadText(folder / "out.blobs.csv");
    EXPECT_EQ(static_cast<std::size_t>(std::count(csv.begin(), csv.end(), '\n')), result["blobs"].size() + 1);
    EXPECT_THAT(csv, testing::StartsWith("number,polarity,left,top,right,bottom,center_x,center_y,area,"));
    const json& first = result["blobs"][0];
    EXPECT_THAT(csv, HasSubstr("\n1," + first["polarity"].get<std::string>() + "," + first["left"].dump() + ","));

    const cv::Mat overlay = cv::imread((folder / "out.overlay.png").string());
    const cv::Mat image = cv::imread((folder / "panel.png").string());
    EXPECT_EQ(overlay.size(), image.size());
    const cv::Vec3b frame = overlay.at<cv::Vec3b>(first["top"].get<int>() - 5, first["center_x"].get<int>());
    EXPECT_NE(frame[0], frame[2]) << "no coloured frame above the first blob";
    const cv::Point center(first["center_x"].get<int>(), first["center_y"].get<int>());
    EXPECT_EQ(overlay.at<cv::Vec3b>(center), image.at<cv::Vec3b>(center));
}

TEST(NarvoInspect, RegionLimitsWhatIsInspected)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    ChangeRecipe(folder, "/region", {{"left", 101}, {"top", 87}, {"right", 405}, {"bottom", 500}});
    ASSERT_EQ(InspectChanged(folder).code, 0);
    const json result = json::parse(ReadText(folder / "panel.blobs.json"));
    EXPECT_EQ(result["region"]["left"], 101);
    EXPECT_GE(result["blobs"].size(), 1U);
    for (const json& blob : result["blobs"])
    {
        EXPECT_GE(blob["left"].get<int>(), 101);
        EXPECT_GE(blob["top"].get<int>(), 87);
        EXPECT_LE(blob["right"].get<int>(), 405);
        EXPECT_LE(blob["bottom"].get<int>(), 500);
    }
}

TEST(NarvoInspect, DefaultOutputStandsBesideTheImage)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    ASSERT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json"}).code, 0);
    for (const char* name : {"panel.blobs.json", "panel.blobs.csv", "panel.overlay.png"})
        EXPECT_TRUE(std::filesystem::exists(folder / name)) << name;
}

TEST(NarvoInspect, RoomForBlobsThatRunsOutIsAWarningWithItsOwnCode)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    ChangeRecipe(folder, "/max_blobs", 3);
    const Outcome outcome = InspectChanged(folder);
    EXPECT_EQ(outcome.code, 4);
    EXPECT_EQ(outcome.error, "narvo: warning: room for blobs ran out, or nearly so: raise max_blobs (3)\n");
    EXPECT_TRUE(std::filesystem::exists(folder / "panel.overlay.png"));
}

TEST(NarvoInspect, MissingFilesAreNamedTogether)
{
    const TestFolder folder;
    const Outcome outcome = RunNarvo(folder, {"inspect", "no.png", "-r", "no.json", "-t", "none.json"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.error, "narvo: recipe no.json: no such file; allowed: a readable JSON file\n"
                             "narvo: image no.png: no such file; allowed: an image file (PNG, TIFF, BMP, PGM, JPEG)\n"
                             "narvo: truth none.json: no such file; allowed: a readable JSON file\n");
    EXPECT_EQ(outcome.out, "");
}

TEST(NarvoInspect, FileThatIsNoImageIsNamedInOneLine)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    for (const char* name : {"text.png", "cut.png", "cut.jpg", "cut.tif"})
    {
        std::ofstream(folder / name) << (std::string(name) == "text.png"  ? "hello"
                                         : std::string(name) == "cut.jpg" ? "\xFF\xD8\xFF"
                                         : std::string(name) == "cut.tif"
                                             ? "II*"
                                             : ReadText(folder / "panel.png").substr(0, 40));
        const Outcome outcome = RunNarvo(folder, {"inspect", name, "-r", "panel.recipe.json", "-q"});
        EXPECT_EQ(outcome.code, 2) << name;
        EXPECT_EQ(outcome.error,
                  "narvo: image " + std::string(name) +
                      ": not an image, or damaged; allowed: an image file (PNG, TIFF, BMP, PGM, JPEG)\n");
    }
}

TEST(NarvoInspect, OverlayIsLeftOutOnRequest)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const Outcome outcome = RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "--no-overlay"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("written: panel.blobs.json, panel.blobs.csv ("));
    EXPECT_TRUE(std::filesystem::exists(folder / "panel.blobs.csv"));
    EXPECT_FALSE(std::filesystem::exists(folder / "panel.overlay.png"));
}

TEST(NarvoInspect, TruthIsReadFromLinesOfBoxes)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const json truth = json::parse(ReadText(folder / "panel.truth.json"));
    std::ofstream lines(folder / "boxes.txt");
    for (const json& defect : truth["defects"])
        lines << defect["left"] << ' ' << defect["top"] << ' ' << defect["right"] << ' ' << defect["bottom"] << ' '
              << defect["kind"].get<std::string>() << '\n';
    lines.close();
    const auto scored = [&](const std::string& file)
    {
        const Outcome outcome =
            RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "--no-overlay", "-t", file});
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        const std::size_t from = outcome.out.find("true defects found");
        return outcome.out.substr(from, outcome.out.find("written") - from);
    };
    EXPECT_THAT(scored("boxes.txt"), HasSubstr("recall: "));
    EXPECT_EQ(scored("boxes.txt"), scored("panel.truth.json"));
}

TEST(NarvoInspect, FloatWindowsOfNinePixelsNeedNoGreyLimit)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const auto blobs = [&](const json& more)
    {
        json recipe = {{"version", 1},
                       {"mode", "float"},
                       {"direction", "horizontal"},
                       {"pitch", {{"x", 40.5}, {"y", 48.25}}},
                       {"window", {{"width", 3}, {"height", 3}}},
                       {"threshold", {{"base", 180}}}};
        recipe.update(more);
        std::ofstream(folder / "float.json") << recipe;
        const Outcome outcome = RunNarvo(folder, {"inspect", "panel.png", "-r", "float.json", "-q", "--no-overlay"});
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        return ReadText(folder / "panel.blobs.csv");
    };
    const std::string found = blobs(json::object());
    EXPECT_GT(std::count(found.begin(), found.end(), '\n'), 1);
    EXPECT_EQ(blobs({{"grey_limit", 227}}), found);
}

TEST(NarvoInspect, LostColoursAreNoted)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    cv::Mat image = cv::imread((folder / "panel.png").string());
    image.at<cv::Vec3b>(7, 9)[0] = 255;
    ASSERT_TRUE(cv::imwrite((folder / "colour.png").string(), image));
    const Outcome outcome = RunNarvo(folder, {"inspect", "colour.png", "-r", "panel.recipe.json", "-q"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.error, testing::StartsWith("narvo: note: "));
    EXPECT_THAT(outcome.error, HasSubstr("colour.png: colours are read as their luma"));
}

TEST(NarvoInspect, RecipeProblemsNameFieldValueAndRange)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const auto error = [&](const char* pointer, const json& value)
    {
        ChangeRecipe(folder, pointer, value);
        const Outcome outcome = InspectChanged(folder);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
        return outcome.error;
    };
    EXPECT_EQ(error("/grey_limit", 300), "narvo: grey_limit: 300; allowed: whole number, 1 to 255 grey levels\n");
    EXPECT_THAT(error("/grey_limits", 3), HasSubstr("narvo: grey_limits: unknown field; allowed: one of "));
    EXPECT_EQ(error("/region", {{"left", 0}, {"top", 0}, {"right", 513}, {"bottom", 640}}),
              "narvo: region.right: 513; allowed: 1 to 512 pixels\n");
    EXPECT_EQ(error("/zones/multiple/x", 2),
              "narvo: zones.image: 41 by 49 pixels; allowed: at least 81 by 49 pixels, the size of a zone cell\n");
    EXPECT_EQ(error("/zones/list/1/gain", 300),
              "narvo: zones.list[1].gain: 300; allowed: whole number, 0 to 256 in 1/256\n");
    EXPECT_THAT(error("/multiple/y", 20),
                HasSubstr("narvo: pitch.y: 48.25 (times multiple.y, 20); allowed: at most 10.66"));
}

TEST(NarvoInspect, BrokenRecipeFileIsNamedInOneLine)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    std::ofstream(folder / "broken.json") << "{ \"version\": 1,";
    const Outcome outcome = RunNarvo(folder, {"inspect", "panel.png", "-r", "broken.json", "-q"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("narvo: recipe broken.json: parse error at line 1"));
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1);
}

TEST(NarvoInspect, ResultsThatCannotBeWrittenExitWithThree)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const Outcome outcome =
        RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "-o", "nowhere/out", "-q"});
    EXPECT_EQ(outcome.code, 3);
    EXPECT_THAT(outcome.error, HasSubstr("nowhere/out.blobs.json: cannot be written"));
}

} // namespace

} // namespace narvo::test
