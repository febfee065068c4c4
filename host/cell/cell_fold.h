// SPDX-License-Identifier: MIT
// An image folded into one cell of its pattern: the mean of all pixels that lie at the same place of a cell.
#pragma once

#include <cstdint>
#include <vector>

#include <opencv2/core.hpp>

#include "host/cell/pattern_cell.h"
#include "host/image/grey_image.h"
#include "narvoassem/platform.h"

namespace narvo
{

/// Bins of a cell, about a pixel each, along its two vectors.
class CellGrid
{
public:
    explicit CellGrid(const PatternCell& cell);

    int Columns() const { return m_columns; }
    int Rows() const { return m_rows; }
    /// Pixels that a bin measures along the vectors.
    double ColumnWidth() const { return m_cell.lattice.vectors[0].Length() / m_columns; }
    double RowHeight() const { return m_cell.lattice.vectors[1].Length() / m_rows; }
    /// Sides of the smallest upright box that holds a cell, pixels.
    double Width() const;
    double Height() const;

    /// Bins from the corner of the cell that holds the place (x, y), not wrapped to one cell.
    cv::Point2d BinsAt(double x, double y) const;

private:
    PatternCell m_cell;
    double m_determinant;
    int m_columns;
    int m_rows;
};

/// The pixels of an image that take part.
struct FoldArea
{
    CRect box;                      ///< right and bottom exclusive, within the image
    std::vector<std::uint8_t> mask; ///< of the whole image, 1 where a pixel takes part; empty: all of the box
    int stride = 0;                 ///< of the mask
};

/// The mean of each bin (CV_32F, rows by columns of the grid) over the pixels of `part`, whose places are moved by
/// `shift` bins first. A pixel between bins counts in all four by its distance. @return false where a bin has less than
/// half a pixel
bool FoldInto(const GreyView& image, const FoldArea& area, const CRect& part, const CellGrid& grid, cv::Point2d shift,
              cv::Mat& cell);

} // namespace narvo
