// SPDX-License-Identifier: MIT
// Results of golden inspections as JSON and CSV: those of any inspection, with the registration and every blob's place
// in the reference.
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "host/golden/golden.h"

namespace narvo
{

nlohmann::ordered_json GoldenToJson(const GoldenResult& result);

/// Header line and one line for each blob, comma separated.
std::string GoldenToCsv(const GoldenResult& result);

} // namespace narvo
