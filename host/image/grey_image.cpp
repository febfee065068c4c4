// SPDX-License-Identifier: MIT
// Image files through OpenCV's codecs, with the test that the step to 8-bit grey loses nothing.
#include "host/image/grey_image.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <utility>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "host/file/input_file.h"
#include "host/image/cv_image.h"
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

[[noreturn]] void Refuse(const std::filesystem::path& file, const std::string& value, const std::string& allowed)
{
    throw HostError({{"image " + file.string(), value, allowed}});
}

std::atomic<std::int64_t> maxPixels = nDefaultMaxPixels;

const char* const szImage = "an image file (PNG, TIFF, BMP, PGM, JPEG)";

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

/// Some decoders say of memory that ran out no more than of a damaged file.
bool HasMemory(std::int64_t bytes)
{
    char* const block = new (std::nothrow) char[static_cast<std::size_t>(bytes)];
    if (block != nullptr)
        *static_cast<volatile char*>(block) = 0; // or the compiler drops the allocation
    delete[] block;
    return block != nullptr;
}

/// The file's bytes, so that they can be decoded in place. None where it is larger than its pixels explain: it need not
/// be held in memory then.
std::string ReadOrdinaryFile(const std::filesystem::path& file, const ImageHeader& header)
{
    constexpr std::int64_t nMetadata = 1 << 16;
    const std::int64_t most = std::min<std::int64_t>(
        2 * header.width * header.height * header.bytesPerPixel + nMetadata, std::numeric_limits<int>::max());
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    std::string bytes;
    if (error || size > static_cast<std::uintmax_t>(most))
        return bytes;
    bytes.reserve(static_cast<std::size_t>(size));
    ReadFilePieces(file, "image " + file.string(), szImage,
                   [&](const char* piece, std::size_t count) { bytes.append(piece, count); });
    return bytes;
}

/// Hands a decoder the memory of a GreyImage where it wants a matrix of 8-bit grey.
class ImageAllocator : public cv::MatAllocator
{
public:
    cv::UMatData* allocate(int dimensions, const int* sizes, int type, void* data, std::size_t* step,
                           cv::AccessFlag flags, cv::UMatUsageFlags usage) const override
    {
        if (dimensions != 2 || type != CV_8UC1 || data != nullptr || step == nullptr)
            return cv::Mat::getDefaultAllocator()->allocate(dimensions, sizes, type, data, step, flags, usage);
        m_image = GreyImage(sizes[1], sizes[0]);
        auto made = std::make_unique<cv::UMatData>(this);
        step[0] = static_cast<std::size_t>(m_image.Stride());
        step[1] = 1;
        made->data = made->origdata = m_image.Row(0);
        made->size = step[0] * static_cast<std::size_t>(sizes[0]);
        return made.release();
    }
    bool allocate(cv::UMatData* data, cv::AccessFlag /*flags*/, cv::UMatUsageFlags /*usage*/) const override
    {
        return data != nullptr;
    }
    void deallocate(cv::UMatData* data) const override { delete data; } // the image keeps its pixels

    /// The image that the pixels lie in; empty where they lie elsewhere.
    GreyImage Take(cv::Mat& pixels) const
    {
        if (m_image.IsEmpty() || pixels.data != m_image.Row(0))
            return {};
        pixels.release();
        m_image.FillUpRows();
        return std::move(m_image);
    }

private:
    mutable GreyImage m_image;
};

/// Decodes into the allocator's image if it can.
cv::Mat Decode(const std::filesystem::path& file, const ImageHeader& header, ImageAllocator& allocator)
{
    cv::Mat loaded;
    try
    {
        std::string bytes = ReadOrdinaryFile(file, header);
        if (bytes.empty())
            loaded = cv::imread(file.string(), cv::IMREAD_UNCHANGED);
        else
        {
            loaded.allocator = &allocator;
            cv::imdecode(cv::Mat(1, static_cast<int>(bytes.size()), CV_8UC1, bytes.data()), cv::IMREAD_UNCHANGED,
                         &loaded);
        }
    }
    catch (const cv::Exception& error)
    {
        if (error.code == cv::Error::StsNoMem)
            throw std::bad_alloc();
        loaded.release();
    }
    if (loaded.empty() && !HasMemory(header.width * header.height * (header.bytesPerPixel + 1)))
        throw std::bad_alloc();
    if (loaded.empty())
        Refuse(file, "not an image, or damaged", szImage);
    return loaded;
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

GreyImage LoadGreyImage(const std::filesystem::path& file, std::int64_t limit)
{
    RequireReadableFile(file, "image " + file.string(), szImage);

    const std::optional<ImageHeader> header = ReadImageHeader(file);
    if (!header)
        Refuse(file, "not an image, or damaged", szImage);
    CheckHeader(file, *header, limit);
    ImageAllocator allocator;
    cv::Mat loaded = Decode(file, *header, allocator);
    if (GreyImage image = allocator.Take(loaded); !image.IsEmpty())
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

void SaveGreyImage(const std::filesystem::path& file, const GreyImage& image)
{
    SaveImage(file, ViewOf(image), "a writable place and a name ending in an image format (.png, .tif, .bmp, .pgm)");
}

} // namespace narvo
