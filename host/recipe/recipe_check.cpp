// The rules of a valid recipe.
#include "host/recipe/recipe_check.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <string>

#include "host/inspect/region_maps.h"
#include "host/inspect/region_shape.h"
#include "host/recipe/recipe_fields.h"
#include "narvoassem/convparam.h"

namespace narvo
{

namespace
{

constexpr double dPitchesInRegion = 3.0; // a compare reaches one pitch, its partner a second, the middle needs a third
constexpr int nStripWidth = 16;
constexpr double dCellWidthLow = 16.0; // the kernels step one cell for each 16 columns
constexpr double dCellHeightLow = 2.0;
constexpr double dCellAreaHigh = 4194304.0;
constexpr int nGridRowLimit = 1996;                           // the search for a re-run's grid row goes no further
constexpr int nDeadZoneHigh = CConvParam::nDeadZoneLimit - 1; // the engine takes a full list for an empty one
constexpr double dPitchLow = 1.0;
constexpr double dPitchHigh = 16384.0;
constexpr int nGreyLimitOf9 = 227;
constexpr double dColumnTableHigh = 4095.0; // verification reads 16-bit entries of 1/16 pixel
constexpr int nCyclesHigh = 99;

using Problems = std::vector<Problem>;

std::string Range(double low, double high, const char* unit)
{
    return FormatNumber(low) + " to " + FormatNumber(high) + " " + unit;
}

/// A field that has been found wrong is not told of again.
void AddOnce(Problem problem, Problems& found)
{
    if (std::none_of(found.begin(), found.end(), [&](const Problem& other) { return other.field == problem.field; }))
        found.push_back(std::move(problem));
}

std::string RectText(const CRect& rect)
{
    return std::to_string(rect.left) + ", " + std::to_string(rect.top) + " to " + std::to_string(rect.right) + ", " +
           std::to_string(rect.bottom);
}

/// Ranges of the fields that the kind reads; the others stay at their defaults.
template <typename Owner>
void CheckRanges(std::span<const Field<Owner>> fields, Kind kind, const Owner& owner, const std::string& prefix,
                 Problems& found)
{
    static const Owner defaults;
    for (const Field<Owner>& field : fields)
    {
        if (FindField(fields, field.path, kind) != &field)
            continue;
        const std::string path = prefix + std::string(field.path);
        if ((field.kinds & SetOf(kind)) != 0)
        {
            if (!IsInRange(field, owner))
                found.push_back({path, ValueText(field, owner), AllowedText(field)});
        }
        else if (ValueText(field, owner) != ValueText(field, defaults))
            found.push_back({path, ValueText(field, owner),
                             "left out in " + std::string(KindName(kind)) + ", which does not read it"});
    }
}

/// Lists and rectangles that the kind does not read.
void CheckStructured(const Recipe& recipe, Problems& found)
{
    const auto isGiven = [&](std::string_view path)
    {
        if (path == "margin_frame")
            return recipe.marginFrame.has_value();
        if (path == "dead_zones")
            return !recipe.deadZones.empty();
        if (path == "tables.scan_pitch")
            return !recipe.scanPitches.empty();
        if (path == "tables.conv_pitch")
            return !recipe.convPitches.empty();
        if (path == "tables.scan_tilt")
            return !recipe.scanTilts.empty();
        if (path == "tables.row_pitch")
            return !recipe.rowPitches.empty();
        if (path == "tables.column_pitch")
            return !recipe.columnPitches.empty();
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

// --- which kernel the settings select, and which settings it reads ---

enum Option : unsigned
{
    Option_ConvPitches = 1U << 0,
    Option_ScanPitches = 1U << 1,
    Option_Extended = 1U << 2,
    Option_CrossShift = 1U << 3,
    Option_NoLineBuffer = 1U << 4,
    Option_TwoSegment = 1U << 5,
    Option_Skip = 1U << 6,
    Option_Average = 1U << 7,
    Option_ZoneTables = 1U << 8,
    Option_DarkFilter = 1U << 9,
    Option_ClassPitch = 1U << 10,
    Option_ClassImage = 1U << 11,
    Option_DeadZones = 1U << 12,
    Option_Twice = 1U << 13,
    Option_NoSingles = 1U << 14,
    Option_Window6 = 1U << 15, ///< 3 along the direction by 2
    Option_Window9 = 1U << 16
};

struct OptionName
{
    Option option;
    const char* field;
    const char* given;
    const char* neutral;
};

constexpr OptionName optionNames[] = {
    {Option_ConvPitches, "tables.conv_pitch", "given", "left out"},
    {Option_ScanPitches, "tables.scan_pitch", "given", "left out"},
    {Option_Extended, "kernel.extended", "true", "false"},
    {Option_CrossShift, "kernel.cross_shift", "nonzero", "0"},
    {Option_NoLineBuffer, "kernel.line_buffer", "false", "true"},
    {Option_TwoSegment, "kernel.two_segment", "true", "false"},
    {Option_Skip, "zones.skip", "given", "left out"},
    {Option_Average, "kernel.average_2by2", "true", "false"},
    {Option_ZoneTables, "kernel.zone_tables", "true", "false"},
    {Option_DarkFilter, "kernel.dark_base", "above 0", "0"},
    {Option_ClassPitch, "kernel.class_pitch", "nonzero", "0"},
    {Option_ClassImage, "zones.class_image", "given", "left out"},
    {Option_DeadZones, "dead_zones", "given", "left out"},
    {Option_Twice, "twice.pitch", "nonzero", "0"},
    {Option_NoSingles, "keep_singles", "false", "true"},
    {Option_Window6, "window", "area of 6 pixels", "2 by 2 pixels"},
    {Option_Window9, "window", "3 by 3 pixels", "2 by 2 pixels"},
};

unsigned OptionsOf(const Recipe& recipe)
{
    const auto bit = [](Option option, bool given) { return given ? static_cast<unsigned>(option) : 0U; };
    const int area = (SetOf(recipe.GetKind()) & (SetOf(Kind_Zone) | SetOf(Kind_Asg))) != 0
                         ? 0
                         : recipe.windowWidth * recipe.windowHeight;
    return bit(Option_ConvPitches, !recipe.convPitches.empty()) | bit(Option_ScanPitches, !recipe.scanPitches.empty()) |
           bit(Option_Extended, recipe.extendedKernel) | bit(Option_CrossShift, recipe.crossShift != 0.0) |
           bit(Option_NoLineBuffer, !recipe.lineBuffer) | bit(Option_TwoSegment, recipe.twoSegment) |
           bit(Option_Skip, !recipe.skippedCells.empty()) | bit(Option_Average, recipe.average2by2) |
           bit(Option_ZoneTables, recipe.zoneTables) | bit(Option_DarkFilter, recipe.darkFilterBase > 0) |
           bit(Option_ClassPitch, recipe.classPitch != 0.0) |
           bit(Option_ClassImage,
               !recipe.classImage.IsEmpty() || (recipe.maps != nullptr && recipe.maps->IsSet(RegionMaps::Map_Class))) |
           bit(Option_DeadZones, !recipe.deadZones.empty()) | bit(Option_Twice, recipe.twicePitch != 0.0) |
           bit(Option_NoSingles, !recipe.keepSingles) | bit(Option_Window6, area == 6) | bit(Option_Window9, area == 9);
}

struct KernelChoice
{
    unsigned needs; ///< options that select the kernel, on top of the choices above it
    unsigned reads; ///< further options that it reads
    const char* name;
};

// In the engine's own order of decision.
constexpr KernelChoice zoneHorizontal[] = {
    {Option_ConvPitches, Option_NoSingles, "horizontal table"},
    {0, Option_NoSingles, "horizontal"},
};
constexpr KernelChoice zoneVertical[] = {
    {Option_ScanPitches | Option_Extended, Option_ClassImage | Option_NoSingles, "extended row table"},
    {Option_ScanPitches, Option_CrossShift | Option_NoSingles, "row table"},
    {Option_CrossShift | Option_Extended, Option_DeadZones | Option_NoSingles, "extended cross shift"},
    {Option_CrossShift, Option_NoSingles, "cross shift"},
    {Option_NoLineBuffer, Option_NoSingles, "direct"},
    {Option_TwoSegment, Option_NoSingles, "two-segment"},
    {Option_Skip, Option_Average | Option_NoSingles, "skipping"},
    {Option_Average, Option_NoSingles, "2 by 2 mean"},
    {Option_Extended | Option_ZoneTables, Option_DeadZones | Option_NoSingles, "zone table"},
    {Option_Extended | Option_DarkFilter, Option_DeadZones | Option_NoSingles, "dark filter"},
    {Option_Extended | Option_ClassPitch, Option_NoSingles, "extended real-pitch"},
    {Option_Extended, Option_NoSingles, "extended"},
    {0, Option_NoSingles, "plain vertical"},
};
constexpr KernelChoice asgHorizontal[] = {
    {Option_ConvPitches, 0, "horizontal table"},
    {0, 0, "horizontal"},
};
constexpr KernelChoice asgVertical[] = {
    {Option_NoLineBuffer, 0, "direct"},
    {Option_TwoSegment, 0, "two-segment"},
    {Option_Average, 0, "2 by 2 mean"},
    {0, 0, "plain vertical"},
};
constexpr KernelChoice pixelHorizontal[] = {
    {Option_ConvPitches, Option_NoSingles, "horizontal table"},
    {Option_Extended | Option_Twice, Option_NoSingles, "two-pass horizontal"},
    {Option_Extended, Option_NoSingles, "extended horizontal"},
    {0, Option_NoSingles, "horizontal"},
};
constexpr KernelChoice pixelVertical[] = {
    {Option_ScanPitches | Option_Extended, Option_DarkFilter | Option_NoSingles, "extended row table"},
    {Option_ScanPitches | Option_DarkFilter, Option_NoSingles, "dark filter row table"},
    {Option_ScanPitches, Option_NoSingles, "row table"},
    {Option_NoLineBuffer, Option_NoSingles, "direct"},
    {Option_Extended | Option_Twice, Option_DeadZones | Option_DarkFilter | Option_NoSingles, "two-pass"},
    {Option_Extended | Option_ClassPitch, Option_DarkFilter | Option_NoSingles, "extended real-pitch"},
    {Option_Extended, Option_DarkFilter | Option_CrossShift | Option_NoSingles, "extended"},
    {Option_DarkFilter, Option_NoSingles, "dark filter"},
    {0, Option_NoSingles, "plain vertical"},
};
// The plain float kernels keep singles whatever the block says.
constexpr KernelChoice floatHorizontal[] = {
    {Option_ConvPitches, Option_Window6, "horizontal table"},
    {Option_Window6, 0, "3 by 2 horizontal"},
    {Option_Window9, 0, "3 by 3 horizontal"},
    {0, 0, "horizontal"},
};
constexpr unsigned nFloatExtended = Option_DarkFilter | Option_DeadZones | Option_NoSingles;
constexpr KernelChoice floatVertical[] = {
    {Option_ScanPitches | Option_Extended, Option_CrossShift | nFloatExtended, "extended row table"},
    {Option_CrossShift | Option_Extended, nFloatExtended, "extended cross shift"},
    {Option_ScanPitches, Option_CrossShift, "row table"},
    {Option_CrossShift, 0, "cross shift"},
    {Option_Window6, 0, "2 by 3 vertical"},
    {Option_Window9, 0, "3 by 3 vertical"},
    {Option_Extended, nFloatExtended, "extended"},
    {0, 0, "plain vertical"},
};
constexpr KernelChoice trapeziumChoices[] = {
    {0, 0, "trapezium"},
};
constexpr KernelChoice freeFormChoices[] = {
    {0, Option_DarkFilter | Option_NoSingles, "mask"},
};
constexpr KernelChoice otherChoices[] = {
    {0, Option_Window6 | Option_Window9, "only"},
};

std::span<const KernelChoice> ChoicesOf(Kind kind, Direction direction)
{
    const bool vertical = direction == Direction_Vertical;
    const auto either = [&](std::span<const KernelChoice> down, std::span<const KernelChoice> across)
    { return vertical ? down : across; };
    switch (kind)
    {
    case Kind_Zone:
        return either(zoneVertical, zoneHorizontal);
    case Kind_Asg:
        return either(asgVertical, asgHorizontal);
    case Kind_Pixel:
        return either(pixelVertical, pixelHorizontal);
    case Kind_Float:
        return either(floatVertical, floatHorizontal);
    case Kind_Trapezium:
        return trapeziumChoices;
    case Kind_FreeForm:
        return freeFormChoices;
    default:
        return otherChoices;
    }
}

/// Whether some zone verifies by tables along an axis or the tilt.
bool VerifiesByTables(const Recipe& recipe, int along)
{
    return std::any_of(recipe.zones.begin(), recipe.zones.end(),
                       [&](const ZoneSettings& zone)
                       {
                           return zone.verifyMode == VerifyMode_Table &&
                                  std::any_of(zone.verifyChecks.begin(), zone.verifyChecks.end(),
                                              [&](const VerifyCheck& check) { return check.along == along; });
                       });
}

/// What the filters of one direction alone read.
void CheckVerifyDirection(const Recipe& recipe, Direction direction, Problems& found)
{
    if (direction == Direction_Vertical)
        return;
    for (std::size_t i = 0; i < recipe.zones.size(); ++i)
        if (recipe.zones[i].verifyMode != VerifyMode_Off)
            AddOnce({"zones.list[" + std::to_string(i) + "].verify.mode", "on", "off in horizontal direction"}, found);
}

void CheckTableDirection(const Recipe& recipe, Direction direction, Problems& found)
{
    if (direction == Direction_Vertical && !recipe.rowPitches.empty())
        AddOnce({"tables.row_pitch", "given", "left out in vertical direction"}, found);
    if (direction == Direction_Horizontal && !recipe.columnPitches.empty())
        AddOnce({"tables.column_pitch", "given", "left out in horizontal direction"}, found);
}

void CheckOptions(const Recipe& recipe, Direction direction, Problems& found)
{
    CheckVerifyDirection(recipe, direction, found);
    CheckTableDirection(recipe, direction, found);
    // The kernels down the image leave the column table to the verification.
    const bool verified = direction == Direction_Vertical && VerifiesByTables(recipe, VerifyAlong_X);
    const unsigned given = OptionsOf(recipe) & ~(verified ? static_cast<unsigned>(Option_ConvPitches) : 0U);
    const auto choices = ChoicesOf(recipe.GetKind(), direction);
    const auto chosen =
        std::find_if(choices.begin(), choices.end(),
                     [&](const KernelChoice& choice) { return (choice.needs & given) == choice.needs; });
    const unsigned ignored = given & ~(chosen->needs | chosen->reads);
    for (const OptionName& name : optionNames)
        if ((ignored & name.option) != 0)
            AddOnce({name.field, name.given,
                     std::string(name.neutral) + ", since the other settings select the " + chosen->name +
                         " kernel, which does not read it"},
                    found);

    const bool turned = direction == Direction_Vertical ? recipe.windowWidth > recipe.windowHeight
                                                        : recipe.windowHeight > recipe.windowWidth;
    if (recipe.GetKind() == Kind_Float && turned)
        found.push_back({"window",
                         std::to_string(recipe.windowWidth) + " by " + std::to_string(recipe.windowHeight) + " pixels",
                         direction == Direction_Vertical ? "2 by 3 pixels, since the direction is vertical"
                                                         : "3 by 2 pixels, since the direction is horizontal"});
    // 144 units a grey level: a greater difference would leave the 16-bit lanes and not count as a hit.
    if (recipe.GetKind() == Kind_Float && (given & Option_Window9) != 0 && recipe.greyLimit > nGreyLimitOf9)
        found.push_back({"grey_limit", std::to_string(recipe.greyLimit),
                         "at most " + std::to_string(nGreyLimitOf9) + " where the window is 3 by 3 pixels"});
    if (recipe.GetKind() == Kind_Asg && direction == Direction_Horizontal && recipe.zoneMultipleX != recipe.multipleX)
        found.push_back({"zones.multiple.x", std::to_string(recipe.zoneMultipleX),
                         std::to_string(recipe.multipleX) +
                             ", as multiple.x: horizontal cells of asg mode are as wide as the compare distance"});
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
        AddOnce({"twice.pitch", FormatNumber(recipe.twicePitch), "0, or " + Range(dPitchLow, dPitchHigh, "pixels")},
                found);
    if (recipe.averageWindow > recipe.averageBackground)
        AddOnce({"average.window", std::to_string(recipe.averageWindow),
                 "at most average.background, " + std::to_string(recipe.averageBackground)},
                found);
}

// --- regions ---

void CheckShape(const Recipe& recipe, Problems& found)
{
    static constexpr const char* shapes[] = {"rectangle", "trapezium", "polygon"};
    if (recipe.regionShape < 0 || recipe.regionShape > RegionShape_Polygon)
    {
        found.push_back({"region.shape", std::to_string(recipe.regionShape), "rectangle, trapezium or polygon"});
        return;
    }
    const auto corners = [&](const std::vector<CPoint>& points, const char* allowed) {
        found.push_back({"region.points", std::to_string(points.size()) + " corners", allowed});
    };
    if (recipe.regionShape == RegionShape_Rectangle)
        return;
    if (recipe.mode != Mode_Float)
        found.push_back({"region.shape", shapes[recipe.regionShape], "rectangle where mode is not float"});
    const std::vector<CPoint> points = WithoutNeedlessCorners(recipe.regionPoints);
    if (points.size() < 3)
    {
        corners(recipe.regionPoints, "at least 3 corners that do not lie on one line");
        return;
    }
    if (recipe.regionShape == RegionShape_Polygon)
        return;
    const CRect bounds = BoundsOf(points);
    constexpr std::size_t nLimit = CPadPoligon::nPointLimit;
    if (points.size() > (recipe.regionColumns ? nLimit - 2 : nLimit))
        corners(points,
                recipe.regionColumns ? "at most 8 corners where region.columns is given" : "at most 10 corners");
    else if (std::int64_t{bounds.right} - bounds.left > nCutSpan || std::int64_t{bounds.bottom} - bounds.top > nCutSpan)
        found.push_back({"region.points", RectText(bounds), "at most 46340 pixels wide and high"});
    else if (!IsConvex(points))
        found.push_back({"region.points", "not convex", "a convex polygon that does not cross itself"});
    if (recipe.regionColumns && recipe.regionColumns->first >= recipe.regionColumns->second)
        found.push_back(
            {"region.columns",
             std::to_string(recipe.regionColumns->first) + " to " + std::to_string(recipe.regionColumns->second),
             "first below last"});
}

void CheckCorners(const Recipe& recipe, int width, int height, Problems& found)
{
    const auto check = [&](std::size_t i, const char* axis, int value, int limit)
    {
        if (value < 0 || value > limit)
            found.push_back(
                {"region.points[" + std::to_string(i) + "]." + axis, std::to_string(value), Range(0, limit, "pixels")});
    };
    for (std::size_t i = 0; i < recipe.regionPoints.size(); ++i)
    {
        check(i, "x", recipe.regionPoints[i].x, width);
        check(i, "y", recipe.regionPoints[i].y, height);
    }
    if (found.empty() && recipe.regionColumns && CheckRecipe(recipe).empty() && TrapeziaOf(recipe).empty())
        found.push_back(
            {"region.columns",
             std::to_string(recipe.regionColumns->first) + " to " + std::to_string(recipe.regionColumns->second),
             "columns that the polygon crosses"});
}

// --- zones ---

void CheckPainted(const std::string& field, const GreyImage& painted, const Recipe& recipe, bool listed,
                  Problems& found)
{
    const int wide = static_cast<int>(std::ceil(recipe.CellWidth()));
    const int high = static_cast<int>(std::ceil(recipe.CellHeight()));
    if (painted.Width() < wide || painted.Height() < high)
        found.push_back(
            {field, std::to_string(painted.Width()) + " by " + std::to_string(painted.Height()) + " pixels",
             "at least " + std::to_string(wide) + " by " + std::to_string(high) + " pixels, the size of a zone cell"});

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
    const auto check = [&](bool right, const std::string& field, const std::string& value, const std::string& allowed)
    {
        if (!right)
            AddOnce({prefix + field, value, allowed}, found);
    };
    const bool off = zone.verifyMode == VerifyMode_Off;
    const bool fixed = zone.verifyMode == VerifyMode_Fixed;
    const std::string count = std::to_string(zone.verifyChecks.size()) + " checks";
    check(off || zone.index != 0, "verify.mode", "on", "off in zone 0, which is never verified");
    check(!off || zone.verifyChecks.empty(), "verify.checks", count, "none where verify.mode is off");
    check(off || (!zone.verifyChecks.empty() && zone.verifyChecks.size() <= nVerifyCheckLimit), "verify.checks", count,
          "1 to 5 checks where verify.mode is on");
    const auto has = [&](int along)
    {
        return std::any_of(zone.verifyChecks.begin(), zone.verifyChecks.end(),
                           [&](const VerifyCheck& one) { return one.along == along; });
    };
    const auto checkPitch = [&](const char* field, double pitch, int along)
    {
        const bool needed = fixed && has(along);
        check(needed ? pitch >= dPitchLow : pitch == 0.0, field, FormatNumber(pitch),
              needed ? Range(dPitchLow, dPitchHigh, "pixels") : "0 where no fixed check goes along it");
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
        if (byTables && has(along) && !given)
            AddOnce({table, "empty", std::string("given where a zone verifies ") + what + " by tables"}, found);
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
    const auto check = [&](bool right, const char* field, const char* value, const char* allowed)
    {
        if (!right)
            AddOnce({field, value, allowed}, found);
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

void CheckLists(const Recipe& recipe, Problems& found)
{
    if (recipe.deadZones.size() > static_cast<std::size_t>(nDeadZoneHigh))
        found.push_back({"dead_zones", std::to_string(recipe.deadZones.size()) + " rectangles",
                         "at most " + std::to_string(nDeadZoneHigh) + " rectangles"});
    for (std::size_t i = 0; i < recipe.deadZones.size(); ++i)
        if (recipe.deadZones[i].IsRectEmpty())
            found.push_back({"dead_zones[" + std::to_string(i) + "]", RectText(recipe.deadZones[i]),
                             "right above left and bottom above top"});
    const auto checkPitches = [&](const char* field, const std::vector<double>& pitches)
    {
        for (std::size_t i = 0; i < pitches.size(); ++i)
            if (!(pitches[i] >= dPitchLow && pitches[i] <= dPitchHigh))
                found.push_back({std::string(field) + "[" + std::to_string(i) + "]", FormatNumber(pitches[i]),
                                 Range(dPitchLow, dPitchHigh, "pixels")});
    };
    checkPitches("tables.scan_pitch", recipe.scanPitches);
    checkPitches("tables.conv_pitch", recipe.convPitches);
    checkPitches("tables.row_pitch", recipe.rowPitches);
    checkPitches("tables.column_pitch", recipe.columnPitches);
    for (std::size_t i = 0; i < recipe.scanTilts.size(); ++i)
        if (!(recipe.scanTilts[i] >= -1.0 && recipe.scanTilts[i] <= 1.0))
            found.push_back({"tables.scan_tilt[" + std::to_string(i) + "]", FormatNumber(recipe.scanTilts[i]),
                             Range(-1.0, 1.0, "pixels")});
    const bool byTilt = VerifiesByTables(recipe, VerifyAlong_Tilt);
    if (!recipe.scanTilts.empty() && !byTilt)
        AddOnce({"tables.scan_tilt", "given", "left out where no zone verifies along the tilt"}, found);
    if (VerifiesByTables(recipe, VerifyAlong_X))
        for (std::size_t i = 0; i < recipe.convPitches.size(); ++i)
            if (recipe.convPitches[i] > dColumnTableHigh && recipe.convPitches[i] <= dPitchHigh)
                found.push_back({"tables.conv_pitch[" + std::to_string(i) + "]", FormatNumber(recipe.convPitches[i]),
                                 Range(dPitchLow, dColumnTableHigh, "pixels") + " where zones verify by it"});

    // The search for the entry of a band or of a re-run steps over records of two ints.
    if (!recipe.skippedCells.empty() && recipe.maxReruns != 0)
        found.push_back({"max_reruns", std::to_string(recipe.maxReruns), "0 where zones.skip is given"});
    if (!recipe.skippedCells.empty() && recipe.bandSplit)
        found.push_back({"band_split", "true", "false where zones.skip is given"});
}

void CheckInside(const std::string& field, const CRect& rect, int width, int height, Problems& found)
{
    const auto check = [&](const char* side, int value, int low, int high)
    {
        if (value < low || value > high)
            found.push_back({field + side, std::to_string(value), Range(low, high, "pixels")});
    };
    const std::size_t before = found.size();
    check(".left", rect.left, 0, width - 1);
    check(".top", rect.top, 0, height - 1);
    check(".right", rect.right, 1, width);
    check(".bottom", rect.bottom, 1, height);
    if (found.size() != before)
        return;
    if (rect.right <= rect.left)
        check(".right", rect.right, rect.left + 1, width);
    if (rect.bottom <= rect.top)
        check(".bottom", rect.bottom, rect.top + 1, height);
}

void CheckTableLength(const char* field, const std::vector<double>& table, int pixels, Problems& found)
{
    const int wanted = (pixels + 15) / 16;
    if (!table.empty() && table.size() < static_cast<std::size_t>(wanted))
        found.push_back({field, std::to_string(table.size()) + " entries",
                         "at least " + std::to_string(wanted) + " entries, one for each 16 pixels of the image"});
}

void CheckSide(const char* field, int value, int wanted, const std::string& why, Problems& found)
{
    if (value < wanted)
        found.push_back(
            {field, std::to_string(value) + " pixels", "at least " + std::to_string(wanted) + " pixels, " + why});
}

/// The modes without a comparison at a pitch.
void CheckPlainSize(const Recipe& recipe, const CRect& region, Problems& found)
{
    if (recipe.GetKind() == Kind_Binarise)
        CheckSide("region's width", region.Width(), nStripWidth + 1, "one block and the column behind it", found);
    else
    {
        CheckSide("region's width", region.Width(), recipe.averageBackground, "average.background", found);
        CheckSide("region's height", region.Height(), recipe.averageBackground, "average.background", found);
    }
}

void CheckSize(const Recipe& recipe, const CRect& region, int imageWidth, int imageHeight, Problems& found)
{
    const Kind kind = recipe.GetKind();
    if (kind == Kind_Binarise || kind == Kind_Average)
    {
        CheckPlainSize(recipe, region, found);
        return;
    }
    const Direction direction = ResolveDirection(recipe, region);
    const auto checkPitch = [&](const char* axis, double real, int multiple, int room, const char* what)
    {
        if (real * dPitchesInRegion > room)
            found.push_back(
                {std::string("pitch.") + axis,
                 FormatNumber(real / multiple) +
                     (multiple == 1 ? ""
                                    : " (times multiple." + std::string(axis) + ", " + std::to_string(multiple) + ")"),
                 "at most " + FormatNumber(std::floor(room / dPitchesInRegion / multiple * 1000.0) / 1000.0) +
                     " pixels, a third of the " + what + " of " + std::to_string(room)});
    };
    if (direction == Direction_Vertical)
        checkPitch("y", recipe.RealPitchY(), recipe.multipleY, region.Height(), "region's height");
    else
        checkPitch("x", recipe.RealPitchX(), recipe.multipleX, region.Width(), "region's width");
    // The engine wants this in both directions.
    if (direction == Direction_Vertical)
        checkPitch("x", recipe.RealPitchX(), recipe.multipleX, imageWidth, "image's width");

    const auto checkSide = [&](const char* field, int value, int wanted, const std::string& why)
    { CheckSide(field, value, wanted, why, found); };
    const int along = direction == Direction_Vertical ? region.Height() : region.Width();
    if (recipe.twicePitch * dPitchesInRegion > along)
        found.push_back({"twice.pitch", FormatNumber(recipe.twicePitch),
                         "at most " + FormatNumber(std::floor(along / dPitchesInRegion * 1000.0) / 1000.0) +
                             " pixels, a third of the region's " +
                             (direction == Direction_Vertical ? "height" : "width") + " of " + std::to_string(along)});
    const int reach = direction == Direction_Horizontal ? static_cast<int>(recipe.RealPitchX()) : 0;
    checkSide("region's width", region.Width(), nStripWidth + reach,
              reach == 0 ? "one strip" : "one strip and the compare distance");
    checkSide("region's width", region.Width(), 3 * recipe.windowWidth, "three times window.width");
    checkSide("region's height", region.Height(), 2 * recipe.windowHeight, "twice window.height");
    checkSide("image's height", imageHeight, 2 * recipe.windowHeight, "twice window.height");

    if (recipe.maps != nullptr && (recipe.maps->Width() != region.Width() || recipe.maps->Height() != region.Height()))
        found.push_back(
            {"maps", std::to_string(recipe.maps->Width()) + " by " + std::to_string(recipe.maps->Height()) + " pixels",
             std::to_string(region.Width()) + " by " + std::to_string(region.Height()) +
                 " pixels, the size of the region"});
    if (kind == Kind_Zone && direction == Direction_Horizontal && recipe.maxReruns > 0 && recipe.maps == nullptr)
        if (const int rows = OriginTable::RowsFor(CellOf(recipe), region); rows > nGridRowLimit)
            found.push_back({"zones.multiple.y",
                             std::to_string(recipe.zoneMultipleY) + " (" + std::to_string(rows) + " grid rows)",
                             "enough periods for at most " + std::to_string(nGridRowLimit) +
                                 " grid rows where re-runs are allowed"});
    CheckOptions(recipe, direction, found);
}

} // namespace

std::vector<Problem> CheckRecipe(const Recipe& recipe)
{
    Problems found;
    const bool zoned = (SetOf(recipe.GetKind()) & (SetOf(Kind_Zone) | SetOf(Kind_Asg))) != 0;
    CheckRanges(RecipeFields(), recipe.GetKind(), recipe, "", found);
    const bool measurable = found.empty();
    CheckShape(recipe, found);
    CheckStructured(recipe, found);
    CheckLists(recipe, found);
    CheckDependents(recipe, found);
    if (recipe.maps != nullptr && recipe.GetKind() != Kind_Zone)
        found.push_back({"maps", "given", "none in " + std::string(KindName(recipe.GetKind()))});
    else if (measurable && zoned)
        CheckZones(recipe, found);
    if (measurable && !recipe.autoDirection)
        CheckOptions(recipe, static_cast<Direction>(recipe.direction), found);
    return found;
}

std::vector<Problem> CheckRecipeForImage(const Recipe& recipe, int width, int height)
{
    Problems found;
    if (recipe.regionShape != RegionShape_Rectangle)
        CheckCorners(recipe, width, height, found);
    else if (recipe.region)
        CheckInside("region", *recipe.region, width, height, found);
    const bool measurable = found.empty() && CheckRecipe(recipe).empty();
    if (recipe.marginFrame)
        CheckInside("margin_frame", *recipe.marginFrame, width, height, found);
    for (std::size_t i = 0; i < recipe.deadZones.size(); ++i)
        CheckInside("dead_zones[" + std::to_string(i) + "]", recipe.deadZones[i], width, height, found);
    CheckTableLength("tables.scan_pitch", recipe.scanPitches, height, found);
    CheckTableLength("tables.conv_pitch", recipe.convPitches, width, found);
    CheckTableLength("tables.scan_tilt", recipe.scanTilts, height, found);
    CheckTableLength("tables.row_pitch", recipe.rowPitches, height, found);
    CheckTableLength("tables.column_pitch", recipe.columnPitches, width, found);
    if (!recipe.deadImage.IsEmpty() && (recipe.deadImage.Width() < width || recipe.deadImage.Height() < height))
        found.push_back(
            {"dead_image",
             std::to_string(recipe.deadImage.Width()) + " by " + std::to_string(recipe.deadImage.Height()) + " pixels",
             "at least " + std::to_string(width) + " by " + std::to_string(height) + " pixels, the size of the image"});
    if (measurable)
        CheckSize(recipe, RegionOf(recipe, width, height), width, height, found);
    return found;
}

CRect RegionOf(const Recipe& recipe, int width, int height)
{
    if (recipe.regionShape == RegionShape_Rectangle)
        return recipe.region.value_or(CRect(0, 0, width, height));
    std::vector<CPoint> points = recipe.regionPoints;
    if (recipe.regionShape == RegionShape_Trapezium)
    {
        points.clear();
        for (const CTrapezium& trapezium : TrapeziaOf(recipe))
            for (const CPoint& corner : CornersOf(trapezium))
                points.push_back(corner);
    }
    return BoundsOf(points);
}

Direction ResolveDirection(const Recipe& recipe, const CRect& region)
{
    if (recipe.GetKind() == Kind_Binarise || recipe.GetKind() == Kind_Average)
        return Direction_Horizontal;
    const bool horizontalFits = recipe.RealPitchX() * dPitchesInRegion <= region.Width();
    const bool verticalFits = recipe.RealPitchY() * dPitchesInRegion <= region.Height();
    if (recipe.autoDirection && recipe.direction == Direction_Horizontal && !horizontalFits && verticalFits)
        return Direction_Vertical;
    if (recipe.autoDirection && recipe.direction == Direction_Vertical && !verticalFits && horizontalFits)
        return Direction_Horizontal;
    return static_cast<Direction>(recipe.direction);
}

std::vector<CTrapezium> TrapeziaOf(const Recipe& recipe)
{
    return CutTrapezia(WithoutNeedlessCorners(recipe.regionPoints), recipe.regionColumns,
                       static_cast<Direction>(recipe.direction));
}

CellGeometry CellOf(const Recipe& recipe)
{
    return {recipe.CellWidth(), recipe.CellHeight(), recipe.zoneOriginX, recipe.zoneOriginY};
}

} // namespace narvo
