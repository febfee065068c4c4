// SPDX-License-Identifier: MIT
// The rules of zones: their verification, and the painted cells or whole-region maps that lay them out.
#include <algorithm>
#include <cmath>
#include <set>
#include <string>

#include "host/recipe/recipe_rules.h"
#include "host/zones/region_maps.h"

namespace narvo
{

namespace
{

constexpr double dCellWidthLow = 16.0; // the kernels step one cell for each 16 columns
constexpr double dCellHeightLow = 2.0;
constexpr double dCellAreaHigh = 4194304.0;
constexpr int nCyclesHigh = 99;

void CheckPainted(const std::string& field, const GreyImage& painted, const Recipe& recipe, bool listed,
                  Problems& found)
{
    const int wide = static_cast<int>(std::ceil(recipe.CellWidth()));
    const int high = static_cast<int>(std::ceil(recipe.CellHeight()));
    if (painted.Width() < wide || painted.Height() < high)
        found.push_back(
            {field, std::to_string(painted.Width()) + " by " + std::to_string(painted.Height()) + " pixels",
             "at least " + std::to_string(wide) + " by " + std::to_string(high) + " pixels, the size of a zone cell"});
    // A pitch that is measured again moves the cell's size past at most one whole number.
    else if (painted.Width() > wide + 1 || painted.Height() > high + 1)
        found.push_back({field, std::to_string(painted.Width()) + " by " + std::to_string(painted.Height()) + " pixels",
                         "at most " + std::to_string(wide + 1) + " by " + std::to_string(high + 1) +
                             " pixels: what lies beyond the zone cell is not read"});

    std::set<int> known;
    for (const ZoneSettings& zone : recipe.zones)
        known.insert(zone.index);
    std::set<int> strange;
    for (int y = 0; y < painted.Height(); ++y)
        for (int x = 0; x < painted.Width(); ++x)
        {
            const int value = painted.Row(y)[x];
            const bool fine = listed ? known.contains(value) : value < nRecipeZoneLimit;
            if (!fine && strange.insert(value).second)
                found.push_back({field,
                                 "value " + std::to_string(value) + " at column " + std::to_string(x) + ", row " +
                                     std::to_string(y),
                                 listed ? "the zones of zones.list" : "values 0 to 15"});
            if (strange.size() >= 4)
                return;
        }
}

void CheckVerification(const ZoneSettings& zone, const std::string& prefix, const Recipe& recipe, Problems& found)
{
    const auto check = [&](bool right, const std::string& field, const std::string& value, const std::string& allowed) {
        Demand(right, {prefix + field, value, allowed}, found);
    };
    const bool off = zone.verifyMode == VerifyMode_Off;
    const bool fixed = zone.verifyMode == VerifyMode_Fixed;
    const std::string count = std::to_string(zone.verifyChecks.size()) + " checks";
    check(off || zone.index != 0, "verify.mode", "on", "off in zone 0, which is never verified");
    check(!off || zone.verifyChecks.empty(), "verify.checks", count, "none where verify.mode is off");
    check(off || (!zone.verifyChecks.empty() && zone.verifyChecks.size() <= nVerifyCheckLimit), "verify.checks", count,
          "1 to 5 checks where verify.mode is on");
    const auto checkPitch = [&](const char* field, double pitch, int along)
    {
        const bool needed = fixed && VerifiesAlong(zone, along);
        check(needed ? pitch >= dPitchLow : pitch == 0.0, field, FormatNumber(pitch),
              needed ? RangeText(dPitchLow, dPitchHigh, "pixels") : "0 where no fixed check goes along it");
    };
    checkPitch("verify.pitch.x", zone.verifyPitchX, VerifyAlong_X);
    checkPitch("verify.pitch.y", zone.verifyPitchY, VerifyAlong_Y);
    for (std::size_t i = 0; i < zone.verifyChecks.size(); ++i)
    {
        const VerifyCheck& one = zone.verifyChecks[i];
        const std::string entry = "verify.checks[" + std::to_string(i) + "].";
        const int high = one.along == VerifyAlong_X   ? std::min(recipe.multipleX, nCyclesHigh)
                         : one.along == VerifyAlong_Y ? std::min(recipe.multipleY, nCyclesHigh)
                                                      : nCyclesHigh;
        check(one.along >= VerifyAlong_X && one.along <= VerifyAlong_Tilt, entry + "along", std::to_string(one.along),
              "x, y or tilt");
        check(one.along != VerifyAlong_Tilt || !fixed, entry + "along", "tilt", "x or y where verify.mode is fixed");
        check(one.cycles >= 1 && one.cycles <= high, entry + "cycles", std::to_string(one.cycles),
              "1 to " + std::to_string(high) + " short periods, those that a comparison spans");
    }
    const bool byTables = zone.verifyMode == VerifyMode_Table;
    const auto needTable = [&](bool given, int along, const char* table, const char* what)
    {
        Demand(given || !byTables || !VerifiesAlong(zone, along),
               {table, "empty", std::string("given where a zone verifies ") + what + " by tables"}, found);
    };
    needTable(!recipe.convPitches.empty(), VerifyAlong_X, "tables.conv_pitch", "along x");
    needTable(!recipe.scanPitches.empty(), VerifyAlong_Y, "tables.scan_pitch", "along y");
    needTable(!recipe.scanPitches.empty(), VerifyAlong_Tilt, "tables.scan_pitch", "along the tilt");
    needTable(!recipe.scanTilts.empty(), VerifyAlong_Tilt, "tables.scan_tilt", "along the tilt");
}

/// Whole-region maps in place of a painted cell.
void CheckMaps(const Recipe& recipe, Problems& found)
{
    const RegionMaps& maps = *recipe.maps;
    const auto check = [&](bool right, const char* field, const char* value, const char* allowed) {
        Demand(right, {field, value, allowed}, found);
    };
    check(recipe.zoneImage.IsEmpty(), "zones.image", "given", "empty where whole-region maps are given");
    check(recipe.classImage.IsEmpty(), "zones.class_image", "given", "empty where whole-region maps are given");
    check(recipe.skippedCells.empty(), "zones.skip", "given", "left out where whole-region maps are given");
    check(recipe.regionShape == RegionShape_Rectangle, "region.shape", "no rectangle",
          "rectangle where whole-region maps are given");
    const bool upper = maps.IsSet(RegionMaps::Map_Knee) && maps.IsSet(RegionMaps::Map_UpperOffset) &&
                       maps.IsSet(RegionMaps::Map_UpperGain);
    check(upper || !recipe.twoSegment, "kernel.two_segment", "true",
          "false, or maps with knee, upper offset and upper gain");
    check(!upper || recipe.twoSegment, "kernel.two_segment", "false", "true where the maps have an upper segment");
    const bool part = maps.IsSet(RegionMaps::Map_Knee) || maps.IsSet(RegionMaps::Map_UpperOffset) ||
                      maps.IsSet(RegionMaps::Map_UpperGain);
    check(upper || !part, "maps", "part of an upper segment", "knee, upper offset and upper gain, or none of them");

    check(std::none_of(recipe.zones.begin(), recipe.zones.end(), [](const ZoneSettings& zone) { return zone.dead; }),
          "zones.list", "dead zones", "none dead where whole-region maps are given");

    unsigned listed = 0;
    for (const ZoneSettings& zone : recipe.zones)
        listed |= 1U << (zone.index & 15);
    const unsigned used = maps.IsSet(RegionMaps::Map_Zone) ? maps.UsedZones() : 1U;
    for (int zone = 0; zone < nRecipeZoneLimit; ++zone)
        if ((used & ~listed & (1U << zone)) != 0)
            found.push_back({"maps, zone", std::to_string(zone), "the zones of zones.list"});
}

} // namespace

void CheckZones(const Recipe& recipe, Problems& found)
{
    std::set<int> seen;
    for (std::size_t i = 0; i < recipe.zones.size(); ++i)
    {
        const ZoneSettings& zone = recipe.zones[i];
        const std::string prefix = "zones.list[" + std::to_string(i) + "].";
        CheckRanges(ZoneFields(), recipe.GetKind(), zone, prefix, found);
        if (!seen.insert(zone.index).second)
            found.push_back({prefix + "index", std::to_string(zone.index), "each zone once"});
        CheckVerification(zone, prefix, recipe, found);
        if (zone.index == 0 && zone.darkGreyLimit != 0)
            found.push_back({prefix + "dark_grey_limit", std::to_string(zone.darkGreyLimit),
                             "0 in zone 0, which has no grey limits"});
        if (zone.index == 0 && zone.brightMinDifference != 0)
            found.push_back({prefix + "bright_min_difference", std::to_string(zone.brightMinDifference),
                             "0 in zone 0, which has no grey limits"});
    }
    if (recipe.maps != nullptr)
    {
        CheckMaps(recipe, found);
        return;
    }
    if (recipe.zoneImage.IsEmpty() && recipe.zones.size() != 1)
        found.push_back(
            {"zones.list", std::to_string(recipe.zones.size()) + " zones", "1 zone where zones.image is empty"});

    const double width = recipe.CellWidth();
    const double height = recipe.CellHeight();
    bool buildable = true;
    if (!(width >= dCellWidthLow))
    {
        found.push_back({"zones.multiple.x",
                         std::to_string(recipe.zoneMultipleX) + " (a cell " + FormatNumber(width) + " pixels wide)",
                         "enough periods for a cell of 16 pixels or more"});
        buildable = false;
    }
    if (!(height >= dCellHeightLow))
    {
        found.push_back({"zones.multiple.y",
                         std::to_string(recipe.zoneMultipleY) + " (a cell " + FormatNumber(height) + " pixels high)",
                         "enough periods for a cell of 2 pixels or more"});
        buildable = false;
    }
    if (!(width * height <= dCellAreaHigh))
    {
        found.push_back({"zones.multiple",
                         "a cell of " + FormatNumber(width) + " by " + FormatNumber(height) + " pixels",
                         "a cell of at most " + FormatNumber(dCellAreaHigh) + " pixels"});
        buildable = false;
    }
    if (!buildable)
        return;
    if (!recipe.zoneImage.IsEmpty())
        CheckPainted("zones.image", recipe.zoneImage, recipe, true, found);
    if (!recipe.classImage.IsEmpty())
        CheckPainted("zones.class_image", recipe.classImage, recipe, false, found);
}

} // namespace narvo
