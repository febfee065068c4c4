// Text files: written whole, opened for reading, with one way to say that this fails.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

namespace narvo
{

/// Writes text as it is. @throws HostError when that fails
void WriteTextFile(const std::filesystem::path& file, const std::string& text);

/// Opens a file to read; `name` and `wanted` say in problems what was to be read. @throws HostError when that fails
std::ifstream OpenTextFile(const std::filesystem::path& file, const std::string& name,
                           const char* wanted = "a readable JSON file");

} // namespace narvo
