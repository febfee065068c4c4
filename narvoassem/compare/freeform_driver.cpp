// SPDX-License-Identifier: MIT
// The free-form inspections: a polygon's strips on the float kernels, or the masked pixel kernel, and the thresholds of
// the zone maps behind both.
#include "narvoassem/compare/freeform_driver.h"

#include <cstdint>
#include <cstdlib>

#include "narvoassem/base/fixed_pitch.h"
#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/pixel/pixel_table.h"
#include "narvoassem/narvoassem.h"

using namespace narvo::engine;

namespace
{

/// Replaces zone and threshold of the pairs from nFirstPair on by those of the zone maps, which the kernels did not
/// know, and removes pairs that fall below. A pair without a cell uses the threshold of the pair before it.
void ApplyZoneThresholds(CPairStorage& store, int nFirstPair)
{
    const CConvParam& param = store.ConvParam;
    if (param.pZoneIndexMap == nullptr)
        return;
    CGammaPoint FindGamma;
    int nThreshold = 0;
    for (int i = nFirstPair; i < store.nPairCount; ++i)
    {
        CDefectPair& pair = store.pPair[i];
        if (pair.nDefectType == DefectType_Removed)
            continue;
        FindGamma.FindOrigin(param.pZoneOriginTable, param.nZoneColumns, pair.ptDefect.x, pair.ptDefect.y, -1.0, -1.0);
        if (FindGamma.x != 0 && FindGamma.y != 0)
        {
            const std::int64_t nIndex = (std::int64_t{pair.ptDefect.y} - FindGamma.y) * param.nZoneMapStride +
                                        (std::int64_t{pair.ptDefect.x} - FindGamma.x);
            if (param.pThresholdOffsetMap != nullptr)
                nThreshold = param.pThresholdOffsetMap[nIndex];
            pair.nZoneIndex = param.pZoneIndexMap[nIndex];
            pair.nThreshold = nThreshold;
        }
        else
        {
            pair.nZoneIndex = 0;
        }
        if (pair.nPeak < nThreshold)
            pair.nDefectType = DefectType_Removed;
    }
}

} // namespace

int CNarvoAssem::Inspect_FreeForm(int& nEndLine)
{
    CRect rtIns;
    int nRectCount = 0;
    CRect* prtArry = nullptr;
    if (MakeFrameRegion(ConvParam.pFreeFormPoint, ConvParam.nFreeFormPointCount, ConvParam.rtInspect, nRectCount,
                        &prtArry) == 0)
        return nPairCount;

    const int nFirstPair = nPairCount;
    for (int i = 0; i < nRectCount; ++i)
    {
        rtIns = prtArry[i];
        if (rtIns.Width() > 15)
        {
            // Whole strips of 16 columns on the vector kernel, the rest on the plain one.
            const int nCut = rtIns.left + rtIns.Width() / 16 * 16;
            nPairCount = ConvFloatVJF_Intrin(CRect(rtIns.left, rtIns.top, nCut, rtIns.bottom), nEndLine);
            rtIns.left = nCut;
            if (rtIns.Width() <= 0)
                continue;
        }
        nPairCount = ConvFloatVJF_Cpp(rtIns, nEndLine);
    }
    nEndLine = ConvParam.rtInspect.bottom;
    ApplyZoneThresholds(*this, nFirstPair);
    std::free(prtArry);
    return nPairCount;
}

int CNarvoAssem::Inspect_FreeFormMask(int& nEndLine)
{
    return InspectFreeFormMask(*this, nEndLine);
}

int narvo::engine::InspectFreeFormMask(CNarvoAssem& engine, int& nEndLine)
{
    const CConvParam& param = engine.ConvParam;
    const int nFirstPair = engine.nPairCount;
    // As ConvPixelVertMask with the engine's fields, and with the image's height, which its arguments do not contain.
    CPixelCall call;
    FillKernelCall(call, engine, &nEndLine);
    call.nPitch16 = ToPitch16(param.GetRealScanPitch());
    call.first = {param.nThreshold, param.nThresholdGain};
    call.second = {param.nBlackFilterGray, param.nBlackFilterGain};
    call.nThresholdExtra = 0;
    call.nVtdPitch16 = ToShift16(param.fVtdPitch);
    call.pMask = static_cast<const unsigned char*>(param.pFreeFormMask);
    engine.nPairCount = RunPixelKernel(PixelKernel::VertMask, call);
    nEndLine = param.rtInspect.bottom;
    ApplyZoneThresholds(engine, nFirstPair);
    return engine.nPairCount;
}
