// The engine's own guard behind its parameter checks: nothing that a parameter block says may make a comparison read
// or write outside what the host gave.
#pragma once

#include "narvoassem/compare/comparison.h"
#include "narvoassem/pairstorage.h"

namespace narvo::engine
{

/// Whether the stores that a comparison writes to have memory.
bool HasStores(const CPairStorage& store);

/// Whether a comparison, which is not None, reads nothing that the block does not give it:
/// - the region lies inside the image, an empty one too, and one that is not empty has an image; so do the corners of a
///   trapezium as far as its direction reads them;
/// - the real pitch compared along is finite, within dPitchLimit and not negative; the one across is finite and within
///   the limit where something reads it: a cross filter, or the vertical trapezium;
/// - what selects a table kernel comes with all its tables; map lines and grid rows do not run backward;
/// - the grid walk, which steps once per row at a cell height below 1, stays in a grid of unknown length.
bool IsInBounds(const CConvParam& param, Comparison eComparison);

/// Both, for the engine's own parameters. A region without comparison always passes.
/// @return 1 or 8
int CheckBounds(const CPairStorage& store, Comparison eComparison);

} // namespace narvo::engine
