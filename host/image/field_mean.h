// SPDX-License-Identifier: MIT
// A field image from frames of an even white, or of no light: their mean.
#pragma once

#include <filesystem>
#include <vector>

#include "host/image/field_images.h"
#include "host/image/image_reading.h"

namespace narvo
{

struct MeanField
{
    FieldImage image;  ///< 16 bits: in 1/256 of the values of 8-bit frames, in the values of wider ones
    double mean = 0.0; ///< of the frames' values
    double low = 0.0;  ///< smallest and largest of the means
    double high = 0.0;
    std::int64_t saturated = 0; ///< values at the largest that the frames can hold
};

/// `line`: of a line camera, the mean of all rows of all frames, one row. Of `reading` the packing of raw frames
/// counts.
/// @throws HostError without frames, where they differ in size or kind, or cannot be read
MeanField MeanOfFrames(const std::vector<std::filesystem::path>& frames, const ImageReading& reading, bool line);

} // namespace narvo
