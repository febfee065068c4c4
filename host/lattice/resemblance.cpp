// SPDX-License-Identifier: MIT
// The least squared differences of two pieces to any other piece of the image.
#include "host/lattice/resemblance.h"

#include <algorithm>

#include <opencv2/core.hpp>

#include "host/image/cv_image.h"
#include "host/lattice/least_difference.h"

namespace narvo
{

namespace
{

constexpr int nSurround = 6;    // pixels around the box: what the place belongs to
constexpr int nMostPiece = 96;  // pixels: larger ones are not searched for
constexpr double dClear = 0.75; // share of the other's least difference
constexpr int nSearched = 1024; // pixels to each side

/// Differences of a piece to others, away from both places.
DifferenceSearch SearchFor(const cv::Mat& pixels, const cv::Rect& piece, const cv::Rect& other)
{
    const cv::Rect around =
        cv::Rect(piece.x - nSearched, piece.y - nSearched, piece.width + 2 * nSearched, piece.height + 2 * nSearched) &
        cv::Rect({0, 0}, pixels.size());
    cv::Mat taken = cv::Mat::zeros(around.height - piece.height + 1, around.width - piece.width + 1, CV_8U);
    const auto leaveOut = [&](const cv::Rect& place)
    {
        // Pieces that share half of their area or more with it along both axes.
        const cv::Rect near = cv::Rect(place.x - around.x - place.width / 2, place.y - around.y - place.height / 2,
                                       place.width + 1, place.height + 1) &
                              cv::Rect({0, 0}, taken.size());
        taken(near).setTo(255);
    };
    leaveOut(piece);
    leaveOut(other);
    return {pixels(around), pixels(piece), taken};
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
    const DifferenceSearch ofFirst = SearchFor(pixels, one, two);
    const DifferenceSearch ofSecond = SearchFor(pixels, two, one);
    // The likelier one first: of the other it is enough to know whether it differs clearly more.
    const bool firstIsLikelier = ofFirst.Estimate() <= ofSecond.Estimate();
    const DifferenceSearch& likelier = firstIsLikelier ? ofFirst : ofSecond;
    const DifferenceSearch& other = firstIsLikelier ? ofSecond : ofFirst;
    const double least = likelier.Least();
    const double leastOfOther = other.Least(least / dClear + 1.0);
    if (least < dClear * leastOfOther)
        return firstIsLikelier ? Resembling::First : Resembling::Second;
    if (leastOfOther < dClear * least)
        return firstIsLikelier ? Resembling::Second : Resembling::First;
    return Resembling::Both;
}

} // namespace narvo
