// SPDX-License-Identifier: MIT
// Levels against the plain quotient, for every value that pixels can hold.
#include "host/image/levels.h"

#include <algorithm>
#include <cstdint>

#include <gtest/gtest.h>

namespace narvo::test
{

namespace
{

/// Rounded to the nearest, halves up, by whole numbers alone.
int PlainLevel(std::int64_t value, std::int64_t low, std::int64_t high)
{
    const std::int64_t span = high - low;
    const std::int64_t above = std::clamp<std::int64_t>(value - low, 0, span);
    return static_cast<int>((2 * 255 * above + span) / (2 * span));
}

template <typename T>
void ExpectPlainLevels(int type, int highest, int low, int high)
{
    cv::Mat values(1, highest + 1, type);
    for (int value = 0; value <= highest; ++value)
        values.at<T>(0, value) = static_cast<T>(value);
    cv::Mat grey(1, highest + 1, CV_8UC1, cv::Scalar(77));
    const cv::Mat before = values.clone();
    ApplyLevels(values, low, high, grey);
    ASSERT_EQ(cv::countNonZero(before != values), 0) << "the values are the caller's";
    for (int value = 0; value <= highest; ++value)
        ASSERT_EQ(grey.at<std::uint8_t>(0, value), PlainLevel(value, low, high))
            << value << " between " << low << " and " << high;
}

} // namespace

TEST(Levels, EverySixteenBitValueBecomesItsRoundedQuotient)
{
    for (const auto& [low, high] : {std::pair{0, 65535},
                                    {0, 1023},
                                    {0, 4095},
                                    {0, 16383},
                                    {0, 510},
                                    {0, 90},
                                    {100, 3900},
                                    {60000, 60100},
                                    {65000, 65535},
                                    {0, 1},
                                    {-500, 4095},
                                    {0, 100000},
                                    {70000, 90000},
                                    {-300000, 400000},
                                    {12, 6012},
                                    {12, 6013}})
        ExpectPlainLevels<std::uint16_t>(CV_16UC1, 65535, low, high);
}

TEST(Levels, EverySpanThatTheVectorArithmeticTakesIsExact)
{
    // Spans with a common factor of 510 have halves; all that are short are tried, the longer ones by the hundred.
    for (int span = 1; span <= 6000; span += span < 600 ? 1 : 101)
        ExpectPlainLevels<std::uint16_t>(CV_16UC1, 6100, 50, 50 + span);
    ExpectPlainLevels<std::uint16_t>(CV_16UC1, 6100, 50, 6050);
    ExpectPlainLevels<std::uint16_t>(CV_16UC1, 6100, 0, 5610);
}

TEST(Levels, EightBitValuesAreTakenTheSameWay)
{
    for (const auto& [low, high] :
         {std::pair{0, 255}, {0, 254}, {10, 200}, {-20, 255}, {0, 510}, {300, 400}, {254, 255}})
        ExpectPlainLevels<std::uint8_t>(CV_8UC1, 255, low, high);
}

TEST(Levels, OnlyValuesWithAGreyLevelOfTheirOwnAreExact)
{
    const cv::Mat exact = (cv::Mat_<std::uint16_t>(1, 3) << 0, 257, 65535);
    EXPECT_TRUE(IsExact(exact, 0, 65535));
    const cv::Mat between = (cv::Mat_<std::uint16_t>(1, 3) << 0, 258, 65535);
    EXPECT_FALSE(IsExact(between, 0, 65535));
    EXPECT_FALSE(IsExact(exact, 1, 65535));
    EXPECT_FALSE(IsExact(exact, 0, 65534));
}

} // namespace narvo::test
