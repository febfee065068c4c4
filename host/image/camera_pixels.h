// SPDX-License-Identifier: MIT
// Pixels of image files and raw frames as the camera left them, before anything is converted. For sources of the host
// layer.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

#include <opencv2/core.hpp>

#include "host/image/grey_image.h"
#include "host/image/image_header.h"
#include "host/image/image_reading.h"

namespace narvo
{

struct CameraPixels
{
    cv::Mat pixels;      ///< 8 or 16 bits; one channel, or blue, green and red, perhaps with alpha
    int fullScale = 255; ///< the largest value that they can hold
    GreyImage grey;      ///< holds the pixels where they are 8-bit grey; empty otherwise
};

/// @throws HostError with the file's name
[[noreturn]] void RefuseImage(const std::filesystem::path& file, const std::string& value, const std::string& allowed);
/// "4096 by 3072 pixels".
std::string SizeText(std::int64_t width, std::int64_t height);

/// The header of an image file that may be decoded by `reading`.
/// @throws HostError when the file cannot be read, is no image, or is larger than `limit` pixels allow
ImageHeader ReadAllowedHeader(const std::filesystem::path& file, const ImageReading& reading, std::int64_t limit);

/// An image file, or a frame without a header where `reading` names its packing. Nothing else of `reading` is applied.
/// @throws HostError as LoadGreyImage
CameraPixels LoadCameraPixels(const std::filesystem::path& file, const ImageReading& reading, std::int64_t limit);

/// A frame that lies in memory. @throws HostError where `bytes` has another length than `reading` says
CameraPixels UnpackCameraFrame(std::span<const std::uint8_t> bytes, const ImageReading& reading,
                               const std::string& name);

} // namespace narvo
