// SPDX-License-Identifier: MIT
// The rules of a valid recipe that need no image: its fields, its lists, and which fields go together.
#include "host/recipe/recipe_check.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "host/recipe/recipe_rules.h"
#include "narvoassem/convparam.h"

namespace narvo
{

namespace
{

static_assert(nDeadZoneHigh == CConvParam::nDeadZoneLimit - 1);
constexpr double dColumnTableHigh = 4095.0; // verification reads 16-bit entries of 1/16 pixel

/// Lists and rectangles that the kind does not read.
void CheckStructured(const Recipe& recipe, Problems& found)
{
    const auto isGiven = [&](std::string_view path)
    {
        if (path == "margin_frame")
            return recipe.marginFrame.has_value();
        if (path == "dead_zones")
            return !recipe.deadZones.empty();
        if (const TableField* table = FindTable(path))
            return !(recipe.*table->member).empty();
        if (path == "texture.features")
            return !recipe.textureFeatures.empty();
        if (path == "zones.skip")
            return !recipe.skippedCells.empty();
        if (path != "zones.list")
            return false;
        static const ZoneSettings defaults;
        return recipe.zones.size() != 1 || !recipe.zones.front().verifyChecks.empty() ||
               std::any_of(ZoneFields().begin(), ZoneFields().end(),
                           [&](const Field<ZoneSettings>& field)
                           { return ValueText(field, recipe.zones.front()) != ValueText(field, defaults); });
    };
    const Kind kind = recipe.GetKind();
    for (const StructuredField& field : StructuredFields())
        if ((field.kinds & SetOf(kind)) == 0 && isGiven(field.path))
            found.push_back({std::string(field.path), "given",
                             "left out in " + std::string(KindName(kind)) + ", which does not read it"});
}

/// Painted cells that were handed over beside the fields, where the kind does not read the field that would name them.
void CheckPaintedAreRead(const Recipe& recipe, Problems& found)
{
    const Kind kind = recipe.GetKind();
    const auto check = [&](const GreyImage& image, const char* field)
    {
        if (!image.IsEmpty() && (FindField(RecipeFields(), field, kind)->kinds & SetOf(kind)) == 0)
            AddOnce({field, "given", "left out in " + std::string(KindName(kind)) + ", which does not read it"}, found);
    };
    check(recipe.zoneImage, "zones.image");
    check(recipe.classImage, "zones.class_image");
}

/// Fields that another one switches on.
void CheckDependents(const Recipe& recipe, Problems& found)
{
    const Recipe defaults;
    const auto check = [&](bool on, const char* field, int value, int neutral, const char* master)
    {
        if (!on && value != neutral)
            AddOnce({field, std::to_string(value), std::to_string(neutral) + " where " + std::string(master) + " is 0"},
                    found);
    };
    check(recipe.darkFilterBase != 0, "kernel.dark_gain", recipe.darkFilterGain, defaults.darkFilterGain,
          "kernel.dark_base");
    check(recipe.twicePitch != 0.0, "twice.base", recipe.twiceBase, defaults.twiceBase, "twice.pitch");
    check(recipe.twicePitch != 0.0, "twice.gain", recipe.twiceGain, defaults.twiceGain, "twice.pitch");
    if (recipe.twicePitch > 0.0 && recipe.twicePitch < dPitchLow)
        AddOnce({"twice.pitch", FormatNumber(recipe.twicePitch), "0, or " + RangeText(dPitchLow, dPitchHigh, "pixels")},
                found);
    if (recipe.averageWindow > recipe.averageBackground)
        AddOnce({"average.window", std::to_string(recipe.averageWindow),
                 "at most average.background, " + std::to_string(recipe.averageBackground)},
                found);
}

/// Settings that compare pixels of a mosaic under different colour filters.
void CheckMosaic(const Recipe& recipe, Problems& found)
{
    if (recipe.bayer == Bayer_None || recipe.demosaic != Demosaic_Off)
        return;
    const auto demandEven = [&](const char* field, double value, double displacement)
    {
        if (std::fmod(displacement, 2.0) != 0.0)
            AddOnce({field, FormatNumber(value), "an even whole number of pixels where image.demosaic is off"}, found);
    };
    if (recipe.ComparesAtAPitch())
    {
        demandEven("pitch.x", recipe.pitchX, recipe.RealPitchX());
        demandEven("pitch.y", recipe.pitchY, recipe.RealPitchY());
        demandEven("twice.pitch", recipe.twicePitch, recipe.twicePitch);
        demandEven("kernel.cross_shift", recipe.crossShift, recipe.crossShift);
        for (const TableField& table : TableFields())
            if (!(recipe.*table.member).empty())
                AddOnce({std::string(table.path), "given", "left out where image.demosaic is off"}, found);
    }
    if (recipe.mode == Mode_Average)
    {
        demandEven("average.window", recipe.averageWindow, recipe.averageWindow);
        demandEven("average.background", recipe.averageBackground, recipe.averageBackground);
    }
}

void CheckLists(const Recipe& recipe, Problems& found)
{
    if (recipe.deadZones.size() > static_cast<std::size_t>(nDeadZoneHigh))
        found.push_back({"dead_zones", std::to_string(recipe.deadZones.size()) + " rectangles",
                         "at most " + std::to_string(nDeadZoneHigh) + " rectangles"});
    for (std::size_t i = 0; i < recipe.deadZones.size(); ++i)
        if (recipe.deadZones[i].IsRectEmpty())
            found.push_back({"dead_zones[" + std::to_string(i) + "]", RectText(recipe.deadZones[i]),
                             "right above left and bottom above top"});
    const auto checkTables = [&](bool shifts, double low, double high)
    {
        for (const TableField& table : TableFields())
            for (std::size_t i = 0; table.shifts == shifts && i < (recipe.*table.member).size(); ++i)
                if (const double value = (recipe.*table.member)[i]; !(value >= low && value <= high))
                    found.push_back({std::string(table.path) + "[" + std::to_string(i) + "]", FormatNumber(value),
                                     RangeText(low, high, "pixels")});
    };
    checkTables(false, dPitchLow, dPitchHigh);
    checkTables(true, -1.0, 1.0);
    const bool byTilt = VerifiesByTables(recipe, VerifyAlong_Tilt);
    if (!recipe.scanTilts.empty() && !byTilt)
        AddOnce({"tables.scan_tilt", "given", "left out where no zone verifies along the tilt"}, found);
    if (VerifiesByTables(recipe, VerifyAlong_X))
        for (std::size_t i = 0; i < recipe.convPitches.size(); ++i)
            if (recipe.convPitches[i] > dColumnTableHigh && recipe.convPitches[i] <= dPitchHigh)
                found.push_back({"tables.conv_pitch[" + std::to_string(i) + "]", FormatNumber(recipe.convPitches[i]),
                                 RangeText(dPitchLow, dColumnTableHigh, "pixels") + " where zones verify by it"});

    // The search for the entry of a band or of a re-run steps over records of two ints.
    if (!recipe.skippedCells.empty() && recipe.maxReruns != 0)
        found.push_back({"max_reruns", std::to_string(recipe.maxReruns), "0 where zones.skip is given"});
    if (!recipe.skippedCells.empty() && recipe.bandSplit)
        found.push_back({"band_split", "true", "false where zones.skip is given"});
}

} // namespace

std::vector<Problem> CheckRecipe(const Recipe& recipe)
{
    Problems found;
    CheckRanges(RecipeFields(), recipe.GetKind(), recipe, "", found);
    const bool measurable = found.empty();
    CheckShape(recipe, found);
    CheckStructured(recipe, found);
    CheckPaintedAreRead(recipe, found);
    CheckLists(recipe, found);
    CheckCamera(recipe, found);
    CheckDependents(recipe, found);
    for (Problem& problem : CheckCombination(recipe))
        AddOnce(std::move(problem), found);
    CheckMosaic(recipe, found);
    if (recipe.maps != nullptr && recipe.GetKind() != Kind_Zone)
        found.push_back({"maps", "given", "none in " + std::string(KindName(recipe.GetKind()))});
    else if (measurable && HasZones(recipe))
        CheckZones(recipe, found);
    if (recipe.GetKind() == Kind_Texture)
        CheckTexture(recipe, found);
    else if (measurable && recipe.GetKind() == Kind_Lattice)
        CheckLattice(recipe, found);
    else if (measurable && !recipe.autoDirection)
        CheckKernel(recipe, static_cast<Direction>(recipe.direction), found);
    return found;
}

} // namespace narvo
