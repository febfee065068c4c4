// SPDX-License-Identifier: MIT
// Image files through OpenCV's codecs, and frames without a header.
#include "host/image/grey_image.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>
#include <system_error>
#include <utility>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "host/file/input_file.h"
#include "host/image/cv_image.h"
#include "host/image/grey_conversion.h"
#include "host/image/image_decoder.h"
#include "host/image/image_header.h"
#include "host/image/raw_frame.h"
#include "host/limits.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

constexpr int nWordPerByte = 257; // 16-bit full scale over 8-bit full scale

const char* const szLossless = "8-bit grey, or an image that 8-bit grey can hold without loss (equal colour channels, "
                               "16-bit values that are multiples of 257, no transparency)";

[[noreturn]] void Refuse(const std::filesystem::path& file, const std::string& value, const std::string& allowed)
{
    throw HostError({{"image " + file.string(), value, allowed}});
}

std::atomic<std::int64_t> maxPixels = nDefaultMaxPixels;

std::string SizeText(std::int64_t width, std::int64_t height)
{
    return std::to_string(width) + " by " + std::to_string(height) + " pixels";
}

/// What is larger than allowed, or would be cut, is refused by its header: nothing has been decoded yet.
void CheckHeader(const std::filesystem::path& file, const ImageHeader& header, std::int64_t limit)
{
    if (header.width < 1 || header.height < 1)
        Refuse(file, SizeText(header.width, header.height), szImage);
    if (header.width > nImageSideLimit || header.height > nImageSideLimit)
        Refuse(file, SizeText(header.width, header.height),
               "sides of at most " + std::to_string(nImageSideLimit) + " pixels");
    const std::string most = std::to_string(limit) + " pixels, unless max-pixels allows more";
    if (header.width * header.height > limit)
        Refuse(file, SizeText(header.width, header.height), "at most " + most);
    if (header.tilePixels > limit)
        Refuse(file, "tiles of " + std::to_string(header.tilePixels) + " pixels", "at most " + most);
    if (header.width * header.height > nBytesPerMaxPixel * limit / header.bytesPerPixel)
        Refuse(file,
               SizeText(header.width, header.height) + " of " + std::to_string(header.bytesPerPixel) + " bytes each",
               "at most " + std::to_string(nBytesPerMaxPixel * limit) + " bytes, unless max-pixels allows more");
    if (header.pages > 1)
        Refuse(file, std::to_string(header.pages) + " pages", "a file of one page");
}

/// Bytes of a pixel once it is decoded and, of a mosaic, has its colours.
int DecodedBytes(int bytesPerPixel, const ImageReading& reading)
{
    return bytesPerPixel * (reading.bayer != Bayer_None && reading.demosaic != Demosaic_Off ? 3 : 1);
}

std::string Place(int x, int y)
{
    return " at column " + std::to_string(x) + ", row " + std::to_string(y);
}

template <typename T>
GreyImage ReduceToGrey(const std::filesystem::path& file, const cv::Mat& loaded)
{
    constexpr int nFull = sizeof(T) == 1 ? 255 : 65535;
    const int channels = loaded.channels();
    GreyImage image(loaded.cols, loaded.rows);
    for (int y = 0; y < loaded.rows; ++y)
    {
        const T* source = loaded.ptr<T>(y);
        std::uint8_t* target = image.Row(y);
        for (int x = 0; x < loaded.cols; ++x, source += channels)
        {
            if (channels >= 3 && (source[0] != source[1] || source[1] != source[2]))
                Refuse(file,
                       "colour (red " + std::to_string(source[2]) + ", green " + std::to_string(source[1]) + ", blue " +
                           std::to_string(source[0]) + Place(x, y) + ")",
                       szLossless);
            if ((channels == 2 || channels == 4) && source[channels - 1] != nFull)
                Refuse(file, "transparency (alpha " + std::to_string(source[channels - 1]) + Place(x, y) + ")",
                       szLossless);
            if (sizeof(T) == 2 && source[0] % nWordPerByte != 0)
                Refuse(file, "16-bit value " + std::to_string(source[0]) + Place(x, y), szLossless);
            target[x] = static_cast<std::uint8_t>(sizeof(T) == 2 ? source[0] / nWordPerByte : source[0]);
        }
    }
    image.FillUpRows();
    return image;
}

/// "3145728 bytes: 1024 by 1024 pixels of Mono10p behind 0 bytes".
std::string FrameText(const ImageReading& reading, std::int64_t bytes)
{
    return std::to_string(bytes) + " bytes: " + SizeText(reading.rawWidth, reading.rawHeight) + " of " +
           RawFormatName(reading.rawFormat) + " behind " + std::to_string(reading.rawOffset) + " bytes";
}

GreyImage LoadRawFrame(const std::filesystem::path& file, const ImageReading& reading, ConversionNotes* notes,
                       std::int64_t limit)
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
        Refuse(file, error ? "unreadable" : std::to_string(size) + " bytes", FrameText(reading, wanted));
    const std::string bytes = ReadTextFile(file, name, "a frame without a header");
    return ConvertRawFrame({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, reading, name, notes);
}

/// The header of a file whose image may be decoded. @throws HostError otherwise
ImageHeader ReadHeader(const std::filesystem::path& file, const ImageReading& reading, std::int64_t limit)
{
    RequireReadableFile(file, "image " + file.string(), szImage);
    const std::optional<ImageHeader> header = ReadImageHeader(file);
    if (!header)
        Refuse(file, "not an image, or damaged", szImage);
    ImageHeader decoded = *header;
    decoded.bytesPerPixel = DecodedBytes(header->bytesPerPixel, reading);
    CheckHeader(file, decoded, limit);
    return *header;
}

} // namespace

GreyImage::GreyImage(int width, int height, std::uint8_t value)
    : m_width(width), m_height(height), m_stride(RowLengthOf(width)),
      m_pixels(static_cast<std::size_t>(m_stride) * static_cast<std::size_t>(height), value)
{
}

GreyImage::GreyImage(const std::uint8_t* pixels, int width, int height, std::ptrdiff_t stride)
    : GreyImage(width, height)
{
    for (int y = 0; y < height; ++y)
    {
        std::uint8_t* target = Row(y);
        std::memcpy(target, pixels + y * stride, static_cast<std::size_t>(width));
    }
    FillUpRows();
}

void GreyImage::FillUpRows()
{
    for (int y = 0; y < m_height && m_stride != m_width; ++y)
        std::fill(Row(y) + m_width, Row(y) + m_stride, Row(y)[m_width - 1]);
}

GreyImage& GreyImage::operator=(const GreyImage& other)
{
    return *this = GreyImage(other);
}

std::int64_t MaxImagePixels()
{
    return maxPixels;
}

void SetMaxImagePixels(std::int64_t pixels)
{
    CheckMaxImagePixels(pixels);
    maxPixels = pixels;
}

void CheckMaxImagePixels(std::int64_t pixels)
{
    if (pixels < 1 || pixels > nHighestMaxPixels)
        throw HostError({{"max_pixels", std::to_string(pixels), "1 to " + std::to_string(nHighestMaxPixels)}});
}

GreyImage LoadGreyImage(const std::filesystem::path& file, const ImageReading& reading, ConversionNotes* notes,
                        std::int64_t limit)
{
    if (reading.rawFormat != RawFormat_None)
        return LoadRawFrame(file, reading, notes, limit);
    const ImageHeader header = ReadHeader(file, reading, limit);
    GreyImage image;
    const cv::Mat loaded = DecodeImage(file, header, image);
    const bool asItIs = ImageReading{reading.channel} == reading && reading.channel != Channel_Mixture;
    if (!image.IsEmpty() && asItIs)
        return image;
    if (loaded.depth() != CV_8U && loaded.depth() != CV_16U)
        Refuse(file, "signed or floating-point pixels", "pixels of 8 or 16 bits without sign");
    const int fullScale = loaded.depth() == CV_8U ? 255 : header.fullScale > 0 ? header.fullScale : 65535;
    return ConvertToGrey(loaded, fullScale, reading, "image " + file.string(), notes);
}

GreyImage LoadExactImage(const std::filesystem::path& file, std::int64_t limit)
{
    const ImageHeader header = ReadHeader(file, {}, limit);
    GreyImage image;
    const cv::Mat loaded = DecodeImage(file, header, image);
    if (!image.IsEmpty())
        return image;
    switch (loaded.depth())
    {
    case CV_8U:
        return ReduceToGrey<std::uint8_t>(file, loaded);
    case CV_16U:
        return ReduceToGrey<std::uint16_t>(file, loaded);
    default:
        Refuse(file, "signed or floating-point pixels", szLossless);
    }
}

GreyImage ConvertRawFrame(std::span<const std::uint8_t> bytes, const ImageReading& reading, const std::string& name,
                          ConversionNotes* notes)
{
    const std::int64_t wanted = reading.rawOffset + FrameBytes(reading);
    if (static_cast<std::int64_t>(bytes.size()) != wanted)
        throw HostError({{name, std::to_string(bytes.size()) + " bytes", FrameText(reading, wanted)}});
    const cv::Mat frame = UnpackFrame(bytes.subspan(static_cast<std::size_t>(reading.rawOffset)), reading);
    return ConvertToGrey(frame, FullScaleOf(reading.rawFormat), reading, name, notes);
}

GreyImage ConvertPixels(const PixelBlock& block, const ImageReading& reading, const std::string& name,
                        ConversionNotes* notes)
{
    const bool wide = block.bytesPerChannel == 2;
    const cv::Mat pixels(block.height, block.width, CV_MAKETYPE(wide ? CV_16U : CV_8U, block.channels),
                         const_cast<void*>(block.pixels));
    cv::Mat ordered; // never the caller's own memory, which OpenCV would write to
    if (block.channels >= 3)
        cv::cvtColor(pixels, ordered, block.channels == 3 ? cv::COLOR_RGB2BGR : cv::COLOR_RGBA2BGRA);
    else
        ordered = pixels;
    return ConvertToGrey(ordered, wide ? 65535 : 255, reading, name, notes);
}

void SaveGreyImage(const std::filesystem::path& file, const GreyImage& image)
{
    SaveImage(file, ViewOf(image), "a writable place and a name ending in an image format (.png, .tif, .bmp, .pgm)");
}

} // namespace narvo
