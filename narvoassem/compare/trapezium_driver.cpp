// SPDX-License-Identifier: MIT
// The trapezium comparison: from the parameters to the kernel of the direction, and from its pairs to blobs.
#include <cstdint>

#include "narvoassem/base/fixed_pitch.h"
#include "narvoassem/compare/con_buff.h"
#include "narvoassem/fast/trapezium/trapezium_call.h"
#include "narvoassem/narvoassem.h"

namespace
{

using namespace narvo::engine;

void FillCall(CTrapeziumCall& call, CPairStorage& store)
{
    const CConvParam& param = store.ConvParam;
    call.image = {param.pImage, param.nImageWidth, param.nImageHeight};
    call.hits = {store.nPixelSize, store.nPixelCount, store.pPixelX,  store.pPixelY,    store.pPixelType,
                 store.pPeak,      store.pSrcGray,    store.pCmpGray, store.pZoneIndex, store.pThreshold};
    call.pairs = {store.pPair, store.nPairCount, store.nPairSize, sizeof(CDefectPair)};
    call.nThreshold16 = std::int64_t{param.nThreshold} * 16;
    call.nGrayLimit = param.nGrayLimit;
    call.bKeepSingle = param.bKeepSingle;
}

int RunVertical(CPairStorage& store)
{
    const CConvParam& param = store.ConvParam;
    const CPadPoint* const ptCorner = param.trapInspect.ptCorner;
    CTrapeziumVertCall call;
    FillCall(call, store);
    call.nPitch16 = ToRoundedPitch16(param.GetRealScanPitch());
    call.pPitchTable = param.pScanPitchTable;
    call.nLeft = ptCorner[0].x;
    call.nRight = ptCorner[3].x;
    call.nTopLeft = ptCorner[0].y;
    call.nBottomLeft = ptCorner[1].y;
    call.nTopRight = ptCorner[3].y;
    call.nBottomRight = ptCorner[2].y;
    call.nConvPitch16 = ToRoundedPitch16(param.GetRealConvPitch());
    return RunTrapeziumVert(call);
}

int RunHorizontal(CPairStorage& store)
{
    const CConvParam& param = store.ConvParam;
    const CPadPoint* const ptCorner = param.trapInspect.ptCorner;
    if (ptCorner[0].y == ptCorner[3].y)
        return 0;
    CTrapeziumHoriCall call;
    FillCall(call, store);
    call.nPitch16 = ToRoundedPitch16(param.GetRealConvPitch());
    call.pPitchTable = param.pTiltConvTable;
    // The top row is inspected even where the bottom lies above it, and may be the one below the image. Its pixels are
    // those of the last row then, and so is its pitch.
    call.nLastEntry = (std::int64_t{param.nImageHeight} + 15) / 16 - 1;
    call.nTop = ptCorner[0].y;
    call.nBottom = ptCorner[3].y;
    call.nLeftTop = ptCorner[0].x;
    call.nLeftBottom = ptCorner[3].x;
    call.nRightTop = ptCorner[1].x;
    call.nRightBottom = ptCorner[2].x;
    return RunTrapeziumHori(call);
}

} // namespace

void CNarvoAssem::Compare_Trapezium()
{
    const int nBlobStart = nBlobCount;
    if (ConvParam.nDirection == 1)
    {
        SizeConBuff(*this, ConvParam.rtInspect.Height());
        nPairCount = RunVertical(*this);
        BlobDefectVert();
    }
    else
    {
        SizeConBuff(*this, ConvParam.rtInspect.Width());
        nPairCount = RunHorizontal(*this);
        BlobDefect();
    }
    MergeDivision(nBlobStart, ConvParam.nMergeDivision);
}
