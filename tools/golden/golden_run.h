// SPDX-License-Identifier: MIT
// What `narvo golden` is asked for, and the run over images that are named: each with its summary and files.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "host/golden/golden_model.h"
#include "tools/golden/golden_score.h"
#include "tools/inspect/batch_options.h"
#include "tools/inspect/overlay_options.h"

namespace narvo::tools
{

struct GoldenOptions
{
    std::vector<std::string> files;      ///< reference and images, or images alone where `references` are given
    std::vector<std::string> references; ///< empty: the first of the files
    std::string truth;                   ///< a file for one image, a folder of pairs, or empty
    BatchOptions many;                   ///< its places are the files
    bool steps = false;
    OverlayOptions overlay; ///< of images that are named
    GoldenSettings settings;
    ScoreOptions score;

    /// Results of folders and lists are streamed; images that are named are told of one by one.
    bool IsStreamed() const
    {
        std::error_code error;
        return many.AsksForMany() || many.lanes > 0 || many.store.IsWanted() ||
               std::any_of(files.begin(), files.end(),
                           [&](const std::string& file) { return std::filesystem::is_directory(file, error); });
    }
    std::vector<std::string> References() const
    {
        return !references.empty() || files.empty() ? references : std::vector<std::string>{files.front()};
    }
    std::vector<std::string> Images() const
    {
        return !references.empty() || files.empty() ? files : std::vector<std::string>(files.begin() + 1, files.end());
    }
};

/// Inspects the named images one after the other. @return exit code
/// @throws HostError when there is nothing to inspect, or references or settings are not valid
int RunGoldenImages(const GoldenOptions& options);

} // namespace narvo::tools
