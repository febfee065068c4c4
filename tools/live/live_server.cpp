// SPDX-License-Identifier: MIT
// The choice between the server and a message that there is none.
#include "tools/live/live_server.h"

#include "host/problem.h"
#ifdef NARVO_WITH_HTTP
#include "tools/live/page_server.h"
#endif

namespace narvo::tools
{

void RequireLiveServer()
{
#ifndef NARVO_WITH_HTTP
    throw HostError({{"--listen", "this program was built without the live page",
                      "a program built where libcpp-httplib-dev is installed"}});
#endif
}

std::unique_ptr<LiveServer> OpenLiveServer([[maybe_unused]] const ListenAccess& access,
                                           [[maybe_unused]] LiveState& state)
{
    RequireLiveServer();
#ifdef NARVO_WITH_HTTP
    return MakePageServer(access, state);
#else
    return nullptr;
#endif
}

} // namespace narvo::tools
