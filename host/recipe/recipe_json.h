// SPDX-License-Identifier: MIT
// What the files of the recipe's JSON form share: names of its lists and rectangles, and one region from JSON. For
// these files alone: what others read and write by is recipe_file.h.
#pragma once

#include <filesystem>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "host/recipe/recipe_file.h"

namespace narvo
{

constexpr const char* szRegion = "region";
constexpr const char* szRegions = "regions";
constexpr const char* szMarginFrame = "margin_frame";
constexpr const char* szDeadZones = "dead_zones";
constexpr const char* szCameraFeatures = "camera.features";

/// One region, by a document without a list of regions; a region without a name gets `nameOfUnnamed`. @throws HostError
/// as ParseRecipe
CheckedRecipe ParseRegion(const nlohmann::json& document, const std::filesystem::path& folder, RecipeImages given,
                          const std::string& nameOfUnnamed = {});

} // namespace narvo
