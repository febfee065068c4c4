// SPDX-License-Identifier: MIT
// `narvo watch --store`: the database holds what the result file holds, behind kills and absences of either side.
#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/host_test_help.h"
#include "host/result/image_line.h"
#include "host/store/result_store.h"
#include "tools/run_narvo.h"
#ifdef NARVO_TEST_SERVER
#include "host/store/test_server.h"
#endif

namespace narvo::test
{

namespace
{

using nlohmann::ordered_json;
using testing::HasSubstr;

#ifdef NARVO_WITH_SQLITE

class NarvoWatchStore : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(MakeSmallPanel(folder).code, 0);
        WriteRows(folder, "panel");
    }

    Outcome Line(const std::string& line) const { return RunLine(folder, line); }

    /// A line of bash that sends `frames` frames, one each `pause` seconds, to a watch with these options.
    static std::string Watch(int frames, const std::string& pause, const std::string& options)
    {
        return "for i in $(seq " + std::to_string(frames) + "); do cat panel.raw; sleep " + pause +
               "; done | '" NARVO_PROGRAM "' watch pipe:- -r panel.recipe.json --raw Mono8:512x640 -q " + options;
    }

    /// The lines of the result file, by line number and name.
    std::map<std::string, std::string> FileLines() const
    {
        std::map<std::string, std::string> lines;
        std::istringstream text(ReadText(folder / "watch.jsonl"));
        for (std::string line; std::getline(text, line);)
        {
            const auto document = ordered_json::parse(line);
            lines[std::to_string(lines.size() + 1) + " " + document["image"].get<std::string>()] = line;
        }
        return lines;
    }

    /// Returns when the result file has that many lines, and where it does not get them, in a minute.
    void WaitForLines(std::ptrdiff_t count) const
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        for (std::string text; std::count(text.begin(), text.end(), '\n') < count;
             text = ReadText(folder / "watch.jsonl"))
        {
            if (std::chrono::steady_clock::now() > end)
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }

    /// The same lines from the store's only run.
    static std::map<std::string, std::string> StoredLines(const std::string& place)
    {
        std::map<std::string, std::string> lines;
        const auto store = OpenResultStore(place, StoreAccess_Read);
        EXPECT_EQ(store->Runs().size(), 1U);
        const StoredRun run = store->Runs().at(0);
        std::int64_t last = 0;
        store->Images(run.number,
                      [&](const StoredImage& image)
                      {
                          EXPECT_GT(image.sequence, last);
                          last = image.sequence;
                          auto line = ImageLineToJson({image.result, image.identity, run.description.recipe.digest});
                          ASSERT_EQ(image.verdicts.size(), 1U);
                          const Verdict& verdict = image.verdicts[0];
                          const std::size_t colon = verdict.source.find(": ");
                          line["frame"] = std::stoull(image.result.name.substr(6));
                          line["acquired"] = image.inspected;
                          line["verdict"] = verdict.verdict;
                          line["failed"] = colon == std::string::npos
                                               ? std::vector<std::string>{}
                                               : std::vector<std::string>{verdict.source.substr(colon + 2)};
                          EXPECT_TRUE(lines.emplace(image.Key(), ImageLineText(line)).second) << image.Key();
                      });
        return lines;
    }

    TestFolder folder;
};

TEST_F(NarvoWatchStore, HoldsWhatTheResultFileHolds)
{
    const Outcome run = Line(Watch(5, "0", "--store s.sqlite --lanes 2"));
    EXPECT_EQ(run.code, 0) << run.error;
    EXPECT_EQ(FileLines().size(), 5U);
    EXPECT_EQ(StoredLines(folder / "s.sqlite"), FileLines());
    // The same run again is refused before anything is written, unless it is to be replaced.
    const Outcome again = Line(Watch(1, "0", "--store s.sqlite -o other.jsonl --run $(hostname):$PWD/watch.jsonl"));
    EXPECT_EQ(again.code, 2);
    EXPECT_THAT(again.error, HasSubstr("exists already"));
    EXPECT_FALSE(std::filesystem::exists(folder / "other.jsonl"));
    EXPECT_EQ(Line(Watch(2, "0", "--store s.sqlite --overwrite --fail 'bright,count>3' --fail 'dark,count>99'")).code,
              0);
    EXPECT_EQ(FileLines().size(), 2U);
    EXPECT_EQ(StoredLines(folder / "s.sqlite"), FileLines());
}

TEST_F(NarvoWatchStore, HoldsEveryLineOnceAfterKillsAndResumes)
{
    for (const char* after : {"0.1", "0.25", "0.4", "0.2"})
    {
        const Outcome killed = Line(Watch(40, "0.01", "--store s.sqlite --resume") + " & narvo=$!; sleep " + after +
                                    "; kill -KILL $narvo && wait $narvo");
        EXPECT_EQ(killed.code, 137) << "it was at work";
    }
    const Outcome end = Line(Watch(3, "0", "--store s.sqlite --resume"));
    EXPECT_EQ(end.code, 0) << end.error;
    EXPECT_GE(FileLines().size(), 3U);
    EXPECT_EQ(StoredLines(folder / "s.sqlite"), FileLines());
}

TEST_F(NarvoWatchStore, GetsTheLinesOfARunThatHadNoStore)
{
    EXPECT_EQ(Line(Watch(4, "0", "")).code, 0);
    EXPECT_EQ(Line(Watch(2, "0", "--resume --store s.sqlite")).code, 0);
    EXPECT_EQ(FileLines().size(), 6U);
    EXPECT_EQ(StoredLines(folder / "s.sqlite"), FileLines());
}

TEST_F(NarvoWatchStore, SaysWhatIsWrongBeforeItWritesAnything)
{
    std::ofstream(folder / "garbage") << std::string(4000, 'x');
    EXPECT_EQ(Line(Watch(1, "0", "--store garbage")).code, 2);
    EXPECT_EQ(Line(Watch(1, "0", "--store no/such/folder")).code, 3);
    EXPECT_EQ(Line(Watch(1, "0", "--run x")).code, 2);
    EXPECT_EQ(Line(Watch(1, "0", "--store watch.jsonl")).code, 2);
    EXPECT_FALSE(std::filesystem::exists(folder / "watch.jsonl"));
}

#ifdef NARVO_TEST_SERVER

TEST_F(NarvoWatchStore, InspectsOnWhileAServerIsAwayAndGivesItAllWhenItIsBack)
{
    TestServer server;
    const std::string place = server.NewPlace();
    std::thread outage(
        [&]
        {
            WaitForLines(8);
            server.Kill();
            WaitForLines(34);
            server.Start();
        });
    const Outcome run = Line(Watch(60, "0.05", "--json s.json --store '" + place + "'"));
    outage.join();
    EXPECT_EQ(run.code, 0) << run.error;
    EXPECT_THAT(run.error, HasSubstr("trying again"));
    EXPECT_THAT(run.error, HasSubstr("is back"));
    const auto summary = ordered_json::parse(ReadText(folder / "s.json"));
    EXPECT_EQ(summary["frames"]["inspected"], 60);
    EXPECT_EQ(FileLines().size(), 60U);
    EXPECT_EQ(StoredLines(place), FileLines());
}

#endif

#endif

} // namespace

} // namespace narvo::test
