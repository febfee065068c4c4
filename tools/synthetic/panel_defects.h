// SPDX-License-Identifier: MIT
// The panel's defects.
#pragma once

#include <vector>

#include "tools/synthetic/panel.h"
#include "tools/synthetic/panel_pattern.h"

namespace narvo::tools
{

/// Puts as many defects on the good pattern as the plan asks for and find room; the truth comes from top to bottom.
void AddDefects(const PanelPlan& plan, Canvas& canvas, std::vector<TruthDefect>& truth);

} // namespace narvo::tools
