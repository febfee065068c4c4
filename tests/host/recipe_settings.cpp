// SPDX-License-Identifier: MIT
// See recipe_settings.h.
#include "host/recipe_settings.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace narvo::test
{

namespace
{

struct Setting
{
    const char* name;
    void (*give)(Recipe&);
};

const Setting settings[] = {
    {"tables.conv_pitch", [](Recipe& recipe) { recipe.convPitches.assign(25, 20.5); }},
    {"tables.scan_pitch", [](Recipe& recipe) { recipe.scanPitches.assign(19, 30.25); }},
    {"kernel.extended", [](Recipe& recipe) { recipe.extendedKernel = true; }},
    {"kernel.cross_shift", [](Recipe& recipe) { recipe.crossShift = 0.25; }},
    {"kernel.line_buffer", [](Recipe& recipe) { recipe.lineBuffer = false; }},
    {"kernel.two_segment", [](Recipe& recipe) { recipe.twoSegment = true; }},
    {"zones.skip",
     [](Recipe& recipe)
     {
         recipe.skippedCells = {{0, 0}};
         recipe.maxReruns = 0;
         recipe.bandSplit = false;
     }},
    {"kernel.average_2by2", [](Recipe& recipe) { recipe.average2by2 = true; }},
    {"kernel.zone_tables", [](Recipe& recipe) { recipe.zoneTables = true; }},
    {"kernel.dark_base", [](Recipe& recipe) { recipe.darkFilterBase = 5; }},
    {"kernel.class_pitch", [](Recipe& recipe) { recipe.classPitch = 30.25; }},
    {"zones.class_image", [](Recipe& recipe) { recipe.classImage = GreyImage(21, 31); }},
    {"dead_zones", [](Recipe& recipe) { recipe.deadZones = {CRect(0, 0, 5, 5)}; }},
    {"twice.pitch", [](Recipe& recipe) { recipe.twicePitch = 60.5; }},
    {"keep_singles", [](Recipe& recipe) { recipe.keepSingles = false; }},
    {"window",
     [](Recipe& recipe)
     {
         recipe.windowWidth = recipe.direction == Direction_Vertical ? 2 : 3;
         recipe.windowHeight = recipe.direction == Direction_Vertical ? 3 : 2;
     }},
    {"window 3 by 3",
     [](Recipe& recipe)
     {
         recipe.windowWidth = 3;
         recipe.windowHeight = 3;
         recipe.greyLimit = 227;
     }},
    {"polygon",
     [](Recipe& recipe)
     {
         recipe.regionShape = RegionShape_Polygon;
         recipe.regionPoints = {{0, 0}, {400, 0}, {200, 300}};
     }},
    {"trapezium",
     [](Recipe& recipe)
     {
         recipe.regionShape = RegionShape_Trapezium;
         recipe.regionPoints = {{0, 0}, {400, 0}, {200, 300}};
     }},
};

} // namespace

void GiveSettings(Recipe& recipe, SettingNames names)
{
    for (const std::string_view name : names)
    {
        const auto* const found = std::find_if(std::begin(settings), std::end(settings),
                                               [name](const Setting& setting) { return setting.name == name; });
        if (found == std::end(settings))
            throw std::out_of_range("no setting " + std::string(name));
        found->give(recipe);
    }
}

} // namespace narvo::test
