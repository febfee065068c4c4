// SPDX-License-Identifier: MIT
// The path that a recipe takes.
#include "host/recipe/recipe.h"

namespace narvo
{

Kind KindOf(int mode, int regionShape)
{
    switch (mode)
    {
    case Mode_Pixel:
        return Kind_Pixel;
    case Mode_Float:
        return regionShape == RegionShape_Trapezium ? Kind_Trapezium
               : regionShape == RegionShape_Polygon ? Kind_FreeForm
                                                    : Kind_Float;
    case Mode_Binarise:
        return Kind_Binarise;
    case Mode_Average:
        return Kind_Average;
    case Mode_Asg:
        return Kind_Asg;
    case Mode_Texture:
        return Kind_Texture;
    case Mode_Lattice:
        return Kind_Lattice;
    default:
        return Kind_Zone;
    }
}

} // namespace narvo
