// The pixel kernels as a table: one row of options for each public kernel. Adding a kernel means adding a row here and
// a name in kernel_call.h.
#pragma once

#include "narvoassem/fast/find_row.h"
#include "narvoassem/fast/kernel_call.h"
#include "narvoassem/fast/scan.h"

namespace narvo
{

/// How the second threshold set judges a record.
enum class SecondSet
{
    None,
    Narrows, ///< dark records must exceed it too; a refused pair is consumed all the same
    ByType   ///< hits are found with the smaller threshold, and each record is judged by the set of its polarity;
             ///< singles need bKeepSingle exactly 1
};

/// Options of a pixel kernel, fixed at compile time.
struct CPixelTraits
{
    CScanTraits scan;
    SecondSet eSecond = SecondSet::None;
    bool bPeak = true; ///< writes the peak of hits, and starts behind the hits that it is given
    bool bDeadZones = false;
    bool bZeroOutside = false; ///< rows outside the region count as 0
    bool bOwnHits = false;     ///< given no hit arrays: keeps its own, without a limit
    bool bRecordPeak = false;  ///< records carry what they exceed their threshold by
};

/// bFraction: the reference is shifted along x by a fraction of a pixel, for the kernels that take a shift.
constexpr CPixelTraits GetPixelTraits(PixelKernel eKernel, bool bFraction = false)
{
    using enum FindVariant;
    constexpr CScanTraits kStrips = {.eFind = LinearScalar, .eCut = StripCut::Overruns};
    constexpr CScanTraits kTable = {.eFind = LinearScalar, .bRowTable = true, .eCut = StripCut::Overruns};
    constexpr CScanTraits kSmaller = {.eFind = LinearSmaller, .eCut = StripCut::Overruns};
    constexpr CScanTraits kSmallerTable = {.eFind = LinearSmaller, .bRowTable = true, .eCut = StripCut::Overruns};
    const CScanTraits kShifted = {
        .eFind = bFraction ? BilinearSmaller : LinearSmaller, .eCut = StripCut::Overruns, .bShifted = true};
    constexpr CScanTraits kRows = {.eFind = LinearScalar, .bHorizontal = true, .bAnyRow = true};
    switch (eKernel)
    {
    case PixelKernel::Hori:
        return {.scan = kRows};
    case PixelKernel::HoriTable:
        return {.scan = {.eFind = ColumnScalar, .bHorizontal = true, .bAnyRow = true}};
    case PixelKernel::HoriIntrin:
        return {.scan = kRows, .bPeak = false};
    case PixelKernel::VertDirect:
        return {.scan = {.eFind = LinearScalar, .nFreeRows = 1, .bEndLine = false, .eCut = StripCut::Overruns}};
    case PixelKernel::Vert:
        return {.scan = kStrips};
    case PixelKernel::Vert2:
        return {.scan = kStrips, .eSecond = SecondSet::Narrows};
    case PixelKernel::Vtds:
        return {.scan = kTable, .bZeroOutside = true};
    case PixelKernel::Vtds2:
        return {.scan = kTable, .eSecond = SecondSet::Narrows, .bZeroOutside = true};
    case PixelKernel::VertIntrin:
        return {.scan = kSmaller, .eSecond = SecondSet::ByType, .bPeak = false, .bDeadZones = true};
    case PixelKernel::VtdsIntrin:
        return {.scan = kSmallerTable,
                .eSecond = SecondSet::ByType,
                .bPeak = false,
                .bDeadZones = true,
                .bZeroOutside = true};
    case PixelKernel::VertWide:
        return {.scan = kShifted, .eSecond = SecondSet::ByType, .bPeak = false, .bOwnHits = true};
    case PixelKernel::VtdsWide:
        return {.scan = kSmallerTable, .eSecond = SecondSet::ByType, .bPeak = false, .bZeroOutside = true};
    case PixelKernel::VertMask:
        return {.scan = kShifted, .eSecond = SecondSet::ByType, .bPeak = false, .bRecordPeak = true};
    }
    return {};
}

} // namespace narvo
