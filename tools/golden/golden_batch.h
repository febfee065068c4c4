// SPDX-License-Identifier: MIT
// `narvo golden` over folders and lists of images: streamed results, lanes, resuming.
#pragma once

#include <string>
#include <vector>

#include "host/golden/golden_model.h"
#include "tools/inspect/batch_options.h"

namespace narvo::tools
{

/// References that lie in a folder of images are not inspected. @return exit code
/// @throws HostError when references or settings are not valid, or there is nothing to inspect
int RunGoldenBatch(const std::vector<std::string>& references, BatchOptions options, const GoldenSettings& settings);

} // namespace narvo::tools
