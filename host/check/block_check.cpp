// SPDX-License-Identifier: MIT
// A block's check, from the engine's own.
#include "host/check/block_check.h"

#include "host/check/block_words.h"

namespace narvo
{

namespace
{

engine::BlockCall CallOf(BlockCall call)
{
    switch (call)
    {
    case BlockCall_RectAsg:
        return engine::BlockCall::RectAsg;
    case BlockCall_Asg:
        return engine::BlockCall::Asg;
    case BlockCall_Trapezium:
        return engine::BlockCall::Trapezium;
    case BlockCall_EngineRect:
        return engine::BlockCall::EngineRect;
    default:
        return engine::BlockCall::Rect;
    }
}

} // namespace

std::string BlockCheck::Text() const
{
    std::string text;
    for (const Problem& problem : refusals)
        text += "refused: " + problem.Text() + "\n";
    for (const std::string& hazard : hazards)
        text += "unsafe: " + hazard + "\n";
    for (const std::string& spot : blindSpots)
        text += "not seen: " + spot + "\n";
    for (const Problem& problem : ignored)
        text += "not read: " + problem.Text() + "\n";
    return text;
}

int FirstUnseenColumn(const CConvParam& param, BlockCall call)
{
    const engine::CBlockTrace trace = engine::TraceBlock(param, CallOf(call));
    return trace.nCode == 1 ? UnseenFrom(trace) : param.rtInspect.right;
}

BlockCheck CheckBlock(const CConvParam& param, BlockCall call)
{
    const engine::CBlockTrace trace = engine::TraceBlock(param, CallOf(call));
    BlockCheck check;
    check.code = trace.nCode;
    check.vertical = trace.param.nDirection != 0;
    check.refusals = WordRefusals(trace.param, trace.refusals, trace.steps.bVertical);
    check.ignored = WordIgnored(trace);
    if (trace.nCode != 1)
        return check;
    check.hazards = WordHazards(trace);
    check.blindSpots = WordBlindSpots(param, trace);
    check.reads = ListReads(trace);
    return check;
}

} // namespace narvo
