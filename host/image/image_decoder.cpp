// SPDX-License-Identifier: MIT
// OpenCV's codecs, with the memory of a GreyImage where they can use it.
#include "host/image/image_decoder.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <utility>

#include <opencv2/imgcodecs.hpp>

#include "host/file/input_file.h"
#include "host/image/cv_image.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

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
        throw HostError({{"image " + file.string(), "not an image, or damaged", szImage}});
    return loaded;
}

} // namespace

cv::Mat DecodeImage(const std::filesystem::path& file, const ImageHeader& header, GreyImage& image)
{
    ImageAllocator allocator;
    cv::Mat loaded = Decode(file, header, allocator);
    image = allocator.Take(loaded);
    loaded.allocator = nullptr; // the allocator ends here
    return image.IsEmpty() ? loaded : ViewOf(image);
}

} // namespace narvo
