// SPDX-License-Identifier: MIT
// Rows are searched from the bottom upwards; the other sides are mirrored or transposed to it.
#include "host/golden/pattern_end.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <opencv2/core.hpp>

#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

constexpr int nEndContrast = 40;     // grey levels by which the pattern differs from the empty ground behind its end
constexpr double dEmptyShare = 0.01; // of a row's pixels, at most: an empty row, specks allowed
constexpr double dEndShare = 0.25;   // of a row's pixels, at least: the pattern goes on right up to its end
constexpr int nSharp = 3;            // rows within which an end is complete
constexpr int nBlurred = 2;          // rows at an end that blur may have changed
constexpr int nMostMoved = 16;       // pixels: an end that lies further off is no moved end
constexpr double dSameColumns = 0.9; // of the columns cross both ends, or neither: the same pattern ends there
constexpr double dWideEnough = 0.5;  // of a row, compared at least
constexpr int nStrip = 64;           // pixels along a side that are looked at first

/// The picture with that side at the bottom.
cv::Mat Turn(const cv::Mat& picture, PatternEnd::Side side)
{
    cv::Mat turned = picture;
    if (side == PatternEnd::Side_Right || side == PatternEnd::Side_Left)
    {
        cv::Mat transposed; // never the picture's own pixels, which a square one would be written over
        cv::transpose(picture, transposed);
        turned = transposed;
    }
    if (side == PatternEnd::Side_Top || side == PatternEnd::Side_Left)
    {
        cv::Mat mirrored;
        cv::flip(turned, mirrored, 0);
        return mirrored;
    }
    return turned;
}

/// 255 where the pattern is.
cv::Mat PatternOf(const cv::Mat& picture, const cv::Mat& inside, int ground)
{
    cv::Mat difference;
    cv::absdiff(picture, cv::Scalar(ground), difference);
    return (difference > nEndContrast) & inside;
}

/// The lowest row of a pattern that ends at once below it, and has nothing in the rows down to `last`.
std::optional<int> EndOf(const cv::Mat& pattern, const cv::Mat& inside, int last)
{
    const auto share = [&](int row)
    {
        const int compared = cv::countNonZero(inside.row(row));
        return compared > 0 ? static_cast<double>(cv::countNonZero(pattern.row(row))) / compared : 0.0;
    };
    int row = last;
    while (row >= 0 && share(row) <= dEmptyShare)
        --row;
    if (row == last)
        return {};
    for (int first = std::max(0, row - nSharp); row >= 0 && row >= first; --row)
        if (share(row) >= dEndShare)
            return row;
    return {};
}

/// The grey level of most of a row's compared pixels.
int GroundOf(const cv::Mat& row, const cv::Mat& inside)
{
    std::vector<std::uint8_t> levels;
    for (int x = 0; x < row.cols; ++x)
        if (inside.at<std::uint8_t>(0, x) != 0)
            levels.push_back(row.at<std::uint8_t>(0, x));
    const auto middle = levels.begin() + static_cast<std::ptrdiff_t>(levels.size() / 2);
    std::nth_element(levels.begin(), middle, levels.end());
    return *middle;
}

/// The last row of which enough is compared, or -1.
int LastCompared(const cv::Mat& inside)
{
    int last = inside.rows - 1;
    while (last >= 0 && cv::countNonZero(inside.row(last)) <= dWideEnough * inside.cols)
        --last;
    return last;
}

/// Whether the pattern reaches that side, so that no end of it is to be seen there. Looks at a strip alone, which most
/// pictures need no more than.
bool ReachesSide(const cv::Mat& reference, const cv::Mat& inside, PatternEnd::Side side)
{
    const bool vertical = side == PatternEnd::Side_Right || side == PatternEnd::Side_Left;
    const bool first = side == PatternEnd::Side_Top || side == PatternEnd::Side_Left;
    const int length = vertical ? inside.cols : inside.rows;
    const int depth = std::min(nStrip, length);
    const cv::Range range = first ? cv::Range(0, depth) : cv::Range(length - depth, length);
    const auto strip = [&](const cv::Mat& picture)
    { return Turn(vertical ? picture.colRange(range) : picture.rowRange(range), side); };
    const cv::Mat compared = strip(inside);
    const int last = LastCompared(compared);
    if (last < 0)
        return false;
    const cv::Mat shown = strip(reference);
    const cv::Mat row = PatternOf(shown.row(last), compared.row(last), GroundOf(shown.row(last), compared.row(last)));
    return cv::countNonZero(row) > dEmptyShare * cv::countNonZero(compared.row(last));
}

std::optional<PatternEnd> MovedEnd(const cv::Mat& reference, const cv::Mat& image, const cv::Mat& inside, double least)
{
    const int last = LastCompared(inside);
    if (last < 0)
        return {};
    const int ground = GroundOf(reference.row(last), inside.row(last));
    const cv::Mat expected = PatternOf(reference, inside, ground);
    const std::optional<int> expectedEnd = EndOf(expected, inside, last);
    if (!expectedEnd)
        return {};
    const cv::Mat shown = PatternOf(image, inside, ground);
    const std::optional<int> shownEnd = EndOf(shown, inside, last);
    if (!shownEnd || std::min(*shownEnd, *expectedEnd) < nBlurred)
        return {};
    const int moved = std::abs(*shownEnd - *expectedEnd);
    if (moved <= least || moved > nMostMoved)
        return {};
    const cv::Mat other = shown.row(*shownEnd - nBlurred) ^ expected.row(*expectedEnd - nBlurred);
    if (cv::countNonZero(other) > (1.0 - dSameColumns) * inside.cols)
        return {};
    return PatternEnd{PatternEnd::Side_Bottom, *shownEnd, *expectedEnd};
}

} // namespace

std::vector<PatternEnd> FindMovedEnds(const GreyImage& reference, const GreyImage& image, const GreyImage& inside,
                                      double least)
{
    std::vector<PatternEnd> ends;
    for (const PatternEnd::Side side :
         {PatternEnd::Side_Bottom, PatternEnd::Side_Top, PatternEnd::Side_Right, PatternEnd::Side_Left})
    {
        if (ReachesSide(ViewOf(reference), ViewOf(inside), side))
            continue;
        const cv::Mat turned = Turn(ViewOf(inside), side);
        std::optional<PatternEnd> end =
            MovedEnd(Turn(ViewOf(reference), side), Turn(ViewOf(image), side), turned, least);
        if (!end)
            continue;
        end->side = side;
        if (side == PatternEnd::Side_Top || side == PatternEnd::Side_Left)
        {
            end->image = turned.rows - 1 - end->image;
            end->reference = turned.rows - 1 - end->reference;
        }
        ends.push_back(*end);
    }
    return ends;
}

void LeaveEndOut(const PatternEnd& end, int margin, GreyImage& inside)
{
    const int side = end.IsVertical() ? inside.Width() : inside.Height();
    const int from = std::clamp(std::min(end.image, end.reference) - margin, 0, side);
    const int to = std::clamp(std::max(end.image, end.reference) + margin + 1, from, side);
    cv::Mat view = ViewOf(inside);
    (end.IsVertical() ? view.colRange(from, to) : view.rowRange(from, to)).setTo(0);
}

} // namespace narvo
