// SPDX-License-Identifier: MIT
// An 8-bit grey image that owns its pixels, a view of one that lies elsewhere, and the way from and to image files.
// Nothing here knows the engine but for the row length that it likes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/image/image_reading.h"
#include "host/image/large_pages.h"

namespace narvo
{

class ConversionNotes;

/// Rows of this many bytes, or a multiple, are what the engine's pair filters read at.
constexpr int nRowMultiple = 4;

/// Bytes of a row of `width` pixels, filled up to nRowMultiple.
constexpr int RowLengthOf(int width)
{
    return (width + nRowMultiple - 1) / nRowMultiple * nRowMultiple;
}

/// Row-major 8-bit grey image. Rows are padded to a multiple of 4 pixels by repeating the last one: the engine's pair
/// filters address rows at that length.
class GreyImage
{
public:
    /// Empty.
    GreyImage() = default;
    /// All pixels `value`. Sides are at least 1.
    GreyImage(int width, int height, std::uint8_t value = 0);
    /// Copies `height` rows of `width` pixels that lie `stride` bytes apart.
    GreyImage(const std::uint8_t* pixels, int width, int height, std::ptrdiff_t stride);
    GreyImage(const GreyImage& other) = default;
    GreyImage(GreyImage&& other) = default;
    /// Changes nothing where memory runs out.
    GreyImage& operator=(const GreyImage& other);
    GreyImage& operator=(GreyImage&& other) = default;
    ~GreyImage() = default;

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    /// Bytes from row to row, a multiple of 4.
    int Stride() const { return m_stride; }
    bool IsEmpty() const { return m_pixels.empty(); }

    /// Red, green and blue of a colour image that is inspected channel by channel, whose luma this image is then; empty
    /// for any other. Copies share them.
    const std::shared_ptr<const std::vector<GreyImage>>& Channels() const { return m_channels; }
    void SetChannels(std::vector<GreyImage> channels);

    /// Repeats the last pixel of each row up to the row's length, after pixels have been written.
    void FillUpRows();

    std::uint8_t* Row(int y) { return m_pixels.data() + static_cast<std::ptrdiff_t>(y) * m_stride; }
    const std::uint8_t* Row(int y) const { return m_pixels.data() + static_cast<std::ptrdiff_t>(y) * m_stride; }

private:
    int m_width = 0;
    int m_height = 0;
    int m_stride = 0;
    std::vector<std::uint8_t, PixelAllocator<std::uint8_t>> m_pixels;
    std::shared_ptr<const std::vector<GreyImage>> m_channels;
};

/// What an inspection reads: the pixels of a GreyImage, or of an image that a host holds in memory. It owns nothing
/// and must not outlive the pixels.
class GreyView
{
public:
    GreyView(const GreyImage& image)
        : m_pixels(image.IsEmpty() ? nullptr : image.Row(0)), m_width(image.Width()), m_height(image.Height()),
          m_stride(image.Stride()), m_channels(image.Channels().get())
    {
    }
    /// `height` rows of `width` pixels without gaps; `width` is a multiple of 4 (nRowMultiple).
    GreyView(const std::uint8_t* pixels, int width, int height)
        : m_pixels(pixels), m_width(width), m_height(height), m_stride(width)
    {
    }

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    /// Bytes from row to row, a multiple of 4.
    int Stride() const { return m_stride; }
    bool IsEmpty() const { return m_width <= 0 || m_height <= 0; }
    const std::uint8_t* Row(int y) const { return m_pixels + static_cast<std::ptrdiff_t>(y) * m_stride; }
    /// Red, green and blue as GreyImage::Channels has them; null without.
    const std::vector<GreyImage>* Channels() const { return m_channels; }

private:
    const std::uint8_t* m_pixels;
    int m_width;
    int m_height;
    int m_stride;
    const std::vector<GreyImage>* m_channels = nullptr;
};

/// How many pixels an image file may have where a call does not say otherwise; nDefaultMaxPixels until it is set.
std::int64_t MaxImagePixels();
/// Sets it for the whole process. @throws HostError outside 1 .. nHighestMaxPixels
void SetMaxImagePixels(std::int64_t pixels);
/// @throws HostError outside 1 .. nHighestMaxPixels
void CheckMaxImagePixels(std::int64_t pixels);

/// Reads PNG, TIFF, BMP, PGM or JPEG, or a frame without a header where `reading` names its packing. Colours, values of
/// more than 8 bits and transparency become 8-bit grey as `reading` says; what is lost where it says nothing is added
/// to `notes`. The file's header alone decides whether the image is too large.
/// @throws HostError when the file cannot be read, is no image, has more than `maxPixels` pixels, or does not fit
/// `reading`; std::bad_alloc without memory
GreyImage LoadGreyImage(const std::filesystem::path& file, const ImageReading& reading = {},
                        ConversionNotes* notes = nullptr, std::int64_t maxPixels = MaxImagePixels());

/// Reads an image whose values mean something by themselves, such as painted zones: only where 8-bit grey holds it
/// without loss, with equal colour channels, 16-bit values that are multiples of 257 and opaque alpha.
/// @throws HostError as LoadGreyImage, or with the first place where something would be lost
GreyImage LoadExactImage(const std::filesystem::path& file, std::int64_t maxPixels = MaxImagePixels());

/// A frame without a header that lies in memory; `reading` names its packing and shape, and `bytes` ends with its last
/// pixel. `name` is for problems and notes. @throws HostError where `bytes` has another length or `reading` does not
/// fit
GreyImage ConvertRawFrame(std::span<const std::uint8_t> bytes, const ImageReading& reading, const std::string& name,
                          ConversionNotes* notes = nullptr);

/// Pixels that lie in memory, row by row without gaps.
struct PixelBlock
{
    const void* pixels = nullptr;
    int width = 0;
    int height = 0;
    int channels = 1;        ///< 1; 3: red, green, blue; 4: with alpha
    int bytesPerChannel = 1; ///< 1 or 2
};

/// The same pixels as 8-bit grey. @throws HostError where `reading` does not fit them
GreyImage ConvertPixels(const PixelBlock& block, const ImageReading& reading, const std::string& name,
                        ConversionNotes* notes = nullptr);

/// Writes the image in the format that the file name's ending says.
/// @throws HostError when that fails
void SaveGreyImage(const std::filesystem::path& file, const GreyImage& image);

} // namespace narvo
