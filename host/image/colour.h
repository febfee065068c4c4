// SPDX-License-Identifier: MIT
// One value for each pixel out of colours or a mosaic of colour filters. For sources of the host layer.
#pragma once

#include <opencv2/core.hpp>

#include "host/image/image_reading.h"

namespace narvo
{

/// The smallest side of an image that colours can be made of by its mosaic.
constexpr int nMosaicSideLow = 3;

/// Blue, green and red by the mosaic of one channel that `reading` names.
cv::Mat ColoursOfMosaic(const cv::Mat& mosaic, const ImageReading& reading);

/// The channel of `pixels` (blue, green, red, perhaps alpha; 8 or 16 bits) that `reading` names; not for a mixture. An
/// image of one channel is that channel, whichever is named.
cv::Mat ChannelOf(const cv::Mat& pixels, const ImageReading& reading);

/// The weighted sum by two levels: (sum - low) * 255 / (high - low), rounded to the nearest and cut to 0 .. 255, into
/// `grey`, which has the size of `pixels` and 8 bits. All arithmetic is in double precision.
void MixChannels(const cv::Mat& pixels, const ImageReading& reading, int low, int high, cv::Mat& grey);

/// Whether colours differ by more than codecs leave between the channels of a grey image: 2 of 255.
bool IsColoured(const cv::Mat& pixels);
/// Whether alpha, the last of four channels, is less than full somewhere.
bool IsTransparent(const cv::Mat& pixels);

} // namespace narvo
