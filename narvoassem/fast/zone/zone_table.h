// SPDX-License-Identifier: MIT
// The zone kernels, and what selects them. Adding a kernel means an entry and a row here, its declaration in a public
// header, and its public name in the file that its home asks for it (kernel_args.h).
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "narvoassem/fast/call/kernel_table.h"
#include "narvoassem/fast/zone/zone_traits.h"

namespace narvo::engine
{

enum class ZoneKernel
{
    Vert,
    VertDirect,
    Vert2by2,
    VertFlag,
    VertFlag2by2,
    VertKnee,
    Vtd,
    Hori,
    HoriTable,
    Vert2S,
    Vert2STsp,
    Vert2SBlack,
    VtdIntrin,
    ClassId,
    ClassIdTable,
    Count
};

using CZoneRow = CKernelRow<ZoneKernel, CZoneTraits>;
using CZoneChoice = CKernelChoice<ZoneKernel>;

inline constexpr auto zoneKernels = []
{
    using enum FindVariant;
    using enum KernelHome;
    constexpr CScanTraits kStrips = {.bLastBandFirst = true};
    constexpr CScanTraits kLongStrips = {.bLastBandFirst = true, .nFreeRows = 1};
    constexpr CScanTraits kMeans = {.bLastBandFirst = true, .nFreeRows = 1, .bMeans = true};
    constexpr CScanTraits kTable = {.bLastBandFirst = true, .bRowTable = true};
    return std::to_array<CZoneRow>({
        {ZoneKernel::Vert, "ConvZoneVertFast", Fast, "zone, vertical", {.scan = kStrips, .bThresholdExtra = true}},
        {ZoneKernel::VertDirect,
         "ConvZoneVertDirectFast",
         Fast,
         "zone, vertical, read directly",
         {.scan = kLongStrips}},
        {ZoneKernel::Vert2by2,
         "ConvZoneVert2by2Fast",
         Fast,
         "zone, vertical, means of 2 by 2",
         {.scan = kMeans, .bThresholdExtra = true}},
        {ZoneKernel::VertFlag,
         "ConvZoneVertFlagFast",
         Fast,
         "zone, vertical, skipped cells",
         {.scan = kLongStrips, .bFlagged = true, .bThresholdExtra = true}},
        {ZoneKernel::VertFlag2by2,
         "ConvZoneVertFlag2by2Fast",
         Fast,
         "zone, vertical, means of 2 by 2, skipped cells",
         {.scan = kMeans, .bFlagged = true, .bThresholdExtra = true}},
        {ZoneKernel::VertKnee,
         "ConvZoneVertKneeFast",
         Fast,
         "zone, vertical, two threshold segments",
         {.scan = {.eFind = LinearKnee, .bLastBandFirst = true}}},
        {ZoneKernel::Vtd,
         "ConvZoneVTDFast",
         Fast,
         "zone, vertical, row table or shift",
         {.scan = kTable, .bThresholdExtra = true, .bFraction = true}},
        {ZoneKernel::Hori, "ConvZoneFast", Fast, "zone, horizontal", {.scan = {.bHorizontal = true}}},
        {ZoneKernel::HoriTable,
         "ConvZoneTableFast",
         Fast,
         "zone, horizontal, column table",
         {.scan = {.eFind = ColumnMap, .bHorizontal = true}}},
        {ZoneKernel::Vert2S,
         "ConvZoneVert2S_Intrin",
         Engine,
         "zone, vertical, extended",
         {.scan = kStrips, .bPeak = false, .bDeadZones = true},
         false},
        {ZoneKernel::Vert2STsp,
         "ConvZoneVert2S_TSP_Intrin",
         Engine,
         "zone, vertical, extended, zone tables",
         {.scan = {.eFind = LinearFloor, .bLastBandFirst = true},
          .bPeak = false,
          .bDeadZones = true,
          .eGate = ZoneGate::Tsp}},
        {ZoneKernel::Vert2SBlack,
         "ConvZoneVert2S_BlackFilter",
         Engine,
         "zone, vertical, extended, second threshold of dark hits",
         {.scan = kStrips, .bPeak = false, .bDeadZones = true, .eGate = ZoneGate::BlackFilter}},
        {ZoneKernel::VtdIntrin,
         "ConvZoneVTD_Intrin",
         Engine,
         "zone, vertical, extended, shift",
         {.scan = kTable, .bPeak = false, .bDeadZones = true, .bFraction = true}},
        {ZoneKernel::ClassId,
         "ConvZone_AVX_ClassID",
         Wide,
         "zone, vertical, extended, class ids",
         {.scan = kStrips, .bThresholdExtra = true, .bClassId = true}},
        {ZoneKernel::ClassIdTable,
         "ConvZoneVTDSMC_IntrinAVX",
         Wide,
         "zone, vertical, extended, class ids, row table",
         {.scan = kTable, .bThresholdExtra = true, .bClassId = true}},
    });
}();

static_assert(HasRowForEach(zoneKernels, &CZoneRow::eKernel, ZoneKernel::Count));

inline constexpr auto zoneChoicesHori = []
{
    using enum KernelOption;
    using enum ZoneKernel;
    return std::to_array<CZoneChoice>({
        {ConvPitches, HoriTable, NoSingles, "horizontal table"},
        {{}, Hori, NoSingles, "horizontal"},
    });
}();

inline constexpr auto zoneChoicesVert = []
{
    using enum KernelOption;
    using enum ZoneKernel;
    return std::to_array<CZoneChoice>({
        {ScanPitches | Extended, ClassIdTable, ClassIds | NoSingles, "extended row table"},
        {ScanPitches, Vtd, CrossShift | NoSingles, "row table"},
        {CrossShift | Extended, VtdIntrin, DeadZones | NoSingles, "extended cross shift"},
        {CrossShift, Vtd, NoSingles, "cross shift"},
        {NoLineBuffer, VertDirect, NoSingles, "direct"},
        {TwoSegment, VertKnee, NoSingles, "two-segment"},
        {Flagged | Average, VertFlag2by2, NoSingles, "skipping"},
        {Flagged, VertFlag, NoSingles, "skipping"},
        {Average, Vert2by2, NoSingles, "2 by 2 mean"},
        {Extended | ZoneTables, Vert2STsp, DeadZones | NoSingles, "zone table"},
        {Extended | SecondSet, Vert2SBlack, DeadZones | NoSingles, "dark filter"},
        // Both forms of the class-id kernel, with a real pitch and without, give the same results.
        {Extended | ClassPitch, ClassId, NoSingles, "extended real-pitch"},
        {Extended, ClassId, NoSingles, "extended"},
        {{}, Vert, NoSingles, "plain vertical"},
    });
}();

inline constexpr auto asgChoicesHori = std::to_array<CZoneChoice>({
    {KernelOption::ConvPitches, ZoneKernel::HoriTable, {}, "horizontal table"},
    {{}, ZoneKernel::Hori, {}, "horizontal"},
});

inline constexpr auto asgChoicesVert = std::to_array<CZoneChoice>({
    {KernelOption::NoLineBuffer, ZoneKernel::VertDirect, {}, "direct"},
    {KernelOption::TwoSegment, ZoneKernel::VertKnee, {}, "two-segment"},
    {KernelOption::Average, ZoneKernel::Vert2by2, {}, "2 by 2 mean"},
    {{}, ZoneKernel::Vert, {}, "plain vertical"},
});

static_assert(AreKernelsChosen(zoneKernels, zoneChoicesHori, zoneChoicesVert, asgChoicesHori, asgChoicesVert));

constexpr const CZoneRow& GetKernelRow(ZoneKernel eKernel)
{
    return zoneKernels[static_cast<std::size_t>(eKernel)];
}

/// What selects a kernel of Compare_Zone2, in order.
constexpr std::span<const CZoneChoice> GetZoneChoices(bool bVertical)
{
    return bVertical ? std::span<const CZoneChoice>(zoneChoicesVert) : zoneChoicesHori;
}

/// What selects a kernel of Compare_ASGZone, in order: tables by row, shifts, flags and extended kernels mean nothing.
constexpr std::span<const CZoneChoice> GetAsgZoneChoices(bool bVertical)
{
    return bVertical ? std::span<const CZoneChoice>(asgChoicesVert) : asgChoicesHori;
}

} // namespace narvo::engine
