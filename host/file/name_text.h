// SPDX-License-Identifier: MIT
// File names as text. A name is any bytes, and JSON holds UTF-8 alone, so what is not UTF-8 is escaped, and every name
// comes back as it was.
#pragma once

#include <string>
#include <string_view>

namespace narvo
{

/// A byte that is no part of valid UTF-8 becomes % and two capital hexadecimal digits ("%FF"); a % that would be read
/// as such an escape becomes "%25". All other names stay as they are. `zeros` counts a byte 0 as no text either
/// ("%00"), for databases, whose texts end there.
std::string NameToText(std::string_view name, bool zeros = false);

/// Whether all of it is valid UTF-8.
bool IsUtf8(std::string_view text);

/// The name that NameToText wrote, with the same `zeros`.
std::string NameFromText(std::string_view text, bool zeros = false);

} // namespace narvo
