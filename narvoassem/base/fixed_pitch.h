// SPDX-License-Identifier: MIT
// Conversion of the parameter block's real pitches to the integers that kernels take. Which kernel takes which form
// is defined in the compare drivers.
#pragma once

#include "narvoassem/base/truncate.h"

namespace narvo::engine
{

/// Pitches that the engine passes on, in pixels: their 1/16 form and sums with it fit an int.
inline constexpr double dPitchLimit = 67108864.0;

/// True when dPitch lies within the limit; false for a NaN.
inline bool IsPitchUsable(double dPitch)
{
    return dPitch >= -dPitchLimit && dPitch <= dPitchLimit;
}

/// 1/16 pixel, truncated: zone and pixel comparisons.
inline int ToPitch16(double dPitch)
{
    return TruncateToInt(dPitch * 16.0);
}

/// 1/16 pixel with 0.5 added before truncating: float and trapezium comparisons.
inline int ToRoundedPitch16(double dPitch)
{
    return TruncateToInt(dPitch * 16.0 + 0.5);
}

/// Shift along x in 1/16 pixel, truncated. A shift beyond the limit, which fits no image, and a NaN count as none.
inline int ToShift16(float fPitch)
{
    return IsPitchUsable(fPitch) ? static_cast<int>(fPitch * 16.0F) : 0;
}

} // namespace narvo::engine
