// SPDX-License-Identifier: MIT
// Simple ways to find defects, as a measure for others on the same images.
#pragma once

#include "host/evaluate/threshold_sweep.h"
#include "host/image/grey_image.h"

namespace narvo
{

/// The absolute difference of an image and a good one of its size, opened with a square of 3 pixels; a score of 1 is 32
/// grey levels.
ImageScores ScoreByDifference(const GreyView& image, const GreyView& reference);

/// The same against the image itself, `x` to the right and `y` below; what has no pixel there is compared with the one
/// as far to the other side.
ImageScores ScoreByDisplacement(const GreyView& image, int x, int y);

/// The mean of 9 by 9 pixels against mean and standard deviation of the 65 by 65 around them; a score of 1 is three
/// deviations, of at least one grey level.
ImageScores ScoreByDeviation(const GreyView& image);

/// Blobs of 5 pixels and more where scores reach each of the SweepFactors.
std::vector<std::vector<FoundBlob>> BlobsOf(const ScoreImage& scores);

} // namespace narvo
