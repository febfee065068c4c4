// SPDX-License-Identifier: MIT
// See property_paths.h.
#include "properties/property_paths.h"

#include <algorithm>
#include <iterator>

namespace narvo::test
{

namespace
{

const std::vector<CPropertyPath>& AllPaths()
{
    using enum PropertyMode;
    static const std::vector<CPropertyPath> aPaths = {
        {.pName = "zone, along x", .eMode = Zone, .nDirection = 0},
        {.pName = "zone, along x, pitch table", .eMode = Zone, .nDirection = 0, .bTable = true},
        {.pName = "zone, along y", .eMode = Zone, .nDirection = 1},
        {.pName = "zone, along y, direct", .eMode = Zone, .nDirection = 1, .bDirect = true},
        {.pName = "zone, along y, two segments", .eMode = Zone, .nDirection = 1, .bKnee = true},
        {.pName = "zone, along y, means", .eMode = Zone, .nDirection = 1, .bMean = true},
        {.pName = "zone, along y, flagged", .eMode = Zone, .nDirection = 1, .bFlagged = true},
        {.pName = "zone, along y, flagged means", .eMode = Zone, .nDirection = 1, .bMean = true, .bFlagged = true},
        {.pName = "zone, along y, sideways", .eMode = Zone, .nDirection = 1, .bSideways = true},
        {.pName = "zone, along y, pitch table", .eMode = Zone, .nDirection = 1, .bTable = true},
        {.pName = "zone, along y, extended", .eMode = Zone, .nDirection = 1, .bExtended = true},
        {.pName = "zone, along y, extended, real pitch",
         .eMode = Zone,
         .nDirection = 1,
         .bExtended = true,
         .bClassPitch = true},
        {.pName = "zone, along y, extended, zone tables",
         .eMode = Zone,
         .nDirection = 1,
         .bExtended = true,
         .bZoneTables = true},
        {.pName = "zone, along y, extended, dark set",
         .eMode = Zone,
         .nDirection = 1,
         .bExtended = true,
         .bDarkSet = true},
        {.pName = "zone, along y, extended, sideways",
         .eMode = Zone,
         .nDirection = 1,
         .bExtended = true,
         .bSideways = true},
        {.pName = "zone, along y, extended, pitch table",
         .eMode = Zone,
         .nDirection = 1,
         .bExtended = true,
         .bTable = true},

        {.pName = "pixel, along x", .eMode = Pixel, .nDirection = 0},
        {.pName = "pixel, along x, pitch table", .eMode = Pixel, .nDirection = 0, .bTable = true},
        {.pName = "pixel, along x, extended", .eMode = Pixel, .nDirection = 0, .bExtended = true},
        {.pName = "pixel, along x, twice", .eMode = Pixel, .nDirection = 0, .bExtended = true, .bTwice = true},
        {.pName = "pixel, along y", .eMode = Pixel, .nDirection = 1},
        {.pName = "pixel, along y, direct", .eMode = Pixel, .nDirection = 1, .bDirect = true},
        {.pName = "pixel, along y, dark set", .eMode = Pixel, .nDirection = 1, .bDarkSet = true},
        {.pName = "pixel, along y, pitch table", .eMode = Pixel, .nDirection = 1, .bTable = true},
        {.pName = "pixel, along y, pitch table, dark set",
         .eMode = Pixel,
         .nDirection = 1,
         .bDarkSet = true,
         .bTable = true},
        {.pName = "pixel, along y, extended", .eMode = Pixel, .nDirection = 1, .bExtended = true},
        {.pName = "pixel, along y, extended, dark set",
         .eMode = Pixel,
         .nDirection = 1,
         .bExtended = true,
         .bDarkSet = true},
        {.pName = "pixel, along y, extended, real pitch",
         .eMode = Pixel,
         .nDirection = 1,
         .bExtended = true,
         .bClassPitch = true},
        {.pName = "pixel, along y, extended, pitch table",
         .eMode = Pixel,
         .nDirection = 1,
         .bExtended = true,
         .bTable = true},
        {.pName = "pixel, along y, twice", .eMode = Pixel, .nDirection = 1, .bExtended = true, .bTwice = true},

        {.pName = "float, along x, window 4", .eMode = Float, .nDirection = 0, .nWindowWidth = 2, .nWindowHeight = 2},
        {.pName = "float, along x, window 6", .eMode = Float, .nDirection = 0, .nWindowWidth = 3, .nWindowHeight = 2},
        {.pName = "float, along x, window 9", .eMode = Float, .nDirection = 0, .nWindowWidth = 3, .nWindowHeight = 3},
        {.pName = "float, along x, window 4, pitch table",
         .eMode = Float,
         .nDirection = 0,
         .nWindowWidth = 2,
         .nWindowHeight = 2,
         .bTable = true},
        {.pName = "float, along x, window 6, pitch table",
         .eMode = Float,
         .nDirection = 0,
         .nWindowWidth = 3,
         .nWindowHeight = 2,
         .bTable = true},
        {.pName = "float, along y, window 4", .eMode = Float, .nDirection = 1, .nWindowWidth = 2, .nWindowHeight = 2},
        {.pName = "float, along y, window 6", .eMode = Float, .nDirection = 1, .nWindowWidth = 2, .nWindowHeight = 3},
        {.pName = "float, along y, window 9", .eMode = Float, .nDirection = 1, .nWindowWidth = 3, .nWindowHeight = 3},
        {.pName = "float, along y, window 4, extended",
         .eMode = Float,
         .nDirection = 1,
         .nWindowWidth = 2,
         .nWindowHeight = 2,
         .bExtended = true},
        {.pName = "float, along y, window 4, extended, dark set",
         .eMode = Float,
         .nDirection = 1,
         .nWindowWidth = 2,
         .nWindowHeight = 2,
         .bExtended = true,
         .bDarkSet = true},
        {.pName = "float, along y, window 4, sideways",
         .eMode = Float,
         .nDirection = 1,
         .nWindowWidth = 2,
         .nWindowHeight = 2,
         .bSideways = true},
        {.pName = "float, along y, window 4, pitch table",
         .eMode = Float,
         .nDirection = 1,
         .nWindowWidth = 2,
         .nWindowHeight = 2,
         .bTable = true},
        {.pName = "float, along y, window 4, extended, sideways, pitch table",
         .eMode = Float,
         .nDirection = 1,
         .nWindowWidth = 2,
         .nWindowHeight = 2,
         .bExtended = true,
         .bTable = true,
         .bSideways = true},

        {.pName = "trapezium, along x", .eMode = Trapezium, .nDirection = 0, .nWindowWidth = 2, .nWindowHeight = 2},
        {.pName = "trapezium, along x, pitch table",
         .eMode = Trapezium,
         .nDirection = 0,
         .nWindowWidth = 2,
         .nWindowHeight = 2,
         .bTable = true},
        {.pName = "trapezium, along y", .eMode = Trapezium, .nDirection = 1, .nWindowWidth = 2, .nWindowHeight = 2},
        {.pName = "trapezium, along y, pitch table",
         .eMode = Trapezium,
         .nDirection = 1,
         .nWindowWidth = 2,
         .nWindowHeight = 2,
         .bTable = true},

        {.pName = "asg with zones, along x", .eMode = AsgZone, .nDirection = 0},
        {.pName = "asg with zones, along x, pitch table", .eMode = AsgZone, .nDirection = 0, .bTable = true},
        {.pName = "asg with zones, along y", .eMode = AsgZone, .nDirection = 1},
        {.pName = "asg with zones, along y, direct", .eMode = AsgZone, .nDirection = 1, .bDirect = true},
        {.pName = "asg with zones, along y, two segments", .eMode = AsgZone, .nDirection = 1, .bKnee = true},
        {.pName = "asg with zones, along y, means", .eMode = AsgZone, .nDirection = 1, .bMean = true},
        {.pName = "asg, along x", .eMode = AsgPixel, .nDirection = 0},
        {.pName = "asg, along y", .eMode = AsgPixel, .nDirection = 1},

        {.pName = "binarise", .eMode = Binarise, .nDirection = 0},
        {.pName = "average", .eMode = Average, .nDirection = 0},
    };
    return aPaths;
}

} // namespace

bool CPropertyPath::HasDeadZones() const
{
    if (!bExtended || !IsVertical())
        return false;
    switch (eMode)
    {
    case PropertyMode::Zone:
        return bZoneTables || bDarkSet || (bSideways && !bTable);
    case PropertyMode::Pixel:
        return bTwice;
    case PropertyMode::Float:
        return true;
    default:
        return false;
    }
}

std::vector<CPropertyPath> PropertyPaths(PropertyMode eMode)
{
    std::vector<CPropertyPath> aPaths;
    std::copy_if(AllPaths().begin(), AllPaths().end(), std::back_inserter(aPaths),
                 [eMode](const CPropertyPath& path) { return path.eMode == eMode; });
    return aPaths;
}

const std::vector<PropertyMode>& PropertyModes()
{
    static const std::vector<PropertyMode> aModes = {
        PropertyMode::Zone,    PropertyMode::Pixel,    PropertyMode::Float,    PropertyMode::Trapezium,
        PropertyMode::AsgZone, PropertyMode::AsgPixel, PropertyMode::Binarise, PropertyMode::Average};
    return aModes;
}

std::string PropertyModeName(PropertyMode eMode)
{
    static const char* const pNames[] = {"Zone",    "Pixel",    "Float",    "Trapezium",
                                         "AsgZone", "AsgPixel", "Binarise", "Average"};
    return pNames[static_cast<int>(eMode)];
}

} // namespace narvo::test
