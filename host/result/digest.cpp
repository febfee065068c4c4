// SPDX-License-Identifier: MIT
// Mixing of words, and what of a recipe is digested.
#include "host/result/digest.h"

#include <array>
#include <bit>
#include <cstdio>
#include <cstring>

#include <nlohmann/json.hpp>

#include "host/file/input_file.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"
#include "host/zones/region_maps.h"

namespace narvo
{

namespace
{

constexpr std::size_t nWord = sizeof(std::uint64_t);
static_assert(std::endian::native == std::endian::little);

void AddImage(Digest& digest, const GreyImage& image)
{
    const int size[2] = {image.Width(), image.Height()};
    digest.Add(size, sizeof size);
    for (int y = 0; y < image.Height(); ++y)
        digest.Add(image.Row(y), static_cast<std::size_t>(image.Width()));
}

void AddField(Digest& digest, const FieldImage& image)
{
    const int kind[4] = {image.width, image.height, image.channels, image.bytesPerChannel};
    digest.Add(kind, sizeof kind);
    digest.Add(image.pixels.data(), image.pixels.size());
}

void AddMaps(Digest& digest, const RegionMaps& maps)
{
    for (int map = 0; map < RegionMaps::nMaps; ++map)
        if (const auto kind = static_cast<RegionMaps::Map>(map); maps.IsSet(kind))
        {
            digest.Add(&map, sizeof map);
            for (int y = 0; y < maps.Height(); ++y)
                digest.Add(maps.Data(kind) + std::ptrdiff_t{y} * maps.Stride(),
                           static_cast<std::size_t>(maps.Width()) * sizeof(short));
        }
}

} // namespace

void Digest::Mix(std::uint64_t word)
{
    m_state = (m_state ^ word) * 0xD6E8FEB86659FD93U;
    m_state ^= m_state >> 32;
}

void Digest::Add(const void* bytes, std::size_t count)
{
    const auto* next = static_cast<const unsigned char*>(bytes);
    while (count > 0)
    {
        const std::size_t held = m_length % nWord;
        if (held == 0 && count >= nWord)
        {
            std::uint64_t word;
            std::memcpy(&word, next, nWord);
            Mix(word);
            next += nWord;
            m_length += nWord;
            count -= nWord;
            continue;
        }
        m_pending |= std::uint64_t{*next++} << (8 * held);
        ++m_length;
        --count;
        if (m_length % nWord == 0)
        {
            Mix(m_pending);
            m_pending = 0;
        }
    }
}

std::string Digest::Text() const
{
    Digest end = *this;
    end.Mix(m_pending);
    end.Mix(m_length);
    end.Mix(0);
    char text[20];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(end.m_state));
    return text;
}

std::string DigestOfFile(const std::filesystem::path& file)
{
    Digest digest;
    try
    {
        ReadFilePieces(file, "file " + file.string(), "a readable file",
                       [&](const char* bytes, std::size_t count) { digest.Add(bytes, count); });
    }
    catch (const HostError&)
    {
        return {};
    }
    return digest.Text();
}

void AddFields(Digest& digest, const FieldImages& fields)
{
    if (fields.IsEmpty())
        return;
    AddField(digest, fields.Flat());
    AddField(digest, fields.Dark());
}

std::string DigestOfRecipes(const std::vector<CheckedRecipe>& recipes)
{
    Digest digest;
    const std::string text = RecipesToJson(recipes).dump();
    digest.Add(text.data(), text.size());
    for (const Recipe& recipe : recipes)
    {
        AddImage(digest, recipe.zoneImage);
        AddImage(digest, recipe.classImage);
        AddImage(digest, recipe.deadImage);
        AddFields(digest, recipe.fields);
        if (recipe.maps != nullptr)
            AddMaps(digest, *recipe.maps);
    }
    return digest.Text();
}

} // namespace narvo
