// SPDX-License-Identifier: MIT
// The inspection calls of the engine: checks, choice of the comparison, re-runs after an overflow, result codes.
#include "narvoassem/narvoassem.h"

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "narvoassem/base/memory_shortage.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/compare/comparison.h"
#include "narvoassem/engine/check_bounds.h"
#include "narvoassem/stopwatch.h"

using namespace narvo::engine;

namespace
{

/// The parameter checks of the engine's direction, vertical for an nDirection of exactly 1. @return 1 or 8
int CheckDirection(CNarvoAssem& engine)
{
    int nCheck = 0;
    const int nResult = engine.ConvParam.nDirection == 1 ? engine.CheckParameter_Vert(nCheck) //
                                                         : engine.CheckParameter(nCheck);
    return nResult == InspectCode_Done && nCheck != 0 ? InspectCode_BadParameter : nResult;
}

/// The code of a call that ran to its end with nResult.
int GetFinalResult(const CNarvoAssem& engine, int nResult)
{
    return engine.nPairCount > engine.nPairSize || HadMemoryShortage() ? InspectCode_Partial : nResult;
}

/// Runs a comparison to its blobs. @return its end line
int Compare(CNarvoAssem& engine, Comparison eComparison)
{
    switch (eComparison)
    {
    case Comparison::Zone:
        return engine.Compare_Zone2();
    case Comparison::AsgZone:
        return engine.Compare_ASGZone();
    case Comparison::Pixel:
        return engine.Compare_Pixel();
    case Comparison::Float:
        return engine.Compare_Float();
    case Comparison::Average:
        return engine.CompareAverage();
    case Comparison::Binarise:
        return engine.BinalizeInspection();
    case Comparison::Trapezium:
        engine.Compare_Trapezium();
        [[fallthrough]];
    default:
        return engine.ConvParam.nDirection != 0 ? engine.ConvParam.rtInspect.right : engine.ConvParam.rtInspect.bottom;
    }
}

/// The rest of a call that keeps no singles, tests by jumps and has no re-runs. @return its code
int RunWithoutSingles(CNarvoAssem& engine, Comparison eComparison)
{
    if (const int nResult = CheckDirection(engine); nResult != InspectCode_Done)
        return nResult;
    // Set before the bounds check: they decide what is read.
    engine.ConvParam.bKeepSingle = 0;
    engine.ConvParam.nFilterMode = 1;
    if (const int nResult = CheckBounds(engine, eComparison); nResult != InspectCode_Done)
        return nResult;
    Compare(engine, eComparison);
    return GetFinalResult(engine, InspectCode_Done);
}

/// A pass that was stopped early is continued from its end line.
bool CanRerun(Comparison eComparison)
{
    return eComparison != Comparison::Average && eComparison != Comparison::None;
}

/// Where a pass begins, and what it finds on entry: two passes equal in this do the same.
struct CPassState
{
    int nTop;
    int nLeft;
    const int* pOriginTable;
    int nBlobCount;
    int nBlobPairs = 0; ///< of all blobs, wraps: pairs of a later pass can join the blobs of an earlier one

    explicit CPassState(const CNarvoAssem& engine)
        : nTop(engine.ConvParam.rtInspect.top), nLeft(engine.ConvParam.rtInspect.left),
          pOriginTable(engine.ConvParam.pZoneOriginTable), nBlobCount(engine.nBlobCount)
    {
        for (int i = 0; i < nBlobCount; ++i)
            nBlobPairs = WrapAdd(nBlobPairs, engine.pBlob[i].nPairCount);
    }
    bool operator==(const CPassState& other) const = default;
};

/// The counters to which each pass adds.
constexpr int CBlobStorage::*runningCounters[] = {&CBlobStorage::nMergedBlob, &CBlobStorage::nRemovedByClass,
                                                  &CBlobStorage::nRemovedScan, &CBlobStorage::nRemovedConv};

/// Detects passes that repeat: they lead back to where they began, with the blobs as they were, since the blobs that
/// they open are removed again. All that are left are counted without being made. Each state is compared with one of
/// an earlier pass, which is replaced after 1, 2, 4 ... passes, so that a cycle of any length is found.
class CPassCircle
{
public:
    explicit CPassCircle(const CNarvoAssem& engine) : m_earlier(engine) { KeepCounters(engine); }

    /// To be called before each pass except the first: if passes repeat, counts the whole cycles that are
    /// left.
    void SkipRounds(CNarvoAssem& engine)
    {
        const CPassState state(engine);
        ++m_nPasses;
        if (state == m_earlier)
            CountRounds(engine);
        else if (m_nPasses < m_nLimit)
            return;
        else
            m_nLimit *= 2;
        m_earlier = state;
        m_nPasses = 0;
        KeepCounters(engine);
    }

private:
    void KeepCounters(const CNarvoAssem& engine)
    {
        for (std::size_t i = 0; i < std::size(runningCounters); ++i)
            m_nCounters[i] = engine.*runningCounters[i];
    }

    void CountRounds(CNarvoAssem& engine) const
    {
        const std::int64_t nLeft = std::int64_t{engine.ConvParam.nMaxReinspect} - engine.nReinspectCount;
        const std::int64_t nRounds = nLeft / m_nPasses;
        engine.nReinspectCount += static_cast<int>(nRounds * m_nPasses);
        for (std::size_t i = 0; i < std::size(runningCounters); ++i)
        {
            int& nCounter = engine.*runningCounters[i];
            const int nEachRound = WrapSub(nCounter, m_nCounters[i]);
            nCounter = WrapAdd(nCounter, WrapMul(static_cast<int>(nRounds), nEachRound));
        }
    }

    CPassState m_earlier;
    int m_nCounters[std::size(runningCounters)]; ///< their values at that time
    std::int64_t m_nPasses = 0;
    std::int64_t m_nLimit = 1;
};

} // namespace

int CNarvoAssem::Inspect_Rect(CConvParam* pParam)
{
    if (pParam == nullptr)
        return InspectCode_BadParameter;
    CStopWatch watch;
    watch.Start();
    ClearMemoryShortage();
    SetConvParam(pParam);

    // One pass per iteration. Only the first pass can refuse the call: a later refusal only ends the re-runs, since
    // the results of earlier passes are kept.
    int nResult = InspectCode_Done;
    CPassCircle circle(*this);
    for (;;)
    {
        const bool bFirstPass = nResult == InspectCode_Done;
        ResetPixelStorage();
        ResetPairStorage();
        const Comparison eComparison = ChooseComparison(ConvParam);
        const bool bChecked = ConvParam.nInspectMode != 2 && ConvParam.nInspectMode != 3;
        int nCheck = bChecked ? CheckDirection(*this) : InspectCode_Done;
        if (nCheck == InspectCode_Done)
            nCheck = CheckBounds(*this, eComparison);
        if (nCheck != InspectCode_Done)
        {
            if (bFirstPass)
                return nCheck;
            break;
        }

        const int nEndLine = Compare(*this, eComparison);
        if (!CanRerun(eComparison) || ConvParam.IsAllInspected(nEndLine) != 0 ||
            nReinspectCount >= ConvParam.nMaxReinspect)
            break;

        nResult = InspectCode_Partial;
        CountReinspect();
        (ConvParam.nDirection == 0 ? ConvParam.rtInspect.top : ConvParam.rtInspect.left) = nEndLine;
        if (eComparison == Comparison::Zone)
        {
            constexpr int nSearchStart = 4;
            constexpr int nRowLimit = 2000;
            int* const pEntry =
                ConvParam.nDirection == 0
                    ? FindZoneRow(nEndLine, ConvParam.pZoneOriginTable, nSearchStart, nRowLimit, ConvParam.nZoneColumns)
                    : FindZoneColumn(nEndLine, ConvParam.pZoneOriginTable, nSearchStart, ConvParam.nZoneColumns);
            if (pEntry == nullptr)
            {
                if (bFirstPass)
                    return InspectCode_Partial;
                break;
            }
            ConvParam.pZoneOriginTable = pEntry;
        }
        circle.SkipRounds(*this);
    }

    watch.Stop();
    dInspectTime = watch.GetElapsedMs();
    return GetFinalResult(*this, nResult);
}

int CNarvoAssem::Inspect_ASG(CConvParam* pParam)
{
    if (pParam == nullptr)
        return InspectCode_BadParameter;
    ClearMemoryShortage();
    SetConvParam(pParam);
    ResetNarvoAssem();
    const Comparison eComparison = ChooseAsgComparison(ConvParam);
    return RunWithoutSingles(*this, eComparison);
}

int CNarvoAssem::Inspect_Trapezium(CConvParam* pParam)
{
    if (pParam == nullptr)
        return InspectCode_BadParameter;
    ClearMemoryShortage();
    SetConvParam(pParam);
    ResetNarvoAssem();
    return RunWithoutSingles(*this, Comparison::Trapezium);
}
