// SPDX-License-Identifier: MIT
// Normal equations of a fit to points whose blocks have offsets of their own: sums block by block, from which offsets
// and gain are eliminated.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "host/golden/global_map.h"

namespace narvo
{

constexpr int nUnknowns = nMapTerms + 1; ///< the map's terms and the gain

/// Sums of one group of points. Triangular matrices row by row from the diagonal on.
struct NormalSums
{
    static constexpr int nTriangle = nUnknowns * (nUnknowns + 1) / 2;

    double weight = 0.0;
    double difference = 0.0;
    std::array<double, nUnknowns> derivative{};
    std::array<double, nUnknowns> score{}; ///< derivative times difference
    std::array<double, nTriangle> square{};

    void Add(const NormalSums& other);
    /// Takes the group's own offset out of score and square.
    void EliminateOffset();
    /// Where `square` holds the product of two unknowns, in either order.
    static std::size_t Place(int i, int j);
    double Square(int i, int j) const { return square[Place(i, j)]; }
};

/// One step: what the directions' amounts should change by.
struct NormalStep
{
    MapTerms change{};
    double gain = 0.0;
    double explained = 0.0; ///< fall of the sum of squares that the linear model promises
};

/// Solves for the amounts of the directions and the gain. A combination of directions whose standard error, from the
/// scatter of the blocks' scores and at least from `noise` (grey levels), is above `error` pixels is undetermined: it
/// goes back by `away`, its distance from the simplest.
NormalStep SolveStep(const std::vector<NormalSums>& blocks, const std::vector<MapTerms>& directions,
                     const MapTerms& away, double noise, double error);

} // namespace narvo
