// SPDX-License-Identifier: MIT
// The zone comparisons: from the parameters to one kernel. They hold no arithmetic of their own.
#include "narvoassem/compare/zone_driver.h"

#include <cstdint>
#include <limits>

#include "narvoassem/base/fixed_pitch.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/compare/con_buff.h"
#include "narvoassem/narvoassem.h"

namespace narvo::engine
{

const CZoneChoice& ChooseZoneKernel(const CConvParam& param)
{
    return SelectKernel(GetZoneChoices(param.nDirection != 0), GetKernelOptions(param));
}

const CZoneChoice& ChooseAsgZoneKernel(const CConvParam& param)
{
    return SelectKernel(GetAsgZoneChoices(param.nDirection != 0), GetKernelOptions(param));
}

CZoneCellSize GetZoneCellSize(const CConvParam& param)
{
    return {TruncateToInt(param.GetZoneConvPitch()), TruncateToInt(param.GetZoneScanPitch())};
}

CZoneCellSize GetAsgZoneCellSize(const CConvParam& param)
{
    constexpr int nUnbounded = std::numeric_limits<int>::max();
    if (param.nDirection == 0)
        return {TruncateToInt(param.GetRealConvPitch()), nUnbounded};
    return {nUnbounded, TruncateToInt(param.GetZoneScanPitch())};
}

CZoneCall MakeZoneCall(CPairStorage& store, const CZoneChoice& choice, const CZoneCellSize& cell, int* pEndLine)
{
    const CConvParam& param = store.ConvParam;
    const CZoneTraits& traits = GetKernelRow(choice.eKernel).traits;
    CZoneCall call;
    FillKernelCall(call, store, pEndLine);
    call.nPitch16 = ToPitch16(param.nDirection == 0 ? param.GetRealConvPitch() : param.GetRealScanPitch());
    if (choice.Uses(KernelOption::ScanPitches))
        call.pScanPitchTable = param.pScanPitchTable;
    if (choice.Uses(KernelOption::CrossShift))
        call.nVtdPitch16 = ToShift16(param.fVtdPitch);
    if (traits.bDeadZones)
        call.pParam = &param;

    call.pOffsetMap = param.pThresholdOffsetMap;
    call.pGainMap = param.pThresholdGainMap;
    call.pZoneIndexMap = param.pZoneIndexMap;
    call.pKneeMap = param.pThresholdKneeMap;
    call.pOffsetMap2 = param.pThresholdOffsetMap2;
    call.pGainMap2 = param.pThresholdGainMap2;
    // The class-id kernel without a row table gets no class ids.
    call.pClassIdMap = choice.Uses(KernelOption::ClassIds) ? param.pClassIdMap : nullptr;
    call.nMapStride = param.nZoneMapStride;
    call.pOriginTable = param.pZoneOriginTable;
    call.nRowBytes = std::int64_t{param.nZoneColumns} * (traits.bFlagged ? 12 : 8);
    call.nCellWidth = cell.nWidth;
    call.nCellHeight = cell.nHeight;
    return call;
}

int RunZone(CNarvoAssem& engine, bool bAsg, int& nEndLine)
{
    const CConvParam& param = engine.ConvParam;
    const bool bHorizontal = param.nDirection == 0;
    // The sides of an ASG comparison are exchanged; only a direct caller reads its end line.
    nEndLine = bHorizontal != bAsg ? param.rtInspect.bottom : param.rtInspect.right;
    if (!bHorizontal)
        SizeConBuff(engine, WrapMul(param.rtInspect.Height(), bAsg ? 4 : 16));

    const CZoneChoice& choice = bAsg ? ChooseAsgZoneKernel(param) : ChooseZoneKernel(param);
    if (choice.eKernel == ZoneKernel::ClassIdTable)
        engine.nPairCount = 0;
    const CZoneCellSize cell = bAsg ? GetAsgZoneCellSize(param) : GetZoneCellSize(param);
    return RunZoneKernel(choice.eKernel, MakeZoneCall(engine, choice, cell, &nEndLine));
}

} // namespace narvo::engine
