// SPDX-License-Identifier: MIT
// The least squared difference of a piece to any other piece of the image.
#include "host/lattice/resemblance.h"

#include <algorithm>
#include <limits>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

constexpr int nSurround = 6;    // pixels around the box: what the place belongs to
constexpr int nMostPiece = 96;  // pixels: larger ones are not searched for
constexpr double dClear = 0.75; // share of the other's least difference
constexpr int nSearched = 1024; // pixels to each side

/// Least mean squared difference of a piece to others, away from both places.
double LeastDifference(const cv::Mat& pixels, const cv::Rect& piece, const cv::Rect& other)
{
    const cv::Rect around =
        cv::Rect(piece.x - nSearched, piece.y - nSearched, piece.width + 2 * nSearched, piece.height + 2 * nSearched) &
        cv::Rect({0, 0}, pixels.size());
    cv::Mat differences;
    cv::matchTemplate(pixels(around), pixels(piece), differences, cv::TM_SQDIFF);
    const auto leaveOut = [&](const cv::Rect& place)
    {
        // Pieces that share half of their area or more with it along both axes.
        const cv::Rect near = cv::Rect(place.x - around.x - place.width / 2, place.y - around.y - place.height / 2,
                                       place.width + 1, place.height + 1) &
                              cv::Rect({0, 0}, differences.size());
        differences(near).setTo(std::numeric_limits<float>::max());
    };
    leaveOut(piece);
    leaveOut(other);
    double least = 0.0;
    cv::minMaxLoc(differences, &least);
    return std::max(0.0, least) / piece.area();
}

} // namespace

Resembling Resemblance::Compare(const CRect& first, const CRect& second) const
{
    const cv::Mat pixels = ViewOf(m_image);
    const int width = std::max(first.Width(), second.Width()) + 2 * nSurround;
    const int height = std::max(first.Height(), second.Height()) + 2 * nSurround;
    if (width > std::min(nMostPiece, pixels.cols / 3) || height > std::min(nMostPiece, pixels.rows / 3))
        return Resembling::Both;
    const auto around = [&](const CRect& box)
    {
        return cv::Rect(std::clamp((box.left + box.right - width) / 2, 0, pixels.cols - width),
                        std::clamp((box.top + box.bottom - height) / 2, 0, pixels.rows - height), width, height);
    };
    const cv::Rect one = around(first);
    const cv::Rect two = around(second);
    const double ofFirst = LeastDifference(pixels, one, two);
    const double ofSecond = LeastDifference(pixels, two, one);
    if (ofFirst < dClear * ofSecond)
        return Resembling::First;
    if (ofSecond < dClear * ofFirst)
        return Resembling::Second;
    return Resembling::Both;
}

} // namespace narvo
