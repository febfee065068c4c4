// SPDX-License-Identifier: MIT
// The run from source to sink: policies, order, counts, ends.
#include "tools/watch/watch_run.h"

#include <algorithm>
#include <future>
#include <thread>

#include "host/file/output_file.h"
#include "host/host_test_help.h"
#include "tools/watch/sink_chain.h"

namespace narvo::test
{

namespace
{

using namespace narvo::tools;
using sources::Frame;

/// Hands out frames as fast as they are asked for; then waits for a stop, or ends.
class ScriptedSource : public sources::FrameSource
{
public:
    using Load = std::function<std::shared_ptr<const GreyImage>(std::uint64_t number)>;
    ScriptedSource(std::uint64_t count, Load load) : m_count(count), m_load(std::move(load)) {}

    std::optional<Frame> Next(const std::stop_token& stop) override
    {
        if (stop.stop_requested() || m_number == m_count)
        {
            ended.set_value();
            while (waits && !stop.stop_requested())
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            if (breaks)
                throw HostError({{"camera", "gone", "a camera"}});
            return std::nullopt;
        }
        if (m_number == 1)
            Note("a frame was lost");
        Frame frame;
        frame.number = m_number++;
        frame.name = "frame " + std::to_string(frame.number);
        StampFrame(frame);
        frame.load = [this, number = frame.number](FileIdentity&) { return m_load(number); };
        return frame;
    }
    sources::FrameLosses Losses() const override { return {2, 3}; }

    std::promise<void> ended;
    bool waits = false;
    bool breaks = false;

private:
    std::uint64_t m_count;
    Load m_load;
    std::uint64_t m_number = 0;
};

class ListSink : public ResultSink
{
public:
    void Add(const WatchedImage& image) override
    {
        if (frames.size() == most)
            throw WriteError({{"sink", "full", "room"}});
        frames.push_back(image.frame);
        pictures.push_back(image.picture);
        verdicts.push_back(image.verdict);
    }
    bool WantsPictures() const override { return wantsPictures; }
    void Progress(const WatchSummary& soFar) override
    {
        EXPECT_EQ(soFar.inspected, soFar.passed + soFar.failed + soFar.undecided);
        EXPECT_EQ(soFar.inspected + soFar.unreadable, frames.size());
        EXPECT_GE(soFar.acquired, soFar.inspected + soFar.dropped + soFar.unreadable + soFar.waiting);
        EXPECT_EQ(soFar.latency.Count(), frames.size());
        ++progressCalls;
    }
    void Tell(const std::string& line) override { lines.push_back(line); }
    void Finish(const WatchSummary&) override {}

    std::vector<std::uint64_t> frames;
    std::vector<ImageVerdict> verdicts;
    std::vector<std::shared_ptr<const GreyImage>> pictures;
    std::vector<std::string> lines;
    std::size_t progressCalls = 0;
    std::size_t most = 1000;
    bool wantsPictures = false;
};

std::shared_ptr<const GreyImage> EvenImage()
{
    return std::make_shared<const GreyImage>(128, 160, std::uint8_t{100});
}

class WatchRunTest : public testing::Test
{
protected:
    WatchSummary Run(ScriptedSource& source, std::stop_token stop = {})
    {
        settings.recipes = {ParseRecipe(SmallestRecipe(), {})};
        const WatchSummary summary = RunWatch(settings, source, sink, std::move(stop));
        EXPECT_EQ(summary.acquired, summary.inspected + summary.dropped + summary.unreadable);
        EXPECT_EQ(summary.inspected, summary.passed + summary.failed + summary.undecided);
        EXPECT_EQ(summary.inspected + summary.unreadable, sink.frames.size());
        EXPECT_EQ(summary.latency.Count(), sink.frames.size());
        EXPECT_TRUE(std::is_sorted(sink.frames.begin(), sink.frames.end()));
        EXPECT_EQ(summary.losses.incomplete, 2U);
        EXPECT_EQ(summary.losses.lost, 3U);
        return summary;
    }

    WatchSettings settings;
    ListSink sink;
};

TEST_F(WatchRunTest, TellsWhatASourceNotesWhileItWaits)
{
    class Lost : public sources::FrameSource
    {
    public:
        std::optional<Frame> Next(const std::stop_token& stop) override
        {
            Note("the camera is lost");
            while (!stop.stop_requested())
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            return std::nullopt;
        }
        sources::FrameLosses Losses() const override { return {1, 0}; }
    };
    class StoppingSink : public ListSink
    {
    public:
        void Tell(const std::string& line) override
        {
            ListSink::Tell(line);
            stop.request_stop();
        }
        std::stop_source stop;
    };
    settings.recipes = {ParseRecipe(SmallestRecipe(), {})};
    Lost source;
    StoppingSink waiting;
    const WatchSummary summary = RunWatch(settings, source, waiting, waiting.stop.get_token());
    EXPECT_THAT(waiting.lines, testing::ElementsAre("the camera is lost"));
    EXPECT_EQ(summary.losses.incomplete, 1U);
}

TEST_F(WatchRunTest, WaitingLosesNothingAndKeepsTheOrder)
{
    settings.lanes = 3;
    settings.queue = 2;
    ScriptedSource source(60,
                          [](std::uint64_t number)
                          {
                              std::this_thread::sleep_for(std::chrono::milliseconds(number % 7 == 0 ? 8 : 0));
                              return EvenImage();
                          });
    const WatchSummary summary = Run(source);
    EXPECT_EQ(summary.acquired, 60U);
    EXPECT_EQ(summary.passed, 60U);
}

TEST_F(WatchRunTest, DroppingTheOldestKeepsTheNewest)
{
    settings.queue = 2;
    settings.whenFull = WhenFull_DropOldest;
    ScriptedSource* pace = nullptr;
    std::shared_future<void> offered;
    ScriptedSource source(10,
                          [&](std::uint64_t)
                          {
                              offered.wait();
                              return EvenImage();
                          });
    pace = &source;
    offered = pace->ended.get_future().share();
    const WatchSummary summary = Run(source);
    EXPECT_EQ(summary.acquired, 10U);
    EXPECT_THAT(summary.dropped, testing::AllOf(testing::Ge(7U), testing::Le(8U)));
    EXPECT_THAT(std::vector<std::uint64_t>(sink.frames.end() - 2, sink.frames.end()), testing::ElementsAre(8U, 9U));
}

TEST_F(WatchRunTest, StopsWhereTheQueueIsFullAndFinishesWhatWaits)
{
    settings.queue = 2;
    settings.whenFull = WhenFull_Stop;
    ScriptedSource source(10,
                          [](std::uint64_t)
                          {
                              std::this_thread::sleep_for(std::chrono::milliseconds(100));
                              return EvenImage();
                          });
    const WatchSummary summary = Run(source);
    EXPECT_TRUE(summary.overrun);
    EXPECT_EQ(summary.dropped, 1U);
    EXPECT_GE(summary.inspected, 2U);
    EXPECT_LT(summary.acquired, 10U);
}

TEST_F(WatchRunTest, UnreadableFramesAreCountedAndUndecided)
{
    ScriptedSource source(5,
                          [](std::uint64_t number)
                          {
                              if (number == 2)
                                  throw HostError({{"image", "broken", "whole"}});
                              return number == 3 ? std::make_shared<const GreyImage>(4, 4) : EvenImage();
                          });
    const WatchSummary summary = Run(source);
    EXPECT_EQ(summary.unreadable, 2U);
    EXPECT_THAT(sink.verdicts, testing::ElementsAre(ImageVerdict_Pass, ImageVerdict_Pass, ImageVerdict_Undecided,
                                                    ImageVerdict_Undecided, ImageVerdict_Pass));
}

TEST_F(WatchRunTest, SinksHearOfEveryImageAndLineAndGetPicturesOnlyWhereWanted)
{
    settings.lanes = 2;
    const auto load = [](std::uint64_t number)
    {
        if (number == 4)
            throw HostError({{"image", "broken", "whole"}});
        return EvenImage();
    };
    ScriptedSource plain(20, load);
    Run(plain);
    EXPECT_THAT(sink.pictures, testing::Each(testing::IsNull()));
    EXPECT_THAT(sink.lines, testing::ElementsAre("a frame was lost"));
    EXPECT_EQ(sink.progressCalls, 21U);

    sink.frames.clear();
    sink.pictures.clear();
    sink.wantsPictures = true;
    ScriptedSource seen(20, load);
    Run(seen);
    ASSERT_EQ(sink.pictures.size(), 20U);
    for (std::size_t i = 0; i < sink.pictures.size(); ++i)
        EXPECT_EQ(sink.pictures[i] != nullptr, i != 4) << i;
}

TEST(SinkChain, FinishesAllSinksBehindOneThatFails)
{
    struct Sink : ResultSink
    {
        explicit Sink(std::vector<int>& calls, int number) : called(calls), name(number) {}
        bool WantsPictures() const override { return name == 2; }
        void Add(const WatchedImage&) override { called.push_back(name); }
        void Finish(const WatchSummary&) override
        {
            called.push_back(10 * name);
            if (name != 3)
                throw WriteError({{"sink " + std::to_string(name), "full", "room"}});
        }
        std::vector<int>& called;
        int name;
    };
    std::vector<int> calls;
    SinkChain chain;
    EXPECT_FALSE(chain.WantsPictures());
    for (int i = 1; i <= 3; ++i)
        chain.Append(std::make_unique<Sink>(calls, i));
    EXPECT_TRUE(chain.WantsPictures());
    chain.Add({});
    try
    {
        chain.Finish({});
        ADD_FAILURE() << "did not throw";
    }
    catch (const WriteError& error)
    {
        EXPECT_EQ(error.Problems().front().field, "sink 1");
    }
    EXPECT_THAT(calls, testing::ElementsAre(1, 2, 3, 10, 20, 30));
}

TEST_F(WatchRunTest, EndsAtTheNumberOfFramesAtTheTimeAndAtAStop)
{
    settings.mostFrames = 4;
    ScriptedSource many(100, [](std::uint64_t) { return EvenImage(); });
    EXPECT_EQ(Run(many).acquired, 4U);

    sink.frames.clear();
    settings.mostFrames = 0;
    settings.longest = std::chrono::seconds(1);
    ScriptedSource slow(3, [](std::uint64_t) { return EvenImage(); });
    slow.waits = true;
    EXPECT_EQ(Run(slow).inspected, 3U);

    sink.frames.clear();
    settings.longest = std::chrono::seconds(0);
    ScriptedSource endless(3, [](std::uint64_t) { return EvenImage(); });
    endless.waits = true;
    std::stop_source stop;
    std::jthread stopper(
        [&]
        {
            endless.ended.get_future().wait();
            stop.request_stop();
        });
    EXPECT_EQ(Run(endless, stop.get_token()).inspected, 3U);
}

TEST_F(WatchRunTest, ASourceThatBreaksLeavesItsFramesAndItsReason)
{
    ScriptedSource source(3, [](std::uint64_t) { return EvenImage(); });
    source.breaks = true;
    const WatchSummary summary = Run(source);
    EXPECT_EQ(summary.inspected, 3U);
    ASSERT_EQ(summary.problems.size(), 1U);
    EXPECT_EQ(summary.problems[0].field, "camera");
}

TEST_F(WatchRunTest, ASinkThatCannotWriteEndsTheRun)
{
    settings.lanes = 2;
    settings.queue = 1;
    sink.most = 3;
    settings.recipes = {ParseRecipe(SmallestRecipe(), {})};
    ScriptedSource source(1000, [](std::uint64_t) { return EvenImage(); });
    EXPECT_THROW(RunWatch(settings, source, sink, {}), WriteError);
    EXPECT_THAT(sink.frames, testing::ElementsAre(0U, 1U, 2U));
}

} // namespace

} // namespace narvo::test
