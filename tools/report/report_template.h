// SPDX-License-Identifier: MIT
// The texts of tools/report/, built into the program.
#pragma once

#include <string_view>

namespace narvo::tools
{

extern const std::string_view reportHtml; ///< with places @title@, @css@, @data@, @js@, @summary@
extern const std::string_view reportCss;
extern const std::string_view reportJs;

} // namespace narvo::tools
