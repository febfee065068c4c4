// SPDX-License-Identifier: MIT
// How good images may be read, where nobody has said it: levels by their values, and channels of colours to choose
// from.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/image/image_reading.h"

namespace narvo
{

struct ReadingChoice
{
    std::vector<ImageReading> readings; ///< one, or luma, red, green, blue and each in this order
    std::string reason;                 ///< a sentence on the levels; empty where none were chosen
};

/// Levels: from 0 to the largest value of as many bits, 8 or more, as the largest value in any of the files takes, as
/// a 12-bit camera in files of 16 bits needs them. None where `reading` names levels, where a file has 8 bits, and
/// where that is the whole range. A recipe keeps them, so no later image changes them.
/// Channels: where a file has colours and `reading` says nothing of them.
/// @throws HostError when a file cannot be read
ReadingChoice ChooseReadings(const std::vector<std::filesystem::path>& files, const ImageReading& reading);

} // namespace narvo
