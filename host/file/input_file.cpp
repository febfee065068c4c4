// SPDX-License-Identifier: MIT
// Opening without waiting, then the test of what was opened.
#include "host/file/input_file.h"

#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include "host/file/descriptor.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

const char* KindOf(mode_t mode)
{
    return S_ISDIR(mode)                    ? "a folder"
           : S_ISFIFO(mode)                 ? "a FIFO"
           : S_ISSOCK(mode)                 ? "a socket"
           : S_ISCHR(mode) || S_ISBLK(mode) ? "a device"
                                            : "no regular file";
}

Descriptor OpenRegular(const std::filesystem::path& file, const std::string& name, const char* wanted)
{
    const auto refuse = [&](const std::string& why) { throw HostError({{name, why, wanted}}); };
    struct stat status;
    if (stat(file.c_str(), &status) != 0)
        refuse(errno == ENOENT || errno == ENOTDIR ? "no such file" : "cannot be read: " + SystemError(errno));
    // Asked for before opening, which alone can have effects on a device, and again of what was opened.
    if (!S_ISREG(status.st_mode))
        refuse(KindOf(status.st_mode));
    Descriptor descriptor(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!descriptor.IsOpen() || fstat(descriptor.Number(), &status) != 0)
        refuse("cannot be read: " + SystemError(errno));
    if (!S_ISREG(status.st_mode))
        refuse(KindOf(status.st_mode));
    return descriptor;
}

} // namespace

void ReadFilePieces(const std::filesystem::path& file, const std::string& name, const char* wanted,
                    const std::function<void(const char*, std::size_t)>& take)
{
    const Descriptor descriptor = OpenRegular(file, name, wanted);
    ReadStreamPieces(descriptor.Number(), name, wanted, take);
}

void ReadStreamPieces(int descriptor, const std::string& name, const char* wanted,
                      const std::function<void(const char*, std::size_t)>& take)
{
    constexpr std::size_t nPiece = std::size_t{1} << 18;
    std::vector<char> piece(nPiece);
    for (;;)
    {
        const ssize_t count = read(descriptor, piece.data(), piece.size());
        if (count == 0)
            return;
        if (count > 0)
            take(piece.data(), static_cast<std::size_t>(count));
        else if (errno == EAGAIN)
        {
            pollfd more{descriptor, POLLIN, 0};
            poll(&more, 1, -1);
        }
        else if (errno != EINTR)
            throw HostError({{name, "cannot be read: " + SystemError(errno), wanted}});
    }
}

std::string ReadShortFile(const std::filesystem::path& file, const std::string& name, std::uintmax_t most,
                          const char* wanted)
{
    const Descriptor descriptor = OpenRegular(file, name, wanted);
    const auto require = [&](std::uintmax_t bytes)
    {
        if (bytes > most)
            throw HostError({{name, std::to_string(bytes) + " bytes", "at most " + std::to_string(most) + " bytes"}});
    };
    struct stat status;
    if (fstat(descriptor.Number(), &status) == 0)
        require(static_cast<std::uintmax_t>(status.st_size));
    std::string text;
    ReadStreamPieces(descriptor.Number(), name, wanted,
                     [&](const char* bytes, std::size_t count)
                     {
                         require(text.size() + count); // it may grow while it is read
                         text.append(bytes, count);
                     });
    return text;
}

std::string ReadTextFile(const std::filesystem::path& file, const std::string& name, const char* wanted)
{
    std::string text;
    ReadFilePieces(file, name, wanted, [&](const char* bytes, std::size_t count) { text.append(bytes, count); });
    return text;
}

void RequireReadableFile(const std::filesystem::path& file, const std::string& name, const char* wanted)
{
    OpenRegular(file, name, wanted);
}

} // namespace narvo
