// SPDX-License-Identifier: MIT
// What readers of the live page's state get.
#include "tools/live/live_state.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "live/live_test_help.h"
#include "tools/live/live_picture.h"
#include "tools/live/live_text.h"

namespace narvo::test
{

namespace
{

using namespace tools;
using namespace std::chrono_literals;
using nlohmann::json;

class LiveStateTest : public testing::Test
{
protected:
    MadeUpCounts counts;
    LiveState state{MadeUpSetup(), [this] { return counts.Get(); }};
};

TEST_F(LiveStateTest, HandsOutEveryVerdictOnceAndInOrder)
{
    for (int i = 0; i < 10; ++i)
        AddImage(state, "image " + std::to_string(i));
    const LiveState::News news = state.WaitBeyond(4, 0ms);
    ASSERT_EQ(news.verdicts.size(), 6U);
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_EQ(news.verdicts[i]->number, i + 5);
    EXPECT_TRUE(state.WaitBeyond(10, 0ms).verdicts.empty());
}

TEST_F(LiveStateTest, ForgetsVerdictsBeyondItsRingButNotTheFailedOnes)
{
    AddImage(state, "bad", 3, LiveOutcome_Fail);
    for (std::size_t i = 0; i < LiveState::nRing; ++i)
        AddImage(state, "good");
    EXPECT_TRUE(state.WaitBeyond(0, 0ms).tooFarBehind);
    EXPECT_EQ(state.WaitBeyond(1, 0ms).verdicts.size(), LiveState::nRing);
    const LiveState::Snapshot now = state.Read();
    EXPECT_EQ(now.last.size(), LiveState::nLastVerdicts);
    ASSERT_EQ(now.failed.size(), 1U);
    EXPECT_EQ(now.failed[0]->name, "bad");
}

TEST_F(LiveStateTest, MapsCountAllDefectsAlsoThoseThatAreNotListed)
{
    AddImage(state, "bad", 300, LiveOutcome_Fail);
    const LiveState::Maps maps = state.ReadMaps();
    EXPECT_EQ(maps.defects, 300U);
    EXPECT_EQ(maps.inCells, 300U);
    EXPECT_EQ(state.Read().failed[0]->defects.size(), LiveVerdict::nListedDefects);
    EXPECT_EQ(state.Read().failed[0]->blobs, 300U);
    // The middle row of the image lies in the middle row of the map.
    const auto row = maps.image.Counts().begin() + 16 * ImageMap::nColumns;
    EXPECT_EQ(std::accumulate(row, row + ImageMap::nColumns, 0U), 300U);
}

TEST_F(LiveStateTest, CountsDroppedFramesOnce)
{
    state.NoteDropped(0, 5);
    state.NoteDropped(0, 5);
    state.NoteDropped(0, 7);
    EXPECT_EQ(state.Read().hours.at(0).dropped, 7U);
}

TEST_F(LiveStateTest, TheStateAsTextHoldsWhatALateReaderNeeds)
{
    AddImage(state, "bad <b>", 2, LiveOutcome_Fail);
    AddImage(state, "good");
    std::uint64_t number = 0;
    const json text = json::parse(StateText(state, number));
    EXPECT_EQ(number, 2U);
    EXPECT_EQ(text["last"].size(), 2U);
    EXPECT_EQ(text["failed"].size(), 1U);
    EXPECT_EQ(text["failed"][0]["name"], "bad <b>");
    EXPECT_EQ(text["failed"][0]["defects"].size(), 2U);
    EXPECT_EQ(text["status"]["condition"], "running");
    EXPECT_EQ(text["status"]["hours"][0]["fail"], 1);
    EXPECT_EQ(text["maps"]["image"]["defects"], 2);
    EXPECT_EQ(text["cells"], json::parse("[[40.0,0.0,0.0,50.0]]"));
}

TEST_F(LiveStateTest, HealthTellsOfABrokenSourceAndAnOverrunQueue)
{
    EXPECT_TRUE(HealthOf(state).good);
    LiveCounts broken;
    broken.problems = {"shm:/camera: cut"};
    counts.Set(broken);
    EXPECT_FALSE(HealthOf(state).good);
    EXPECT_EQ(json::parse(HealthOf(state).text)["status"], "source broken");
    LiveCounts overrun;
    overrun.overrun = true;
    counts.Set(overrun);
    EXPECT_FALSE(HealthOf(state).good);
    EXPECT_EQ(json::parse(HealthOf(state).text)["status"], "queue overrun");
}

TEST_F(LiveStateTest, APictureIsMadeOnlyWhenAskedForAndOnceForAllWhoAsk)
{
    LivePicture picture;
    for (int i = 0; i < 100; ++i)
        AddImage(state, "image");
    EXPECT_EQ(picture.Encoded(), 0U);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(picture.Latest(state)->number, 100U);
    EXPECT_EQ(picture.Encoded(), 1U);
    EXPECT_THAT(json::parse(picture.Latest(state)->text)["picture"].get<std::string>(),
                testing::StartsWith("data:image/jpeg;base64,"));
}

} // namespace

} // namespace narvo::test
