// SPDX-License-Identifier: MIT
// Files that are read: only regular files, through links too, so that no name can make a run wait or read
// without end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace narvo
{

// `name` and `wanted` say in problems what was to be read and what it may be.

/// Hands a file's bytes over piece by piece. @throws HostError when it is no regular file or cannot be read
void ReadFilePieces(const std::filesystem::path& file, const std::string& name, const char* wanted,
                    const std::function<void(const char*, std::size_t)>& take);

/// The same for an open stream, the standard input for one, which may be of any kind. @throws HostError
void ReadStreamPieces(int descriptor, const std::string& name, const char* wanted,
                      const std::function<void(const char*, std::size_t)>& take);

/// All of a file of at most `most` bytes; a longer one is not read.
/// @throws HostError when it is longer, no regular file or cannot be read
std::string ReadShortFile(const std::filesystem::path& file, const std::string& name, std::uintmax_t most,
                          const char* wanted = "a readable JSON file");

/// All of a file of any size. @throws HostError when it is no regular file or cannot be read
std::string ReadTextFile(const std::filesystem::path& file, const std::string& name,
                         const char* wanted = "a readable JSON file");

/// For files that others read. @throws HostError when it is no regular file or cannot be opened
void RequireReadableFile(const std::filesystem::path& file, const std::string& name, const char* wanted);

} // namespace narvo
