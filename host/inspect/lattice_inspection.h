// SPDX-License-Identifier: MIT
// Lattice mode: an image against the reference that its own lattice neighbours make, compared by the engine as a golden
// image is.
#pragma once

#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"
#include "host/lattice/lattice.h"
#include "host/reference/difference_noise.h"
#include "host/reference/edge_tolerance.h"
#include "narvoassem/platform.h"

namespace narvo
{

class InspectionPlan;

/// What the pixels of a region should show, and by how much they may differ.
struct LatticeComparison
{
    GreyImage image;     ///< the region as it is compared: flattened, where the recipe asks for that
    GreyImage reference; ///< what is expected of each pixel; its own value where that is within the range
    GreyRange range;     ///< what edges a little elsewhere make of it
    GreyImage nearEdge;
    GreyImage threshold; ///< difference that each pixel must exceed; 255 where it has no neighbour
    GreyImage count;     ///< neighbours of each pixel; 0 where nothing is compared
    CRect valid;         ///< part of the region that shows the pattern
    NoiseThreshold base; ///< the threshold that was set, or that followed from the noise
    Lattice lattice;     ///< as set, or as measured
    double milliseconds = 0.0;
};

/// @throws HostError for an image of another size than the plan's, and where the lattice is to be measured and there is
/// none; std::bad_alloc without memory
LatticeComparison CompareLattice(const GreyView& image, const InspectionPlan& plan);

/// Another threshold in place of the recipe's, 1 to 255 grey levels.
void SetThreshold(LatticeComparison& compared, int threshold);

/// Inspects on a lane. A blob whose pixels have one neighbour each is single. @throws HostError as CompareLattice, and
/// as Inspector::Inspect
InspectionResult InspectLattice(Inspector& inspector, int lane, const GreyView& image, const InspectionPlan& plan);
InspectionResult InspectCompared(Inspector& inspector, int lane, const LatticeComparison& compared,
                                 const InspectionPlan& plan);

} // namespace narvo
