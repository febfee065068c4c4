// SPDX-License-Identifier: MIT
// The engine's bounds checks, made after its parameter checks: no parameter block may make a comparison read or write
// outside the host's memory.
#pragma once

#include "narvoassem/compare/comparison.h"
#include "narvoassem/engine/refusal.h"
#include "narvoassem/pairstorage.h"

namespace narvo::engine
{

/// Whether the stores that a comparison writes to have memory.
bool HasStores(const CPairStorage& store);

/// Where a comparison would read what the block does not provide. It does not where
/// - the region lies inside the image, even an empty one, and one that is not empty has an image; the corners of a
///   trapezium lie inside it as far as its direction reads them;
/// - the real pitch compared along is finite, within dPitchLimit and not negative; the one across is finite and within
///   the limit where something reads it: a cross filter, or the vertical trapezium;
/// - what selects a table kernel comes with all its tables; map lines and grid rows do not run backward;
/// - the grid walk, which steps once per row at a cell height below 1, stays in a grid of unknown length.
/// None reads nothing.
CRefusals FindOutOfBounds(const CConvParam& param, Comparison eComparison);

/// Whether an engine has its stores and its parameters are in bounds. A region without comparison always passes.
/// @return 1 or 8
int CheckBounds(const CPairStorage& store, Comparison eComparison);

} // namespace narvo::engine
