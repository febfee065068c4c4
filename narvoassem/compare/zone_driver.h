// SPDX-License-Identifier: MIT
// The zone comparisons up to their pairs: the choice of a kernel, and the call that the engine makes of it.
#pragma once

#include "narvoassem/convparam.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/zone/zone_table.h"

class CNarvoAssem;

namespace narvo::engine
{

/// The choice of Compare_Zone2. Every nDirection except 0 is vertical.
const CZoneChoice& ChooseZoneKernel(const CConvParam& param);
/// The choice of Compare_ASGZone.
const CZoneChoice& ChooseAsgZoneKernel(const CConvParam& param);

/// A zone cell in whole pixels.
struct CZoneCellSize
{
    int nWidth = 0;
    int nHeight = 0;
};

/// Cells of Compare_Zone2: the zone pitches, truncated.
CZoneCellSize GetZoneCellSize(const CConvParam& param);
/// Cells of Compare_ASGZone: unbounded across the compare direction. Horizontal cells are one compare distance wide.
CZoneCellSize GetAsgZoneCellSize(const CConvParam& param);

/// The call of a choice on the parameters and stores of an engine. Its pitches must have passed CheckBounds.
CZoneCall MakeZoneCall(CPairStorage& store, const CZoneChoice& choice, const CZoneCellSize& cell, int* pEndLine);

/// Runs the kernel of Compare_Zone2 or Compare_ASGZone. @return the new pair count
int RunZone(CNarvoAssem& engine, bool bAsg, int& nEndLine);

} // namespace narvo::engine
