// SPDX-License-Identifier: MIT
// The options of a parameter block.
#include "narvoassem/fast/call/kernel_table.h"

#include "narvoassem/base/wrap_int.h"

namespace narvo::engine
{

COptionSet GetKernelOptions(const CConvParam& param)
{
    using enum KernelOption;
    const int nArea = WrapMul(param.nConvWidth, param.nConvHeight);
    const auto set = [](KernelOption eOption, bool bSet) { return bSet ? COptionSet(eOption) : COptionSet(); };
    return set(ConvPitches, param.pConvPitchTable != nullptr) | set(ScanPitches, param.pScanPitchTable != nullptr) |
           set(Extended, param.bExtendedKernel != 0) | set(CrossShift, param.fVtdPitch != 0.0F) |
           set(NoLineBuffer, param.bUseLineBuffer == 0) |
           set(TwoSegment, param.bTwoSegmentThreshold != 0 && param.pThresholdKneeMap != nullptr) |
           set(Flagged, param.bZoneFlagged != 0) | set(Average, param.bAverage2by2 != 0) |
           set(ZoneTables, param.pTspTable != nullptr) | set(SecondSet, param.nBlackFilterGray > 0) |
           set(ClassPitch, param.dClassPitch != 0.0) | set(ClassIds, param.pClassIdMap != nullptr) |
           set(DeadZones, !param.rtDeadZone[0].IsRectEmpty()) | set(Twice, param.bTwice != 0) |
           set(NoSingles, param.bKeepSingle == 0) | set(Window6, nArea == 6) | set(Window9, nArea != 4 && nArea != 6) |
           set(LargerWindow, nArea != 4);
}

} // namespace narvo::engine
