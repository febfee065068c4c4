// SPDX-License-Identifier: MIT
// Levels by OpenCV where its single-precision arithmetic is exact enough to give the rounded value, by a table where
// not.
#include "host/image/levels.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace narvo
{

namespace
{

constexpr int nGreyHigh = 255;
// A quotient that is no half lies 1 / (2 * span) or more from the next one. Single precision errs by less than 4e-5 up
// to 256, so that a quarter of a span's share, added to each, settles the halves and moves no other value over one.
constexpr int nVectorSpan = 6000;

/// The smallest distance above `low` whose grey level is `grey` or more.
std::int64_t FirstOf(int grey, std::int64_t span)
{
    return grey == 0 ? 0 : (span * (2 * grey - 1) + 2 * nGreyHigh - 1) / (2 * nGreyHigh);
}

/// Grey levels of the values 0 .. `highest`.
std::vector<std::uint8_t> TableOf(int low, int high, int highest)
{
    std::vector<std::uint8_t> table(static_cast<std::size_t>(highest) + 1);
    const auto place = [&](int grey)
    { return static_cast<std::size_t>(std::clamp<std::int64_t>(low + FirstOf(grey, high - low), 0, highest + 1)); };
    for (int grey = 1; grey <= nGreyHigh; ++grey)
    {
        const std::size_t end = grey == nGreyHigh ? table.size() : place(grey + 1);
        std::fill(table.begin() + static_cast<std::ptrdiff_t>(place(grey)),
                  table.begin() + static_cast<std::ptrdiff_t>(end), static_cast<std::uint8_t>(grey));
    }
    return table;
}

template <typename T>
void LookUp(const cv::Mat& values, const std::vector<std::uint8_t>& table, cv::Mat& grey)
{
    for (int y = 0; y < values.rows; ++y)
    {
        const T* const source = values.ptr<T>(y);
        std::uint8_t* const target = grey.ptr<std::uint8_t>(y);
        for (int x = 0; x < values.cols; ++x)
            target[x] = table[source[x]];
    }
}

} // namespace

void ApplyLevels(const cv::Mat& values, int low, int high, cv::Mat& grey)
{
    const int highest = values.depth() == CV_8U ? 255 : 65535;
    const int span = high - low;
    if (low == 0 && high == nGreyHigh && values.depth() == CV_8U)
        values.copyTo(grey);
    else if (low >= 0 && low <= highest && span <= nVectorSpan)
    {
        cv::Mat above;
        if (low > 0)
            cv::subtract(values, cv::Scalar::all(low), above);
        else
            above = values;
        above.convertTo(grey, CV_8U, static_cast<double>(nGreyHigh) / span, 0.25 / span);
    }
    else if (values.depth() == CV_8U)
        LookUp<std::uint8_t>(values, TableOf(low, high, highest), grey);
    else
        LookUp<std::uint16_t>(values, TableOf(low, high, highest), grey);
}

bool IsExact(const cv::Mat& values, int low, int high)
{
    const std::int64_t span = high - low;
    for (int y = 0; y < values.rows; ++y)
        for (int x = 0; x < values.cols; ++x)
        {
            const std::int64_t above =
                (values.depth() == CV_8U ? values.at<std::uint8_t>(y, x) : values.at<std::uint16_t>(y, x)) - low;
            if (above < 0 || above > span || above * nGreyHigh % span != 0)
                return false;
        }
    return true;
}

} // namespace narvo
