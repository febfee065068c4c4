// SPDX-License-Identifier: MIT
// What a stream refuses, and the arithmetic of its overlaps.
#include "host/stream/stream_plan.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "host/image/row_conversion.h"
#include "host/inspect/inspection_plan.h"
#include "host/inspection_kind.h"

namespace narvo
{

namespace
{

constexpr int nExactParts = 1024;   // of a pixel: sums with rows are exact
constexpr int nMargin = 8;          // rows beyond those that kernels and filters are known to read
constexpr int nOverlapShare = 24;   // a window has so many times the rows of its overlap
constexpr int nSmallestShare = 2;   // and at least so many
constexpr int nHopelessRepairs = 8; // where no start is an odd number of hops above another one
constexpr std::int64_t nWindowBytes = std::int64_t{64} << 20;

const char* WordOf(int mode)
{
    constexpr const char* words[] = {"zone", "pixel", "float", "binarise", "average", "asg", "texture", "lattice"};
    return mode >= 0 && mode < 8 ? words[mode] : "unknown";
}

/// Places that a recipe gives by their rows, of which a stream has no end.
void CheckPlaces(const Recipe& recipe, std::vector<Problem>& found)
{
    const auto leftOut = [&](bool given, const char* field)
    {
        if (given)
            found.push_back({field, "given", "left out in a stream, whose rows have no end"});
    };
    leftOut(recipe.region.has_value() || recipe.regionShape != RegionShape_Rectangle, "region");
    leftOut(recipe.marginFrame.has_value(), "margin_frame");
    leftOut(!recipe.deadZones.empty(), "dead_zones");
    leftOut(!recipe.deadImage.IsEmpty(), "dead_image");
    leftOut(!recipe.scanTilts.empty(), "tables.scan_tilt");
    leftOut(!recipe.rowPitches.empty(), "tables.row_pitch");
    leftOut(!recipe.columnPitches.empty(), "tables.column_pitch");
    leftOut(recipe.maps != nullptr, "maps");
    leftOut(!recipe.skippedCells.empty(), "zones.skip");
    for (std::size_t i = 0; i < recipe.zones.size(); ++i)
        if (recipe.zones[i].verifyMode != VerifyMode_Off)
            found.push_back({"zones.list[" + std::to_string(i) + "].verify.mode", "given", "none in a stream"});
}

int RoundUp(int value, int step)
{
    return (value + step - 1) / step * step;
}

/// How many multiples of `alignment` further up repairs must start until each chain has begun, in one of them, an odd
/// number of places above where it began at first; some where that never comes.
int RepairsFor(int hop, int alignment)
{
    std::vector<bool> reached(static_cast<std::size_t>(hop));
    int left = hop;
    for (int count = 1; count <= std::max(hop, 2); ++count)
    {
        const int rows = count * alignment;
        for (int place = 0; place < hop && place < rows; ++place)
            if (((rows - 1 - place) / hop) % 2 == 0 && !reached[static_cast<std::size_t>(place)])
            {
                reached[static_cast<std::size_t>(place)] = true;
                --left;
            }
        if (left == 0)
            return count;
    }
    return nHopelessRepairs;
}

/// Rows of a window start where the entries of the row table do.
void AddTable(const Recipe& recipe, StreamPlan& plan)
{
    const std::vector<double>& table = recipe.scanPitches;
    if (table.empty())
        return;
    plan.tableRows = (static_cast<std::int64_t>(table.size()) - 1) * nTableGroup;
    plan.alignment = nTableGroup;
    plan.spare = std::max(plan.hop, RepairsFor(plan.hop, plan.alignment) * plan.alignment);
    // Only comparisons and edge filters go by the table, bands and pairs by the pitch.
    const int whole = static_cast<int>(std::ceil(*std::max_element(table.begin(), table.end())));
    plan.ahead = std::max(plan.ahead, whole + nMargin);
    plan.back = std::max(plan.back, whole + nMargin);
}

/// All but the rows of a window.
StreamPlan OverlapOf(const Recipe& recipe)
{
    StreamPlan plan;
    plan.vertical = recipe.direction == Direction_Vertical;
    const double pitch = recipe.RealPitchY();
    const int whole = static_cast<int>(std::ceil(pitch));
    // The last cell of a region stretches over its rest, and the first one is left a row late.
    const int cell = recipe.mode == Mode_Zone ? static_cast<int>(std::ceil(recipe.CellHeight())) + 2 : 0;
    const int leastRows = 2 * recipe.windowHeight; // of any image that the engine takes
    if (!plan.vertical)
    {
        // Rows depend on each other by the filters alone, which look a pitch up or down.
        plan.ahead = std::max(whole, cell) + nMargin;
        plan.back = std::max({whole, cell, leastRows}) + nMargin;
        return plan;
    }
    const auto sixteenths = static_cast<int>(pitch * 16.0 + (recipe.mode == Mode_Float ? 0.5 : 0.0));
    plan.hop = sixteenths / 16 + (sixteenths % 16 >= 8 ? 1 : 0);
    // The jump filter looks two pitches down.
    plan.ahead = std::max((recipe.filters && recipe.filterPairs ? 2 : 1) * whole, cell) + nMargin;
    plan.back = std::max(2 * whole + cell, leastRows) + nMargin;
    if (recipe.mode == Mode_Float)
    {
        plan.unitColumns = 8;
        plan.brightFirst = true;
    }
    plan.spare = plan.hop;
    AddTable(recipe, plan);
    return plan;
}

} // namespace

std::vector<Problem> CheckStream(const Recipe& recipe, int width, const StreamSettings& settings)
{
    std::vector<Problem> found;
    if (recipe.mode != Mode_Pixel && recipe.mode != Mode_Float && recipe.mode != Mode_Zone)
        found.push_back({"mode", WordOf(recipe.mode), "zone, pixel or float in a stream"});
    CheckPlaces(recipe, found);
    for (Problem& problem : CheckRowReading(recipe, width))
        found.push_back(std::move(problem));
    if (recipe.autoDirection)
        found.push_back({"auto_direction", "true", "false in a stream: the direction would depend on its length"});
    if (recipe.twicePitch != 0.0)
        found.push_back({"twice.pitch", FormatNumber(recipe.twicePitch), "0 in a stream"});
    // These kernels use up answers whose records they do not write, so that records do not say how chains go on.
    if (recipe.mode == Mode_Pixel && recipe.direction == Direction_Vertical && recipe.darkFilterBase > 0 &&
        !recipe.extendedKernel)
        found.push_back({"kernel.dark_base", std::to_string(recipe.darkFilterBase),
                         "0 in a vertical stream without kernel.extended"});
    const bool streams = found.empty();
    const auto inRange = [&](const char* field, int value, int low, int high, const char* unit)
    {
        if (value < low || value > high)
            found.push_back({field, std::to_string(value),
                             std::to_string(low) + " to " + std::to_string(high) + std::string(" ") + unit});
    };
    inRange("width", width, 1, nStreamWidthLimit, "pixels");
    inRange("largest_blob", settings.largestBlob, 1, 1000000, "rows");
    inRange("max_open_pairs", settings.maxOpenPairs, 1, 10000000, "pairs");
    if (!streams)
        return found;
    const StreamPlan plan = OverlapOf(recipe);
    const int least = nSmallestShare * (plan.ahead + plan.back) + plan.spare + plan.above + plan.alignment;
    if (least > nWindowRowLimit)
        found.push_back({"pitch.y", FormatNumber(recipe.pitchY),
                         "a pitch for which a window of " + std::to_string(nWindowRowLimit) + " rows is enough"});
    else if (settings.windowRows != 0)
        inRange("window_rows", settings.windowRows, least, nWindowRowLimit, "rows, or 0");
    return found;
}

std::vector<std::string> NotesOf(const Recipe& recipe)
{
    // Places a pitch away are formed in floating point, exactly where the pitch is a multiple of a power of one half.
    const double fine = recipe.RealPitchY() * nExactParts;
    if (fine == std::floor(fine))
        return {};
    return {"pitch.y is no multiple of 1/" + std::to_string(nExactParts) +
            " pixel: a pair filter rounds by the row, so that a value on its limit may be judged otherwise than in one "
            "call for the whole image"};
}

Recipe WindowRecipe(const Recipe& recipe, int rows)
{
    Recipe windows = recipe;
    const auto wanted = static_cast<std::size_t>((rows + nTableGroup - 1) / nTableGroup);
    if (!windows.scanPitches.empty() && windows.scanPitches.size() < wanted)
        windows.scanPitches.resize(wanted, windows.scanPitches.back());
    return windows;
}

StreamPlan PlanStream(const Recipe& recipe, int width, const StreamSettings& settings)
{
    StreamPlan plan = OverlapOf(recipe);
    plan.windowRows = settings.windowRows;
    if (plan.windowRows == 0)
    {
        const int overlap = plan.ahead + plan.back;
        const int least = nSmallestShare * overlap + plan.spare + plan.above + plan.alignment;
        const int most = static_cast<int>(std::clamp<std::int64_t>(nWindowBytes / width, least, nWindowRowLimit));
        plan.windowRows = std::min(RoundUp(nOverlapShare * overlap, 16), most);
    }
    return plan;
}

} // namespace narvo
