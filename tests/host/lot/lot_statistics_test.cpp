// SPDX-License-Identifier: MIT
// Charts of a lot, and its statistics as text and JSON.
#include "host/lot/lot_statistics.h"

#include <cmath>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/host_test_help.h"
#include "host/lot/made_up_lot.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;
using testing::Not;

const LotChart* ChartOf(const LotStatistics& statistics, const std::string& name)
{
    for (const LotChart& chart : statistics.charts)
        if (chart.name == name)
            return &chart;
    return nullptr;
}

TEST(LotStatistics, FindADriftOfTheNumberOfDefects)
{
    Lot lot = MakeUp({.images = 120});
    MixedNumbers numbers(3);
    for (std::uint32_t i = 60; i < 120; ++i)
        for (int k = PoissonNumber(numbers, 0.15 * (i - 60.0)); k > 0; --k)
            Plant(lot, i, static_cast<int>(numbers.Below(2000)), static_cast<int>(numbers.Below(1500)));
    Order(lot);
    const LotStatistics statistics = MakeLotStatistics(lot, {});
    const LotChart* chart = ChartOf(statistics, "defects");
    ASSERT_NE(chart, nullptr);
    EXPECT_EQ(chart->group, 1U);
    EXPECT_LT(chart->chance, 0.001);
    EXPECT_GT(chart->first[chart->change.point], 60U);
    EXPECT_GT(chart->change.after, chart->change.before);
    EXPECT_EQ(statistics.Changes(), 1U);
    EXPECT_EQ(statistics.Found(), 0U);
    EXPECT_THAT(LotText(lot, statistics), HasSubstr("changes at image "));
    // Limits from the good part alone: alarms in the other.
    LotSettings settings;
    settings.baseline = 60;
    const LotStatistics based = MakeLotStatistics(lot, settings);
    EXPECT_GE(ChartOf(based, "defects")->chart.alarms.size(), 4U);
    EXPECT_GT(ChartOf(based, "defects")->chart.alarms.back().point, 100U);
}

TEST(LotStatistics, FindAChangeOfLightAndContrast)
{
    Lot lot = MakeUp({.images = 80});
    MixedNumbers numbers(4);
    for (std::size_t i = 0; i < lot.images.size(); ++i)
    {
        lot.images[i].grey = 100.0 + 2.0 * NormalNumber(numbers) - (i >= 50 ? 8.0 : 0.0);
        lot.images[i].contrast = 40.0 + 5.0 * NormalNumber(numbers);
    }
    const LotStatistics statistics = MakeLotStatistics(lot, {});
    EXPECT_EQ(statistics.Changes(), 1U);
    EXPECT_NEAR(static_cast<double>(ChartOf(statistics, "grey")->change.point), 50.0, 5.0);
    EXPECT_GT(ChartOf(statistics, "contrast")->chance, 0.01);
}

TEST(LotStatistics, ShowThatLightNoiseAndPitchDrift)
{
    Lot lot = MakeUp({.images = 80});
    MixedNumbers numbers(5);
    for (std::size_t i = 0; i < lot.images.size(); ++i)
    {
        const auto time = static_cast<double>(i);
        lot.images[i].light = 120.0 - 0.1 * time + 0.5 * NormalNumber(numbers);
        lot.images[i].noise = (i < 40 ? 2.0 : 2.4) + 0.05 * NormalNumber(numbers);
        if (i % 2 == 0) // the others are not known
            lot.images[i].pitchX = 17.3 + 0.01 * NormalNumber(numbers);
    }
    const LotStatistics statistics = MakeLotStatistics(lot, {});
    EXPECT_LT(ChartOf(statistics, "light")->chance, 0.01);
    EXPECT_FALSE(ChartOf(statistics, "light")->chart.alarms.empty());
    EXPECT_NEAR(static_cast<double>(ChartOf(statistics, "noise")->change.point), 40.0, 5.0);
    EXPECT_EQ(ChartOf(statistics, "pitch_x")->first.size(), 40U);
    EXPECT_GT(ChartOf(statistics, "pitch_x")->chance, 0.01);
    EXPECT_EQ(ChartOf(statistics, "pitch_y"), nullptr);
}

TEST(LotStatistics, PutRareCountsTogether)
{
    Lot lot = MakeUp({.images = 400, .defects = 0.25});
    for (std::size_t i = 100; i < 120; i += 4)
        lot.images[i].refused = true;
    const LotStatistics statistics = MakeLotStatistics(lot, {});
    const LotChart* chart = ChartOf(statistics, "defects");
    ASSERT_NE(chart, nullptr);
    EXPECT_NEAR(static_cast<double>(chart->group), 20.0, 4.0);
    EXPECT_NEAR(static_cast<double>(chart->chart.points.size()), 20.0, 4.0);
    EXPECT_NEAR(chart->chart.dispersion, 1.0, 0.6);
    EXPECT_EQ(statistics.refused, 5U);
    EXPECT_EQ(ChartOf(statistics, "refused"), nullptr) << "five would be one point";
}

TEST(LotStatistics, RandomLotsShowChangesAtMostAtTheStatedRate)
{
    int changes = 0;
    constexpr int nLots = 400;
    for (int i = 0; i < nLots; ++i)
    {
        MadeUpLot made;
        made.seed = static_cast<std::uint64_t>(i) + 77;
        made.images = 20 + i % 100;
        made.defects = 1.0 + i % 7;
        made.width = made.height = 300;
        LotSettings settings;
        settings.risk = 0.1;
        Lot lot = MakeUp(made);
        MixedNumbers numbers(made.seed + 5000);
        for (LotImage& image : lot.images)
            image.grey = 90.0 + NormalNumber(numbers);
        changes += MakeLotStatistics(lot, settings).Changes() > 0 ? 1 : 0;
    }
    // More than 58 come once in a thousand times at the stated rate.
    EXPECT_LE(changes, 58);
    EXPECT_GT(changes, 5);
    RecordProperty("changes", changes);
}

TEST(LotStatistics, AreWrittenAsTextAndJson)
{
    Lot lot = MakeUp({.images = 60});
    for (std::uint32_t i = 0; i < 60; i += 2)
        Plant(lot, i, 700, 300);
    Order(lot);
    lot.images[0].name = "first\n\xff.png";
    const LotStatistics statistics = MakeLotStatistics(lot, {});
    const std::string text = LotText(lot, statistics);
    EXPECT_THAT(text, HasSubstr("lot: run\n60 images, "));
    EXPECT_THAT(text,
                HasSubstr("1 place that comes back (186626 windows tried)\n  x 700, y 300: 30 images, by chance "));
    EXPECT_THAT(text, HasSubstr("first\\n\\xff.png to image 58\n"));
    EXPECT_THAT(text, HasSubstr("no column that comes back (499 windows tried)\n"));
    EXPECT_THAT(text, HasSubstr("\ndefects: "));
    const nlohmann::ordered_json json = LotToJson(lot, statistics);
    EXPECT_EQ(json["version"], 1);
    EXPECT_EQ(json["images"], 60);
    EXPECT_EQ(json["tests"]["place"]["found"], 1);
    const auto& place = json["tests"]["place"]["places"][0];
    EXPECT_EQ(place["box"]["left"], 700);
    EXPECT_EQ(place["images"], 30);
    EXPECT_EQ(place["first_image"], "first\n%FF.png");
    EXPECT_EQ(json["charts"][0]["name"], "defects");
    EXPECT_EQ(json["charts"][0]["points"].size(), 60U);
    EXPECT_EQ(nlohmann::json::parse(json.dump()), json);
}

TEST(LotStatistics, TakeLotsWithoutAnything)
{
    for (Lot lot : {Lot(), MakeUp({.images = 1}), MakeUp({.images = 5, .defects = 0.0})})
    {
        const LotStatistics statistics = MakeLotStatistics(lot, {});
        EXPECT_EQ(statistics.Found(), 0U);
        EXPECT_EQ(statistics.Changes(), 0U);
        EXPECT_THAT(LotText(lot, statistics), HasSubstr("no place that comes back"));
        EXPECT_TRUE(LotToJson(lot, statistics).is_object());
    }
}

TEST(LotStatistics, RefuseABaselineOfOneImage)
{
    LotSettings settings;
    settings.baseline = 1;
    try
    {
        MakeLotStatistics(Lot(), settings);
        FAIL();
    }
    catch (const HostError& error)
    {
        EXPECT_THAT(error.Problems(),
                    testing::ElementsAre(Problem{"baseline", "1", "2 to 10000000 images, or 0: all"}));
    }
}

} // namespace

} // namespace narvo::test
