// SPDX-License-Identifier: MIT
// A host's own tables against what a call reads of them.
#include <algorithm>
#include <cmath>

#include "host/check/block_check.h"

namespace narvo
{

namespace
{

constexpr const char* originField = "pZoneOriginTable";

const TableSize* FindSize(const std::vector<TableSize>& sizes, const std::string& field)
{
    const auto found =
        std::find_if(sizes.begin(), sizes.end(), [&](const TableSize& size) { return size.field == field; });
    return found == sizes.end() ? nullptr : &*found;
}

std::string ElementsText(std::int64_t before, std::int64_t count)
{
    return std::to_string(before) + " before, " + std::to_string(count) + " from it on";
}

void CompareSize(const TableRead& read, const TableSize* size, std::vector<Problem>& found)
{
    const std::string allowed = "elements: at least " + ElementsText(read.before, read.count) + "; " + read.element;
    if (size == nullptr)
        found.push_back({read.field, "no size is given", allowed});
    else if (size->before < read.before || size->count < read.count)
        found.push_back({read.field, ElementsText(size->before, size->count), allowed});
}

/// Distances that neighbouring origins may have: a pitch, rounded to whole pixels either way.
struct Steps
{
    explicit Steps(double pitch) : low(std::max(1.0, std::floor(pitch))), high(std::max(1.0, std::ceil(pitch))) {}
    bool Hold(std::int64_t distance) const
    {
        return static_cast<double>(distance) >= low && static_cast<double>(distance) <= high;
    }
    std::string Text() const { return FormatNumber(low) + (high > low ? " or " + FormatNumber(high) : "") + " pixels"; }
    double low;
    double high;
};

/// The records of a grid, as far as they are read.
class GridCheck
{
public:
    GridCheck(const CConvParam& param, std::int64_t ints, int recordInts)
        : m_records(param.pZoneOriginTable), m_count(ints / recordInts), m_columns(param.nZoneColumns),
          m_ints(recordInts), m_conv(param.GetZoneConvPitch()), m_scan(param.GetZoneScanPitch())
    {
    }

    /// The first record that lies elsewhere than a regular grid has it; `entry` is that of the region's corner.
    void AddTo(std::vector<Problem>& found, const CRect& region, std::int64_t entry) const
    {
        const auto refuse = [&](std::int64_t record, const std::string& allowed)
        {
            found.push_back({std::string(originField) + ", record " + std::to_string(record),
                             std::to_string(At(record, 0)) + ", " + std::to_string(At(record, 1)), allowed});
        };
        if (m_columns < 1)
            return found.push_back({"nZoneColumns", std::to_string(m_columns), "at least 1"});
        if (entry < m_count && !HoldsCorner(entry, region))
            return refuse(entry, "the cell that holds rtInspect's corner " + std::to_string(region.left) + ", " +
                                     std::to_string(region.top));
        for (std::int64_t record = 0; record < m_count; ++record)
        {
            if (record % m_columns != 0 &&
                (!m_conv.Hold(At(record, 0) - At(record - 1, 0)) || At(record, 1) != At(record - 1, 1)))
                return refuse(record, m_conv.Text() + " right of the record before it, in one row with it");
            if (record >= m_columns &&
                (!m_scan.Hold(At(record, 1) - At(record - m_columns, 1)) || At(record, 0) != At(record - m_columns, 0)))
                return refuse(record, m_scan.Text() + " below the record above it, in one column with it");
        }
    }

private:
    std::int64_t At(std::int64_t record, int coordinate) const { return m_records[record * m_ints + coordinate]; }
    bool HoldsCorner(std::int64_t record, const CRect& region) const
    {
        const auto holds = [](std::int64_t origin, int corner, const Steps& steps)
        { return origin <= corner && static_cast<double>(corner) < static_cast<double>(origin) + steps.high; };
        return holds(At(record, 0), region.left, m_conv) && holds(At(record, 1), region.top, m_scan);
    }

    const int* m_records;
    std::int64_t m_count;
    std::int64_t m_columns;
    int m_ints;
    Steps m_conv;
    Steps m_scan;
};

} // namespace

std::vector<Problem> CheckTables(const CConvParam& param, const std::vector<TableSize>& sizes, BlockCall call)
{
    std::vector<Problem> found;
    for (const TableSize& size : sizes)
        if (size.before < 0 || size.count < 0)
            found.push_back({size.field, ElementsText(size.before, size.count), "sizes of 0 or more"});
    if (!found.empty())
        return found;

    // Where the region may be split into bands, these look for their entry in the grid's first row.
    CConvParam block(param);
    const TableSize* grid = FindSize(sizes, originField);
    const std::int64_t row = std::int64_t{2} * std::max(param.nZoneColumns, 0);
    if (param.pZoneOriginTable != nullptr && param.bBandThread != 0 && (grid == nullptr || grid->count < row))
    {
        CompareSize({originField, 0, row, "int, a row of records of x and y"}, grid, found);
        block.bBandThread = 0;
    }

    const BlockCheck check = CheckBlock(block, call);
    found.insert(found.end(), check.refusals.begin(), check.refusals.end());
    for (const std::string& hazard : check.hazards)
        found.push_back({"block", hazard, "settings with which the call stays in its tables"});
    for (const TableRead& read : check.reads)
        CompareSize(read, FindSize(sizes, read.field), found);
    if (!found.empty())
        return found;
    for (const TableRead& read : check.reads)
        if (read.field == originField)
        {
            const int recordInts = read.element.find("skip") == std::string::npos ? 2 : 3;
            GridCheck(block, read.count, recordInts)
                .AddTo(found, block.rtInspect, check.vertical ? block.nZoneColumns : 0);
        }
    return found;
}

} // namespace narvo
