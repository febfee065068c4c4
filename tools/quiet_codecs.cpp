// SPDX-License-Identifier: MIT
// The error stream's descriptor, turned away and back.
#include "tools/quiet_codecs.h"

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace narvo::tools
{

QuietCodecs::QuietCodecs()
{
    std::fflush(stderr);
    m_errorStream = dup(STDERR_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (m_errorStream >= 0 && nowhere >= 0)
        dup2(nowhere, STDERR_FILENO);
    if (nowhere >= 0)
        close(nowhere);
}

QuietCodecs::~QuietCodecs()
{
    std::fflush(stderr);
    if (m_errorStream < 0)
        return;
    dup2(m_errorStream, STDERR_FILENO);
    close(m_errorStream);
}

} // namespace narvo::tools
