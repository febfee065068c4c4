// SPDX-License-Identifier: MIT
// Files that are written whole: the bytes go to a new file beside the wanted one, which takes its place when they have
// reached the disk. A reader sees the old or the new contents, never a part, and a full disk leaves the
// old ones.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

#include "host/problem.h"

namespace narvo
{

/// What could not be written, as distinct from what was wrong with a call.
class WriteError : public HostError
{
public:
    using HostError::HostError;
    /// Of a file, for a reason.
    WriteError(const std::filesystem::path& file, const std::string& reason,
               const std::string& allowed = "a writable place with room");
};

/// Writes a file's bytes. FIFOs, terminals and the like are written to as they stand; a link leads to what it names.
/// @throws WriteError
void WriteFile(const std::filesystem::path& file, const void* bytes, std::size_t count);

/// The same for text, as it is. @throws WriteError
void WriteTextFile(const std::filesystem::path& file, const std::string& text);

/// The file that a path leads to: the end of its chain of links, which need not exist.
std::filesystem::path FollowLinks(std::filesystem::path file);

/// Writes all of it. @return 0, or the error number
int WriteWhole(int descriptor, const void* bytes, std::size_t count);

} // namespace narvo
