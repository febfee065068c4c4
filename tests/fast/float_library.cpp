// SPDX-License-Identifier: MIT
// Runs a scene through the library's float kernels: by name, argument by argument, or through the common call record.
// Values that a kernel must not read are obviously invalid.
#include <algorithm>

#include "fast/float_scene.h"
#include "narvoassem/fastkernels.h"
#include "narvoassem/narvoassem.h"

namespace narvo::test
{

namespace
{

constexpr std::int64_t nUnread = 0x7777;

/// An engine whose region kernels can be called from here, working on arrays of the test.
class CRegionEngine : public CNarvoAssem
{
public:
    using CNarvoAssem::ConvFloatVJF_Cpp;
    using CNarvoAssem::ConvFloatVJF_Intrin;

    void SizeBuffers(const CRect& rt)
    {
        int nSize = std::max(rt.Height(), 1);
        ResetConBuff(nSize);
    }

    /// Lends the arrays of an outcome to the stores.
    void Borrow(const CFloatRegionScene& scene, CKernelOutcome& outcome)
    {
        const engine::CHitArrays hits = outcome.HitArrays(scene.nHitSize, 0);
        nPixelCount = 0;
        pPixelX = hits.pX;
        pPixelY = hits.pY;
        pPixelType = hits.pType;
        pPeak = hits.pPeak;
        pSrcGray = hits.pSrcGray;
        pCmpGray = hits.pCmpGray;
        pZoneIndex = hits.pZoneIndex;
        pThreshold = hits.pThreshold;
        nPixelSize = static_cast<int>(scene.nHitSize);
        nPairCount = static_cast<int>(scene.nPairCount);
        nPairSize = static_cast<int>(scene.nPairSize);
        pPair = outcome.aPairs.data();
    }

    /// The stores own nothing again.
    void DetachArrays()
    {
        pPixelX = pPixelY = pSrcGray = pCmpGray = pZoneIndex = pThreshold = nullptr;
        pPixelType = pPeak = nullptr;
        pPair = nullptr;
        nPixelSize = 0;
        nPairCount = nPairSize = -1;
    }
};

#define FLOAT_VALUES                                                                                                   \
    pImage, pStrip, c.hits.nSize, c.hits.nCount, c.region.nLeft, c.region.nRight, c.region.nTop, c.region.nBottom,     \
        c.hits.pX, c.hits.pY, c.hits.pType, c.hits.pPeak, c.pairs.pBase, c.pairs.nCount, c.pairs.nSize,                \
        c.pairs.nStride, c.image.nStride, c.nPitch16, c.first.nBase, c.nGrayLimit
#define VALUE_ARRAYS c.hits.pSrcGray, c.hits.pCmpGray, c.hits.pZoneIndex, c.hits.pThreshold
#define HORI_TAIL VALUE_ARRAYS, nUnread, c.first.nGain, pEndLine
#define VERT_TAIL VALUE_ARRAYS, nUnread, nUnread, c.first.nGain, pEndLine
#define TABLE_TAIL                                                                                                     \
    nUnread, const_cast<unsigned short*>(c.pConvPitchTable), const_cast<short*>(c.pConvWeightNear),                    \
        const_cast<short*>(c.pConvWeightFar), VALUE_ARRAYS, c.first.nGain, pEndLine
#define VTD_TAIL pStrip2, c.nVtdPitch16, const_cast<int*>(c.pScanPitchTable), c.first.nGain, VALUE_ARRAYS, pEndLine

} // namespace

void RunPublic(const CFloatScene& scene, CKernelOutcome& outcome)
{
    static CNarvoAssem engine;

    const engine::CFloatCall c = CallOf(scene, outcome);
    int* pEndLine = &outcome.nEndLine;

    auto* pImage = const_cast<unsigned char*>(c.image.pPixels);
    const std::int64_t nLines =
        std::max({c.region.nBottom - c.region.nTop, c.region.nRight - c.region.nLeft, std::int64_t{0}}) + 3;
    std::vector<short> aStrip(static_cast<std::size_t>(nLines * 16), nShortUntouched);
    std::vector<short> aStrip2(static_cast<std::size_t>(nLines * 16), nShortUntouched);
    short* pStrip = aStrip.data();
    short* pStrip2 = aStrip2.data();
    engine.ConvParam = scene.param;
    engine.ConvParam.nImageHeight = static_cast<int>(c.image.nRows);

    switch (scene.eKernel)
    {
    case FloatKernel::Hori4:
        outcome.nReturned = ConvFloatFast4(FLOAT_VALUES, HORI_TAIL);
        break;
    case FloatKernel::Hori6:
        outcome.nReturned = ConvFloatFast6(FLOAT_VALUES, HORI_TAIL);
        break;
    case FloatKernel::Hori9:
        outcome.nReturned = ConvFloatFast9(FLOAT_VALUES, HORI_TAIL);
        break;
    case FloatKernel::HoriTable4:
        outcome.nReturned = ConvFloatTableFast4(FLOAT_VALUES, TABLE_TAIL);
        break;
    case FloatKernel::HoriTable6:
        outcome.nReturned = ConvFloatTableFast6(FLOAT_VALUES, TABLE_TAIL);
        break;
    case FloatKernel::Vert4:
        outcome.nReturned = ConvFloatVertFast4(FLOAT_VALUES, VERT_TAIL);
        break;
    case FloatKernel::Vert6:
        outcome.nReturned = ConvFloatVertFast6(FLOAT_VALUES, VERT_TAIL);
        break;
    case FloatKernel::Vert9:
        outcome.nReturned = ConvFloatVertFast9(FLOAT_VALUES, VERT_TAIL);
        break;
    case FloatKernel::Vtd:
        outcome.nReturned = ConvFloatVTDFast(FLOAT_VALUES, VTD_TAIL);
        break;
    case FloatKernel::VertIntrin:
        outcome.nReturned = engine.ConvFloatVert_Intrin(FLOAT_VALUES, VERT_TAIL);
        break;
    case FloatKernel::VtdIntrin:
        outcome.nReturned = engine.ConvFloatVTD_Intrin(FLOAT_VALUES, VTD_TAIL);
        break;
    case FloatKernel::VertRegion:
        ADD_FAILURE() << "a region kernel takes a region scene";
        break;
    case FloatKernel::Count:
        break;
    }
}

void RunThroughCall(const CFloatScene& scene, CKernelOutcome& outcome)
{
    const engine::CFloatCall call = CallOf(scene, outcome);
    outcome.nReturned = engine::RunFloatKernel(scene.eKernel, call);
}

void RunPublic(const CFloatRegionScene& scene, CKernelOutcome& outcome)
{
    static CRegionEngine engine;

    outcome.Prepare(scene.nHitSize, {}, scene.nPairCount, scene.nPairSize);
    engine.ConvParam = scene.param;
    engine.SizeBuffers(scene.rtRegion);
    engine.Borrow(scene, outcome);
    outcome.nReturned = scene.bPlain ? engine.ConvFloatVJF_Cpp(scene.rtRegion, outcome.nEndLine)
                                     : engine.ConvFloatVJF_Intrin(scene.rtRegion, outcome.nEndLine);
    engine.DetachArrays();
}

} // namespace narvo::test
