// SPDX-License-Identifier: MIT
// The checks of images that a host hands over, and the exception of the host library.
#include "host/library/translate.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <opencv2/core.hpp>

#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/image/grey_conversion.h"
#include "host/limits.h"
#include "narvo/host_images.h"

namespace narvo::v1
{

namespace
{

std::string LinesOf(const std::vector<Problem>& problems)
{
    std::string lines;
    for (const Problem& problem : problems)
    {
        if (!lines.empty())
            lines += '\n';
        lines += narvo::Problem{problem.field, problem.value, problem.allowed}.Text();
    }
    return lines;
}

} // namespace

Error::Error(std::vector<Problem> problems) : m_problems(std::move(problems)), m_text(LinesOf(m_problems))
{
}

Error::~Error() = default;

const char* Error::what() const noexcept
{
    return m_text.c_str();
}

WriteError::WriteError(std::vector<Problem> problems) : Error(std::move(problems))
{
}

WriteError::~WriteError() = default;

std::string Printable(const std::string& text)
{
    return narvo::Printable(text);
}

} // namespace narvo::v1

namespace narvo::library
{

namespace
{

/// A row never needs more, and a whole image stays within 64 bits.
constexpr std::ptrdiff_t nStrideLimit = 1073741824;

} // namespace

std::vector<v1::Problem> PublicProblems(const std::vector<Problem>& problems)
{
    std::vector<v1::Problem> made;
    made.reserve(problems.size());
    for (const Problem& problem : problems)
        made.push_back({problem.field, problem.value, problem.allowed});
    return made;
}

void ThrowPublic(const HostError& error)
{
    if (dynamic_cast<const WriteError*>(&error) != nullptr)
        throw v1::WriteError(PublicProblems(error.Problems()));
    throw v1::Error(PublicProblems(error.Problems()));
}

std::ptrdiff_t CheckedStride(const v1::ImagePixels& image, const std::string& name)
{
    std::vector<Problem> found;
    const auto refuse = [&](const char* field, const std::string& value, const std::string& allowed) {
        found.push_back({name + '.' + field, value, allowed});
    };
    const std::string sides = "1 to " + std::to_string(nImageSideLimit);

    if (image.pixels == nullptr)
        refuse("pixels", "null", "where the pixels lie");
    if (image.width < 1 || image.width > nImageSideLimit)
        refuse("width", std::to_string(image.width), sides);
    if (image.height < 1 || image.height > nImageSideLimit)
        refuse("height", std::to_string(image.height), sides);
    if (image.bits < 8 || image.bits > 16)
        refuse("bits", std::to_string(image.bits), "8 to 16");
    ThrowIfAny(found);

    const std::int64_t pixels = static_cast<std::int64_t>(image.width) * image.height;
    if (pixels > nHighestMaxPixels)
        refuse("width", std::to_string(image.width) + " by " + std::to_string(image.height) + " pixels",
               "at most " + std::to_string(nHighestMaxPixels) + " pixels");
    const bool wide = image.bits > 8;
    const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(image.width) * (wide ? 2 : 1);
    const std::ptrdiff_t stride = image.stride == 0 ? row : image.stride;
    if (stride < row || stride > nStrideLimit || (wide && stride % 2 != 0))
        refuse("stride", std::to_string(image.stride),
               std::to_string(row) + " to " + std::to_string(nStrideLimit) + (wide ? ", even" : "") +
                   ", or 0 for rows without gaps");
    if (wide && reinterpret_cast<std::uintptr_t>(image.pixels) % 2 != 0)
        refuse("pixels", "an odd address", "an even address for more than 8 bits");
    ThrowIfAny(std::move(found));
    return stride;
}

GreyImage ExactCopy(const v1::ImagePixels& image, const std::string& name)
{
    const std::ptrdiff_t stride = CheckedStride(image, name);
    if (image.bits != 8)
        throw HostError({{name + ".bits", std::to_string(image.bits), "8"}});
    return {static_cast<const std::uint8_t*>(image.pixels), image.width, image.height, stride};
}

GreyView ReadableView(const v1::ImagePixels& image, const ImageReading& reading, GreyImage& copy,
                      const std::string& name)
{
    const std::ptrdiff_t stride = CheckedStride(image, name);
    if (image.bits == 8)
    {
        const auto* pixels = static_cast<const std::uint8_t*>(image.pixels);
        // What lies in gaps between rows must not matter, so images with gaps are copied.
        if (stride == image.width && image.width % nRowMultiple == 0)
            return {pixels, image.width, image.height};
        copy = GreyImage(pixels, image.width, image.height, stride);
        return copy;
    }
    // OpenCV knows no pixels that are only read; nothing writes to these.
    const cv::Mat pixels(image.height, image.width, CV_16UC1, const_cast<void*>(image.pixels),
                         static_cast<std::size_t>(stride));
    copy = ConvertToGrey(pixels, (1 << image.bits) - 1, reading, name, nullptr);
    return copy;
}

GreyImage GreyCopy(const v1::ImagePixels& image, const std::string& name)
{
    GreyImage copy;
    const GreyView view = ReadableView(image, {}, copy, name);
    return copy.IsEmpty() ? GreyImage(view.Row(0), view.Width(), view.Height(), view.Stride()) : std::move(copy);
}

PixelBlock LayerBlock(const v1::PixelArray& array, const std::string& name, std::int64_t highestSide,
                      std::int64_t highestPixels)
{
    std::vector<Problem> found;
    const auto refuse = [&](const char* field, const std::string& value, const std::string& allowed) {
        found.push_back({name + '.' + field, value, allowed});
    };
    const std::string sides = "1 to " + std::to_string(highestSide);
    if (array.pixels == nullptr)
        refuse("pixels", "null", "where the pixels lie");
    if (array.width < 1 || array.width > highestSide)
        refuse("width", std::to_string(array.width), sides);
    if (array.height < 1 || array.height > highestSide)
        refuse("height", std::to_string(array.height), sides);
    if (array.channels != 1 && array.channels != 3 && array.channels != 4)
        refuse("channels", std::to_string(array.channels), "1, 3 or 4");
    if (array.bits != 8 && array.bits != 16)
        refuse("bits", std::to_string(array.bits), "8 or 16");
    else if (array.bits == 16 && reinterpret_cast<std::uintptr_t>(array.pixels) % 2 != 0)
        refuse("pixels", "an odd address", "an even address for more than 8 bits");
    ThrowIfAny(std::move(found));
    if (std::int64_t{array.width} * array.height > highestPixels)
        throw HostError(
            {{name + ".width", std::to_string(array.width) + " by " + std::to_string(array.height) + " pixels",
              "at most " + std::to_string(highestPixels) + " pixels"}});
    return {array.pixels, array.width, array.height, array.channels, array.bits / 8};
}

} // namespace narvo::library
