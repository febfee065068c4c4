// SPDX-License-Identifier: MIT
// Complete validation of a recipe. What passes here keeps every promise that the engine relies on without checking it:
// the region lies inside the image, maps and tables cover all that a kernel may read, and no setting is silently
// ignored by the kernel that the others select.
#pragma once

#include <vector>

#include "host/problem.h"
#include "host/recipe/checked_recipe.h"
#include "host/recipe/recipe.h"
#include "host/zones/zone_tables.h"
#include "narvoassem/padpoligon.h"

namespace narvo
{

/// Ranges of all fields and rules between them; all that can be said without an image.
std::vector<Problem> CheckRecipe(const Recipe& recipe);

/// What an image of this size adds: region, dead zones, room for three pitches, length of tables.
std::vector<Problem> CheckRecipeForImage(const CheckedRecipe& recipe, int width, int height);

/// The region that an image of this size is inspected over; of shapes, the bounds.
CRect RegionOf(const Recipe& recipe, int width, int height);

/// The direction that the engine will take over a region, auto_direction considered; modes without a comparison at a
/// pitch go down the rows, as horizontal ones do.
Direction ResolveDirection(const Recipe& recipe, const CRect& region);

/// The trapezia that a region of that shape is cut into, in the form of the recipe's direction.
std::vector<CTrapezium> TrapeziaOf(const Recipe& recipe);

/// The zone cell that the recipe describes.
CellGeometry CellOf(const Recipe& recipe);

} // namespace narvo
