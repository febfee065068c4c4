// SPDX-License-Identifier: MIT
// The zone kernels of kernel_rows.h.
#include "bench/kernel_rows.h"

#include "narvoassem/fast/zone/zone_table.h"

namespace bench
{

namespace
{

using namespace narvo::engine;

using Long = std::int64_t;

constexpr Long nVertPitch16 = static_cast<Long>(dScanPeriod * 16.0);
constexpr Long nHoriPitch16 = static_cast<Long>(dConvPeriod * 16.0);

/// Calls a kernel with the common list of the family; the three arguments after the row stride and the tail differ.
template <class TKernel, class T17, class T18, class... TTail>
int Call(TKernel kernel, SKernelCall& call, bool bVertical, bool bFlagged, T17 arg17, T18 arg18, TTail... tail)
{
    CScene& scene = *call.pScene;
    SHitBuffers& hits = *call.pHits;
    const Long nRowBytes = Long{scene.nColumns} * (bFlagged ? 12 : 8);
    return kernel(scene.pixels.data(), Long{0}, hits.nSize, Long{0}, Long{0}, Long{scene.nWidth}, Long{0},
                  Long{scene.nHeight}, hits.x.data(), hits.y.data(), hits.type.data(), hits.peak.data(),
                  hits.src.data(), hits.cmp.data(), hits.zone.data(), hits.threshold.data(), Long{scene.nWidth}, arg17,
                  arg18, Long{0}, scene.offsetMap.data(), scene.zoneMap.data(), scene.nMapStride,
                  static_cast<void*>(scene.Origins(bVertical, bFlagged)), call.pPairs->data(), Long{0},
                  static_cast<Long>(call.pPairs->size()), Long{sizeof(CDefectPair)}, scene.nCellWidth,
                  scene.nCellHeight, nRowBytes, Long{0}, scene.gainMap.data(), tail...);
}

/// The vertical kernels whose tail is strip buffer, singles, end line, least peak, grey limit.
template <class TKernel>
int CallVert(TKernel kernel, SKernelCall& call, bool bFlagged = false)
{
    return Call(kernel, call, true, bFlagged, nVertPitch16, Long{0}, call.pStripBuffer->data(), Long{1}, &call.nEndLine,
                call.nThresholdExtra, call.nGrayLimit);
}

/// A member function of the call's engine as a plain callable.
template <class TMember>
auto Member(TMember pMember, SKernelCall& call)
{
    return [pMember, &call](auto... args) { return (call.pEngine->*pMember)(args...); };
}

int* NoTable()
{
    return nullptr;
}

int Vert2by2(SKernelCall& call)
{
    return CallVert(ConvZoneVert2by2Fast, call);
}

int VertFlag(SKernelCall& call)
{
    return CallVert(ConvZoneVertFlagFast, call, true);
}

int VertFlag2by2(SKernelCall& call)
{
    return CallVert(ConvZoneVertFlag2by2Fast, call, true);
}

int VertDirect(SKernelCall& call)
{
    return Call(ConvZoneVertDirectFast, call, true, false, nVertPitch16, Long{0}, call.pStripBuffer->data(), Long{1},
                &call.nEndLine, call.nGrayLimit);
}

int VertKnee(SKernelCall& call)
{
    CScene& scene = *call.pScene;
    return Call(ConvZoneVertKneeFast, call, true, false, nVertPitch16, Long{0}, call.pStripBuffer->data(), Long{1},
                &call.nEndLine, scene.kneeMap.data(), scene.offsetMap2.data(), scene.gainMap2.data(), call.nGrayLimit);
}

int Vtd(SKernelCall& call)
{
    return Call(ConvZoneVTDFast, call, true, false, NoTable(), nVertPitch16, call.nVtdPitch16, Long{1}, &call.nEndLine,
                call.nThresholdExtra, call.nGrayLimit);
}

int Hori(SKernelCall& call)
{
    return Call(ConvZoneFast, call, false, false, nHoriPitch16, Long{0}, Long{1}, &call.nEndLine, call.nGrayLimit);
}

int HoriTable(SKernelCall& call)
{
    CScene& scene = *call.pScene;
    SHitBuffers& hits = *call.pHits;
    return ConvZoneTableFast(scene.pixels.data(), 0, hits.nSize, 0, 0, scene.nWidth, 0, scene.nHeight, hits.x.data(),
                             hits.y.data(), hits.type.data(), hits.peak.data(), hits.src.data(), hits.cmp.data(),
                             hits.zone.data(), hits.threshold.data(), scene.nWidth, scene.convPitchTable.data(),
                             scene.weightNear.data(), scene.weightFar.data(), scene.offsetMap.data(),
                             scene.zoneMap.data(), scene.nMapStride, scene.Origins(false, false), call.pPairs->data(),
                             0, static_cast<Long>(call.pPairs->size()), sizeof(CDefectPair), scene.nCellWidth,
                             scene.nCellHeight, 0, nHoriPitch16, Long{scene.nColumns} * 8, scene.gainMap.data(), 1,
                             &call.nEndLine, call.nGrayLimit);
}

int Vert2S(SKernelCall& call)
{
    return CallVert(Member(&CNarvoAssem::ConvZoneVert2S_Intrin, call), call);
}

int Vert2STsp(SKernelCall& call)
{
    return CallVert(Member(&CNarvoAssem::ConvZoneVert2S_TSP_Intrin, call), call);
}

int Vert2SBlack(SKernelCall& call)
{
    return CallVert(Member(&CNarvoAssem::ConvZoneVert2S_BlackFilter, call), call);
}

int VtdMember(SKernelCall& call)
{
    return Call(Member(&CNarvoAssem::ConvZoneVTD_Intrin, call), call, true, false, NoTable(), nVertPitch16,
                call.nVtdPitch16, Long{1}, &call.nEndLine, call.nThresholdExtra, call.nGrayLimit);
}

int ClassId(SKernelCall& call)
{
    short* const pNoMap = nullptr;
    return Call([](auto... args) { return ConvZone_AVX_ClassID(args...); }, call, true, false, NoTable(), nVertPitch16,
                pNoMap, Long{0}, Long{1}, &call.nEndLine, call.nThresholdExtra, call.nGrayLimit,
                call.pStripBuffer->data(), 0, pNoMap);
}

int ClassIdTable(SKernelCall& call)
{
    CScene& scene = *call.pScene;
    short* const pNoMap = nullptr;
    return Call(ConvZoneVTDSMC_IntrinAVX, call, true, false, scene.scanPitchTable.data(), nVertPitch16, pNoMap, Long{0},
                Long{1}, &call.nEndLine, call.nThresholdExtra, call.nGrayLimit, call.pStripBuffer->data(), 0,
                scene.classMap.data());
}

} // namespace

int RunZoneVert(SKernelCall& call)
{
    return CallVert(ConvZoneVertFast, call);
}

std::span<const SKernelRow> ZoneKernels()
{
    static const SKernelRow kernels[] = {
        {NameOf(ZoneKernel::Vert), RunZoneVert, plainVert, 3.0, 4.5, 0.6},
        {NameOf(ZoneKernel::VertDirect), VertDirect, plainVertDirect, 0.0, 3.0, 0.1},
        {NameOf(ZoneKernel::Vert2by2), Vert2by2, plainVert2by2, 0.0, 3.0, 0.45},
        {NameOf(ZoneKernel::VertFlag), VertFlag, plainVertFlag, 0.0, 3.0, 0.1},
        {NameOf(ZoneKernel::VertFlag2by2), VertFlag2by2, plainVertFlag2by2, 0.0, 3.0, 0.45},
        {NameOf(ZoneKernel::VertKnee), VertKnee, plainVertKnee, 0.0, 3.0, 0.45},
        {NameOf(ZoneKernel::Vtd), Vtd, plainVtd, 0.0, 3.0, 0.45},
        {NameOf(ZoneKernel::Hori), Hori, plainHori, 0.0, 0.0, 0.7},
        {NameOf(ZoneKernel::HoriTable), HoriTable, plainHoriTable, 0.0, 3.0, 0.1},
        {NameOf(ZoneKernel::Vert2S), Vert2S, plainMember, 0.0, 3.0, 0.1},
        {NameOf(ZoneKernel::Vert2STsp), Vert2STsp, plainMemberZones, 0.0, 3.0, 0.1},
        {NameOf(ZoneKernel::Vert2SBlack), Vert2SBlack, plainMemberDark, 0.0, 3.0, 0.1},
        {NameOf(ZoneKernel::VtdIntrin), VtdMember, plainMemberVtd, 0.0, 3.0, 0.45},
        {NameOf(ZoneKernel::ClassId), ClassId, plainVert, 0.0, 3.0, 0.1},
        {NameOf(ZoneKernel::ClassIdTable), ClassIdTable, plainClassIdTable, 0.0, 3.0, 0.1},
    };
    static_assert(std::size(kernels) == zoneKernels.size(), "each kernel has its figures");
    return kernels;
}

} // namespace bench
