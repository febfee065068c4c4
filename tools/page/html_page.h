// SPDX-License-Identifier: MIT
// Head and end of a page that needs no other file and no script.
#pragma once

#include <string>

namespace narvo::tools
{

/// The text with & < > " ' as entities.
std::string EscapeHtml(const std::string& text);

/// All up to the page's heading. Its style knows tables, the classes note, warning, chosen, bar and charts, figures,
/// and the charts of svg_chart.h, in light and dark colours.
std::string PageHead(const std::string& title);
std::string PageEnd();

/// A share as percent without decimals.
std::string PercentText(double share);

} // namespace narvo::tools
