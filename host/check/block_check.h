// SPDX-License-Identifier: MIT
// For hosts that fill parameter blocks themselves: what a call would do with a block, in words. The engine answers a
// refusal by a code alone, and says nothing of what it does not look at.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/problem.h"
#include "narvoassem/convparam.h"

namespace narvo
{

/// The calls that take a block.
enum BlockCall : int
{
    BlockCall_Rect,      ///< CAssemControl::Inspect_Rect
    BlockCall_RectAsg,   ///< CAssemControl::Inspect_Rect with bASG
    BlockCall_Asg,       ///< CAssemControl::Inspect_ASG
    BlockCall_Trapezium, ///< CAssemControl::Inspect_Trapezium
    BlockCall_EngineRect ///< CNarvoAssem::Inspect_Rect of a lane's engine
};

/// The memory behind a pointer of the block that the call may read. A host that provides it all is safe.
struct TableRead
{
    std::string field;   ///< the pointer's name
    std::int64_t before; ///< elements that must lie before the one it points at
    std::int64_t count;  ///< elements that must lie from that one on
    std::string element; ///< what an element is, and which it is: "int, a pitch in 1/16 pixel for each 16 rows"
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

    /// One line for each finding; empty where there is none but reads.
    std::string Text() const;
};

/// Checks a block as the call would; nothing is compared, and the block stays as it is. Any block may be handed in: of
/// what it points at, only the first row of pZoneOriginTable is read (nZoneColumns records), and that only where an
/// Inspect_Rect would split the region into bands.
///
/// The sizes of `reads` hold for origin grids as regular as the cells that the block declares: neighbouring origins lie
/// a cell's size apart, rounded to whole pixels either way, and the first used cell holds the region's corner. Whether
/// a lane has its stores (InitAssemControl) is not known here: without them each comparison returns 8.
/// @throws std::bad_alloc
BlockCheck CheckBlock(const CConvParam& param, BlockCall call = BlockCall_Rect);

/// The first column of a region from which on the comparison of a whole image at a pitch does not look: a defect all of
/// whose pixels lie there is not seen. The region's right side where there is none, or where no such column is known:
/// horizontal float comparisons, tables of pitches along x, trapezia, modes without a pitch, refused blocks.
int FirstUnseenColumn(const CConvParam& param, BlockCall call = BlockCall_Rect);

/// What a host holds behind one of the block's pointers.
struct TableSize
{
    std::string field;       ///< the pointer's name
    std::int64_t before = 0; ///< elements before the one it points at
    std::int64_t count = 0;  ///< elements from that one on
};

/// Whether a call may be made with tables of these sizes: all that CheckBlock refuses or calls a hazard, every table
/// that is read and not listed or too short, and, where an origin grid is read, what is not as regular in it as the
/// block's cells are. Of each pointer no more is read than `sizes` says, and of the tables only pZoneOriginTable.
/// @return what is wrong; empty: the call reads nothing outside of what was listed
/// @throws std::bad_alloc
std::vector<Problem> CheckTables(const CConvParam& param, const std::vector<TableSize>& sizes,
                                 BlockCall call = BlockCall_Rect);

} // namespace narvo
