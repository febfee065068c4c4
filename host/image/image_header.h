// SPDX-License-Identifier: MIT
// The size of an image from its file's header, without decoding: how much memory it will take is known before it is
// taken.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace narvo
{

struct ImageHeader
{
    std::int64_t width = 0;
    std::int64_t height = 0;
    int bytesPerPixel = 1;       ///< once decoded, all channels
    std::int64_t tilePixels = 0; ///< TIFF: of the blocks that it is decoded by; 0: none
    int fullScale = 0;           ///< portable anymap: the largest value that a pixel may hold; 0: that of its bits
    int pages = 1;               ///< TIFF: images in the file, without reduced copies of others
    int scans = 1;               ///< JPEG: passes over all pixels, counted to one more than nScanLimit
    bool cut = false;            ///< JPEG, TIFF: the file holds less than its pixels need; decoders fill them up
};

/// Whether a file's name ends as those of such image files do, in capitals or not: what folders bring.
bool HasImageEnding(const std::filesystem::path& file);

/// Reads the header of a PNG, TIFF, BMP, JPEG or portable anymap (PGM and its like). Sizes are as written, 0 and
/// negative ones among them. A JPEG is looked through to its end. @return nothing where the file is none of these, or
/// ends within its header
std::optional<ImageHeader> ReadImageHeader(const std::filesystem::path& file);

} // namespace narvo
