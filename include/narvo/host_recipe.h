// SPDX-License-Identifier: MIT
// Recipes: what is inspected and how. From files, from JSON text, or built in code; checked completely either way.
// docs/recipe.md describes every field.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

#include "narvo/host_error.h"
#include "narvo/image_pixels.h"

namespace narvo::v1
{

/// A checked recipe of one region or several. Nothing changes it once it is made: copies share it, and any number of
/// threads may use it. It keeps the tables for the image size that it last inspected, so use one object for all images
/// rather than make it anew. A recipe that was moved from refuses every call
/// with Error.
class NARVOHOST_API Recipe
{
public:
    /// Reads a recipe file; image files that it names are looked up beside it.
    /// @throws Error with all that is wrong: the file unreadable, unknown, missing, ill-typed and out-of-range fields,
    /// broken rules between fields
    static Recipe FromFile(const std::filesystem::path& file);
    /// The same from text. Image files that it names are looked up in `folder`.
    static Recipe FromText(const std::string& json, const std::filesystem::path& folder = ".");

    /// How many; at least 1.
    std::size_t Regions() const;
    /// JSON with every field written out; FromText reads it back where it names no images held in memory.
    std::string Text() const;
    /// Writes a recipe file that FromFile and the program `narvo` read, and beside it the images that the recipe holds,
    /// painted zones for example, under the file's name with endings as ".zones.png".
    /// @throws Error when a file cannot be written, or for a recipe of several regions, which comes from a file already
    void Save(const std::filesystem::path& file) const;
    /// Whether an image of that size can be inspected, and why not. @throws Error with all that is wrong
    void CheckSize(int width, int height) const;

    struct Parts; ///< of the library
    /// For the library itself.
    explicit Recipe(std::shared_ptr<const Parts> parts) : m_parts(std::move(parts)) {}
    /// For the library itself.
    const Parts& GetParts() const;

private:
    std::shared_ptr<const Parts> m_parts;
};

/// A recipe of one region while it is built in code. Fields have the names of the JSON form, a dot between the levels:
/// "pitch.x", "mode", "threshold". Nothing is checked before Check, so the order of calls is free; a field that is set
/// twice keeps the last value. One thread at a time may use it.
class NARVOHOST_API RecipeDraft
{
public:
    RecipeDraft();
    ~RecipeDraft();
    /// Leaves `other` as a new draft.
    RecipeDraft(RecipeDraft&& other) noexcept;
    /// Leaves `other` as a new draft.
    RecipeDraft& operator=(RecipeDraft&& other) noexcept;

    /// Sets a number, in the field's unit and range. @return this draft
    RecipeDraft& Set(const std::string& field, double value);
    /// Sets a whole number. @return this draft
    RecipeDraft& Set(const std::string& field, int value);
    /// Sets a switch. @return this draft
    RecipeDraft& Set(const std::string& field, bool value);
    /// Sets a word, such as that of "mode", or the name of a file. @return this draft
    RecipeDraft& Set(const std::string& field, const char* text);
    /// The same.
    RecipeDraft& Set(const std::string& field, const std::string& text);
    /// A list or an object, as JSON: SetJson("zones.list", R"([{"index": 1, "offset": 12}])").
    /// @throws Error when it is no JSON
    RecipeDraft& SetJson(const std::string& field, const std::string& json);
    /// The painted cell: the value of a pixel is its zone. 8 bits; copied. @throws Error for an image that is none
    RecipeDraft& SetZoneImage(const ImagePixels& cell);
    /// Painted dead places of the whole image, other than 0 where nothing is to be reported. 8 bits; copied.
    RecipeDraft& SetDeadImage(const ImagePixels& dead);

    /// The recipe. The draft stays as it is. @throws Error as Recipe::FromText
    Recipe Check() const;

private:
    struct Content;
    Content& Own();
    std::unique_ptr<Content> m_content;
};

} // namespace narvo::v1
