// SPDX-License-Identifier: MIT
// Recipes: what is inspected and how. From files, from JSON text, or built in code; checked completely either way.
// docs/recipe.md describes every field.
#pragma once

#include <cstddef>
#include <cstdint>
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
    /// The same where image files that it names are looked up in `folder`.
    static Recipe FromFile(const std::filesystem::path& file, const std::filesystem::path& folder);
    /// The same from text. Image files that it names are looked up in `folder`.
    static Recipe FromText(const std::string& json, const std::filesystem::path& folder = ".");

    /// How many; at least 1.
    std::size_t Regions() const;
    /// One of them, from 0, as a recipe by itself, with what it holds shared and tables of its own.
    /// @throws Error for a region that the recipe does not have
    Recipe Region(std::size_t region) const;
    /// The value of a field of a region by its name, a dot between the levels, as JSON: "32.5" for "pitch.x", an object
    /// for "pitch". @throws Error for a field that the recipe does not have, or as Region
    std::string Value(const std::string& field, std::size_t region = 0) const;
    /// A region in a few words: "float mode with a polygon, pitch 32.5 by 24 pixels". @throws Error as Region
    std::string Summary(std::size_t region = 0) const;
    /// JSON with every field written out; FromText reads it back where it names no images held in memory.
    std::string Text() const;
    /// Writes a recipe file that FromFile and the program `narvo` read, and beside it the images that the recipe holds,
    /// painted zones for example, under the file's name with endings as ".zones.png".
    /// @throws WriteError when a file cannot be written; Error for a recipe of several regions, which comes from text
    /// already, or with region maps, which have no form in files
    void Save(const std::filesystem::path& file) const;
    /// The same without the region maps that it may have, for programs that keep these themselves. The file alone may
    /// be no recipe then. @throws WriteError when a file cannot be written, Error for a recipe of several regions
    void SaveWithoutMaps(const std::filesystem::path& file) const;
    /// Whether an image of that size can be inspected, and why not. @throws Error with all that is wrong; sides are 1
    /// .. 1048576
    void CheckSize(int width, int height) const;

    struct Parts; ///< of the library
    /// For the library itself.
    explicit Recipe(std::shared_ptr<const Parts> parts) : m_parts(std::move(parts)) {}
    /// For the library itself.
    const Parts& GetParts() const;

private:
    std::shared_ptr<const Parts> m_parts;
};

/// Whether all fields, images and maps of all regions are the same.
NARVOHOST_API bool operator==(const Recipe& first, const Recipe& second);
/// The opposite.
NARVOHOST_API bool operator!=(const Recipe& first, const Recipe& second);

/// Maps that a recipe in zone mode may have in place of a painted cell: a value for each pixel of its region. A
/// difference must exceed offset + (larger compared value * gain) / 256, of the place where the comparison begins: its
/// reference lies one compare distance on, so a defect is looked at by its own value and by that of the place one
/// distance before it.
enum class RegionMap : int
{
    Offset,      ///< 0 .. 32512 grey levels; 256 and more pass no pixel. Not set: 0
    Gain,        ///< 0 .. 256, in 1/256. Not set: 0
    Zone,        ///< 0 .. 15, the zone whose filter values apply. Not set: the recipe's only zone
    Knee,        ///< 0 .. 255 grey levels: above it the upper segment applies, with "kernel.two_segment"
    UpperOffset, ///< as the offset; knee and upper segment are set together or not at all
    UpperGain,   ///< as the gain
    Class        ///< 0 .. 15, a class that the extended kernels take
};

/// Where the values of a map lie. It owns nothing, and no call keeps them.
struct MapValues
{
    const std::int16_t* values = nullptr; ///< of the region's upper left pixel
    int width = 0;                        ///< of the region, pixels
    int height = 0;                       ///< of the region, pixels
    std::ptrdiff_t stride = 0;            ///< values from row to row, at least the width; 0: no gaps
};

struct PixelArray; // <narvo/host_images.h>

/// A recipe of one region while it is built in code. Fields have the names of the JSON form, a dot between the levels:
/// "pitch.x", "mode", "threshold.base". Nothing is checked before Check, so the order of calls is free; a field that is
/// set twice keeps the last value. One thread at a time may use it.
class NARVOHOST_API RecipeDraft
{
public:
    RecipeDraft();
    ~RecipeDraft();
    /// Leaves `other` as a new draft.
    RecipeDraft(RecipeDraft&& other) noexcept;
    /// Leaves `other` as a new draft.
    RecipeDraft& operator=(RecipeDraft&& other) noexcept;

    /// With all that a region of a recipe holds, to change some of it: `RecipeDraft::Of(recipe).Set("min_area", 5)`.
    /// What it holds of images is shared; an image goes when the field that names its file is set.
    /// @throws Error for a region that the recipe does not have
    static RecipeDraft Of(const Recipe& recipe, std::size_t region = 0);
    /// With the fields of a JSON text. Check looks up image files that it names in `folder`, unless images were set.
    /// @throws Error when it is no JSON
    static RecipeDraft FromText(const std::string& json, const std::filesystem::path& folder = ".");
    /// The same from a file, beside which Check looks up image files. @throws Error also when it cannot be read
    static RecipeDraft FromFile(const std::filesystem::path& file);
    /// The same where image files are looked up in `folder`.
    static RecipeDraft FromFile(const std::filesystem::path& file, const std::filesystem::path& folder);

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
    /// Takes a field out, so that what holds without it holds. A field that is not set may be taken out.
    RecipeDraft& Unset(const std::string& field);
    /// A list or an object, as JSON: SetJson("zones.list", R"([{"index": 1, "offset": 12}])").
    /// @throws Error when it is no JSON
    RecipeDraft& SetJson(const std::string& field, const std::string& json);
    /// A list of numbers, such as "scan_pitches", copied. @throws Error for null with a count of 1 or more
    RecipeDraft& SetList(const std::string& field, const double* values, std::size_t count);
    /// The painted cell: the value of a pixel is its zone. 8 bits; copied. @throws Error for an image that is none
    RecipeDraft& SetZoneImage(const ImagePixels& cell);
    /// The painted classes of one cell, 0 .. 15, which the extended kernels take. As SetZoneImage.
    RecipeDraft& SetClassImage(const ImagePixels& cell);
    /// Painted dead places of the whole image, other than 0 where nothing is to be reported. 8 bits; copied.
    RecipeDraft& SetDeadImage(const ImagePixels& dead);
    /// What the camera shows of an even white: 8 or 16 bits, one channel or three; one row for a line camera. Copied.
    /// @throws Error for an array that is not valid
    RecipeDraft& SetFlatField(const PixelArray& field);
    /// What it shows without light. As SetFlatField.
    RecipeDraft& SetDarkField(const PixelArray& field);
    /// A map of the whole region, of the size of the region and of the maps set before; copied. Origins and tables that
    /// the engine needs beside it are made from it. Maps are no part of Recipe::Text.
    /// @throws Error for a size or stride that does not fit, or with the first value outside the map's range
    RecipeDraft& SetRegionMap(RegionMap map, const MapValues& values);
    /// Takes all maps away.
    RecipeDraft& DropRegionMaps();

    /// The recipe. The draft stays as it is. @throws Error as Recipe::FromText
    Recipe Check() const;

private:
    struct Content;
    Content& Own();
    std::unique_ptr<Content> m_content;
};

} // namespace narvo::v1
