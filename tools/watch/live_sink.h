// SPDX-License-Identifier: MIT
// A watch shown on the live page.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "host/recipe/checked_recipe.h"
#include "tools/cell/cell_reference.h"
#include "tools/live/listen_access.h"
#include "tools/watch/result_sink.h"
#include "tools/watch/watch_options.h"

namespace CLI
{
class App;
}

namespace narvo::tools
{

/// Adds --listen, --listen-token and --cell.
void AddListenOptions(CLI::App& command, WatchOptions& options);

/// Before anything is opened. @return nothing where no page is asked for
/// @throws HostError for an address or token that is not allowed, or where the program was built without the page
std::optional<ListenAccess> ListenAccessOf(const WatchOptions& options);

/// Before anything is opened. @return null where none is asked for
/// @throws HostError for a file that is no golden cell of the recipe
std::shared_ptr<const CellReference> GoldenCellOf(const WatchOptions& options);

/// Serves the page until it is destroyed, and prints its address unless the run is to be quiet.
/// @throws HostError where the address cannot be had
std::unique_ptr<ResultSink> OpenLiveSink(const ListenAccess& access, const WatchOptions& options,
                                         const std::vector<CheckedRecipe>& recipes, int lanes,
                                         std::shared_ptr<const CellReference> cell);

} // namespace narvo::tools
