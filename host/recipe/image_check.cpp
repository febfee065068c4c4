// SPDX-License-Identifier: MIT
// What an image adds to the rules of a recipe: places inside it, room for the pitch and the windows, length of tables.
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "host/lattice/lattice.h"
#include "host/recipe/recipe_check.h"
#include "host/recipe/recipe_rules.h"
#include "host/zones/region_maps.h"

namespace narvo
{

namespace
{

constexpr int nStripWidth = 16;
constexpr int nGridRowLimit = 1996; // the search for a re-run's grid row goes no further

void CheckInside(const std::string& field, const CRect& rect, int width, int height, Problems& found)
{
    const auto check = [&](const char* side, int value, int low, int high)
    {
        if (value < low || value > high)
            found.push_back({field + side, std::to_string(value), RangeText(low, high, "pixels")});
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

void CheckTableLength(std::string_view field, const std::vector<double>& table, int pixels, Problems& found)
{
    const int wanted = (pixels + 15) / 16;
    if (!table.empty() && table.size() < static_cast<std::size_t>(wanted))
        found.push_back({std::string(field), std::to_string(table.size()) + " entries",
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
    if (recipe.GetKind() == Kind_Texture)
    {
        CheckSide("region's width", region.Width(), nTextureSideLow, "the least of texture mode", found);
        CheckSide("region's height", region.Height(), nTextureSideLow, "the least of texture mode", found);
    }
    else if (recipe.GetKind() == Kind_Lattice)
    {
        CheckSide("region's width", region.Width(), nLatticeSideLow, "the least of lattice mode", found);
        CheckSide("region's height", region.Height(), nLatticeSideLow, "the least of lattice mode", found);
        const auto checkVector = [&](const char* field, const LatticeVector& vector)
        {
            if (std::abs(vector.x) >= region.Width())
                found.push_back({std::string(field) + ".x", FormatNumber(vector.x),
                                 "less than the region's width, " + std::to_string(region.Width()) + " pixels"});
            if (std::abs(vector.y) >= region.Height())
                found.push_back({std::string(field) + ".y", FormatNumber(vector.y),
                                 "less than the region's height, " + std::to_string(region.Height()) + " pixels"});
        };
        checkVector("lattice.a", {recipe.latticeAX, recipe.latticeAY});
        checkVector("lattice.b", {recipe.latticeBX, recipe.latticeBY});
    }
    else if (recipe.GetKind() == Kind_Binarise)
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
    if (!recipe.ComparesAtAPitch())
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
    CheckKernel(recipe, direction, found);
}

} // namespace
std::vector<Problem> CheckRecipeForImage(const CheckedRecipe& checked, int width, int height)
{
    const Recipe& recipe = checked;
    Problems found;
    if (recipe.regionShape != RegionShape_Rectangle)
        CheckCorners(recipe, width, height, found);
    else if (recipe.region)
        CheckInside("region", *recipe.region, width, height, found);
    const bool measurable = found.empty();
    if (recipe.marginFrame)
        CheckInside("margin_frame", *recipe.marginFrame, width, height, found);
    for (std::size_t i = 0; i < recipe.deadZones.size(); ++i)
        CheckInside("dead_zones[" + std::to_string(i) + "]", recipe.deadZones[i], width, height, found);
    for (const TableField& table : TableFields())
        CheckTableLength(table.path, recipe.*table.member, table.byRows ? height : width, found);
    if (!recipe.deadImage.IsEmpty() && (recipe.deadImage.Width() < width || recipe.deadImage.Height() < height))
        found.push_back(
            {"dead_image",
             std::to_string(recipe.deadImage.Width()) + " by " + std::to_string(recipe.deadImage.Height()) + " pixels",
             "at least " + std::to_string(width) + " by " + std::to_string(height) + " pixels, the size of the image"});
    if (measurable)
        CheckSize(recipe, RegionOf(recipe, width, height), width, height, found);
    return found;
}

} // namespace narvo
