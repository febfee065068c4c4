// SPDX-License-Identifier: MIT
// The host layer's images as OpenCV's, without a copy, and back. For sources of the host layer and the program only:
// what they offer to others does not name OpenCV.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <new>
#include <vector>

#include <opencv2/core.hpp>

#include "host/image/grey_image.h"

namespace narvo
{

/// The image's own pixels. Callers must not write there.
inline cv::Mat ViewOf(const GreyImage& image)
{
    return {image.Height(), image.Width(), CV_8UC1, const_cast<std::uint8_t*>(image.Row(0)),
            static_cast<std::size_t>(image.Stride())};
}

/// A copy of an 8-bit grey image.
inline GreyImage ImageOf(const cv::Mat& pixels)
{
    return {pixels.ptr<std::uint8_t>(), pixels.cols, pixels.rows, static_cast<std::ptrdiff_t>(pixels.step[0])};
}

/// What the call returns. @throws std::bad_alloc where OpenCV has no memory
template <typename Call>
auto WithinMemory(Call call)
{
    try
    {
        return call();
    }
    catch (const cv::Exception& error)
    {
        if (error.code == cv::Error::StsNoMem)
            throw std::bad_alloc();
        throw;
    }
}

/// Writes an image in the format that the file name's ending says; `allowed` says what a file may be, `parameters` are
/// those of the format. @throws WriteError
void SaveImage(const std::filesystem::path& file, const cv::Mat& picture, const char* allowed,
               const std::vector<int>& parameters = {});

} // namespace narvo
