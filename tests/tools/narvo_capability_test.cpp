// SPDX-License-Identifier: MIT
// `narvo capability` as a user runs it.
#include <nlohmann/json.hpp>

#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::HasSubstr;

TEST(NarvoCapability, PageJsonAndTableSayWhatTheRecipeFinds)
{
    const TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"synth", "--width", "512", "--height", "640", "--pitch-x", "40.5", "--pitch-y", "48.25",
                                "--defects", "0", "--seed", "3", "--quiet"})
                  .code,
              0);
    const auto measure = [&](const char* lanes, const std::string& name)
    {
        return RunNarvo(folder, {"capability", "panel.recipe.json", "panel.png", "--sizes", "2,6,12", "--contrasts",
                                 "-60,60", "--shapes", "spot,stain", "--count", "6", "-j", lanes, "--json",
                                 name + ".json", "--output", name + ".html"});
    };
    const Outcome one = measure("1", "one");
    ASSERT_EQ(one.code, 0) << one.error;
    EXPECT_THAT(one.out, HasSubstr("false blobs on 1 good image with 0.33 megapixels inspected: 0 a megapixel, at most "
                                   "9.14 at 95 % confidence.\n"));
    EXPECT_THAT(one.out, HasSubstr("spot    inside       +60"));
    const json document = json::parse(ReadText(folder / "one.json"));
    ASSERT_EQ(document["curves"].size(), 8U);
    EXPECT_EQ(document["curves"][0]["shape"], "spot");
    EXPECT_EQ(document["curves"][0]["place"], "inside");
    EXPECT_EQ(document["curves"][0]["contrast"], -60);
    std::size_t found = 0;
    for (const json& count : document["curves"][0]["counts"])
    {
        EXPECT_EQ(count["planted"], 6);
        found += count["found"].get<std::size_t>();
    }
    EXPECT_GE(found, 9U); // strong spots against a panel without noise
    const std::string page = ReadText(folder / "one.html");
    EXPECT_THAT(page, HasSubstr("What panel.recipe.json finds"));
    EXPECT_THAT(page, HasSubstr("<circle"));
    EXPECT_THAT(page, HasSubstr("id=\"counts\""));
    EXPECT_THAT(page, testing::Not(HasSubstr("<script")));

    EXPECT_EQ(measure("3", "two").out, one.out);
    EXPECT_EQ(ReadText(folder / "two.json"), ReadText(folder / "one.json"));
    EXPECT_EQ(ReadText(folder / "two.html"), page);
}

TEST(NarvoCapability, WhatIsWrongIsNamedAndNothingIsWritten)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const auto expect = [&](std::vector<std::string> more, const char* message)
    {
        std::vector<std::string> arguments = {"capability", "panel.recipe.json", "panel.png", "-o", "x.html"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = RunNarvo(folder, arguments);
        EXPECT_EQ(outcome.code, 2) << message;
        EXPECT_THAT(outcome.error, HasSubstr(message));
        EXPECT_FALSE(std::filesystem::exists(folder / "x.html"));
    };
    expect({"--sizes", "0"}, "--sizes");
    expect({"--sizes", "4,4"}, "sizes: 4 twice; allowed: each value once");
    expect({"--contrasts", "0"}, "contrasts: 0; allowed: -255 to 255 grey levels, not 0");
    expect({"--contrasts", "300"}, "--contrasts");
    expect({"--shapes", "star"}, "--shapes");
    expect({"--places", "middle"}, "--places");
    expect({"--count", "1001"}, "--count");
    expect({"--seed", "-1"}, "--seed");
    expect({"--lanes", "257"}, "--lanes");
    expect({"none.png"}, "none.png");
    expect({"--json", "panel.png"}, "panel.png");
    const Outcome empty = RunNarvo(folder, {"capability", "panel.recipe.json"});
    EXPECT_EQ(empty.code, 2);
    EXPECT_THAT(empty.error, HasSubstr("good or --list is required"));
}

} // namespace

} // namespace narvo::test
