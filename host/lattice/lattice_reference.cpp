// SPDX-License-Identifier: MIT
// Tile by tile: the image displaced by each step of the lattice, these planes sorted pixel by pixel, and the middle.
#include "host/lattice/lattice_reference.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"
#include "host/lattice/displaced_part.h"

namespace narvo
{

namespace
{

constexpr int nTileSide = 64; // pixels: within it a displacement is the same; it changes by hundredths of a pixel there
constexpr std::size_t nStepsForEach = 6; // neighbour: those that may lie in the image for a pixel at its border

constexpr int nRim = nDisplacedRim + 1; // pixels: a neighbour may lie half a pixel beside the image

/// Neighbours of the pixels of one tile.
struct Planes
{
    std::vector<cv::Mat> values; ///< CV_8U; 255 where the neighbour lies outside the image
    cv::Mat count;               ///< CV_8U: of those inside
};

/// Pixels of a tile whose neighbours lie in the valid part, or half a pixel beside it.
cv::Rect InsidePart(const cv::Rect& tile, const LatticeVector& to, const CRect& valid)
{
    const int left = std::max(tile.x, static_cast<int>(std::ceil(valid.left - 0.5 - to.x)));
    const int top = std::max(tile.y, static_cast<int>(std::ceil(valid.top - 0.5 - to.y)));
    const int right = std::min(tile.x + tile.width, static_cast<int>(std::floor(valid.right - 0.5 - to.x)) + 1);
    const int bottom = std::min(tile.y + tile.height, static_cast<int>(std::floor(valid.bottom - 0.5 - to.y)) + 1);
    return right > left && bottom > top ? cv::Rect(left, top, right - left, bottom - top) : cv::Rect();
}

/// @param rimmed the image with nRim pixels around it
Planes CollectPlanes(const cv::Mat& rimmed, const CRect& valid, const cv::Rect& tile, const LatticeField& field,
                     const std::vector<LatticeStep>& steps, int neighbours)
{
    Planes planes;
    std::vector<float> lines;
    planes.count = cv::Mat::zeros(tile.size(), CV_8U);
    int whole = 0;
    for (const LatticeStep& step : steps)
    {
        if (whole == neighbours)
            break;
        const LatticeVector to =
            field.Displacement(tile.x + 0.5 * (tile.width - 1), tile.y + 0.5 * (tile.height - 1), step);
        const cv::Rect part = InsidePart(tile, to, valid);
        if (part.empty())
            continue;
        const bool all = part == tile;
        whole += all ? 1 : 0;
        const cv::Rect inTile = part - tile.tl();
        cv::Mat plane = all ? cv::Mat(tile.size(), CV_8U) : cv::Mat(tile.size(), CV_8U, cv::Scalar(255));
        cv::Mat target = plane(inTile);
        FillDisplaced(rimmed, nRim + part.x + to.x, nRim + part.y + to.y, target, lines);
        planes.count(inTile) += 1;
        planes.values.push_back(std::move(plane));
    }
    return planes;
}

/// Puts the values of every pixel in order over the planes.
void SortPlanes(std::vector<cv::Mat>& planes)
{
    cv::Mat lower;
    for (std::size_t round = 0; round < planes.size(); ++round)
        for (std::size_t i = round % 2; i + 1 < planes.size(); i += 2)
        {
            cv::min(planes[i], planes[i + 1], lower);
            cv::max(planes[i], planes[i + 1], planes[i + 1]);
            cv::swap(lower, planes[i]);
        }
}

/// The two values between which a pixel is as expected.
struct Ends
{
    std::uint8_t low;
    std::uint8_t high;
};

template <typename ValueAt>
Ends EndsOf(int count, LatticeJoin join, const ValueAt& valueAt)
{
    if (join == LatticeJoin_Median || count < 3)
        return {valueAt((count - 1) / 2), valueAt(count / 2)};
    const int cut = (count + 2) / 4; // a quarter, and of three or five one on each side
    int sum = 0;
    for (int i = cut; i < count - cut; ++i)
        sum += valueAt(i);
    const int used = count - 2 * cut;
    const auto mean = static_cast<std::uint8_t>((sum + used / 2) / used);
    return {mean, mean};
}

void JoinPlanes(const Planes& planes, LatticeJoin join, const cv::Point& at, LatticeReference& reference)
{
    for (int y = 0; y < planes.count.rows; ++y)
    {
        std::vector<const std::uint8_t*> rows;
        for (const cv::Mat& plane : planes.values)
            rows.push_back(plane.ptr<std::uint8_t>(y));
        const std::uint8_t* count = planes.count.ptr<std::uint8_t>(y);
        std::uint8_t* low = reference.range.darkest.Row(at.y + y) + at.x;
        std::uint8_t* high = reference.range.brightest.Row(at.y + y) + at.x;
        std::uint8_t* middle = reference.middle.Row(at.y + y) + at.x;
        std::uint8_t* counts = reference.count.Row(at.y + y) + at.x;
        for (int x = 0; x < planes.count.cols; ++x)
        {
            counts[x] = count[x];
            if (count[x] == 0)
                continue;
            const Ends ends = EndsOf(count[x], join, [&](int i) { return rows[static_cast<std::size_t>(i)][x]; });
            low[x] = ends.low;
            high[x] = ends.high;
            middle[x] = static_cast<std::uint8_t>((ends.low + ends.high + 1) / 2);
        }
    }
}

} // namespace

LatticeReference FormReference(const GreyImage& image, const CRect& valid, int frame, const LatticeField& field,
                               int neighbours, LatticeJoin join)
{
    return WithinMemory(
        [&]
        {
            const cv::Mat pixels = ViewOf(image);
            const std::vector<LatticeStep> steps = NearestSteps(
                field.Mean(), static_cast<std::size_t>(neighbours) * nStepsForEach, image.Width(), image.Height());
            cv::Mat framed; // what stands where a pixel has no neighbour
            cv::copyMakeBorder(pixels, framed, frame, frame, frame, frame, cv::BORDER_REPLICATE);
            cv::Mat rimmed;
            cv::copyMakeBorder(pixels, rimmed, nRim, nRim, nRim, nRim, cv::BORDER_REPLICATE);
            const GreyImage start = ImageOf(framed);
            LatticeReference reference{{start, start}, start, GreyImage(start.Width(), start.Height())};
            for (int top = 0; top < framed.rows; top += nTileSide)
                for (int left = 0; left < framed.cols; left += nTileSide)
                {
                    const cv::Rect tile(left - frame, top - frame, std::min(nTileSide, framed.cols - left),
                                        std::min(nTileSide, framed.rows - top));
                    Planes planes = CollectPlanes(rimmed, valid, tile, field, steps, neighbours);
                    SortPlanes(planes.values);
                    JoinPlanes(planes, join, {left, top}, reference);
                }
            return reference;
        });
}

} // namespace narvo
