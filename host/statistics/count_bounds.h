// SPDX-License-Identifier: MIT
// How large a mean or a share may be, by what was counted; how probable a count is.
#pragma once

#include <cstddef>

namespace narvo
{

/// The largest mean number of events that still gives `events` or fewer with probability 0.05: the upper bound of a
/// Poisson mean at 95 % confidence.
double PoissonBound(std::size_t events);

/// The smallest share that still gives `found` or more of `trials` with probability 0.05: the lower bound of Clopper
/// and Pearson at 95 % confidence. 0 where none was found.
double LowerShareBound(std::size_t found, std::size_t trials);

/// The largest share that still gives none in `trials` with probability 0.05; 1 without a trial.
double ShareBoundOfNone(std::size_t trials);

/// The probability of `found` or more of `trials`, each with probability `share`, 0 to 1.
double BinomialTail(std::size_t found, std::size_t trials, double share);

} // namespace narvo
