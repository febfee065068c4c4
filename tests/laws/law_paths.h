// The ways through the pool that a law is tried on: modes, directions, and the switches that lead to another kernel.
#pragma once

#include <string>
#include <vector>

namespace narvo::test
{

enum class LawMode
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

/// One way: the mode, the direction, and which of the switches are set.
struct CLawPath
{
    const char* pName;
    LawMode eMode;
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
    bool IsZone() const { return eMode == LawMode::Zone || eMode == LawMode::AsgZone; }
    bool IsFloat() const { return eMode == LawMode::Float; }
    /// Whether the path compares places a pitch apart; the others look at one place only.
    bool IsPeriodic() const { return eMode != LawMode::Binarise && eMode != LawMode::Average; }
    /// Whether the dead zones keep records out.
    bool HasDeadZones() const;
    /// Whether values are sums or means of several pixels.
    bool IsWindowed() const { return IsFloat() || eMode == LawMode::Trapezium || bMean; }
    /// Whether the windows of the region's first row reach above the region, where they count nothing.
    bool LooksAbove() const { return IsFloat() && IsVertical() && nWindowHeight == 3; }
};

/// Every way of a mode.
std::vector<CLawPath> LawPaths(LawMode eMode);
const std::vector<LawMode>& LawModes();
std::string LawModeName(LawMode eMode);

} // namespace narvo::test
