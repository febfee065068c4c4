// SPDX-License-Identifier: MIT
// Runs a scene through the library's pixel kernels: by name, argument by argument, or through the common call record.
// Values that a kernel must not read are obviously invalid.
#include <algorithm>
#include <cstring>

#include "fast/pixel_scene.h"
#include "narvoassem/fastkernels.h"
#include "narvoassem/narvoassem.h"
#include "narvoassem/widekernels.h"

namespace narvo::test
{

namespace
{

constexpr std::int64_t nUnread = 0x7777;

short* UnreadShorts()
{
    return reinterpret_cast<short*>(std::uintptr_t{16});
}

#define HIT_VALUES                                                                                                     \
    pImage, c.first.nBase, c.hits.nSize, c.hits.nCount, c.region.nLeft, c.region.nRight, c.region.nTop,                \
        c.region.nBottom, c.hits.pX, c.hits.pY, c.hits.pType, c.hits.pPeak, c.hits.pSrcGray, c.hits.pCmpGray,          \
        c.hits.pZoneIndex, c.hits.pThreshold, c.image.nStride
#define BACK_VALUES                                                                                                    \
    UnreadShorts(), UnreadShorts(), nUnread, UnreadShorts(), c.pairs.pBase, c.pairs.nCount, c.pairs.nSize,             \
        c.pairs.nStride, nUnread, nUnread, nUnread, nUnread, c.first.nGain, c.nGrayLimit, c.bKeepSingle
#define PIXEL_VALUES HIT_VALUES, c.nPitch16, nUnread, nUnread, BACK_VALUES
#define VTD_VALUES HIT_VALUES, c.nPitch16, pScanTable, nUnread, BACK_VALUES

// The mask kernel's list is of ints.
int Int(std::int64_t nValue)
{
    return static_cast<int>(nValue);
}

} // namespace

void RunPublic(const CPixelScene& scene, CKernelOutcome& outcome)
{
    static CNarvoAssem engine;

    const engine::CPixelCall c = CallOf(scene, outcome);
    int* pEndLine = &outcome.nEndLine;

    auto* pImage = const_cast<unsigned char*>(c.image.pPixels);
    auto* pScanTable = const_cast<int*>(c.pScanPitchTable);
    const std::int64_t nRows = std::max<std::int64_t>(c.region.nBottom - c.region.nTop, 0);
    std::vector<short> aStrip(static_cast<std::size_t>((nRows + 2) * 16), nShortUntouched);
    short* pStrip = aStrip.data();

    engine.ConvParam = scene.param;
    engine.ConvParam.nImageHeight = Int(c.image.nRows);
    engine.ConvParam.nBlackFilterGray = Int(c.second.nBase);
    engine.ConvParam.nBlackFilterGain = Int(c.second.nGain);

    switch (scene.eKernel)
    {
    case PixelKernel::Hori:
        outcome.nReturned = ConvPixelFast(PIXEL_VALUES, pEndLine);
        break;
    case PixelKernel::HoriTable:
    {
        // The table is passed as signed shorts.
        auto* pTable = reinterpret_cast<short*>(const_cast<std::uint16_t*>(c.pConvPitchTable));
        outcome.nReturned = ConvPixelTableFast(HIT_VALUES, pTable, const_cast<short*>(c.pConvWeightNear),
                                               const_cast<short*>(c.pConvWeightFar), BACK_VALUES, c.nPitch16, pEndLine);
        break;
    }
    case PixelKernel::VertDirect:
        outcome.nReturned = ConvPixelVertFast(PIXEL_VALUES, nullptr, nullptr);
        break;
    case PixelKernel::Vert:
        outcome.nReturned = ConvPixelVertSFast(PIXEL_VALUES, pStrip, pEndLine, nUnread);
        break;
    case PixelKernel::Vert2:
        outcome.nReturned = ConvPixelVertSFast2(PIXEL_VALUES, pStrip, pEndLine, c.second.nBase, c.second.nGain);
        break;
    case PixelKernel::Vtds:
        outcome.nReturned = ConvPixelVTDSFast(VTD_VALUES, pStrip, pEndLine, nUnread);
        break;
    case PixelKernel::Vtds2:
        outcome.nReturned = ConvPixelVTDSFast2(VTD_VALUES, pStrip, pEndLine, c.second.nBase, c.second.nGain);
        break;
    case PixelKernel::HoriIntrin:
        outcome.nReturned = engine.ConvPixel_Intrin(PIXEL_VALUES, pEndLine);
        break;
    case PixelKernel::VertIntrin:
        outcome.nReturned = engine.ConvPixelVertS_Intrin(PIXEL_VALUES, pStrip, pEndLine, nUnread);
        break;
    case PixelKernel::VtdsIntrin:
        outcome.nReturned = engine.ConvPixelVTDS_Intrin(VTD_VALUES, pStrip, pEndLine, nUnread);
        break;
    case PixelKernel::VertWide:
        if (scene.bDoublePitch)
        {
            const double dPitch = (static_cast<double>(c.nPitch16) + scene.dPitchRemainder) / 16.0;
            outcome.nReturned = ConvPixelVert_AVX(
                pImage, c.first.nBase, c.first.nGain, c.nGrayLimit, c.region.nLeft, c.region.nRight, c.region.nTop,
                c.region.nBottom, c.image.nStride, nullptr, dPitch, 0, c.pairs.pBase, c.pairs.nCount, c.pairs.nSize,
                c.pairs.nStride, 1.5, c.bKeepSingle, pEndLine, c.second.nBase, c.second.nGain);
        }
        else
            outcome.nReturned = ConvPixelVert_AVX(
                pImage, c.first.nBase, c.first.nGain, c.nGrayLimit, c.region.nLeft, c.region.nRight, c.region.nTop,
                c.region.nBottom, c.image.nStride, nullptr, c.nPitch16, 0, c.pairs.pBase, c.pairs.nCount, c.pairs.nSize,
                c.pairs.nStride, c.nVtdPitch16, c.bKeepSingle, pEndLine, c.second.nBase, c.second.nGain);
        break;
    case PixelKernel::VtdsWide:
    {
        ConvPixelParam param;
        std::memset(static_cast<void*>(&param), 0x77, sizeof(param));
        param.nBase = Int(c.second.nBase);
        param.nGain = Int(c.second.nGain);
        outcome.nReturned = ConvPixelVTDS_Intrin_AVX(VTD_VALUES, pStrip, pEndLine, nUnread, param);
        break;
    }
    case PixelKernel::VertMask:
        outcome.nReturned = ConvPixelVertMask(
            pImage, Int(c.first.nBase), Int(c.hits.nSize), Int(c.hits.nCount), Int(c.region.nLeft),
            Int(c.region.nRight), Int(c.region.nTop), Int(c.region.nBottom), c.hits.pX, c.hits.pY, c.hits.pType,
            c.hits.pPeak, c.hits.pSrcGray, c.hits.pCmpGray, c.hits.pZoneIndex, c.hits.pThreshold, Int(c.image.nStride),
            Int(c.nPitch16), nullptr, 0, UnreadShorts(), UnreadShorts(), Int(nUnread), UnreadShorts(), c.pairs.pBase,
            Int(c.pairs.nCount), Int(c.pairs.nSize), Int(c.pairs.nStride), Int(nUnread), Int(nUnread), Int(nUnread),
            Int(nUnread), Int(c.first.nGain), Int(c.nGrayLimit), Int(c.bKeepSingle), pStrip, pEndLine,
            Int(c.second.nBase), Int(c.second.nGain), static_cast<float>(c.nVtdPitch16) / 16.0F,
            const_cast<unsigned char*>(c.pMask), Int(nUnread));
        break;
    case PixelKernel::Count:
        break;
    }
}

void RunThroughCall(const CPixelScene& scene, CKernelOutcome& outcome)
{
    const engine::CPixelCall call = CallOf(scene, outcome);
    outcome.nReturned = engine::RunPixelKernel(scene.eKernel, call);
}

} // namespace narvo::test
