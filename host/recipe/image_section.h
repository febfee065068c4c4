// SPDX-License-Identifier: MIT
// The recipe's section `image` by itself: for callers that read images without a recipe.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/image/image_reading.h"
#include "host/problem.h"

namespace narvo
{

/// Reads the members of the section from a JSON object, and the fields that it names from `folder`.
/// @throws HostError with all that is wrong
ImageReading ParseImageSection(const nlohmann::json& section, const std::filesystem::path& folder = {});

/// Ranges of the section's fields, and which do not go together.
std::vector<Problem> CheckImageReading(const ImageReading& reading);

/// The value of one of the section's words. @throws HostError as `name` for words that the field does not know
int ImageWord(const std::string& path, const std::string& word, const std::string& name);

} // namespace narvo
