// SPDX-License-Identifier: MIT
// Drawing of defects, and the comparison of their boxes with blobs.
#include "host/capability/planted.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include <opencv2/core.hpp>

#include "host/image/cv_image.h"
#include "host/input/pattern_area.h"
#include "host/statistics/mixed_numbers.h"

namespace narvo
{

namespace
{

constexpr int nSquare = 96; // pixels: one spot in each
constexpr int nTouch = 3;   // pixels around a defect in which a blob counts
constexpr int nMargin = 16; // pixels around a defect that a blob may spread over
constexpr int nTimes = 20;
constexpr std::array<int, 4> nSides = {4, 8, 16, 32};
constexpr std::array<int, 6> nContrasts = {8, -8, 16, -16, 32, -32};

/// Share of its contrast that a defect has at a distance from its middle.
double CoverAt(const PlantedDefect& defect, double dx, double dy)
{
    switch (defect.shape)
    {
    case Planted_Spot:
        return std::clamp(0.5 * defect.size - std::hypot(dx, dy) + 0.5, 0.0, 1.0);
    case Planted_Stain:
    {
        const double distance = std::hypot(dx, dy) / defect.size;
        return std::exp(-4.0 * std::log(2.0) * distance * distance);
    }
    default:
        return 1.0; // lines end at the edges of pixels
    }
}

} // namespace

const std::string& PlantedShapeName(int shape)
{
    static const std::array<std::string, nPlantedShapes> names = {"spot", "line-x", "line-y", "stain"};
    return names[static_cast<std::size_t>(shape)];
}

CRect PlantedBox(int shape, int size)
{
    const int across = std::min(size, nPlantedLine);
    return {0, 0, shape == Planted_LineY ? across : size, shape == Planted_LineX ? across : size};
}

int PlantedReach(int shape, int size)
{
    return shape == Planted_Stain ? (size + 1) / 2 : 0;
}

bool PlantDefect(const PlantedDefect& defect, GreyImage& image)
{
    const int reach = PlantedReach(defect.shape, defect.size);
    const CRect& box = defect.box;
    const double middleX = 0.5 * (box.left + box.right - 1);
    const double middleY = 0.5 * (box.top + box.bottom - 1);
    bool ended = false;
    for (int y = std::max(0, box.top - reach); y < std::min(image.Height(), box.bottom + reach); ++y)
        for (int x = std::max(0, box.left - reach); x < std::min(image.Width(), box.right + reach); ++x)
        {
            std::uint8_t& pixel = image.Row(y)[x];
            const long value = std::lround(pixel + defect.contrast * CoverAt(defect, x - middleX, y - middleY));
            ended = ended || value < 0 || value > 255;
            pixel = static_cast<std::uint8_t>(std::clamp(value, 0L, 255L));
        }
    return ended;
}

void PlantInChannels(const std::vector<PlantedDefect>& defects, GreyImage& image)
{
    if (image.Channels() == nullptr)
        return;
    std::vector<GreyImage> channels = *image.Channels();
    for (GreyImage& channel : channels)
    {
        for (const PlantedDefect& defect : defects)
            PlantDefect(defect, channel);
        channel.FillUpRows();
    }
    image.SetChannels(std::move(channels));
}

bool IsFound(const PlantedDefect& defect, const std::vector<Blob>& blobs)
{
    const CRect& box = defect.box;
    const int largest = nTimes * (box.Width() + 2 * nMargin) * (box.Height() + 2 * nMargin);
    return std::any_of(blobs.begin(), blobs.end(),
                       [&](const Blob& blob)
                       {
                           return blob.box.left < box.right + nTouch && box.left - nTouch < blob.box.right &&
                                  blob.box.top < box.bottom + nTouch && box.top - nTouch < blob.box.bottom &&
                                  blob.area <= largest;
                       });
}

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
    MixedNumbers numbers(seed);
    for (int top = 0; top + nSquare <= good.Height(); top += nSquare)
        for (int left = 0; left + nSquare <= good.Width(); left += nSquare)
        {
            const std::uint64_t number = numbers.Next();
            const int side = nSides[number % nSides.size()];
            const auto room = static_cast<std::uint64_t>(nSquare - side);
            const int x0 = left + static_cast<int>((number >> 16) % room);
            const int y0 = top + static_cast<int>((number >> 32) % room);
            if (cv::countNonZero(area(cv::Rect(x0, y0, side, side))) < side * side)
                continue;
            const PlantedDefect spot{Planted_Spot, side, nContrasts[(number >> 8) % nContrasts.size()],
                                     CRect(x0, y0, x0 + side, y0 + side)};
            PlantDefect(spot, planted.image);
            planted.defects.push_back(spot);
        }
    PlantInChannels(planted.defects, planted.image);
    return planted;
}

} // namespace narvo
