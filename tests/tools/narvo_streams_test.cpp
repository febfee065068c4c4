// SPDX-License-Identifier: MIT
// Standard streams that are closed, full or read by nobody, for every command: results never land in a stream's place,
// and output that is lost is never an exit code of 0.
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;

/// A line of each command that prints something and ends with 0. They run in the folder of PrepareStreamsFolder, in
/// this order.
const std::map<std::string, std::string>& Lines()
{
    static const std::map<std::string, std::string> lines = {
        {"bench", "bench panel.png -r panel.recipe.json --seconds 0.01 --lanes 1 --json -"},
        {"board", "board --width 256 --height 256 --defects 2 --seed 1 -o made"},
        {"capability", "capability panel.recipe.json panel.png --sizes 8 --contrasts 60 --count 2"},
        {"cell", "cell panel.png -r panel.recipe.json --learn cell.json"},
        {"cloth", "cloth --good 1 --bad 0 --width 256 --height 128 --margin 0 -o woven"},
        {"completion", "completion bash"},
        {"evaluate", "evaluate pairs"},
        {"explain", "explain panel.png -r panel.recipe.json --at 100,100 --json"},
        {"export", "export seen.blobs.json -f csv -o defects.csv"},
        {"field", "field panel.png -o even.png"},
        {"golden", "golden board.good.png board.png"},
        {"inspect", "inspect panel.png -r panel.recipe.json"},
        {"learn", "learn panel.png --mode periodic -o learnt"},
#ifdef NARVO_WITH_SQLITE
        {"lot", "lot lot.sqlite"},
#endif
        {"manual", "manual inspect"},
        {"pitch", "pitch panel.png"},
        {"recipe", "recipe"},
        {"report", "report panel.png -r panel.recipe.json"},
        {"synth", "synth --width 256 --height 256 --pitch-x 24 --pitch-y 24 --defects 1 -o drawn"},
        {"tune", "tune panel.png -r panel.recipe.json -f min_area --from 1 --to 2 -n 2"},
        {"watch", "watch pipe:- -r panel.recipe.json --raw Mono8:256x256 --overwrite"},
    };
    return lines;
}

/// Further lines whose product is what they print.
std::vector<std::string> AllLines()
{
    std::vector<std::string> lines = {"--help",
                                      "--version",
                                      "inspect --help",
                                      "recipe --schema",
                                      "recipe --block",
                                      "recipe panel.recipe.json",
                                      "explain panel.png -r panel.recipe.json --at 9,9",
                                      "inspect panel.png board.png -r panel.recipe.json --overwrite"};
    for (const auto& [command, line] : Lines())
        lines.push_back(line);
    return lines;
}

void PrepareStreamsFolder(const TestFolder& folder)
{
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    ASSERT_EQ(
        RunNarvo(folder, {"board", "--width", "512", "--height", "640", "--defects", "2", "--seed", "1", "-q"}).code,
        0);
    ASSERT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "-q", "-o", "seen"}).code, 0);
    fs::create_directory(folder / "pairs");
    fs::copy_file(folder / "board.good.png", folder / "pairs/1_temp.png");
    fs::copy_file(folder / "board.png", folder / "pairs/1_test.png");
    std::ofstream(folder / "pairs/1.txt") << "10 10 20 20 spot\n";
#ifdef NARVO_WITH_SQLITE
    fs::create_directory(folder / "lot");
    for (const char* name : {"lot/a.png", "lot/b.png", "lot/c.png"})
        fs::copy_file(folder / "panel.png", folder / name);
    ASSERT_EQ(
        RunNarvo(folder, {"inspect", "lot", "-r", "panel.recipe.json", "-q", "-o", "kept", "--store", "lot.sqlite"})
            .code,
        0);
#endif
}

/// Without lines of progress, which slow machines show more of.
std::size_t LineCount(const std::string& text)
{
    const std::regex progress("^narvo: .*[0-9]+ of [0-9]+ ");
    std::size_t count = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        count += std::regex_search(line, progress) ? 0 : 1;
    return count;
}

/// Everything that a batch leaves, and its exit code.
struct Left
{
    int code;
    std::string lines;
    std::string table;
    bool operator==(const Left&) const = default;
};

Left RunBatch(const TestFolder& folder, const std::string& redirection)
{
    for (const char* name : {"results.jsonl", "results.csv"})
        fs::remove(folder / name);
    const Outcome outcome =
        RunLine(folder, "narvo inspect panel.png again.png -r panel.recipe.json --lanes 1 " + redirection);
    return {outcome.code, ReadText(folder / "results.jsonl"), ReadText(folder / "results.csv")};
}

} // namespace

TEST(NarvoStreams, EveryCommandIsTriedHere)
{
    const TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"manual", "--folder", "pages"}).code, 0);
    std::set<std::string> pages;
    for (const auto& entry : fs::directory_iterator(folder / "pages"))
        pages.insert(entry.path().filename().string());
    std::set<std::string> expected = {"narvo.1"};
    for (const auto& [command, line] : Lines())
        expected.insert("narvo-" + command + ".1");
#ifndef NARVO_WITH_SQLITE
    expected.insert("narvo-lot.1"); // it has nothing to read here
#endif
    EXPECT_EQ(pages, expected);
}

TEST(NarvoStreams, FullOrClosedOutputIsOneLineAndNoSuccess)
{
    const TestFolder folder;
    PrepareStreamsFolder(folder);
    for (const std::string& line : AllLines())
    {
        const Outcome well = RunLine(folder, "narvo " + line);
        EXPECT_EQ(well.code, 0) << line << '\n' << well.error;
        EXPECT_NE(well.out, "") << line;
        const Outcome full = RunLine(folder, "narvo " + line + " > /dev/full");
        EXPECT_EQ(full.code, 3) << line;
        EXPECT_THAT(full.error, HasSubstr("narvo: standard output: cannot be written: No space left on device; "
                                          "allowed: an open stream with room\n"))
            << line;
        EXPECT_EQ(LineCount(full.error), LineCount(well.error) + 1) << line;
        const Outcome closed = RunLine(folder, "narvo " + line + " >&-");
        EXPECT_EQ(closed.code, 3) << line;
        EXPECT_THAT(closed.error, HasSubstr("narvo: standard output: closed; allowed: an open stream with room\n"));
        EXPECT_EQ(LineCount(closed.error), LineCount(well.error) + 1) << line;
    }
}

TEST(NarvoStreams, BatchLeavesTheSameFilesForAnySetOfStreams)
{
    const TestFolder folder;
    PrepareStreamsFolder(folder);
    fs::copy_file(folder / "panel.png", folder / "again.png");
    const Left well = RunBatch(folder, "");
    EXPECT_EQ(well.code, 0);
    EXPECT_EQ(LineCount(well.lines), 2U);
    for (const char* redirection : {"<&-", "2>&-", "2> /dev/full", "<&- 2>&-"})
        EXPECT_EQ(RunBatch(folder, redirection), well) << redirection;
    for (const char* redirection : {">&-", "<&- >&- 2>&-", ">&- 2>&-", "> /dev/full", "> /dev/full 2>&1"})
        EXPECT_EQ(RunBatch(folder, redirection), (Left{3, well.lines, well.table})) << redirection;
}

TEST(NarvoStreams, PipeThatItsReaderClosesEndsNoRun)
{
    const TestFolder folder;
    PrepareStreamsFolder(folder);
    fs::copy_file(folder / "panel.png", folder / "again.png");
    const Left well = RunBatch(folder, "");
    // The reader is gone before the first line is written.
    EXPECT_EQ(RunBatch(folder, "2> quiet.txt > >(exec true); exit $?").lines, well.lines);
    const std::string pipe = "2> errors.txt | true; exit ${PIPESTATUS[0]}";
    EXPECT_EQ(RunBatch(folder, pipe), well);
    EXPECT_THAT(ReadText(folder / "errors.txt"), testing::Not(HasSubstr("standard output")));
    EXPECT_EQ(RunBatch(folder, "2>&1 | true; exit ${PIPESTATUS[0]}"), well);
    for (const char* line : {"recipe --schema", "completion zsh", "manual inspect"})
    {
        const Outcome outcome = RunLine(folder, std::string("narvo ") + line + " | true; exit ${PIPESTATUS[0]}");
        EXPECT_EQ(outcome.code, 0) << line;
        EXPECT_EQ(outcome.error, "") << line;
    }
}

TEST(NarvoStreams, FileAtItsSizeLimitIsAnErrorAndLeavesTheOldOne)
{
    const TestFolder folder;
    PrepareStreamsFolder(folder);
    ASSERT_EQ(RunLine(folder, "narvo inspect panel.png -r panel.recipe.json -q").code, 0);
    const std::string before = ReadText(folder / "panel.overlay.png");
    const std::size_t files =
        static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.Path()), fs::directory_iterator()));
    const Outcome outcome = RunLine(folder, "ulimit -f 20; narvo inspect panel.png -r panel.recipe.json -q");
    EXPECT_EQ(outcome.code, 3);
    EXPECT_THAT(outcome.error, HasSubstr("file panel.overlay.png: cannot be written: File too large; allowed: "));
    EXPECT_EQ(ReadText(folder / "panel.overlay.png"), before);
    EXPECT_EQ(static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.Path()), fs::directory_iterator())),
              files);
}

TEST(NarvoStreams, ListFromAnInputThatIsClosedOrNoTextIsRefused)
{
    const TestFolder folder;
    PrepareStreamsFolder(folder);
    const std::string line = "narvo inspect --list - -r panel.recipe.json -q ";
    for (const auto& [input, message] :
         std::map<std::string, std::string>{{"<&-", "list -: cannot be read: Bad file descriptor"},
                                            {"< .", "list -: cannot be read: Is a directory"},
                                            {"< /dev/zero", "list -: no text"},
                                            {"< /dev/null", "list -: no images"}})
    {
        const Outcome outcome = RunLine(folder, line + input);
        EXPECT_EQ(outcome.code, 2) << input;
        EXPECT_THAT(outcome.error, HasSubstr(message)) << input;
        EXPECT_FALSE(fs::exists(folder / "results.jsonl"));
    }
    EXPECT_EQ(RunLine(folder, "echo panel.png | " + line).code, 0);
}

} // namespace narvo::test
