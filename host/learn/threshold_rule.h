// SPDX-License-Identifier: MIT
// One threshold for further images, from those that good images need to stay empty.
#pragma once

#include <vector>

#include "host/inspect/batch.h"
#include "host/learn/candidate.h"

namespace narvo
{

/// A threshold that leaves further images without a blob in all but `rate` of the cases, grey levels; one at least is
/// needed.
double ThresholdFor(const std::vector<double>& needed, double rate);

/// Holds every image's threshold against that from the others, and fills in the candidate's images.
void CrossValidateThreshold(const std::vector<double>& needed, double rate, bool eachChannel, Candidate& candidate);

/// Name, size, level and contrast of the images. @throws HostError of the first that cannot be read
std::vector<LearnImage> DescribeImages(const std::vector<BatchImage>& images, int threads);

} // namespace narvo
