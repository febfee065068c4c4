// An 8-bit grey image that owns its pixels, and its way from and to image files. Nothing here knows the engine but for
// the row length that it likes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace narvo
{

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

    std::uint8_t* Row(int y) { return m_pixels.data() + static_cast<std::ptrdiff_t>(y) * m_stride; }
    const std::uint8_t* Row(int y) const { return m_pixels.data() + static_cast<std::ptrdiff_t>(y) * m_stride; }

private:
    int m_width = 0;
    int m_height = 0;
    int m_stride = 0;
    std::vector<std::uint8_t> m_pixels;
};

/// Reads PNG, TIFF, BMP, PGM or JPEG. Colour, 16-bit and alpha images are taken only where 8-bit grey says the same:
/// equal colour channels, 16-bit values that are multiples of 257, alpha opaque everywhere.
/// @throws HostError when the file cannot be read, is no image, or would lose something
GreyImage LoadGreyImage(const std::filesystem::path& file);

/// Writes the image in the format that the file name's ending says.
/// @throws HostError when that fails
void SaveGreyImage(const std::filesystem::path& file, const GreyImage& image);

} // namespace narvo
