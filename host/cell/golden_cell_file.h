// SPDX-License-Identifier: MIT
// Golden cells as a JSON file, and what a comparison with them found as JSON and text.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/cell/golden_cell.h"

namespace narvo
{

/// Writes the cells of a recipe's regions. @throws HostError when that fails
void SaveGoldenCells(const std::filesystem::path& file, const std::vector<GoldenCell>& cells);

/// @throws HostError with all that is wrong, or when unreadable
std::vector<GoldenCell> LoadGoldenCells(const std::filesystem::path& file);

nlohmann::ordered_json ComparisonToJson(const GoldenCell& golden, const CellComparison& comparison);

/// A line for the image, and one for each place.
std::string ComparisonText(const CellComparison& comparison);

} // namespace narvo
