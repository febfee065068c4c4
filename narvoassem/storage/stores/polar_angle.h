// SPDX-License-Identifier: MIT
// The direction of a point, the same to the bit on every processor.
#pragma once

namespace narvo::engine
{

/// The angle of (dX, dY) against the x axis, radians of -pi .. pi; 0 for the origin. At most 0.501 units in the last
/// place off the true value. Both numbers are finite and below 2^900.
double PolarAngle(double dY, double dX);

} // namespace narvo::engine
