// SPDX-License-Identifier: MIT
// The pair record.
#include "narvoassem/defectpair.h"

#include <cstdint>
#include <cstdlib>

CDefectPair::CDefectPair()
{
    Reset();
}

void CDefectPair::Reset()
{
    nDefectPos = DefectPos_None;
    nDefectPair = DefectPair_None;
    nDefectType = DefectType_None;
    nPeak = 0;
    ptDefect = CPoint(0, 0);
    nSrcGray = 0;
    nCmpGray = 0;
    nZoneIndex = 0;
    nThreshold = 0;
    nSubZone = 0;
}

void CDefectPair::SetPeak(int nValue, int nBase, int nDivisor)
{
    // 64 bits, so that only a divisor of 0 can trap.
    nPeak = static_cast<int>((std::abs(static_cast<std::int64_t>(nValue)) - nBase) / nDivisor);
}
