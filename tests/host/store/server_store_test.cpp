// SPDX-License-Identifier: MIT
// A store on a PostgreSQL server: all that every store has to do, and a server that goes away.
#include <atomic>
#include <chrono>
#include <set>
#include <thread>

#include "host/host_test_help.h"
#include "host/store/postgres_database.h"
#include "host/store/random_image.h"
#include "host/store/store_checks.h"
#include "host/store/store_schema.h"
#include "host/store/store_writer.h"
#include "host/store/test_server.h"

namespace narvo::test
{

// One server for all that one process runs.
class ServerStore : public testing::Test
{
protected:
    static void SetUpTestSuite() { server = std::make_unique<TestServer>(); }
    static void TearDownTestSuite() { server.reset(); }
    static std::unique_ptr<TestServer> server;
};

std::unique_ptr<TestServer> ServerStore::server;

TEST_F(ServerStore, KeepsEveryFieldOfRandomResults)
{
    CheckRoundTrip(server->NewPlace());
}

TEST_F(ServerStore, KnowsItsRunsReplacesImagesAndTakesVerdicts)
{
    CheckRuns(server->NewPlace());
    CheckReplacing(server->NewPlace());
    CheckVerdicts(server->NewPlace());
}

TEST_F(ServerStore, HoldsEveryAcknowledgedImageOnceAfterKills)
{
    CheckKills(server->NewPlace(), 12);
}

TEST_F(ServerStore, TakesSeveralWritersAtOnce)
{
    CheckTwoWriters(server->NewPlace());
}

TEST_F(ServerStore, BringsAnOlderVersionUpToDateAndRefusesANewerOne)
{
    const std::string place = server->NewPlace();
    EXPECT_THAT(ProblemsOf([&] { OpenResultStore(place, StoreAccess_Read); }),
                testing::ElementsAre(testing::Field(&Problem::value, "no results in it")));
    {
        const auto database = OpenPostgres(place);
        BringUpToDate(*database, 1);
        EXPECT_EQ(database->SchemaVersion(), 1);
    }
    {
        const auto store = OpenResultStore(place, StoreAccess_Write);
        store->Add(store->BeginRun(RandomRun(1), RunStart_New), RandomImages(1, 5));
    }
    const auto database = OpenPostgres(place);
    EXPECT_EQ(database->SchemaVersion(), nStoreVersion);
    database->SetSchemaVersion(nStoreVersion + 1);
    EXPECT_THAT(ProblemsOf([&] { OpenResultStore(place, StoreAccess_Write); }),
                testing::ElementsAre(
                    testing::Field(&Problem::value, "a store of version " + std::to_string(nStoreVersion + 1))));
}

TEST_F(ServerStore, LosesAndRepeatsNothingWhenTheServerIsKilledAndStartsAgain)
{
    const std::string place = server->NewPlace();
    auto store = OpenResultStore(place, StoreAccess_Write);
    const std::int64_t run = store->BeginRun(RandomRun(1), RunStart_New);
    std::atomic<std::size_t> acknowledged = 0;
    std::atomic<int> told = 0;
    StoreWriterOptions options;
    options.mostImages = 20;
    options.acknowledge = [&](const StoredImage&) { ++acknowledged; };
    options.tell = [&](const std::string&) { ++told; };
    StoreWriter writer(std::move(store), run, options);
    constexpr std::size_t count = 600;
    std::thread adding(
        [&]
        {
            for (std::uint64_t seed = 1; seed <= count; ++seed)
                writer.Add(RandomImage(seed));
            writer.Flush();
        });
    for (const std::size_t at : {50, 250, 400})
    {
        while (acknowledged < at)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        server->Kill();
        const std::size_t before = acknowledged;
        server->Start();
        // What was acknowledged is there, on a connection of its own.
        std::size_t there = 0;
        OpenResultStore(place, StoreAccess_Read)->Images(run, [&](const StoredImage&) { ++there; });
        EXPECT_GE(there, before);
    }
    adding.join();
    EXPECT_EQ(acknowledged, count);
    EXPECT_GE(told, 2);
    const auto reader = OpenResultStore(place, StoreAccess_Read);
    const std::vector<StoredImage> images = ImagesOf(*reader, run);
    ASSERT_EQ(images.size(), count);
    for (std::size_t i = 0; i < count; ++i)
        EXPECT_EQ(Described(images[i]), Described(RandomImage(i + 1)));
}

TEST_F(ServerStore, NeverHoldsALiveRunUpWhileTheServerIsAway)
{
    const std::string place = server->NewPlace();
    auto store = OpenResultStore(place, StoreAccess_Write);
    const std::int64_t run = store->BeginRun(RandomRun(1), RunStart_New);
    std::set<std::string> acknowledged;
    StoreWriterOptions options;
    options.policy = StorePolicy_Drop;
    options.mostImages = 10;
    options.acknowledge = [&](const StoredImage& image) { acknowledged.insert(image.key); };
    server->Kill();
    {
        StoreWriter writer(std::move(store), run, options);
        std::size_t taken = 0;
        for (std::uint64_t seed = 1; seed <= 100; ++seed)
            taken += writer.Add(RandomImage(seed)) ? 1 : 0;
        EXPECT_EQ(taken, 10U);
        EXPECT_EQ(writer.Dropped(), 90U);
        server->Start();
        writer.Flush();
        EXPECT_EQ(writer.Written(), 10U);
    }
    std::set<std::string> there;
    for (const auto& [key, digest] : OpenResultStore(place, StoreAccess_Read)->Keys(run))
        there.insert(key);
    EXPECT_EQ(there, acknowledged);
    EXPECT_EQ(there.size(), 10U);
}

TEST_F(ServerStore, SaysWhatIsWrongWithAnAddress)
{
    EXPECT_THAT(ProblemsOf([] { OpenResultStore("postgresql://[::1/results", StoreAccess_Write); }),
                testing::ElementsAre(testing::Field(&Problem::value, testing::HasSubstr("no address"))));
    std::string place = server->NewPlace();
    place.replace(place.find("/t"), 2, "/no");
    EXPECT_THAT(ProblemsOf([&] { OpenResultStore(place, StoreAccess_Write); }),
                testing::ElementsAre(testing::Field(&Problem::value, testing::HasSubstr("does not exist"))));
}

} // namespace narvo::test
