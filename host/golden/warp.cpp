// SPDX-License-Identifier: MIT
// Places of whole rows: the affine map along a row is a sum, the mesh a straight line from node to node.
#include "host/golden/warp.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include <opencv2/imgproc.hpp>

#include "host/golden/registration.h"
#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

constexpr double dHalfPixel = 0.5; // from a pixel's centre to its side

/// Adds one coordinate of the mesh along a row.
void AddMesh(const OffsetMesh& mesh, const std::vector<float>& offsets, int py, float* target, int width)
{
    const int row = std::min(py / mesh.spacing, mesh.rows - 2);
    const float share = static_cast<float>(py - row * mesh.spacing) / static_cast<float>(mesh.spacing);
    const float* upper = offsets.data() + static_cast<std::ptrdiff_t>(row) * mesh.columns;
    const float* lower = upper + mesh.columns;
    for (int column = 0; column < mesh.columns - 1; ++column)
    {
        const float first = upper[column] + share * (lower[column] - upper[column]);
        const float next = upper[column + 1] + share * (lower[column + 1] - upper[column + 1]);
        const float slope = (next - first) / static_cast<float>(mesh.spacing);
        const int left = column * mesh.spacing;
        const int right = std::min(width, left + mesh.spacing);
        for (int px = left; px < right; ++px)
            target[px] += first + slope * static_cast<float>(px - left);
    }
}

/// 255 in the rows from `top` on where the places lie in the area, 0 elsewhere.
void MarkInside(const cv::Mat& x, const cv::Mat& y, const CRect& area, int top, GreyImage& inside)
{
    const auto left = static_cast<float>(area.left - dHalfPixel);
    const auto right = static_cast<float>(area.right - dHalfPixel);
    const auto upper = static_cast<float>(area.top - dHalfPixel);
    const auto lower = static_cast<float>(area.bottom - dHalfPixel);
    for (int i = 0; i < x.rows; ++i)
    {
        const float* px = x.ptr<float>(i);
        const float* py = y.ptr<float>(i);
        std::uint8_t* line = inside.Row(top + i);
        for (int k = 0; k < x.cols; ++k)
            line[k] = ((px[k] >= left) & (px[k] < right) & (py[k] >= upper) & (py[k] < lower)) ? 255 : 0;
    }
}

} // namespace

void PlacesInReference(const Registration& registration, int top, cv::Mat& x, cv::Mat& y)
{
    const AffineMap& a = registration.affine;
    for (int i = 0; i < x.rows; ++i)
    {
        float* lineX = x.ptr<float>(i);
        float* lineY = y.ptr<float>(i);
        const int py = top + i;
        const double startX = a[1] * py + a[2];
        const double startY = a[4] * py + a[5];
        for (int px = 0; px < x.cols; ++px)
        {
            lineX[px] = static_cast<float>(a[0] * px + startX);
            lineY[px] = static_cast<float>(a[3] * px + startY);
        }
        if (!registration.mesh.IsEmpty())
        {
            AddMesh(registration.mesh, registration.mesh.x, py, lineX, x.cols);
            AddMesh(registration.mesh, registration.mesh.y, py, lineY, x.cols);
        }
        if (const std::optional<Seam>& seam = registration.seam)
        {
            const int from = seam->vertical ? std::clamp(seam->place, 0, x.cols) : py >= seam->place ? 0 : x.cols;
            for (int px = from; px < x.cols; ++px)
            {
                lineX[px] += static_cast<float>(seam->step.x);
                lineY[px] += static_cast<float>(seam->step.y);
            }
        }
    }
}

std::vector<GreyImage> WarpAllToImage(const std::vector<const GreyImage*>& sources, const Registration& registration,
                                      int width, int height, const CRect& area, GreyImage& inside)
{
    std::vector<GreyImage> targets;
    for (std::size_t i = 0; i < sources.size(); ++i)
        targets.emplace_back(width, height);
    // As channels of one picture, whose places and weights are worked out once for all.
    std::vector<cv::Mat> planes;
    for (const GreyImage* source : sources)
        planes.push_back(ViewOf(*source));
    cv::Mat source;
    if (!planes.empty())
        cv::merge(planes, source);
    cv::Mat warped;
    inside = GreyImage(width, height);
    cv::Mat whole;
    cv::Mat fraction;
    ForPlaces(registration, width, height,
              [&](const cv::Mat& x, const cv::Mat& y, int top)
              {
                  MarkInside(x, y, area, top, inside);
                  // The places as fixed-point numbers, once for all pictures.
                  cv::convertMaps(x, y, whole, fraction, CV_16SC2);
                  if (planes.empty())
                      return;
                  cv::remap(source, warped, whole, fraction, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
                  for (std::size_t i = 0; i < planes.size(); ++i)
                      planes[i] = ViewOf(targets[i]).rowRange(top, top + x.rows);
                  cv::split(warped, planes);
              });
    return targets;
}

GreyImage WarpToImage(const GreyImage& source, const Registration& registration, int width, int height)
{
    GreyImage inside;
    return std::move(WarpAllToImage({&source}, registration, width, height, {}, inside).front());
}

GreyImage InsideReference(const Registration& registration, int width, int height, const CRect& area)
{
    GreyImage inside;
    WarpAllToImage({}, registration, width, height, area, inside);
    return inside;
}

} // namespace narvo
