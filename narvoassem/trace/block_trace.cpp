// SPDX-License-Identifier: MIT
// The checks of a call in their order, by the functions that the engine itself asks.
#include "narvoassem/trace/block_trace.h"

#include <algorithm>

#include "narvoassem/compare/float_driver.h"
#include "narvoassem/engine/band_plan.h"
#include "narvoassem/engine/check_bounds.h"
#include "narvoassem/engine/check_fields.h"
#include "narvoassem/engine/screen_block.h"
#include "narvoassem/inspectcode.h"

namespace narvo::engine
{
namespace
{

bool IsSideCall(BlockCall eCall)
{
    return eCall == BlockCall::RectAsg || eCall == BlockCall::Asg || eCall == BlockCall::Trapezium;
}

Comparison GetComparison(const CConvParam& param, BlockCall eCall)
{
    if (eCall == BlockCall::Trapezium)
        return Comparison::Trapezium;
    return ChooseComparison(param, IsSideCall(eCall));
}

/// The engine checks the fields, except where a plain inspection is in binarise or average mode.
bool ChecksFields(const CConvParam& param, BlockCall eCall)
{
    return IsSideCall(eCall) || (param.nInspectMode != 2 && param.nInspectMode != 3);
}

CRefusals CheckCall(const CConvParam& param, BlockCall eCall)
{
    return ChecksFields(param, eCall) ? CheckFields(param, param.nDirection == 1) : CRefusals();
}

void TraceBands(const CBandPlan& plan, CBlockTrace& trace)
{
    for (int i = 0; i < plan.GetCount(); ++i)
    {
        const CConvParam band = plan.MakeBand(i);
        trace.bands.push_back(band.rtInspect);
        if (band.pZoneOriginTable != nullptr && FindBandEntry(band) < 0)
            trace.unread.push_back(band.rtInspect);
        else
            trace.bandRefusals = trace.bandRefusals | CheckCall(band, BlockCall::Rect);
    }
}

void TraceKernel(CBlockTrace& trace)
{
    const CConvParam& param = trace.param;
    const bool bZone = trace.eComparison == Comparison::Zone || trace.eComparison == Comparison::AsgZone;
    trace.given = GetKernelOptions(param);
    trace.kernel =
        TraceSelection(trace.eComparison, bZone ? param.nDirection != 0 : param.nDirection == 1, trace.given);
    trace.bRuns = trace.eComparison != Comparison::None &&
                  (trace.eComparison != Comparison::Float || TakesFreeForm(param) || RunsFloatKernel(param));
    trace.steps = GetBlobSteps(param, trace.eComparison);
    if (bZone)
        trace.cell = trace.eComparison == Comparison::Zone ? GetZoneCellSize(param) : GetAsgZoneCellSize(param);
}

} // namespace

CBlockTrace TraceBlock(const CConvParam& param, BlockCall eCall)
{
    CBlockTrace trace;
    trace.param = param;
    CConvParam& block = trace.param;
    if (eCall == BlockCall::Rect || eCall == BlockCall::RectAsg)
    {
        trace.refusals = ScreenBlock(block);
        if (!trace.refusals.IsEmpty())
            trace.nCode = GetRefusalCode(trace.refusals);
    }
    trace.eComparison = GetComparison(block, eCall);
    const bool bSplit =
        eCall == BlockCall::Rect && block.nDirection != 0 && block.nInspectMode != 3 && block.bBandThread != 0;
    const CBandPlan plan(block, bSplit ? nSubEngines : 0);
    if (plan.GetCount() < 1)
        trace.refusals = trace.refusals | CheckCall(block, eCall);
    // Set before the bounds check, as the engine does: they decide what is read.
    if (IsSideCall(eCall))
    {
        block.bKeepSingle = 0;
        block.nFilterMode = 1;
    }
    if (ChecksFields(block, eCall))
        block.nGrayLimit = std::clamp(block.nGrayLimit, 1, 255);
    trace.refusals = trace.refusals | FindOutOfBounds(block, trace.eComparison);
    if (plan.GetCount() > 0 && trace.refusals.IsEmpty())
    {
        trace.refusals = plan.FindOutOfBounds(trace.eComparison);
        TraceBands(plan, trace);
    }
    if (trace.nCode == InspectCode_Done && !trace.refusals.IsEmpty())
        trace.nCode = InspectCode_BadParameter;
    TraceKernel(trace);
    return trace;
}

} // namespace narvo::engine
