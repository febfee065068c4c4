// SPDX-License-Identifier: MIT
// Timing: the sides of a comparison run in turn in one process, and each side's best time counts, so that a ratio does
// not depend on other load of the machine.
#pragma once

#include <functional>
#include <vector>

namespace bench
{

using Action = std::function<void()>;

/// Seconds on the monotonic clock.
double Now();

/// Runs all actions in turn, once uncounted and then nRounds times, each nRepeat times within a round.
/// @return the best time of each, seconds per single run
std::vector<double> TimeInterleaved(const std::vector<Action>& actions, int nRounds, int nRepeat = 1);

} // namespace bench
