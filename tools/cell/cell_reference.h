// SPDX-License-Identifier: MIT
// A golden cell from its file, and the images held against it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/image/grey_image.h"
#include "narvo/host_cell.h"

namespace narvo::tools
{

struct CellReference
{
    /// One report for each region of the recipe, on any thread. @throws HostError where the image cannot be compared
    std::function<std::vector<v1::CellReport>(const GreyImage&)> compare;
    std::vector<std::vector<float>> means; ///< of each region, grey levels, as CellReport::mean
};

/// The golden cell in a file, for images that were read by the recipe in another.
/// @throws HostError where either cannot be read, the cell is that of another recipe, or images have no single grey
std::shared_ptr<const CellReference> OpenCellReference(const std::string& cellFile, const std::string& recipeFile);

} // namespace narvo::tools
