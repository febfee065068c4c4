// SPDX-License-Identifier: MIT
// How far an image differs from what a reference shows under a map: one gain for the whole image, an offset for each of
// its blocks, so that a change of light is none of the pattern; and the robust loss of what is left.
#pragma once

#include <vector>

#include "host/golden/edge_points.h"

namespace narvo
{

/// Share that a difference counts with: one that is many times what is common hardly does, as defects are.
inline double RobustWeight(double difference, double scale)
{
    const double ratio = difference / scale;
    return 1.0 / (1.0 + ratio * ratio);
}

/// Light and differences of one look.
struct Differences
{
    double gain = 1.0;
    std::vector<double> offsets;   ///< one for each block
    double scale = 1.0;            ///< of common differences, grey levels: where the weight falls to a half
    std::vector<float> difference; ///< image less gain * reference, less the block's offset; 0 outside
};

/// Gain by the spread of both, offsets by the blocks' medians, for a look that need not fit yet.
void StartLight(const EdgePoints& points, const PointLook& look, Differences& differences);

/// Offsets by the blocks' medians under the gain that is set.
void StartOffsets(const EdgePoints& points, const PointLook& look, Differences& differences);

/// Differences under the light that is set, and their scale.
void Differ(const EdgePoints& points, const PointLook& look, Differences& differences);

/// Offsets that make the blocks' weighted mean differences 0, where gain and map are set.
void CentreOffsets(const EdgePoints& points, const PointLook& look, Differences& differences);

/// The points under a map, and what it leaves over.
struct PointFit
{
    PointLook look;
    Differences differences;
};

/// Standard errors by which a richer map must be better.
constexpr double dProof = 3.0;

/// Whether the losses of an image's parts fall from the simple to the rich by more than `proof` standard errors of
/// their scatter.
bool IsImprovement(const std::vector<double>& simple, const std::vector<double>& rich, double proof);

/// Whether the rich map leaves less over than the simple one at the points that both have inside, by more than `proof`
/// standard errors of the blocks' scatter. `half`: 0 or 1 for the points of one colour of the chequerboard, anything
/// else for all.
bool Explains(const EdgePoints& points, const PointFit& simple, const PointFit& rich, double proof = dProof,
              int half = -1);

} // namespace narvo
