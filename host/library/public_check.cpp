// SPDX-License-Identifier: MIT
// Checks of parameter blocks in the public form.
#include "narvo/host_check.h"

#include <string>
#include <utility>
#include <vector>

#include "host/check/block_check.h"
#include "host/library/translate.h"

namespace narvo::v1
{

namespace
{

narvo::BlockCall LayerCall(BlockCall call)
{
    switch (call)
    {
    case BlockCall::Rect:
        return BlockCall_Rect;
    case BlockCall::RectAsg:
        return BlockCall_RectAsg;
    case BlockCall::Asg:
        return BlockCall_Asg;
    case BlockCall::Trapezium:
        return BlockCall_Trapezium;
    case BlockCall::EngineRect:
        return BlockCall_EngineRect;
    }
    throw HostError({{"call", std::to_string(static_cast<int>(call)), "one of BlockCall"}});
}

} // namespace

BlockCheck CheckBlock(const CConvParam& block, BlockCall call)
{
    return library::Translated(
        [&]
        {
            narvo::BlockCheck found = narvo::CheckBlock(block, LayerCall(call));
            BlockCheck check;
            check.code = found.code;
            check.vertical = found.vertical;
            check.refusals = library::PublicProblems(found.refusals);
            check.hazards = std::move(found.hazards);
            check.blindSpots = std::move(found.blindSpots);
            check.ignored = library::PublicProblems(found.ignored);
            for (narvo::TableRead& read : found.reads)
                check.reads.push_back({std::move(read.field), read.before, read.count, std::move(read.element)});
            return check;
        });
}

std::vector<Problem> CheckTables(const CConvParam& block, const std::vector<TableSize>& sizes, BlockCall call)
{
    return library::Translated(
        [&]
        {
            std::vector<narvo::TableSize> listed;
            for (const TableSize& size : sizes)
                listed.push_back({size.field, size.before, size.count});
            return library::PublicProblems(narvo::CheckTables(block, listed, LayerCall(call)));
        });
}

} // namespace narvo::v1
