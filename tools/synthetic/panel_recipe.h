// SPDX-License-Identifier: MIT
// The recipe that finds a panel's defects.
#pragma once

#include "tools/synthetic/panel.h"
#include "tools/synthetic/panel_pattern.h"

namespace narvo::tools
{

/// Zones by how well a comparison can do at a place of the cell, thresholds by the noise that is left there.
Recipe MakeRecipe(const PanelPlan& plan, const FinePeriod& period);

} // namespace narvo::tools
