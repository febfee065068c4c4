// SPDX-License-Identifier: MIT
// Rules as text, and what they say of blobs.
#include "tools/watch/fail_rules.h"

#include <fstream>

#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using namespace narvo::tools;
using testing::ElementsAre;
using testing::IsEmpty;

/// 1000 by 500 pixels.
ImageResult ResultOf(const std::vector<std::pair<int, bool>>& areasAndBright)
{
    ImageResult result;
    result.width = 1000;
    result.height = 500;
    result.regions.resize(1);
    for (const auto& [area, bright] : areasAndBright)
    {
        Blob blob{};
        blob.area = area;
        blob.bright = bright;
        blob.majorAxis = area / 10.0;
        blob.peak = area / 5;
        blob.label = area % 2;
        result.regions[0].blobs.push_back(blob);
    }
    return result;
}

std::vector<std::string> Failed(const std::string& rule, const ImageResult& result, double pixel = 0.0)
{
    return FailedRules({{ParseFailRule(rule, "--fail")}, pixel, pixel}, result);
}

TEST(FailRules, OneBlobFailsWithoutRules)
{
    EXPECT_THAT(FailedRules({}, ResultOf({})), IsEmpty());
    EXPECT_THAT(FailedRules({}, ResultOf({{1, true}})), ElementsAre("count>0"));
}

TEST(FailRules, CountOnlyBlobsThatMeetAllConditions)
{
    const ImageResult result = ResultOf({{49, false}, {50, false}, {80, true}, {91, false}});
    const auto fails = [&](const std::string& rule) { return !Failed(rule, result).empty(); };
    EXPECT_TRUE(fails("dark,area>=50,count>1"));
    EXPECT_FALSE(fails("dark,area>=50,count>2"));
    EXPECT_TRUE(fails("bright"));
    EXPECT_FALSE(fails("bright,area>=81"));
    EXPECT_TRUE(fails("area>=50,count>2"));
    EXPECT_FALSE(fails("area>=50,count>3"));
    EXPECT_TRUE(fails("length>=9.1"));
    EXPECT_FALSE(fails("length>=9.11"));
    EXPECT_TRUE(fails("peak>=18"));
    EXPECT_FALSE(fails("peak>=19"));
    EXPECT_TRUE(fails("label=1,count>1"));
    EXPECT_FALSE(fails("label=1,count>2"));
}

TEST(FailRules, DensityCountsBySquareMetres)
{
    // 1000 by 500 pixels of 100 micrometres: 0.1 by 0.05 m, so 3 blobs are 600 for each square metre.
    const ImageResult result = ResultOf({{1, true}, {2, true}, {3, true}});
    EXPECT_THAT(Failed("density>599", result, 100.0), ElementsAre("density>599"));
    EXPECT_THAT(Failed("density>601", result, 100.0), IsEmpty());
    EXPECT_THROW(CheckFailRules({{ParseFailRule("density>5", "--fail")}}), HostError);
}

TEST(FailRules, RefuseWhatTheyDoNotKnow)
{
    for (const char* const text :
         {"", ",", "bright,", "size>=5", "area>5", "area>=", "area>=-1", "area>=nan", "area>=1e10", "count>1.5",
          "count>1,density>2", "bright,dark", "area>=5 ", "label=1.5"})
        EXPECT_THROW(ParseFailRule(text, "--fail"), HostError) << text;
    FailRules rules;
    for (const char* const text : {"", "10", "10x", "x10", "0x10", "10x-1", "10x10x10"})
        EXPECT_THROW(ParsePixelSize(text, rules, "--pixel-size"), HostError) << text;
}

TEST(FailRules, ComeFromAFileWithAllItsProblems)
{
    const TestFolder folder;
    const auto load = [&](const std::string& text)
    {
        std::ofstream(folder / "rules.json") << text;
        FailRules rules;
        LoadFailRules(folder / "rules.json", rules);
        return rules;
    };
    const FailRules rules = load(R"({"version": 1, "pixel_size": "10x12.5", "fail": ["dark", "density>5"]})");
    EXPECT_EQ(rules.pixelHeight, 12.5);
    ASSERT_EQ(rules.rules.size(), 2U);
    EXPECT_EQ(rules.rules[1].mostDensity, 5.0);
    for (const char* const text : {"[]", "{}", R"({"version": 2})", R"({"version": 1, "fail": "dark"})",
                                   R"({"version": 1, "fail": [7]})", R"({"version": 1, "other": 1})", "{"})
        EXPECT_THROW(load(text), HostError) << text;
    try
    {
        load(R"({"fail": ["light"], "pixel_size": "big"})");
        FAIL();
    }
    catch (const HostError& error)
    {
        EXPECT_EQ(error.Problems().size(), 3U) << error.what();
    }
}

} // namespace

} // namespace narvo::test
