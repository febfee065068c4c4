// SPDX-License-Identifier: MIT
// The metrics read by their grammar.
#include "tools/live/prometheus_text.h"

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include <gmock/gmock.h>

#include "live/live_test_help.h"

namespace narvo::test
{

namespace
{

using namespace tools;

/// Reads the text by its grammar, line by line, and fails where it does not meet it.
std::map<std::string, double> Read(const std::string& text)
{
    static const std::regex head(R"(# (HELP|TYPE) ([a-z_]+) (\S.*))");
    static const std::regex sample(
        R"(([a-z_]+)(\{[a-z_]+="(?:[^"\\]|\\["\\n])*"(?:,[a-z_]+="(?:[^"\\]|\\["\\n])*")*\})? (\S+))");
    std::map<std::string, double> values;
    std::map<std::string, std::string> types;
    std::set<std::string> helped;
    EXPECT_THAT(text, testing::EndsWith("\n"));
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        std::smatch found;
        if (std::regex_match(line, found, head))
        {
            const bool isNew =
                found[1] == "HELP" ? helped.insert(found[2]).second : types.emplace(found[2], found[3]).second;
            EXPECT_TRUE(isNew) << line;
            continue;
        }
        if (!std::regex_match(line, found, sample))
        {
            ADD_FAILURE() << line;
            continue;
        }
        std::string family = found[1];
        for (const char* const ending : {"_bucket", "_sum", "_count"})
            if (family.ends_with(ending) && types["narvo_latency_seconds"] == "histogram")
                family = family.substr(0, family.rfind(ending));
        EXPECT_TRUE(helped.contains(family) && types.contains(family)) << line;
        EXPECT_EQ(types[family] == "counter", family.ends_with("_total")) << line;
        std::size_t end = 0;
        const std::string value = found[3];
        const double number = std::stod(value, &end);
        EXPECT_EQ(end, value.size()) << line;
        EXPECT_TRUE(values.emplace(found[1].str() + found[2].str(), number).second) << line;
    }
    return values;
}

TEST(PrometheusText, MeetsTheGrammarAndHoldsEveryCount)
{
    LiveSetup setup = MadeUpSetup();
    setup.source = "folder:a \"b\" \\ c\nd";
    LiveCounts counts;
    counts.acquired = 100;
    counts.inspected = 90;
    counts.passed = 70;
    counts.failed = 15;
    counts.undecided = 5;
    counts.dropped = 7;
    counts.unreadable = 3;
    counts.blobs = 123456789012;
    counts.waiting = 4;
    counts.latencyCount = 93;
    counts.latencySum = 1.25;
    counts.latencyBelow.fill(93);
    counts.latencyBelow[0] = 2;
    const auto values = Read(PrometheusText(setup, counts));
    EXPECT_EQ(values.at("narvo_frames_acquired_total"), 100);
    EXPECT_EQ(values.at("narvo_frames_dropped_total"), 7);
    EXPECT_EQ(values.at("narvo_verdicts_total{verdict=\"fail\"}"), 15);
    EXPECT_EQ(values.at("narvo_blobs_total"), 123456789012.0);
    EXPECT_EQ(values.at("narvo_queue_frames"), 4);
    EXPECT_EQ(values.at("narvo_healthy"), 1);
    EXPECT_EQ(values.at("narvo_latency_seconds_bucket{le=\"0.001024\"}"), 2);
    EXPECT_EQ(values.at("narvo_latency_seconds_bucket{le=\"+Inf\"}"), 93);
    EXPECT_EQ(values.at("narvo_latency_seconds_count"), 93);
    EXPECT_EQ(values.at("narvo_latency_seconds_sum"), 1.25);
    EXPECT_EQ(
        values.at("narvo_watch_info{version=\"1.2.3\",source=\"folder:a \\\"b\\\" \\\\ c\\nd\",recipe=\"panel.json\"}"),
        1);
    counts.overrun = true;
    EXPECT_EQ(Read(PrometheusText(setup, counts)).at("narvo_healthy"), 0);
}

} // namespace

} // namespace narvo::test
