// SPDX-License-Identifier: MIT
// The texts of the live page, built into the program.
#pragma once

#include <string_view>

namespace narvo::tools
{

extern const std::string_view liveHtml;
extern const std::string_view liveCss; ///< behind that of the report
extern const std::string_view liveJs;

} // namespace narvo::tools
