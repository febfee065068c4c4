// SPDX-License-Identifier: MIT
// The live page's server on the HTTP library.
#pragma once

#include <memory>

#include "tools/live/live_server.h"

namespace narvo::tools
{

/// As OpenLiveServer.
std::unique_ptr<LiveServer> MakePageServer(const ListenAccess& access, LiveState& state);

} // namespace narvo::tools
