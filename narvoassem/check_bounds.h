// The engine's own guard behind its parameter checks: nothing that a parameter block says may make a comparison read
// or write outside what the host gave.
#pragma once

#include "narvoassem/comparison.h"
#include "narvoassem/pairstorage.h"

namespace narvo
{

/// Tests that a comparison can run on the engine's parameters and stores:
/// - the stores have memory;
/// - the region lies inside the image, an empty one too, and one that is not empty has an image; so do the corners of a
///   trapezium as far as its direction reads them;
/// - real pitches are finite and within dPitchLimit, and the one compared along is not negative;
/// - what selects a table kernel comes with all its tables; map lines and grid rows do not run backward;
/// - the grid walk, which steps once per row at a cell height below 1, stays in a grid of unknown length.
/// A region without comparison always passes.
/// @return 1 or 8
int CheckBounds(const CPairStorage& store, Comparison eComparison);

} // namespace narvo
