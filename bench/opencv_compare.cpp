// SPDX-License-Identifier: MIT
// See opencv_compare.h.
#include "bench/opencv_compare.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>

#include "bench/bench_timer.h"

namespace bench
{

COpenCvCompare::COpenCvCompare(CScene& scene, int nWindow, double dBase, double dGain)
    : m_nWindow(nWindow), m_dBase(dBase), m_dGain(dGain),
      m_pixels(scene.nHeight, scene.nWidth, CV_8UC1, scene.pixels.data()), m_image(m_pixels),
      m_mask(scene.nHeight, scene.nWidth, CV_8UC1)
{
    if (nWindow > 1)
        m_image = cv::Mat();
    cv::setNumThreads(1);
    m_mask.setTo(0);
}

void COpenCvCompare::Compare(int nRows)
{
    if (m_nWindow > 1)
        cv::blur(m_pixels, m_image, cv::Size(m_nWindow, m_nWindow));
    const int nPitch16 = static_cast<int>(dScanPeriod * 16.0);
    const int nWhole = nPitch16 >> 4;
    const double dFar = (nPitch16 & 15) / 16.0;
    const int nEnd = m_pixels.rows - nWhole - 1;
    const int nBlock = nRows == 0 ? nEnd : nRows;
    for (int y = 0; y < nEnd; y += nBlock)
    {
        const int nLast = std::min(y + nBlock, nEnd);
        const cv::Mat source = m_image.rowRange(y, nLast);
        cv::Mat mask = m_mask.rowRange(y, nLast);
        cv::addWeighted(m_image.rowRange(y + nWhole, nLast + nWhole), 1.0 - dFar,
                        m_image.rowRange(y + nWhole + 1, nLast + nWhole + 1), dFar, 0.0, m_reference);
        cv::absdiff(source, m_reference, m_difference);
        cv::max(source, m_reference, m_larger);
        m_larger.convertTo(m_threshold, CV_8U, m_dGain, m_dBase);
        cv::compare(m_difference, m_threshold, mask, cv::CMP_GT);
    }
}

int COpenCvCompare::FastestRows()
{
    const int candidates[] = {0, 16, 64};
    std::vector<Action> actions;
    for (const int nRows : candidates)
        actions.push_back([this, nRows] { Compare(nRows); });
    const std::vector<double> times = TimeInterleaved(actions, 1);
    return candidates[std::min_element(times.begin(), times.end()) - times.begin()];
}

int COpenCvCompare::Components()
{
    return cv::connectedComponentsWithStats(m_mask, m_labels, m_stats, m_centroids);
}

int COpenCvCompare::Contours()
{
    std::vector<std::vector<cv::Point>> contours;
    cv::findContours(m_mask, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_SIMPLE);
    return static_cast<int>(contours.size());
}

int COpenCvCompare::CountMask() const
{
    return cv::countNonZero(m_mask);
}

} // namespace bench
