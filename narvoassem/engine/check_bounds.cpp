// SPDX-License-Identifier: MIT
// The checks that keep comparisons inside image, tables and stores.
#include "narvoassem/engine/check_bounds.h"

#include <cstdint>

#include "narvoassem/base/fixed_pitch.h"
#include "narvoassem/base/memory_shortage.h"
#include "narvoassem/compare/float_driver.h"
#include "narvoassem/compare/pixel_driver.h"
#include "narvoassem/compare/zone_driver.h"
#include "narvoassem/inspectcode.h"
#include "narvoassem/storage/filters/filter_walk.h"

namespace narvo::engine
{
namespace
{

bool IsWithin(int nSide, int nLimit)
{
    return nSide >= 0 && nSide <= nLimit;
}

/// An empty region lies inside as well, since walks along its longer side take place; but no pixel is read.
bool IsRegionReadable(const CConvParam& param)
{
    const CRect& rtInspect = param.rtInspect;
    return IsWithin(rtInspect.left, param.nImageWidth) && IsWithin(rtInspect.right, param.nImageWidth) &&
           IsWithin(rtInspect.top, param.nImageHeight) && IsWithin(rtInspect.bottom, param.nImageHeight) &&
           (param.pImage != nullptr || rtInspect.IsRectEmpty());
}

/// A pitch that kernels compare along.
bool IsPitchReadable(double dPitch, int (*ToFixed)(double))
{
    return IsPitchUsable(dPitch) && ToFixed(dPitch) >= 0;
}

double GetRealPitch(const CConvParam& param, bool bVertical)
{
    return bVertical ? param.GetRealScanPitch() : param.GetRealConvPitch();
}

bool IsZoneGridWalkable(const CConvParam& param, const CZoneCellSize& cell)
{
    if (param.pZoneOriginTable == nullptr || param.nZoneColumns < 0 || param.nZoneMapStride < 0)
        return false;
    // Cells without width are stepped once per 16 columns, cells without height once per row. The number of the grid's
    // columns is known, that of its rows is not.
    const std::int64_t nSteps = std::int64_t{param.rtInspect.right} - param.rtInspect.left;
    if (cell.nWidth < 1 && nSteps / 16 + 2 > param.nZoneColumns)
        return false;
    return cell.nHeight >= 1;
}

/// A choice that reads the tables by column needs all three.
template <class TKernel>
bool HasTables(const CConvParam& param, const CKernelChoice<TKernel>& choice)
{
    return !choice.Uses(KernelOption::ConvPitches) ||
           (param.pConvPitchTable != nullptr && param.pConvWeightNear != nullptr && param.pConvWeightFar != nullptr);
}

/// Whether every pitch that a choice reads is usable. After the kernels, only the cross filters read the pitch across
/// the compare direction: they look at singles, or at all pairs on demand. Verification has pitches of its
/// own.
template <class TKernel>
bool HasPitches(const CConvParam& param, const CKernelChoice<TKernel>& choice, bool bVertical, int (*ToFixed)(double))
{
    if (!IsPitchReadable(GetRealPitch(param, bVertical), ToFixed))
        return false;
    const bool bFilters = param.bFalseFilter != 0 && HasPairFilters(param, bVertical);
    const bool bSingles = param.bKeepSingle != 0 || !choice.Uses(KernelOption::NoSingles);
    const bool bCross = bFilters && param.nFilterMode != 1 && (bSingles || param.nFilterMode2 == 1);
    return !bCross || IsPitchUsable(GetRealPitch(param, !bVertical));
}

bool IsZoneReadable(const CConvParam& param, const CZoneChoice& choice, const CZoneCellSize& cell)
{
    return HasPitches(param, choice, param.nDirection != 0, ToPitch16) && HasTables(param, choice) &&
           IsZoneGridWalkable(param, cell);
}

bool IsPixelReadable(const CConvParam& param)
{
    const CPixelChoice& choice = ChoosePixelKernel(param);
    return HasPitches(param, choice, param.nDirection == 1, ToPitch16) && HasTables(param, choice) &&
           (!choice.IsTwice() || IsPitchReadable(param.dTwicePitch, ToPitch16));
}

bool IsFloatReadable(const CConvParam& param)
{
    // The free-form region looks its zones up in grid and maps, and runs no filters.
    if (TakesFreeForm(param))
        return IsPitchReadable(param.GetRealScanPitch(), ToRoundedPitch16) &&
               ToPitch16(param.GetRealScanPitch()) >= 0 && param.nZoneColumns >= 0 && param.nZoneMapStride >= 0;
    const CFloatChoice& choice = ChooseFloatKernel(param);
    const bool bVertical = param.nDirection == 1;
    if (!RunsFloatKernel(param))
        return IsPitchReadable(GetRealPitch(param, bVertical), ToRoundedPitch16);
    return HasPitches(param, choice, bVertical, ToRoundedPitch16) && HasTables(param, choice);
}

/// Only the coordinates of the corners that the direction reads are checked.
bool IsTrapeziumReadable(const CConvParam& param)
{
    const bool bVertical = param.nDirection == 1;
    const CPadPoint* const ptCorner = param.trapInspect.ptCorner;
    for (int i = 0; i < 4; ++i)
    {
        const bool bOuter = i == 0 || i == 3;
        if ((!bVertical || bOuter) && !IsWithin(ptCorner[i].x, param.nImageWidth))
            return false;
        if ((bVertical || bOuter) && !IsWithin(ptCorner[i].y, param.nImageHeight))
            return false;
    }
    // The length of the shortest useful strip depends on both pitches.
    return IsPitchReadable(GetRealPitch(param, bVertical), ToRoundedPitch16) &&
           (!bVertical || IsPitchUsable(param.GetRealConvPitch()));
}

bool IsReadable(const CConvParam& param, Comparison eComparison)
{
    switch (eComparison)
    {
    case Comparison::Zone:
        return IsZoneReadable(param, ChooseZoneKernel(param), GetZoneCellSize(param));
    case Comparison::AsgZone:
        return IsZoneReadable(param, ChooseAsgZoneKernel(param), GetAsgZoneCellSize(param));
    case Comparison::Pixel:
        return IsPixelReadable(param);
    case Comparison::Float:
        return IsFloatReadable(param);
    case Comparison::Trapezium:
        return IsTrapeziumReadable(param);
    default:
        return true;
    }
}

} // namespace

bool HasStores(const CPairStorage& store)
{
    return store.pPixelX != nullptr && store.pPair != nullptr;
}

bool IsInBounds(const CConvParam& param, Comparison eComparison)
{
    return IsRegionReadable(param) && IsReadable(param, eComparison);
}

int CheckBounds(const CPairStorage& store, Comparison eComparison)
{
    if (eComparison == Comparison::None)
        return InspectCode_Done;
    if (!HasStores(store))
    {
        // A sub-engine's result code is ignored, so its missing stores must be found here.
        NoteMemoryShortage();
        return InspectCode_BadParameter;
    }
    return IsInBounds(store.ConvParam, eComparison) ? InspectCode_Done : InspectCode_BadParameter;
}

} // namespace narvo::engine
