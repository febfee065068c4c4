// SPDX-License-Identifier: MIT
// Baseline of a general image library: the vertical comparison built from OpenCV's operators, on one thread,
// with one scalar threshold and gain (maps would cost it more), and its search for connected defects in the mask.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

#include "bench/bench_scene.h"

namespace bench
{

class COpenCvCompare
{
public:
    /// Compares pixels, or with nWindow above 1 the means of windows of that side. dBase in grey levels, dGain in grey
    /// levels per grey level.
    COpenCvCompare(CScene& scene, int nWindow, double dBase, double dGain);

    /// The comparison over the image in blocks of nRows rows, into the mask; 0 means the whole image.
    void Compare(int nRows);
    /// Of the candidates tried, the block height that was fastest.
    int FastestRows();
    /// Connected regions of the last mask with their statistics. @return their number
    int Components();
    /// Outer contours of the last mask. @return their number
    int Contours();
    int CountMask() const;

private:
    int m_nWindow;
    double m_dBase;
    double m_dGain;
    cv::Mat m_pixels;
    cv::Mat m_image; ///< what is compared
    cv::Mat m_mask;
    cv::Mat m_reference, m_difference, m_larger, m_threshold;
    cv::Mat m_labels, m_stats, m_centroids;
};

} // namespace bench
