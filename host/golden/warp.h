// SPDX-License-Identifier: MIT
// Pictures that lie as the reference does, as a registered image would show them.
#pragma once

#include <opencv2/core.hpp>

#include "host/golden/registration_map.h"

namespace narvo
{

/// The places in the reference of the image's rows from `top` on, as cv::remap takes them; `x` and `y` have the size
/// that is wanted.
void PlacesInReference(const Registration& registration, int top, cv::Mat& x, cv::Mat& y);

/// Rows of a picture that a warp works on at a time.
constexpr int nWarpRows = 64;

/// Runs `use(x, y, first row)` with the places of one band of image rows after the other.
template <typename Use>
void ForPlaces(const Registration& registration, int width, int height, Use use)
{
    cv::Mat x;
    cv::Mat y;
    for (int top = 0; top < height; top += nWarpRows)
    {
        const int rows = std::min(nWarpRows, height - top);
        x.create(rows, width, CV_32F);
        y.create(rows, width, CV_32F);
        PlacesInReference(registration, top, x, y);
        use(x, y, top);
    }
}

} // namespace narvo
