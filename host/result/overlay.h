// SPDX-License-Identifier: MIT
// The picture that shows a result: the inspected image with every blob framed and numbered; and colour image files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <vector>

#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"

namespace narvo
{

/// Draws the image in colour with the region framed green (its polygon or trapezia where it is no rectangle), dark
/// blobs cyan, bright ones orange, each with its number, and the boxes of `missed` magenta. The pixels inside the
/// frames stay as they are. `rgb` takes the image's rows without gaps, red, green and blue of a pixel in turn.
void DrawOverlay(std::uint8_t* rgb, const GreyView& image, const InspectionResult& result,
                 const std::vector<CRect>& missed);

/// Writes a picture laid out like that in the format that the file name's ending says.
/// @throws HostError when it cannot be written
void SaveColourImage(const std::filesystem::path& file, const std::uint8_t* rgb, int width, int height);

/// The size that is enough for a screen, pixels.
constexpr std::int64_t nScreenPixels = 2'000'000;

/// Draws and writes. A picture of more than `mostPixels` is reduced by the smallest whole factor that makes it smaller;
/// frames and numbers are drawn on the reduced one, at their usual size. @throws HostError when it cannot be written
void SaveOverlay(const std::filesystem::path& file, const GreyView& image, const InspectionResult& result,
                 const std::vector<CRect>& missed, std::int64_t mostPixels = std::numeric_limits<std::int64_t>::max());

} // namespace narvo
