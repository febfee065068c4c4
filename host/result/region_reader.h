// SPDX-License-Identifier: MIT
// The result of one region, read back from the form that result_file writes.
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "host/inspect/inspector.h"

namespace narvo
{

class CheckedReader;

/// `document` is an object; `where` is the path to it, with a dot at its end unless it is empty. Times are not part of
/// every form and may be missing.
InspectionResult ReadRegion(CheckedReader& reader, const nlohmann::json& document, const std::string& where);

} // namespace narvo
