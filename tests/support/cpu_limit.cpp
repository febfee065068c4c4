// See cpu_limit.h.
#include "support/cpu_limit.h"

#include <csignal>
#include <cstdlib>
#include <cstring>

#include <sys/time.h>
#include <unistd.h>

namespace narvo::test
{

namespace
{

const char* pWorkName = "";

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
    Print(pWorkName);
    Print("\n");
    std::abort();
}

} // namespace

CCpuLimit::CCpuLimit(int nSeconds) : m_nSeconds(nSeconds)
{
    std::signal(SIGPROF, EndProgram);
    SetTimer(nSeconds);
}

CCpuLimit::~CCpuLimit()
{
    SetTimer(0);
    std::signal(SIGPROF, SIG_DFL);
}

void CCpuLimit::Restart(const std::string& strWork)
{
    pWorkName = strWork.c_str();
    SetTimer(m_nSeconds);
}

} // namespace narvo::test
