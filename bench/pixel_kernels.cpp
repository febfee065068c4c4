// SPDX-License-Identifier: MIT
// The pixel kernels of kernel_rows.h.
#include "bench/kernel_rows.h"

#include "narvoassem/fast/pixel/pixel_table.h"

namespace bench
{

namespace
{

using namespace narvo::engine;

using Long = std::int64_t;

constexpr Long nVertPitch16 = static_cast<Long>(dScanPeriod * 16.0);
constexpr Long nHoriPitch16 = static_cast<Long>(dConvPeriod * 16.0);

/// Calls a kernel with the common list of the family; the two arguments after the row stride and the tail differ.
template <class TKernel, class T17, class T18, class... TTail>
int Call(TKernel kernel, SKernelCall& call, T17 arg17, T18 arg18, TTail... tail)
{
    CScene& scene = *call.pScene;
    SHitBuffers& hits = *call.pHits;
    short* const pNoMap = nullptr;
    void* const pNoTable = nullptr;
    return kernel(scene.pixels.data(), Long{flatFirst.nBase}, hits.nSize, Long{0}, Long{0}, Long{scene.nWidth}, Long{0},
                  Long{scene.nHeight}, hits.x.data(), hits.y.data(), hits.type.data(), hits.peak.data(),
                  hits.src.data(), hits.cmp.data(), hits.zone.data(), hits.threshold.data(), Long{scene.nWidth}, arg17,
                  arg18, Long{0}, pNoMap, pNoMap, Long{0}, pNoTable, call.pPairs->data(), Long{0},
                  static_cast<Long>(call.pPairs->size()), Long{sizeof(CDefectPair)}, Long{0}, Long{0}, Long{0}, Long{0},
                  Long{flatFirst.nGain}, call.nGrayLimit, Long{1}, tail...);
}

/// A member function of the call's engine as a plain callable, with the second threshold set active.
template <class TMember>
auto Member(TMember pMember, SKernelCall& call)
{
    call.pEngine->ConvParam.nBlackFilterGray = flatSecond.nBase;
    call.pEngine->ConvParam.nBlackFilterGain = flatSecond.nGain;
    return [pMember, &call](auto... args) { return (call.pEngine->*pMember)(args...); };
}

int Hori(SKernelCall& call)
{
    return Call(ConvPixelFast, call, nHoriPitch16, Long{0}, &call.nEndLine);
}

int HoriMember(SKernelCall& call)
{
    return Call(Member(&CNarvoAssem::ConvPixel_Intrin, call), call, nHoriPitch16, Long{0}, &call.nEndLine);
}

int VertMember(SKernelCall& call)
{
    return Call(Member(&CNarvoAssem::ConvPixelVertS_Intrin, call), call, nVertPitch16, Long{0},
                call.pStripBuffer->data(), &call.nEndLine, Long{0});
}

int VtdMember(SKernelCall& call)
{
    return Call(Member(&CNarvoAssem::ConvPixelVTDS_Intrin, call), call, nVertPitch16,
                call.pScene->scanPitchTable.data(), call.pStripBuffer->data(), &call.nEndLine, Long{0});
}

int Wide(SKernelCall& call)
{
    CScene& scene = *call.pScene;
    int* const pNoTable = nullptr;
    return ConvPixelVert_AVX(scene.pixels.data(), flatFirst.nBase, flatFirst.nGain, call.nGrayLimit, 0, scene.nWidth, 0,
                             scene.nHeight, scene.nWidth, pNoTable, nVertPitch16, 0, call.pPairs->data(), 0,
                             static_cast<Long>(call.pPairs->size()), sizeof(CDefectPair), Long{0}, 1, &call.nEndLine,
                             flatSecond.nBase, flatSecond.nGain);
}

} // namespace

int RunPixelVert(SKernelCall& call)
{
    return Call(ConvPixelVertSFast, call, nVertPitch16, Long{0}, call.pStripBuffer->data(), &call.nEndLine, Long{0});
}

std::span<const SKernelRow> PixelKernels()
{
    static const SKernelRow kernels[] = {
        {NameOf(PixelKernel::Hori), Hori, plainPixelHori, 0.0, 0.0, 0.7},
        {NameOf(PixelKernel::Vert), RunPixelVert, plainPixelVert, 0.0, 5.0, 0.72},
        {NameOf(PixelKernel::VertWide), Wide, plainPixelMember, 0.0, 0.0, 0.0, NameOf(PixelKernel::Vert), RunPixelVert,
         0.8},
        {NameOf(PixelKernel::HoriIntrin), HoriMember, plainPixelHoriMember, 0.0, 0.0, 0.0, NameOf(PixelKernel::Hori),
         Hori, 0.8},
        {NameOf(PixelKernel::VertIntrin), VertMember, plainPixelMember, 0.0, 0.0, 0.0, NameOf(PixelKernel::Vert),
         RunPixelVert, 0.8},
        {NameOf(PixelKernel::VtdsIntrin), VtdMember, plainPixelMemberTable, 0.0, 0.0, 0.0, NameOf(PixelKernel::Vert),
         RunPixelVert, 0.8},
    };
    return kernels;
}

} // namespace bench
