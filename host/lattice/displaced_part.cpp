// SPDX-License-Identifier: MIT
// The displacement is the same for all pixels, so that rows and columns are interpolated one after the other, by four
// weights each.
#include "host/lattice/displaced_part.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace narvo
{

namespace
{

constexpr int nParts = 32;      // of a pixel
constexpr float fBend = -0.75F; // of the cubic kernel
constexpr int nTaps = 4;

using Weights = std::array<float, nTaps>;

/// Of the pixels from the one before the place on, which lies `part` behind the second.
Weights CubicWeights(float part)
{
    const auto near = [](float d) { return ((fBend + 2.0F) * d - (fBend + 3.0F)) * d * d + 1.0F; };
    const float before = part + 1.0F;
    Weights weights{((fBend * before - 5.0F * fBend) * before + 8.0F * fBend) * before - 4.0F * fBend, near(part),
                    near(1.0F - part), 0.0F};
    weights[3] = 1.0F - weights[0] - weights[1] - weights[2];
    return weights;
}

/// A coordinate as whole pixels and the weights of what is left.
struct SamplePlace
{
    int whole;
    bool between; ///< not on a pixel
    Weights weights;
};

SamplePlace PlaceOf(double coordinate)
{
    const int parts = static_cast<int>(std::lround(coordinate * nParts));
    const int rest = ((parts % nParts) + nParts) % nParts;
    return {(parts - rest) / nParts, rest != 0, CubicWeights(static_cast<float>(rest) / nParts)};
}

void InterpolateRow(const std::uint8_t* pixels, const SamplePlace& place, float* line, int width)
{
    const std::uint8_t* at = pixels + place.whole;
    if (!place.between)
    {
        for (int x = 0; x < width; ++x)
            line[x] = static_cast<float>(at[x]);
        return;
    }
    const auto [a, b, c, d] = place.weights;
    for (int x = 0; x < width; ++x)
        line[x] = a * static_cast<float>(at[x - 1]) + b * static_cast<float>(at[x]) +
                  c * static_cast<float>(at[x + 1]) + d * static_cast<float>(at[x + 2]);
}

std::uint8_t RoundedGrey(float grey)
{
    return static_cast<std::uint8_t>(std::min(std::max(grey + 0.5F, 0.0F), 255.0F));
}

} // namespace

void FillDisplaced(const cv::Mat& picture, double x, double y, cv::Mat& target, std::vector<float>& lines)
{
    const SamplePlace across = PlaceOf(x);
    const SamplePlace down = PlaceOf(y);
    const int width = target.cols;
    if (!across.between && !down.between)
    {
        picture(cv::Rect(across.whole, down.whole, width, target.rows)).copyTo(target);
        return;
    }
    // The rows that the target's first to last one look at.
    const int first = down.between ? -1 : 0;
    const int count = target.rows + (down.between ? nTaps - 1 : 0);
    lines.resize(static_cast<std::size_t>(count) * static_cast<std::size_t>(width));
    for (int row = 0; row < count; ++row)
        InterpolateRow(picture.ptr<std::uint8_t>(down.whole + first + row), across,
                       lines.data() + static_cast<std::ptrdiff_t>(row) * width, width);
    for (int row = 0; row < target.rows; ++row)
    {
        std::uint8_t* pixels = target.ptr<std::uint8_t>(row);
        const float* line = lines.data() + static_cast<std::ptrdiff_t>(row) * width;
        if (!down.between)
        {
            for (int i = 0; i < width; ++i)
                pixels[i] = RoundedGrey(line[i]);
            continue;
        }
        const auto [a, b, c, d] = down.weights;
        const float* second = line + width;
        const float* third = second + width;
        const float* fourth = third + width;
        for (int i = 0; i < width; ++i)
            pixels[i] = RoundedGrey(a * line[i] + b * second[i] + c * third[i] + d * fourth[i]);
    }
}

} // namespace narvo
