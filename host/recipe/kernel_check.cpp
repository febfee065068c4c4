// Which kernel the settings of a recipe select, and which settings that kernel reads: nothing that is set may be
// silently ignored.
#include <algorithm>
#include <span>
#include <string>

#include "host/inspect/region_maps.h"
#include "host/recipe/recipe_rules.h"

namespace narvo
{

namespace
{

constexpr int nGreyLimitOf9 = 227;

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
    const int area = HasZones(recipe) ? 0 : recipe.windowWidth * recipe.windowHeight;
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

} // namespace

void CheckKernel(const Recipe& recipe, Direction direction, Problems& found)
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

} // namespace narvo
