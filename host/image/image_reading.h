// SPDX-License-Identifier: MIT
// How the pixels of a file or a camera become 8-bit grey: what is chosen, not how it is done.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/image/field_images.h"
#include "host/problem.h"

namespace narvo
{

/// What of a colour image is inspected.
enum Channel : int
{
    Channel_Auto = 0, ///< the luma, and it is said that colour was lost
    Channel_Luma = 1, ///< 0.299 red + 0.587 green + 0.114 blue
    Channel_Red = 2,
    Channel_Green = 3,
    Channel_Blue = 4,
    Channel_Mixture = 5, ///< a weighted sum
    Channel_Each = 6     ///< red, green and blue, each inspected by itself
};

/// What Channel_Each inspects, in the order of GreyImage::Channels.
inline constexpr Channel inspectedChannels[] = {Channel_Red, Channel_Green, Channel_Blue};

/// The colour filters of the first two pixels of the first two rows.
enum Bayer : int
{
    Bayer_None = 0,
    Bayer_Rggb = 1,
    Bayer_Grbg = 2,
    Bayer_Gbrg = 3,
    Bayer_Bggr = 4
};

/// How colours are made of a mosaic.
enum Demosaic : int
{
    Demosaic_Bilinear = 0, ///< means of the neighbours
    Demosaic_EdgeAware = 1,
    Demosaic_Off = 2 ///< the mosaic is inspected as it is
};

/// Packings of frames without a header, as the pixel format naming convention of GenICam has them.
enum RawFormat : int
{
    RawFormat_None = 0, ///< an image file
    RawFormat_Mono8 = 1,
    RawFormat_Mono10 = 2,  ///< in 16 bits, little-endian
    RawFormat_Mono10p = 3, ///< four pixels in five bytes, lowest bits first
    RawFormat_Mono12 = 4,  ///< in 16 bits, little-endian
    RawFormat_Mono12p = 5, ///< two pixels in three bytes, lowest bits first
    RawFormat_Mono16 = 6
};

/// Defaults take an image file as it is.
struct ImageReading
{
    int channel = Channel_Auto;
    double weightRed = 0.0; ///< of a mixture
    double weightGreen = 0.0;
    double weightBlue = 0.0;
    int bayer = Bayer_None;
    int demosaic = Demosaic_Bilinear;
    int levelLow = 0;  ///< the value that becomes 0
    int levelHigh = 0; ///< the value that becomes 255; 0: the largest that the pixels can hold
    int rawFormat = RawFormat_None;
    int rawWidth = 0; ///< pixels
    int rawHeight = 0;
    int rawOffset = 0;         ///< bytes before the first pixel
    std::string flatFieldFile; ///< as written in the recipe; empty: none
    std::string darkFieldFile;
    FieldImages fields; ///< correct the camera's values before anything else

    bool operator==(const ImageReading& other) const = default;
};

/// Reads the fields that `reading` names, from files beside those of `folder`; those that it holds without a name stay.
/// @throws HostError
void LoadFields(ImageReading& reading, const std::filesystem::path& folder);
/// Puts other fields in the place of those that `reading` holds; null leaves one as it is. Also brings them up to date
/// where the mosaic has changed. @throws HostError
void SetFields(ImageReading& reading, const FieldImage* flat, const FieldImage* dark);

/// What found a blob, in results: "red", "green" or "blue", "grey" for any other.
const char* ChannelName(int channel);
/// The way back; nothing for other names.
std::optional<Channel> ChannelOfName(std::string_view name);

/// Bits of a pixel in a frame, as packed; 0 for RawFormat_None.
int PackedBits(int rawFormat);
/// The largest value of a pixel in such a frame.
int FullScaleOf(int rawFormat);
/// Bytes of a whole frame, without what precedes it.
std::int64_t FrameBytes(const ImageReading& reading);
/// "Mono12p".
const char* RawFormatName(int rawFormat);

/// Which settings do not go together; ranges of the single ones are the field table's. `prefix` stands in front of the
/// names of fields.
std::vector<Problem> CheckCombination(const ImageReading& reading, const std::string& prefix = "image.");

} // namespace narvo
