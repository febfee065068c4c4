// SPDX-License-Identifier: MIT
// Channels, mixtures and mosaics against plain scalar arithmetic.
#include "host/image/colour.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include <gtest/gtest.h>

namespace narvo::test
{

namespace
{

template <typename T>
cv::Mat Scene(int width, int height, int channels)
{
    cv::Mat scene(height, width, CV_MAKETYPE(sizeof(T) == 1 ? CV_8U : CV_16U, channels));
    cv::RNG random(static_cast<std::uint64_t>(width * 31 + height + channels));
    random.fill(scene, cv::RNG::UNIFORM, 0, sizeof(T) == 1 ? 256 : 65536);
    return scene;
}

template <typename T>
const T* PixelAt(const cv::Mat& image, int x, int y)
{
    return image.ptr<T>(y) + static_cast<std::ptrdiff_t>(x) * image.channels();
}

template <typename T>
void ExpectPlainChannels(int channels)
{
    const cv::Mat scene = Scene<T>(67, 21, channels);
    ImageReading reading;
    for (const int channel : {Channel_Auto, Channel_Luma, Channel_Red, Channel_Green, Channel_Blue})
    {
        reading.channel = channel;
        const cv::Mat found = ChannelOf(scene, reading);
        for (int y = 0; y < scene.rows; ++y)
            for (int x = 0; x < scene.cols; ++x)
            {
                const T* const pixel = PixelAt<T>(scene, x, y); // blue, green, red
                // 0.299, 0.587 and 0.114 in 1/32768, which sum to 1.
                const std::int64_t luma = (9798L * pixel[2] + 19235L * pixel[1] + 3735L * pixel[0] + 16384) >> 15;
                const std::int64_t wanted = channel == Channel_Red     ? pixel[2]
                                            : channel == Channel_Green ? pixel[1]
                                            : channel == Channel_Blue  ? pixel[0]
                                                                       : luma;
                ASSERT_EQ(*PixelAt<T>(found, x, y), wanted) << channel << " at " << x << ", " << y;
            }
    }
}

/// The colour filter over a pixel: 0 blue, 1 green, 2 red.
int FilterAt(int bayer, int x, int y)
{
    static constexpr const char* patterns[] = {"", "rggb", "grbg", "gbrg", "bggr"};
    const char filter = patterns[bayer][y % 2 * 2 + x % 2];
    return filter == 'b' ? 0 : filter == 'g' ? 1 : 2;
}

/// The rounded mean of a pixel's neighbours under a filter: the pixel itself where it lies under it, otherwise the two
/// or four nearest.
template <typename T>
int PlainColour(const cv::Mat& mosaic, int bayer, int x, int y, int colour)
{
    if (FilterAt(bayer, x, y) == colour)
        return mosaic.at<T>(y, x);
    for (const int distance : {1, 2}) // along the axes, then diagonally
    {
        int sum = 0;
        int count = 0;
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx)
                if (std::abs(dx) + std::abs(dy) == distance && FilterAt(bayer, x + dx + 2, y + dy + 2) == colour)
                {
                    sum += mosaic.at<T>(y + dy, x + dx);
                    ++count;
                }
        if (count > 0)
            return (sum + count / 2) / count;
    }
    return -1;
}

} // namespace

TEST(Colour, ChannelsAndLumaAreThePlainOnes)
{
    for (const int channels : {3, 4})
    {
        ExpectPlainChannels<std::uint8_t>(channels);
        ExpectPlainChannels<std::uint16_t>(channels);
    }
}

TEST(Colour, EqualChannelsHaveThatLuma)
{
    cv::Mat grey(1, 65536, CV_16UC3);
    for (int x = 0; x < grey.cols; ++x)
        grey.at<cv::Vec3w>(0, x) = cv::Vec3w::all(static_cast<std::uint16_t>(x));
    const cv::Mat luma = ChannelOf(grey, {});
    for (int x = 0; x < grey.cols; ++x)
        ASSERT_EQ(luma.at<std::uint16_t>(0, x), x);
}

TEST(Colour, MixtureIsTheWeightedSumBetweenTheLevels)
{
    ImageReading reading;
    reading.channel = Channel_Mixture;
    reading.weightRed = 0.9;
    reading.weightGreen = -1.25;
    reading.weightBlue = 0.4;
    for (const auto& [low, high] : {std::pair{-200, 255}, {0, 100}})
        for (const int channels : {1, 3, 4})
        {
            const cv::Mat scene = Scene<std::uint8_t>(53, 17, channels);
            cv::Mat grey(scene.size(), CV_8UC1);
            MixChannels(scene, reading, low, high, grey);
            for (int y = 0; y < scene.rows; ++y)
                for (int x = 0; x < scene.cols; ++x)
                {
                    const std::uint8_t* const pixel = PixelAt<std::uint8_t>(scene, x, y);
                    const double sum = channels == 1 ? (0.4 + -1.25 + 0.9) * pixel[0]
                                                     : 0.9 * pixel[2] + -1.25 * pixel[1] + 0.4 * pixel[0];
                    const double level = std::clamp((sum - low) * 255.0 / (high - low), 0.0, 255.0);
                    // Either neighbour where the sum falls on a half, to the last digits of double precision.
                    ASSERT_NEAR(grey.at<std::uint8_t>(y, x), level, 0.5 + 1e-9) << x << ", " << y;
                }
        }
}

TEST(Colour, MosaicGivesTheMeansOfNeighboursUnderEachFilter)
{
    ImageReading reading;
    for (const int bayer : {Bayer_Rggb, Bayer_Grbg, Bayer_Gbrg, Bayer_Bggr})
    {
        reading.bayer = bayer;
        const cv::Mat eight = Scene<std::uint8_t>(38, 23, 1);
        const cv::Mat sixteen = Scene<std::uint16_t>(37, 22, 1);
        const cv::Mat colours = ColoursOfMosaic(eight, reading);
        const cv::Mat wide = ColoursOfMosaic(sixteen, reading);
        for (int y = 1; y < 21; ++y)
            for (int x = 1; x < 36; ++x)
                for (int colour = 0; colour < 3; ++colour)
                {
                    ASSERT_EQ(colours.at<cv::Vec3b>(y, x)[colour],
                              PlainColour<std::uint8_t>(eight, bayer, x, y, colour))
                        << "pattern " << bayer << ", colour " << colour << " at " << x << ", " << y;
                    ASSERT_EQ(wide.at<cv::Vec3w>(y, x)[colour],
                              PlainColour<std::uint16_t>(sixteen, bayer, x, y, colour))
                        << "pattern " << bayer << ", colour " << colour << " at " << x << ", " << y;
                }
        // The outermost rows and columns repeat those beside them.
        for (int y = 0; y < 23; ++y)
            EXPECT_EQ(colours.at<cv::Vec3b>(y, 0), colours.at<cv::Vec3b>(y, 1));
        for (int x = 0; x < 38; ++x)
            EXPECT_EQ(colours.at<cv::Vec3b>(22, x), colours.at<cv::Vec3b>(21, x));
    }
}

TEST(Colour, EdgeAwareMosaicFollowsAnEdge)
{
    // A step from left to right: green between rows of one side takes nothing from the other.
    cv::Mat mosaic(20, 20, CV_8UC1);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            mosaic.at<std::uint8_t>(y, x) = x < 10 ? 40 : 200;
    ImageReading reading;
    reading.bayer = Bayer_Rggb;
    reading.demosaic = Demosaic_EdgeAware;
    const cv::Mat colours = ColoursOfMosaic(mosaic, reading);
    for (int y = 2; y < 18; ++y)
        for (int x = 2; x < 18; ++x)
            EXPECT_EQ(colours.at<cv::Vec3b>(y, x)[1], x < 10 ? 40 : 200) << x << ", " << y;
}

TEST(Colour, TwoCountsBetweenChannelsAreGrey)
{
    cv::Mat scene(9, 9, CV_8UC3, cv::Scalar(90, 90, 90));
    scene.at<cv::Vec3b>(4, 4) = {90, 92, 91};
    EXPECT_FALSE(IsColoured(scene));
    scene.at<cv::Vec3b>(8, 8) = {90, 93, 91};
    EXPECT_TRUE(IsColoured(scene));
    EXPECT_FALSE(IsColoured(cv::Mat(3, 3, CV_8UC1, cv::Scalar(7))));
}

} // namespace narvo::test
