// SPDX-License-Identifier: MIT
// Copies of rows.
#include "host/stream/row_window.h"

#include <algorithm>
#include <cstring>

namespace narvo
{

void RowWindow::Restart(std::int64_t row)
{
    m_first = row;
    m_count = 0;
}

int RowWindow::Append(const std::uint8_t* rows, int count, std::ptrdiff_t stride)
{
    const int taken = std::min(count, m_pixels.Height() - m_count);
    const auto width = static_cast<std::size_t>(m_pixels.Width());
    for (int i = 0; i < taken; ++i)
    {
        std::uint8_t* const row = m_pixels.Row(m_count + i);
        std::memcpy(row, rows + i * stride, width);
        std::fill(row + width, row + m_pixels.Stride(), row[width - 1]);
    }
    m_count += taken;
    return taken;
}

void RowWindow::DropBefore(std::int64_t row)
{
    const int dropped = static_cast<int>(row - m_first);
    if (dropped <= 0)
        return;
    m_count -= dropped;
    const auto stride = static_cast<std::size_t>(m_pixels.Stride());
    std::memmove(m_pixels.Row(0), m_pixels.Row(dropped), static_cast<std::size_t>(m_count) * stride);
    m_first = row;
}

} // namespace narvo
