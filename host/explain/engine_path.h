// The way of an inspection through the engine, as far as its explanation depends on it.
#pragma once

#include "host/recipe/recipe.h"

namespace narvo
{

struct EnginePath
{
    Kind kind = Kind_Zone;
    Direction direction = Direction_Vertical;
    bool twice = false; ///< two passes at two pitches

    bool IsAsg() const { return kind == Kind_Asg; }
    /// Whether one of the kernels for rectangles compares at a pitch.
    bool RunsRectangleKernel() const
    {
        return kind == Kind_Zone || kind == Kind_Pixel || kind == Kind_Float || kind == Kind_Asg;
    }
    bool IsVertical() const { return direction == Direction_Vertical && RunsRectangleKernel(); }
    /// Paths whose steps can be run one by one; the others are told by their records and results.
    bool IsStaged() const { return kind != Kind_Trapezium && !twice; }
};

} // namespace narvo
