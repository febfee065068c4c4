// SPDX-License-Identifier: MIT
// The engine's steps, taken one by one.
#include "narvoassem/trace/trace.h"

#include "narvoassem/fast/float/float_table.h"
#include "narvoassem/fast/pixel/pixel_table.h"
#include "narvoassem/fast/zone/zone_table.h"
#include "narvoassem/narvoassem.h"

namespace narvo::engine
{

CSelectedKernel TraceSelection(Comparison eComparison, bool bVertical, COptionSet options)
{
    const auto select = [&](const auto& choices) -> CSelectedKernel
    {
        const auto& choice = SelectKernel(choices, options);
        return {choice.pWords, choice.needs | choice.reads};
    };
    switch (eComparison)
    {
    case Comparison::Zone:
        return select(GetZoneChoices(bVertical));
    case Comparison::AsgZone:
        return select(GetAsgZoneChoices(bVertical));
    case Comparison::Pixel:
        return select(GetPixelChoices(bVertical));
    case Comparison::Float:
        return select(GetFloatChoices(bVertical));
    default:
        return {"only", {}};
    }
}

Comparison ChooseComparison(const CConvParam& param, bool bAsg)
{
    return bAsg ? ChooseAsgComparison(param) : ChooseComparison(param);
}

void TraceToPairs(CNarvoAssem& engine, Comparison eComparison)
{
    engine.ResetNarvoAssem();
    int nEndLine = 0;
    engine.nPairCount = RunComparison(engine, eComparison, nEndLine);
}

bool TraceRecord(const CConvParam& param, const CBlobSteps& steps, const CDefectPair& record, CRecordTrace& trace)
{
    CBlobStorage store;
    store.ConvParam = param;
    if (store.InitPairStorage(1) < 1)
        return false;
    CDefectPair& pair = store.pPair[0];
    pair = record;
    store.nPairCount = 1;
    store.CorrectDefGray();
    trace.bFiltered = steps.bFilters && HasPairFilters(param, steps.bVertical);
    if (trace.bFiltered)
        AskPairFilters(store, pair, steps.bVertical, &trace.trail);
    trace.bPattern = steps.bFilters && steps.bVertical && store.VeriPitchDPCFiltering(&pair) != 0;
    return true;
}

} // namespace narvo::engine
