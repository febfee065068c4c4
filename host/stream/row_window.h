// SPDX-License-Identifier: MIT
// The rows of a stream that are kept.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/image/grey_image.h"

namespace narvo
{

/// A stretch of consecutive rows, which grows below and is cut off above.
class RowWindow
{
public:
    RowWindow(int width, int capacity) : m_pixels(width, capacity) {}

    /// Forgets all; the next row that is appended is `row`.
    void Restart(std::int64_t row);
    /// Copies as many rows as there is room for. @return their number
    int Append(const std::uint8_t* rows, int count, std::ptrdiff_t stride);
    /// Forgets the rows before `row`.
    void DropBefore(std::int64_t row);

    std::int64_t First() const { return m_first; }
    /// One behind the last row.
    std::int64_t End() const { return m_first + m_count; }
    bool IsFull() const { return m_count == m_pixels.Height(); }
    /// A row that is kept.
    const std::uint8_t* Row(std::int64_t row) const { return m_pixels.Row(static_cast<int>(row - m_first)); }
    /// The memory of all rows, in use or not.
    const GreyImage& Image() const { return m_pixels; }

private:
    GreyImage m_pixels;
    std::int64_t m_first = 0;
    int m_count = 0;
};

} // namespace narvo
