// SPDX-License-Identifier: MIT
// An inspection with its re-runs as a plain recursion in which every pass is made, on the library's own comparisons.
#pragma once

#include "narvoassem/compare/comparison.h"
#include "narvoassem/engine/check_bounds.h"
#include "narvoassem/narvoassem.h"

namespace narvo::test
{

/// An engine whose inspection makes every re-run.
class CRerunReference : public CNarvoAssem
{
public:
    /// As Inspect_Rect, without the time.
    int InspectEachPass(CConvParam* pParam)
    {
        int nResult = 1;
        SetConvParam(pParam);
        ResetPixelStorage();
        ResetPairStorage();
        const int nMode = ConvParam.nInspectMode;
        if (nMode != 2 && nMode != 3)
        {
            int nFlag = 0;
            const int nCheck = ConvParam.nDirection == 1 ? CheckParameter_Vert(nFlag) : CheckParameter(nFlag);
            if (nCheck != 1 || nFlag != 0)
                return nCheck;
        }
        if (engine::CheckBounds(*this, engine::ChooseComparison(ConvParam)) != 1)
            return 8;

        const bool bZone = nMode != 3 && ConvParam.pThresholdOffsetMap != nullptr;
        int nEndLine = 0;
        if (nMode == 3)
            CompareAverage();
        else if (bZone)
            nEndLine = Compare_Zone2();
        else if (nMode == 1)
            nEndLine = Compare_Pixel();
        else if (nMode == 0)
            nEndLine = Compare_Float();
        else
            nEndLine = BinalizeInspection();

        if (nMode != 3 && ConvParam.IsAllInspected(nEndLine) == 0 && nReinspectCount < ConvParam.nMaxReinspect)
        {
            nResult = 16;
            CountReinspect();
            const bool bRows = ConvParam.nDirection == 0;
            (bRows ? ConvParam.rtInspect.top : ConvParam.rtInspect.left) = nEndLine;
            if (bZone)
            {
                int* const pTable = ConvParam.pZoneOriginTable;
                int* const pEntry = bRows ? FindZoneRow(nEndLine, pTable, 4, 2000, ConvParam.nZoneColumns)
                                          : FindZoneColumn(nEndLine, pTable, 4, ConvParam.nZoneColumns);
                if (pEntry == nullptr)
                    return 16;
                ConvParam.pZoneOriginTable = pEntry;
            }
            InspectEachPass(&ConvParam);
        }
        return nPairCount > nPairSize ? 16 : nResult;
    }
};

} // namespace narvo::test
