// SPDX-License-Identifier: MIT
// Names from outside on the terminal and in tables: the name of a file, a key or an argument takes one line
// and sends nothing to the terminal.
#include "tools/run_narvo.h"

#include <filesystem>
#include <fstream>

namespace narvo::test
{

namespace
{

using testing::HasSubstr;
using testing::Not;

const std::string foreign = "p\x1b[31m\nx";
const std::string shown = "p\\x1b[31m\\nx";

void ExpectHarmless(const Outcome& outcome)
{
    for (const std::string& text : {outcome.out, outcome.error})
    {
        EXPECT_THAT(text, Not(HasSubstr("\x1b"))) << text;
        EXPECT_THAT(text, Not(HasSubstr("\nx"))) << text;
    }
    EXPECT_THAT(outcome.out + outcome.error, HasSubstr(shown));
}

/// A panel whose files have the foreign name.
class NarvoNames : public testing::Test
{
protected:
    NarvoNames()
    {
        ExpectHarmless(RunNarvo(folder, {"synth", "--width", "512", "--height", "640", "--pitch-x", "40.5", "--pitch-y",
                                         "48.25", "--defects", "4", "--output", foreign}));
    }

    TestFolder folder;
    const std::string image = foreign + ".png";
    const std::string recipe = foreign + ".recipe.json";
};

TEST_F(NarvoNames, EveryCommandShowsThemWrittenOut)
{
    const std::initializer_list<std::initializer_list<std::string>> lines = {
        {"inspect", image, "-r", recipe, "-t", foreign + ".truth.json"},
        {"inspect", image, image, "-r", recipe, "-o", foreign + ".all"},
        {"inspect", foreign + ".none", "-r", recipe},
        {"inspect", image, "-r", foreign},
        {"pitch", image, "--plot", foreign + ".plot.png", "--recipe", foreign + ".pitch.json"},
        {"golden", image, image, "-o", foreign + ".golden"},
        {"field", image, "-o", foreign + ".field.png"},
        {"learn", image, "--mode", "periodic", "-o", foreign + ".learnt"},
        {"tune", image, "-r", recipe, "-f", "merge_distance", "--from", "1", "--to", "2", "-n", "2"},
        {"report", image, "-r", recipe},
        {"bench", image, "-r", recipe, "--seconds", "0.01", "-j", "1"},
        {"explain", foreign, "-r", recipe, "--at", "1,1"},
        {"board", "--width", "256", "--height", "256", "--defects", "0", "-o", foreign + ".board"},
        {"recipe", foreign},
        {foreign},
    };
    for (const auto& line : lines)
    {
        SCOPED_TRACE(testing::PrintToString(std::vector<std::string>(line)));
        ExpectHarmless(RunNarvo(folder, line));
    }
}

TEST_F(NarvoNames, RecipeKeysAndRegionNamesAreShownWrittenOut)
{
    nlohmann::json document = nlohmann::json::parse(ReadText(folder / recipe));
    document[foreign] = 1;
    std::ofstream(folder / "key.json") << document;
    ExpectHarmless(RunNarvo(folder, {"inspect", image, "-r", "key.json"}));

    document.erase(foreign);
    document["regions"] = {{{"name", foreign}}, {{"name", "other"}}};
    std::ofstream(folder / "regions.json") << document;
    ExpectHarmless(RunNarvo(folder, {"inspect", image, "-r", "regions.json"}));
}

TEST_F(NarvoNames, TableCellsAreNoFormulas)
{
    nlohmann::json document = nlohmann::json::parse(ReadText(folder / recipe));
    document["regions"] = {{{"name", "=1+1"}}, {{"name", "-2"}}};
    std::ofstream(folder / "regions.json") << document;
    EXPECT_EQ(RunNarvo(folder, {"inspect", image, "-r", "regions.json", "-o", "one"}).code, 0);
    EXPECT_THAT(ReadText(folder / "one.blobs.csv"), HasSubstr("\n'=1+1,1,"));
    EXPECT_THAT(ReadText(folder / "one.blobs.csv"), HasSubstr("\n'-2,1,"));

    std::filesystem::copy_file(folder / image, folder / "@a.png");
    EXPECT_EQ(RunNarvo(folder, {"inspect", "@a.png", image, "-r", "regions.json", "-o", "all"}).code, 0);
    EXPECT_THAT(ReadText(folder / "all.csv"), HasSubstr("\n'@a.png,'=1+1,1,"));
}

TEST_F(NarvoNames, UnknownCommandIsNamedWithTheKnownOnes)
{
    const Outcome outcome = RunNarvo(folder, {"explode", "--now"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error,
                testing::StartsWith("narvo: command: explode; allowed: one of inspect, watch, golden, "));
}

} // namespace

} // namespace narvo::test
