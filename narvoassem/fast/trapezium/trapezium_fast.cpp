// SPDX-License-Identifier: MIT
// The public names of the trapezium kernels.
#include "narvoassem/fastkernels.h"

#include "narvoassem/fast/trapezium/trapezium_call.h"

using namespace narvo::engine;

// The lists hold arguments that the kernels do not read.
#pragma GCC diagnostic ignored "-Wunused-parameter"

int ConvTrapeziumHori(unsigned char* pImage, short* pLineBuf, std::int64_t nHitSize, std::int64_t nHitCount,
                      std::int64_t nTop, std::int64_t nBottom, std::int64_t nLeftTop, std::int64_t nLeftBottom,
                      std::int64_t nRightTop, std::int64_t nRightBottom, std::int64_t nThreshold16,
                      std::int64_t nGrayLimit, int* pPixelX, int* pPixelY, short* pPixelType, short* pPeak,
                      std::int64_t nReserved1, std::int64_t nPitch16, std::int64_t nReserved2, std::int64_t nPitchRound,
                      CDefectPair* pPair, std::int64_t nPairCount, std::int64_t nPairSize, std::int64_t nPairBytes,
                      std::int64_t nImagePitch, int* pPitchTable, std::int64_t bKeepSingle)
{
    CTrapeziumHoriCall call;
    call.image = {pImage, nImagePitch, 0};
    call.hits = {nHitSize, nHitCount, pPixelX, pPixelY, pPixelType, pPeak, nullptr, nullptr, nullptr, nullptr};
    call.pairs = {pPair, nPairCount, nPairSize, nPairBytes};
    call.nThreshold16 = nThreshold16;
    call.nGrayLimit = nGrayLimit;
    call.nPitch16 = nPitch16;
    call.pPitchTable = pPitchTable;
    call.bKeepSingle = bKeepSingle;
    call.nTop = nTop;
    call.nBottom = nBottom;
    call.nLeftTop = nLeftTop;
    call.nLeftBottom = nLeftBottom;
    call.nRightTop = nRightTop;
    call.nRightBottom = nRightBottom;
    call.nPitchRound = nPitchRound;
    return RunTrapeziumHori(call);
}

int ConvTrapeziumVert(unsigned char* pImage, short* pLineBuf, std::int64_t nHitSize, std::int64_t nHitCount,
                      std::int64_t nLeft, std::int64_t nRight, std::int64_t nTopLeft, std::int64_t nBottomLeft,
                      int* pPixelX, int* pPixelY, short* pPixelType, short* pPeak, CDefectPair* pPair,
                      std::int64_t nPairCount, std::int64_t nPairSize, std::int64_t nPairBytes,
                      std::int64_t nImagePitch, std::int64_t nPitch16, std::int64_t nThreshold16,
                      std::int64_t nGrayLimit, std::int64_t nReserved, std::int64_t nTopRight,
                      std::int64_t nBottomRight, int* pPitchTable, std::int64_t nConvPitch16, std::int64_t bKeepSingle)
{
    CTrapeziumVertCall call;
    call.image = {pImage, nImagePitch, 0};
    call.hits = {nHitSize, nHitCount, pPixelX, pPixelY, pPixelType, pPeak, nullptr, nullptr, nullptr, nullptr};
    call.pairs = {pPair, nPairCount, nPairSize, nPairBytes};
    call.nThreshold16 = nThreshold16;
    call.nGrayLimit = nGrayLimit;
    call.nPitch16 = nPitch16;
    call.pPitchTable = pPitchTable;
    call.bKeepSingle = bKeepSingle;
    call.nLeft = nLeft;
    call.nRight = nRight;
    call.nTopLeft = nTopLeft;
    call.nBottomLeft = nBottomLeft;
    call.nTopRight = nTopRight;
    call.nBottomRight = nBottomRight;
    call.nConvPitch16 = nConvPitch16;
    return RunTrapeziumVert(call);
}
