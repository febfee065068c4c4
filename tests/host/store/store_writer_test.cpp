// SPDX-License-Identifier: MIT
// The writer's queue, over a store that the test opens and shuts.
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>
#include <thread>

#include "host/host_test_help.h"
#include "host/store/random_image.h"
#include "host/store/store_writer.h"

namespace narvo::test
{

namespace
{

/// What the test sees of a store.
struct Gate
{
    std::mutex mutex;
    std::condition_variable changed;
    bool open = true;  ///< otherwise a call stands still
    bool away = false; ///< a call fails, and may succeed later
    bool broken = false;
    int calls = 0;
    std::vector<std::int64_t> tried; ///< the first image of each call
    std::vector<std::int64_t> kept;

    void Set(bool Gate::*member, bool value)
    {
        {
            const std::scoped_lock lock(mutex);
            this->*member = value;
        }
        changed.notify_all();
    }
};

class GatedStore : public ResultStore
{
public:
    explicit GatedStore(Gate& gate) : m_gate(gate) {}
    void CheckRun(const RunDescription&, RunStart) override {}
    std::int64_t BeginRun(const RunDescription&, RunStart) override { return 1; }
    void Add(std::int64_t, std::span<const StoredImage> images) override
    {
        std::unique_lock lock(m_gate.mutex);
        ++m_gate.calls;
        m_gate.tried.push_back(images.front().sequence);
        m_gate.changed.notify_all();
        m_gate.changed.wait(lock, [&] { return m_gate.open; });
        if (m_gate.away)
            throw StoreAwayError({{"store", "away", "there"}});
        if (m_gate.broken)
            throw WriteError({{"store", "broken", "whole"}});
        for (const StoredImage& image : images)
            m_gate.kept.push_back(image.sequence);
    }
    void AddVerdicts(std::int64_t, const std::string&, std::span<const Verdict>) override {}
    std::vector<StoredRun> Runs() override { return {}; }
    void Images(std::int64_t, const std::function<void(StoredImage)>&) override {}
    std::map<std::string, std::string> Keys(std::int64_t) override { return {}; }
    StoredRecipe RecipeOf(const std::string&) override { return {}; }
    std::string Place() const override { return "gate"; }

private:
    Gate& m_gate;
};

StoredImage Numbered(int number, std::size_t blobs = 0)
{
    StoredImage image;
    image.sequence = number;
    image.result.name = std::to_string(number);
    image.result.regions.resize(1);
    image.result.regions[0].blobs.resize(blobs);
    return image;
}

std::vector<std::int64_t> UpTo(int count)
{
    std::vector<std::int64_t> numbers;
    for (int i = 0; i < count; ++i)
        numbers.push_back(i);
    return numbers;
}

} // namespace

TEST(StoreWriter, AcknowledgesInOrderWhatIsCommitted)
{
    Gate gate;
    std::vector<std::int64_t> acknowledged;
    StoreWriterOptions options;
    options.acknowledge = [&](const StoredImage& image)
    {
        const std::scoped_lock lock(gate.mutex);
        acknowledged.push_back(image.sequence);
        EXPECT_LE(acknowledged.size(), gate.kept.size());
    };
    StoreWriter writer(std::make_unique<GatedStore>(gate), 1, options);
    for (int i = 0; i < 500; ++i)
        EXPECT_TRUE(writer.Add(Numbered(i)));
    writer.Flush();
    EXPECT_EQ(acknowledged, UpTo(500));
    EXPECT_EQ(gate.kept, UpTo(500));
    EXPECT_EQ(writer.Written(), 500U);
    EXPECT_EQ(writer.Dropped(), 0U);
}

TEST(StoreWriter, WritesWhatWaitsWhenItEnds)
{
    Gate gate;
    {
        StoreWriter writer(std::make_unique<GatedStore>(gate), 1, {});
        for (int i = 0; i < 100; ++i)
            writer.Add(Numbered(i));
    }
    EXPECT_EQ(gate.kept, UpTo(100));
}

TEST(StoreWriter, MakesTheCallerWaitOnlyWhenTheQueueIsFull)
{
    for (const bool byBlobs : {false, true})
    {
        Gate gate;
        gate.open = false;
        StoreWriterOptions options;
        options.mostImages = byBlobs ? 1000 : 10;
        options.mostBlobs = byBlobs ? 100 : 1000000;
        StoreWriter writer(std::make_unique<GatedStore>(gate), 1, options);
        for (int i = 0; i < 10; ++i)
            writer.Add(Numbered(i, 10));
        std::future<bool> next = std::async(std::launch::async, [&] { return writer.Add(Numbered(10, 10)); });
        EXPECT_EQ(next.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        gate.Set(&Gate::open, true);
        EXPECT_TRUE(next.get());
        writer.Flush();
        EXPECT_EQ(gate.kept, UpTo(11));
    }
}

TEST(StoreWriter, TakesAnImageOfAnySizeIntoAnEmptyQueue)
{
    Gate gate;
    StoreWriterOptions options;
    options.mostBlobs = 1;
    StoreWriter writer(std::make_unique<GatedStore>(gate), 1, options);
    for (int i = 0; i < 3; ++i)
        writer.Add(Numbered(i, 1000));
    writer.Flush();
    EXPECT_EQ(gate.kept, UpTo(3));
}

TEST(StoreWriter, LeavesImagesOutAndCountsThemWhereNobodyMayWait)
{
    Gate gate;
    gate.open = false;
    StoreWriterOptions options;
    options.policy = StorePolicy_Drop;
    options.mostImages = 10;
    StoreWriter writer(std::make_unique<GatedStore>(gate), 1, options);
    for (int i = 0; i < 25; ++i)
        EXPECT_EQ(writer.Add(Numbered(i)), i < 10) << i;
    EXPECT_EQ(writer.Dropped(), 15U);
    gate.Set(&Gate::open, true);
    writer.Flush();
    EXPECT_EQ(gate.kept, UpTo(10));
    EXPECT_TRUE(writer.Add(Numbered(10)));
    writer.Flush();
    EXPECT_EQ(writer.Written(), 11U);
}

TEST(StoreWriter, TriesAgainUntilTheDatabaseIsBackAndTellsBoth)
{
    for (const StorePolicy policy : {StorePolicy_Wait, StorePolicy_Drop})
    {
        Gate gate;
        gate.away = true;
        std::vector<std::string> told;
        StoreWriterOptions options;
        options.policy = policy;
        options.shortestPause = std::chrono::milliseconds(1);
        options.tell = [&](const std::string& line) { told.push_back(line); };
        StoreWriter writer(std::make_unique<GatedStore>(gate), 1, options);
        for (int i = 0; i < 20; ++i)
            writer.Add(Numbered(i));
        {
            std::unique_lock lock(gate.mutex);
            gate.changed.wait(lock, [&] { return gate.calls >= 4; });
        }
        gate.Set(&Gate::away, false);
        writer.Flush();
        EXPECT_EQ(gate.kept, UpTo(20));
        ASSERT_EQ(told.size(), 2U);
        EXPECT_THAT(told[0], testing::HasSubstr("away"));
        EXPECT_THAT(told[1], testing::HasSubstr("back"));
    }
}

TEST(StoreWriter, EndsARunWhoseDatabaseStaysAwayBeyondThePatience)
{
    Gate gate;
    gate.away = true;
    StoreWriterOptions options;
    options.shortestPause = std::chrono::milliseconds(1);
    options.patience = std::chrono::milliseconds(30);
    StoreWriter writer(std::make_unique<GatedStore>(gate), 1, options);
    writer.Add(Numbered(0));
    EXPECT_THROW(writer.Flush(), StoreAwayError);
    EXPECT_THROW(writer.Add(Numbered(1)), StoreAwayError);
    EXPECT_EQ(writer.Written(), 0U);
}

TEST(StoreWriter, EndsARunAtOnceWhenItCannotWrite)
{
    Gate gate;
    gate.broken = true;
    StoreWriter writer(std::make_unique<GatedStore>(gate), 1, {});
    writer.Add(Numbered(0));
    EXPECT_THROW(writer.Flush(), WriteError);
    EXPECT_THROW(writer.Add(Numbered(1)), WriteError);
}

TEST(StoreWriter, TellsWhatALiveRunLostWhenItEndsWithoutADatabase)
{
    Gate gate;
    gate.away = true;
    StoreWriterOptions options;
    options.policy = StorePolicy_Drop;
    options.shortestPause = std::chrono::milliseconds(1);
    options.patience = std::chrono::milliseconds(30);
    StoreWriter writer(std::make_unique<GatedStore>(gate), 1, options);
    writer.Add(Numbered(0));
    writer.Add(Numbered(1));
    EXPECT_THAT(ProblemsOf([&] { writer.Flush(); }),
                testing::ElementsAre(testing::Field(&Problem::value, "2 images not written, the database is away")));
    EXPECT_EQ(writer.Dropped(), 2U);
}

TEST(StoreWriter, HasOnePatienceForAllThatWaits)
{
    Gate gate;
    gate.open = false;
    gate.away = true;
    StoreWriterOptions options;
    options.policy = StorePolicy_Drop;
    options.shortestPause = std::chrono::milliseconds(1);
    options.patience = std::chrono::milliseconds(30);
    std::vector<std::string> told;
    options.tell = [&](const std::string& line) { told.push_back(line); };
    {
        StoreWriter writer(std::make_unique<GatedStore>(gate), 1, options);
        for (int i = 0; i < 200; ++i)
            EXPECT_TRUE(writer.Add(Numbered(i)));
        gate.Set(&Gate::open, true);
        EXPECT_THROW(writer.Flush(), WriteError);
        EXPECT_EQ(writer.Dropped(), 200U);
    }
    // The first transaction is tried until the patience ends, those behind it once each.
    const auto others =
        std::find_if(gate.tried.begin(), gate.tried.end(), [](std::int64_t image) { return image != 0; });
    EXPECT_GE(std::distance(others, gate.tried.end()), 3);
    EXPECT_EQ(std::adjacent_find(others, gate.tried.end()), gate.tried.end());
    EXPECT_EQ(told.size(), 1U);
}

TEST(StoreWriter, RefusesAnImageThatCannotBeKeptBeforeItWaits)
{
    Gate gate;
    StoreWriter writer(std::make_unique<GatedStore>(gate), 1, {});
    StoredImage image = Numbered(0);
    image.result.name.clear();
    EXPECT_THROW(writer.Add(image), HostError);
    writer.Flush();
    EXPECT_TRUE(gate.kept.empty());
}

} // namespace narvo::test
