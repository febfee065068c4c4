// SPDX-License-Identifier: MIT
// What distinguishes the zone kernels from each other: options, fixed at compile time. The kernels are the rows of
// zone_table.h.
#pragma once

#include "narvoassem/fast/scan/scan_traits.h"

namespace narvo::engine
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
    bool bClassId = false;  ///< writes nSubZone
    bool bFraction = false; ///< takes a shift along x, whose fraction has a reference of its own (WithFraction)
};

} // namespace narvo::engine
