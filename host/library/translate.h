// SPDX-License-Identifier: MIT
// Between the public types of the host library and those of the host layer inside it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "host/image/grey_image.h"
#include "host/image/image_reading.h"
#include "host/problem.h"
#include "narvo/host_error.h"
#include "narvo/image_pixels.h"

namespace narvo::v1
{
struct PixelArray;
}

namespace narvo::library
{

/// The public form of what is wrong.
std::vector<v1::Problem> PublicProblems(const std::vector<Problem>& problems);
/// Throws the same as the exception; v1::WriteError for a WriteError.
[[noreturn]] void ThrowPublic(const HostError& error);

/// Runs `call`; what the host layer refuses becomes the public exception.
template <typename Call>
auto Translated(Call&& call)
{
    try
    {
        return std::forward<Call>(call)();
    }
    catch (const HostError& error)
    {
        ThrowPublic(error);
    }
}

/// The bytes from row to row, with the default filled in.
/// @throws HostError with all that is wrong with the image; `name` is that of the argument
std::ptrdiff_t CheckedStride(const v1::ImagePixels& image, const std::string& name);

/// A copy of an 8-bit image whose values mean something by themselves. @throws HostError as CheckedStride, or for
/// another depth
GreyImage ExactCopy(const v1::ImagePixels& image, const std::string& name);

/// The image as an inspection reads it: where it lies, or in `copy`.
/// @throws HostError as CheckedStride, or where `reading` does not fit 16-bit pixels
GreyView ReadableView(const v1::ImagePixels& image, const ImageReading& reading, GreyImage& copy,
                      const std::string& name = "image");

/// The image as 8-bit grey, of deeper ones the whole range. @throws HostError as CheckedStride
GreyImage GreyCopy(const v1::ImagePixels& image, const std::string& name);

/// The array as the layer has such. Sides and pixels beyond those highest ones are refused.
/// @throws HostError with all that is wrong; `name` is that of the argument
PixelBlock LayerBlock(const v1::PixelArray& array, const std::string& name, std::int64_t highestSide,
                      std::int64_t highestPixels);

} // namespace narvo::library
