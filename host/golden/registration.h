// SPDX-License-Identifier: MIT
// Registration: where in a reference every pixel of an image lies, to a fraction of a pixel.
#pragma once

#include <vector>

#include "host/golden/registration_map.h"
#include "host/golden/registration_settings.h"
#include "host/image/grey_image.h"
#include "narvoassem/platform.h"

namespace narvo
{

/// @throws HostError naming `field` unless the picture is large enough and has structure to register by
void CheckRegistrable(const char* field, const GreyImage& picture);

/// Registers an image to a reference. Their sizes may differ: the smaller one, a crop or a region of interest, is
/// sought all over the larger.
/// @throws HostError when settings are out of range, when a picture is too small or has no structure to register by, or
/// when the image is not alike enough to the reference within the settings' limits
Registration RegisterImage(const GreyImage& reference, const GreyImage& image, const RegistrationSettings& settings);

/// `source`, which lies as the reference does, as the registered image would show it; `width` by `height` pixels. What
/// lies outside of it repeats its border.
GreyImage WarpToImage(const GreyImage& source, const Registration& registration, int width, int height);

/// The same for several pictures, with what InsideReference() gives for `area`: the places are computed once.
std::vector<GreyImage> WarpAllToImage(const std::vector<const GreyImage*>& sources, const Registration& registration,
                                      int width, int height, const CRect& area, GreyImage& inside);

/// 255 for each pixel of a registered image of that size whose centre lies in `area` of the reference, 0 elsewhere.
GreyImage InsideReference(const Registration& registration, int width, int height, const CRect& area);

} // namespace narvo
