// SPDX-License-Identifier: MIT
// Defects as marks: each image once in each square of the finest grid, so that a defect that broke into several counts
// once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "host/lot/lot_records.h"

namespace narvo
{

struct LotMark
{
    std::uint32_t image = 0;
    int x = 0; ///< pixels from the corner of the region's box
    int y = 0;
    bool operator==(const LotMark& other) const = default;
};

/// Marks of one region in an order of their own. `side` is that of a square, pixels.
std::vector<LotMark> MarksOf(const Lot& lot, std::size_t region, int side);

/// Where marks lie in the pattern's cell, counted.
class PhaseMap
{
public:
    /// A region without a cell has no phases.
    PhaseMap(const LotRegion& region, const std::vector<LotMark>& marks);

    bool IsThere() const { return m_there; }
    /// Displacement from the corner of a cell along its vectors, pixels: 0 up to their length.
    std::pair<double, double> PhaseAt(double x, double y) const;
    /// Which cell: whole steps along the vectors.
    std::pair<std::int64_t, std::int64_t> CellAt(double x, double y) const;
    double Width() const { return m_width; }
    double Height() const { return m_height; }
    /// Cells in the region, as its area says.
    double Cells() const { return m_cells; }
    /// Whether the vectors lie along x and y.
    bool IsUpright() const { return m_upright; }
    /// Marks of all cells within a window of such a size around the phase of a place. A size at or above that of the
    /// cell takes all of it.
    std::size_t CountAround(double x, double y, double width, double height) const;

private:
    std::pair<double, double> StepsAt(double x, double y) const;
    std::size_t Sum(int u, int v) const;

    bool m_there = false;
    bool m_upright = false;
    double m_originX = 0.0; ///< of a cell, pixels from the corner of the region's box
    double m_originY = 0.0;
    LatticeVector m_a;
    LatticeVector m_b;
    double m_determinant = 1.0;
    double m_width = 0.0;
    double m_height = 0.0;
    double m_cells = 0.0;
    int m_columns = 0; ///< of the histogram, about a pixel each
    int m_rows = 0;
    std::vector<std::size_t> m_sums; ///< of all marks left of and above
};

} // namespace narvo
