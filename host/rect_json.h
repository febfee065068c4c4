// SPDX-License-Identifier: MIT
// Rectangles in the JSON forms.
#pragma once

#include <nlohmann/json.hpp>

#include "narvoassem/platform.h"

namespace narvo
{

inline nlohmann::ordered_json RectToJson(const CRect& rect)
{
    return {{"left", rect.left}, {"top", rect.top}, {"right", rect.right}, {"bottom", rect.bottom}};
}

} // namespace narvo
