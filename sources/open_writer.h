// SPDX-License-Identifier: MIT
// Whether somebody is still writing a file.
#pragma once

#include <filesystem>

namespace narvo::sources
{

enum WriterState
{
    Writer_None,   ///< nobody has it open for writing
    Writer_Open,   ///< somebody has
    Writer_Unknown ///< the system does not say, as for files of other owners and on network file systems
};

/// Asks the system by a read lease, which it refuses while a file is open for writing.
WriterState FindWriter(const std::filesystem::path& file);

} // namespace narvo::sources
