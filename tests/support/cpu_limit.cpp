// SPDX-License-Identifier: MIT
// See cpu_limit.h.
#include "support/cpu_limit.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <sys/time.h>
#include <unistd.h>

namespace narvo::test
{

namespace
{

char workName[256]; ///< printed by the signal handler, which must not allocate

int TimeoutFactor()
{
    const char* const pText = std::getenv("NARVO_TEST_TIMEOUT_FACTOR");
    return pText == nullptr ? 1 : std::max(1, std::atoi(pText));
}

void SetTimer(int nSeconds)
{
    itimerval time{};
    time.it_value.tv_sec = nSeconds;
    setitimer(ITIMER_PROF, &time, nullptr);
}

void Print(const char* pText)
{
    [[maybe_unused]] const auto nWritten = write(STDERR_FILENO, pText, std::strlen(pText));
}

void EndProgram(int /*nSignal*/)
{
    Print("takes too much processor time: ");
    Print(workName);
    Print("\n");
    std::abort();
}

} // namespace

CCpuLimit::CCpuLimit(int nSeconds) : m_nSeconds(nSeconds * TimeoutFactor())
{
    std::signal(SIGPROF, EndProgram);
    SetTimer(m_nSeconds);
}

CCpuLimit::~CCpuLimit()
{
    SetTimer(0);
    std::signal(SIGPROF, SIG_DFL);
}

void CCpuLimit::Restart(const std::string& strWork)
{
    workName[strWork.copy(workName, sizeof workName - 1)] = '\0';
    SetTimer(m_nSeconds);
}

} // namespace narvo::test
