// SPDX-License-Identifier: MIT
// An image against a reference of the same size. Laid beside each other the two repeat, and the engine compares them as
// it compares any period.
#pragma once

#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"
#include "host/recipe/recipe.h"

namespace narvo
{

/// Compares on a lane of the engine's pool. A pixel counts where it differs from the reference by more than
/// `threshold`, which no difference exceeds at 255; all three images have the same size. Of `report` name, label, room
/// for blobs, smallest blob, merge distance, re-runs and pixel sizes hold. Blobs and pairs lie in the image's
/// coordinates, bright is brighter than the reference.
/// @throws HostError for a lane that is not there, and for sides whose thrice the engine does not take
InspectionResult CompareWithReference(Inspector& inspector, int lane, const GreyImage& reference,
                                      const GreyImage& image, const GreyImage& threshold, const Recipe& report);

} // namespace narvo
