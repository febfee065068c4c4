// SPDX-License-Identifier: MIT
// A store in a file of SQLite: all that every store has to do, and what can be wrong with a file.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/host_test_help.h"
#include "host/store/random_image.h"
#include "host/store/sql_store.h"
#include "host/store/sqlite_database.h"
#include "host/store/store_checks.h"
#include "host/store/store_schema.h"
#include "host/store/store_writer.h"
#include "support/seeds.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;

/// Runs it in a child, as nobody when this is root. @return 0 when it returned true
int InChild(const std::function<bool()>& call)
{
    const pid_t process = fork();
    if (process == 0)
    {
        if (getuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
            _exit(3);
        try
        {
            _exit(call() ? 0 : 1);
        }
        catch (...)
        {
            _exit(2);
        }
    }
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string Version1(const TestFolder& folder)
{
    const std::string file = folder / "old.sqlite";
    const auto database = OpenSqlite(file, StoreAccess_Write);
    BringUpToDate(*database, 1);
    database->Execute("INSERT INTO recipes VALUES ('d', 'r.json', '{}'); "
                      "INSERT INTO runs (id, key, recipe, program, started) VALUES (7, 'old run', 'd', 'narvo', 1); "
                      "INSERT INTO images (run, key, sequence, name, bytes, modified, digest, inspected, status, "
                      "width, height, blob_count) VALUES (7, 'a.png', 1, 'a.png', 1, 2, '3', 4, 'inspected', 5, 6, 0); "
                      "INSERT INTO regions (image, place, name, code, direction, \"left\", top, \"right\", bottom, "
                      "outlines, pairs, overflowed, reruns, dead_blobs) "
                      "VALUES (1, 0, 'all', 1, 'vertical', 0, 0, 5, 6, '[]', 3, 0, 0, 0)");
    return file;
}

} // namespace

TEST(FileStore, KeepsEveryFieldOfRandomResults)
{
    const TestFolder folder;
    CheckRoundTrip(folder / "s.sqlite");
}

TEST(FileStore, KnowsItsRuns)
{
    const TestFolder folder;
    CheckRuns(folder / "s.sqlite");
}

TEST(FileStore, HoldsAnImageThatIsAddedTwiceOnce)
{
    const TestFolder folder;
    CheckReplacing(folder / "s.sqlite");
}

TEST(FileStore, TakesVerdictsLater)
{
    const TestFolder folder;
    CheckVerdicts(folder / "s.sqlite");
}

TEST(FileStore, HoldsEveryAcknowledgedImageOnceAfterKills)
{
    const TestFolder folder;
    CheckKills(folder / "s.sqlite", 25);
}

TEST(FileStore, TakesSeveralWritersWhoMakeItAtOnce)
{
    const TestFolder folder;
    const int rounds = std::max(400 / CaseShare(), 40);
    for (int i = 0; i < rounds && !HasFailure(); ++i)
    {
        const std::string place = folder / (std::to_string(i) + ".sqlite");
        std::latch begin(3);
        std::vector<std::jthread> writers;
        for (int writer = 0; writer < 3; ++writer)
            writers.emplace_back(
                [&]
                {
                    begin.arrive_and_wait();
                    EXPECT_THAT(ProblemsOf([&] { OpenResultStore(place, StoreAccess_Write); }), testing::IsEmpty());
                });
    }
}

TEST(FileStore, TakesSeveralWritersAtOnce)
{
    const TestFolder folder;
    CheckTwoWriters(folder / "s.sqlite");
}

TEST(FileStore, TakesAnyBytesInItsName)
{
    const TestFolder folder;
    const std::string file = folder / "a%41?b#c\xff d.sqlite";
    OpenResultStore(file, StoreAccess_Write)->BeginRun(RandomRun(1), RunStart_New);
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_EQ(OpenResultStore(file, StoreAccess_Read)->Runs().size(), 1U);
}

TEST(FileStore, BringsAnOlderVersionUpToDate)
{
    const TestFolder folder;
    const std::string file = Version1(folder);
    EXPECT_THAT(ProblemsOf([&] { OpenResultStore(file, StoreAccess_Read); }),
                ElementsAre(Field(&Problem::value, "a store of version 1")));
    const auto store = OpenResultStore(file, StoreAccess_Write);
    store->AddVerdicts(7, "a.png", std::vector<Verdict>{{-1, 0, "good", "operator", 1}});
    const std::vector<StoredImage> images = ImagesOf(*store, 7);
    ASSERT_EQ(images.size(), 1U);
    EXPECT_EQ(images[0].result.width, 5);
    EXPECT_EQ(images[0].verdicts.size(), 1U);
    ASSERT_EQ(images[0].result.regions.size(), 1U);
    EXPECT_EQ(images[0].result.regions[0].pairs, 3);
    EXPECT_TRUE(std::isnan(images[0].result.regions[0].drift.light)) << "what it did not know";
    EXPECT_EQ(OpenSqlite(file, StoreAccess_Read)->SchemaVersion(), nStoreVersion);
}

TEST(FileStore, LeavesAnOlderVersionAsItIsWhereAStepFails)
{
    const TestFolder folder;
    const std::string file = Version1(folder);
    OpenSqlite(file, StoreAccess_Write)->Execute("CREATE TABLE crops (mine INTEGER)");
    EXPECT_THROW(OpenResultStore(file, StoreAccess_Write), WriteError);
    const auto database = OpenSqlite(file, StoreAccess_Write);
    EXPECT_EQ(database->SchemaVersion(), 1);
    int tables = 0;
    database->Run("SELECT count(*) FROM sqlite_master WHERE name = 'verdicts'", {},
                  [&](const SqlRow& row) { tables = static_cast<int>(row.Integer(0)); });
    EXPECT_EQ(tables, 0);
}

TEST(FileStore, RefusesANewerVersion)
{
    const TestFolder folder;
    const std::string file = Version1(folder);
    OpenSqlite(file, StoreAccess_Write)->SetSchemaVersion(nStoreVersion + 1);
    for (const StoreAccess access : {StoreAccess_Read, StoreAccess_Write})
        EXPECT_THAT(ProblemsOf([&] { OpenResultStore(file, access); }),
                    ElementsAre(Field(&Problem::value, "a store of version " + std::to_string(nStoreVersion + 1))));
}

TEST(FileStore, RefusesWhatIsNoStoreAndLeavesIt)
{
    const TestFolder folder;
    const std::string garbage = folder / "garbage";
    std::ofstream(garbage) << std::string(5000, 'g');
    EXPECT_THAT(ProblemsOf([&] { OpenResultStore(garbage, StoreAccess_Write); }),
                ElementsAre(Field(&Problem::value, "no database")));
    EXPECT_EQ(std::filesystem::file_size(garbage), 5000U);

    const std::string foreign = folder / "foreign.sqlite";
    {
        const auto database = OpenSqlite(folder / "made.sqlite", StoreAccess_Write);
        database->Execute("CREATE TABLE theirs (a INTEGER); PRAGMA wal_checkpoint(TRUNCATE)");
    }
    std::filesystem::rename(folder / "made.sqlite", foreign);
    EXPECT_THAT(ProblemsOf([&] { OpenResultStore(foreign, StoreAccess_Write); }),
                ElementsAre(Field(&Problem::value, "a database of another program")));

    EXPECT_THAT(ProblemsOf([&] { OpenResultStore(folder / "nowhere.sqlite", StoreAccess_Read); }),
                ElementsAre(Field(&Problem::value, "not there")));
    EXPECT_FALSE(std::filesystem::exists(folder / "nowhere.sqlite"));
    EXPECT_THAT(ProblemsOf([&] { OpenResultStore(folder.Path(), StoreAccess_Write); }),
                ElementsAre(Field(&Problem::value, "no regular file")));
    EXPECT_THAT(ProblemsOf([&] { OpenResultStore(folder / "no/such/s.sqlite", StoreAccess_Write); }),
                ElementsAre(Field(&Problem::value, "cannot be opened")));
    // An empty file is a store without anything in it.
    std::ofstream(folder / "empty").close();
    EXPECT_NO_THROW(OpenResultStore(folder / "empty", StoreAccess_Write));
}

TEST(FileStore, SaysThatACutFileIsDamaged)
{
    const TestFolder folder;
    const std::string file = folder / "s.sqlite";
    {
        const auto store = OpenResultStore(file, StoreAccess_Write);
        store->Add(store->BeginRun(RandomRun(1), RunStart_New), RandomImages(1, 20));
    }
    const auto size = std::filesystem::file_size(file);
    int refused = 0;
    for (int share = 1; share < 10; ++share)
    {
        const std::string cut = folder / ("cut" + std::to_string(share));
        std::filesystem::copy_file(file, cut);
        std::filesystem::resize_file(cut, size * static_cast<std::uintmax_t>(share) / 10);
        try
        {
            const auto store = OpenResultStore(cut, StoreAccess_Write);
            const std::vector<StoredRun> runs = store->Runs();
            ASSERT_EQ(runs.size(), 1U);
            ImagesOf(*store, runs[0].number);
        }
        catch (const HostError& error)
        {
            ++refused;
            EXPECT_THAT(error.what(), testing::AnyOf(HasSubstr("damaged"), HasSubstr("no database"))) << share;
        }
    }
    EXPECT_EQ(refused, 9);
}

TEST(FileStore, IsReadButNotWrittenWhereNothingMayBeWritten)
{
    const TestFolder folder;
    const std::string place = folder / "locked";
    std::filesystem::create_directory(place);
    const std::string file = place + "/s.sqlite";
    {
        const auto store = OpenResultStore(file, StoreAccess_Write);
        store->Add(store->BeginRun(RandomRun(1), RunStart_New), RandomImages(1, 2));
    }
    chmod(file.c_str(), 0444);
    chmod(place.c_str(), 0555);
    const auto saysReadOnly = [](const std::string& name)
    {
        try
        {
            OpenResultStore(name, StoreAccess_Write);
        }
        catch (const WriteError& error)
        {
            return error.Problems()[0].value == "read-only" || error.Problems()[0].value == "cannot be opened";
        }
        return false;
    };
    EXPECT_EQ(InChild([&] { return saysReadOnly(file); }), 0);
    EXPECT_EQ(InChild([&] { return saysReadOnly(place + "/new.sqlite"); }), 0);
    EXPECT_EQ(InChild(
                  [&]
                  {
                      const auto store = OpenResultStore(file, StoreAccess_Read);
                      return ImagesOf(*store, store->Runs().at(0).number).size() == 2;
                  }),
              0);
    chmod(place.c_str(), 0755);
}

TEST(FileStore, KeepsWhatWasCommittedWhenTheDiskIsFull)
{
    const TestFolder folder;
    const std::string file = folder / "s.sqlite";
    std::size_t written = 0;
    {
        OpenResultStore(file, StoreAccess_Write);
        auto database = OpenSqlite(file, StoreAccess_Write);
        database->Execute("PRAGMA max_page_count = 150");
        const auto store = MakeSqlStore(std::move(database));
        const std::int64_t run = store->BeginRun(RandomRun(1), RunStart_New);
        const auto fill = [&]
        {
            for (std::uint64_t seed = 1; seed < 5000; ++seed, ++written)
                store->Add(run, RandomImages(seed, 1));
        };
        EXPECT_THAT(ProblemsOf(fill), ElementsAre(Field(&Problem::value, "disk full")));
        EXPECT_EQ(ImagesOf(*store, run).size(), written);
    }
    EXPECT_GT(written, 3U);
    const auto store = OpenResultStore(file, StoreAccess_Write);
    EXPECT_EQ(ImagesOf(*store, store->Runs().at(0).number).size(), written);
    store->Add(store->Runs().at(0).number, RandomImages(9001, 3));
    EXPECT_EQ(ImagesOf(*store, store->Runs().at(0).number).size(), written + 3);
}

TEST(FileStore, EndsARunWhenItsFileCannotGrow)
{
    const TestFolder folder;
    std::filesystem::permissions(folder.Path(), std::filesystem::perms::all);
    const std::string file = folder / "s.sqlite";
    const std::string count = folder / "count";
    EXPECT_EQ(InChild(
                  [&]
                  {
                      signal(SIGXFSZ, SIG_IGN);
                      const rlimit limit = {400000, 400000};
                      setrlimit(RLIMIT_FSIZE, &limit);
                      auto store = OpenResultStore(file, StoreAccess_Write);
                      const std::int64_t run = store->BeginRun(RandomRun(1), RunStart_New);
                      std::size_t acknowledged = 0;
                      bool refused = false;
                      StoreWriterOptions options;
                      options.acknowledge = [&](const StoredImage&) { ++acknowledged; };
                      {
                          StoreWriter writer(std::move(store), run, options);
                          try
                          {
                              for (std::uint64_t seed = 1; seed < 2000; ++seed)
                                  writer.Add(RandomImage(seed));
                              writer.Flush();
                          }
                          catch (const WriteError&)
                          {
                              refused = true;
                          }
                      }
                      std::ofstream(count) << acknowledged;
                      return refused;
                  }),
              0);
    std::size_t acknowledged = 0;
    std::ifstream(count) >> acknowledged;
    const auto store = OpenResultStore(file, StoreAccess_Write);
    EXPECT_EQ(ImagesOf(*store, store->Runs().at(0).number).size(), acknowledged);
}

TEST(FileStore, SaysThatItsFileOrItsLogIsGone)
{
    const auto add = [](auto disturb)
    {
        const TestFolder folder;
        std::filesystem::create_directory(folder / "place");
        const std::string file = folder / "place/s.sqlite";
        const auto store = OpenResultStore(file, StoreAccess_Write);
        const std::int64_t run = store->BeginRun(RandomRun(1), RunStart_New);
        store->Add(run, RandomImages(1, 2));
        disturb(folder, file);
        return ProblemsOf([&] { store->Add(run, RandomImages(2, 1)); });
    };
    const auto gone = ElementsAre(Field(&Problem::value, "removed or replaced during the run"));
    EXPECT_THAT(add([](const TestFolder&, const std::string&) {}), testing::IsEmpty());
    EXPECT_THAT(add([](const TestFolder&, const std::string& file) { std::filesystem::remove(file); }), gone);
    EXPECT_THAT(add([](const TestFolder&, const std::string& file) { std::filesystem::remove(file + "-wal"); }), gone);
    EXPECT_THAT(add([](const TestFolder& folder, const std::string&)
                    { std::filesystem::rename(folder / "place", folder / "other"); }),
                gone);
    EXPECT_THAT(add(
                    [](const TestFolder& folder, const std::string&)
                    {
                        std::filesystem::rename(folder / "place", folder / "other");
                        std::filesystem::copy(folder / "other", folder / "place");
                    }),
                gone);
}

TEST(FileStore, WaitsForAnotherWritersTransactionAndSaysSo)
{
    const TestFolder folder;
    const std::string file = folder / "s.sqlite";
    const std::int64_t run = OpenResultStore(file, StoreAccess_Write)->BeginRun(RandomRun(1), RunStart_New);
    const auto other = OpenSqlite(file, StoreAccess_Write);
    auto database = OpenSqlite(file, StoreAccess_Write);
    database->Execute("PRAGMA busy_timeout = 20");
    other->Begin();
    const auto store = MakeSqlStore(std::move(database));
    EXPECT_THROW(store->Add(run, RandomImages(1, 1)), StoreAwayError);
    // Readers see what is committed meanwhile.
    EXPECT_EQ(OpenResultStore(file, StoreAccess_Read)->Runs().size(), 1U);
    other->Commit();
    store->Add(run, RandomImages(1, 1));
    EXPECT_EQ(ImagesOf(*store, run).size(), 1U);
}

} // namespace narvo::test
