// SPDX-License-Identifier: MIT
// From pixels as a codec or a camera leaves them to 8-bit grey. For sources of the host layer.
#pragma once

#include <string>

#include <opencv2/core.hpp>

#include "host/image/conversion_notes.h"
#include "host/image/grey_image.h"
#include "host/image/image_reading.h"

namespace narvo
{

/// `pixels` are 8 or 16 bits, one channel, or blue, green and red, perhaps with alpha. `fullScale` is the largest value
/// that they can hold. `name` is for problems and notes; null `notes` tell nobody.
/// @throws HostError where `reading` does not fit such pixels
GreyImage ConvertToGrey(const cv::Mat& pixels, int fullScale, const ImageReading& reading, const std::string& name,
                        ConversionNotes* notes);

} // namespace narvo
