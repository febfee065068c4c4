// SPDX-License-Identifier: MIT
// Results as files: JSON with all that an inspection gave, CSV with one line for each blob.
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "host/inspect/inspector.h"

namespace narvo
{

/// Version of the result's JSON form.
constexpr int nResultVersion = 1;

nlohmann::ordered_json ResultToJson(const InspectionResult& result);

/// Names of a blob's values, comma separated, and the values of one blob of a result's JSON form.
std::string BlobColumns();
std::string BlobRow(const nlohmann::ordered_json& blob);

/// Header line and one line for each blob, comma separated.
std::string ResultToCsv(const InspectionResult& result);

} // namespace narvo
