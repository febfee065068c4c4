// SPDX-License-Identifier: MIT
// From defects to marks, and from marks to phases.
#include "host/lot/lot_marks.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace narvo
{

std::vector<LotMark> MarksOf(const Lot& lot, std::size_t region, int side)
{
    const CRect& box = lot.regions[region].box;
    std::vector<LotMark> marks;
    for (const LotDefect& defect : lot.defects)
        if (defect.region == region && box.right > box.left && box.bottom > box.top)
            marks.push_back({defect.image, std::clamp(defect.x, box.left, box.right - 1) - box.left,
                             std::clamp(defect.y, box.top, box.bottom - 1) - box.top});
    const auto square = [side](const LotMark& mark) { return std::tuple(mark.y / side, mark.x / side, mark.image); };
    std::sort(marks.begin(), marks.end(),
              [&](const LotMark& one, const LotMark& other)
              { return std::tuple(square(one), one.y, one.x) < std::tuple(square(other), other.y, other.x); });
    marks.erase(std::unique(marks.begin(), marks.end(),
                            [&](const LotMark& one, const LotMark& other) { return square(one) == square(other); }),
                marks.end());
    return marks;
}

PhaseMap::PhaseMap(const LotRegion& region, const std::vector<LotMark>& marks)
{
    if (!region.cell)
        return;
    m_there = true;
    m_originX = region.cell->originX - region.box.left;
    m_originY = region.cell->originY - region.box.top;
    m_a = region.cell->lattice.vectors.at(0);
    m_b = region.cell->lattice.vectors.at(1);
    m_upright = m_a.y == 0.0 && m_b.x == 0.0;
    m_determinant = m_a.x * m_b.y - m_a.y * m_b.x;
    m_width = m_a.Length();
    m_height = m_b.Length();
    m_cells = region.area / std::abs(m_determinant);
    // A pitch may be as long as an image; the histogram stays small.
    constexpr double dMostBins = 2048.0;
    m_columns = static_cast<int>(std::clamp(std::floor(m_width), 1.0, dMostBins));
    m_rows = static_cast<int>(std::clamp(std::floor(m_height), 1.0, dMostBins));
    const auto stride = static_cast<std::size_t>(m_columns) + 1;
    m_sums.assign(stride * (static_cast<std::size_t>(m_rows) + 1), 0);
    for (const LotMark& mark : marks)
    {
        const auto [u, v] = PhaseAt(mark.x, mark.y);
        const int column = std::min(static_cast<int>(u / m_width * m_columns), m_columns - 1);
        const int row = std::min(static_cast<int>(v / m_height * m_rows), m_rows - 1);
        ++m_sums[(static_cast<std::size_t>(row) + 1) * stride + static_cast<std::size_t>(column) + 1];
    }
    for (std::size_t row = 1; row <= static_cast<std::size_t>(m_rows); ++row)
        for (std::size_t column = 1; column < stride; ++column)
            m_sums[row * stride + column] += m_sums[(row - 1) * stride + column] + m_sums[row * stride + column - 1] -
                                             m_sums[(row - 1) * stride + column - 1];
}

std::pair<double, double> PhaseMap::StepsAt(double x, double y) const
{
    x -= m_originX;
    y -= m_originY;
    return {(x * m_b.y - y * m_b.x) / m_determinant, (y * m_a.x - x * m_a.y) / m_determinant};
}

std::pair<double, double> PhaseMap::PhaseAt(double x, double y) const
{
    const auto within = [](double value, double period)
    {
        const double rest = std::fmod(value, period); // exact
        const double phase = rest < 0.0 ? rest + period : rest;
        return phase < period ? phase : 0.0;
    };
    if (m_upright)
        return {within(x - m_originX, m_width), within(y - m_originY, m_height)};
    const auto [a, b] = StepsAt(x, y);
    return {within(a, 1.0) * m_width, within(b, 1.0) * m_height};
}

std::pair<std::int64_t, std::int64_t> PhaseMap::CellAt(double x, double y) const
{
    const auto [a, b] = StepsAt(x, y);
    return {static_cast<std::int64_t>(std::floor(a)), static_cast<std::int64_t>(std::floor(b))};
}

std::size_t PhaseMap::Sum(int u, int v) const
{
    // Sums over the plane, in which the cell repeats.
    const auto stride = static_cast<std::size_t>(m_columns) + 1;
    const auto at = [&](int column, int row)
    { return m_sums[static_cast<std::size_t>(row) * stride + static_cast<std::size_t>(column)]; };
    const int wholeU = u / m_columns;
    const int wholeV = v / m_rows;
    const int restU = u % m_columns;
    const int restV = v % m_rows;
    const auto times = [](int count, std::size_t sum) { return static_cast<std::size_t>(count) * sum; };
    return times(wholeU * wholeV, at(m_columns, m_rows)) + times(wholeU, at(m_columns, restV)) +
           times(wholeV, at(restU, m_rows)) + at(restU, restV);
}

std::size_t PhaseMap::CountAround(double x, double y, double width, double height) const
{
    const auto [u, v] = PhaseAt(x, y);
    const auto span = [](double middle, double size, double period, int bins)
    {
        if (size >= period)
            return std::pair(0, bins);
        const double scale = bins / period;
        const int count = std::clamp(static_cast<int>(std::ceil(size * scale)), 1, bins);
        const int begin = static_cast<int>(std::floor((middle - 0.5 * size) * scale));
        return std::pair((begin % bins + bins) % bins, count);
    };
    const auto [left, columns] = span(u, width, m_width, m_columns);
    const auto [top, rows] = span(v, height, m_height, m_rows);
    return Sum(left + columns, top + rows) - Sum(left, top + rows) - Sum(left + columns, top) + Sum(left, top);
}

} // namespace narvo
