// SPDX-License-Identifier: MIT
// Which kernel the settings of a recipe select, and which settings that kernel reads: nothing that is set may be
// silently ignored.
#include <string>

#include "host/probe/kernel_choice.h"
#include "host/recipe/recipe_rules.h"
#include "host/zones/region_maps.h"

namespace narvo
{

namespace
{

/// The field of an option, and how to say that it is set and that it is not.
struct OptionName
{
    engine::KernelOption option;
    const char* field;
    const char* given;
    const char* neutral;
};

constexpr OptionName optionNames[] = {
    {engine::KernelOption::ConvPitches, "tables.conv_pitch", "given", "left out"},
    {engine::KernelOption::ScanPitches, "tables.scan_pitch", "given", "left out"},
    {engine::KernelOption::Extended, "kernel.extended", "true", "false"},
    {engine::KernelOption::CrossShift, "kernel.cross_shift", "nonzero", "0"},
    {engine::KernelOption::NoLineBuffer, "kernel.line_buffer", "false", "true"},
    {engine::KernelOption::TwoSegment, "kernel.two_segment", "true", "false"},
    {engine::KernelOption::Flagged, "zones.skip", "given", "left out"},
    {engine::KernelOption::Average, "kernel.average_2by2", "true", "false"},
    {engine::KernelOption::ZoneTables, "kernel.zone_tables", "true", "false"},
    {engine::KernelOption::SecondSet, "kernel.dark_base", "above 0", "0"},
    {engine::KernelOption::ClassPitch, "kernel.class_pitch", "nonzero", "0"},
    {engine::KernelOption::ClassIds, "zones.class_image", "given", "left out"},
    {engine::KernelOption::DeadZones, "dead_zones", "given", "left out"},
    {engine::KernelOption::Twice, "twice.pitch", "nonzero", "0"},
    {engine::KernelOption::NoSingles, "keep_singles", "false", "true"},
    {engine::KernelOption::Window6, "window", "area of 6 pixels", "2 by 2 pixels"},
    {engine::KernelOption::Window9, "window", "3 by 3 pixels", "2 by 2 pixels"},
};

engine::COptionSet OptionsOf(const Recipe& recipe)
{
    using enum engine::KernelOption;
    const auto set = [](engine::KernelOption option, bool given)
    { return given ? engine::COptionSet(option) : engine::COptionSet(); };
    const int area = HasZones(recipe) ? 0 : recipe.windowWidth * recipe.windowHeight;
    const bool classIds =
        !recipe.classImage.IsEmpty() || (recipe.maps != nullptr && recipe.maps->IsSet(RegionMaps::Map_Class));
    return set(ConvPitches, !recipe.convPitches.empty()) | set(ScanPitches, !recipe.scanPitches.empty()) |
           set(Extended, recipe.extendedKernel) | set(CrossShift, recipe.crossShift != 0.0) |
           set(NoLineBuffer, !recipe.lineBuffer) | set(TwoSegment, recipe.twoSegment) |
           set(Flagged, !recipe.skippedCells.empty()) | set(Average, recipe.average2by2) |
           set(ZoneTables, recipe.zoneTables) | set(SecondSet, recipe.darkFilterBase > 0) |
           set(ClassPitch, recipe.classPitch != 0.0) | set(ClassIds, classIds) |
           set(DeadZones, !recipe.deadZones.empty()) | set(Twice, recipe.twicePitch != 0.0) |
           set(NoSingles, !recipe.keepSingles) | set(Window6, area == 6) | set(Window9, area == 9) |
           set(LargerWindow, area == 6 || area == 9);
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
    const engine::COptionSet given = OptionsOf(recipe).Without(
        verified ? engine::COptionSet(engine::KernelOption::ConvPitches) : engine::COptionSet());
    const engine::CSelectedKernel chosen = ChooseKernel(recipe.GetKind(), direction, given);
    const engine::COptionSet ignored = given.Without(chosen.uses);
    for (const OptionName& name : optionNames)
        if (ignored.Has(name.option))
            AddOnce({name.field, name.given,
                     std::string(name.neutral) + ", since the other settings select the " + chosen.pWords +
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
    if (recipe.GetKind() == Kind_Float && given.Has(engine::KernelOption::Window9) &&
        GreyLimitOf(recipe) > nGreyLimitOf9)
        found.push_back({"grey_limit", std::to_string(recipe.greyLimit),
                         "at most " + std::to_string(nGreyLimitOf9) + " where the window is 3 by 3 pixels, or 255"});
    if (recipe.GetKind() == Kind_Asg && direction == Direction_Horizontal && recipe.zoneMultipleX != recipe.multipleX)
        found.push_back({"zones.multiple.x", std::to_string(recipe.zoneMultipleX),
                         std::to_string(recipe.multipleX) +
                             ", as multiple.x: horizontal cells of asg mode are as wide as the compare distance"});
}

} // namespace narvo
