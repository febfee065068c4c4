// SPDX-License-Identifier: MIT
// Files that grow line by line during a run, and that notice when somebody else removes, replaces or changes them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "host/file/descriptor.h"
#include "host/file/output_file.h"

namespace narvo
{

class AppendedFile
{
public:
    /// Opens a file, which is made where it is not there. Links are followed.
    /// @throws WriteError when it cannot be opened or is no regular file
    explicit AppendedFile(const std::filesystem::path& file);

    /// Keeps others out for as long as the file is open. @return false when it is in use
    bool Lock();
    /// @throws WriteError
    void Empty();
    /// Takes away what lies behind the first `size` bytes. @throws WriteError
    void CutTo(std::uint64_t size);

    const std::filesystem::path& Path() const { return m_path; }
    /// Bytes, of what was there and of what was added.
    std::uint64_t Size() const { return m_size; }

    /// Adds all of it, or nothing where there is no room. @throws WriteError, also when the file was removed, replaced
    /// or changed since the last call
    void Add(const std::string& text);
    /// A part of what the file holds. @throws WriteError when it cannot be read any more
    std::string Read(std::uint64_t begin, std::uint64_t count) const;

    /// Waits until all is on the disk and takes another file's place. @throws WriteError
    void TakePlaceOf(const std::filesystem::path& file);
    /// Waits until all is on the disk. @throws WriteError as Add
    void Finish();

private:
    [[noreturn]] void Refuse(int error) const;
    void RequireUntouched() const;

    std::filesystem::path m_path;
    Descriptor m_file;
    std::uint64_t m_size = 0;
};

} // namespace narvo
