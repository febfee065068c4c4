// SPDX-License-Identifier: MIT
// Construction of cell maps and origin tables.
#include "host/zones/zone_tables.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace narvo
{

namespace
{

// The search for a re-run's column stops four records before the end of a grid row; the flagged kernels look one
// record ahead.
constexpr int nSpareBehind = 6;

int CellAt(int place, double origin, double size)
{
    const auto start = [&](int cell) { return static_cast<int>(std::floor(origin + cell * size)); };
    int cell = static_cast<int>(std::floor((place - origin) / size));
    while (start(cell + 1) <= place)
        ++cell;
    while (start(cell) > place)
        --cell;
    return cell;
}

/// Which pixel of the painted cell a place falls on; places outside the cell wrap around at its real size.
int Wrap(int place, double size, int limit)
{
    const double inside = place - std::floor(place / size) * size;
    return std::clamp(static_cast<int>(inside), 0, limit - 1);
}

} // namespace

int CellGeometry::Left(int column) const
{
    return static_cast<int>(std::floor(originX + column * width));
}

int CellGeometry::Top(int row) const
{
    return static_cast<int>(std::floor(originY + row * height));
}

int CellGeometry::ColumnOf(int x) const
{
    return CellAt(x, originX, width);
}

int CellGeometry::RowOf(int y) const
{
    return CellAt(y, originY, height);
}

CRect CellMap::Extent(const CellGeometry& cell)
{
    const int wide = static_cast<int>(std::ceil(cell.width)) + 1;
    const int high = static_cast<int>(std::ceil(cell.height)) + 1;
    return {-wide - nStripWidth, -high, 2 * wide + nStripWidth, 2 * high + 1};
}

CellMap::CellMap(const CellGeometry& cell, const GreyImage& painted, const std::array<short, 16>& values)
    : CellMap(cell, painted, values, Extent(cell))
{
}

CellMap::CellMap(const CellGeometry& cell, const GreyImage& painted, const std::array<short, 16>& values,
                 const CRect& extent)
{
    m_stride = extent.Width();
    m_first = static_cast<std::size_t>(-extent.top) * static_cast<std::size_t>(m_stride) +
              static_cast<std::size_t>(-extent.left);
    m_values.assign(static_cast<std::size_t>(m_stride) * static_cast<std::size_t>(extent.Height()), values[0]);
    if (painted.IsEmpty())
        return;

    std::vector<int> columns(static_cast<std::size_t>(m_stride));
    for (int x = 0; x < m_stride; ++x)
        columns[static_cast<std::size_t>(x)] = Wrap(x + extent.left, cell.width, painted.Width());
    auto target = m_values.begin();
    for (int y = extent.top; y < extent.bottom; ++y)
    {
        const std::uint8_t* row = painted.Row(Wrap(y, cell.height, painted.Height()));
        target = std::transform(columns.begin(), columns.end(), target, [&](int x) { return values[row[x] & 15U]; });
    }
}

int OriginTable::RowsFor(const CellGeometry& cell, const CRect& region)
{
    return 1 + cell.RowOf(region.bottom) - cell.RowOf(region.top) + 1 + nSpareBehind;
}

int OriginTable::ColumnsFor(const CellGeometry& cell, const CRect& region)
{
    return cell.ColumnOf(region.right) - cell.ColumnOf(region.left) + 1 + nSpareBehind;
}

OriginTable::OriginTable(const CellGeometry& cell, const CRect& region, const std::vector<std::pair<int, int>>& skipped)
    : m_recordInts(skipped.empty() ? 2 : 3), m_skipped(skipped.begin(), skipped.end())
{
    Move(cell, region);
}

void OriginTable::Move(const CellGeometry& cell, const CRect& region, int firstRow)
{
    m_columns = ColumnsFor(cell, region);
    m_rows = RowsFor(cell, region);
    const int firstColumn = cell.ColumnOf(region.left);
    const int gridRow = cell.RowOf(region.top) - 1;
    m_records.clear();
    m_records.reserve(static_cast<std::size_t>(m_columns) * static_cast<std::size_t>(m_rows) *
                      static_cast<std::size_t>(m_recordInts));
    for (int row = gridRow; row < gridRow + m_rows; ++row)
        for (int column = firstColumn; column < firstColumn + m_columns; ++column)
        {
            m_records.push_back(cell.Left(column));
            m_records.push_back(cell.Top(row) - firstRow);
            if (m_recordInts == 3)
                m_records.push_back(m_skipped.contains({column, row}) ? 1 : 0);
        }
}

int* OriginTable::Entry(bool vertical)
{
    return m_records.data() + (vertical ? 0 : m_columns * m_recordInts);
}

} // namespace narvo
