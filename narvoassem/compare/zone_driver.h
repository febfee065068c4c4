// What the zone comparisons share: the choice of a kernel and the call that the engine makes of it.
#pragma once

#include "narvoassem/convparam.h"
#include "narvoassem/fast/kernel_call.h"
#include "narvoassem/pairstorage.h"

namespace narvo
{

/// The kernel of Compare_Zone2, by the first test that holds. Every nDirection but 0 is vertical.
ZoneKernel ChooseZoneKernel(const CConvParam& param);
/// The kernel of Compare_ASGZone: tables by row, shifts, flags and extended kernels mean nothing here.
ZoneKernel ChooseAsgZoneKernel(const CConvParam& param);

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

/// The call of eKernel on the parameters and stores of an engine. Its pitches must have passed CheckBounds.
CZoneCall MakeZoneCall(CPairStorage& store, ZoneKernel eKernel, const CZoneCellSize& cell, int* pEndLine);

} // namespace narvo
