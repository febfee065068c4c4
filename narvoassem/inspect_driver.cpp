// The inspection calls of the engine: checks, choice of the comparison, re-runs after an overflow, result codes.
#include "narvoassem/narvoassem.h"

#include <cstdint>

#include "narvoassem/check_bounds.h"
#include "narvoassem/comparison.h"
#include "narvoassem/memory_shortage.h"
#include "narvoassem/stopwatch.h"

namespace
{

using narvo::Comparison;

constexpr int nResultDone = 1;
constexpr int nResultBadParameter = 8;
constexpr int nResultPartial = 16;

/// The parameter checks of the engine's direction, vertical for an nDirection of exactly 1. @return 1 or 8
int CheckDirection(CNarvoAssem& engine)
{
    int nCheck = 0;
    const int nResult = engine.ConvParam.nDirection == 1 ? engine.CheckParameter_Vert(nCheck) //
                                                         : engine.CheckParameter(nCheck);
    return nResult == nResultDone && nCheck != 0 ? nResultBadParameter : nResult;
}

/// The code of a call that ran to its end with nResult.
int GetFinalResult(const CNarvoAssem& engine, int nResult)
{
    return engine.nPairCount > engine.nPairSize || narvo::HadMemoryShortage() ? nResultPartial : nResult;
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
    default:
        return engine.ConvParam.nDirection != 0 ? engine.ConvParam.rtInspect.right : engine.ConvParam.rtInspect.bottom;
    }
}

/// A pass that is stopped by its end line goes on from there.
bool CanRerun(Comparison eComparison)
{
    return eComparison != Comparison::Average && eComparison != Comparison::None;
}

/// Where a pass begins, and what it finds on entry: two passes alike in this do the same.
struct CPassState
{
    int nTop;
    int nLeft;
    const int* pOriginTable;
    int nBlobCount;

    explicit CPassState(const CNarvoAssem& engine)
        : nTop(engine.ConvParam.rtInspect.top), nLeft(engine.ConvParam.rtInspect.left),
          pOriginTable(engine.ConvParam.pZoneOriginTable), nBlobCount(engine.nBlobCount)
    {
    }
    bool operator==(const CPassState& other) const = default;
};

/// Finds out when passes go in a circle: each state is compared with one of an earlier pass, which is replaced after
/// 1, 2, 4 ... passes, so that a circle of any length is found.
class CPassCircle
{
public:
    explicit CPassCircle(const CNarvoAssem& engine) : m_earlier(engine) {}

    /// To be asked before each pass but the first. @return the passes of a round, or 0 while there is no circle
    int FindRound(const CNarvoAssem& engine)
    {
        const CPassState state(engine);
        ++m_nPasses;
        if (state == m_earlier)
            return m_nPasses;
        if (m_nPasses == m_nLimit)
        {
            m_earlier = state;
            m_nPasses = 0;
            m_nLimit *= 2;
        }
        return 0;
    }

private:
    CPassState m_earlier;
    int m_nPasses = 0;
    std::int64_t m_nLimit = 1;
};

} // namespace

int CNarvoAssem::Inspect_Rect(CConvParam* pParam)
{
    if (pParam == nullptr)
        return nResultBadParameter;
    CStopWatch watch;
    watch.Start();
    narvo::ClearMemoryShortage();
    SetConvParam(pParam);

    // One pass a round. The first pass alone can refuse the call: a refusal later on only ends the re-runs, since
    // what the passes before found stands.
    int nResult = nResultDone;
    CPassCircle circle(*this);
    for (;;)
    {
        const bool bFirstPass = nResult == nResultDone;
        ResetPixelStorage();
        ResetPairStorage();
        const Comparison eComparison = narvo::ChooseComparison(ConvParam);
        const bool bChecked = ConvParam.nInspectMode != 2 && ConvParam.nInspectMode != 3;
        int nCheck = bChecked ? CheckDirection(*this) : nResultDone;
        if (nCheck == nResultDone)
            nCheck = narvo::CheckBounds(*this, eComparison);
        if (nCheck != nResultDone)
        {
            if (bFirstPass)
                return nCheck;
            break;
        }

        const int nEndLine = Compare(*this, eComparison);
        if (!CanRerun(eComparison) || ConvParam.IsAllInspected(nEndLine) != 0 ||
            nReinspectCount >= ConvParam.nMaxReinspect)
            break;

        nResult = nResultPartial;
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
                    return nResultPartial;
                break;
            }
            ConvParam.pZoneOriginTable = pEntry;
        }
        // Rounds that bring no blob and lead back to where they began change nothing, however many are left.
        if (const std::int64_t nRound = circle.FindRound(*this); nRound != 0)
            nReinspectCount = ConvParam.nMaxReinspect -
                              static_cast<int>((std::int64_t{ConvParam.nMaxReinspect} - nReinspectCount) % nRound);
    }

    watch.Stop();
    dInspectTime = watch.GetElapsedMs();
    return GetFinalResult(*this, nResult);
}

int CNarvoAssem::Inspect_ASG(CConvParam* pParam)
{
    if (pParam == nullptr)
        return nResultBadParameter;
    narvo::ClearMemoryShortage();
    SetConvParam(pParam);
    ResetNarvoAssem();
    const Comparison eComparison = narvo::ChooseAsgComparison(ConvParam);
    int nResult = CheckDirection(*this);
    if (nResult == nResultDone)
        nResult = narvo::CheckBounds(*this, eComparison);
    if (nResult != nResultDone)
        return nResult;
    ConvParam.bKeepSingle = 0;
    ConvParam.nFilterMode = 1;
    Compare(*this, eComparison);
    return GetFinalResult(*this, nResultDone);
}

int CNarvoAssem::Inspect_Trapezium(CConvParam* pParam)
{
    if (pParam == nullptr)
        return nResultBadParameter;
    narvo::ClearMemoryShortage();
    SetConvParam(pParam);
    ResetNarvoAssem();
    int nResult = CheckDirection(*this);
    if (nResult == nResultDone)
        nResult = narvo::CheckBounds(*this, Comparison::Trapezium);
    if (nResult != nResultDone)
        return nResult;
    ConvParam.bKeepSingle = 0;
    ConvParam.nFilterMode = 1;
    Compare_Trapezium();
    return GetFinalResult(*this, nResultDone);
}
