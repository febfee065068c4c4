// SPDX-License-Identifier: MIT
// Drawing of spots, and the comparison of their boxes with blobs.
#include "host/learn/planted.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <opencv2/core.hpp>

#include "host/image/cv_image.h"
#include "host/input/pattern_area.h"

namespace narvo
{

namespace
{

constexpr int nSquare = 96; // pixels: one spot in each
constexpr int nTouch = 3;   // pixels around a spot in which a blob counts
constexpr int nAround = 16; // pixels around a spot that a blob may spread over
constexpr int nTimes = 20;
constexpr std::array<int, 4> nSides = {4, 8, 16, 32};
constexpr std::array<int, 6> nContrasts = {8, -8, 16, -16, 32, -32};

/// The next of a sequence of well mixed numbers.
std::uint64_t NextNumber(std::uint64_t& state)
{
    state += 0x9E3779B97F4A7C15ULL;
    std::uint64_t mixed = state;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9ULL;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBULL;
    return mixed ^ (mixed >> 31);
}

} // namespace

PlantedImage PlantSpots(const GreyImage& good, std::uint64_t seed)
{
    PlantedImage planted{good, {}};
    const cv::Mat area = WithinMemory(
        [&]
        {
            cv::Mat grey;
            ViewOf(good).convertTo(grey, CV_32F);
            return FindPatternArea(grey, true);
        });
    std::uint64_t state = seed;
    for (int top = 0; top + nSquare <= good.Height(); top += nSquare)
        for (int left = 0; left + nSquare <= good.Width(); left += nSquare)
        {
            const std::uint64_t number = NextNumber(state);
            const int side = nSides[number % nSides.size()];
            const int contrast = nContrasts[(number >> 8) % nContrasts.size()];
            const auto room = static_cast<std::uint64_t>(nSquare - side);
            const int x0 = left + static_cast<int>((number >> 16) % room);
            const int y0 = top + static_cast<int>((number >> 32) % room);
            if (cv::countNonZero(area(cv::Rect(x0, y0, side, side))) < side * side)
                continue;
            planted.spots.push_back({CRect(x0, y0, x0 + side, y0 + side), contrast});
            const double middle = 0.5 * (side - 1);
            for (int y = 0; y < side; ++y)
                for (int x = 0; x < side; ++x)
                {
                    // One pixel of lens blur at the rim.
                    const double cover = std::clamp(0.5 * side - std::hypot(x - middle, y - middle) + 0.5, 0.0, 1.0);
                    std::uint8_t& pixel = planted.image.Row(y0 + y)[x0 + x];
                    pixel = static_cast<std::uint8_t>(std::clamp(std::lround(pixel + contrast * cover), 0L, 255L));
                }
        }
    return planted;
}

bool IsFound(const PlantedSpot& spot, const std::vector<Blob>& blobs)
{
    const CRect& box = spot.box;
    const int side = box.Width() + 2 * nAround;
    return std::any_of(blobs.begin(), blobs.end(),
                       [&](const Blob& blob)
                       {
                           return blob.box.left < box.right + nTouch && box.left - nTouch < blob.box.right &&
                                  blob.box.top < box.bottom + nTouch && box.top - nTouch < blob.box.bottom &&
                                  blob.area <= nTimes * side * side;
                       });
}

} // namespace narvo
