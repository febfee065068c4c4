// The zone kernels as a table: one row of options for each public kernel. Adding a kernel means adding a row here and
// a name in kernel_call.h.
#pragma once

#include "narvoassem/fast/find_row.h"
#include "narvoassem/fast/kernel_call.h"
#include "narvoassem/fast/scan.h"

namespace narvo
{

/// What a candidate record must pass besides the dead zones.
enum class ZoneGate
{
    None,
    Tsp,        ///< threshold from the zone tables, in place of the hit's
    BlackFilter ///< second threshold for dark records
};

/// Options of a zone kernel, fixed at compile time.
struct CZoneTraits
{
    CScanTraits scan = {.bLastBandFirst = true};
    bool bFlagged = false;        ///< skip fields in the origin table
    bool bPeak = true;            ///< writes peaks
    bool bThresholdExtra = false; ///< singles need a peak above nThresholdExtra
    bool bDeadZones = false;
    ZoneGate eGate = ZoneGate::None;
    bool bClassId = false; ///< writes nSubZone
};

/// bFraction: the reference is shifted along x by a fraction of a pixel, for the kernels that take a shift.
constexpr CZoneTraits GetZoneTraits(ZoneKernel eKernel, bool bFraction = false)
{
    using enum FindVariant;
    constexpr CScanTraits kStrips = {.bLastBandFirst = true};
    constexpr CScanTraits kLongStrips = {.bLastBandFirst = true, .nFreeRows = 1};
    constexpr CScanTraits kMeans = {.bLastBandFirst = true, .nFreeRows = 1, .bMeans = true};
    constexpr CScanTraits kTable = {.bLastBandFirst = true, .bRowTable = true};
    const CScanTraits kShifted = {
        .eFind = bFraction ? BilinearMap : LinearMap, .bLastBandFirst = true, .bRowTable = true};
    switch (eKernel)
    {
    case ZoneKernel::Vert:
        return {.scan = kStrips, .bThresholdExtra = true};
    case ZoneKernel::VertDirect:
        return {.scan = kLongStrips};
    case ZoneKernel::Vert2by2:
        return {.scan = kMeans, .bThresholdExtra = true};
    case ZoneKernel::VertFlag:
        return {.scan = kLongStrips, .bFlagged = true, .bThresholdExtra = true};
    case ZoneKernel::VertFlag2by2:
        return {.scan = kMeans, .bFlagged = true, .bThresholdExtra = true};
    case ZoneKernel::VertKnee:
        return {.scan = {.eFind = LinearKnee, .bLastBandFirst = true}};
    case ZoneKernel::Vtd:
        return {.scan = kShifted, .bThresholdExtra = true};
    case ZoneKernel::Hori:
        return {.scan = {.eFind = LinearMap, .bHorizontal = true}};
    case ZoneKernel::HoriTable:
        return {.scan = {.eFind = ColumnMap, .bHorizontal = true}};
    case ZoneKernel::Vert2S:
        return {.scan = kStrips, .bPeak = false, .bDeadZones = true};
    case ZoneKernel::Vert2STsp:
        return {.scan = {.eFind = LinearFloor, .bLastBandFirst = true},
                .bPeak = false,
                .bDeadZones = true,
                .eGate = ZoneGate::Tsp};
    case ZoneKernel::Vert2SBlack:
        return {.scan = kStrips, .bPeak = false, .bDeadZones = true, .eGate = ZoneGate::BlackFilter};
    case ZoneKernel::VtdIntrin:
        return {.scan = kShifted, .bPeak = false, .bDeadZones = true};
    case ZoneKernel::ClassId:
        return {.scan = kStrips, .bThresholdExtra = true, .bClassId = true};
    case ZoneKernel::ClassIdTable:
        return {.scan = kTable, .bThresholdExtra = true, .bClassId = true};
    }
    return {};
}

} // namespace narvo
