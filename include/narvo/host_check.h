// SPDX-License-Identifier: MIT
// For programs that fill the engine's parameter blocks themselves: what a call would do with a block, in words, and
// whether the tables that it points at are large enough. docs/engine.md is the guide to such calls.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "narvo/host_error.h"

class CConvParam; // <narvoassem/convparam.h> of the engine's library; nothing else of it is needed here

namespace narvo::v1
{

/// The calls of the engine that take a block.
enum class BlockCall : int
{
    Rect,      ///< CAssemControl::Inspect_Rect
    RectAsg,   ///< CAssemControl::Inspect_Rect with bASG
    Asg,       ///< CAssemControl::Inspect_ASG
    Trapezium, ///< CAssemControl::Inspect_Trapezium
    EngineRect ///< CNarvoAssem::Inspect_Rect of a lane's engine
};

/// The memory behind a pointer of the block that the call may read.
struct TableRead
{
    std::string field;       ///< the pointer's name in CConvParam
    std::int64_t before = 0; ///< elements that must lie before the one it points at
    std::int64_t count = 0;  ///< elements that must lie from that one on
    std::string element;     ///< what an element is: "int, a pitch in 1/16 pixel for each 16 rows"
};

/// What a call would do with a block.
struct BlockCheck
{
    int code = 1;                        ///< 1 where it compares; 8 or 64 where it refuses
    bool vertical = false;               ///< the direction that it takes: along y
    std::vector<Problem> refusals;       ///< all reasons of a refusal, the first one that the engine meets in front
    std::vector<std::string> hazards;    ///< settings with which it may read outside tables of any size
    std::vector<std::string> blindSpots; ///< what it does not look at, or cannot see, although it returns 1
    std::vector<Problem> ignored;        ///< fields that are set, but that nothing reads with these settings
    std::vector<TableRead> reads;        ///< image, tables and maps; of a block that is refused, none
};

/// Checks a block as the call would; nothing is compared, and the block stays as it is. Any block may be handed in: of
/// what it points at, only the first row of pZoneOriginTable is read (nZoneColumns records), and that only where an
/// Inspect_Rect would split the region into bands.
///
/// The sizes of `reads` hold for origin grids as regular as the cells that the block declares; CheckTables looks into
/// the grid itself. Whether a lane has its stores (InitAssemControl) is not known here.
/// @throws Error for a call that is none of the enumeration; std::bad_alloc
NARVOHOST_API BlockCheck CheckBlock(const CConvParam& block, BlockCall call = BlockCall::Rect);

/// What the program holds behind one of the block's pointers.
struct TableSize
{
    std::string field;       ///< the pointer's name in CConvParam
    std::int64_t before = 0; ///< elements before the one it points at, 0 or more
    std::int64_t count = 0;  ///< elements from that one on, 0 or more
};

/// Whether a call may be made with tables of these sizes: everything that CheckBlock refuses or calls a hazard, every
/// table that is read and not listed or too short, and, where an origin grid is read, every record of it that is not as
/// regular as the block's cells are. Of each pointer no more is read than `sizes` says, and of the tables only
/// pZoneOriginTable. A block without problems reads nothing outside of what was listed.
/// @return what is wrong, each with what it would need to be; empty: the call is safe
/// @throws Error for a call that is none of the enumeration; std::bad_alloc
NARVOHOST_API std::vector<Problem> CheckTables(const CConvParam& block, const std::vector<TableSize>& sizes,
                                               BlockCall call = BlockCall::Rect);

} // namespace narvo::v1
