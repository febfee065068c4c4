// SPDX-License-Identifier: MIT
// The events of one reader, from the state to the end.
#include "tools/live/event_stream.h"

#include <sstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "live/live_test_help.h"

namespace narvo::test
{

namespace
{

using namespace tools;
using nlohmann::json;

class EventStreamTest : public testing::Test
{
protected:
    /// All that the stream sends until it is over.
    static std::string Drain(EventStream& stream)
    {
        std::string all;
        while (!stream.IsOver())
            all += stream.Next();
        return all;
    }
    /// The data of the events of one name.
    static std::vector<json> Events(const std::string& text, const std::string& name)
    {
        std::vector<json> found;
        std::istringstream lines(text);
        bool wanted = false;
        for (std::string line; std::getline(lines, line);)
        {
            if (line.starts_with("event: "))
                wanted = line == "event: " + name;
            else if (wanted && line.starts_with("data: "))
                found.push_back(json::parse(line.substr(6)));
        }
        return found;
    }

    MadeUpCounts counts;
    LiveState state{MadeUpSetup(), [this] { return counts.Get(); }};
    LivePicture picture;
    LiveLot lot;
    LiveCell cell;
};

TEST_F(EventStreamTest, BeginsWithTheStateAndEndsWithTheLastCounts)
{
    AddImage(state, "before", 1, LiveOutcome_Fail);
    EventStream stream(state, picture, lot, cell, "");
    std::string all = stream.Next();
    EXPECT_EQ(Events(all, "state").at(0)["failed"][0]["name"], "before");
    for (int i = 0; i < 200; ++i)
        AddImage(state, std::to_string(i));
    LiveCounts last;
    last.inspected = 201;
    counts.Set(last);
    state.End();
    all += Drain(stream);
    const std::vector<json> verdicts = Events(all, "verdict");
    ASSERT_EQ(verdicts.size(), 200U);
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(verdicts[static_cast<std::size_t>(i)]["name"], std::to_string(i));
    EXPECT_EQ(Events(all, "status").back()["frames"]["inspected"], 201);
    EXPECT_EQ(Events(all, "picture").back()["name"], "199");
    EXPECT_EQ(Events(all, "lot").back()["images"], 201);
    EXPECT_EQ(Events(all, "lot").back()["last"], "199");
    EXPECT_EQ(Events(all, "ended").size(), 1U);
    EXPECT_THAT(all, testing::EndsWith("event: ended\ndata: {}\n\n"));
}

TEST_F(EventStreamTest, AReaderWhoComesBackGetsWhatItMissed)
{
    for (int i = 0; i < 100; ++i)
        AddImage(state, std::to_string(i));
    state.End();
    EventStream stream(state, picture, lot, cell, std::to_string(MadeUpSetup().started) + "-60");
    EXPECT_EQ(Events(Drain(stream), "verdict").size(), 40U);
    // A number of another run, or what is no number, says nothing.
    for (const std::string& id : {std::string("1-60"), std::to_string(MadeUpSetup().started) + "-6x", std::string("x"),
                                  std::to_string(MadeUpSetup().started) + "-99999999999999999999999"})
    {
        EventStream other(state, picture, lot, cell, id);
        EXPECT_EQ(Events(Drain(other), "verdict").size(), 0U) << id;
    }
}

TEST_F(EventStreamTest, AReaderTooFarBehindIsLeft)
{
    EventStream stream(state, picture, lot, cell, "");
    stream.Next();
    for (std::size_t i = 0; i <= LiveState::nRing; ++i)
        AddImage(state, "image");
    EXPECT_EQ(stream.Next(), "");
    EXPECT_TRUE(stream.IsOver());
}

TEST_F(EventStreamTest, ALineEndInANameCannotMakeAnEvent)
{
    EventStream stream(state, picture, lot, cell, "");
    stream.Next();
    AddImage(state, "a\n\nevent: ended\ndata: {}\n\n\xff");
    state.End();
    const std::string all = Drain(stream);
    EXPECT_EQ(Events(all, "verdict").size(), 1U);
    EXPECT_EQ(Events(all, "ended").size(), 1U);
}

} // namespace

} // namespace narvo::test
