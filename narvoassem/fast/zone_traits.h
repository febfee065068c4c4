// The zone kernels as a table: one row of options for each public kernel. Adding a kernel means adding a row here and
// a name in kernel_call.h.
#pragma once

#include "narvoassem/fast/find_row.h"
#include "narvoassem/fast/kernel_call.h"

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
    FindVariant eFind = FindVariant::LinearMap;
    bool bHorizontal = false;
    int nFreeRows = 2;            ///< vertical: rows at the bottom that stay uncompared, besides the pitch
    bool bFlagged = false;        ///< skip fields in the origin table
    bool bRowTable = false;       ///< pitch from a table of rows
    bool bPeak = true;            ///< writes peaks
    bool bThresholdExtra = false; ///< singles need a peak above nThresholdExtra
    bool bDeadZones = false;
    ZoneGate eGate = ZoneGate::None;
    bool bClassId = false; ///< writes nSubZone
};

constexpr CZoneTraits GetZoneTraits(ZoneKernel eKernel)
{
    switch (eKernel)
    {
    case ZoneKernel::Vert:
        return {.bThresholdExtra = true};
    case ZoneKernel::VertDirect:
        return {.nFreeRows = 1};
    case ZoneKernel::Vert2by2:
        return {.eFind = FindVariant::MeanMap, .nFreeRows = 1, .bThresholdExtra = true};
    case ZoneKernel::VertFlag:
        return {.nFreeRows = 1, .bFlagged = true, .bThresholdExtra = true};
    case ZoneKernel::VertFlag2by2:
        return {.eFind = FindVariant::MeanMap, .nFreeRows = 1, .bFlagged = true, .bThresholdExtra = true};
    case ZoneKernel::VertKnee:
        return {.eFind = FindVariant::LinearKnee};
    case ZoneKernel::Vtd:
        return {.eFind = FindVariant::BilinearMap, .bRowTable = true, .bThresholdExtra = true};
    case ZoneKernel::Hori:
        return {.bHorizontal = true};
    case ZoneKernel::HoriTable:
        return {.eFind = FindVariant::ColumnMap, .bHorizontal = true};
    case ZoneKernel::Vert2S:
        return {.bPeak = false, .bDeadZones = true};
    case ZoneKernel::Vert2STsp:
        return {.eFind = FindVariant::LinearFloor, .bPeak = false, .bDeadZones = true, .eGate = ZoneGate::Tsp};
    case ZoneKernel::Vert2SBlack:
        return {.bPeak = false, .bDeadZones = true, .eGate = ZoneGate::BlackFilter};
    case ZoneKernel::VtdIntrin:
        return {.eFind = FindVariant::BilinearMap, .bRowTable = true, .bPeak = false, .bDeadZones = true};
    case ZoneKernel::ClassId:
        return {.bThresholdExtra = true, .bClassId = true};
    case ZoneKernel::ClassIdTable:
        return {.eFind = FindVariant::BilinearMap, .bRowTable = true, .bThresholdExtra = true, .bClassId = true};
    }
    return {};
}

} // namespace narvo
