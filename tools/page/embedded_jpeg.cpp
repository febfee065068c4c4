// SPDX-License-Identifier: MIT
// JPEG encoding with OpenCV, and its bytes as text.
#include "tools/page/embedded_jpeg.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "host/problem.h"

namespace narvo::tools
{

namespace
{

constexpr int nOverviewQuality = 82;

std::string ToBase64(const std::vector<std::uint8_t>& bytes)
{
    static constexpr char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3)
    {
        const std::size_t left = bytes.size() - i;
        const unsigned group = unsigned{bytes[i]} << 16 | (left > 1 ? unsigned{bytes[i + 1]} << 8 : 0U) |
                               (left > 2 ? unsigned{bytes[i + 2]} : 0U);
        text += letters[group >> 18];
        text += letters[group >> 12 & 63];
        text += left > 1 ? letters[group >> 6 & 63] : '=';
        text += left > 2 ? letters[group & 63] : '=';
    }
    return text;
}

} // namespace

std::string EncodeJpeg(const cv::Mat& picture, int quality)
{
    std::vector<std::uint8_t> bytes;
    if (!cv::imencode(".jpg", picture, bytes, {cv::IMWRITE_JPEG_QUALITY, quality, cv::IMWRITE_JPEG_OPTIMIZE, 1}))
        throw HostError({{"report", "a picture could not be encoded", "JPEG"}});
    return "data:image/jpeg;base64," + ToBase64(bytes);
}

std::string MakeOverview(const GreyImage& image, double pixels)
{
    const cv::Mat full(image.Height(), image.Width(), CV_8UC1, const_cast<std::uint8_t*>(image.Row(0)),
                       static_cast<std::size_t>(image.Stride()));
    const double scale = std::min(1.0, std::sqrt(pixels / (static_cast<double>(image.Width()) * image.Height())));
    if (scale >= 1.0)
        return EncodeJpeg(full, nOverviewQuality);
    cv::Mat reduced;
    const cv::Size size(std::max(1, static_cast<int>(image.Width() * scale)),
                        std::max(1, static_cast<int>(image.Height() * scale)));
    cv::resize(full, reduced, size, 0, 0, cv::INTER_AREA);
    return EncodeJpeg(reduced, nOverviewQuality);
}

} // namespace narvo::tools
