// SPDX-License-Identifier: MIT
// Average mode of the engine: the region's table of sums, the worker, and the blob steps.
#include "narvoassem/narvoassem.h"

#include <climits>
#include <cstdint>

#include "narvoassem/base/memory_shortage.h"
#include "narvoassem/modes/side_modes.h"

int narvo::engine::RunAverage(CNarvoAssem& engine, int& nEndLine)
{
    CConvParam& param = engine.ConvParam;
    nEndLine = param.rtInspect.bottom;
    // The worker writes every cell, the cleared borders included, so that clearing the table here would be a second
    // pass over memory. A table of more cells than an int can count is not made, and nothing is a hit then.
    const std::int64_t nWidth = std::int64_t{param.rtInspect.right} - param.rtInspect.left;
    const std::int64_t nHeight = std::int64_t{param.rtInspect.bottom} - param.rtInspect.top;
    std::int64_t* pIntegral = nullptr;
    if (!param.rtInspect.IsRectEmpty() && nWidth < INT_MAX && nHeight < INT_MAX &&
        (nWidth + 1) * (nHeight + 1) <= INT_MAX)
    {
        if (engine.Int64BuffComp.Resize(static_cast<int>((nWidth + 1) * (nHeight + 1))) != 0)
            pIntegral = engine.Int64BuffComp.GetData();
        else
            NoteMemoryShortage();
    }
    return CompareAverageROI(param.pImage, pIntegral, param.nImageWidth, &param.rtInspect, param.nBlackFilterGray,
                             param.nThreshold, param.nGrayLimit, param.rtDeadZone, engine.pPair, engine.nPairCount,
                             engine.nPairSize, param.nAverageParam2, param.nAverageParam1, &nEndLine);
}
