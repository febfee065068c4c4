// SPDX-License-Identifier: MIT
// Result files: names that would meet each other or an input, and files that are taken away or cut while a run writes.
#include <algorithm>
#include <chrono>
#include <map>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

void PrepareOutputFolder(const TestFolder& folder)
{
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    for (const char* name : {"a", "b"})
    {
        fs::create_directory(folder / name);
        fs::copy_file(folder / "panel.png", folder / name / "x.png");
    }
    fs::copy_file(folder / "panel.png", folder / "b/x.bmp");
}

/// Runs a batch over many images and calls `disturb` when the first of them are done.
template <typename Disturb>
Outcome DisturbInMidRun(const TestFolder& folder, const std::string& prefix, Disturb disturb)
{
    constexpr int nImages = 400;
    std::ofstream list(folder / "list.txt");
    for (int i = 0; i < nImages; ++i)
    {
        const std::string name = "i" + std::to_string(i) + ".png";
        fs::create_hard_link(folder / "panel.png", folder / name);
        list << name << '\n';
    }
    list.close();
    const pid_t child = fork();
    if (child == 0)
    {
        const int out = open((folder / "out.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        const int error = open((folder / "error.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        dup2(out, STDOUT_FILENO);
        dup2(error, STDERR_FILENO);
        if (chdir(folder.Path().c_str()) == 0)
            execl(NARVO_PROGRAM, NARVO_PROGRAM, "inspect", "--list", "list.txt", "--recipe", "panel.recipe.json",
                  "--lanes", "1", "--output", prefix.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    bool disturbed = false;
    while (waitpid(child, &status, disturbed ? 0 : WNOHANG) == 0)
    {
        const std::string text = ReadText(folder / (prefix + ".jsonl"));
        if (std::count(text.begin(), text.end(), '\n') < 3)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            continue;
        }
        disturb();
        disturbed = true;
    }
    EXPECT_TRUE(disturbed);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadText(folder / "out.txt"), ReadText(folder / "error.txt")};
}

} // namespace

TEST(NarvoOutput, FilesThatAreTakenAwayInMidRunAreNoSuccess)
{
    const TestFolder folder;
    PrepareOutputFolder(folder);
    fs::create_directory(folder / "out");
    const Outcome outcome = DisturbInMidRun(folder, "out/results", [&] { fs::remove_all(folder / "out"); });
    EXPECT_EQ(outcome.code, 3);
    // Lines or table, whichever the run writes first after the removal has reached it.
    EXPECT_THAT(outcome.error, StartsWith("narvo: file out/results."));
    EXPECT_THAT(outcome.error, HasSubstr(": cannot be written: removed or replaced during the run; allowed: "));
    EXPECT_THAT(outcome.out, testing::Not(HasSubstr("written:")));
}

TEST(NarvoOutput, TableThatIsReplacedInMidRunIsNoSuccess)
{
    const TestFolder folder;
    PrepareOutputFolder(folder);
    const Outcome outcome = DisturbInMidRun(folder, "results",
                                            [&]
                                            {
                                                std::ofstream(folder / "new.csv") << "new";
                                                fs::rename(folder / "new.csv", folder / "results.csv");
                                            });
    EXPECT_EQ(outcome.code, 3);
    EXPECT_THAT(outcome.error, HasSubstr("results.csv: cannot be written: removed or replaced during the run"));
}

TEST(NarvoOutput, FileThatIsCutInMidRunIsNoSuccessAndCanBeContinued)
{
    const TestFolder folder;
    PrepareOutputFolder(folder);
    const Outcome outcome = DisturbInMidRun(folder, "results", [&] { fs::resize_file(folder / "results.jsonl", 81); });
    EXPECT_EQ(outcome.code, 3);
    EXPECT_THAT(outcome.error, HasSubstr("results.jsonl: cannot be written: changed during the run, "));
    EXPECT_EQ(RunNarvo(folder, {"inspect", "--list", "list.txt", "-r", "panel.recipe.json", "--resume", "-q"}).code, 0);
    EXPECT_EQ(RunNarvo(folder, {"inspect", "--list", "list.txt", "-r", "panel.recipe.json", "-o", "whole", "-q"}).code,
              0);
    EXPECT_EQ(ReadText(folder / "results.jsonl"), ReadText(folder / "whole.jsonl"));
    EXPECT_EQ(ReadText(folder / "results.csv"), ReadText(folder / "whole.csv"));
}

TEST(NarvoOutput, ImagesNeverShareAName)
{
    const TestFolder folder;
    PrepareOutputFolder(folder);
    const Outcome stems = RunNarvo(folder, {"golden", "panel.png", "b/x.png", "b/x.bmp"});
    EXPECT_EQ(stems.code, 2);
    EXPECT_EQ(stems.error, "narvo: file b/x.blobs.json: to be written for b/x.png and for b/x.bmp; allowed: output "
                           "names that differ, or a run for each\n");
    fs::create_directory(folder / "out");
    const Outcome folders = RunNarvo(folder, {"golden", "panel.png", "a/x.png", "b/x.png", "-o", "out/", "--steps"});
    EXPECT_EQ(folders.code, 2);
    EXPECT_THAT(folders.error, HasSubstr("out/x.blobs.json: to be written for a/x.png and for b/x.png; "));
    EXPECT_TRUE(fs::is_empty(folder / "out"));
    EXPECT_FALSE(fs::exists(folder / "b/x.blobs.json"));
    // The same folder by two names.
    fs::create_directory_symlink("a", folder / "c");
    EXPECT_EQ(RunNarvo(folder, {"golden", "panel.png", "a/x.png", "c/x.png"}).code, 2);
    EXPECT_EQ(RunNarvo(folder, {"golden", "panel.png", "a/x.png", "b/x.png", "-q"}).code, 0);
    for (const char* name : {"a/x.blobs.json", "b/x.blobs.json"})
        EXPECT_TRUE(fs::exists(folder / name)) << name;
}

TEST(NarvoOutput, NoOutputIsAnInput)
{
    const TestFolder folder;
    PrepareOutputFolder(folder);
    fs::copy_file(folder / "panel.png", folder / "x.overlay.png");
    fs::create_symlink("panel.png", folder / "l.overlay.png");
    std::ofstream(folder / "results.csv") << "panel.png\n";
    ASSERT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "-q"}).code, 0);
    std::map<std::string, std::string> before;
    for (const auto& entry : fs::recursive_directory_iterator(folder.Path()))
        if (entry.is_regular_file() && entry.path().extension() != ".txt") // what the lines below print
            before[entry.path().string()] = ReadText(entry.path());
    for (const char* line :
         {"inspect x.overlay.png -r panel.recipe.json -o x", "inspect panel.png -r panel.recipe.json -o l",
          "inspect --list results.csv -r panel.recipe.json --overwrite", "golden panel.png x.overlay.png -o x",
          "golden x.overlay.png panel.png -o x", "pitch panel.png --plot panel.png",
          "pitch panel.zones.png --recipe panel.json", "pitch panel.png --plot same.png --recipe same.png",
          "tune panel.png -r panel.recipe.json -f min_area --from 1 --to 2 --plot panel.png",
          "tune panel.png -r panel.recipe.json -f min_area --from 1 --to 2 --save panel.recipe.json",
          "tune panel.png -r panel.recipe.json -t panel.truth.json -f min_area --from 1 --to 2 --save panel.truth.json",
          "report panel.blobs.json -o panel.blobs.json", "report panel.blobs.json -o panel.png",
          "report panel.png -r panel.recipe.json -o panel.recipe.json",
          "bench panel.png -r panel.recipe.json --seconds 0.01 --json panel.zones.png"})
    {
        const Outcome outcome = RunLine(folder, std::string("narvo ") + line);
        EXPECT_EQ(outcome.code, 2) << line;
        EXPECT_THAT(outcome.error, testing::ContainsRegex("narvo: file [a-z.]+: to be written")) << line;
    }
    for (const auto& [file, text] : before)
        EXPECT_EQ(ReadText(file), text) << file;
}

TEST(NarvoOutput, EmptyOrUnreadableListWipesNothing)
{
    const TestFolder folder;
    PrepareOutputFolder(folder);
    ASSERT_EQ(RunNarvo(folder, {"inspect", "a", "b", "-r", "panel.recipe.json", "-q"}).code, 0);
    const std::string lines = ReadText(folder / "results.jsonl");
    const std::string table = ReadText(folder / "results.csv");
    std::ofstream(folder / "empty.txt") << "\n\r\n";
    for (const char* list : {"empty.txt", "a", "none.txt"})
    {
        const Outcome outcome =
            RunNarvo(folder, {"inspect", "--list", list, "-r", "panel.recipe.json", "--overwrite", "-q"});
        EXPECT_EQ(outcome.code, 2) << list;
        EXPECT_THAT(outcome.error, HasSubstr(std::string("narvo: list ") + list + ": ")) << list;
        EXPECT_EQ(ReadText(folder / "results.jsonl"), lines);
        EXPECT_EQ(ReadText(folder / "results.csv"), table);
    }
    EXPECT_EQ(RunNarvo(folder, {"inspect", "a", "-r", "panel.recipe.json", "-q", "-o", "new"}).code, 0);
}

} // namespace narvo::test
