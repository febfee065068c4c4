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
///
/// Smallest and largest address of each reader, as tests/proof/address_formulas.inc spells them out and
/// scripts/prove-addresses proves them inside for all blocks that pass:
/// - pixels and window sums: 0 .. width * height - 1, since rows are taken from the nearest row of the image and flat
///   addresses end at its first and last byte (image_read.h). Four rows are read at once where the first and the last
///   of them lie inside, each with its 1 pixel more for means, or 2 for windows;
/// - pitches by row: entries top / 16 .. (bottom - 2 - whole pitch - 1) / 16 of (height + 15) / 16;
/// - displacements by column: entries left & ~15 .. right - 16 & ~15 of width; weights: up to 7 more of those of a
///   whole block of 16;
/// - pitches of trapezia: entries x / 16, or y / 16 up to the last one, from the first side on; filters: of the nearest
/// place in the image;
/// - grids: in cells without width one step for each 16 columns, otherwise as far as the cells of a regular grid lie;
///   where origins lie in other places, and for the maps below them, the host is answerable.
CRefusals FindOutOfBounds(const CConvParam& param, Comparison eComparison);

/// Whether an engine has its stores and its parameters are in bounds. A region without comparison always passes.
/// @return 1 or 8
int CheckBounds(const CPairStorage& store, Comparison eComparison);

} // namespace narvo::engine
