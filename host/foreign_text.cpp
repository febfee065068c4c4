// SPDX-License-Identifier: MIT
// Escapes of terminal and table.
#include "host/foreign_text.h"

#include <array>
#include <cstdio>
#include <utility>

namespace narvo
{

namespace
{

struct Letter
{
    char32_t code;
    std::size_t bytes;
    bool valid; ///< otherwise one byte that begins no character
};

Letter FirstOf(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const Letter broken = {byte(0), 1, false};
    if (byte(0) < 0x80)
        return {byte(0), 1, true};
    const std::size_t bytes = byte(0) >= 0xf0 ? 4 : byte(0) >= 0xe0 ? 3 : 2;
    constexpr std::array<char32_t, 5> lowest = {0, 0, 0x80, 0x800, 0x10000};
    if (byte(0) < 0xc0 || byte(0) > 0xf4 || text.size() < bytes)
        return broken;
    char32_t code = byte(0) & (0xffU >> (bytes + 1));
    for (std::size_t i = 1; i < bytes; ++i)
    {
        if ((byte(i) & 0xc0U) != 0x80)
            return broken;
        code = code << 6U | (byte(i) & 0x3fU);
    }
    const bool surrogate = code >= 0xd800 && code <= 0xdfff;
    return code < lowest[bytes] || code > 0x10ffff || surrogate ? broken : Letter{code, bytes, true};
}

/// Whether a terminal does something else with a character than to show it.
bool IsControl(char32_t code)
{
    constexpr std::pair<char32_t, char32_t> ranges[] = {
        {0, 0x1f}, {0x7f, 0x9f}, {0x61c, 0x61c}, {0x200e, 0x200f}, {0x2028, 0x202e}, {0x2066, 0x2069}, {0xfeff, 0xfeff},
    };
    for (const auto& [low, high] : ranges)
        if (code >= low && code <= high)
            return true;
    return false;
}

std::string EscapeOf(const Letter& letter)
{
    if (letter.valid && letter.code == '\n')
        return "\\n";
    if (letter.valid && letter.code == '\t')
        return "\\t";
    if (letter.valid && letter.code == '\r')
        return "\\r";
    std::array<char, 16> text{};
    // Of characters beyond a byte, \x would name one of their bytes.
    std::snprintf(text.data(), text.size(), letter.valid && letter.code >= 0x80 ? "\\u%04x" : "\\x%02x",
                  static_cast<unsigned>(letter.code));
    return text.data();
}

std::string Escaped(std::string_view text, bool keepLineEnds)
{
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty())
    {
        const Letter letter = FirstOf(text);
        const bool plain = letter.valid && (!IsControl(letter.code) || (keepLineEnds && letter.code == '\n'));
        if (plain)
            shown += text.substr(0, letter.bytes);
        else
            shown += EscapeOf(letter);
        text.remove_prefix(letter.bytes);
    }
    return shown;
}

} // namespace

std::string Printable(std::string_view text)
{
    return Escaped(text, false);
}

std::string PrintableLines(std::string_view text)
{
    return Escaped(text, true);
}

std::string Shortened(std::string_view text)
{
    if (text.size() <= nShownBytes)
        return std::string(text);
    constexpr std::size_t nBegin = nShownBytes * 2 / 3;
    constexpr std::size_t nEnd = nShownBytes / 3;
    const auto isInside = [&](std::size_t place) { return (static_cast<unsigned char>(text[place]) & 0xc0U) == 0x80; };
    // No letter of at most four bytes is cut; other bytes are no letters anyway.
    std::size_t begin = nBegin;
    for (int i = 0; i < 3 && isInside(begin); ++i)
        --begin;
    std::size_t end = text.size() - nEnd;
    for (int i = 0; i < 3 && isInside(end); ++i)
        ++end;
    return std::string(text.substr(0, begin)) + "..." + std::string(text.substr(end));
}

std::string TableCell(std::string_view text)
{
    constexpr std::string_view formula = "=+-@'\t\r\n";
    const bool guarded = !text.empty() && formula.find(text.front()) != std::string_view::npos;
    const std::string cell = (guarded ? "'" : "") + std::string(text);
    if (cell.find_first_of(",\"\r\n") == std::string::npos)
        return cell;
    std::string quoted = "\"";
    for (const char letter : cell)
        quoted += letter == '"' ? std::string("\"\"") : std::string(1, letter);
    return quoted + "\"";
}

} // namespace narvo
