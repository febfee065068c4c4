// SPDX-License-Identifier: MIT
// The pixels of an image file as they are stored. For sources of the host layer only.
#pragma once

#include <filesystem>

#include <opencv2/core.hpp>

#include "host/image/grey_image.h"
#include "host/image/image_header.h"

namespace narvo
{

/// What a file must be, for messages.
constexpr const char* szImage = "an image file (PNG, TIFF, BMP, PGM, JPEG)";

/// Decodes a file whose header has been checked. Where the decoder delivers 8-bit grey, `image` holds the pixels and
/// the result is a view of them; otherwise `image` is empty.
/// @throws HostError when the file is damaged; std::bad_alloc without memory
cv::Mat DecodeImage(const std::filesystem::path& file, const ImageHeader& header, GreyImage& image);

} // namespace narvo
