// SPDX-License-Identifier: MIT
// The engine's parameter checks as reasons; CheckParameter and CheckParameter_Vert are their public form.
#pragma once

#include "narvoassem/convparam.h"
#include "narvoassem/engine/refusal.h"

namespace narvo::engine
{

/// Why a block fails the parameter check of a direction.
CRefusals CheckFields(const CConvParam& param, bool bVertical);

} // namespace narvo::engine
