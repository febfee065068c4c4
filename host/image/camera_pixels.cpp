// SPDX-License-Identifier: MIT
// What may be read, by size and kind, and the reading of it.
#include "host/image/camera_pixels.h"

#include <optional>
#include <system_error>

#include "host/file/input_file.h"
#include "host/image/image_decoder.h"
#include "host/image/raw_frame.h"
#include "host/limits.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

/// What is larger than allowed, or would be cut, is refused by its header: nothing has been decoded yet.
void CheckHeader(const std::filesystem::path& file, const ImageHeader& header, std::int64_t limit)
{
    if (header.width < 1 || header.height < 1)
        RefuseImage(file, SizeText(header.width, header.height), szImage);
    if (header.width > nImageSideLimit || header.height > nImageSideLimit)
        RefuseImage(file, SizeText(header.width, header.height),
                    "sides of at most " + std::to_string(nImageSideLimit) + " pixels");
    const std::string most = std::to_string(limit) + " pixels, unless max-pixels allows more";
    if (header.width * header.height > limit)
        RefuseImage(file, SizeText(header.width, header.height), "at most " + most);
    if (header.tilePixels > limit)
        RefuseImage(file, "tiles of " + std::to_string(header.tilePixels) + " pixels", "at most " + most);
    if (header.width * header.height > nBytesPerMaxPixel * limit / header.bytesPerPixel)
        RefuseImage(
            file, SizeText(header.width, header.height) + " of " + std::to_string(header.bytesPerPixel) + " bytes each",
            "at most " + std::to_string(nBytesPerMaxPixel * limit) + " bytes, unless max-pixels allows more");
    if (header.cut)
        RefuseImage(file, "less than its " + SizeText(header.width, header.height), "a whole file");
    if (header.scans > nScanLimit)
        RefuseImage(file, "more than " + std::to_string(nScanLimit) + " scans",
                    "a JPEG of at most " + std::to_string(nScanLimit) + " scans");
    if (header.pages > 1)
        RefuseImage(file, std::to_string(header.pages) + " pages", "a file of one page");
}

/// Bytes of a pixel once it is decoded and, of a mosaic, has its colours.
int DecodedBytes(int bytesPerPixel, const ImageReading& reading)
{
    return bytesPerPixel * (reading.bayer != Bayer_None && reading.demosaic != Demosaic_Off ? 3 : 1);
}

/// "3145728 bytes: 1024 by 1024 pixels of Mono10p behind 0 bytes".
std::string FrameText(const ImageReading& reading, std::int64_t bytes)
{
    return std::to_string(bytes) + " bytes: " + SizeText(reading.rawWidth, reading.rawHeight) + " of " +
           RawFormatName(reading.rawFormat) + " behind " + std::to_string(reading.rawOffset) + " bytes";
}

CameraPixels LoadFrame(const std::filesystem::path& file, const ImageReading& reading, std::int64_t limit)
{
    const std::int64_t wanted = reading.rawOffset + FrameBytes(reading);
    const std::string name = "image " + file.string();
    RequireReadableFile(file, name, "a frame without a header");
    ImageHeader header;
    header.width = reading.rawWidth;
    header.height = reading.rawHeight;
    header.bytesPerPixel = DecodedBytes(PackedBits(reading.rawFormat) > 8 ? 2 : 1, reading);
    CheckHeader(file, header, limit);
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (error || size != static_cast<std::uintmax_t>(wanted))
        RefuseImage(file, error ? "unreadable" : std::to_string(size) + " bytes", FrameText(reading, wanted));
    const std::string bytes = ReadTextFile(file, name, "a frame without a header");
    return UnpackCameraFrame({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, reading, name);
}

} // namespace

void RefuseImage(const std::filesystem::path& file, const std::string& value, const std::string& allowed)
{
    throw HostError({{"image " + file.string(), value, allowed}});
}

std::string SizeText(std::int64_t width, std::int64_t height)
{
    return std::to_string(width) + " by " + std::to_string(height) + " pixels";
}

ImageHeader ReadAllowedHeader(const std::filesystem::path& file, const ImageReading& reading, std::int64_t limit)
{
    RequireReadableFile(file, "image " + file.string(), szImage);
    const std::optional<ImageHeader> header = ReadImageHeader(file);
    if (!header)
        RefuseImage(file, "not an image, or damaged", szImage);
    ImageHeader decoded = *header;
    decoded.bytesPerPixel = DecodedBytes(header->bytesPerPixel, reading);
    CheckHeader(file, decoded, limit);
    return *header;
}

CameraPixels LoadCameraPixels(const std::filesystem::path& file, const ImageReading& reading, std::int64_t limit)
{
    if (reading.rawFormat != RawFormat_None)
        return LoadFrame(file, reading, limit);
    const ImageHeader header = ReadAllowedHeader(file, reading, limit);
    CameraPixels loaded;
    loaded.pixels = DecodeImage(file, header, loaded.grey);
    if (loaded.pixels.depth() != CV_8U && loaded.pixels.depth() != CV_16U)
        RefuseImage(file, "signed or floating-point pixels", "pixels of 8 or 16 bits without sign");
    loaded.fullScale = loaded.pixels.depth() == CV_8U ? 255 : header.fullScale > 0 ? header.fullScale : 65535;
    return loaded;
}

CameraPixels UnpackCameraFrame(std::span<const std::uint8_t> bytes, const ImageReading& reading,
                               const std::string& name)
{
    const std::int64_t wanted = reading.rawOffset + FrameBytes(reading);
    if (static_cast<std::int64_t>(bytes.size()) != wanted)
        throw HostError({{name, std::to_string(bytes.size()) + " bytes", FrameText(reading, wanted)}});
    CameraPixels unpacked;
    unpacked.pixels = UnpackFrame(bytes.subspan(static_cast<std::size_t>(reading.rawOffset)), reading);
    unpacked.fullScale = FullScaleOf(reading.rawFormat);
    return unpacked;
}

} // namespace narvo
