// SPDX-License-Identifier: MIT
// What lattice mode is set by, and the ranges.
#pragma once

namespace narvo
{

/// What becomes of the lattice neighbours of a pixel.
enum LatticeJoin : int
{
    LatticeJoin_Median = 0,
    LatticeJoin_TrimmedMean = 1 ///< mean without the lowest and the highest quarter
};

constexpr double dLatticeVectorHigh = 16384.0;
constexpr int nLatticeNeighboursHigh = 32;
constexpr int nLatticeStripLow = 16;
/// Shortest side of a region in lattice mode, pixels.
constexpr int nLatticeSideLow = 32;
/// Shortest vector, pixels.
constexpr double dLatticeVectorLow = 3.0;
constexpr int nLatticeFlattenLow = 9;
constexpr int nLatticeSlackHigh = 16;
constexpr double dLatticeToleranceHigh = 16.0;

} // namespace narvo
