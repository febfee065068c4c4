// The picture that shows a result: the inspected image with every blob framed and numbered.
#pragma once

#include <filesystem>
#include <vector>

#include "host/grey_image.h"
#include "host/inspector.h"

namespace narvo
{

/// Writes the image in colour with the region framed green (its polygon or trapezia where it is no rectangle), dark
/// blobs cyan, bright ones orange, each with its number, and the boxes of `missed` magenta. The pixels inside the
/// frames stay as they are. @throws HostError when it cannot be written
void SaveOverlay(const std::filesystem::path& file, const GreyImage& image, const InspectionResult& result,
                 const std::vector<CRect>& missed);

} // namespace narvo
