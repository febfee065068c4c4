// SPDX-License-Identifier: MIT
// Inspection of many images by the program: what it streams, and that a run that was killed, cut or interrupted can be
// gone on with to the same files.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/image/grey_image.h"
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

namespace fs = std::filesystem;
using nlohmann::json;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

/// The small panel under many names, shifted a little so that no two results are the same, beside its recipe.
void MakeImages(const TestFolder& folder, int count)
{
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    fs::create_directory(folder / "images");
    const GreyImage panel = LoadGreyImage(folder / "panel.png");
    for (int i = 0; i < count; ++i)
    {
        GreyImage image = panel;
        for (int y = 0; y < 5; ++y)
            std::fill_n(image.Row(200 + 3 * i % 200 + y) + 100 + 5 * i % 300, 5, std::uint8_t{255});
        char name[32];
        std::snprintf(name, sizeof name, "images/i%03d.pgm", i);
        SaveGreyImage(folder / name, image);
    }
}

std::vector<json> Lines(const TestFolder& folder, const std::string& name = "results.jsonl")
{
    std::vector<json> lines;
    std::ifstream stream(folder / name);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(json::parse(line));
    return lines;
}

std::vector<std::string> Images(const std::vector<json>& lines)
{
    std::vector<std::string> names;
    for (const json& line : lines)
        names.push_back(line["image"]);
    return names;
}

/// What a run that nothing disturbs leaves.
std::pair<std::string, std::string> Undisturbed(const TestFolder& folder)
{
    EXPECT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "-o", "whole", "-q"}).code, 0);
    return {ReadText(folder / "whole.jsonl"), ReadText(folder / "whole.csv")};
}

std::pair<std::string, std::string> Left(const TestFolder& folder)
{
    return {ReadText(folder / "results.jsonl"), ReadText(folder / "results.csv")};
}

/// Starts an inspection of the images in the background and sends it a signal when some lines are there.
/// @return its status as wait reports it
int SignalInMidRun(const TestFolder& folder, int signal, int lines)
{
    const pid_t child = fork();
    if (child == 0)
    {
        const int nowhere = open("/dev/null", O_RDWR);
        const int out = open((folder / "out.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        dup2(out, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        if (chdir(folder.Path().c_str()) == 0)
            execl(NARVO_PROGRAM, NARVO_PROGRAM, "inspect", "images", "--recipe", "panel.recipe.json", "--lanes", "2",
                  static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    for (bool sent = false; waitpid(child, &status, sent ? 0 : WNOHANG) == 0;)
    {
        const std::string text = ReadText(folder / "results.jsonl");
        if (std::count(text.begin(), text.end(), '\n') >= lines)
        {
            kill(child, signal);
            sent = true;
        }
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return status;
}

} // namespace

TEST(NarvoBatch, NameThatIsListedTwiceIsInspectedOnceWithAWarning)
{
    const TestFolder folder;
    MakeImages(folder, 3);
    std::ofstream(folder / "list.txt") << "images/i001.pgm\nimages/i000.pgm\n./images/i001.pgm\n";
    const Outcome twice = RunNarvo(folder, {"inspect", "--list", "list.txt", "-r", "panel.recipe.json", "-q"});
    EXPECT_EQ(twice.code, 0);
    EXPECT_EQ(twice.error, "narvo: warning: images/i001.pgm is named twice; each image is inspected once\n");
    EXPECT_THAT(Images(Lines(folder)), ElementsAre("images/i001.pgm", "images/i000.pgm"));
    const Outcome again =
        RunNarvo(folder, {"inspect", "images", "--list", "list.txt", "-r", "panel.recipe.json", "-q", "-o", "again"});
    EXPECT_EQ(
        again.error,
        "narvo: warning: images/i001.pgm and others are named again, 3 times in all; each image is inspected once\n");
    EXPECT_THAT(Lines(folder, "again.jsonl"), SizeIs(3));
}

TEST(NarvoBatch, FolderLeavesALineForEachImageAndARowForEachBlob)
{
    const TestFolder folder;
    MakeImages(folder, 3);
    const Outcome outcome = RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "--lanes", "2"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("images: 3 (3 inspected, 0 refused, 0 with warnings)\n"));
    EXPECT_THAT(outcome.error, ContainsRegex("narvo: 3 of 3 images, [0-9.]+ images/s, [0-9]+ Mpixel/s, "
                                             "[0-9]+ blobs, 0:00 left\n"));
    const std::vector<json> lines = Lines(folder);
    EXPECT_THAT(Images(lines), ElementsAre("images/i000.pgm", "images/i001.pgm", "images/i002.pgm"));
    std::size_t blobs = 0;
    for (const json& line : lines)
    {
        EXPECT_EQ(line["status"], "inspected");
        EXPECT_EQ(line["width"], 512);
        ASSERT_THAT(line["regions"], SizeIs(1));
        EXPECT_EQ(line["blob_count"], line["regions"][0]["blobs"].size());
        blobs += line["regions"][0]["blobs"].size();
    }
    EXPECT_GE(blobs, 24U);
    const std::string table = ReadText(folder / "results.csv");
    EXPECT_EQ(static_cast<std::size_t>(std::count(table.begin(), table.end(), '\n')), blobs + 1);
    EXPECT_THAT(table, testing::StartsWith("image,region,number,polarity,left,"));
    EXPECT_THAT(table, HasSubstr("\nimages/i002.pgm,,1,"));
}

TEST(NarvoBatch, EachLineHoldsWhatASingleRunWrites)
{
    const TestFolder folder;
    MakeImages(folder, 2);
    ASSERT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "-q"}).code, 0);
    ASSERT_EQ(RunNarvo(folder, {"inspect", "images/i001.pgm", "-r", "panel.recipe.json", "-q", "-o", "one"}).code, 0);
    EXPECT_EQ(Lines(folder)[1]["regions"][0]["blobs"], json::parse(ReadText(folder / "one.blobs.json"))["blobs"]);
}

TEST(NarvoBatch, RunThatIsKilledContinuesToTheFilesOfAnUndisturbedOne)
{
    const TestFolder folder;
    MakeImages(folder, 60);
    const auto whole = Undisturbed(folder);
    bool killed = false;
    for (int attempt = 0; attempt < 5 && !killed; ++attempt)
    {
        for (const char* name : {"results.jsonl", "results.csv"})
            fs::remove(folder / name);
        const int status = SignalInMidRun(folder, SIGKILL, 4);
        killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    }
    ASSERT_TRUE(killed);
    const std::size_t before = Lines(folder).size();
    EXPECT_GE(before, 4U);
    EXPECT_LT(before, 60U);
    const Outcome resumed = RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "--resume"});
    EXPECT_EQ(resumed.code, 0) << resumed.error;
    EXPECT_THAT(resumed.out, HasSubstr(std::to_string(before) + " done before"));
    EXPECT_EQ(Left(folder), whole);
}

TEST(NarvoBatch, InterruptedRunSaysSoAndContinuesToTheFilesOfAnUndisturbedOne)
{
    const TestFolder folder;
    MakeImages(folder, 60);
    const auto whole = Undisturbed(folder);
    int status = 0;
    for (int attempt = 0; attempt < 5 && WEXITSTATUS(status) != 6; ++attempt)
    {
        for (const char* name : {"results.jsonl", "results.csv"})
            fs::remove(folder / name);
        status = SignalInMidRun(folder, SIGINT, 3);
    }
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 6);
    const std::size_t done = Lines(folder).size();
    EXPECT_LT(done, 60U);
    EXPECT_THAT(ReadText(folder / "out.txt"),
                HasSubstr("interrupted: " + std::to_string(60 - done) + " images are left; go on with --resume\n"));
    EXPECT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "--resume", "-q"}).code, 0);
    EXPECT_EQ(Left(folder), whole);
}

TEST(NarvoBatch, LineCutAnywhereIsDoneAgainAndNoneIsLostOrDoubled)
{
    const TestFolder folder;
    MakeImages(folder, 3);
    const auto whole = Undisturbed(folder);
    const std::string& lines = whole.first;
    const std::size_t second = lines.find('\n') + 1;
    const std::size_t third = lines.find('\n', second) + 1;
    // Within the first line, at its end with and without the line break, within the next, right before its break.
    for (const std::size_t cut : {std::size_t{0}, std::size_t{1}, second - 1, second, second + 700, third - 1, third,
                                  lines.size() - 1, lines.size()})
    {
        std::ofstream(folder / "results.jsonl") << lines.substr(0, cut);
        std::ofstream(folder / "results.csv") << whole.second.substr(0, whole.second.size() / 2);
        EXPECT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "--resume", "-q"}).code, 0);
        EXPECT_EQ(Left(folder), whole) << cut;
        EXPECT_FALSE(fs::exists(folder / "results.jsonl.part"));
        EXPECT_FALSE(fs::exists(folder / "results.csv.part"));
    }
}

TEST(NarvoBatch, ChangedImageIsDoneAgainAndATouchedOneIsNot)
{
    const TestFolder folder;
    MakeImages(folder, 3);
    ASSERT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "-q"}).code, 0);
    const GreyImage third = LoadGreyImage(folder / "images/i002.pgm");
    SaveGreyImage(folder / "images/i000.pgm", third);
    fs::last_write_time(folder / "images/i001.pgm", fs::file_time_type::clock::now());
    const Outcome outcome = RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "--resume"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.out, HasSubstr("images: 1 to inspect, 2 done before, 1 earlier results no longer hold\n"));
    const std::vector<json> lines = Lines(folder);
    EXPECT_THAT(Images(lines), ElementsAre("images/i000.pgm", "images/i001.pgm", "images/i002.pgm"));
    EXPECT_EQ(lines[0]["regions"], lines[2]["regions"]);
}

TEST(NarvoBatch, BrokenImageIsOneRefusalAndCanBeRetried)
{
    const TestFolder folder;
    MakeImages(folder, 2);
    std::ofstream(folder / "images/i000a.png") << "no image";
    const Outcome outcome = RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json"});
    EXPECT_EQ(outcome.code, 7);
    EXPECT_THAT(outcome.error, HasSubstr("narvo: image images/i000a.png: not an image, or damaged; allowed: "));
    std::vector<json> lines = Lines(folder);
    EXPECT_THAT(Images(lines), ElementsAre("images/i000.pgm", "images/i000a.png", "images/i001.pgm"));
    EXPECT_EQ(lines[1]["status"], "refused");
    EXPECT_EQ(lines[1]["problems"][0]["value"], "not an image, or damaged");
    EXPECT_THAT(lines[1]["regions"], SizeIs(0));

    const std::string before = ReadText(folder / "results.jsonl");
    EXPECT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "--resume", "-q"}).code, 0);
    EXPECT_EQ(ReadText(folder / "results.jsonl"), before);
    EXPECT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "--resume", "--retry", "-q"}).code, 7);
    EXPECT_THAT(Images(Lines(folder)), ElementsAre("images/i000.pgm", "images/i000a.png", "images/i001.pgm"));
}

TEST(NarvoBatch, ResultsThatAreThereAreNeverLostUnasked)
{
    const TestFolder folder;
    MakeImages(folder, 2);
    ASSERT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "-q"}).code, 0);
    const auto before = Left(folder);
    const Outcome again = RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json"});
    EXPECT_EQ(again.code, 2);
    EXPECT_THAT(again.error, HasSubstr("file results.jsonl: exists already; allowed: another name, --resume to "
                                       "continue, or --overwrite to begin afresh\n"));
    EXPECT_EQ(Left(folder), before);

    json recipe = json::parse(ReadText(folder / "panel.recipe.json"));
    recipe["min_area"] = 2;
    std::ofstream(folder / "other.json") << recipe;
    const Outcome other = RunNarvo(folder, {"inspect", "images", "-r", "other.json", "--resume"});
    EXPECT_EQ(other.code, 2);
    EXPECT_THAT(other.error, HasSubstr("file results.jsonl: made by another recipe"));
    EXPECT_EQ(Left(folder), before);

    EXPECT_EQ(RunNarvo(folder, {"inspect", "images/i001.pgm", "-r", "other.json", "--overwrite", "-q"}).code, 0);
    EXPECT_THAT(Images(Lines(folder)), ElementsAre("images/i001.pgm"));
}

TEST(NarvoBatch, PaintedZonesAreNoImagesAndListsAndFoldersBringEachImageOnce)
{
    const TestFolder folder;
    MakeImages(folder, 2);
    for (const char* name : {"panel.recipe.json", "panel.zones.png"})
        fs::copy_file(folder / name, folder / (std::string("images/") + name));
    fs::create_directory(folder / "images/deeper");
    fs::copy_file(folder / "panel.png", folder / "images/deeper/panel.png");
    std::ofstream(folder / "list.txt") << "images/i001.pgm\r\n\n./images/i000.pgm\nnone.png\n";
    ASSERT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "images/panel.recipe.json", "-q"}).code, 0);
    EXPECT_THAT(Images(Lines(folder)), ElementsAre("images/i000.pgm", "images/i001.pgm"));
    EXPECT_EQ(RunNarvo(folder, {"inspect", "images", "images/i000.pgm", "--list", "list.txt", "--recursive", "-r",
                                "images/panel.recipe.json", "-q", "-o", "all"})
                  .code,
              7);
    EXPECT_THAT(Images(Lines(folder, "all.jsonl")),
                ElementsAre("images/deeper/panel.png", "images/i000.pgm", "images/i001.pgm", "none.png"));
}

TEST(NarvoBatch, BadSelectionsAreReportedAllAtOnce)
{
    const TestFolder folder;
    MakeImages(folder, 1);
    fs::create_directory(folder / "empty");
    const Outcome outcome =
        RunNarvo(folder, {"inspect", "empty", "images", "--list", "none.txt", "-r", "panel.recipe.json"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.error,
              "narvo: folder empty: no images; allowed: a folder with PNG, TIFF, BMP, PGM or JPEG files; --recursive "
              "looks below it\n"
              "narvo: list none.txt: no such file; allowed: a readable file with the name of an image in each line\n");
    EXPECT_FALSE(fs::exists(folder / "results.jsonl"));
    EXPECT_EQ(RunNarvo(folder, {"inspect", "-r", "panel.recipe.json"}).code, 2);
    EXPECT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "--lanes", "0"}).code, 2);
    EXPECT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "--truth", "panel.truth.json"}).code,
              2);
    EXPECT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "panel.recipe.json", "-o", "no/such/folder/x"}).code, 3);
}

TEST(NarvoBatch, SeveralRegionsComeBySingleAndByBatchRuns)
{
    const TestFolder folder;
    MakeImages(folder, 2);
    json recipe = json::parse(ReadText(folder / "panel.recipe.json"));
    recipe["regions"] = {
        {{"name", "left, upper"}, {"region", {{"left", 0}, {"top", 0}, {"right", 256}, {"bottom", 640}}}},
        {{"name", "right"}, {"region", {{"left", 256}, {"top", 0}, {"right", 512}, {"bottom", 640}}}}};
    std::ofstream(folder / "two.json") << recipe;
    ASSERT_EQ(RunNarvo(folder, {"inspect", "images", "-r", "two.json", "-q", "--lanes", "3"}).code, 0);
    const std::vector<json> lines = Lines(folder);
    ASSERT_THAT(lines, SizeIs(2));
    ASSERT_THAT(lines[0]["regions"], SizeIs(2));
    EXPECT_EQ(lines[0]["regions"][1]["name"], "right");
    EXPECT_GE(lines[0]["blob_count"], 5);
    EXPECT_THAT(ReadText(folder / "results.csv"), HasSubstr("\nimages/i000.pgm,\"left, upper\",1,"));

    const Outcome single = RunNarvo(folder, {"inspect", "images/i000.pgm", "-r", "two.json", "-o", "one"});
    EXPECT_EQ(single.code, 0) << single.error;
    EXPECT_THAT(single.out, HasSubstr("inspected right vertically"));
    const json result = json::parse(ReadText(folder / "one.blobs.json"));
    ASSERT_THAT(result["regions"], SizeIs(2));
    for (const int region : {0, 1})
        EXPECT_EQ(result["regions"][region]["blobs"], lines[0]["regions"][region]["blobs"]);
    EXPECT_THAT(ReadText(folder / "one.blobs.csv"), testing::StartsWith("region,number,"));
}

} // namespace narvo::test
