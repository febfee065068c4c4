// SPDX-License-Identifier: MIT
// See opencv_average.h.
#include "bench/opencv_average.h"

#include <opencv2/imgproc.hpp>

namespace bench
{

COpenCvAverage::COpenCvAverage(unsigned char* pImage, int nPitch, const CRect& rtRegion, int nBack, int nDefect,
                               int nThreshold)
    : m_image(rtRegion.Height(), rtRegion.Width(), CV_8UC1,
              pImage + static_cast<std::ptrdiff_t>(rtRegion.top) * nPitch + rtRegion.left,
              static_cast<std::size_t>(nPitch)),
      m_ptOrigin(rtRegion.left, rtRegion.top), m_nBack(nBack), m_nDefect(nDefect), m_nThreshold(nThreshold)
{
    cv::setNumThreads(1);
}

void COpenCvAverage::CompareExact()
{
    const int nScale = m_nBack * m_nBack / (m_nDefect * m_nDefect);
    cv::boxFilter(m_image, m_back, CV_32S, cv::Size(m_nBack, m_nBack), cv::Point(-1, -1), false);
    cv::boxFilter(m_image, m_defect, CV_32S, cv::Size(m_nDefect, m_nDefect), cv::Point(-1, -1), false);
    m_defect.convertTo(m_scaled, CV_32S, nScale);
    cv::absdiff(m_scaled, m_back, m_difference);
    cv::compare(m_difference, m_nThreshold * m_nBack * m_nBack, m_mask, cv::CMP_GT);
}

void COpenCvAverage::CompareRounded()
{
    cv::boxFilter(m_image, m_back, CV_8U, cv::Size(m_nBack, m_nBack));
    cv::boxFilter(m_image, m_defect, CV_8U, cv::Size(m_nDefect, m_nDefect));
    cv::absdiff(m_defect, m_back, m_difference);
    cv::compare(m_difference, m_nThreshold, m_mask, cv::CMP_GT);
}

std::vector<CPoint> COpenCvAverage::HitsInside(int nMargin) const
{
    std::vector<CPoint> hits;
    for (int y = nMargin; y < m_mask.rows - nMargin; ++y)
        for (int x = nMargin; x < m_mask.cols - nMargin; ++x)
            if (m_mask.at<unsigned char>(y, x) != 0)
                hits.push_back(CPoint(x + m_ptOrigin.x, y + m_ptOrigin.y));
    return hits;
}

} // namespace bench
