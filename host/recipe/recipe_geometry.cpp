// SPDX-License-Identifier: MIT
// What follows from a recipe's numbers: the region, the direction, the trapezia, the zone cell.
#include "host/recipe/recipe_check.h"
#include "host/recipe/recipe_rules.h"
#include "host/recipe/region_shape.h"

namespace narvo
{

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
    if (!recipe.ComparesAtAPitch())
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
