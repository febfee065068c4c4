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
void CheckRegion(const CConvParam& param, CRefusals& refusals)
{
    const CRect& rtInspect = param.rtInspect;
    refusals.AddIf(!IsWithin(rtInspect.left, param.nImageWidth) || !IsWithin(rtInspect.right, param.nImageWidth) ||
                       !IsWithin(rtInspect.top, param.nImageHeight) || !IsWithin(rtInspect.bottom, param.nImageHeight),
                   Refusal::RegionOutside);
    refusals.AddIf(param.pImage == nullptr && !rtInspect.IsRectEmpty(), Refusal::Image);
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

void CheckZoneGrid(const CConvParam& param, const CZoneCellSize& cell, CRefusals& refusals)
{
    refusals.AddIf(param.pZoneOriginTable == nullptr, Refusal::OriginTable);
    refusals.AddIf(param.nZoneColumns < 0, Refusal::ZoneColumns);
    refusals.AddIf(param.nZoneMapStride < 0, Refusal::MapStride);
    // Cells without width are stepped once per 16 columns, cells without height once per row. The number of the grid's
    // columns is known, that of its rows is not.
    const std::int64_t nSteps = std::int64_t{param.rtInspect.right} - param.rtInspect.left;
    refusals.AddIf(cell.nWidth < 1 && nSteps / 16 + 2 > param.nZoneColumns, Refusal::CellWidth);
    refusals.AddIf(cell.nHeight < 1, Refusal::CellHeight);
}

/// A choice that reads the tables by column needs all three.
template <class TKernel>
void CheckTables(const CConvParam& param, const CKernelChoice<TKernel>& choice, CRefusals& refusals)
{
    const bool bWhole =
        param.pConvPitchTable != nullptr && param.pConvWeightNear != nullptr && param.pConvWeightFar != nullptr;
    refusals.AddIf(choice.Uses(KernelOption::ConvPitches) && !bWhole, Refusal::ColumnTables);
}

/// Every pitch that a choice reads is usable. After the kernels, only the cross filters read the pitch across the
/// compare direction: they look at singles, or at all pairs on demand. Verification has pitches of its own.
template <class TKernel>
void CheckPitches(const CConvParam& param, const CKernelChoice<TKernel>& choice, bool bVertical, int (*ToFixed)(double),
                  CRefusals& refusals)
{
    refusals.AddIf(!IsPitchReadable(GetRealPitch(param, bVertical), ToFixed), Refusal::PitchAlong);
    const bool bFilters = param.bFalseFilter != 0 && HasPairFilters(param, bVertical);
    const bool bSingles = param.bKeepSingle != 0 || !choice.Uses(KernelOption::NoSingles);
    const bool bCross = bFilters && param.nFilterMode != 1 && (bSingles || param.nFilterMode2 == 1);
    refusals.AddIf(bCross && !IsPitchUsable(GetRealPitch(param, !bVertical)), Refusal::PitchAcross);
}

void CheckZone(const CConvParam& param, const CZoneChoice& choice, const CZoneCellSize& cell, CRefusals& refusals)
{
    CheckPitches(param, choice, param.nDirection != 0, ToPitch16, refusals);
    CheckTables(param, choice, refusals);
    CheckZoneGrid(param, cell, refusals);
}

void CheckPixel(const CConvParam& param, CRefusals& refusals)
{
    const CPixelChoice& choice = ChoosePixelKernel(param);
    CheckPitches(param, choice, param.nDirection == 1, ToPitch16, refusals);
    CheckTables(param, choice, refusals);
    refusals.AddIf(choice.IsTwice() && !IsPitchReadable(param.dTwicePitch, ToPitch16), Refusal::TwicePitch);
}

void CheckFloat(const CConvParam& param, CRefusals& refusals)
{
    const bool bVertical = param.nDirection == 1;
    // The free-form region looks its zones up in grid and maps, and runs no filters.
    if (TakesFreeForm(param))
    {
        const double dPitch = param.GetRealScanPitch();
        refusals.AddIf(!IsPitchReadable(dPitch, ToRoundedPitch16) || ToPitch16(dPitch) < 0, Refusal::PitchAlong);
        refusals.AddIf(param.nZoneColumns < 0, Refusal::ZoneColumns);
        refusals.AddIf(param.nZoneMapStride < 0, Refusal::MapStride);
    }
    else if (!RunsFloatKernel(param))
        refusals.AddIf(!IsPitchReadable(GetRealPitch(param, bVertical), ToRoundedPitch16), Refusal::PitchAlong);
    else
    {
        const CFloatChoice& choice = ChooseFloatKernel(param);
        CheckPitches(param, choice, bVertical, ToRoundedPitch16, refusals);
        CheckTables(param, choice, refusals);
    }
}

/// Only the coordinates of the corners that the direction reads are checked.
void CheckTrapezium(const CConvParam& param, CRefusals& refusals)
{
    const bool bVertical = param.nDirection == 1;
    const CPadPoint* const ptCorner = param.trapInspect.ptCorner;
    for (int i = 0; i < 4; ++i)
    {
        const bool bOuter = i == 0 || i == 3;
        refusals.AddIf(((!bVertical || bOuter) && !IsWithin(ptCorner[i].x, param.nImageWidth)) ||
                           ((bVertical || bOuter) && !IsWithin(ptCorner[i].y, param.nImageHeight)),
                       Refusal::CornersOutside);
    }
    // The length of the shortest useful strip depends on both pitches.
    refusals.AddIf(!IsPitchReadable(GetRealPitch(param, bVertical), ToRoundedPitch16), Refusal::PitchAlong);
    refusals.AddIf(bVertical && !IsPitchUsable(param.GetRealConvPitch()), Refusal::PitchAcross);
}

} // namespace

bool HasStores(const CPairStorage& store)
{
    return store.pPixelX != nullptr && store.pPair != nullptr;
}

CRefusals FindOutOfBounds(const CConvParam& param, Comparison eComparison)
{
    CRefusals refusals;
    if (eComparison == Comparison::None)
        return refusals;
    CheckRegion(param, refusals);
    switch (eComparison)
    {
    case Comparison::Zone:
        CheckZone(param, ChooseZoneKernel(param), GetZoneCellSize(param), refusals);
        break;
    case Comparison::AsgZone:
        CheckZone(param, ChooseAsgZoneKernel(param), GetAsgZoneCellSize(param), refusals);
        break;
    case Comparison::Pixel:
        CheckPixel(param, refusals);
        break;
    case Comparison::Float:
        CheckFloat(param, refusals);
        break;
    case Comparison::Trapezium:
        CheckTrapezium(param, refusals);
        break;
    default:
        break;
    }
    return refusals;
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
    return FindOutOfBounds(store.ConvParam, eComparison).IsEmpty() ? InspectCode_Done : InspectCode_BadParameter;
}

} // namespace narvo::engine
