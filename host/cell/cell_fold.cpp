// SPDX-License-Identifier: MIT
// Pixels to bins. Along a row both phases grow by the same step from pixel to pixel.
#include "host/cell/cell_fold.h"

#include <algorithm>
#include <cmath>

namespace narvo
{

namespace
{

/// Bins to the left and right of a place, around the edge of the cell, and the share of the right one.
struct BetweenBins
{
    int first;
    int second;
    float share;

    BetweenBins(double place, int count)
    {
        const double whole = std::floor(place);
        share = static_cast<float>(place - whole);
        first = static_cast<int>(whole) % count;
        second = first + 1 == count ? 0 : first + 1;
    }
};

/// The same place, 0 up to `count`.
double Wrapped(double place, int count)
{
    const double rest = place - count * std::floor(place / count);
    return rest < count ? rest : 0.0;
}

} // namespace

CellGrid::CellGrid(const PatternCell& cell)
    : m_cell(cell), m_determinant(cell.lattice.vectors[0].x * cell.lattice.vectors[1].y -
                                  cell.lattice.vectors[0].y * cell.lattice.vectors[1].x),
      m_columns(std::max(1, static_cast<int>(std::lround(cell.lattice.vectors[0].Length())))),
      m_rows(std::max(1, static_cast<int>(std::lround(cell.lattice.vectors[1].Length()))))
{
}

double CellGrid::Width() const
{
    return std::abs(m_cell.lattice.vectors[0].x) + std::abs(m_cell.lattice.vectors[1].x);
}

double CellGrid::Height() const
{
    return std::abs(m_cell.lattice.vectors[0].y) + std::abs(m_cell.lattice.vectors[1].y);
}

cv::Point2d CellGrid::BinsAt(double x, double y) const
{
    const LatticeVector& a = m_cell.lattice.vectors[0];
    const LatticeVector& b = m_cell.lattice.vectors[1];
    x -= m_cell.originX;
    y -= m_cell.originY;
    return {(x * b.y - y * b.x) / m_determinant * m_columns, (y * a.x - x * a.y) / m_determinant * m_rows};
}

bool FoldInto(const GreyView& image, const FoldArea& area, const CRect& part, const CellGrid& grid, cv::Point2d shift,
              cv::Mat& cell)
{
    cv::Mat sums = cv::Mat::zeros(grid.Rows(), grid.Columns(), CV_32F);
    cv::Mat weights = cv::Mat::zeros(grid.Rows(), grid.Columns(), CV_32F);
    const cv::Point2d step = grid.BinsAt(1.0, 0.0) - grid.BinsAt(0.0, 0.0);
    for (int y = part.top; y < part.bottom; ++y)
    {
        const std::uint8_t* pixels = image.Row(y);
        const std::uint8_t* mask =
            area.mask.empty() ? nullptr : area.mask.data() + static_cast<std::ptrdiff_t>(y) * area.stride;
        const cv::Point2d start = grid.BinsAt(part.left, y) + shift;
        for (int x = part.left; x < part.right; ++x)
        {
            if (mask != nullptr && mask[x] == 0)
                continue;
            const int along = x - part.left;
            const BetweenBins column(Wrapped(start.x + along * step.x, grid.Columns()), grid.Columns());
            const BetweenBins row(Wrapped(start.y + along * step.y, grid.Rows()), grid.Rows());
            const auto value = static_cast<float>(pixels[x]);
            const auto add = [&](int r, int c, float weight)
            {
                sums.at<float>(r, c) += weight * value;
                weights.at<float>(r, c) += weight;
            };
            add(row.first, column.first, (1.0F - row.share) * (1.0F - column.share));
            add(row.first, column.second, (1.0F - row.share) * column.share);
            add(row.second, column.first, row.share * (1.0F - column.share));
            add(row.second, column.second, row.share * column.share);
        }
    }
    double least = 0.0;
    cv::minMaxLoc(weights, &least);
    if (least < 0.5)
        return false;
    cell = sums / weights;
    return true;
}

} // namespace narvo
