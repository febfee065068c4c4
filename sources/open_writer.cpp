// SPDX-License-Identifier: MIT
// The lease that is asked for and given back.
#include "sources/open_writer.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>

#include "host/file/descriptor.h"

namespace narvo::sources
{

WriterState FindWriter(const std::filesystem::path& file)
{
    const Descriptor opened(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!opened.IsOpen())
        return Writer_Unknown;
    // A writer that opens the file meanwhile waits for the lease's end, and would end this process by the usual signal.
    fcntl(opened.Number(), F_SETSIG, SIGURG);
    if (fcntl(opened.Number(), F_SETLEASE, F_RDLCK) == 0)
    {
        fcntl(opened.Number(), F_SETLEASE, F_UNLCK);
        return Writer_None;
    }
    return errno == EAGAIN ? Writer_Open : Writer_Unknown;
}

} // namespace narvo::sources
