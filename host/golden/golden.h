// SPDX-License-Identifier: MIT
// Golden inspection: an image whose pattern does not repeat, against a model of the good one. Registered and laid
// beside each other they do repeat, and the engine compares them as it compares any period.
#pragma once

#include <vector>

#include "host/golden/golden_model.h"
#include "host/golden/light_fit.h"
#include "host/inspect/inspector.h"
#include "host/reference/difference_noise.h"

namespace narvo
{

/// A blob's place in the reference; the blob itself is in the image's coordinates.
struct ReferencePlace
{
    RealPoint center; ///< of the blob's mean
    CRect box;        ///< around the corners of its box; right and bottom exclusive
};

/// What came out of one golden inspection.
struct GoldenResult
{
    InspectionResult inspection; ///< in the image's coordinates; bright is brighter than the reference
    Registration registration;
    Light light;                        ///< of the image against the model
    double edgeGrowth = 0.0;            ///< pixels by which bright is wider at each edge than the model has it
    NoiseThreshold base;                ///< the threshold that was set, or that followed from the noise
    std::vector<ReferencePlace> places; ///< one for each blob
    double compared = 0.0;              ///< share of the image that was compared
    GreyImage reference;                ///< the model's mean as the image should show it, in the image's light
    GreyImage threshold;                ///< difference that each pixel must exceed; 255 where nothing was compared
    std::vector<GoldenResult>
        channels; ///< of red, green and blue, where each was compared; the blobs above join theirs
};

/// Registers one image to the model and inspects it on a lane of the engine's pool. Pixels that lie outside the
/// reference, or nearer to its border than the edge tolerance, are not compared. Where model and image have colour
/// channels, each of these is compared, registered as the whole image is.
/// @throws HostError when the image is not valid, cannot be registered, or for a lane that is not there
GoldenResult InspectGolden(Inspector& inspector, int lane, const GoldenModel& model, const GreyImage& image);

/// The same with a registration made before, of the image to the model's mean, whatever channels there are.
GoldenResult InspectRegistered(Inspector& inspector, int lane, const GoldenModel& model, const GreyImage& image,
                               const Registration& registration);

} // namespace narvo
