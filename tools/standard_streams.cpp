// SPDX-License-Identifier: MIT
// The buffer of std::cout, which keeps the first error, and the descriptors.
#include "tools/standard_streams.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <streambuf>

#include <fcntl.h>
#include <unistd.h>

#include "host/file/descriptor.h"
#include "host/file/output_file.h"
#include "tools/exit_code.h"

namespace narvo::tools
{

namespace
{

void OccupyDescriptors()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    {
        if (fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF)
            continue;
        // Opened the wrong way round, so that using it is still an error. The lowest free number is the missing one.
        const int flags = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (open("/dev/null", flags) < 0)
            (void)!open("/", O_RDONLY | O_DIRECTORY);
    }
}

} // namespace

class StandardStreams::OutputBuffer : public std::streambuf
{
public:
    OutputBuffer() { setp(m_bytes.data(), m_bytes.data() + m_bytes.size()); }

    /// 0 as long as everything could be written.
    int Error() const { return m_error; }

protected:
    int_type overflow(int_type letter) override
    {
        if (sync() != 0)
            return traits_type::eof();
        if (!traits_type::eq_int_type(letter, traits_type::eof()))
        {
            *pptr() = traits_type::to_char_type(letter);
            pbump(1);
        }
        return traits_type::not_eof(letter);
    }

    int sync() override
    {
        if (m_error == 0)
            m_error = WriteWhole(STDOUT_FILENO, pbase(), static_cast<std::size_t>(pptr() - pbase()));
        setp(m_bytes.data(), m_bytes.data() + m_bytes.size());
        return m_error == 0 ? 0 : -1;
    }

private:
    std::array<char, 1 << 14> m_bytes;
    int m_error = 0;
};

StandardStreams::StandardStreams()
{
    OccupyDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    m_output = std::make_unique<OutputBuffer>();
    m_before = std::cout.rdbuf(m_output.get());
}

StandardStreams::~StandardStreams()
{
    std::cout.rdbuf(m_before);
}

int StandardStreams::Finish(int code)
{
    std::cout.flush();
    int error = m_output->Error();
    // Some file systems report only at closing that there was no room.
    if (error == 0 && close(dup(STDOUT_FILENO)) != 0 && errno != EBADF)
        error = errno;
    if (error == 0 || error == EPIPE)
        return code;
    PrintProblems({{"standard output", error == EBADF ? "closed" : "cannot be written: " + SystemError(error),
                    "an open stream with room"}});
    return code == ExitCode_Done ? ExitCode_NotWritten : code;
}

} // namespace narvo::tools
