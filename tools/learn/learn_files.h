// SPDX-License-Identifier: MIT
// Learning from image files: how their pixels become grey is part of what is learnt.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/image/image_reading.h"
#include "host/learn/learn.h"

namespace narvo::tools
{

struct DefectiveFile
{
    std::string file;
    std::optional<std::vector<CRect>> defects; ///< as LearnDefective has them
};

/// LearnRecipe on files, with the levels of ChooseReadings where `reading` names none, and of its channels, where
/// defects are known, the one whose recipe finds more of these; otherwise the luma. Planted spots do not decide between
/// channels: they would favour the darkest, whose noise is least. The recipe holds the choice, and the reasons say it.
/// @throws HostError as LearnRecipe does for every channel
LearnResult LearnFromFiles(const std::vector<std::string>& good, const std::vector<DefectiveFile>& defective,
                           const ImageReading& reading, const LearnSettings& settings, int lanes);

} // namespace narvo::tools
