// SPDX-License-Identifier: MIT
// Which recipes a stream of rows can inspect, and how far its windows overlap.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "host/problem.h"
#include "host/recipe/recipe.h"
#include "host/stream/stream_types.h"

namespace narvo
{

/// Columns of an image that a stream takes at most: wider ones have blobs whose outlines depend on where they lie.
constexpr int nStreamWidthLimit = 32000;

/// Rows of a window at most: 16 columns of a vertical one have as many places as the engine has room for hits.
constexpr int nWindowRowLimit = 10000;

/// The overlap of windows, in rows.
struct StreamPlan
{
    bool vertical = true;
    int hop = 0;       ///< rows between the two answers of a defect
    int ahead = 0;     ///< rows that a window needs below those whose pairs it settles
    int back = 0;      ///< rows that it needs above them
    int spare = 0;     ///< further rows that are kept for repairs, which start further up than the run before them
    int above = 8;     ///< rows above a window's start that kernels may read and nothing depends on
    int alignment = 1; ///< windows start at multiples of it
    std::int64_t tableRows = 0; ///< rows in which a row table changes: from there on windows need no alignment
    int windowRows = 0;
    int unitColumns = 16; ///< columns that kernels take one after the other, all rows of each
    /// Rows of a window that is inspected where the caller has them.
    int LeastInPlace() const { return std::max(windowRows / 2, Bridge()); }
    /// Rows behind which a window no longer needs the rows before them.
    int Bridge() const { return ahead + back + spare + above + alignment; }
    int MostInPlace() const { return vertical ? std::min(2 * windowRows, nWindowRowLimit) : 2 * windowRows; }
    bool brightFirst = false; ///< within a row of a unit bright answers come before dark ones
    /// The last multiple of the alignment at or above a row.
    std::int64_t AlignUp(std::int64_t row) const { return row - row % alignment; }
    /// Where a repair of a run from `start` on starts: a place of every chain further up if windows may start there.
    std::int64_t RepairStart(std::int64_t start) const
    {
        return start - hop >= tableRows || alignment == 1 ? start - hop : AlignUp(start - 1);
    }
};

/// Everything in a recipe or in the settings that a stream cannot do.
std::vector<Problem> CheckStream(const Recipe& recipe, int width, const StreamSettings& settings);

/// What keeps the results of a valid recipe from being those of the whole image in every case, in sentences.
std::vector<std::string> NotesOf(const Recipe& recipe);

/// The recipe for windows of so many rows: a row table is as long as they want it.
Recipe WindowRecipe(const Recipe& recipe, int rows);

/// The plan for a recipe that passes CheckStream.
StreamPlan PlanStream(const Recipe& recipe, int width, const StreamSettings& settings);

} // namespace narvo
