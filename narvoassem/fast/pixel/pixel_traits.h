// SPDX-License-Identifier: MIT
// What distinguishes the pixel kernels from each other: options, fixed at compile time. The kernels are the rows of
// pixel_table.h.
#pragma once

#include "narvoassem/fast/scan/scan_traits.h"

namespace narvo::engine
{

/// How the second threshold set judges a record.
enum class SecondSet
{
    None,
    Narrows, ///< dark records must exceed it too; a refused pair is still consumed
    ByType   ///< hits are found with the smaller threshold, and each record is judged by the set of its polarity;
             ///< singles need bKeepSingle exactly 1
};

/// Options of a pixel kernel, fixed at compile time.
struct CPixelTraits
{
    CScanTraits scan;
    SecondSet eSecond = SecondSet::None;
    bool bPeak = true; ///< writes the peak of hits, and starts after the hits that the caller passes
    bool bDeadZones = false;
    bool bZeroOutside = false; ///< rows outside the region count as 0
    bool bOwnHits = false;     ///< gets no hit arrays: keeps its own, without a limit
    bool bRecordPeak = false;  ///< records hold by how much they exceed their threshold
    bool bFraction = false;    ///< takes a shift along x, whose fraction has a reference of its own (WithFraction)
};

} // namespace narvo::engine
