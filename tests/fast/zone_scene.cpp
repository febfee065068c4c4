// SPDX-License-Identifier: MIT
// See zone_scene.h.
#include "fast/zone_scene.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include "fast/kernel_list.h"
#include "narvoassem/fastkernels.h"
#include "narvoassem/narvoassem.h"
#include "narvoassem/widekernels.h"
#include "reference/zone_reference.h"

namespace narvo::test
{

const char* KernelName(ZoneKernel eKernel)
{
    return engine::GetKernelRow(eKernel).pName;
}

bool IsHorizontal(ZoneKernel eKernel)
{
    return engine::GetKernelRow(eKernel).traits.scan.bHorizontal;
}

bool IsMember(ZoneKernel eKernel)
{
    return engine::GetKernelRow(eKernel).eHome == engine::KernelHome::Engine;
}

bool HasPeaks(ZoneKernel eKernel)
{
    return engine::GetKernelRow(eKernel).traits.bPeak;
}

const std::vector<ZoneKernel>& AllZoneKernels()
{
    static const std::vector<ZoneKernel> aKernels = ListKernels(engine::zoneKernels);
    return aKernels;
}

std::string CZoneScene::Describe() const
{
    std::ostringstream out;
    out << KernelName(eKernel) << " region " << call.region.nLeft << ',' << call.region.nTop << " to "
        << call.region.nRight << ',' << call.region.nBottom << " stride " << call.image.nStride << " rows "
        << call.image.nRows << " pitch16 " << call.nPitch16 << " cell " << call.nCellWidth << 'x' << call.nCellHeight
        << " map stride " << call.nMapStride << " hits " << aStartHits.size() << '/' << call.hits.nSize << " pairs "
        << call.pairs.nCount << '/' << call.pairs.nSize << " keep " << call.bKeepSingle << " extra "
        << call.nThresholdExtra << " limit " << call.nGrayLimit << " vtd " << call.nVtdPitch16 << " table "
        << (call.pScanPitchTable != nullptr);
    return out.str();
}

engine::CZoneCall CallOf(const CZoneScene& scene, CKernelOutcome& outcome)
{
    const auto nStart = static_cast<std::int64_t>(scene.aStartHits.size());
    outcome.Prepare(scene.call.hits.nSize, scene.aStartHits, scene.call.pairs.nCount, scene.call.pairs.nSize);
    engine::CZoneCall call = scene.call;
    call.hits = outcome.HitArrays(scene.call.hits.nSize, nStart);
    call.pairs = outcome.PairSink(scene.call.pairs.nCount, scene.call.pairs.nSize);
    call.pEndLine = &outcome.nEndLine;
    call.pParam = IsMember(scene.eKernel) ? &scene.param : nullptr;
    return call;
}

void RunReference(const CZoneScene& scene, CKernelOutcome& outcome)
{
    const engine::CZoneCall call = CallOf(scene, outcome);
    outcome.nReturned = reference::RunZoneKernel(scene.eKernel, call);
}

void RunThroughCall(const CZoneScene& scene, CKernelOutcome& outcome)
{
    const engine::CZoneCall call = CallOf(scene, outcome);
    outcome.nReturned = engine::RunZoneKernel(scene.eKernel, call);
}

namespace
{

// The public lists, argument by argument. Values that a kernel must not read are obviously invalid.
constexpr std::int64_t nUnread = 0x7777;

#define HIT_VALUES                                                                                                     \
    pImage, nUnread, c.hits.nSize, c.hits.nCount, c.region.nLeft, c.region.nRight, c.region.nTop, c.region.nBottom,    \
        c.hits.pX, c.hits.pY, c.hits.pType, c.hits.pPeak, c.hits.pSrcGray, c.hits.pCmpGray, c.hits.pZoneIndex,         \
        c.hits.pThreshold, c.image.nStride
#define PAIR_VALUES                                                                                                    \
    pOffset, pZone, c.nMapStride, pOrigin, c.pairs.pBase, c.pairs.nCount, c.pairs.nSize, c.pairs.nStride,              \
        c.nCellWidth, c.nCellHeight
#define ZONE_VALUES HIT_VALUES, c.nPitch16, nUnread, nUnread, PAIR_VALUES, c.nRowBytes, nUnread, pGain
#define VTD_VALUES HIT_VALUES, pScanTable, c.nPitch16, nUnread, PAIR_VALUES, c.nRowBytes, nUnread, pGain
#define STRIP_TAIL pStrip, c.bKeepSingle, c.pEndLine, c.nThresholdExtra, c.nGrayLimit
#define VTD_TAIL c.nVtdPitch16, c.bKeepSingle, c.pEndLine, c.nThresholdExtra, c.nGrayLimit
#define WIDE_MIDDLE                                                                                                    \
    nUnread, pOffset, pZone, c.nMapStride, pOrigin, c.pairs.pBase, c.pairs.nCount, c.pairs.nSize, c.pairs.nStride,     \
        c.nCellWidth, c.nCellHeight, c.nRowBytes, nUnread, pGain, nullptr
#define WIDE_TAIL c.bKeepSingle, c.pEndLine, c.nThresholdExtra, c.nGrayLimit, pStrip, 0, pClass

} // namespace

void RunPublic(const CZoneScene& scene, CKernelOutcome& outcome)
{
    static CNarvoAssem engine;

    const engine::CZoneCall c = CallOf(scene, outcome);
    auto* pImage = const_cast<unsigned char*>(c.image.pPixels);
    auto* pOffset = const_cast<short*>(c.pOffsetMap);
    auto* pGain = const_cast<short*>(c.pGainMap);
    auto* pZone = const_cast<short*>(c.pZoneIndexMap);
    auto* pClass = const_cast<short*>(c.pClassIdMap);
    auto* pScanTable = const_cast<int*>(c.pScanPitchTable);
    void* pOrigin = const_cast<int*>(c.pOriginTable);
    std::vector<short> aStrip(static_cast<std::size_t>((c.region.nBottom - c.region.nTop + 2) * 16), nShortUntouched);
    short* pStrip = aStrip.data();
    if (IsMember(scene.eKernel))
    {
        engine.ConvParam = scene.param;
        engine.ConvParam.nImageHeight = static_cast<int>(c.image.nRows);
    }

    switch (scene.eKernel)
    {
    case ZoneKernel::Vert:
        outcome.nReturned = ConvZoneVertFast(ZONE_VALUES, STRIP_TAIL);
        break;
    case ZoneKernel::VertDirect:
        outcome.nReturned = ConvZoneVertDirectFast(ZONE_VALUES, nullptr, c.bKeepSingle, c.pEndLine, c.nGrayLimit);
        break;
    case ZoneKernel::Vert2by2:
        outcome.nReturned = ConvZoneVert2by2Fast(ZONE_VALUES, STRIP_TAIL);
        break;
    case ZoneKernel::VertFlag:
        outcome.nReturned = ConvZoneVertFlagFast(ZONE_VALUES, STRIP_TAIL);
        break;
    case ZoneKernel::VertFlag2by2:
        outcome.nReturned = ConvZoneVertFlag2by2Fast(ZONE_VALUES, STRIP_TAIL);
        break;
    case ZoneKernel::VertKnee:
        outcome.nReturned =
            ConvZoneVertKneeFast(ZONE_VALUES, pStrip, c.bKeepSingle, c.pEndLine, const_cast<short*>(c.pKneeMap),
                                 const_cast<short*>(c.pOffsetMap2), const_cast<short*>(c.pGainMap2), c.nGrayLimit);
        break;
    case ZoneKernel::Vtd:
        outcome.nReturned = ConvZoneVTDFast(VTD_VALUES, VTD_TAIL);
        break;
    case ZoneKernel::Hori:
        outcome.nReturned = ConvZoneFast(ZONE_VALUES, c.bKeepSingle, c.pEndLine, c.nGrayLimit);
        break;
    case ZoneKernel::HoriTable:
        outcome.nReturned =
            ConvZoneTableFast(HIT_VALUES, const_cast<unsigned short*>(c.pConvPitchTable),
                              const_cast<short*>(c.pConvWeightNear), const_cast<short*>(c.pConvWeightFar), PAIR_VALUES,
                              nUnread, c.nPitch16, c.nRowBytes, pGain, c.bKeepSingle, c.pEndLine, c.nGrayLimit);
        break;
    case ZoneKernel::Vert2S:
        outcome.nReturned = engine.ConvZoneVert2S_Intrin(ZONE_VALUES, STRIP_TAIL);
        break;
    case ZoneKernel::Vert2STsp:
        outcome.nReturned = engine.ConvZoneVert2S_TSP_Intrin(ZONE_VALUES, STRIP_TAIL);
        break;
    case ZoneKernel::Vert2SBlack:
        outcome.nReturned = engine.ConvZoneVert2S_BlackFilter(ZONE_VALUES, STRIP_TAIL);
        break;
    case ZoneKernel::VtdIntrin:
        outcome.nReturned = engine.ConvZoneVTD_Intrin(VTD_VALUES, VTD_TAIL);
        break;
    case ZoneKernel::ClassId:
        if (scene.bDoublePitch)
        {
            const double dPitch = (static_cast<double>(c.nPitch16) + scene.dPitchRemainder) / 16.0;
            outcome.nReturned = ConvZone_AVX_ClassID(HIT_VALUES, nullptr, dPitch, WIDE_MIDDLE, 1.5, WIDE_TAIL);
        }
        else
            outcome.nReturned = ConvZone_AVX_ClassID(HIT_VALUES, nullptr, c.nPitch16, WIDE_MIDDLE, nUnread, WIDE_TAIL);
        break;
    case ZoneKernel::ClassIdTable:
        outcome.nReturned =
            ConvZoneVTDSMC_IntrinAVX(HIT_VALUES, pScanTable, c.nPitch16, WIDE_MIDDLE, nUnread, WIDE_TAIL);
        break;
    case ZoneKernel::Count:
        break;
    }
}

} // namespace narvo::test
