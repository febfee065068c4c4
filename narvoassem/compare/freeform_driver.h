// SPDX-License-Identifier: MIT
// The free-form inspection as a comparison runs it.
#pragma once

class CNarvoAssem;

namespace narvo::engine
{

/// As CNarvoAssem::Inspect_FreeFormMask.
int InspectFreeFormMask(CNarvoAssem& engine, int& nEndLine);

} // namespace narvo::engine
