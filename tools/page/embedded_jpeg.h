// SPDX-License-Identifier: MIT
// Pictures inside a page, as data URIs.
#pragma once

#include <string>

#include <opencv2/core.hpp>

#include "host/image/grey_image.h"

namespace narvo::tools
{

/// A picture as JPEG in a data URI. @throws HostError where it cannot be encoded
std::string EncodeJpeg(const cv::Mat& picture, int quality);

/// The image as JPEG, reduced to at most `pixels` pixels and never enlarged.
std::string MakeOverview(const GreyImage& image, double pixels);

} // namespace narvo::tools
