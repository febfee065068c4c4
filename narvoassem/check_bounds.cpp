// The guard that keeps comparisons inside image, tables and stores.
#include "narvoassem/check_bounds.h"

#include <cstdint>

#include "narvoassem/compare/float_driver.h"
#include "narvoassem/compare/pixel_driver.h"
#include "narvoassem/compare/zone_driver.h"
#include "narvoassem/fixed_pitch.h"
#include "narvoassem/memory_shortage.h"

namespace narvo
{
namespace
{

bool IsWithin(int nSide, int nLimit)
{
    return nSide >= 0 && nSide <= nLimit;
}

/// An empty region lies inside as well, since walks along its longer side take place; but nothing of the image is read.
bool IsRegionReadable(const CConvParam& param)
{
    const CRect& rtInspect = param.rtInspect;
    return IsWithin(rtInspect.left, param.nImageWidth) && IsWithin(rtInspect.right, param.nImageWidth) &&
           IsWithin(rtInspect.top, param.nImageHeight) && IsWithin(rtInspect.bottom, param.nImageHeight) &&
           (param.pImage != nullptr || rtInspect.IsRectEmpty());
}

/// The filters behind the kernels read along both axes, so both pitches count; nAlong16 is the one compared along.
bool IsPitchReadable(const CConvParam& param, bool bVertical, int (*ToFixed)(double))
{
    const double dConv = param.GetRealConvPitch();
    const double dScan = param.GetRealScanPitch();
    return IsPitchUsable(dConv) && IsPitchUsable(dScan) && ToFixed(bVertical ? dScan : dConv) >= 0;
}

bool IsZoneGridWalkable(const CConvParam& param, const CZoneCellSize& cell)
{
    if (param.pZoneOriginTable == nullptr || param.nZoneColumns < 0 || param.nZoneMapStride < 0)
        return false;
    // Cells without width are stepped once per 16 columns, cells without height once per row. The grid says how many
    // columns it has, but not how many rows.
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

bool IsZoneReadable(const CConvParam& param, const CZoneChoice& choice, const CZoneCellSize& cell)
{
    return IsPitchReadable(param, param.nDirection != 0, ToPitch16) && HasTables(param, choice) &&
           IsZoneGridWalkable(param, cell);
}

bool IsPixelReadable(const CConvParam& param)
{
    const CPixelChoice& choice = ChoosePixelKernel(param);
    if (!IsPitchReadable(param, param.nDirection == 1, ToPitch16) || !HasTables(param, choice))
        return false;
    return !choice.IsTwice() || (IsPitchUsable(param.dTwicePitch) && ToPitch16(param.dTwicePitch) >= 0);
}

bool IsFloatReadable(const CConvParam& param)
{
    if (!IsPitchReadable(param, param.nDirection == 1, ToRoundedPitch16))
        return false;
    // The free-form region looks its zones up in grid and maps.
    if (TakesFreeForm(param))
        return ToPitch16(param.GetRealScanPitch()) >= 0 && param.nZoneColumns >= 0 && param.nZoneMapStride >= 0;
    return HasTables(param, ChooseFloatKernel(param));
}

/// Of the corners only the sides that the direction reads count.
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
    return IsPitchReadable(param, bVertical, ToRoundedPitch16);
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

int CheckBounds(const CPairStorage& store, Comparison eComparison)
{
    constexpr int nPasses = 1;
    constexpr int nBadParameter = 8;
    if (eComparison == Comparison::None)
        return nPasses;
    if (store.pPixelX == nullptr || store.pPair == nullptr)
    {
        // A sub-engine's refusal is not looked at; its missing stores must show all the same.
        NoteMemoryShortage();
        return nBadParameter;
    }
    return IsRegionReadable(store.ConvParam) && IsReadable(store.ConvParam, eComparison) ? nPasses : nBadParameter;
}

} // namespace narvo
