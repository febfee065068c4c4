// SPDX-License-Identifier: MIT
// The lot of the latest images, as the live page is told of it.
#include "tools/live/live_lot.h"

#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "host/host_test_help.h"
#include "live/live_test_help.h"
#include "tools/live/live_template.h"

namespace narvo::test
{

namespace
{

using namespace tools;
using nlohmann::json;

LiveSetup SetupWithRecipe()
{
    LiveSetup setup = MadeUpSetup();
    json recipe = SmallestRecipe();
    recipe["pitch"] = {{"x", 40.0}, {"y", 50.0}};
    recipe["zones"] = {{"origin", {{"x", 10.0}, {"y", 20.0}}}};
    setup.recipeText = recipe.dump();
    return setup;
}

/// An image of 800 by 600 pixels with defects at some places.
void AddDefects(LiveState& state, const std::string& name, const std::vector<CPoint>& places)
{
    ImageResult result;
    result.name = name;
    result.width = 800;
    result.height = 600;
    InspectionResult& region = result.regions.emplace_back();
    region.region = CRect(0, 0, 800, 600);
    for (const CPoint& place : places)
    {
        Blob blob{};
        blob.center = place;
        blob.area = 9;
        blob.meanReference = 100;
        blob.meanDifference = 30;
        region.blobs.push_back(blob);
    }
    state.Add({}, result, nullptr);
}

class LiveLotTest : public testing::Test
{
protected:
    /// One defect anywhere in each image, and one at 403, 297 in all but the first 30.
    void AddPlanted(int images)
    {
        for (int i = 0; i < images; ++i)
        {
            std::vector<CPoint> places = {CPoint((i * 337) % 800, (i * 211) % 600)};
            if (i >= 30)
                places.insert(places.end(), {CPoint(403, 297), CPoint((i * 491) % 800, (i * 401) % 600)});
            AddDefects(state, "p" + std::to_string(i), places);
        }
    }

    MadeUpCounts counts;
    LiveState state{SetupWithRecipe(), [this] { return counts.Get(); }};
    LiveLot lot;
};

TEST_F(LiveLotTest, TellsOfPlacesAndCharts)
{
    AddPlanted(60);
    const json told = json::parse(LotEventText(state));
    EXPECT_EQ(told["images"], 60);
    EXPECT_EQ(told["comparable"], 60);
    EXPECT_EQ(told["defects"], 120);
    EXPECT_EQ(told["left_out"], 0);
    EXPECT_EQ(told["first"], "p0");
    EXPECT_EQ(told["last"], "p59");
    ASSERT_EQ(told["tests"].size(), 5U);
    const json& places = told["tests"][0];
    EXPECT_EQ(places["kind"], "place");
    EXPECT_EQ(places["found"], 1);
    const json& place = places["places"][0];
    EXPECT_EQ(place["images"], 30);
    EXPECT_EQ(place["first"], "p30");
    EXPECT_LE(place["box"][0], 403);
    EXPECT_GT(place["box"][2], 403);
    EXPECT_EQ(place["where"], "x 403, y 297");
    const json& chart = told["charts"][0];
    EXPECT_EQ(chart["name"], "defects");
    EXPECT_EQ(chart["points"].size(), chart["count"]);
    EXPECT_EQ(chart["scores"].size(), chart["count"]);
    EXPECT_FALSE(chart["change"].is_null());
    EXPECT_LT(chart["change"]["before"], chart["change"]["after"]);
    EXPECT_GT(chart["alarms"].size(), 0U);
}

TEST_F(LiveLotTest, ThePageHasATitleForEachChart)
{
    for (int i = 0; i < 20; ++i)
    {
        ImageResult result;
        result.name = "p" + std::to_string(i);
        result.width = 800;
        result.height = 600;
        InspectionResult& region = result.regions.emplace_back();
        region.region = CRect(0, 0, 800, 600);
        region.pairs = i % 3;
        region.drift = {100.0 + i % 2, 2.0 + i % 3, 40.0 + 0.01 * (i % 2), 50.0 + 0.01 * (i % 3)};
        Blob blob{};
        blob.center = CPoint(37 * i, 29 * i);
        blob.area = 9 + i % 2;
        blob.meanReference = 100 + i % 2;
        blob.meanDifference = 30 + i % 3;
        region.blobs.assign(static_cast<std::size_t>(1 + i % 2), blob);
        state.Add({}, result, nullptr);
    }
    const json told = json::parse(LotEventText(state));
    ASSERT_GE(told["charts"].size(), 8U);
    for (const json& chart : told["charts"])
        EXPECT_THAT(liveJs, testing::HasSubstr(chart["name"].get<std::string>() + ": \"")) << chart["name"];
}

TEST_F(LiveLotTest, PlacesOfTheCellLieWhereItsMapHasThem)
{
    // In another cell of each image, always 13, 7 from its corner, which lies at the recipe's origin.
    for (int i = 0; i < 60; ++i)
        AddDefects(state, "p" + std::to_string(i), {CPoint(10 + 13 + 40 * (i % 18), 20 + 7 + 50 * (i % 11))});
    const json told = json::parse(LotEventText(state));
    const json& places = told["tests"][4];
    EXPECT_EQ(places["kind"], "cell");
    ASSERT_EQ(places["found"], 1);
    const json& at = places["places"][0]["in_cell"];
    EXPECT_NEAR(at[0].get<double>(), 23.5 / 40.0, 0.02);
    EXPECT_NEAR(at[1].get<double>(), 27.5 / 50.0, 0.02);
    EXPECT_EQ(places["places"][0]["cells"], 60);
}

TEST_F(LiveLotTest, IsWorkedOutOnceForAllAndNotAgainAtOnce)
{
    EXPECT_EQ(lot.Latest(state)->number, 0U);
    EXPECT_EQ(lot.Made(), 0U); // no image, no lot
    AddPlanted(10);
    const auto first = lot.Latest(state);
    EXPECT_EQ(first->number, 10U);
    EXPECT_EQ(lot.Latest(state), first);
    AddPlanted(5);
    EXPECT_EQ(lot.Latest(state), first); // too early
    EXPECT_EQ(lot.Made(), 1U);
    const auto last = lot.Latest(state, true);
    EXPECT_EQ(last->number, 15U);
    EXPECT_EQ(json::parse(last->text)["images"], 15);
    EXPECT_EQ(lot.Latest(state, true), last);
    EXPECT_EQ(lot.Made(), 2U);
}

TEST_F(LiveLotTest, TheLatestImagesAreKeptAndLittleIsSent)
{
    for (std::size_t i = 0; i < LiveState::nLotImages + 500; ++i)
    {
        std::vector<CPoint> places;
        for (int k = 0; k < 30; ++k) // a lattice of places that all come back
            places.emplace_back(20 + 24 * k, 8 + static_cast<int>(i % 3));
        AddDefects(state, "p" + std::to_string(i), places);
    }
    const std::string text = LotEventText(state);
    const json told = json::parse(text);
    EXPECT_LE(told["images"], LiveState::nLotImages);
    EXPECT_GE(told["images"], LiveState::nLotImages * 7 / 8 - 1);
    EXPECT_EQ(told["last"], "p" + std::to_string(LiveState::nLotImages + 499));
    EXPECT_LE(told["defects"], LiveState::nLotDefects);
    EXPECT_EQ(told["tests"][0]["found"], 30);
    EXPECT_EQ(told["tests"][0]["places"].size(), 20U);
    for (const json& chart : told["charts"])
    {
        EXPECT_EQ(chart["from"].get<std::size_t>() + chart["points"].size(), chart["count"]);
        EXPECT_LE(chart["points"].size(), 300U);
    }
    EXPECT_LT(text.size(), 100000U);
}

TEST_F(LiveLotTest, WriterAndReadersMayBeDifferentThreads)
{
    std::thread writer([&] { AddPlanted(300); });
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i)
        readers.emplace_back(
            [&]
            {
                for (int k = 0; k < 20; ++k)
                    EXPECT_TRUE(json::accept("[" + lot.Latest(state, k % 5 == 4)->text + "]"));
            });
    writer.join();
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(json::parse(lot.Latest(state, true)->text)["images"], 300);
}

TEST_F(LiveLotTest, NamesComeAsText)
{
    AddDefects(state, "a\xff\n<b>", {});
    AddDefects(state, "c", {});
    const json told = json::parse(LotEventText(state));
    EXPECT_THAT(told["first"].get<std::string>(), testing::HasSubstr("<b>"));
    EXPECT_EQ(LotEventText(state).find('\n'), std::string::npos);
}

} // namespace

} // namespace narvo::test
