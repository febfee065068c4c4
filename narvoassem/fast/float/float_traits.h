// SPDX-License-Identifier: MIT
// What distinguishes the float kernels from each other: options, fixed at compile time. The kernels are the rows of
// float_table.h.
#pragma once

#include "narvoassem/fast/find/find_sums.h"

namespace narvo::engine
{

/// Options of a float kernel, fixed at compile time.
struct CFloatTraits
{
    SumsVariant eFind = SumsVariant::Larger;
    bool bHorizontal = false;
    int nAcross = 2;       ///< window, across the scan
    int nAlong = 2;        ///< window, along the scan
    bool bShifted = false; ///< reference displaced along x, row table
    bool bMember = false;  ///< smaller of two thresholds, dead zones, each record judged by the set of its polarity
    bool bRegion = false;  ///< singles always, but they must pass the jump filter

    constexpr int Area() const { return nAcross * nAlong; }
    /// Units per grey level of the values compared.
    constexpr int Units() const { return 16 * Area(); }
    constexpr bool HasColumnTables() const { return HasColumnWeights(eFind); }
};

} // namespace narvo::engine
