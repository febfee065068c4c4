// SPDX-License-Identifier: MIT
// How often defects lie where, in the image and in the cell of the pattern.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "tools/live/live_records.h"

namespace narvo::tools
{

/// Counts over a field of squares, which covers the image, or a cell.
template <std::size_t columns, std::size_t rows>
class DefectMap
{
public:
    static constexpr std::size_t nColumns = columns;
    static constexpr std::size_t nRows = rows;

    /// A place as shares of width and height; those outside 0 to 1 count at the border.
    void Add(double across, double down) { ++m_counts[Index(down, rows) * columns + Index(across, columns)]; }

    const std::array<std::uint32_t, columns * rows>& Counts() const { return m_counts; }

private:
    static std::size_t Index(double share, std::size_t count)
    {
        const double place = share * static_cast<double>(count);
        return place >= static_cast<double>(count) ? count - 1 : place > 0.0 ? static_cast<std::size_t>(place) : 0;
    }

    std::array<std::uint32_t, columns * rows> m_counts{};
};

using ImageMap = DefectMap<48, 32>;
using CellMap = DefectMap<24, 24>;

/// A place in a cell as shares of its two vectors, counted from the image's corner.
struct CellPlace
{
    bool known = false; ///< false where the pattern has no cell
    double alongA = 0.0;
    double alongB = 0.0;
};
CellPlace PlaceInCell(const PatternCell& cell, double x, double y);

} // namespace narvo::tools
