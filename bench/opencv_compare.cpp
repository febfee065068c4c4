// See opencv_compare.h.
#include "bench/opencv_compare.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>

#include "bench/bench_timer.h"

namespace bench
{

namespace
{

constexpr double dThreshold = 18.0;
constexpr double dGain = 20.0 / 256.0;

} // namespace

COpenCvCompare::COpenCvCompare(CScene& scene)
    : m_image(scene.nHeight, scene.nWidth, CV_8UC1, scene.pixels.data()), m_mask(scene.nHeight, scene.nWidth, CV_8UC1)
{
    cv::setNumThreads(1);
    m_mask.setTo(0);
}

void COpenCvCompare::Compare(int nRows)
{
    const int nPitch16 = static_cast<int>(dScanPeriod * 16.0);
    const int nWhole = nPitch16 >> 4;
    const double dFar = (nPitch16 & 15) / 16.0;
    const int nEnd = m_image.rows - nWhole - 1;
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
        m_larger.convertTo(m_threshold, CV_8U, dGain, dThreshold);
        cv::compare(m_difference, m_threshold, mask, cv::CMP_GT);
    }
}

int COpenCvCompare::FastestRows()
{
    const int candidates[] = {0, 8, 16, 32, 64, 128};
    std::vector<Action> actions;
    for (const int nRows : candidates)
        actions.push_back([this, nRows] { Compare(nRows); });
    const std::vector<double> times = TimeInterleaved(actions, 2);
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
