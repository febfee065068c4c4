// SPDX-License-Identifier: MIT
// Numbers of things in sentences.
#pragma once

#include <cstddef>
#include <string>

namespace narvo
{

/// "1 image", "2 images": for a noun that takes an s.
inline std::string Counted(std::size_t count, const std::string& noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

} // namespace narvo
