// SPDX-License-Identifier: MIT
// The live page over HTTP, where the program is built with it.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "tools/live/listen_access.h"
#include "tools/live/live_state.h"

namespace narvo::tools
{

/// Answers GET and HEAD for the page, its events, /metrics and /health, on threads of its own, until it is destroyed.
class LiveServer
{
public:
    LiveServer() = default;
    virtual ~LiveServer() = default;
    LiveServer(const LiveServer&) = delete;
    LiveServer& operator=(const LiveServer&) = delete;

    /// "http://127.0.0.1:8080/".
    virtual std::string Address() const = 0;
    virtual int Port() const = 0;
    /// Gives those who read events time to get the last ones, then ends all connections. The state has ended.
    virtual void Stop(std::chrono::milliseconds grace) = 0;
};

/// Before anything is opened. @throws HostError where the program was built without the server
void RequireLiveServer();

/// `state` outlives the server. @throws HostError where the address cannot be had
std::unique_ptr<LiveServer> OpenLiveServer(const ListenAccess& access, LiveState& state);

} // namespace narvo::tools
