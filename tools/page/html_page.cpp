// SPDX-License-Identifier: MIT
// The style that pages share.
#include "tools/page/html_page.h"

#include <cmath>

#include "host/foreign_text.h"
#include "host/problem.h"

namespace narvo::tools
{

namespace
{

constexpr const char* szPageStyle = R"(
:root { color-scheme: light dark; }
body { font: 16px/1.5 system-ui, sans-serif; margin: 2em auto; max-width: 72em; padding: 0 1em; color: #222;
  background: #fff; }
h1 { font-size: 1.5em; } h2 { font-size: 1.15em; margin-top: 2em; }
.wide { overflow-x: auto; }
table { border-collapse: collapse; }
th, td { padding: .25em .8em; text-align: right; border-bottom: 1px solid #ddd; }
th:first-child, td:first-child, .text { text-align: left; }
.warning { background: #fff3cd; border-left: 4px solid #b58900; padding: .3em .8em; margin: .4em 0; }
.chosen { font-weight: bold; }
.note { color: #666; }
.bar { display: inline-block; height: .7em; background: #2a6f97; vertical-align: baseline; }
.bar.above { background: #b3261e; }
.charts { display: flex; flex-wrap: wrap; gap: 1em; }
svg { width: 420px; max-width: 100%; font-size: 11px; fill: currentColor; }
svg .title { font-size: 13px; } svg .grid { stroke: #e2e2e2; fill: none; }
figure { display: inline-block; margin: 8px; max-width: 720px; } img { max-width: 100%; }
@media (prefers-color-scheme: dark) { body { color: #ddd; background: #181818; } th, td { border-color: #444; }
  .warning { background: #3a3010; } .bar { background: #61a5c2; } .note { color: #aaa; }
  svg .grid { stroke: #383838; } }
)";

} // namespace

std::string EscapeHtml(const std::string& text)
{
    std::string escaped;
    for (const char letter : text)
        switch (letter)
        {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped += letter;
        }
    return escaped;
}

std::string PageHead(const std::string& title)
{
    const std::string shown = EscapeHtml(Printable(title));
    return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><meta name=\"viewport\" "
           "content=\"width=device-width, initial-scale=1\"><title>" +
           shown + "</title><style>" + szPageStyle + "</style></head><body>\n<h1>" + shown + "</h1>\n";
}

std::string PageEnd()
{
    return "</body></html>\n";
}

std::string PercentText(double share)
{
    return FormatNumber(std::round(share * 100.0)) + " %";
}

} // namespace narvo::tools
