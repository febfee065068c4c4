// SPDX-License-Identifier: MIT
// The paths through the pool on which properties are tested: modes, directions, and switches that select a kernel.
#pragma once

#include <string>
#include <vector>

namespace narvo::test
{

enum class PropertyMode
{
    Zone,
    Pixel,
    Float,
    Trapezium,
    AsgZone,
    AsgPixel,
    Binarise,
    Average
};

/// One path: the mode, the direction, and which switches are set.
struct CPropertyPath
{
    const char* pName;
    PropertyMode eMode;
    int nDirection;
    int nWindowWidth = 1; ///< the compare window; its area chooses the float kernel
    int nWindowHeight = 1;
    bool bExtended = false;   ///< bExtendedKernel
    bool bDirect = false;     ///< bUseLineBuffer 0
    bool bMean = false;       ///< bAverage2by2
    bool bFlagged = false;    ///< bZoneFlagged, with records of three ints
    bool bKnee = false;       ///< two threshold segments
    bool bDarkSet = false;    ///< nBlackFilterGray
    bool bZoneTables = false; ///< pTspTable
    bool bTwice = false;
    bool bTable = false;      ///< pitches from tables
    bool bSideways = false;   ///< fVtdPitch
    bool bClassPitch = false; ///< dClassPitch

    bool IsVertical() const { return nDirection != 0; }
    bool IsZone() const { return eMode == PropertyMode::Zone || eMode == PropertyMode::AsgZone; }
    bool IsFloat() const { return eMode == PropertyMode::Float; }
    /// Whether the path compares pixels a pitch apart; the others look at one place only.
    bool IsPeriodic() const { return eMode != PropertyMode::Binarise && eMode != PropertyMode::Average; }
    /// Whether dead zones drop records.
    bool HasDeadZones() const;
    /// Whether values are sums or means of several pixels.
    bool IsWindowed() const { return IsFloat() || eMode == PropertyMode::Trapezium || bMean; }
    /// Whether the windows of the region's first row reach above the region, where they count nothing.
    bool LooksAbove() const { return IsFloat() && IsVertical() && nWindowHeight == 3; }
};

/// Every path of a mode.
std::vector<CPropertyPath> PropertyPaths(PropertyMode eMode);
const std::vector<PropertyMode>& PropertyModes();
std::string PropertyModeName(PropertyMode eMode);

} // namespace narvo::test
