// SPDX-License-Identifier: MIT
// Short digests that distinguish contents: of files, and of all that a recipe says. Against accident, not against
// forgery.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "host/image/field_images.h"
#include "host/recipe/checked_recipe.h"

namespace narvo
{

/// A 64-bit digest of bytes that come piece by piece; how they are cut makes no difference.
class Digest
{
public:
    void Add(const void* bytes, std::size_t count);
    /// 16 hexadecimal digits.
    std::string Text() const;

private:
    void Mix(std::uint64_t word);

    std::uint64_t m_state = 0x9E3779B97F4A7C15U;
    std::uint64_t m_length = 0;
    std::uint64_t m_pending = 0; ///< bytes that do not fill a word yet
};

/// Digest of a file's bytes; empty when it cannot be read.
std::string DigestOfFile(const std::filesystem::path& file);

/// The contents of flat and dark field; nothing where there are none.
void AddFields(Digest& digest, const FieldImages& fields);

/// Digest of all fields of all regions, of their flat and dark fields, and of the painted images and maps that they
/// hold.
std::string DigestOfRecipes(const std::vector<CheckedRecipe>& recipes);

} // namespace narvo
