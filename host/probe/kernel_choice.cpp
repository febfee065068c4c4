// SPDX-License-Identifier: MIT
// The kernel by the engine's tables.
#include "host/probe/kernel_choice.h"

#include "narvoassem/fast/float/float_table.h"
#include "narvoassem/fast/pixel/pixel_table.h"
#include "narvoassem/fast/zone/zone_table.h"

namespace narvo
{

ChosenKernel ChooseKernel(Kind kind, Direction direction, engine::COptionSet options)
{
    using enum engine::KernelOption;
    const bool vertical = direction == Direction_Vertical;
    const auto select = [](const auto& choices, engine::COptionSet given) -> ChosenKernel
    {
        const auto& choice = engine::SelectKernel(choices, given);
        return {choice.pWords, choice.needs | choice.reads};
    };
    switch (kind)
    {
    case Kind_Zone:
        return select(engine::GetZoneChoices(vertical), options);
    case Kind_Asg:
        return select(engine::GetAsgZoneChoices(vertical), options);
    case Kind_Pixel:
        return select(engine::GetPixelChoices(vertical), options);
    case Kind_Float:
        // Flagged float comparisons are those of free-form regions, a kind of their own.
        return select(engine::GetFloatChoices(vertical), options.Without(Flagged));
    case Kind_FreeForm:
        return select(engine::GetFloatChoices(true), Flagged);
    case Kind_Trapezium:
        return {"trapezium", {}};
    default:
        return {"only", Window6 | Window9};
    }
}

} // namespace narvo
