// SPDX-License-Identifier: MIT
// The truth of several images: a file for each, or a folder.
#pragma once

#include <string>
#include <vector>

#include "tools/truth/truth.h"

namespace narvo::tools
{

/// For each image its true defects. `truth` holds a file for each image, in their order, or one folder; there, an image
/// NAME.* has NAME.truth.json, NAME.txt, or a mask NAME.*. A mask is an image of the same size in which white is
/// defect, each connected part a defect. @throws HostError with all problems; an image without truth is one
std::vector<std::vector<TruthDefect>> LoadTruths(const std::vector<std::string>& truth,
                                                 const std::vector<std::string>& images);

} // namespace narvo::tools
