// SPDX-License-Identifier: MIT
// From a camera's words for its pixels to the project's.
#pragma once

#include <string>
#include <string_view>

#include "host/image/image_reading.h"
#include "sources/camera/camera_link.h"

namespace narvo::sources
{

/// The packing and the mosaic of a pixel format by its name in the naming convention of GenICam, "BayerRG12p".
/// @return false for one that is not known
bool FindPixelFormat(std::string_view name, RawFormat& format, Bayer& bayer);

/// "Mono8, Mono10, ... BayerBG16".
std::string KnownPixelFormats();

/// Gives the reading the shape that the camera sends, with the gain of its fields for the mosaic. `source` is named.
/// @throws HostError for pixels that are not known, for sizes that are not allowed, and where the reading says
/// otherwise
void TakeShape(const CameraShape& shape, const std::string& source, ImageReading& reading);

/// "Mono8, 512 by 480 pixels".
std::string ShapeText(const CameraShape& shape);

} // namespace narvo::sources
