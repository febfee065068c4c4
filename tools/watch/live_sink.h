// SPDX-License-Identifier: MIT
// A watch shown on the live page.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "host/recipe/checked_recipe.h"
#include "tools/live/listen_access.h"
#include "tools/watch/result_sink.h"
#include "tools/watch/watch_options.h"

namespace CLI
{
class App;
}

namespace narvo::tools
{

/// Adds --listen and --listen-token.
void AddListenOptions(CLI::App& command, WatchOptions& options);

/// Before anything is opened. @return nothing where no page is asked for
/// @throws HostError for an address or token that is not allowed, or where the program was built without the page
std::optional<ListenAccess> ListenAccessOf(const WatchOptions& options);

/// Serves the page until it is destroyed, and prints its address unless the run is to be quiet.
/// @throws HostError where the address cannot be had
std::unique_ptr<ResultSink> OpenLiveSink(const ListenAccess& access, const WatchOptions& options,
                                         const std::vector<CheckedRecipe>& recipes, int lanes);

} // namespace narvo::tools
