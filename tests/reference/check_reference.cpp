// SPDX-License-Identifier: MIT
// See check_reference.h. Kernels are chosen by the library's own tables: what they need is at stake here, not which
// one it is.
#include "reference/check_reference.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "narvoassem/compare/comparison.h"
#include "narvoassem/compare/float_driver.h"
#include "narvoassem/compare/pixel_driver.h"
#include "narvoassem/compare/zone_driver.h"

namespace narvo::test
{

namespace
{

constexpr int nBad = 8;
constexpr int nTooSmall = 64;

/// Sides as the 32-bit difference that they are.
int Width(const CRect& rt)
{
    return static_cast<int>(static_cast<std::uint32_t>(rt.right) - static_cast<std::uint32_t>(rt.left));
}

int Height(const CRect& rt)
{
    return static_cast<int>(static_cast<std::uint32_t>(rt.bottom) - static_cast<std::uint32_t>(rt.top));
}

/// 1/16 pixel; dHalf is 0.5 where the path rounds.
double Fixed(double dPitch, double dHalf)
{
    return std::trunc(dPitch * 16.0 + dHalf);
}

bool IsLimited(double dPitch)
{
    return std::isfinite(dPitch) && std::fabs(dPitch) <= 67108864.0;
}

/// bAcross: whether the pitch across the direction is read.
bool ArePitchesSound(const CConvParam& param, bool bVertical, double dHalf, bool bAcross)
{
    const double dConv = param.dConvPitch * param.nConvMultiple;
    const double dScan = param.dScanPitch * param.nScanMultiple;
    const double dAlong = bVertical ? dScan : dConv;
    return IsLimited(dAlong) && Fixed(dAlong, dHalf) >= 0.0 && (!bAcross || IsLimited(bVertical ? dConv : dScan));
}

/// Whether a pair can reach the cross filter.
bool RunsCrossFilter(const CConvParam& param, bool bVertical, bool bSingles)
{
    if (param.bFalseFilter == 0 || param.nFilterMode == 1 || (bVertical && param.bZoneFlagged != 0))
        return false;
    return bSingles || param.nFilterMode2 == 1;
}

bool HasWeights(const CConvParam& param)
{
    return param.pConvWeightNear != nullptr && param.pConvWeightFar != nullptr;
}

bool IsCornerInside(int nSide, int nExtent)
{
    return 0 <= nSide && nSide <= nExtent;
}

bool IsRegionInside(const CConvParam& param)
{
    const CRect& rt = param.rtInspect;
    const bool bEmpty = rt.right <= rt.left || rt.bottom <= rt.top;
    return IsCornerInside(rt.left, param.nImageWidth) && IsCornerInside(rt.right, param.nImageWidth) &&
           IsCornerInside(rt.top, param.nImageHeight) && IsCornerInside(rt.bottom, param.nImageHeight) &&
           (bEmpty || param.pImage != nullptr);
}

/// The engine's parameter check, twelve steps.
bool PassesCheck(const CConvParam& param)
{
    const bool bVertical = param.nDirection == 1;
    const double dConv = param.dConvPitch * param.nConvMultiple;
    const double dScan = param.dScanPitch * param.nScanMultiple;
    const std::int64_t nConvWidth = param.nConvWidth;
    const std::int64_t nConvHeight = param.nConvHeight;
    if (param.pImage == nullptr || dConv * 3.0 > param.nImageWidth || param.nImageHeight < 2 * nConvHeight ||
        Width(param.rtInspect) < 3 * nConvWidth || Height(param.rtInspect) < 2 * nConvHeight)
        return false;
    if (nConvWidth < 1 || nConvWidth > 1023 || nConvHeight < 1 || nConvHeight > 1023)
        return false;
    if (bVertical ? dScan * 3.0 > Height(param.rtInspect) : dConv * 3.0 > Width(param.rtInspect))
        return false;
    if (param.nCheckLimit1 < 10 || param.nCheckLimit2 < 2)
        return false;
    if (!bVertical && param.nInspectMode == 1 && param.pThresholdOffsetMap != nullptr &&
        (param.nZoneMapLeft < 0 || param.nZoneMapTop < 0))
        return false;
    return param.nThreshold >= 1;
}

bool IsZoneSound(const CConvParam& param, bool bTable, const engine::CZoneCellSize& cell, bool bAsg)
{
    const bool bVertical = param.nDirection != 0;
    const bool bAcross = !bAsg && RunsCrossFilter(param, bVertical, param.bKeepSingle != 0);
    if (!ArePitchesSound(param, bVertical, 0.0, bAcross) || (bTable && !HasWeights(param)))
        return false;
    if (param.pZoneOriginTable == nullptr || param.nZoneColumns < 0 || param.nZoneMapStride < 0 || cell.nHeight < 1)
        return false;
    const std::int64_t nWidth = std::int64_t{param.rtInspect.right} - param.rtInspect.left;
    return cell.nWidth >= 1 || nWidth / 16 + 2 <= param.nZoneColumns;
}

bool IsTrapeziumSound(const CConvParam& param)
{
    const CPadPoint* const pt = param.trapInspect.ptCorner;
    if (!ArePitchesSound(param, param.nDirection == 1, 0.5, param.nDirection == 1))
        return false;
    if (param.nDirection == 1)
        return IsCornerInside(pt[0].x, param.nImageWidth) && IsCornerInside(pt[3].x, param.nImageWidth) &&
               std::all_of(pt, pt + 4,
                           [&](const auto& corner) { return IsCornerInside(corner.y, param.nImageHeight); });
    return IsCornerInside(pt[0].y, param.nImageHeight) && IsCornerInside(pt[3].y, param.nImageHeight) &&
           std::all_of(pt, pt + 4, [&](const auto& corner) { return IsCornerInside(corner.x, param.nImageWidth); });
}

/// The conditions under which the comparison reads nothing outside image and tables.
bool IsSound(const CConvParam& param, engine::Comparison eComparison, bool bAsg)
{
    const bool bVertical = param.nDirection == 1;
    const bool bFreeForm = engine::ChooseFloatKernel(param).ePath == engine::ChoicePath::FreeForm;
    // The other float kernels always keep singles.
    const bool bMember =
        bVertical && param.bExtendedKernel != 0 && std::int64_t{param.nConvWidth} * param.nConvHeight == 4;
    if (eComparison == engine::Comparison::None)
        return true;
    if (!IsRegionInside(param))
        return false;
    switch (eComparison)
    {
    case engine::Comparison::Zone:
        return IsZoneSound(param, engine::ChooseZoneKernel(param).eKernel == engine::ZoneKernel::HoriTable,
                           engine::GetZoneCellSize(param), false);
    case engine::Comparison::AsgZone:
        return IsZoneSound(param, engine::ChooseAsgZoneKernel(param).eKernel == engine::ZoneKernel::HoriTable,
                           engine::GetAsgZoneCellSize(param), true);
    case engine::Comparison::Pixel:
        return ArePitchesSound(param, bVertical, 0.0,
                               !bAsg && RunsCrossFilter(param, bVertical, param.bKeepSingle != 0)) &&
               (engine::ChoosePixelKernel(param).eKernel != engine::PixelKernel::HoriTable || HasWeights(param)) &&
               (!engine::ChoosePixelKernel(param).IsTwice() ||
                (IsLimited(param.dTwicePitch) && Fixed(param.dTwicePitch, 0.0) >= 0.0));
    case engine::Comparison::Float:
        if (!ArePitchesSound(param, bVertical, 0.5,
                             !bFreeForm && engine::RunsFloatKernel(param) &&
                                 RunsCrossFilter(param, bVertical, !bMember || param.bKeepSingle != 0)))
            return false;
        if (bFreeForm)
            return Fixed(param.dScanPitch * param.nScanMultiple, 0.0) >= 0.0 && param.nZoneColumns >= 0 &&
                   param.nZoneMapStride >= 0;
        return param.nDirection == 1 || param.pConvPitchTable == nullptr || HasWeights(param);
    case engine::Comparison::Trapezium:
        return IsTrapeziumSound(param);
    default:
        return true;
    }
}

int ExpectEngineRefusal(const CConvParam& param, Entry eEntry)
{
    engine::Comparison eComparison = engine::ChooseComparison(param);
    bool bChecked = param.nInspectMode != 2 && param.nInspectMode != 3;
    const bool bAsg = eEntry == Entry::Asg || eEntry == Entry::RectAsg;
    if (eEntry == Entry::Trapezium || eEntry == Entry::Asg || eEntry == Entry::RectAsg)
    {
        eComparison = eEntry == Entry::Trapezium ? engine::Comparison::Trapezium : engine::ChooseAsgComparison(param);
        bChecked = true;
    }
    return (bChecked && !PassesCheck(param)) || !IsSound(param, eComparison, bAsg) ? nBad : 0;
}

/// The sides of the bands: columns, cut at multiples of 64 from the start, and the rest.
std::vector<CConvParam> MakeBands(const CConvParam& param)
{
    const bool bColumns = param.nDirection == 1;
    const int nSpan = bColumns ? Width(param.rtInspect) : Height(param.rtInspect);
    const int nStart = bColumns ? param.rtInspect.left : param.rtInspect.top;
    const auto Wrap = [](std::int64_t n) { return static_cast<int>(static_cast<std::uint32_t>(n)); };
    const int nBands = std::min(nSpan / 2000, 4);
    std::vector<CConvParam> bands;
    for (int i = 0; i < nBands; ++i)
    {
        const auto nExact = static_cast<std::int64_t>(static_cast<float>(nSpan) / static_cast<float>(nBands));
        const std::int64_t nSize = nExact / 64 * 64;
        bands.push_back(param);
        bands.back().rtInspect.left = Wrap(nStart + nSize * i);
        bands.back().rtInspect.right = i < nBands - 1 ? Wrap(nStart + nSize * (i + 1))
                                       : bColumns     ? param.rtInspect.right
                                                      : param.rtInspect.bottom;
    }
    return bands;
}

/// Bands are refused by what would be read outside image and tables, and by nothing else: their own result codes are
/// ignored. A band right of all records of the grid's first row does not run.
int ExpectBandRefusal(const CConvParam& param, const std::vector<CConvParam>& bands)
{
    const engine::Comparison eComparison = engine::ChooseComparison(param);
    if (!IsSound(param, eComparison, false))
        return nBad;
    for (CConvParam band : bands)
    {
        const int* const pRecord = band.pZoneOriginTable;
        int nEntry = 0;
        while (pRecord != nullptr && nEntry < band.nZoneColumns && pRecord[2 * nEntry] <= band.rtInspect.left)
            ++nEntry;
        if (pRecord != nullptr && nEntry >= band.nZoneColumns)
            continue;
        band.nZoneColumns -= nEntry;
        if (!IsSound(band, eComparison, false))
            return nBad;
    }
    return 0;
}

} // namespace

int ScreenReference(CConvParam& param)
{
    const auto Negate = [](int n) { return static_cast<int>(0U - static_cast<std::uint32_t>(n)); };
    if (param.nInspectMode == 3)
    {
        if (param.nBlackFilterGray > 0)
            param.nBlackFilterGray = Negate(param.nBlackFilterGray);
        if (param.nThreshold < 0)
            param.nThreshold = Negate(param.nThreshold);
        if (param.nThreshold < 1 || param.nBlackFilterGray > -1)
            return nBad;
        const int nSide = std::min(Width(param.rtInspect), Height(param.rtInspect));
        return nSide < param.nAverageParam1 ? nTooSmall : 0;
    }
    if (param.nInspectMode == 2)
        return 0;
    const auto IsShort = [&](int nDirection)
    {
        return nDirection == 0 ? param.dConvPitch * param.nConvMultiple * 3.0 > Width(param.rtInspect)
                               : param.dScanPitch * param.nScanMultiple * 3.0 > Height(param.rtInspect);
    };
    for (int nDirection : {0, 1})
    {
        if (param.nDirection != nDirection || !IsShort(nDirection))
            continue;
        if (param.bAutoDirection == 0)
            return nBad;
        if (IsShort(1 - nDirection))
            return nTooSmall;
        param.nDirection = 1 - nDirection;
    }
    return 0;
}

int ExpectRefusal(CConvParam param, Entry eEntry)
{
    if (eEntry == Entry::Rect || eEntry == Entry::RectAsg)
    {
        if (const int nRefusal = ScreenReference(param); nRefusal != 0)
            return nRefusal;
    }
    if (eEntry == Entry::Rect && param.nDirection != 0 && param.nInspectMode != 3 && param.bBandThread != 0)
    {
        if (const std::vector<CConvParam> bands = MakeBands(param); !bands.empty())
            return ExpectBandRefusal(param, bands);
    }
    return ExpectEngineRefusal(param, eEntry);
}

} // namespace narvo::test
