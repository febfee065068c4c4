// SPDX-License-Identifier: MIT
// Text that comes from outside, as names of files and keys of recipes, on its way to a terminal or into a table.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace narvo
{

/// One line that a terminal shows as it stands: control characters, line ends among them, bytes that are no UTF-8 and
/// characters that turn the direction of writing are written as \n, \t, \x1b, \u202e. All else stays.
std::string Printable(std::string_view text);

/// The same for text of several lines, whose line ends stay.
std::string PrintableLines(std::string_view text);

/// A text that no line of a message is too long for: where it has more than nShownBytes, its beginning and its end with
/// "..." between them. Names of files in use stay whole but for the longest.
constexpr std::size_t nShownBytes = 1000;
std::string Shortened(std::string_view text);

/// A cell of a CSV table: quoted where it holds commas, quotes or line ends. A text that begins with = + - @ ' or a
/// tab, carriage return or line feed gets an apostrophe in front, without which spreadsheets take such a text for a
/// formula. A reader takes one leading apostrophe away.
std::string TableCell(std::string_view text);

} // namespace narvo
