// SPDX-License-Identifier: MIT
// Which kernel a set of options selects, and which options it reads, as the engine's own tables say.
#pragma once

#include "host/inspection_kind.h"
#include "narvoassem/fast/call/kernel_table.h"

namespace narvo
{

struct ChosenKernel
{
    const char* words;       ///< "row table"
    engine::COptionSet uses; ///< what selects it, and what else it reads
};

/// The kernel of a kind of recipe in a settled direction.
ChosenKernel ChooseKernel(Kind kind, Direction direction, engine::COptionSet options);

} // namespace narvo
