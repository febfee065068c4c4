// SPDX-License-Identifier: MIT
// Files that appear in a folder, with writers at their side.
#include "sources/folder_source.h"

#include <fstream>
#include <thread>

#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using namespace narvo::sources;
namespace fs = std::filesystem;

class FolderSourceTest : public testing::Test
{
protected:
    void SetUp() override { fs::create_directory(folder / "in"); }

    FolderSourceOptions Options() const
    {
        FolderSourceOptions options;
        options.folder = folder / "in";
        return options;
    }
    void Save(const std::string& name) const { SaveGreyImage(folder / ("in/" + name), GreyImage(8, 8, 100)); }

    /// The names of the next frames, each without its folder.
    static std::vector<std::string> NextNames(FolderSource& source, std::size_t count)
    {
        std::vector<std::string> names;
        while (names.size() < count)
        {
            const std::optional<Frame> frame = source.Next({});
            names.push_back(frame ? fs::path(frame->name).filename().string() : "none");
        }
        return names;
    }

    /// What comes within a short time.
    static std::vector<std::string> NamesWithin(FolderSource& source, std::chrono::milliseconds time)
    {
        std::stop_source stop;
        std::jthread timer(
            [&]
            {
                std::this_thread::sleep_for(time);
                stop.request_stop();
            });
        std::vector<std::string> names;
        while (const std::optional<Frame> frame = source.Next(stop.get_token()))
            names.push_back(fs::path(frame->name).filename().string());
        return names;
    }

    TestFolder folder;
};

TEST_F(FolderSourceTest, BringsWhatIsWrittenOrMovedInByNameAndLeavesTheRest)
{
    Save("old.png");
    FolderSource source(Options());
    EXPECT_EQ(source.LeftAlone(), 1U);
    SaveGreyImage(folder / "moved.png", GreyImage(8, 8));
    fs::rename(folder / "moved.png", folder / "in/b.png");
    Save("c.png");
    Save("a.png");
    Save(".hidden.png");
    Save("a.overlay.png");
    std::ofstream(folder / "in/text.txt") << "no image";
    EXPECT_THAT(NextNames(source, 3), testing::ElementsAre("a.png", "b.png", "c.png"));
    EXPECT_THAT(NamesWithin(source, std::chrono::milliseconds(100)), testing::IsEmpty());
}

TEST_F(FolderSourceTest, TakesAFileThatIsBeingWrittenOnlyWhenItsWriterClosesIt)
{
    Save("whole.png");
    const std::string bytes = [&]
    {
        std::ifstream file(folder / "in/whole.png", std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }();
    std::ofstream before(folder / "in/before.png", std::ios::binary);
    before << bytes.substr(0, bytes.size() / 2) << std::flush;
    FolderSourceOptions options = Options();
    options.existing = true;
    FolderSource source(options);
    EXPECT_THAT(NextNames(source, 1), testing::ElementsAre("whole.png"));
    std::ofstream after(folder / "in/after.png", std::ios::binary);
    after << bytes.substr(0, bytes.size() / 2) << std::flush;
    EXPECT_THAT(NamesWithin(source, std::chrono::milliseconds(150)), testing::IsEmpty());
    before << bytes.substr(bytes.size() / 2) << std::flush;
    before.close();
    const std::optional<Frame> frame = source.Next({});
    ASSERT_TRUE(frame);
    EXPECT_EQ(fs::path(frame->name).filename(), "before.png");
    FileIdentity identity;
    EXPECT_EQ(frame->load(identity)->Width(), 8);
    EXPECT_EQ(identity.bytes, bytes.size());
    after << bytes.substr(bytes.size() / 2) << std::flush;
    after.close();
    EXPECT_THAT(NextNames(source, 1), testing::ElementsAre("after.png"));
}

TEST_F(FolderSourceTest, TakesWhatLiesThereButForWhatIsDone)
{
    for (const char* const name : {"b.png", "a.png", "c.png"})
        Save(name);
    FolderSourceOptions options = Options();
    options.existing = true;
    options.isDone = [](const std::string& name, const FileIdentity& identity)
    { return name.ends_with("b.png") && identity.bytes > 0; };
    FolderSource source(options);
    EXPECT_EQ(source.DoneBefore(), 1U);
    EXPECT_THAT(NextNames(source, 2), testing::ElementsAre("a.png", "c.png"));
}

TEST_F(FolderSourceTest, SaysThatAFileVanished)
{
    FolderSource source(Options());
    Save("a.png");
    const std::optional<Frame> frame = source.Next({});
    ASSERT_TRUE(frame);
    fs::remove(folder / "in/a.png");
    FileIdentity identity;
    try
    {
        frame->load(identity);
        FAIL();
    }
    catch (const HostError& error)
    {
        EXPECT_THAT(error.what(), testing::HasSubstr("vanished before it was read"));
    }
}

TEST_F(FolderSourceTest, ReadsTheFolderAnewWhereNoticesOverflow)
{
    std::size_t room = 0;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> room;
    if (room == 0 || room > 100000)
        GTEST_SKIP() << "the system's queue of notices has no known length: " << room;
    Save("old.png");
    FolderSource source(Options());
    Save("first.png");
    EXPECT_THAT(NextNames(source, 1), testing::ElementsAre("first.png"));
    // Two names in turns, since equal notices in a row become one.
    for (std::size_t i = 0; i <= room / 2; ++i)
    {
        std::ofstream(folder / "in/x.png", std::ios::app);
        std::ofstream(folder / "in/y.png", std::ios::app);
    }
    for (const char* const name : {"x.png", "y.png", "lost.png"})
        Save(name);
    EXPECT_THAT(NamesWithin(source, std::chrono::milliseconds(1500)),
                testing::AllOf(testing::Contains("lost.png").Times(1), testing::Contains("x.png"),
                               testing::Contains("y.png"), testing::Not(testing::Contains("old.png")),
                               testing::Not(testing::Contains("first.png"))));
    EXPECT_FALSE(source.TakeNotes().empty());
}

TEST_F(FolderSourceTest, SaysThatTheFolderIsGone)
{
    FolderSourceOptions none = Options();
    none.folder = folder / "none";
    EXPECT_THROW(FolderSource{none}, HostError);
    FolderSource source(Options());
    fs::remove_all(folder / "in");
    EXPECT_THROW(source.Next({}), HostError);
}

} // namespace

} // namespace narvo::test
