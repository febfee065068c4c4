// Results of earlier inspections, read back from the files that result_file writes.
#pragma once

#include <filesystem>
#include <string>

#include "host/inspector.h"

namespace narvo
{

struct SavedResult
{
    InspectionResult result;
    std::string image;  ///< as the file names it; empty where it does not
    std::string recipe; ///< likewise
};

/// @throws HostError when the file cannot be read or is no result, with all that is missing or ill-typed
SavedResult LoadResult(const std::filesystem::path& file);

} // namespace narvo
