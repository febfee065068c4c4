// SPDX-License-Identifier: MIT
// `narvo inspect --store` and `narvo report --store`: the store holds what the result files hold, also behind a kill.
#include <map>
#include <string>

#include "host/host_test_help.h"
#include "host/result/image_line.h"
#include "host/store/result_store.h"
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;

#ifdef NARVO_WITH_SQLITE

/// Twelve images, one of them with bytes in its name that are no text, and one that is no image.
void MakeLot(const TestFolder& folder)
{
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    std::filesystem::create_directory(folder / "lot");
    for (int i = 0; i < 11; ++i)
        std::filesystem::copy_file(folder / "panel.png", folder / ("lot/p" + std::to_string(i) + ".png"));
    std::filesystem::copy_file(folder / "panel.png", folder / "lot/\xff%FF.png");
    std::ofstream(folder / "lot/broken.png") << "no image";
}

/// The lines of a result file by image, without what differs by the time.
std::map<std::string, std::string> FileLines(const std::filesystem::path& file)
{
    std::map<std::string, std::string> lines;
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);)
        lines[ReadImageLine(line, "line").result.name] = line;
    return lines;
}

/// The same lines, made from the store's only run of a name.
std::map<std::string, std::string> StoredLines(const std::filesystem::path& file, const std::string& name)
{
    std::map<std::string, std::string> lines;
    const auto store = OpenResultStore(file, StoreAccess_Read);
    for (const StoredRun& run : store->Runs())
        if (run.description.key.ends_with(name))
            store->Images(run.number,
                          [&](const StoredImage& image)
                          {
                              const std::string line = ImageLineText(
                                  ImageLineToJson({image.result, image.identity, run.description.recipe.digest}));
                              EXPECT_TRUE(lines.emplace(image.result.name, line).second) << image.result.name;
                          });
    return lines;
}

#endif

} // namespace

#ifdef NARVO_WITH_SQLITE

TEST(NarvoStore, HoldsWhatTheResultFilesHold)
{
    const TestFolder folder;
    MakeLot(folder);
    const Outcome run =
        RunNarvo(folder, {"inspect", "lot", "--recipe", "panel.recipe.json", "--store", "s.sqlite", "--lanes", "2"});
    EXPECT_EQ(run.code, 7) << run.error;
    EXPECT_THAT(run.out, HasSubstr("store:  s.sqlite, run "));
    const auto lines = FileLines(folder / "results.jsonl");
    EXPECT_EQ(lines.size(), 13U);
    EXPECT_EQ(StoredLines(folder / "s.sqlite", "results.jsonl"), lines);
    const auto store = OpenResultStore(folder / "s.sqlite", StoreAccess_Read);
    const RunDescription description = store->Runs().at(0).description;
    EXPECT_EQ(store->RecipeOf(description.recipe.digest).text, ReadText(folder / "panel.recipe.json"));
    EXPECT_EQ(description.recipe.name, "panel.recipe.json");
}

TEST(NarvoStore, TakesSeveralRunsAndRefusesOneTwice)
{
    const TestFolder folder;
    MakeLot(folder);
    const std::vector<std::string> command = {"inspect", "lot", "--recipe", "panel.recipe.json", "--store", "s.sqlite"};
    const auto with = [&](std::vector<std::string> more)
    {
        more.insert(more.begin(), command.begin(), command.end());
        return RunNarvo(folder, more);
    };
    EXPECT_EQ(with({"--run", "lot7"}).code, 7);
    const Outcome again = with({"--run", "lot7", "--output", "other"});
    EXPECT_EQ(again.code, 2);
    EXPECT_THAT(again.error, HasSubstr("run lot7 in s.sqlite: exists already"));
    EXPECT_FALSE(std::filesystem::exists(folder / "other.jsonl"));
    EXPECT_EQ(with({"--run", "lot7", "--overwrite"}).code, 7);
    EXPECT_EQ(with({"--run", "lot8", "--output", "other"}).code, 7);
    EXPECT_EQ(StoredLines(folder / "s.sqlite", "lot7"), FileLines(folder / "results.jsonl"));
    EXPECT_EQ(StoredLines(folder / "s.sqlite", "lot8"), FileLines(folder / "other.jsonl"));
    // A single image, too, and again without asking, as its files.
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "--store", "s.sqlite"}).code, 0);
    EXPECT_EQ(OpenResultStore(folder / "s.sqlite", StoreAccess_Read)->Runs().size(), 3U);
    const auto single = StoredLines(folder / "s.sqlite", "panel.blobs.json");
    ASSERT_EQ(single.size(), 1U);
    EXPECT_EQ(single.begin()->first, "panel.png");
}

TEST(NarvoStore, IsCompleteAfterKillsAndResumes)
{
    const TestFolder folder;
    MakeLot(folder);
    // The later the kill, the more is done; a run that ends before its kill is as good.
    for (const char* after : {"0.03", "0.06", "0.08", "0.1", "0.15"})
        RunLine(folder, std::string("timeout -s KILL ") + after +
                            " '" NARVO_PROGRAM "' inspect lot -r panel.recipe.json --store s.sqlite --resume -q -j 1");
    const Outcome end =
        RunNarvo(folder, {"inspect", "lot", "-r", "panel.recipe.json", "--store", "s.sqlite", "--resume"});
    EXPECT_THAT(end.code, testing::AnyOf(0, 7)) << end.error; // 7: the broken one came last
    EXPECT_EQ(FileLines(folder / "results.jsonl").size(), 13U);
    EXPECT_EQ(StoredLines(folder / "s.sqlite", "results.jsonl"), FileLines(folder / "results.jsonl"));
}

TEST(NarvoStore, GetsTheLinesOfAnEarlierRunThatItLacks)
{
    const TestFolder folder;
    MakeLot(folder);
    EXPECT_EQ(RunNarvo(folder, {"inspect", "lot", "-r", "panel.recipe.json"}).code, 7);
    const Outcome run =
        RunNarvo(folder, {"inspect", "lot", "-r", "panel.recipe.json", "--store", "s.sqlite", "--resume"});
    EXPECT_EQ(run.code, 0) << run.error;
    EXPECT_EQ(StoredLines(folder / "s.sqlite", "results.jsonl"), FileLines(folder / "results.jsonl"));
}

TEST(NarvoStore, SaysWhatIsWrongWithTheStoreBeforeItWritesAnything)
{
    const TestFolder folder;
    MakeLot(folder);
    std::ofstream(folder / "garbage") << std::string(4000, 'x');
    const auto inspect = [&](const std::string& store) {
        return RunNarvo(folder, {"inspect", "lot", "-r", "panel.recipe.json", "--store", store});
    };
    EXPECT_EQ(inspect("garbage").code, 2);
    EXPECT_EQ(inspect("lot/p1.png").code, 2);
    EXPECT_EQ(inspect("no/such/folder").code, 3);
    EXPECT_EQ(inspect("http://server").code, 2);
    EXPECT_FALSE(std::filesystem::exists(folder / "results.jsonl"));
    EXPECT_EQ(RunNarvo(folder, {"inspect", "lot", "-r", "panel.recipe.json", "--run", "x"}).code, 2);
}

TEST(NarvoStore, TakesGoldenInspections)
{
    const TestFolder folder;
    MakeLot(folder);
    const Outcome run =
        RunNarvo(folder, {"golden", "panel.png", "lot/p1.png", "lot/p2.png", "--store", "s.sqlite", "--lanes", "2"});
    EXPECT_EQ(run.code, 0) << run.error;
    const auto lines = FileLines(folder / "results.jsonl");
    EXPECT_EQ(lines.size(), 2U);
    EXPECT_EQ(StoredLines(folder / "s.sqlite", "results.jsonl"), lines);
}

TEST(NarvoStore, EndsARunWhoseDatabaseIsFullAndGoesOnBehindIt)
{
    const TestFolder folder;
    MakeLot(folder);
    RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "--store", "s.sqlite"});
    // The log of a database that someone else holds open grows from where it is. Here it is longer than the result
    // files will be, and no file may grow much beyond it.
    const auto holder = OpenResultStore(folder / "s.sqlite", StoreAccess_Write);
    RunDescription other = holder->Runs().at(0).description;
    other.key = "other";
    other.recipe = {"0123456789abcdef", "long.json", std::string(400000, ' ')};
    holder->BeginRun(other, RunStart_New);
    const std::uintmax_t log = std::filesystem::file_size(folder / "s.sqlite-wal");
    ASSERT_GT(log, 400000U);
    const Outcome full = RunLine(folder, "(trap '' XFSZ; ulimit -f " + std::to_string(log / 1024 + 32) +
                                             "; narvo inspect lot -r panel.recipe.json -q --store s.sqlite -o small)");
    EXPECT_EQ(full.code, 3) << full.error;
    EXPECT_THAT(full.error, HasSubstr("--store s.sqlite: disk I/O error, as where a quota or a limit"));
    const Outcome rest = RunNarvo(folder, {"inspect", "lot", "panel.png", "-r", "panel.recipe.json", "--store",
                                           "s.sqlite", "-o", "small", "--resume"});
    EXPECT_THAT(rest.code, testing::AnyOf(0, 7)) << rest.error;
    EXPECT_EQ(StoredLines(folder / "s.sqlite", "small.jsonl"), FileLines(folder / "small.jsonl"));
    EXPECT_EQ(FileLines(folder / "small.jsonl").size(), 14U);
}

TEST(NarvoStore, IsReportedRunByRun)
{
    const TestFolder folder;
    MakeLot(folder);
    RunNarvo(folder, {"inspect", "lot", "-r", "panel.recipe.json", "--store", "s.sqlite", "--run", "lot7"});
    RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "--store", "s.sqlite", "--run", "one"});
    const Outcome latest = RunNarvo(folder, {"report", "--store", "s.sqlite"});
    EXPECT_EQ(latest.code, 0) << latest.error;
    EXPECT_THAT(latest.out, HasSubstr("s.report.html, 1 image, 8 defects"));
    const Outcome named = RunNarvo(folder, {"report", "--store", "s.sqlite", "--run", "lot7", "-o", "lot.html"});
    EXPECT_EQ(named.code, 0) << named.error;
    EXPECT_THAT(named.out, HasSubstr("lot.html, 12 images, 96 defects"));
    EXPECT_EQ(named.error, "");
    const Outcome none = RunNarvo(folder, {"report", "--store", "s.sqlite", "--run", "x"});
    EXPECT_EQ(none.code, 2);
    EXPECT_THAT(none.error, HasSubstr("one of the store's runs: lot7, one"));
    EXPECT_EQ(RunNarvo(folder, {"report"}).code, 2);
}

#else

TEST(NarvoStore, SaysThatItIsNotBuiltIn)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const Outcome run = RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "--store", "s.sqlite"});
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.error, HasSubstr("libsqlite3-dev"));
}

#endif

} // namespace narvo::test
