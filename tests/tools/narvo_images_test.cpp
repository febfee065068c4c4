// SPDX-License-Identifier: MIT
// Images of colours, deep values, mosaics and raw frames through the program: each gives the results of the grey image
// that it holds.
#include <fstream>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "host/image/grey_image.h"
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::HasSubstr;

cv::Mat Panel(const TestFolder& folder)
{
    return cv::imread((folder / "panel.png").string(), cv::IMREAD_GRAYSCALE);
}

/// The panel's pixels in one channel of three; noise in the others.
void SaveColours(const TestFolder& folder, const std::string& name, int channel)
{
    const cv::Mat panel = Panel(folder);
    std::vector<cv::Mat> channels(3);
    cv::RNG random(7);
    for (int i = 0; i < 3; ++i)
    {
        channels[static_cast<std::size_t>(i)] = cv::Mat(panel.size(), CV_8UC1);
        random.fill(channels[static_cast<std::size_t>(i)], cv::RNG::UNIFORM, 0, 256);
    }
    channels[static_cast<std::size_t>(channel)] = panel;
    cv::Mat merged;
    cv::merge(channels, merged);
    ASSERT_TRUE(cv::imwrite((folder / name).string(), merged));
}

/// The panel as a line camera sees it whose columns get 60 to 100 % of the light above a dark value of 16, and frames
/// of an even white and without light.
void SaveUneven(const TestFolder& folder)
{
    const cv::Mat panel = Panel(folder);
    cv::Mat_<std::uint16_t> seen(panel.size());
    cv::Mat_<std::uint16_t> white(3, panel.cols);
    for (int x = 0; x < panel.cols; ++x)
    {
        const double light = 0.6 + 0.4 * x / panel.cols;
        for (int y = 0; y < panel.rows; ++y)
            seen(y, x) = cv::saturate_cast<std::uint16_t>(16.0 * (16.0 + light * panel.at<std::uint8_t>(y, x)));
        for (int y = 0; y < 3; ++y)
            white(y, x) = cv::saturate_cast<std::uint16_t>(16.0 * (16.0 + light * 250.0) + 2 * y - 2);
    }
    ASSERT_TRUE(cv::imwrite((folder / "seen.png").string(), seen));
    ASSERT_TRUE(cv::imwrite((folder / "white.png").string(), white));
    ASSERT_TRUE(cv::imwrite((folder / "black.png").string(), cv::Mat_<std::uint16_t>(3, panel.cols, 256)));
}

std::string BlobsOf(const TestFolder& folder, const std::string& prefix)
{
    return ReadText(folder / (prefix + ".blobs.csv"));
}

/// Inspects the grey panel, and another image with options; both must give the same blobs, some of them.
void ExpectSameBlobs(const TestFolder& folder, const std::string& image, std::vector<std::string> options,
                     const std::string& recipe = "panel.recipe.json")
{
    ASSERT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "-q", "-o", "grey"}).code, 0);
    std::vector<std::string> arguments = {"inspect", image, "-r", recipe, "-q", "-o", "other"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome outcome = RunNarvo(folder, arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_EQ(outcome.error, "");
    const std::string blobs = BlobsOf(folder, "grey");
    EXPECT_GT(std::count(blobs.begin(), blobs.end(), '\n'), 3);
    EXPECT_EQ(BlobsOf(folder, "other"), blobs);
}

void SaveRecipe(const TestFolder& folder, const json& image)
{
    json recipe = json::parse(ReadText(folder / "panel.recipe.json"));
    recipe["image"] = image;
    std::ofstream(folder / "other.json") << recipe;
}

} // namespace

TEST(NarvoImages, OneChannelOfColoursIsInspectedByOptionAndByRecipe)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    SaveColours(folder, "colours.png", 1);
    ExpectSameBlobs(folder, "colours.png", {"--channel", "green"});
    ExpectSameBlobs(folder, "colours.png", {"--weights", "0,1,0"});
    SaveRecipe(folder, {{"channel", "green"}});
    ExpectSameBlobs(folder, "colours.png", {}, "other.json");
    // The option takes the place of the recipe's field.
    SaveRecipe(folder, {{"channel", "red"}});
    ExpectSameBlobs(folder, "colours.png", {"--channel", "green"}, "other.json");
}

TEST(NarvoImages, EachChannelIsInspectedAndBlobsSayWhichShowsThem)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const cv::Mat panel = Panel(folder);
    const cv::Mat plain(panel.size(), CV_8UC1, cv::Scalar(128.0));
    cv::Mat merged;
    cv::merge(std::vector<cv::Mat>{plain, panel, plain}, merged);
    std::filesystem::create_directory(folder / "in");
    ASSERT_TRUE(cv::imwrite((folder / "in/colours.ppm").string(), merged));
    SaveRecipe(folder, {{"channel", "each"}});
    ASSERT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "-q", "-o", "grey"}).code, 0);
    std::string wanted = BlobsOf(folder, "grey");
    for (std::size_t at = 0; (at = wanted.find(",grey,", at)) != std::string::npos;)
        wanted.replace(at, 6, ",green,");
    ASSERT_EQ(RunNarvo(folder, {"inspect", "in/colours.ppm", "-r", "other.json", "-q", "-o", "each"}).code, 0);
    EXPECT_EQ(BlobsOf(folder, "each"), wanted);
    EXPECT_THAT(wanted, HasSubstr(",green,"));

    // A folder brings files of this kind, lanes change nothing, and the page of results says the channel.
    const auto lines = [&](const char* lanes)
    {
        const Outcome outcome =
            RunNarvo(folder, {"inspect", "in", "-r", "other.json", "-q", "--overwrite", "--lanes", lanes});
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        return ReadText(folder / "results.jsonl");
    };
    const std::string alone = lines("1");
    EXPECT_THAT(alone, HasSubstr("\"channel\":\"green\""));
    EXPECT_EQ(lines("3"), alone);
    const Outcome page = RunNarvo(folder, {"report", "results.jsonl", "-o", "page.html", "-q"});
    EXPECT_EQ(page.code, 0) << page.error;
    EXPECT_THAT(ReadText(folder / "page.html"), HasSubstr("\"green\""));

    const Outcome explained = RunNarvo(folder, {"explain", "in/colours.ppm", "-r", "other.json", "--at", "30,30"});
    EXPECT_EQ(explained.code, 2);
    EXPECT_THAT(explained.error, HasSubstr("image.channel: each; allowed: one channel to explain: --channel red"));
}

TEST(NarvoImages, LossIsNotedOnceForManyImages)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    for (const char* name : {"a.png", "b.png", "c.png"})
        SaveColours(folder, name, 0);
    const Outcome many =
        RunNarvo(folder, {"inspect", "a.png", "b.png", "c.png", "-r", "panel.recipe.json", "-q", "--lanes", "2"});
    EXPECT_EQ(many.code, 0) << many.error;
    EXPECT_THAT(many.error, testing::MatchesRegex("narvo: note: image [abc].png: colours are read as their luma.*\n"));
    EXPECT_EQ(std::count(many.error.begin(), many.error.end(), '\n'), 1) << many.error;
    const Outcome one = RunNarvo(folder, {"inspect", "a.png", "-r", "panel.recipe.json", "-q"});
    EXPECT_THAT(one.error, HasSubstr("narvo: note: image a.png: colours are read as their luma"));
}

TEST(NarvoImages, TwelveBitsAreInspectedByLevels)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    cv::Mat deep;
    Panel(folder).convertTo(deep, CV_16UC1, 16.0, 37.0); // grey levels of 16 counts above 37
    ASSERT_TRUE(cv::imwrite((folder / "deep.tif").string(), deep));
    ExpectSameBlobs(folder, "deep.tif", {"--levels", "37:4117"});
    SaveRecipe(folder, {{"levels", {{"low", 37}, {"high", 4117}}}});
    ExpectSameBlobs(folder, "deep.tif", {}, "other.json");
}

TEST(NarvoImages, RawFramesAreInspectedOneByOneAndByTheFolder)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const cv::Mat panel = Panel(folder);
    std::filesystem::create_directory(folder / "frames");
    std::ofstream(folder / "frames/a.raw", std::ios::binary) << "head" << std::string(panel.ptr<char>(), panel.total());
    const std::string shape = "Mono8:" + std::to_string(panel.cols) + "x" + std::to_string(panel.rows) + "+4";
    ExpectSameBlobs(folder, "frames/a.raw", {"--raw", shape});
    const Outcome outcome = RunNarvo(folder, {"inspect", "frames", "-r", "panel.recipe.json", "-q", "--raw", shape});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(ReadText(folder / "results.jsonl"), HasSubstr("frames/a.raw"));
}

TEST(NarvoImages, PitchWritesTheOptionsIntoItsRecipe)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    SaveColours(folder, "colours.png", 2);
    const Outcome outcome = RunNarvo(folder, {"pitch", "colours.png", "--channel", "red", "--recipe", "found.json"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_EQ(json::parse(ReadText(folder / "found.json"))["image"]["channel"], "red");
    EXPECT_EQ(RunNarvo(folder, {"inspect", "colours.png", "-r", "found.json", "-q"}).error, "");
}

TEST(NarvoImages, WrongOptionsAreNamedWithWhatIsAllowed)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const auto refusal = [&](std::vector<std::string> options)
    {
        options.insert(options.begin(), {"inspect", "panel.png", "-r", "panel.recipe.json"});
        const Outcome outcome = RunNarvo(folder, options);
        EXPECT_EQ(outcome.code, 2);
        return outcome.error;
    };
    EXPECT_THAT(refusal({"--channel", "uv"}),
                HasSubstr("--channel: uv; allowed: auto, luma, red, green, blue, mixture or "
                          "each"));
    EXPECT_THAT(refusal({"--levels", "9"}), HasSubstr("--levels: 9; allowed: LOW:HIGH"));
    EXPECT_THAT(refusal({"--levels", "9:9"}), HasSubstr("--levels: 9:9; allowed: LOW:HIGH"));
    const std::string once = refusal({"--levels", "9:9"});
    EXPECT_EQ(std::count(once.begin(), once.end(), '\n'), 1) << once;
    EXPECT_THAT(refusal({"--levels", "0:2000000"}), HasSubstr("image.levels.high: 2000000; allowed: whole number, "));
    EXPECT_THAT(refusal({"--weights", "1,2"}), HasSubstr("--weights: 1,2; allowed: RED,GREEN,BLUE"));
    EXPECT_THAT(refusal({"--weights", "1,2,300"}), HasSubstr("image.weights.blue: 300; allowed: -100 to 100"));
    EXPECT_THAT(refusal({"--weights", "1,2,3", "--channel", "red"}), HasSubstr("--channel: red; allowed: left out"));
    EXPECT_THAT(refusal({"--bayer", "rgb"}), HasSubstr("--bayer: rgb; allowed: none, rggb, grbg, gbrg or bggr"));
    EXPECT_THAT(refusal({"--demosaic", "off"}), HasSubstr("image.demosaic: off; allowed: bilinear"));
    EXPECT_THAT(refusal({"--raw", "Mono8"}), HasSubstr("--raw: Mono8; allowed: FORMAT:WIDTHxHEIGHT"));
    EXPECT_THAT(refusal({"--raw", "Mono9:4x4"}), HasSubstr("--raw: Mono9; allowed: none, Mono8, "));
    EXPECT_THAT(refusal({"--raw", "Mono8:0x4"}), HasSubstr("image.raw.width: 0; allowed: 1 or more"));
    EXPECT_THAT(refusal({"--raw", "Mono8:4x4"}), HasSubstr("allowed: 16 bytes: 4 by 4 pixels of Mono8 behind 0 bytes"));
}

TEST(NarvoImages, TuneDoesNotSweepHowImagesAreRead)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const Outcome outcome = RunNarvo(folder, {"tune", "panel.png", "-r", "panel.recipe.json", "--field",
                                              "image.levels.high", "--from", "100", "--to", "200"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("image.levels.high"));
}

TEST(NarvoImages, FieldsMadeOfFramesEvenTheImageOut)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    SaveUneven(folder);
    const Outcome made = RunNarvo(folder, {"field", "white.png", "--line", "-o", "flat.png"});
    ASSERT_EQ(made.code, 0) << made.error;
    EXPECT_THAT(made.out, HasSubstr(" by 1 pixels\n"));
    ASSERT_EQ(RunNarvo(folder, {"field", "black.png", "--line", "-o", "dark.png"}).code, 0);

    // The mean light is 0.8 of the panel's: so are the corrected values, and the levels undo it.
    const std::vector<std::string> options = {"--flat-field", "flat.png", "--dark-field",
                                              "dark.png",     "--levels", "0:3264"};
    std::vector<std::string> inspect = {"inspect", "seen.png", "-r", "panel.recipe.json", "-q"};
    ASSERT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "-q", "-o", "grey"}).code, 0);
    const auto run = [&](const std::string& prefix, const std::vector<std::string>& more)
    {
        std::vector<std::string> arguments = inspect;
        arguments.insert(arguments.end(), {"-o", prefix});
        arguments.insert(arguments.end(), more.begin(), more.end());
        return RunNarvo(folder, arguments);
    };
    const Outcome even = run("even", options);
    EXPECT_EQ(even.code, 0) << even.error;
    EXPECT_EQ(BlobsOf(folder, "even"), BlobsOf(folder, "grey"));

    // A run is not continued by another field of the same name.
    ASSERT_EQ(run("many", {"--overwrite", "--flat-field", "flat.png", "--dark-field", "dark.png"}).code, 0);
    EXPECT_EQ(run("many", {"--resume", "--flat-field", "flat.png", "--dark-field", "dark.png"}).code, 0);
    ASSERT_EQ(RunNarvo(folder, {"field", "seen.png", "--line", "-o", "flat.png"}).code, 0);
    const Outcome other = run("many", {"--resume", "--flat-field", "flat.png", "--dark-field", "dark.png"});
    EXPECT_EQ(other.code, 2);
    EXPECT_THAT(other.error, HasSubstr("recipe"));

    const Outcome narrow = run("x", {"--flat-field", "panel.png"});
    EXPECT_EQ(narrow.code, 2);
    EXPECT_THAT(narrow.error, HasSubstr("image.flat_field, image.dark_field: 8 bits; allowed: 16 bits"));
    EXPECT_EQ(RunNarvo(folder, {"field", "white.png", "-o", "white.png"}).code, 2) << "an input would be overwritten";
}

TEST(NarvoImages, ATunedRecipeKeepsTheFieldsThatOptionsNamed)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    SaveUneven(folder);
    for (const char* sub : {"fields", "tuned"})
        std::filesystem::create_directory(folder / sub);
    ASSERT_EQ(RunNarvo(folder, {"field", "white.png", "--line", "-o", "fields/flat.png"}).code, 0);
    const std::vector<std::string> tune = {"tune",    "seen.png", "-r",          "panel.recipe.json",
                                           "--field", "min_area", "--from",      "1",
                                           "--to",    "3",        "--levels",    "0:3264",
                                           "-q",      "--save",   "tuned/a.json"};
    const auto run = [&](std::vector<std::string> arguments, const std::string& flat)
    {
        arguments.insert(arguments.end(), {"--flat-field", flat});
        return RunNarvo(folder, arguments);
    };
    const Outcome tuned = run(tune, "fields/flat.png");
    ASSERT_EQ(tuned.code, 0) << tuned.error;
    const json image = json::parse(ReadText(folder / "tuned/a.json"))["image"];
    EXPECT_EQ(image["flat_field"], "a.flat_field.png");
    EXPECT_EQ(ReadText(folder / "tuned/a.flat_field.png"), ReadText(folder / "fields/flat.png"));
    const Outcome inspected = RunNarvo(folder, {"inspect", "seen.png", "-r", "tuned/a.json", "-q", "-o", "alone"});
    EXPECT_EQ(inspected.code, 0) << inspected.error;

    // Neither the copy nor any other output takes the place of a field that was given.
    EXPECT_EQ(run(tune, "tuned/a.flat_field.png").code, 2);
    std::filesystem::copy_file(folder / "fields/flat.png", folder / "fields/x.blobs.csv");
    const Outcome refused =
        run({"inspect", "seen.png", "-r", "panel.recipe.json", "-q", "-o", "fields/x"}, "fields/x.blobs.csv");
    EXPECT_EQ(refused.code, 2);
    EXPECT_THAT(refused.error, HasSubstr("to be written, but it is an input"));
}

} // namespace narvo::test
