// SPDX-License-Identifier: MIT
// The picture of a pitch search: the cost over the displacement, one chart for each axis.
#pragma once

#include <filesystem>

#include "host/pitch/pitch_search.h"

namespace narvo::tools
{

/// Writes both charts with pitch and runner-up marked. @throws HostError when it cannot be written
void SavePitchPlot(const std::filesystem::path& file, const PitchResult& result);

} // namespace narvo::tools
