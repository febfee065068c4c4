// Image files through OpenCV's codecs, with the test that the step to 8-bit grey loses nothing.
#include "host/image/grey_image.h"

#include <algorithm>
#include <cstring>
#include <string>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "host/file/input_file.h"
#include "host/image/cv_image.h"
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
        std::fill(target + loaded.cols, target + image.Stride(), target[loaded.cols - 1]);
    }
    return image;
}

} // namespace

GreyImage::GreyImage(int width, int height, std::uint8_t value)
    : m_width(width), m_height(height), m_stride((width + nRowMultiple - 1) / nRowMultiple * nRowMultiple),
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
        std::fill(target + width, target + m_stride, target[width - 1]);
    }
}

GreyImage& GreyImage::operator=(const GreyImage& other)
{
    return *this = GreyImage(other);
}

GreyImage LoadGreyImage(const std::filesystem::path& file)
{
    RequireReadableFile(file, "image " + file.string(), "an image file (PNG, TIFF, BMP, PGM, JPEG)");

    cv::Mat loaded;
    try
    {
        loaded = cv::imread(file.string(), cv::IMREAD_UNCHANGED);
    }
    catch (const cv::Exception&)
    {
        loaded.release();
    }
    if (loaded.empty())
        Refuse(file, "not an image, or damaged", "an image file (PNG, TIFF, BMP, PGM, JPEG)");

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

void SaveGreyImage(const std::filesystem::path& file, const GreyImage& image)
{
    SaveImage(file, ViewOf(image), "a writable place and a name ending in an image format (.png, .tif, .bmp, .pgm)");
}

} // namespace narvo
