// SPDX-License-Identifier: MIT
// Erosion and dilation by disks whose radius falls where openings and closings show the pattern to be narrow.
#include "host/reference/edge_tolerance.h"

#include <algorithm>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

/// The outer share where the pattern is narrow: every pixel of it lies at an edge, and one that is missing must still
/// differ by more than an edge that lies a whole pixel beyond the tolerance, to four fifths of the pattern's step.
constexpr double dNarrowShare = 0.8 * dOuterShare;

/// All pixels whose centres lie within `radius` of the middle one.
cv::Mat Disk(double radius)
{
    const int reach = static_cast<int>(radius);
    cv::Mat disk = cv::Mat::zeros(2 * reach + 1, 2 * reach + 1, CV_8UC1);
    for (int y = -reach; y <= reach; ++y)
        for (int x = -reach; x <= reach; ++x)
            if (x * x + y * y <= radius * radius)
                disk.at<std::uint8_t>(y + reach, x + reach) = 1;
    return disk;
}

cv::Mat Square(int side)
{
    return cv::Mat::ones(side, side, CV_8UC1);
}

void Erode(const cv::Mat& source, cv::Mat& target, const cv::Mat& shape)
{
    cv::erode(source, target, shape, {-1, -1}, 1, cv::BORDER_REPLICATE);
}

void Dilate(const cv::Mat& source, cv::Mat& target, const cv::Mat& shape)
{
    cv::dilate(source, target, shape, {-1, -1}, 1, cv::BORDER_REPLICATE);
}

/// 255 where the picture shows something bright that no square of `side` pixels fits into, except close to something
/// wider: that is its outline.
cv::Mat NarrowBright(const cv::Mat& picture, int side, int contrast)
{
    cv::Mat wide;
    Erode(picture, wide, Square(side));
    // Back to its size, and by the outline's pixel: two squares in one.
    Dilate(wide, wide, Square(2 * side + 1));
    cv::Mat narrow;
    cv::subtract(picture, wide, narrow);
    return narrow > contrast;
}

/// What a disk holds, and a share of what one a pixel wider does.
struct SoftRange
{
    cv::Mat darkest;
    cv::Mat brightest;
};

SoftRange Widen(const GreyRange& range, double radius, double share)
{
    SoftRange inner;
    SoftRange outer;
    Erode(ViewOf(range.darkest), inner.darkest, Disk(radius));
    Dilate(ViewOf(range.brightest), inner.brightest, Disk(radius));
    Erode(ViewOf(range.darkest), outer.darkest, Disk(radius + 1.0));
    Dilate(ViewOf(range.brightest), outer.brightest, Disk(radius + 1.0));
    cv::addWeighted(inner.darkest, 1.0 - share, outer.darkest, share, 0.0, inner.darkest);
    cv::addWeighted(inner.brightest, 1.0 - share, outer.brightest, share, 0.0, inner.brightest);
    return inner;
}

} // namespace

GreyRange WidenRange(const GreyRange& range, const GreyImage& picture, double tolerance, int contrast)
{
    if (tolerance <= 0.0)
        return range;
    const cv::Mat pattern = ViewOf(picture);
    cv::Mat inverse;
    cv::bitwise_not(pattern, inverse);
    SoftRange widened = Widen(range, tolerance, dOuterShare);
    const auto takeCloser = [&](int side, double radius)
    {
        const cv::Mat narrow = NarrowBright(pattern, side, contrast) | NarrowBright(inverse, side, contrast);
        if (cv::countNonZero(narrow) == 0)
            return;
        const SoftRange closer = Widen(range, radius, dNarrowShare);
        closer.darkest.copyTo(widened.darkest, narrow);
        closer.brightest.copyTo(widened.brightest, narrow);
    };
    // Where the outer disk reaches the middle from both sides, its share is smaller.
    const int whole = static_cast<int>(tolerance);
    takeCloser(2 * whole + 3, tolerance);
    // Narrower than the way there and back with a pixel between: the next smaller disk holds.
    for (int reach = whole; reach > 0; --reach)
        takeCloser(2 * reach + 1, reach - 1.0);
    return {ImageOf(widened.darkest), ImageOf(widened.brightest)};
}

GreyImage NearEdges(const GreyImage& picture, int reach, int contrast)
{
    cv::Mat darkest;
    cv::Mat brightest;
    Erode(ViewOf(picture), darkest, Square(2 * reach + 1));
    Dilate(ViewOf(picture), brightest, Square(2 * reach + 1));
    cv::subtract(brightest, darkest, brightest);
    const cv::Mat near = brightest > contrast;
    return ImageOf(near);
}

} // namespace narvo
