// SPDX-License-Identifier: MIT
// Frames without a header against a plain stream of bits.
#include "host/image/raw_frame.h"

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

namespace narvo::test
{

namespace
{

/// Writes values one behind the other, the lowest bit of each into the lowest bit that is free.
std::vector<std::uint8_t> PackPlainly(const std::vector<int>& values, int bits)
{
    std::vector<std::uint8_t> bytes((values.size() * static_cast<std::size_t>(bits) + 7) / 8);
    std::size_t place = 0;
    for (const int value : values)
        for (int bit = 0; bit < bits; ++bit, ++place)
            if ((value >> bit & 1) != 0)
                bytes[place / 8] = static_cast<std::uint8_t>(bytes[place / 8] | 1U << place % 8);
    return bytes;
}

} // namespace

TEST(RawFrame, EveryPackingGivesBackWhatWasPacked)
{
    for (const int format :
         {RawFormat_Mono8, RawFormat_Mono10, RawFormat_Mono10p, RawFormat_Mono12, RawFormat_Mono12p, RawFormat_Mono16})
        for (const auto& [width, height] : {std::pair{1, 1}, {3, 1}, {5, 3}, {7, 5}, {16, 4}, {33, 9}})
        {
            ImageReading reading;
            reading.rawFormat = format;
            reading.rawWidth = width;
            reading.rawHeight = height;
            std::vector<int> values;
            for (int i = 0; i < width * height; ++i)
                values.push_back((i * 2654435 + i / 3 * 977 + 1) & FullScaleOf(format));
            const std::vector<std::uint8_t> bytes = PackPlainly(values, PackedBits(format));
            ASSERT_EQ(static_cast<std::int64_t>(bytes.size()), FrameBytes(reading));
            const cv::Mat frame = UnpackFrame(bytes, reading);
            ASSERT_EQ(frame.cols, width);
            ASSERT_EQ(frame.rows, height);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    ASSERT_EQ(format == RawFormat_Mono8 ? frame.at<std::uint8_t>(y, x) : frame.at<std::uint16_t>(y, x),
                              values[static_cast<std::size_t>(y * width + x)])
                        << RawFormatName(format) << " at " << x << ", " << y;
        }
}

TEST(RawFrame, PackedBytesAreThoseOfTheConvention)
{
    // 0x123 and 0xabc: lowest eight bits, then four bits of each, then the highest eight of the second.
    ImageReading reading;
    reading.rawFormat = RawFormat_Mono12p;
    reading.rawWidth = 2;
    reading.rawHeight = 1;
    const cv::Mat twelve = UnpackFrame(std::vector<std::uint8_t>{0x23, 0xc1, 0xab}, reading);
    EXPECT_EQ(twelve.at<std::uint16_t>(0, 0), 0x123);
    EXPECT_EQ(twelve.at<std::uint16_t>(0, 1), 0xabc);
    reading.rawFormat = RawFormat_Mono10p;
    reading.rawWidth = 4;
    const cv::Mat ten = UnpackFrame(std::vector<std::uint8_t>{0xff, 0x03, 0xf0, 0x3f, 0x00}, reading);
    for (int x = 0; x < 4; ++x)
        EXPECT_EQ(ten.at<std::uint16_t>(0, x), x % 2 == 0 ? 0x3ff : 0) << x;
}

} // namespace narvo::test
