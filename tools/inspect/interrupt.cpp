// SPDX-License-Identifier: MIT
// A thread that waits for the signals, since a handler may do next to nothing.
#include "tools/inspect/interrupt.h"

#include <ctime>
#include <unistd.h>

#include "tools/exit_code.h"

namespace narvo::tools
{

namespace
{

sigset_t Signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

} // namespace

InterruptRequest::InterruptRequest()
{
    const sigset_t signals = Signals();
    pthread_sigmask(SIG_BLOCK, &signals, &m_before);
    m_watcher = std::jthread([this](const std::stop_token& end) { Watch(end); });
}

InterruptRequest::~InterruptRequest()
{
    m_watcher.request_stop();
    m_watcher.join();
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

void InterruptRequest::Watch(const std::stop_token& end)
{
    const sigset_t signals = Signals();
    constexpr timespec wait{0, 50000000};
    while (!end.stop_requested())
        if (sigtimedwait(&signals, nullptr, &wait) > 0 && !m_source.request_stop())
            _exit(ExitCode_Interrupted);
}

} // namespace narvo::tools
