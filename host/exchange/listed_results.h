// SPDX-License-Identifier: MIT
// Defects from results, and from files of either kind: results of inspections, and KLARF files.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/exchange/defect_list.h"
#include "host/inspect/inspector.h"

namespace narvo
{

/// The blobs of one region, bright or dark by their kind.
void AddListed(const InspectionResult& result, std::vector<ListedDefect>& defects);

/// A list for each image of a result file (.json, .jsonl), the regions of an image together, or for each die of a
/// KLARF file of any other name, whose lengths become pixels of `pixelSize` micrometres. The size of an image that a
/// result does not say comes from the image file, as it is named or beside the result.
/// @throws HostError as LoadResults and ReadKlarf
std::vector<DefectList> ReadDefectLists(const std::filesystem::path& file, double pixelSize);

} // namespace narvo
