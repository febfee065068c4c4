// SPDX-License-Identifier: MIT
// The comparison of a kind of recipe.
#include "host/probe/kernel_choice.h"

namespace narvo
{

engine::CSelectedKernel ChooseKernel(Kind kind, Direction direction, engine::COptionSet options)
{
    using enum engine::KernelOption;
    using engine::Comparison;
    using engine::TraceSelection;
    const bool vertical = direction == Direction_Vertical;
    switch (kind)
    {
    case Kind_Zone:
        return TraceSelection(Comparison::Zone, vertical, options);
    case Kind_Asg:
        return TraceSelection(Comparison::AsgZone, vertical, options);
    case Kind_Pixel:
        return TraceSelection(Comparison::Pixel, vertical, options);
    case Kind_Float:
        // Flagged float comparisons are those of free-form regions, a kind of their own.
        return TraceSelection(Comparison::Float, vertical, options.Without(Flagged));
    case Kind_FreeForm:
        return TraceSelection(Comparison::Float, true, Flagged);
    case Kind_Trapezium:
        return {"trapezium", {}};
    default:
        return {"only", Window6 | Window9};
    }
}

} // namespace narvo
