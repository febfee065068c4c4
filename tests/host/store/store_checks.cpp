// SPDX-License-Identifier: MIT
// The checks.
#include "host/store/store_checks.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <random>
#include <set>
#include <thread>

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/host_test_help.h"
#include "host/store/random_image.h"
#include "host/store/store_writer.h"
#include "support/seeds.h"

namespace narvo::test
{

namespace
{

/// A child that writes, and the pipe that it tells acknowledgements to.
class WritingChild
{
public:
    WritingChild(const std::string& place, const std::string& run, std::uint64_t first, std::uint64_t count)
    {
        int ends[2];
        if (pipe(ends) != 0)
            std::abort();
        m_process = fork();
        if (m_process == 0)
        {
            dup2(ends[1], 1);
            close(ends[0]);
            close(ends[1]);
            execl(NARVO_STORE_CHILD, NARVO_STORE_CHILD, place.c_str(), run.c_str(), std::to_string(first).c_str(),
                  std::to_string(count).c_str(), nullptr);
            _exit(127);
        }
        close(ends[1]);
        m_told = ends[0];
    }

    void Kill() const { kill(m_process, SIGKILL); }

    /// Waits until it has acknowledged so many.
    void WaitFor(std::int64_t count)
    {
        while (std::count(m_text.begin(), m_text.end(), '\n') < count && ReadMore())
            ;
    }

    /// What it acknowledged until it ended.
    std::vector<std::int64_t> Wait()
    {
        while (ReadMore())
            ;
        close(m_told);
        waitpid(m_process, &status, 0);
        std::vector<std::int64_t> numbers;
        for (std::size_t begin = 0, end; (end = m_text.find('\n', begin)) != m_text.npos; begin = end + 1)
            numbers.push_back(std::stoll(m_text.substr(begin, end - begin)));
        return numbers;
    }

    int status = 0;

private:
    bool ReadMore()
    {
        char piece[4096];
        const ssize_t count = read(m_told, piece, sizeof piece);
        if (count > 0)
            m_text.append(piece, static_cast<std::size_t>(count));
        return count > 0;
    }

    pid_t m_process;
    int m_told;
    std::string m_text;
};

std::vector<std::string> DescribedAll(const std::vector<StoredImage>& images)
{
    std::vector<std::string> all;
    for (const StoredImage& image : images)
        all.push_back(Described(image));
    return all;
}

const RunDescription childRun = {"kills", {"digest", "recipe.json", "{}"}, "store_child", 1};

} // namespace

std::vector<StoredImage> ImagesOf(ResultStore& store, std::int64_t run)
{
    std::vector<StoredImage> images;
    store.Images(run, [&](StoredImage image) { images.push_back(std::move(image)); });
    return images;
}

std::vector<StoredImage> RandomImages(std::uint64_t first, std::size_t count, int mostBlobs)
{
    std::vector<StoredImage> images;
    for (std::size_t i = 0; i < count; ++i)
        images.push_back(RandomImage(first + i, mostBlobs));
    return images;
}

void CheckRoundTrip(const std::string& place)
{
    for (const std::uint64_t seed : CaseSeeds("StoreRoundTrip", 10))
    {
        SCOPED_TRACE(ReplayHint(seed));
        const auto first = seed >> 8U;
        std::vector<StoredImage> images = RandomImages(first, 12, seed % 3 == 0 ? 300 : 20);
        const RunDescription run = RandomRun(first);
        {
            const auto store = OpenResultStore(place, StoreAccess_Write);
            const std::int64_t number = store->BeginRun(run, RunStart_New);
            store->Add(number, std::span(images).first(5));
            store->Add(number, std::span(images).subspan(5));
        }
        const auto store = OpenResultStore(place, StoreAccess_Read);
        const std::vector<StoredRun> runs = store->Runs();
        const auto found = std::find_if(runs.begin(), runs.end(),
                                        [&](const StoredRun& one) { return one.description.key == run.key; });
        ASSERT_NE(found, runs.end());
        EXPECT_EQ(DescribedAll(ImagesOf(*store, found->number)), DescribedAll(images));
        EXPECT_EQ(found->images, images.size());
        EXPECT_EQ(found->description.program, run.program);
        EXPECT_EQ(found->description.started, run.started);
        const StoredRecipe recipe = store->RecipeOf(run.recipe.digest);
        EXPECT_EQ(recipe.name, run.recipe.name);
        EXPECT_EQ(recipe.text, run.recipe.text);
        const std::map<std::string, std::string> keys = store->Keys(found->number);
        EXPECT_EQ(keys.size(), images.size());
        for (const StoredImage& image : images)
            EXPECT_EQ(keys.at(image.key), image.identity.digest);
    }
}

void CheckRuns(const std::string& place)
{
    const auto store = OpenResultStore(place, StoreAccess_Write);
    RunDescription run = {"lot7", {"d1", "panel.json", "{\"version\": 1}"}, "narvo", 5};
    const std::int64_t first = store->BeginRun(run, RunStart_New);
    store->Add(first, RandomImages(1, 3));
    EXPECT_THAT(ProblemsOf([&] { store->BeginRun(run, RunStart_New); }),
                testing::ElementsAre(testing::Field(&Problem::value, "exists already")));
    EXPECT_THAT(ProblemsOf([&] { store->CheckRun(run, RunStart_New); }),
                testing::ElementsAre(testing::Field(&Problem::value, "exists already")));
    store->CheckRun(run, RunStart_Continue);
    EXPECT_EQ(store->BeginRun(run, RunStart_Continue), first);
    RunDescription other = run;
    other.recipe.digest = "d2";
    EXPECT_THAT(ProblemsOf([&] { store->BeginRun(other, RunStart_Continue); }),
                testing::ElementsAre(testing::Field(&Problem::value, "made by another recipe")));
    other.key = "lot8";
    other.started = 4;
    const std::int64_t second = store->BeginRun(other, RunStart_Continue);
    EXPECT_NE(second, first);
    run.started = 6;
    const std::int64_t again = store->BeginRun(run, RunStart_Afresh);
    EXPECT_TRUE(ImagesOf(*store, again).empty());
    const std::vector<StoredRun> runs = store->Runs();
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs[0].description.key, "lot8");
    EXPECT_EQ(runs[1].description.started, 6);
    EXPECT_THROW(store->RecipeOf("d3"), HostError);
}

void CheckReplacing(const std::string& place)
{
    const auto store = OpenResultStore(place, StoreAccess_Write);
    const std::int64_t run = store->BeginRun(RandomRun(1), RunStart_New);
    std::vector<StoredImage> images = RandomImages(1, 3);
    store->Add(run, images);
    store->Add(run, images);
    EXPECT_EQ(DescribedAll(ImagesOf(*store, run)), DescribedAll(images));
    StoredImage other = RandomImage(99);
    other.key = images[1].key;
    other.sequence = images[1].sequence;
    store->Add(run, std::span(&other, 1));
    images[1] = other;
    EXPECT_EQ(DescribedAll(ImagesOf(*store, run)), DescribedAll(images));
    // Nothing of a batch with an image that cannot be kept.
    std::vector<StoredImage> bad = RandomImages(7, 2);
    bad[1].crops.assign(1, Crop{0, 1, "image", 0, 0, std::string(nMostCropBytes + 1, 'x')});
    EXPECT_THAT(ProblemsOf([&] { store->Add(run, bad); }),
                testing::ElementsAre(testing::Field(&Problem::value, std::to_string(nMostCropBytes + 1) + " bytes")));
    EXPECT_EQ(ImagesOf(*store, run).size(), 3U);
    // A run that is not there takes nothing.
    EXPECT_THROW(store->Add(run + 1000, images), WriteError);
    EXPECT_EQ(ImagesOf(*store, run).size(), 3U);
}

void CheckVerdicts(const std::string& place)
{
    const auto store = OpenResultStore(place, StoreAccess_Write);
    const std::int64_t run = store->BeginRun(RandomRun(1), RunStart_New);
    StoredImage image = RandomImage(1);
    image.verdicts.clear();
    store->Add(run, std::span(&image, 1));
    const std::vector<Verdict> verdicts = {{0, 3, "scratch", "operator", 17}, {-1, 0, "good", "rule", -1}};
    store->AddVerdicts(run, image.key, verdicts);
    store->AddVerdicts(run, image.key, verdicts);
    image.verdicts = {verdicts[0], verdicts[1], verdicts[0], verdicts[1]};
    EXPECT_EQ(Described(ImagesOf(*store, run).at(0)), Described(image));
    EXPECT_THROW(store->AddVerdicts(run, "another", verdicts), HostError);
}

void CheckKills(const std::string& place, int kills)
{
    OpenResultStore(place, StoreAccess_Write); // made before the first kill, so that it can be opened behind it
    std::mt19937 random(5);
    std::set<std::int64_t> acknowledged;
    std::size_t cut = 0;
    constexpr std::uint64_t count = 400;
    kills = std::max(kills / CaseShare(), 3);
    for (int i = 0; i < kills; ++i)
    {
        // Each begins before what the last acknowledged, as a run that goes on does.
        const std::uint64_t first =
            acknowledged.empty() ? 1
                                 : static_cast<std::uint64_t>(std::max<std::int64_t>(1, *acknowledged.rbegin() - 3));
        WritingChild child(place, childRun.key, first, count);
        // Some while they begin, most anywhere in a transaction.
        if (i % 5 != 0)
            child.WaitFor(1 + random() % 100);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % (i % 5 == 0 ? 60000 : 4000)));
        child.Kill();
        for (const std::int64_t number : child.Wait())
            acknowledged.insert(number);
        cut += WIFSIGNALED(child.status) ? 1 : 0;
        const auto store = OpenResultStore(place, StoreAccess_Write);
        const std::int64_t run = store->BeginRun(childRun, RunStart_Continue);
        std::set<std::int64_t> there;
        store->Images(run,
                      [&](const StoredImage& image)
                      {
                          EXPECT_TRUE(there.insert(image.sequence).second) << image.sequence;
                          EXPECT_EQ(Described(image),
                                    Described(RandomImage(static_cast<std::uint64_t>(image.sequence))));
                      });
        EXPECT_TRUE(std::includes(there.begin(), there.end(), acknowledged.begin(), acknowledged.end()));
        if (testing::Test::HasFailure())
            return;
    }
    EXPECT_GT(cut, 0U);
    ASSERT_FALSE(acknowledged.empty());
    // One that is left alone ends what was begun.
    const std::uint64_t last = static_cast<std::uint64_t>(*acknowledged.rbegin()) + 5;
    WritingChild child(place, childRun.key, 1, last);
    EXPECT_EQ(child.Wait().size(), last);
    EXPECT_EQ(child.status, 0);
}

void CheckTwoWriters(const std::string& place)
{
    constexpr std::uint64_t count = 60;
    WritingChild one(place, "one", 1, count);
    WritingChild other(place, "other", 1001, count);
    WritingChild same(place, "other", 2001, count);
    EXPECT_EQ(one.Wait().size(), count);
    EXPECT_EQ(other.Wait().size(), count);
    EXPECT_EQ(same.Wait().size(), count);
    EXPECT_EQ(one.status, 0);
    const auto store = OpenResultStore(place, StoreAccess_Read);
    std::map<std::string, std::vector<std::string>> runs;
    for (const StoredRun& run : store->Runs())
        runs[run.description.key] = DescribedAll(ImagesOf(*store, run.number));
    EXPECT_EQ(runs["one"], DescribedAll(RandomImages(1, count)));
    std::vector<std::string> both = DescribedAll(RandomImages(1001, count));
    for (const std::string& image : DescribedAll(RandomImages(2001, count)))
        both.push_back(image);
    EXPECT_EQ(runs["other"], both);
}

} // namespace narvo::test
