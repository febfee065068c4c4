// SPDX-License-Identifier: MIT
// `narvo inspect` over many images: streamed results, progress, resuming, an orderly end.
#pragma once

#include <string>

#include "tools/inspect/batch_options.h"

namespace narvo::tools
{

/// Inspects the images that `options` select by a recipe file. @return exit code
/// @throws HostError when recipe, images or names are not valid
int RunInspectBatch(const std::string& recipe, BatchOptions options);

} // namespace narvo::tools
