// SPDX-License-Identifier: MIT
// The kinds of inspection, and their directions: what recipes and the choice of a kernel both name.
#pragma once

namespace narvo
{

/// The engine's path that a recipe takes: its mode, and in float mode the region's shape.
enum Kind : int
{
    Kind_Zone,
    Kind_Pixel,
    Kind_Float,
    Kind_Trapezium,
    Kind_FreeForm,
    Kind_Binarise,
    Kind_Average,
    Kind_Asg,
    Kind_Texture,
    Kind_Lattice
};

enum Direction : int
{
    Direction_Horizontal = 0, ///< a pixel is compared with the one a pitch to its right
    Direction_Vertical = 1    ///< a pixel is compared with the one a pitch below
};

} // namespace narvo
