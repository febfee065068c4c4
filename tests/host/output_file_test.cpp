// SPDX-License-Identifier: MIT
// Files that are written whole, and files that grow: replaced only when complete, errors reported, disturbance noticed.
#include <csignal>
#include <fstream>
#include <iterator>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/file/appended_file.h"
#include "host/file/output_file.h"
#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;

std::string Text(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::size_t FileCount(const TestFolder& folder)
{
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.Path()), fs::directory_iterator()));
}

/// What a WriteError says; empty when there is none.
template <typename Call>
std::string Reason(Call call)
{
    try
    {
        call();
    }
    catch (const WriteError& error)
    {
        return error.Problems().front().value;
    }
    return {};
}

/// Files that grow beyond the limit fail instead of raising a signal.
class SizeLimit
{
public:
    explicit SizeLimit(rlim_t bytes)
    {
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    SizeLimit(const SizeLimit&) = delete;
    SizeLimit& operator=(const SizeLimit&) = delete;

private:
    rlimit m_before{};
    void (*m_handler)(int);
};

TEST(OutputFile, FailureLeavesTheOldFileAndNothingBesideIt)
{
    const TestFolder folder;
    WriteTextFile(folder / "a", "old");
    {
        const SizeLimit limit(1000);
        EXPECT_EQ(Reason([&] { WriteTextFile(folder / "a", std::string(5000, 'x')); }),
                  "cannot be written: File too large");
    }
    EXPECT_EQ(Text(folder / "a"), "old");
    EXPECT_EQ(FileCount(folder), 1U);
    WriteTextFile(folder / "a", "new");
    EXPECT_EQ(Text(folder / "a"), "new");
    EXPECT_EQ(FileCount(folder), 1U);
}

TEST(OutputFile, ReaderSeesTheOldOrTheNewContentsAlone)
{
    const TestFolder folder;
    const std::string texts[2] = {std::string(300000, 'a'), std::string(300000, 'b')};
    WriteTextFile(folder / "f", texts[0]);
    std::jthread writer(
        [&]
        {
            for (int i = 0; i < 40; ++i)
                WriteTextFile(folder / "f", texts[i % 2]);
        });
    for (int i = 0; i < 200; ++i)
    {
        const std::string seen = Text(folder / "f");
        ASSERT_TRUE(seen == texts[0] || seen == texts[1]) << seen.size();
    }
}

TEST(OutputFile, LinksPermissionsAndStreamsStayWhatTheyAre)
{
    const TestFolder folder;
    fs::create_directory(folder / "far");
    WriteTextFile(folder / "far/file", "1");
    fs::permissions(folder / "far/file", fs::perms::owner_all);
    fs::create_symlink("far/file", folder / "link");
    fs::create_symlink("far/none", folder / "dangling");
    WriteTextFile(folder / "link", "2");
    WriteTextFile(folder / "dangling", "3");
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_TRUE(fs::is_symlink(folder / "dangling"));
    EXPECT_EQ(Text(folder / "far/file"), "2");
    EXPECT_EQ(Text(folder / "far/none"), "3");
    EXPECT_EQ(fs::status(folder / "far/file").permissions(), fs::perms::owner_all);

    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0666), 0);
    EXPECT_EQ(Reason([&] { WriteTextFile(folder / "fifo", "4"); }),
              "cannot be written: No such device or address"); // nobody reads it
    const int reader = open((folder / "fifo").c_str(), O_RDONLY | O_NONBLOCK);
    WriteTextFile(folder / "fifo", "5");
    char letter = 0;
    EXPECT_EQ(read(reader, &letter, 1), 1);
    EXPECT_EQ(letter, '5');
    close(reader);
    EXPECT_TRUE(fs::is_fifo(folder / "fifo"));
    EXPECT_EQ(Reason([&] { WriteTextFile("/dev/full", "6"); }), "cannot be written: No space left on device");
    EXPECT_EQ(Reason([&] { WriteTextFile(folder / "far", "7"); }), "cannot be written: Is a directory");
}

TEST(AppendedFile, AddsWholeOrNothing)
{
    const TestFolder folder;
    AppendedFile file(folder / "a");
    file.Add("line\n");
    {
        const SizeLimit limit(100);
        EXPECT_EQ(Reason([&] { file.Add(std::string(200, 'x')); }), "cannot be written: File too large");
    }
    EXPECT_EQ(Text(folder / "a"), "line\n");
    file.Add("next\n");
    EXPECT_EQ(file.Read(5, 5), "next\n");
    file.Finish();
}

TEST(AppendedFile, NoticesEveryChangeMadeToIt)
{
    const TestFolder folder;
    const auto disturbed = [&](auto disturb)
    {
        AppendedFile file(folder / "a");
        file.Empty();
        file.Add("line\n");
        disturb();
        const std::string added = Reason([&] { file.Add("next\n"); });
        EXPECT_EQ(Reason([&] { file.Finish(); }), added);
        fs::remove(folder / "a");
        return added;
    };
    const char* const szRemoved = "cannot be written: removed or replaced during the run";
    EXPECT_EQ(disturbed([] {}), "");
    EXPECT_EQ(disturbed([&] { fs::remove(folder / "a"); }), szRemoved);
    EXPECT_EQ(disturbed([&] { fs::rename(folder / "a", folder / "b"); }), szRemoved);
    EXPECT_EQ(disturbed([&] { WriteTextFile(folder / "a", "line\n"); }), szRemoved);
    EXPECT_EQ(disturbed([&] { fs::resize_file(folder / "a", 2); }),
              "cannot be written: changed during the run, 2 bytes in place of 5");
    EXPECT_EQ(disturbed([&] { std::ofstream(folder / "a", std::ios::app) << "x"; }),
              "cannot be written: changed during the run, 6 bytes in place of 5");
}

TEST(AppendedFile, IsOneRunsAloneAndTakesAPlaceWhenComplete)
{
    const TestFolder folder;
    WriteTextFile(folder / "a", "old");
    AppendedFile first(folder / "a");
    EXPECT_TRUE(first.Lock());
    EXPECT_FALSE(AppendedFile(folder / "a").Lock());
    AppendedFile second(folder / "a.part");
    second.Add("new");
    EXPECT_EQ(Text(folder / "a"), "old");
    second.TakePlaceOf(folder / "a");
    second.Add("er");
    EXPECT_EQ(Text(folder / "a"), "newer");
    EXPECT_EQ(FileCount(folder), 1U);
}

} // namespace

} // namespace narvo::test
