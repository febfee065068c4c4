// SPDX-License-Identifier: MIT
// Which kernel a set of options selects, and which options it reads, as the engine's own tables say.
#pragma once

#include "host/inspection_kind.h"
#include "narvoassem/trace/trace.h"

namespace narvo
{

/// The kernel of a kind of recipe in a settled direction.
engine::CSelectedKernel ChooseKernel(Kind kind, Direction direction, engine::COptionSet options);

} // namespace narvo
