// SPDX-License-Identifier: MIT
// `narvo golden` over folders and lists of images: streamed results, lanes, resuming.
#pragma once

#include <string>
#include <vector>

#include "host/golden/golden_model.h"
#include "host/result/result_lines.h"
#include "tools/inspect/image_list.h"

namespace narvo
{

struct GoldenBatchOptions
{
    ImageSelection images;
    std::vector<std::string> references;
    std::string prefix; ///< of the result files
    int lanes = 0;      ///< 0: one for each processor
    ResultLines::Start start = ResultLines::Start_New;
    bool retry = false;
    bool quiet = false;
};

/// References that lie in a folder of images are not inspected. @return exit code
/// @throws HostError when references or settings are not valid, or there is nothing to inspect
int RunGoldenBatch(GoldenBatchOptions options, const GoldenSettings& settings);

} // namespace narvo
