// SPDX-License-Identifier: MIT
// Places a pitch inward, and the boxes that hold them.
#include "host/stream/ghost_filter.h"

#include <algorithm>
#include <cmath>

namespace narvo
{

namespace
{

constexpr int nWiden = 3; // pixels that a neighbour's box is widened by

} // namespace

GhostFilter::GhostFilter(bool vertical, double pitch, std::size_t capacity) : m_vertical(vertical), m_pitch(pitch)
{
    m_neighbours.reserve(capacity);
    m_waiting.reserve(capacity);
}

void GhostFilter::Add(std::int64_t row, const CDefectBlob& blob, const Take& take)
{
    const CRect& box = blob.rtDefect;
    m_neighbours.push_back({{row + box.top, row + box.bottom, box.left, box.right}, m_count});
    const bool isFirst = blob.nDefectPos == DefectPos_First;
    if (!isFirst && blob.nDefectPos != DefectPos_Last)
        take(row, blob);
    else
    {
        Waiting one{row, m_count, blob, row + blob.ptCenter.y, blob.ptCenter.x};
        const double shift = isFirst ? m_pitch : -m_pitch;
        if (m_vertical)
            one.ghostRow = static_cast<std::int64_t>(static_cast<double>(one.ghostRow) + shift);
        else
            one.ghostX = static_cast<int>(one.ghostX + shift);
        m_waiting.push_back(one);
    }
    ++m_count;
}

bool GhostFilter::IsGhost(const Waiting& one) const
{
    return std::any_of(m_neighbours.begin(), m_neighbours.end(),
                       [&](const Neighbour& near)
                       {
                           return near.number != one.number && near.box.left - nWiden <= one.ghostX &&
                                  one.ghostX < near.box.right + nWiden && near.box.top - nWiden <= one.ghostRow &&
                                  one.ghostRow < near.box.bottom + nWiden;
                       });
}

void GhostFilter::Settle(std::int64_t horizon, const Take& take)
{
    std::int64_t wanted = horizon - (m_vertical ? static_cast<std::int64_t>(std::ceil(m_pitch)) + 1 : 0);
    std::erase_if(m_waiting,
                  [&](const Waiting& one)
                  {
                      if (one.ghostRow + nWiden >= horizon)
                      {
                          wanted = std::min(wanted, one.ghostRow);
                          return false;
                      }
                      if (!IsGhost(one))
                          take(one.row, one.blob);
                      return true;
                  });
    std::erase_if(m_neighbours, [&](const Neighbour& near) { return near.box.bottom + nWiden <= wanted; });
}

} // namespace narvo
