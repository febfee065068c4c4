// SPDX-License-Identifier: MIT
// Baseline of average mode: two box filters and a comparison of OpenCV, on one thread.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

#include "narvoassem/platform.h"

namespace bench
{

class COpenCvAverage
{
public:
    /// nPitch is the image's row stride; a pixel is a hit when its two window means differ by more than nThreshold.
    COpenCvAverage(unsigned char* pImage, int nPitch, const CRect& rtRegion, int nBack, int nDefect, int nThreshold);

    /// Window sums, compared exactly.
    void CompareExact();
    /// Means rounded to 8 bits.
    void CompareRounded();
    /// Places of the last mask, row by row, at least nMargin pixels inside the region.
    std::vector<CPoint> HitsInside(int nMargin) const;

private:
    cv::Mat m_image;
    cv::Point m_ptOrigin;
    int m_nBack;
    int m_nDefect;
    int m_nThreshold;
    cv::Mat m_back, m_defect, m_scaled, m_difference, m_mask;
};

} // namespace bench
