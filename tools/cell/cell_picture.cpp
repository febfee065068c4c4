// SPDX-License-Identifier: MIT
// Places of the cells as squares.
#include "tools/cell/cell_picture.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>

namespace narvo::tools
{

cv::Mat DrawCells(const cv::Mat& golden, const cv::Mat& shown, const cv::Mat& difference)
{
    constexpr int nSide = 320;
    constexpr int nGap = 8;
    const int zoom = std::max(1, nSide / std::max(golden.cols, golden.rows));
    const cv::Size size(golden.cols * zoom, golden.rows * zoom);
    cv::Mat picture(size.height, 3 * size.width + 2 * nGap, CV_8U, cv::Scalar(255));
    int left = 0;
    for (const cv::Mat& values : {golden, shown, cv::Mat(difference * 4.0 + 128.0)})
    {
        cv::Mat grey;
        values.convertTo(grey, CV_8U);
        cv::resize(grey, picture(cv::Rect({left, 0}, size)), size, 0.0, 0.0, cv::INTER_NEAREST);
        left += size.width + nGap;
    }
    return picture;
}

cv::Mat DrawCells(const std::vector<float>& golden, const v1::CellReport& report)
{
    const auto matrix = [&](const std::vector<float>& values)
    { return cv::Mat(values, false).reshape(1, report.height); }; // where the values lie
    return DrawCells(matrix(golden), matrix(report.mean), matrix(report.difference));
}

} // namespace narvo::tools
