// SPDX-License-Identifier: MIT
// Many image files through a batch: streamed results, progress, resuming, an orderly end.
#pragma once

#include <stop_token>
#include <string>
#include <vector>

#include "host/image/image_reading.h"
#include "host/inspect/batch.h"
#include "host/result/result_lines.h"
#include "tools/inspect/store_run.h"

namespace narvo::tools
{

struct FileBatchOptions
{
    std::vector<std::string> images; ///< files, each once
    ImageReading reading;            ///< how the files become 8-bit grey
    std::string heading;             ///< what they are inspected by, for the first line of the output
    ResultLines::Options lines;
    StoreOptions store;
    StoredRecipe recipe; ///< for the store
    bool quiet = false;
};

/// Inspects the files that have no result from before. @return exit code
/// @throws HostError or WriteError where result files cannot be written or do not belong to this run
int RunFileBatch(Batch& batch, const FileBatchOptions& options, std::stop_token stop);

} // namespace narvo::tools
