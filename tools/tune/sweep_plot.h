// SPDX-License-Identifier: MIT
// The picture of a sweep: defects found against false blobs, and both over the field's value.
#pragma once

#include <filesystem>
#include <optional>

#include "tools/tune/proposal.h"
#include "tools/tune/sweep.h"

namespace narvo::tools
{

/// Writes the picture as the file's name says, .svg or .png. @throws HostError when it cannot be written
void SaveSweepPlot(const std::filesystem::path& file, const Sweep& sweep, const std::optional<Proposal>& proposal);

} // namespace narvo::tools
