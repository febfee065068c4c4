// SPDX-License-Identifier: MIT
// What a recipe can find as one HTML page: sizes, curves, counts and false blobs.
#pragma once

#include <string>

#include "host/capability/capability.h"

namespace narvo::tools
{

/// The page, which needs no other file. `recipe` names what was measured, `made` the program and its version.
std::string BuildCapabilityPage(const CapabilityResult& result, const std::string& recipe, const std::string& made);

/// The sizes as lines of text for a terminal, and the false blobs.
std::string CapabilityText(const CapabilityResult& result);

} // namespace narvo::tools
