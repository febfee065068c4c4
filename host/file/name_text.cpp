// SPDX-License-Identifier: MIT
// Escapes of the bytes from 0x80 on, and of the percent sign.
#include "host/file/name_text.h"

#include <cstdint>
#include <optional>

namespace narvo
{

namespace
{

constexpr std::string_view digits = "0123456789ABCDEF";

/// Bytes of the UTF-8 character that the text begins with; 0 where it begins with none. Overlong forms, surrogates and
/// numbers beyond U+10FFFF are none.
std::size_t CharacterLength(std::string_view text)
{
    const auto byte = [&](std::size_t i) -> unsigned { return static_cast<std::uint8_t>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80)
        return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    const bool wrong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
                       (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F);
    return wrong ? 0 : length;
}

/// The byte that the text begins with an escape of.
std::optional<char> EscapedByte(std::string_view text, bool zeros)
{
    if (text.size() < 3 || text[0] != '%')
        return std::nullopt;
    const std::size_t high = digits.find(text[1]);
    const std::size_t low = digits.find(text[2]);
    if (high == digits.npos || low == digits.npos)
        return std::nullopt;
    const auto byte = static_cast<char>(static_cast<unsigned char>(high * 16 + low));
    return high >= 8 || byte == '%' || (zeros && byte == '\0') ? std::optional(byte) : std::nullopt;
}

} // namespace

std::string NameToText(std::string_view name, bool zeros)
{
    std::string text;
    text.reserve(name.size());
    while (!name.empty())
    {
        const std::size_t length = CharacterLength(name);
        if (length == 0 || EscapedByte(name, zeros) || (zeros && name[0] == '\0'))
        {
            const auto byte = static_cast<std::uint8_t>(name[0]);
            text += {'%', digits[byte >> 4], digits[byte & 15]};
            name.remove_prefix(1);
            continue;
        }
        text += name.substr(0, length);
        name.remove_prefix(length);
    }
    return text;
}

bool IsUtf8(std::string_view text)
{
    while (!text.empty())
    {
        const std::size_t length = CharacterLength(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string NameFromText(std::string_view text, bool zeros)
{
    std::string name;
    name.reserve(text.size());
    while (!text.empty())
    {
        const std::optional<char> byte = EscapedByte(text, zeros);
        name += byte.value_or(text[0]);
        text.remove_prefix(byte ? 3 : 1);
    }
    return name;
}

} // namespace narvo
