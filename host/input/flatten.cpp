// SPDX-License-Identifier: MIT
// Masked means over large windows.
#include "host/input/flatten.h"

#include <opencv2/imgproc.hpp>

namespace narvo
{

namespace
{

constexpr double dCut = 2.5;            // deviations from the mean at which values are cut for the second means
constexpr double dDifferenceCut = 3.0;  // first deviations at which differences are cut for the second deviation
constexpr double dNormal = 1.2533;      // standard deviation over mean absolute deviation, of normal values
constexpr double dLeastShare = 1e-6;    // of a window inside the area
constexpr double dLeastDeviation = 1.0; // grey level

} // namespace

cv::Mat WindowMean(const cv::Mat& values, cv::Size window)
{
    cv::Mat mean;
    cv::blur(values, mean, window, {-1, -1}, cv::BORDER_REFLECT);
    return mean;
}

cv::Mat Flatten(const cv::Mat& image, const cv::Mat& area, cv::Size window, int spread)
{
    cv::Mat inside;
    area.convertTo(inside, CV_32F);
    cv::min(inside, 1.0, inside);
    const cv::Mat share = cv::max(WindowMean(inside, window), dLeastShare);
    const cv::Mat spreadShare = cv::max(WindowMean(inside, {spread, spread}), dLeastShare);
    cv::Mat limited;
    cv::Mat difference;
    cv::Mat deviation;
    for (int pass = 0; pass < 2; ++pass)
    {
        cv::Mat mean = WindowMean((pass == 0 ? image : limited).mul(inside), window);
        cv::divide(mean, share, mean);
        cv::subtract(image, mean, difference);
        cv::multiply(difference, inside, difference);
        cv::Mat size = cv::abs(difference);
        if (pass > 0)
            size = cv::min(size, dDifferenceCut * deviation);
        deviation = WindowMean(size, {spread, spread});
        cv::divide(deviation, spreadShare, deviation, dNormal);
        if (pass == 0)
        {
            const cv::Mat reach = dCut * deviation;
            const cv::Mat high = mean + reach;
            const cv::Mat low = mean - reach;
            cv::min(image, high, limited);
            cv::max(limited, low, limited);
        }
    }
    cv::divide(difference, cv::max(deviation, dLeastDeviation), difference);
    return difference;
}

} // namespace narvo
