// SPDX-License-Identifier: MIT
// Limits row by row.
#include "host/reference/reference_limits.h"

#include <cstdlib>

namespace narvo
{

GreyImage ReferenceLimits::Thresholds(const GreyImage& inside) const
{
    GreyImage threshold(m_image.Width(), m_image.Height());
    for (int y = 0; y < m_image.Height(); ++y)
    {
        const Row row(*this, y);
        const std::uint8_t* mask = inside.Row(y);
        std::uint8_t* line = threshold.Row(y);
        for (int x = 0; x < m_image.Width(); ++x)
            line[x] =
                static_cast<std::uint8_t>(mask[x] != 0 ? std::min(255, Row::Limit(row.Play(x), row.Least(x))) : 255);
    }
    return threshold;
}

bool ReferenceLimits::IsMoreThanAnEdge(const CRect& box) const
{
    for (int y = std::max(0, box.top); y < std::min(m_image.Height(), box.bottom); ++y)
    {
        const Row row(*this, y);
        for (int x = std::max(0, box.left); x < std::min(m_image.Width(), box.right); ++x)
        {
            const int play = static_cast<int>(row.Play(x) / dOuterShare);
            if (std::abs(row.Difference(x)) > Row::Limit(play, row.Least(x)))
                return true;
        }
    }
    return false;
}

} // namespace narvo
