// SPDX-License-Identifier: MIT
// The band split: one region cut into bands of columns that run in parallel on the engine's sub-engines.
#include "narvoassem/narvoassem.h"

#include <algorithm>
#include <new>

#include "narvoassem/base/forked_child.h"
#include "narvoassem/base/memory_shortage.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/engine/band_plan.h"
#include "narvoassem/engine/check_bounds.h"

using namespace narvo::engine;

namespace
{

/// Runs one band. Its result code is ignored, as the interface defines: bounds were checked before the split, coverage
/// shows in the sum of pairs, and lack of memory in the return value.
/// @return whether part of the band was not inspected because memory ran out
bool RunBand(CAssemThreadControl& pool, const CBandPlan& plan, int nBand)
{
    CConvParam band = plan.MakeBand(nBand);
    ClearMemoryShortage();
    pool.Inspect(nBand, &band);
    return HadMemoryShortage();
}

/// Runs all bands, each on a thread of its own where threads are available. @return as RunBand, for any of them
bool RunBands(CAssemThreadControl& pool, const CBandPlan& plan)
{
    const int nBands = plan.GetCount();
    bool bShortage = false;
    if (IsForkedChild())
    {
        for (int i = 0; i < nBands; ++i)
            bShortage = RunBand(pool, plan, i) || bShortage;
        return bShortage;
    }
#pragma omp parallel for num_threads(nBands) schedule(static) reduction(|| : bShortage)
    for (int i = 0; i < nBands; ++i)
        bShortage = RunBand(pool, plan, i) || bShortage;
    return bShortage;
}

} // namespace

int CNarvoAssem::EnableInternalThread(int nThreads, int nDefectSize)
{
    if (pThreadControl != nullptr)
        return 1;
    pThreadControl = new (std::nothrow) CAssemThreadControl;
    if (pThreadControl == nullptr)
        return 0;
    pThreadControl->Init(nThreads, nDefectSize);
    return 1;
}

int CNarvoAssem::Inspect_RectThread(CConvParam* pParam)
{
    if (pThreadControl == nullptr || pParam == nullptr)
        return InspectCode_BadParameter;
    const CBandPlan plan(*pParam, pThreadControl->GetCount());
    if (plan.GetCount() < 1)
        return Inspect_Rect(pParam);

    ResetNarvoAssem();
    const Comparison eComparison = ChooseComparison(*pParam);
    if (eComparison != Comparison::None && (!HasStores(*this) || !FindOutOfBounds(*pParam, eComparison).IsEmpty() ||
                                            !plan.FindOutOfBounds(eComparison).IsEmpty()))
        return InspectCode_BadParameter;

    bool bShortage = RunBands(*pThreadControl, plan);
    ClearMemoryShortage();
    for (int i = 0; i < plan.GetCount(); ++i)
    {
        CNarvoAssem* const pBand = pThreadControl->GetAssem(i);
        dBlobTime = std::max(dBlobTime, pBand->dBlobTime);
        dInspectTime = std::max(dInspectTime, pBand->dInspectTime);
        nPairCount = WrapAdd(nPairCount, pBand->nPairCount);
        ReadBlob(pBand);
    }
    bShortage = bShortage || HadMemoryShortage();
    return nPairCount > nPairSize || bShortage ? InspectCode_Partial : InspectCode_Done;
}
