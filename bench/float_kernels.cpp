// SPDX-License-Identifier: MIT
// The float kernels of kernel_rows.h.
#include "bench/kernel_rows.h"

#include "narvoassem/fast/float/float_table.h"

namespace bench
{

namespace
{

using namespace narvo::engine;

using Long = std::int64_t;

constexpr Long nVertPitch16 = static_cast<Long>(dScanPeriod * 16.0 + 0.5);
constexpr Long nHoriPitch16 = static_cast<Long>(dConvPeriod * 16.0 + 0.5);

/// Calls a kernel with the family's front list; the base is that of one grey level times the window's area.
template <class TKernel, class... TTail>
int Call(TKernel kernel, SKernelCall& call, int nArea, Long nPitch16, TTail... tail)
{
    CScene& scene = *call.pScene;
    SHitBuffers& hits = *call.pHits;
    return kernel(scene.pixels.data(), call.pStripBuffer->data(), hits.nSize, 0, 0, scene.nWidth, 0, scene.nHeight,
                  hits.x.data(), hits.y.data(), hits.type.data(), hits.peak.data(), call.pPairs->data(), 0,
                  static_cast<Long>(call.pPairs->size()), sizeof(CDefectPair), scene.nWidth, nPitch16,
                  nFloatBaseGray * nArea, call.nGrayLimit, hits.src.data(), hits.cmp.data(), hits.zone.data(),
                  hits.threshold.data(), tail...);
}

template <auto pKernel, int nArea>
int Hori(SKernelCall& call)
{
    return Call(pKernel, call, nArea, nHoriPitch16, Long{0}, Long{nFloatGain}, &call.nEndLine);
}

template <auto pKernel, int nArea>
int Vert(SKernelCall& call)
{
    return Call(pKernel, call, nArea, nVertPitch16, Long{0}, Long{0}, Long{nFloatGain}, &call.nEndLine);
}

} // namespace

int RunFloatVert4(SKernelCall& call)
{
    return Vert<ConvFloatVertFast4, 4>(call);
}

int RunFloatVert9(SKernelCall& call)
{
    return Vert<ConvFloatVertFast9, 9>(call);
}

std::span<const SKernelRow> FloatKernels()
{
    static const SKernelRow kernels[] = {
        {NameOf(FloatKernel::Vert4), RunFloatVert4, nullptr, 0.0, 0.0, 0.15},
        {NameOf(FloatKernel::Vert6), Vert<ConvFloatVertFast6, 6>, nullptr, 0.0, 0.0, 0.1},
        {NameOf(FloatKernel::Vert9), RunFloatVert9, nullptr, 0.0, 0.0, 0.1},
        {NameOf(FloatKernel::Hori4), Hori<ConvFloatFast4, 4>, nullptr, 0.0, 0.0, 0.15},
        {NameOf(FloatKernel::Hori6), Hori<ConvFloatFast6, 6>, nullptr, 0.0, 0.0, 0.1},
        {NameOf(FloatKernel::Hori9), Hori<ConvFloatFast9, 9>, nullptr, 0.0, 0.0, 0.1},
    };
    return kernels;
}

} // namespace bench
