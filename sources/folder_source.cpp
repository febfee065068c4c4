// SPDX-License-Identifier: MIT
// Notices of the system, and reading the folder where they cannot tell.
#include "sources/folder_source.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <string_view>
#include <utility>

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/image/image_header.h"
#include "host/problem.h"
#include "sources/open_writer.h"

namespace narvo::sources
{

namespace
{

constexpr std::int64_t nSecond = 1000000000;

std::int64_t NowNanoseconds()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

/// When a file's contents, name or place changed last, nanoseconds since 1970; 0 where it is not there or no file.
std::int64_t ChangeTime(const std::filesystem::path& file)
{
    struct stat status;
    if (stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return 0;
    return status.st_ctim.tv_sec * nSecond + status.st_ctim.tv_nsec;
}

} // namespace

FolderSource::FolderSource(FolderSourceOptions options) : m_options(std::move(options)), m_since(NowNanoseconds())
{
    const auto refuse = [&](int error)
    {
        throw HostError(
            {{"folder:" + m_options.folder.string(), SystemError(error), "a folder that can be read and watched"}});
    };
    m_notices = Descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!m_notices.IsOpen())
        refuse(errno);
    constexpr std::uint32_t nWanted = IN_CLOSE_WRITE | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
    if (inotify_add_watch(m_notices.Number(), m_options.folder.c_str(), nWanted) < 0)
        refuse(errno);
    m_remembered.reserve(nRemembered);
    Scan(false);
}

bool FolderSource::IsWanted(const std::string& file) const
{
    std::string ending = std::filesystem::path(file).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    const bool raw = m_options.reading.reading.rawFormat != RawFormat_None;
    return !file.starts_with('.') && !file.ends_with(".overlay.png") &&
           (raw ? ending == ".raw" || ending == ".bin" : HasImageEnding(file));
}

std::uint64_t FolderSource::KeyOf(const std::string& file) const
{
    const FileIdentity identity = FileIdentity::Of(m_options.folder / file);
    const std::uint64_t name = std::hash<std::string>()(file);
    return ((name * 31 + identity.bytes) * 31 + static_cast<std::uint64_t>(identity.modified)) & ~nByReading;
}

bool FolderSource::IsRemembered(std::uint64_t key) const
{
    return std::find(m_remembered.begin(), m_remembered.end(), key) != m_remembered.end();
}

void FolderSource::Remember(std::uint64_t key)
{
    if (m_remembered.size() < nRemembered)
        m_remembered.push_back(key);
    else
        m_remembered[m_nextRemembered++ % nRemembered] = key;
}

void FolderSource::Queue(std::vector<std::string> files)
{
    std::sort(files.begin(), files.end());
    files.erase(std::unique(files.begin(), files.end()), files.end());
    for (std::string& file : files)
    {
        Arrival arrival{std::move(file), {}};
        StampFrame(arrival.stamp);
        m_arrived.push_back(std::move(arrival));
    }
}

void FolderSource::Scan(bool again)
{
    std::error_code error;
    std::vector<std::string> settled;
    std::filesystem::directory_iterator entry(m_options.folder, error);
    if (error)
        throw HostError({{"folder:" + m_options.folder.string(), error.message(), "a folder that can be read"}});
    for (; entry != std::filesystem::directory_iterator(); entry.increment(error))
    {
        const std::string file = entry->path().filename().string();
        const std::int64_t changed = IsWanted(file) ? ChangeTime(entry->path()) : 0;
        if (changed == 0)
            continue;
        if (again)
        {
            // A file system's clock may be a little behind.
            if (changed < m_since - nSecond || IsRemembered(KeyOf(file)) || IsRemembered(KeyOf(file) | nByReading))
                continue;
        }
        else if (!m_options.existing)
        {
            if (changed >= m_since - nSecond)
                Remember(KeyOf(file));
            ++m_leftAlone;
            continue;
        }
        else if (m_options.isDone && m_options.isDone(entry->path().string(), FileIdentity::Of(entry->path())))
        {
            ++m_doneBefore;
            continue;
        }
        const WriterState writer = FindWriter(entry->path());
        // The end of an open writer brings a notice of its own.
        if (writer == Writer_Open)
            continue;
        if (writer == Writer_Unknown)
        {
            m_unsettled.push_back(file);
            continue;
        }
        if (again)
        {
            Remember(KeyOf(file) | nByReading);
            m_readAgain = true;
        }
        settled.push_back(file);
    }
    Queue(std::move(settled));
}

void FolderSource::LookAtUnsettled()
{
    constexpr std::int64_t nQuiet = 2 * nSecond;
    std::vector<std::string> settled;
    std::erase_if(m_unsettled,
                  [&](const std::string& file)
                  {
                      const std::int64_t changed = ChangeTime(m_options.folder / file);
                      if (changed != 0 && changed > NowNanoseconds() - nQuiet)
                          return false;
                      if (changed != 0)
                          settled.push_back(file);
                      return true;
                  });
    Queue(std::move(settled));
}

void FolderSource::ReadNotices()
{
    alignas(inotify_event) std::array<char, 65536> buffer;
    std::vector<std::string> files;
    bool overflowed = false;
    for (;;)
    {
        const ssize_t got = read(m_notices.Number(), buffer.data(), buffer.size());
        if (got <= 0)
            break;
        for (std::size_t place = 0; place < static_cast<std::size_t>(got);)
        {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + place);
            place += sizeof(inotify_event) + event->len;
            if ((event->mask & IN_Q_OVERFLOW) != 0)
                overflowed = true;
            else if ((event->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT)) != 0)
                m_ended = true;
            else if (event->len > 0 && (event->mask & IN_ISDIR) == 0 && IsWanted(event->name))
                files.emplace_back(event->name);
        }
    }
    // What reading the folder anew has brought already is not taken once more for its notice.
    std::erase_if(files,
                  [&](const std::string& file) { return m_readAgain && IsRemembered(KeyOf(file) | nByReading); });
    std::erase_if(m_unsettled,
                  [&](const std::string& file) { return std::find(files.begin(), files.end(), file) != files.end(); });
    Queue(std::move(files));
    if (overflowed)
    {
        Note("notices of new files were lost by the system; the folder is read anew");
        for (const Arrival& arrival : m_arrived)
            Remember(KeyOf(arrival.file));
        Scan(true);
    }
}

Frame FolderSource::Take()
{
    Arrival arrival = std::move(m_arrived.front());
    m_arrived.pop_front();
    Frame frame = std::move(arrival.stamp);
    const std::filesystem::path path = m_options.folder / arrival.file;
    frame.name = path.string();
    frame.number = m_number++;
    Remember(KeyOf(arrival.file));
    frame.load = [path, reading = m_options.reading](FileIdentity& identity)
    {
        // Taken before the file is read, so that a later change shows.
        identity = FileIdentity::Of(path);
        if (ChangeTime(path) == 0)
            throw HostError({{"image " + path.string(), "vanished before it was read",
                              "a file that stays until its result is written"}});
        return std::make_shared<const GreyImage>(LoadGreyImage(path, reading.reading, reading.notes));
    };
    return frame;
}

std::optional<Frame> FolderSource::Next(const std::stop_token& stop)
{
    constexpr std::chrono::milliseconds step{500};
    for (;;)
    {
        if (stop.stop_requested())
        {
            if (!m_arrived.empty())
                Note(std::to_string(m_arrived.size()) + " files that had been noticed are left; --existing takes them");
            return std::nullopt;
        }
        ReadNotices();
        LookAtUnsettled();
        if (!m_arrived.empty())
            return Take();
        if (m_ended)
            throw HostError({{"folder:" + m_options.folder.string(), "removed or moved away while it was watched",
                              "a folder that stays"}});
        WaitReadable(m_notices.Number(), stop, step);
    }
}

} // namespace narvo::sources
