// Average mode of the engine: the region's table of sums, the worker, and the blob steps.
#include "narvoassem/narvoassem.h"

#include <climits>
#include <cstdint>

#include "narvoassem/memory_shortage.h"

int CNarvoAssem::CompareAverage()
{
    const int nFirstBlob = nBlobCount;
    int nEndLine = ConvParam.rtInspect.bottom;
    CRect& rtInspect = ConvParam.rtInspect;
    // The worker writes every cell, the cleared borders included, so that clearing the table here would be a second
    // pass over memory. A table beyond an int's count of cells is not made, and nothing is a hit then.
    const std::int64_t nWidth = std::int64_t{rtInspect.right} - rtInspect.left;
    const std::int64_t nHeight = std::int64_t{rtInspect.bottom} - rtInspect.top;
    std::int64_t* pIntegral = nullptr;
    if (!rtInspect.IsRectEmpty() && nWidth < INT_MAX && nHeight < INT_MAX && (nWidth + 1) * (nHeight + 1) <= INT_MAX)
    {
        if (Int64BuffComp.Resize(static_cast<int>((nWidth + 1) * (nHeight + 1))) != 0)
            pIntegral = Int64BuffComp.GetData();
        else
            narvo::NoteMemoryShortage();
    }
    nPairCount =
        CompareAverageROI(ConvParam.pImage, pIntegral, ConvParam.nImageWidth, &rtInspect, ConvParam.nBlackFilterGray,
                          ConvParam.nThreshold, ConvParam.nGrayLimit, ConvParam.rtDeadZone, pPair, nPairCount,
                          nPairSize, ConvParam.nAverageParam2, ConvParam.nAverageParam1, &nEndLine);
    BlobDefect_NonFilter();
    MergeDivision(nFirstBlob, ConvParam.nMergeDivision);
    return nEndLine;
}
