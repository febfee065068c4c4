// SPDX-License-Identifier: MIT
// The new file beside the old one, and what cannot be replaced.
#include "host/file/output_file.h"

#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include "host/file/descriptor.h"

namespace narvo
{

namespace
{

namespace fs = std::filesystem;

constexpr mode_t nPermissionBits = 07777;

/// The streams of this process under a name; whatever opened them owns them.
bool IsStreamName(const fs::path& file)
{
    const std::string name = file.lexically_normal().string();
    return name == "/dev/stdout" || name == "/dev/stderr" || name.starts_with("/dev/fd/") ||
           name.starts_with("/proc/self/fd/");
}

/// A file that another one takes the place of in the end; removed unless it does.
class NewFile
{
public:
    explicit NewFile(const fs::path& target)
    {
        static std::atomic<unsigned> number = 0;
        const std::string begin = ".narvo-" + std::to_string(getpid()) + "-";
        do
        {
            m_path = target.parent_path() / (begin + std::to_string(number++) + ".part");
            m_file = Descriptor(open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        } while (!m_file.IsOpen() && errno == EEXIST);
        m_error = m_file.IsOpen() ? 0 : errno;
        m_pending = m_file.IsOpen();
    }
    ~NewFile()
    {
        if (m_pending)
            unlink(m_path.c_str());
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Why it could not be made; 0: it is there.
    int Error() const { return m_error; }
    int Number() const { return m_file.Number(); }

    /// @return 0, or the error number
    int TakePlaceOf(const fs::path& target)
    {
        if (fsync(m_file.Number()) != 0 || m_file.Close() != 0 || rename(m_path.c_str(), target.c_str()) != 0)
            return errno;
        m_pending = false;
        return 0;
    }

private:
    fs::path m_path;
    Descriptor m_file;
    int m_error = 0;
    bool m_pending = false;
};

/// Into what is there already. @return 0, or the error number
int WriteInPlace(const fs::path& file, int flags, const void* bytes, std::size_t count)
{
    // Without waiting for a reader of a FIFO; from then on waiting for the one that is there.
    Descriptor descriptor(open(file.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | flags));
    if (!descriptor.IsOpen())
        return errno;
    if (const int error = WriteWhole(descriptor.Number(), bytes, count); error != 0)
        return error;
    if (fsync(descriptor.Number()) != 0 && errno != EINVAL && errno != ENOTSUP && errno != EROFS)
        return errno;
    return descriptor.Close() == 0 ? 0 : errno;
}

/// @return 0, or the error number
int WriteBytes(const fs::path& file, const void* bytes, std::size_t count)
{
    struct stat status;
    const bool exists = stat(file.c_str(), &status) == 0;
    if (exists && (S_ISDIR(status.st_mode) || S_ISBLK(status.st_mode)))
        return S_ISDIR(status.st_mode) ? EISDIR : EACCES;
    if ((exists && !S_ISREG(status.st_mode)) || IsStreamName(file))
        return WriteInPlace(file, O_APPEND, bytes, count);
    const fs::path target = FollowLinks(file);
    if (exists && access(target.c_str(), W_OK) != 0)
        return errno;
    NewFile made(target);
    // A file may be writable in a folder that is not.
    if (exists && (made.Error() == EACCES || made.Error() == EPERM))
        return WriteInPlace(target, O_TRUNC, bytes, count);
    if (made.Error() != 0)
        return made.Error();
    if (exists && fchmod(made.Number(), status.st_mode & nPermissionBits) != 0)
        return errno;
    if (const int error = WriteWhole(made.Number(), bytes, count); error != 0)
        return error;
    return made.TakePlaceOf(target);
}

} // namespace

WriteError::WriteError(const fs::path& file, const std::string& reason, const std::string& allowed)
    : HostError({{"file " + file.string(), "cannot be written: " + reason, allowed}})
{
}

fs::path FollowLinks(fs::path file)
{
    constexpr int nMostLinks = 40; // as the system
    std::error_code error;
    for (int i = 0; i < nMostLinks && fs::is_symlink(file, error); ++i)
        file = file.parent_path() / fs::read_symlink(file, error);
    return file;
}

int WriteWhole(int descriptor, const void* bytes, std::size_t count)
{
    const auto* next = static_cast<const char*>(bytes);
    while (count > 0)
    {
        const ssize_t written = write(descriptor, next, count);
        if (written >= 0)
        {
            next += written;
            count -= static_cast<std::size_t>(written);
        }
        else if (errno == EAGAIN)
        {
            pollfd room{descriptor, POLLOUT, 0};
            poll(&room, 1, -1);
        }
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

void WriteFile(const fs::path& file, const void* bytes, std::size_t count)
{
    if (const int error = WriteBytes(file, bytes, count); error != 0)
        throw WriteError(file, SystemError(error));
}

void WriteTextFile(const fs::path& file, const std::string& text)
{
    WriteFile(file, text.data(), text.size());
}

} // namespace narvo
