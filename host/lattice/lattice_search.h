// SPDX-License-Identifier: MIT
// The search for the lattice of an image, with no starting value.
#pragma once

#include "host/image/grey_image.h"
#include "host/lattice/lattice.h"
#include "host/lattice/lattice_settings.h"

namespace narvo
{

/// What a search found.
struct LatticeSearch
{
    Lattice lattice;       ///< by its shortest vectors; none where nothing was found
    double strength = 0.0; ///< correlation of the image with itself one vector on, the lower of two
    double best = 0.0;     ///< highest correlation at any displacement that counts
};

/// A displacement counts from this correlation on.
constexpr double dLatticeStrengthLow = 0.3;
/// The longest, share of the image's side: it holds two periods then.
constexpr double dLatticeVectorShare = 0.5;

/// Searches the middle of an image. An image with a side below nLatticeSideLow has no lattice.
LatticeSearch SearchLattice(const GreyImage& image);

} // namespace narvo
