// The rules of a valid recipe.
#include "host/recipe_check.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <string>

#include "host/recipe_fields.h"
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

using Problems = std::vector<Problem>;

std::string Range(double low, double high, const char* unit)
{
    return FormatNumber(low) + " to " + FormatNumber(high) + " " + unit;
}

std::string RectText(const CRect& rect)
{
    return std::to_string(rect.left) + ", " + std::to_string(rect.top) + " to " + std::to_string(rect.right) + ", " +
           std::to_string(rect.bottom);
}

template <typename Owner>
void CheckRanges(std::span<const Field<Owner>> fields, const Owner& owner, const std::string& prefix, Problems& found)
{
    for (const Field<Owner>& field : fields)
        if (!IsInRange(field, owner))
            found.push_back({prefix + std::string(field.path), ValueText(field, owner), AllowedText(field)});
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
    Option_DeadZones = 1U << 12
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
};

unsigned OptionsOf(const Recipe& recipe)
{
    const auto bit = [](Option option, bool given) { return given ? static_cast<unsigned>(option) : 0U; };
    return bit(Option_ConvPitches, !recipe.convPitches.empty()) | bit(Option_ScanPitches, !recipe.scanPitches.empty()) |
           bit(Option_Extended, recipe.extendedKernel) | bit(Option_CrossShift, recipe.crossShift != 0.0) |
           bit(Option_NoLineBuffer, !recipe.lineBuffer) | bit(Option_TwoSegment, recipe.twoSegment) |
           bit(Option_Skip, !recipe.skippedCells.empty()) | bit(Option_Average, recipe.average2by2) |
           bit(Option_ZoneTables, recipe.zoneTables) | bit(Option_DarkFilter, recipe.darkFilterBase > 0) |
           bit(Option_ClassPitch, recipe.classPitch != 0.0) | bit(Option_ClassImage, !recipe.classImage.IsEmpty()) |
           bit(Option_DeadZones, !recipe.deadZones.empty());
}

struct KernelChoice
{
    unsigned needs; ///< options that select the kernel, on top of the choices above it
    unsigned reads; ///< further options that it reads
    const char* name;
};

// In the engine's own order of decision.
constexpr KernelChoice horizontalChoices[] = {
    {Option_ConvPitches, 0, "horizontal table"},
    {0, 0, "horizontal"},
};
constexpr KernelChoice verticalChoices[] = {
    {Option_ScanPitches | Option_Extended, Option_ClassImage, "extended row table"},
    {Option_ScanPitches, Option_CrossShift, "row table"},
    {Option_CrossShift | Option_Extended, Option_DeadZones, "extended cross shift"},
    {Option_CrossShift, 0, "cross shift"},
    {Option_NoLineBuffer, 0, "direct"},
    {Option_TwoSegment, 0, "two-segment"},
    {Option_Skip, Option_Average, "skipping"},
    {Option_Average, 0, "2 by 2 mean"},
    {Option_Extended | Option_ZoneTables, Option_DeadZones, "zone table"},
    {Option_Extended | Option_DarkFilter, Option_DeadZones, "dark filter"},
    {Option_Extended | Option_ClassPitch, 0, "extended real-pitch"},
    {Option_Extended, 0, "extended"},
    {0, 0, "plain vertical"},
};

void CheckOptions(const Recipe& recipe, Direction direction, Problems& found)
{
    const unsigned given = OptionsOf(recipe);
    const auto choices = direction == Direction_Vertical ? std::span<const KernelChoice>(verticalChoices)
                                                         : std::span<const KernelChoice>(horizontalChoices);
    const auto chosen =
        std::find_if(choices.begin(), choices.end(),
                     [&](const KernelChoice& choice) { return (choice.needs & given) == choice.needs; });
    const unsigned ignored = given & ~(chosen->needs | chosen->reads);
    for (const OptionName& name : optionNames)
        if ((ignored & name.option) != 0)
            found.push_back({name.field, name.given,
                             std::string(name.neutral) + ", since the other settings select the " + chosen->name +
                                 " kernel, which does not read it"});
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

void CheckZones(const Recipe& recipe, Problems& found)
{
    std::set<int> seen;
    for (std::size_t i = 0; i < recipe.zones.size(); ++i)
    {
        const ZoneSettings& zone = recipe.zones[i];
        const std::string prefix = "zones.list[" + std::to_string(i) + "].";
        CheckRanges(ZoneFields(), zone, prefix, found);
        if (!seen.insert(zone.index).second)
            found.push_back({prefix + "index", std::to_string(zone.index), "each zone once"});
        if (zone.index == 0 && zone.darkGreyLimit != 0)
            found.push_back({prefix + "dark_grey_limit", std::to_string(zone.darkGreyLimit),
                             "0 in zone 0, which has no grey limits"});
        if (zone.index == 0 && zone.brightMinDifference != 0)
            found.push_back({prefix + "bright_min_difference", std::to_string(zone.brightMinDifference),
                             "0 in zone 0, which has no grey limits"});
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

void CheckSize(const Recipe& recipe, const CRect& region, int imageWidth, int imageHeight, Problems& found)
{
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
    {
        if (value < wanted)
            found.push_back(
                {field, std::to_string(value) + " pixels", "at least " + std::to_string(wanted) + " pixels, " + why});
    };
    const int reach = direction == Direction_Horizontal ? static_cast<int>(recipe.RealPitchX()) : 0;
    checkSide("region's width", region.Width(), nStripWidth + reach,
              reach == 0 ? "one strip" : "one strip and the compare distance");
    checkSide("region's width", region.Width(), 3 * recipe.windowWidth, "three times window.width");
    checkSide("region's height", region.Height(), 2 * recipe.windowHeight, "twice window.height");
    checkSide("image's height", imageHeight, 2 * recipe.windowHeight, "twice window.height");

    const CellGeometry cell = CellOf(recipe);
    const int rows = OriginTable::RowsFor(cell, region);
    if (direction == Direction_Horizontal && recipe.maxReruns > 0 && rows > nGridRowLimit)
        found.push_back(
            {"zones.multiple.y", std::to_string(recipe.zoneMultipleY) + " (" + std::to_string(rows) + " grid rows)",
             "enough periods for at most " + std::to_string(nGridRowLimit) + " grid rows where re-runs are allowed"});
    CheckOptions(recipe, direction, found);
}

} // namespace

std::vector<Problem> CheckRecipe(const Recipe& recipe)
{
    Problems found;
    CheckRanges(RecipeFields(), recipe, "", found);
    const bool measurable = found.empty();
    CheckLists(recipe, found);
    if (measurable)
        CheckZones(recipe, found);
    if (measurable && !recipe.autoDirection)
        CheckOptions(recipe, static_cast<Direction>(recipe.direction), found);
    return found;
}

std::vector<Problem> CheckRecipeForImage(const Recipe& recipe, int width, int height)
{
    Problems found;
    if (recipe.region)
        CheckInside("region", *recipe.region, width, height, found);
    const bool measurable = found.empty() && CheckRecipe(recipe).empty();
    if (recipe.marginFrame)
        CheckInside("margin_frame", *recipe.marginFrame, width, height, found);
    for (std::size_t i = 0; i < recipe.deadZones.size(); ++i)
        CheckInside("dead_zones[" + std::to_string(i) + "]", recipe.deadZones[i], width, height, found);
    CheckTableLength("tables.scan_pitch", recipe.scanPitches, height, found);
    CheckTableLength("tables.conv_pitch", recipe.convPitches, width, found);
    if (measurable)
        CheckSize(recipe, RegionOf(recipe, width, height), width, height, found);
    return found;
}

CRect RegionOf(const Recipe& recipe, int width, int height)
{
    return recipe.region.value_or(CRect(0, 0, width, height));
}

Direction ResolveDirection(const Recipe& recipe, const CRect& region)
{
    const bool horizontalFits = recipe.RealPitchX() * dPitchesInRegion <= region.Width();
    const bool verticalFits = recipe.RealPitchY() * dPitchesInRegion <= region.Height();
    if (recipe.autoDirection && recipe.direction == Direction_Horizontal && !horizontalFits && verticalFits)
        return Direction_Vertical;
    if (recipe.autoDirection && recipe.direction == Direction_Vertical && !verticalFits && horizontalFits)
        return Direction_Horizontal;
    return static_cast<Direction>(recipe.direction);
}

CellGeometry CellOf(const Recipe& recipe)
{
    return {recipe.CellWidth(), recipe.CellHeight(), recipe.zoneOriginX, recipe.zoneOriginY};
}

} // namespace narvo
