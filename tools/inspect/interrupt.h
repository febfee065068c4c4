// SPDX-License-Identifier: MIT
// Ctrl-C as a request that a run may end in good order.
#pragma once

#include <stop_token>
#include <thread>

#include <csignal>

namespace narvo::tools
{

/// While it lives, the first SIGINT or SIGTERM asks to stop, and a second one ends the program at once. To be made
/// before the threads of the run, which inherit that these signals are not for them.
class InterruptRequest
{
public:
    InterruptRequest();
    ~InterruptRequest();
    InterruptRequest(const InterruptRequest&) = delete;
    InterruptRequest& operator=(const InterruptRequest&) = delete;

    std::stop_token Token() const { return m_source.get_token(); }

private:
    void Watch(const std::stop_token& end);

    std::stop_source m_source;
    sigset_t m_before{};
    std::jthread m_watcher;
};

} // namespace narvo::tools
