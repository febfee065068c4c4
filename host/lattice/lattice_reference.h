// SPDX-License-Identifier: MIT
// What every pixel of an image should show, from the nearest of its lattice neighbours in the same image: their median
// or trimmed mean. A defect in one neighbour has no part in it.
//
// Combining several pixels that lie whole lattice vectors apart, to tell a defect from its neighbours' pattern, is
// published, e.g. in: H. Y. T. Ngan, G. K. H. Pang, N. H. C. Yung, "Automated fabric defect detection - A review",
// Image and Vision Computing 29 (2011) 442-458; the golden image subtraction and lattice-based templates reviewed
// there.
#pragma once

#include "host/image/grey_image.h"
#include "host/lattice/lattice_field.h"
#include "host/lattice/lattice_settings.h"
#include "host/reference/edge_tolerance.h"
#include "narvoassem/platform.h"

namespace narvo
{

/// All of one size, that of the image with a frame around it.
struct LatticeReference
{
    /// Where an even number of neighbours has two middle values, both; what lies between them is as expected. So a
    /// pixel with two neighbours is compared with the one that it resembles more.
    GreyRange range;
    GreyImage middle; ///< of the range
    GreyImage count;  ///< neighbours that lie in the image and were used, up to 255; 0: nothing is known
};

/// @param valid the part of the image that shows the pattern: no neighbour is taken from elsewhere
/// @param frame pixels around the image for which a reference is formed too: edges that lie there are known then
/// @param neighbours how many are used where so many lie in the image, 1 to nLatticeNeighboursHigh
LatticeReference FormReference(const GreyImage& image, const CRect& valid, int frame, const LatticeField& field,
                               int neighbours, LatticeJoin join);

} // namespace narvo
