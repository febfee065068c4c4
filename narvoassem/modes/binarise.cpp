// SPDX-License-Identifier: MIT
// Binarise mode: the pixels of a region that lie in a grey band, as finished records, and the blob steps.
#include "narvoassem/narvoassem.h"

#include <algorithm>
#include <bit>
#include <cstdint>

#include "narvoassem/base/wrap_int.h"
#include "narvoassem/modes/binarise_row.h"
#include "narvoassem/modes/side_modes.h"

using namespace narvo::engine;

namespace
{

/// Takes the hits of a row until the buffer is full: the record that brings the count to the size or above is the last.
struct CBandSink
{
    const unsigned char* pRow; ///< first pixel of the region's row
    CDefectPair* pPair;
    int nCount;
    int nSize;
    int nHighGray;
    CPoint ptFirst; ///< place of that pixel

    static int TakeHits(void* pContext, std::int64_t x, std::uint32_t nBits)
    {
        CBandSink& sink = *static_cast<CBandSink*>(pContext);
        for (; nBits != 0; nBits &= nBits - 1)
            if (sink.TakePixel(x + std::countr_zero(nBits)) == 0)
                return 0;
        return 1;
    }

    int TakePixel(std::int64_t x)
    {
        CDefectPair& pair = pPair[nCount];
        pair.nDefectPos = DefectPos_Middle;
        pair.nDefectPair = DefectPair_Paired;
        pair.nDefectType = DefectType_Dark;
        pair.nSrcGray = pRow[x];
        pair.nCmpGray = nHighGray;
        pair.nPeak = WrapSub(nHighGray, WrapAbs(WrapSub(pair.nSrcGray, nHighGray)));
        pair.ptDefect = CPoint(WrapAdd(ptFirst.x, static_cast<int>(x)), ptFirst.y);
        pair.nZoneIndex = 0;
        pair.nThreshold = nHighGray;
        ++nCount;
        return nCount < nSize ? 1 : 0;
    }
};

} // namespace

int narvo::engine::RunBinarise(CNarvoAssem& engine, int& nEndLine)
{
    const CConvParam& param = engine.ConvParam;
    return engine.BinalizeInspection(param.pImage, 0, param.nThreshold, param.rtInspect, param.nImageWidth,
                                     engine.pPair, engine.nPairCount, engine.nPairSize, nEndLine);
}

int CNarvoAssem::BinalizeInspection(unsigned char* pImage, int nLowGray, int nHighGray, CRect rtInspect,
                                    int nImagePitch, CDefectPair* pRecords, int nRecords, int nRecordLimit,
                                    int& nEndLine)
{
    if (nHighGray < nLowGray)
        std::swap(nLowGray, nHighGray);
    nEndLine = rtInspect.bottom;
    const int nFirst = (nLowGray & 0xFF) + 1;
    const int nGrays = (nHighGray & 0xFF) - nFirst;
    // Whole blocks of 16 that begin left of right - 16.
    const std::int64_t nLastBlock = std::int64_t{rtInspect.right} - 16 - rtInspect.left;
    if (nGrays < 1 || nLastBlock < 1 || pImage == nullptr || pRecords == nullptr)
        return nRecords;
    const std::int64_t nColumns = (nLastBlock + 15) / 16 * 16;

    CBandSink sink{nullptr, pRecords, nRecords, nRecordLimit, nHighGray, CPoint(rtInspect.left, 0)};
    for (int y = rtInspect.top; y < rtInspect.bottom; ++y)
    {
        sink.pRow = pImage + std::int64_t{y} * nImagePitch + rtInspect.left;
        sink.ptFirst.y = y;
        if (FindBandPixels(sink.pRow, nColumns, nFirst, nGrays, CBandSink::TakeHits, &sink) == 0)
        {
            nEndLine = y;
            break;
        }
    }
    return sink.nCount;
}
