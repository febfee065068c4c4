// The zone comparison: from the parameters to one kernel, and from its pairs to blobs. It holds no arithmetic of its
// own.
#include "narvoassem/compare/zone_driver.h"

#include <cstdint>
#include <limits>

#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/con_buff.h"
#include "narvoassem/fixed_pitch.h"
#include "narvoassem/narvoassem.h"
#include "narvoassem/wrap_int.h"

namespace narvo
{
namespace
{

/// Kernels that are members of the engine: they read dead zones and the second thresholds from the parameters.
bool ReadsEngine(ZoneKernel eKernel)
{
    return eKernel == ZoneKernel::Vert2S || eKernel == ZoneKernel::Vert2STsp || eKernel == ZoneKernel::Vert2SBlack ||
           eKernel == ZoneKernel::VtdIntrin;
}

bool HasFlaggedRecords(ZoneKernel eKernel)
{
    return eKernel == ZoneKernel::VertFlag || eKernel == ZoneKernel::VertFlag2by2;
}

} // namespace

ZoneKernel ChooseZoneKernel(const CConvParam& param)
{
    if (param.nDirection == 0)
        return param.pConvPitchTable != nullptr ? ZoneKernel::HoriTable : ZoneKernel::Hori;

    const bool bExtended = param.bExtendedKernel != 0;
    const bool bRowTable = param.pScanPitchTable != nullptr;
    const bool bShift = param.fVtdPitch != 0.0F;
    const bool bFlagged = param.bZoneFlagged != 0;
    const bool bAverage = param.bAverage2by2 != 0;
    if (bRowTable)
        return bExtended ? ZoneKernel::ClassIdTable : ZoneKernel::Vtd;
    if (bShift)
        return bExtended ? ZoneKernel::VtdIntrin : ZoneKernel::Vtd;
    if (param.bUseLineBuffer == 0)
        return ZoneKernel::VertDirect;
    if (param.bTwoSegmentThreshold != 0 && param.pThresholdKneeMap != nullptr)
        return ZoneKernel::VertKnee;
    if (bFlagged)
        return bAverage ? ZoneKernel::VertFlag2by2 : ZoneKernel::VertFlag;
    if (bAverage)
        return ZoneKernel::Vert2by2;
    if (bExtended && param.pTspTable != nullptr)
        return ZoneKernel::Vert2STsp;
    if (bExtended && param.nBlackFilterGray > 0)
        return ZoneKernel::Vert2SBlack;
    // Both forms of the class-id kernel, by dClassPitch and without, answer alike.
    if (bExtended)
        return ZoneKernel::ClassId;
    return ZoneKernel::Vert;
}

ZoneKernel ChooseAsgZoneKernel(const CConvParam& param)
{
    if (param.nDirection == 0)
        return param.pConvPitchTable != nullptr ? ZoneKernel::HoriTable : ZoneKernel::Hori;
    if (param.bUseLineBuffer == 0)
        return ZoneKernel::VertDirect;
    if (param.bTwoSegmentThreshold != 0 && param.pThresholdKneeMap != nullptr)
        return ZoneKernel::VertKnee;
    return param.bAverage2by2 != 0 ? ZoneKernel::Vert2by2 : ZoneKernel::Vert;
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

CZoneCall MakeZoneCall(CPairStorage& store, ZoneKernel eKernel, const CZoneCellSize& cell, int* pEndLine)
{
    const CConvParam& param = store.ConvParam;
    CZoneCall call;
    FillKernelCall(call, store, pEndLine);
    call.nPitch16 = ToPitch16(param.nDirection == 0 ? param.GetRealConvPitch() : param.GetRealScanPitch());
    if (eKernel == ZoneKernel::Vtd || eKernel == ZoneKernel::ClassIdTable)
        call.pScanPitchTable = param.pScanPitchTable;
    if (eKernel == ZoneKernel::Vtd || eKernel == ZoneKernel::VtdIntrin)
        call.nVtdPitch16 = ToShift16(param.fVtdPitch);
    if (ReadsEngine(eKernel))
        call.pParam = &param;

    call.pOffsetMap = param.pThresholdOffsetMap;
    call.pGainMap = param.pThresholdGainMap;
    call.pZoneIndexMap = param.pZoneIndexMap;
    call.pKneeMap = param.pThresholdKneeMap;
    call.pOffsetMap2 = param.pThresholdOffsetMap2;
    call.pGainMap2 = param.pThresholdGainMap2;
    // The class-id kernel without a row table is given no class ids.
    call.pClassIdMap = eKernel == ZoneKernel::ClassIdTable ? param.pClassIdMap : nullptr;
    call.nMapStride = param.nZoneMapStride;
    call.pOriginTable = param.pZoneOriginTable;
    call.nRowBytes = std::int64_t{param.nZoneColumns} * (HasFlaggedRecords(eKernel) ? 12 : 8);
    call.nCellWidth = cell.nWidth;
    call.nCellHeight = cell.nHeight;
    return call;
}

} // namespace narvo

int CNarvoAssem::Compare_Zone2()
{
    using namespace narvo;

    const int nBlobStart = nBlobCount;
    const bool bHorizontal = ConvParam.nDirection == 0;
    int nEndLine = bHorizontal ? ConvParam.rtInspect.bottom : ConvParam.rtInspect.right;
    if (!bHorizontal)
        SizeConBuff(*this, WrapMul(ConvParam.rtInspect.Height(), 16));

    const ZoneKernel eKernel = ChooseZoneKernel(ConvParam);
    if (eKernel == ZoneKernel::ClassIdTable)
        nPairCount = 0;
    nPairCount = RunZoneKernel(eKernel, MakeZoneCall(*this, eKernel, GetZoneCellSize(ConvParam), &nEndLine));

    if (bHorizontal)
        FinishHorizontal(*this, nBlobStart);
    else
        FinishVerticalWithinLimit(*this, nBlobStart);
    return nEndLine;
}
