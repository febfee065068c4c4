// SPDX-License-Identifier: MIT
// How far an inspection reads into image, tables, origin grid and maps.
#include <algorithm>
#include <limits>

#include "host/check/block_words.h"
#include "host/zones/zone_tables.h"
#include "narvoassem/base/truncate.h"

namespace narvo
{

namespace
{

using engine::CBlockTrace;
using engine::Comparison;
using engine::KernelOption;

constexpr std::int64_t nGroup = 16; // rows or columns that share a table entry

std::int64_t Groups(int extent)
{
    return (std::int64_t{extent} + nGroup - 1) / nGroup;
}

class ReadList
{
public:
    void AddIf(bool read, const void* table, const char* field, std::int64_t count, const char* element,
               std::int64_t before = 0)
    {
        if (read && table != nullptr)
            reads.push_back({field, before, count, element});
    }

    std::vector<TableRead> reads;
};

bool IsZone(const CBlockTrace& trace)
{
    return trace.eComparison == Comparison::Zone || trace.eComparison == Comparison::AsgZone;
}

bool IsFreeForm(const CBlockTrace& trace)
{
    return trace.eComparison == Comparison::Float && trace.given.Has(KernelOption::Flagged) && trace.steps.bVertical &&
           !trace.steps.bFilters;
}

void ListImage(const CBlockTrace& trace, ReadList& list)
{
    const CConvParam& param = trace.param;
    const std::int64_t pixels = std::int64_t{param.nImageWidth} * param.nImageHeight;
    list.AddIf(trace.bRuns, param.pImage, "pImage", pixels, "byte, a pixel");
    list.AddIf(IsFreeForm(trace), param.pFreeFormMask, "pFreeFormMask", pixels, "byte, a pixel");
}

void ListPitchTables(const CBlockTrace& trace, ReadList& list)
{
    const CConvParam& param = trace.param;
    const std::int64_t rows = Groups(param.nImageHeight);
    const std::int64_t columns = Groups(param.nImageWidth);
    const bool vertical = trace.steps.bVertical;
    const bool trapezium = trace.eComparison == Comparison::Trapezium;
    const bool filtered = vertical && trace.steps.bFilters;
    const bool verified = filtered && param.pVeriPitchString != nullptr;
    const auto uses = [&](KernelOption option) { return trace.kernel.uses.Has(option); };

    list.AddIf(uses(KernelOption::ScanPitches) || filtered, param.pScanPitchTable, "pScanPitchTable",
               trapezium && vertical ? std::max(rows, columns) : rows,
               trapezium && vertical ? "int, a pitch in 1/16 pixel for each 16 columns, and for each 16 rows"
                                     : "int, a pitch in 1/16 pixel for each 16 rows");
    list.AddIf(verified, param.pTiltScanTable, "pTiltScanTable", rows, "int, 1/16 pixel for each 16 rows");
    list.AddIf(trapezium && !vertical, param.pTiltConvTable, "pTiltConvTable", rows,
               "int, a pitch in 1/16 pixel for each 16 rows");
    // The kernels read the first entry of each 16 columns, the verification one for each 16 columns.
    const bool columnKernel = uses(KernelOption::ConvPitches);
    const std::int64_t lastBlock = nGroup * (columns - 1);
    list.AddIf(columnKernel || verified, param.pConvPitchTable, "pConvPitchTable",
               columnKernel ? lastBlock + 1 : columns,
               columnKernel ? "unsigned short, a displacement in pixels for each column, read at multiples of 16"
                            : "unsigned short, 1/16 pixel for each 16 columns");
    list.AddIf(columnKernel, param.pConvWeightNear, "pConvWeightNear", lastBlock + nGroup / 2,
               "short, 16 weights for each 16 columns, the first 8 read");
    list.AddIf(columnKernel, param.pConvWeightFar, "pConvWeightFar", lastBlock + nGroup / 2,
               "short, 16 weights for each 16 columns, the first 8 read");
    list.AddIf(verified, param.pVeriPitchString, "pVeriPitchString", CConvParam::nZoneLimit,
               "CString, checks of a zone");
}

void ListZoneTables(const CBlockTrace& trace, ReadList& list)
{
    const CConvParam& param = trace.param;
    const bool filters = trace.steps.bFilters && param.nInspectMode == 1;
    list.AddIf(filters, param.pFilterOffset, "pFilterOffset", CConvParam::nZoneLimit, "int, a zone's offset");
    list.AddIf(filters, param.pFilterGain, "pFilterGain", CConvParam::nZoneLimit, "int, a zone's gain in 1/256");
    list.AddIf(filters, param.pFilterOffset1, "pFilterOffset1", CConvParam::nZoneLimit, "int, a zone's offset");
    list.AddIf(filters, param.pFilterGain1, "pFilterGain1", CConvParam::nZoneLimit, "int, a zone's gain in 1/256");
    const bool zoneTables = trace.kernel.uses.Has(KernelOption::ZoneTables);
    list.AddIf(zoneTables, param.pTspTable, "pTspTable", CConvParam::nZoneLimit, "int, a zone's offset");
    list.AddIf(zoneTables, param.pTspTable2, "pTspTable2", CConvParam::nZoneLimit, "int, a zone's gain in 1/256");
    list.AddIf(IsFreeForm(trace), param.pFreeFormPoint, "pFreeFormPoint", std::max(param.nFreeFormPointCount, 0),
               "CPoint, a corner");
}

/// A side of the block's cells: asg cells are unbounded across the compare direction, but their origins lie a zone's
/// pitch apart there.
int CellSide(int side, double zonePitch)
{
    constexpr int longest = 1 << 26; // more than any image has
    return std::clamp(side == std::numeric_limits<int>::max() ? engine::TruncateToInt(zonePitch) : side, 1, longest);
}

/// A cell of the grid over the region.
CellGeometry CellOf(const CBlockTrace& trace)
{
    const CConvParam& param = trace.param;
    const bool zone = IsZone(trace);
    const double conv = param.GetZoneConvPitch();
    const double scan = param.GetZoneScanPitch();
    return {static_cast<double>(CellSide(zone ? trace.cell.nWidth : engine::TruncateToInt(conv), conv)),
            static_cast<double>(CellSide(zone ? trace.cell.nHeight : engine::TruncateToInt(scan), scan)),
            static_cast<double>(param.rtInspect.left), static_cast<double>(param.rtInspect.top)};
}

void ListGrid(const CBlockTrace& trace, ReadList& list)
{
    const CConvParam& param = trace.param;
    const bool zone = IsZone(trace);
    if (!zone && !(IsFreeForm(trace) && param.pZoneIndexMap != nullptr))
        return;
    CellGeometry cell = CellOf(trace);
    // A walk steps a record for each 16 columns at most; free-form regions look their cells up.
    if (zone)
        cell.width = std::max<double>(cell.width, nStripWidth);
    // One more each way, where cells are rounded down.
    const std::int64_t rows = OriginTable::RowsFor(cell, param.rtInspect) + 1;
    const std::int64_t columns = OriginTable::ColumnsFor(cell, param.rtInspect) + 1;
    const std::int64_t records = (rows - 1) * param.nZoneColumns + columns;
    const bool flagged = zone && trace.kernel.uses.Has(KernelOption::Flagged) && param.bZoneFlagged != 0;
    list.AddIf(true, param.pZoneOriginTable, "pZoneOriginTable", records * (flagged ? 3 : 2),
               flagged ? "int, records of x, y and skip; vertical grids begin a grid row above the first used one"
                       : "int, records of x and y; vertical grids begin a grid row above the first used one");
}

/// Places that maps are read at, counted from the first pixel of a cell.
CRect MapExtent(const CBlockTrace& trace)
{
    const CConvParam& param = trace.param;
    const CellGeometry cell = CellOf(trace);
    CRect extent = CellMap::Extent(cell);
    const bool asg = trace.eComparison == Comparison::AsgZone;
    // The walk stays in the first cell that it meets across the direction of an asg comparison, and falls behind cells
    // that are narrower than a step.
    if ((asg && trace.steps.bVertical) || cell.width < nStripWidth)
        extent.right += param.rtInspect.Width();
    if (asg && !trace.steps.bVertical)
        extent.bottom += param.rtInspect.Height();
    return extent;
}

void ListMaps(const CBlockTrace& trace, ReadList& list)
{
    const CConvParam& param = trace.param;
    const bool freeForm = IsFreeForm(trace) && param.pZoneIndexMap != nullptr && param.pZoneOriginTable != nullptr;
    const bool zone = IsZone(trace);
    const CRect extent = MapExtent(trace);
    const std::int64_t stride = param.nZoneMapStride;
    const std::int64_t before = -extent.top * stride - extent.left;
    const std::int64_t count = (extent.bottom - 1) * stride + extent.right;
    const auto add = [&](bool read, const short* map, const char* field)
    {
        list.AddIf(read, map, field, count,
                   "short, lines of nZoneMapStride; the pointer is to the first pixel of a cell", before);
    };
    const bool knee = trace.kernel.uses.Has(KernelOption::TwoSegment);
    add(zone || freeForm, param.pThresholdOffsetMap, "pThresholdOffsetMap");
    add(zone, param.pThresholdGainMap, "pThresholdGainMap");
    add(zone || freeForm, param.pZoneIndexMap, "pZoneIndexMap");
    add(knee, param.pThresholdKneeMap, "pThresholdKneeMap");
    add(knee, param.pThresholdOffsetMap2, "pThresholdOffsetMap2");
    add(knee, param.pThresholdGainMap2, "pThresholdGainMap2");
    add(trace.kernel.uses.Has(KernelOption::ClassIds), param.pClassIdMap, "pClassIdMap");
}

} // namespace

std::vector<TableRead> ListReads(const CBlockTrace& trace)
{
    ReadList list;
    ListImage(trace, list);
    ListPitchTables(trace, list);
    ListZoneTables(trace, list);
    ListGrid(trace, list);
    ListMaps(trace, list);
    return list.reads;
}

} // namespace narvo
