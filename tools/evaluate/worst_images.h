// SPDX-License-Identifier: MIT
// Pictures of the images that a method judged worst.
#pragma once

#include <filesystem>
#include <functional>
#include <vector>

#include "host/evaluate/evaluation.h"
#include "host/image/grey_image.h"
#include "tools/evaluate/evaluate_page.h"

namespace narvo::tools
{

/// Good images with the most false blobs, then defective ones with the most defects missed; up to four of each, with
/// true defects and reported blobs framed. Images that could not be inspected are left out.
std::vector<EvaluatedPicture> DrawWorstImages(const EvaluationSet& set, const MethodResult& result,
                                              const TruthOfImage& truth, const ScoreOfImage& score,
                                              const std::function<GreyImage(const std::filesystem::path&)>& load);

} // namespace narvo::tools
