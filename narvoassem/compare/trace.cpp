// SPDX-License-Identifier: MIT
// The engine's steps, taken one by one.
#include "narvoassem/compare/trace.h"

#include "narvoassem/narvoassem.h"

namespace narvo::engine
{

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
