// SPDX-License-Identifier: MIT
// Frames as cameras send them: pixels without a header, in one of a few packings. For sources of the host layer.
#pragma once

#include <cstdint>
#include <span>

#include <opencv2/core.hpp>

#include "host/image/image_reading.h"

namespace narvo
{

/// The pixels of a frame of `reading`'s shape and packing, 8 bits each for Mono8 and 16 bits otherwise. `bytes` holds
/// FrameBytes(reading) bytes or more; rows follow each other without a gap, within a byte too.
cv::Mat UnpackFrame(std::span<const std::uint8_t> bytes, const ImageReading& reading);

} // namespace narvo
