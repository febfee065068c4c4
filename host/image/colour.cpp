// SPDX-License-Identifier: MIT
// Channels and mosaics by OpenCV, whose integer arithmetic is the same on every processor; mixtures by a loop of our
// own, since OpenCV's depends on whether the processor multiplies and adds in one step.
#include "host/image/colour.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include <opencv2/imgproc.hpp>

namespace narvo
{

namespace
{

constexpr int nEqualColours = 2; // of 255

template <typename T>
void MixRow(const T* source, int channels, int count, const double (&weights)[3], double low, double scale,
            std::uint8_t* target)
{
    const int green = channels == 1 ? 0 : 1;
    const int red = channels == 1 ? 0 : 2;
    for (int x = 0; x < count; ++x, source += channels)
    {
        const double sum = weights[0] * source[0] + weights[1] * source[green] + weights[2] * source[red];
        const double level = (sum - low) * scale + 0.5;
        target[x] = static_cast<std::uint8_t>(std::min(std::max(level, 0.0), 255.0));
    }
}

template <typename T>
bool HasColours(const cv::Mat& pixels)
{
    constexpr int nLimit = sizeof(T) == 1 ? nEqualColours : nEqualColours * 257;
    const int channels = pixels.channels();
    for (int y = 0; y < pixels.rows; ++y)
    {
        const T* pixel = pixels.ptr<T>(y);
        int difference = 0;
        for (int x = 0; x < pixels.cols; ++x, pixel += channels)
            difference = std::max({difference, std::abs(pixel[0] - pixel[1]), std::abs(pixel[1] - pixel[2]),
                                   std::abs(pixel[0] - pixel[2])});
        if (difference > nLimit)
            return true;
    }
    return false;
}

} // namespace

cv::Mat ColoursOfMosaic(const cv::Mat& mosaic, const ImageReading& reading)
{
    // OpenCV names a pattern by the second and third pixel of its second row.
    static constexpr int bilinear[] = {cv::COLOR_BayerBG2BGR, cv::COLOR_BayerGB2BGR, cv::COLOR_BayerGR2BGR,
                                       cv::COLOR_BayerRG2BGR};
    static constexpr int edgeAware[] = {cv::COLOR_BayerBG2BGR_EA, cv::COLOR_BayerGB2BGR_EA, cv::COLOR_BayerGR2BGR_EA,
                                        cv::COLOR_BayerRG2BGR_EA};
    const auto pattern = static_cast<std::size_t>(reading.bayer - Bayer_Rggb);
    cv::Mat colours;
    cv::cvtColor(mosaic, colours, reading.demosaic == Demosaic_EdgeAware ? edgeAware[pattern] : bilinear[pattern]);
    return colours;
}

cv::Mat ChannelOf(const cv::Mat& pixels, const ImageReading& reading)
{
    if (pixels.channels() == 1)
        return pixels;
    cv::Mat channel;
    switch (reading.channel)
    {
    case Channel_Red:
    case Channel_Green:
    case Channel_Blue:
        cv::extractChannel(pixels, channel, Channel_Blue - reading.channel);
        break;
    default:
        cv::cvtColor(pixels, channel, pixels.channels() == 4 ? cv::COLOR_BGRA2GRAY : cv::COLOR_BGR2GRAY);
    }
    return channel;
}

void MixChannels(const cv::Mat& pixels, const ImageReading& reading, int low, int high, cv::Mat& grey)
{
    const double weights[3] = {reading.weightBlue, reading.weightGreen, reading.weightRed};
    const double scale = 255.0 / (high - low);
    for (int y = 0; y < pixels.rows; ++y)
        if (pixels.depth() == CV_8U)
            MixRow(pixels.ptr<std::uint8_t>(y), pixels.channels(), pixels.cols, weights, low, scale,
                   grey.ptr<std::uint8_t>(y));
        else
            MixRow(pixels.ptr<std::uint16_t>(y), pixels.channels(), pixels.cols, weights, low, scale,
                   grey.ptr<std::uint8_t>(y));
}

bool IsColoured(const cv::Mat& pixels)
{
    if (pixels.channels() < 3)
        return false;
    return pixels.depth() == CV_8U ? HasColours<std::uint8_t>(pixels) : HasColours<std::uint16_t>(pixels);
}

bool IsTransparent(const cv::Mat& pixels)
{
    if (pixels.channels() != 4)
        return false;
    cv::Mat alpha;
    cv::extractChannel(pixels, alpha, 3);
    double low = 0.0;
    cv::minMaxLoc(alpha, &low, nullptr);
    return low < (pixels.depth() == CV_8U ? 255.0 : 65535.0);
}

} // namespace narvo
