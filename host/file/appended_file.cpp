// SPDX-License-Identifier: MIT
// Appending, with a look at the file's place and size before each step.
#include "host/file/appended_file.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace narvo
{

AppendedFile::AppendedFile(const std::filesystem::path& file) : m_path(FollowLinks(file))
{
    constexpr int nFlags = O_RDWR | O_CREAT | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    struct stat status;
    if (stat(m_path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
        throw WriteError(m_path, "no regular file");
    m_file = Descriptor(open(m_path.c_str(), nFlags, 0666));
    if (!m_file.IsOpen() || fstat(m_file.Number(), &status) != 0)
        Refuse(errno);
    if (!S_ISREG(status.st_mode))
        throw WriteError(m_path, "no regular file");
    m_size = static_cast<std::uint64_t>(status.st_size);
}

bool AppendedFile::Lock()
{
    return flock(m_file.Number(), LOCK_EX | LOCK_NB) == 0;
}

void AppendedFile::Empty()
{
    CutTo(0);
}

void AppendedFile::CutTo(std::uint64_t size)
{
    if (ftruncate(m_file.Number(), static_cast<off_t>(size)) != 0)
        Refuse(errno);
    m_size = size;
}

void AppendedFile::Refuse(int error) const
{
    throw WriteError(m_path, SystemError(error));
}

void AppendedFile::RequireUntouched() const
{
    const char* const szAllowed = "a file that nothing else touches during a run; --resume continues with what is left";
    struct stat open;
    struct stat named;
    if (fstat(m_file.Number(), &open) != 0)
        Refuse(errno);
    if (stat(m_path.c_str(), &named) != 0 || named.st_dev != open.st_dev || named.st_ino != open.st_ino)
        throw WriteError(m_path, "removed or replaced during the run", szAllowed);
    if (static_cast<std::uint64_t>(open.st_size) != m_size)
        throw WriteError(m_path,
                         "changed during the run, " + std::to_string(open.st_size) + " bytes in place of " +
                             std::to_string(m_size),
                         szAllowed);
}

void AppendedFile::Add(const std::string& text)
{
    RequireUntouched();
    if (const int error = WriteWhole(m_file.Number(), text.data(), text.size()); error != 0)
    {
        // What was begun is taken back; where even that fails, the next run drops it as a cut line.
        (void)!ftruncate(m_file.Number(), static_cast<off_t>(m_size));
        Refuse(error);
    }
    m_size += text.size();
}

std::string AppendedFile::Read(std::uint64_t begin, std::uint64_t count) const
{
    std::string text(count, '\0');
    for (std::uint64_t done = 0; done < count;)
    {
        const ssize_t got = pread(m_file.Number(), text.data() + done, count - done, static_cast<off_t>(begin + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            Refuse(errno);
        if (got == 0)
            RequireUntouched();
        if (got == 0)
            Refuse(EIO);
        done += static_cast<std::uint64_t>(got);
    }
    return text;
}

void AppendedFile::TakePlaceOf(const std::filesystem::path& file)
{
    const std::filesystem::path target = FollowLinks(file);
    Finish();
    if (rename(m_path.c_str(), target.c_str()) != 0)
        throw WriteError(target, SystemError(errno));
    m_path = target;
}

void AppendedFile::Finish()
{
    RequireUntouched();
    if (fsync(m_file.Number()) != 0)
        Refuse(errno);
}

} // namespace narvo
