// SPDX-License-Identifier: MIT
// `narvo inspect` over many images: streamed results, progress, resuming, an orderly end.
#pragma once

#include <string>

#include "host/result/result_lines.h"
#include "tools/inspect/image_list.h"

namespace narvo
{

struct InspectBatchOptions
{
    ImageSelection images;
    std::string recipe;
    std::string prefix; ///< of the result files
    int lanes = 0;      ///< 0: one for each processor
    ResultLines::Start start = ResultLines::Start_New;
    bool retry = false;
    bool quiet = false;
};

/// @return exit code
int RunInspectBatch(InspectBatchOptions options);

/// Lanes for so many pieces of work where the user names none.
int DefaultLanes(std::size_t pieces);

} // namespace narvo
