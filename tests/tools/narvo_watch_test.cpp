// SPDX-License-Identifier: MIT
// `narvo watch` as a user runs it: writers beside it, signals, kills, a second start.
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

namespace fs = std::filesystem;
using nlohmann::ordered_json;
using testing::HasSubstr;

class NarvoWatch : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(MakeSmallPanel(folder).code, 0);
        fs::create_directory(folder / "in");
        WriteRows(folder, "panel");
    }

    Outcome Line(const std::string& line) const { return RunLine(folder, line); }

    std::vector<ordered_json> Lines(const std::string& name = "watch.jsonl") const
    {
        std::vector<ordered_json> lines;
        std::istringstream text(ReadText(folder / name));
        for (std::string line; std::getline(text, line);)
            lines.push_back(ordered_json::parse(line));
        return lines;
    }
    ordered_json Summary() const { return ordered_json::parse(ReadText(folder / "s.json")); }

    /// Starts a watch in the background, and waits until it watches.
    static std::string Start(const std::string& options)
    {
        return "'" NARVO_PROGRAM "' watch folder:in -r panel.recipe.json --json s.json " + options +
               " > watch.txt 2> told.txt &\nwatcher=$!\n"
               "for i in $(seq 200); do grep -q '^watching' watch.txt && break; sleep 0.05; done\n";
    }
    /// Waits until the result file has that many lines.
    static std::string WaitFor(int lines)
    {
        return "for i in $(seq 200); do [ $(wc -l < watch.jsonl) -ge " + std::to_string(lines) +
               " ] && break; sleep 0.05; done\n";
    }

    TestFolder folder;
};

TEST_F(NarvoWatch, InspectsFramesOfAPipeAsInspectDoes)
{
    const Outcome outcome = Line("(cat panel.raw panel.raw; head -c 1000 panel.raw) | narvo watch pipe:- "
                                 "-r panel.recipe.json --raw Mono8:512x640 --json s.json");
    EXPECT_EQ(outcome.code, 7) << outcome.error;
    EXPECT_THAT(outcome.error, HasSubstr("frame 2 is incomplete: 1000 of 327680 bytes"));
    EXPECT_THAT(outcome.out, HasSubstr("2 acquired (2 inspected, 0 dropped, 0 unreadable); 1 incomplete, 0 lost"));
    EXPECT_THAT(outcome.out, HasSubstr("fail: frame 1, "));
    EXPECT_EQ(Summary()["frames"]["incomplete"], 1);
    ASSERT_EQ(Line("narvo inspect panel.png panel.recipe.json -r panel.recipe.json -o many").code, 7);
    const ordered_json wanted = Lines("many.jsonl")[0];
    ASSERT_EQ(Lines().size(), 2U);
    for (const ordered_json& line : Lines())
    {
        EXPECT_GT(line["blob_count"], 0);
        EXPECT_EQ(line["regions"], wanted["regions"]);
        EXPECT_EQ(line["verdict"], "fail");
        EXPECT_EQ(line["failed"], ordered_json::array({"count>0"}));
    }
}

TEST_F(NarvoWatch, GoesOnWhereNobodyTakesWhatItPrints)
{
    // Lines of 2 KB each, more than a pipe holds, into one that is open and never read.
    const Outcome outcome = Line(
        "mkfifo out && exec 3<>out && (for i in $(seq 60); do cat panel.raw; done) | narvo watch pipe:- "
        "-r panel.recipe.json --raw Mono8:512x640 --json s.json $(for i in $(seq 250); do echo '--fail area>=1'; done) "
        "> out");
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.error, HasSubstr("narvo: the standard output takes nothing; written: watch.jsonl"));
    EXPECT_EQ(Lines().size(), 60U);
    EXPECT_EQ(Summary()["frames"]["inspected"], 60);
}

TEST_F(NarvoWatch, JudgesByRulesOfOptionsAndFile)
{
    std::ofstream(folder / "rules.json") << R"({"version": 1, "fail": ["count>100000", "area>=2"]})";
    const std::string run = "cat panel.raw | narvo watch pipe:- -r panel.recipe.json --raw Mono8:512x640 --overwrite ";
    EXPECT_EQ(Line(run + "--fail 'area>=1000000000'").code, 0);
    EXPECT_EQ(Lines()[0]["verdict"], "pass");
    EXPECT_EQ(
        Line(run + "--fail 'dark,area>=1000000000' --rules rules.json --fail 'density>1' --pixel-size 10x10").code, 0);
    EXPECT_EQ(Lines()[0]["failed"], ordered_json::array({"area>=2", "density>1"}));
    const Outcome bad = Line(run + "--fail 'size>3'");
    EXPECT_EQ(bad.code, 2);
    EXPECT_THAT(bad.error, HasSubstr("--fail: size>3; allowed: conditions"));
    EXPECT_THAT(Line(run + "--fail 'density>1'").error, HasSubstr("--pixel-size: missing"));
}

TEST_F(NarvoWatch, RefusesSourcesThatThereAreNot)
{
    for (const char* const source : {"camera", "pipe:x", "folder:none", "folder:panel.png"})
        EXPECT_EQ(Line("narvo watch " + std::string(source) + " -r panel.recipe.json --raw Mono8:512x640").code, 2)
            << source;
    EXPECT_THAT(Line("narvo watch pipe:- -r panel.recipe.json").error, HasSubstr("--raw FORMAT:WIDTHxHEIGHT"));
    EXPECT_THAT(Line("narvo watch pipe:- -r panel.recipe.json --raw Mono8:512x640 --existing").error,
                HasSubstr("--existing: pipe:-; allowed: folder:PATH"));
}

TEST_F(NarvoWatch, FollowsAFolderAndEndsAtASignal)
{
    const Outcome outcome = Line("cp panel.png in/old.png\n" + Start("-j 2") +
                                 "cp panel.png in/a.png\nmv panel.png in/b.png\necho broken > in/c.png\n" + WaitFor(3) +
                                 "kill -TERM $watcher\nwait $watcher");
    EXPECT_EQ(outcome.code, 6) << ReadText(folder / "told.txt");
    EXPECT_THAT(ReadText(folder / "told.txt"), HasSubstr("1 image lay in the folder already"));
    const std::vector<ordered_json> lines = Lines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0]["image"], "in/a.png");
    EXPECT_EQ(lines[1]["image"], "in/b.png");
    EXPECT_EQ(lines[2]["verdict"], "undecided");
    EXPECT_EQ(lines[2]["status"], "refused");
    EXPECT_EQ(lines[2]["problems"].size(), 1U);
    const ordered_json summary = Summary();
    EXPECT_EQ(summary["frames"]["acquired"], 3);
    EXPECT_EQ(summary["frames"]["unreadable"], 1);
    EXPECT_EQ(summary["interrupted"], true);
    EXPECT_GE(summary["latency_ms"]["worst"], summary["latency_ms"]["median"]);
}

TEST_F(NarvoWatch, LosesNothingToAKillAndASecondStart)
{
    const Outcome killed = Line("for i in 1 2 3; do cp panel.png in/$i.png; done\n" + Start("--existing") + WaitFor(2) +
                                "kill -KILL $watcher\nwait $watcher 2> killed.txt\ncp panel.png in/4.png");
    EXPECT_EQ(killed.code, 0);
    // What a kill in the middle of a write would leave.
    std::ofstream(folder / "watch.jsonl", std::ios::app) << R"({"version":1,"image":"in/5)";
    EXPECT_EQ(Line("narvo watch folder:in -r panel.recipe.json --existing --seconds 1").code, 2);
    const Outcome second = Line("narvo watch folder:in -r panel.recipe.json --existing --resume --seconds 1");
    EXPECT_EQ(second.code, 0) << second.error;
    EXPECT_THAT(second.error, HasSubstr("a cut last line of 26 bytes was dropped"));
    std::vector<std::string> names;
    for (const ordered_json& line : Lines())
        names.push_back(line["image"]);
    EXPECT_THAT(names, testing::UnorderedElementsAre("in/1.png", "in/2.png", "in/3.png", "in/4.png"));
    // Another recipe is another run.
    EXPECT_EQ(
        Line("sed 's/\"version\": 1,/\"version\": 1, \"max_blobs\": 777,/' panel.recipe.json > other.json; narvo watch "
             "folder:in -r other.json --resume --seconds 1")
            .code,
        2);
}

} // namespace

} // namespace narvo::test
