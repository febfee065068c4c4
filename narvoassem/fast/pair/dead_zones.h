// SPDX-License-Identifier: MIT
// The dead zones of the parameters: rectangles in which records are dropped.
#pragma once

#include "narvoassem/convparam.h"

namespace narvo::engine
{

/// The list ends at its first empty rectangle; a list without an empty one counts as empty.
class CDeadZones
{
public:
    /// None without parameters.
    explicit CDeadZones(const CConvParam* pParam) : m_pZones(pParam != nullptr ? pParam->rtDeadZone : nullptr)
    {
        for (int n = 0; m_pZones != nullptr && n < CConvParam::nDeadZoneLimit; ++n)
            if (m_pZones[n].IsRectEmpty())
            {
                m_nCount = n;
                return;
            }
    }

    bool Contains(int x, int y) const
    {
        for (int n = 0; n < m_nCount; ++n)
            if (m_pZones[n].PtInRect(CPoint(x, y)))
                return true;
        return false;
    }

private:
    const CRect* m_pZones = nullptr;
    int m_nCount = 0;
};

} // namespace narvo::engine
