// SPDX-License-Identifier: MIT
// The latest pictures held against a golden cell, as the live page is told of it.
#include "tools/live/live_cell.h"

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "host/host_test_help.h"
#include "host/problem.h"
#include "live/live_test_help.h"

namespace narvo::test
{

namespace
{

using namespace tools;
using nlohmann::json;

/// A reference of two regions with cells of 8 by 6 places; an image shows as many places in the second as its first
/// pixel says, and cannot be compared where that is 255.
LiveSetup SetupWithCell()
{
    auto reference = std::make_shared<CellReference>();
    reference->means.assign(2, std::vector<float>(48, 100.0F));
    reference->compare = [](const GreyImage& image)
    {
        const int wanted = image.Row(0)[0];
        if (wanted == 255)
            throw HostError({{"image", "nothing", "the pattern"}});
        std::vector<v1::CellReport> reports(2);
        for (v1::CellReport& report : reports)
        {
            report.width = 8;
            report.height = 6;
            report.mean.assign(48, 101.0F);
            report.difference.assign(48, 1.0F);
            report.parts = 9;
        }
        reports[0].region = "left";
        reports[1].region = "right\xFF";
        for (int i = 0; i < wanted; ++i)
        {
            v1::CellPlace place;
            place.box = {3 * i, 2, 3 * i + 1, 4};
            place.difference = -5.25;
            place.standardErrors = 12.0 - i;
            reports[1].places.push_back(place);
        }
        return reports;
    };
    LiveSetup setup = MadeUpSetup();
    setup.golden = reference;
    return setup;
}

class LiveCellTest : public testing::Test
{
protected:
    void AddPicture(const std::string& name, int places)
    {
        const auto picture = std::make_shared<GreyImage>(64, 48);
        picture->Row(0)[0] = static_cast<std::uint8_t>(places);
        ImageResult result;
        result.name = name;
        result.width = 64;
        result.height = 48;
        result.regions.resize(2);
        LiveVerdict head;
        head.name = name;
        state.Add(head, result, picture);
    }
    json Told() { return json::parse(cell.Latest(state, true)->text); }

    MadeUpCounts counts;
    LiveState state{SetupWithCell(), [this] { return counts.Get(); }};
    LiveCell cell;
};

TEST_F(LiveCellTest, TellsOfThePlacesThatDifferAndOfThoseBefore)
{
    AddPicture("a", 2);
    Told();
    AddPicture("b", 0);
    Told();
    AddPicture("c", 1);
    const json told = Told();
    EXPECT_EQ(told["image"], "c");
    EXPECT_EQ(told["images"], 3);
    EXPECT_EQ(told["different"], 2);
    EXPECT_EQ(told["found"], 2);
    ASSERT_EQ(told["places"].size(), 2U);
    const json& place = told["places"][0];
    EXPECT_EQ(place["region"], "right%FF");
    EXPECT_EQ(place["where"], "x 0, y 2 to 3");
    EXPECT_EQ(place["difference"], -5.25);
    EXPECT_EQ(place["standard_errors"], 12.0);
    EXPECT_EQ(place["images"], 2);
    EXPECT_EQ(place["first"], "a");
    EXPECT_EQ(place["last"], "c");
    EXPECT_EQ(place["now"], true);
    EXPECT_EQ(told["places"][1]["now"], false);
    EXPECT_EQ(told["regions"][1]["places"], 1);
    EXPECT_EQ(told["regions"][0]["parts"], 9);
    EXPECT_THAT(told["picture"].get<std::string>(), testing::StartsWith("data:image/jpeg;base64,"));
    EXPECT_EQ(told["problems"].size(), 0U);
}

TEST_F(LiveCellTest, AnImageThatCannotBeComparedIsToldOfAndNotCounted)
{
    AddPicture("a", 1);
    Told();
    AddPicture("b", 255);
    const json told = Told();
    EXPECT_EQ(told["image"], "b");
    EXPECT_EQ(told["images"], 1);
    EXPECT_EQ(told["problems"], json({"image: nothing; allowed: the pattern"}));
    EXPECT_TRUE(told["picture"].is_null());
    EXPECT_EQ(told["places"].size(), 1U);
}

TEST_F(LiveCellTest, IsWorkedOutOnceForEachPictureAndNotTooOften)
{
    EXPECT_EQ(cell.Latest(state)->number, 0U);
    AddPicture("a", 1);
    const auto first = cell.Latest(state);
    EXPECT_EQ(first->number, 1U);
    EXPECT_EQ(cell.Latest(state), first);
    AddPicture("b", 1);
    EXPECT_EQ(cell.Latest(state), first); // too early
    EXPECT_EQ(cell.Latest(state, true)->number, 2U);
    EXPECT_EQ(cell.Made(), 2U);
}

TEST(LiveCell, WithoutAGoldenCellThereIsNothing)
{
    MadeUpCounts counts;
    LiveState state(MadeUpSetup(), [&] { return counts.Get(); });
    AddImage(state, "a");
    LiveCell cell;
    EXPECT_EQ(cell.Latest(state, true)->number, 0U);
    EXPECT_EQ(cell.Made(), 0U);
}

} // namespace

} // namespace narvo::test
