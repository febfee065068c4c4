// SPDX-License-Identifier: MIT
// Image files through OpenCV's codecs, and frames without a header.
#include "host/image/grey_image.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>
#include <utility>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "host/image/camera_pixels.h"
#include "host/image/cv_image.h"
#include "host/image/grey_conversion.h"
#include "host/image/image_decoder.h"
#include "host/image/image_header.h"
#include "host/limits.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

constexpr int nWordPerByte = 257; // 16-bit full scale over 8-bit full scale

const char* const szLossless = "8-bit grey, or an image that 8-bit grey can hold without loss (equal colour channels, "
                               "16-bit values that are multiples of 257, no transparency)";

std::atomic<std::int64_t> maxPixels = nDefaultMaxPixels;

std::string PixelPlace(int x, int y)
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
                RefuseImage(file,
                            "colour (red " + std::to_string(source[2]) + ", green " + std::to_string(source[1]) +
                                ", blue " + std::to_string(source[0]) + PixelPlace(x, y) + ")",
                            szLossless);
            if ((channels == 2 || channels == 4) && source[channels - 1] != nFull)
                RefuseImage(file,
                            "transparency (alpha " + std::to_string(source[channels - 1]) + PixelPlace(x, y) + ")",
                            szLossless);
            if (sizeof(T) == 2 && source[0] % nWordPerByte != 0)
                RefuseImage(file, "16-bit value " + std::to_string(source[0]) + PixelPlace(x, y), szLossless);
            target[x] = static_cast<std::uint8_t>(sizeof(T) == 2 ? source[0] / nWordPerByte : source[0]);
        }
    }
    image.FillUpRows();
    return image;
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

void GreyImage::SetChannels(std::vector<GreyImage> channels)
{
    m_channels = std::make_shared<const std::vector<GreyImage>>(std::move(channels));
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
    CameraPixels loaded = LoadCameraPixels(file, reading, limit);
    ImageReading plain;
    plain.channel = reading.channel;
    const bool asItIs = plain == reading && reading.channel != Channel_Mixture;
    if (!loaded.grey.IsEmpty() && asItIs)
        return std::move(loaded.grey);
    return ConvertToGrey(loaded.pixels, loaded.fullScale, reading, "image " + file.string(), notes);
}

GreyImage LoadExactImage(const std::filesystem::path& file, std::int64_t limit)
{
    const ImageHeader header = ReadAllowedHeader(file, {}, limit);
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
        RefuseImage(file, "signed or floating-point pixels", szLossless);
    }
}

GreyImage ConvertRawFrame(std::span<const std::uint8_t> bytes, const ImageReading& reading, const std::string& name,
                          ConversionNotes* notes)
{
    const CameraPixels frame = UnpackCameraFrame(bytes, reading, name);
    return ConvertToGrey(frame.pixels, frame.fullScale, reading, name, notes);
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
