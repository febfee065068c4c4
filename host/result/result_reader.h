// SPDX-License-Identifier: MIT
// Results of earlier inspections, read back from the files that result_file writes.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/inspect/inspector.h"

namespace narvo
{

struct SavedResult
{
    InspectionResult result;
    std::string image;                   ///< as the file names it; empty where it does not
    std::string recipe;                  ///< likewise
    std::vector<std::string> references; ///< of a golden inspection, likewise
    int region = 0;                      ///< place among the recipe's regions
    int regions = 1;
    int width = 0; ///< of the image, pixels; 0 where the file does not say
    int height = 0;
};

/// The results of a .json file, of one image with one region or several, or of a .jsonl file, one line for each image;
/// lines of images that were refused are passed over.
/// @throws HostError when the file cannot be read or is no result, with all that is missing or ill-typed
std::vector<SavedResult> LoadResults(const std::filesystem::path& file);

} // namespace narvo
