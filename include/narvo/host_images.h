// SPDX-License-Identifier: MIT
// Images that the host library owns: read from files or made of pixels in colour or of many bits by the rules of a
// recipe, and written to files. docs/images.md explains the rules.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "narvo/host_recipe.h"
#include "narvo/image_pixels.h"

namespace narvo::v1
{

/// How the pixels of a file or a camera become the 8-bit grey that is inspected: the section `image` of a recipe.
/// Nothing changes it once it is made: copies share it, and any number of threads may use it. One that was moved from
/// is as a new one.
class NARVOHOST_API ImageRules
{
public:
    /// Colours become their luma, and the whole range of deeper pixels becomes 0 .. 255.
    ImageRules();
    /// The members of the section as a JSON object: R"({"channel": "green", "levels": [0, 1023]})". Flat and dark
    /// fields that it names are read from `folder`.
    /// @throws Error with all that is wrong: no JSON, unknown fields, values out of their range, fields that cannot be
    /// read
    static ImageRules FromText(const std::string& json, const std::filesystem::path& folder = ".");
    /// Those of a recipe; `region` counts from 0, and all regions of a recipe read images alike.
    /// @throws Error for a region that the recipe does not have
    static ImageRules Of(const Recipe& recipe, std::size_t region = 0);

    /// Whether they name the packing of frames without a header, so that files and Image::FromFrame hold such frames.
    bool NamesRawFormat() const noexcept;
    /// Whether red, green and blue are inspected one by one.
    bool InspectsEachColour() const noexcept;

    struct Content; ///< of the library
    /// For the library itself.
    explicit ImageRules(std::shared_ptr<const Content> content) : m_content(std::move(content)) {}
    /// For the library itself; null: those of a new one.
    const Content* GetContent() const noexcept { return m_content.get(); }

private:
    std::shared_ptr<const Content> m_content;
};

/// Collects in sentences what images lose on their way to grey where no rule asks for it: colour, depth, transparency,
/// saturated pixels. Of each kind the first is kept. Any number of threads may use one.
class NARVOHOST_API ImageNotes
{
public:
    ImageNotes();
    ~ImageNotes();
    ImageNotes(const ImageNotes&) = delete;
    ImageNotes& operator=(const ImageNotes&) = delete;

    /// The sentences that have not been taken yet. A kind that was taken is not noted again.
    std::vector<std::string> Take();

    struct Content; ///< of the library
    /// For the library itself.
    Content& GetContent() noexcept { return *m_content; }

private:
    std::unique_ptr<Content> m_content;
};

/// Pixels of an image file, unless a call says otherwise, and those that a call may allow at most.
constexpr std::int64_t DefaultMaxPixels = 268435456;
/// The same.
constexpr std::int64_t HighestMaxPixels = 1073741824;

/// Where pixels of one to four channels lie, row by row without gaps. It owns nothing, and no call keeps them.
struct PixelArray
{
    const void* pixels = nullptr; ///< of the upper left pixel; of 16-bit values at an even address
    int width = 0;                ///< pixels, 1 .. 1048576
    int height = 0;               ///< pixels, 1 .. 1048576; width by height up to 1073741824
    int channels = 1;             ///< 1: grey; 3: red, green, blue; 4: with alpha behind them
    int bits = 8;                 ///< of a channel: 8, or 16 in the byte order of the machine
};

/// An image as inspections read it: 8-bit grey, and where the rules inspect each colour, red, green and blue beside
/// it. Nothing changes it once it is made: copies share its pixels, and any number of threads may use it. One that was
/// moved from refuses every call with Error.
class NARVOHOST_API Image
{
public:
    /// Reads PNG, TIFF, BMP, PGM or JPEG, or a frame without a header where the rules name its packing. A file of more
    /// than `maxPixels` pixels, 1 .. HighestMaxPixels, is refused before it is decoded. `notes`, where it is not null,
    /// gets what is lost.
    /// @throws Error naming the file when it cannot be read, is no image, is too large or does not fit the rules;
    /// std::bad_alloc without memory
    static Image FromFile(const std::filesystem::path& file, const ImageRules& rules = {}, ImageNotes* notes = nullptr,
                          std::int64_t maxPixels = DefaultMaxPixels);
    /// Of pixels in memory, which are copied. `name` stands for them in problems and notes.
    /// @throws Error for an array that is not valid, or that does not fit the rules
    static Image FromPixels(const PixelArray& pixels, const ImageRules& rules = {}, ImageNotes* notes = nullptr,
                            const std::string& name = "pixels");
    /// Of the bytes of a frame, from its first byte (before the offset that the rules may name) to its last.
    /// @throws Error when the rules name no packing, or the frame has another length
    static Image FromFrame(const std::uint8_t* bytes, std::size_t count, const ImageRules& rules,
                           ImageNotes* notes = nullptr, const std::string& name = "frame");

    /// Pixels of a row.
    int Width() const;
    /// Rows.
    int Height() const;
    /// 1, or 3 where red, green and blue are inspected one by one.
    int Channels() const;
    /// The grey pixels, for calls that take ImagePixels; valid as long as an image that shares them exists.
    ImagePixels Pixels() const;
    /// Those of red (0), green (1) or blue (2). @throws Error for a channel that the image does not have
    ImagePixels ChannelPixels(int channel) const;

    struct Content; ///< of the library
    /// For the library itself.
    explicit Image(std::shared_ptr<const Content> content) : m_content(std::move(content)) {}
    /// For the library itself.
    const Content& GetContent() const;

private:
    std::shared_ptr<const Content> m_content;
};

/// An image with a name, by which sentences and problems speak of it.
struct NamedPicture
{
    std::string name; ///< UTF-8
    Image image;      ///< shared, not copied
};

/// A flat or dark field: the mean of frames.
struct FieldMean
{
    int width = 0;                     ///< pixels
    int height = 0;                    ///< pixels; 1 for a line camera
    int channels = 1;                  ///< 1: grey; 3: red, green, blue
    std::vector<std::uint16_t> values; ///< row by row, channel by channel; of 8-bit frames in 1/256 of their values
    double mean = 0.0;                 ///< of the frames' values
    double low = 0.0;                  ///< smallest of the means of pixels, in the frames' values
    double high = 0.0;                 ///< largest of them
    std::int64_t saturated = 0;        ///< values that are the largest which the frames can hold
};

/// The mean of image files of an even white, or of no light. `line`: of a line camera, the mean of all rows, as one
/// row. Of the rules, the packing of raw frames counts.
/// @throws Error without files, where they differ in size or kind, or cannot be read
NARVOHOST_API FieldMean MeanOfFiles(const std::vector<std::filesystem::path>& files, const ImageRules& rules = {},
                                    bool line = false);

/// Writes a field as 16-bit PNG or TIFF, as the file name's ending says, for `image.flat_field` and `image.dark_field`
/// of recipes. @throws Error for sides outside 1 .. 1048576, more than HighestMaxPixels, channels other than 1 and 3,
/// or another number of values; WriteError naming the file when that fails
NARVOHOST_API void SaveField(const std::filesystem::path& file, const FieldMean& field);

/// Writes 8-bit pixels, of one channel or of three, in the format that the file name's ending says: up to 2147483639
/// grey pixels, or sides of up to 65500 in colour.
/// @throws Error naming what is not valid of the pixels, WriteError naming the file when that fails
NARVOHOST_API void SaveImage(const std::filesystem::path& file, const PixelArray& pixels);

} // namespace narvo::v1
