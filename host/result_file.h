// Results as files: JSON with all that an inspection gave, CSV with one line for each blob.
#pragma once

#include <filesystem>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "host/inspector.h"

namespace narvo
{

/// Version of the result's JSON form.
constexpr int nResultVersion = 1;

nlohmann::ordered_json ResultToJson(const InspectionResult& result);

/// Header line and one line for each blob, comma separated.
std::string ResultToCsv(const InspectionResult& result);

/// Writes text as it is. @throws HostError when that fails
void WriteTextFile(const std::filesystem::path& file, const std::string& text);

} // namespace narvo
