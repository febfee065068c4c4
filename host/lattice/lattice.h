// SPDX-License-Identifier: MIT
// A lattice: the displacements at which a pattern repeats. Two vectors span it, which need not be at right angles, or
// one where the pattern repeats along one direction only.
#pragma once

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

namespace narvo
{

struct LatticeVector
{
    double x = 0.0; ///< pixels, to the right
    double y = 0.0; ///< pixels, down
    double Length() const { return std::hypot(x, y); }
};

struct Lattice
{
    std::vector<LatticeVector> vectors; ///< one or two
};

/// A whole number of each vector.
struct LatticeStep
{
    int a = 0;
    int b = 0; ///< 0 in a lattice of one vector
};

LatticeVector DisplacementOf(const Lattice& lattice, const LatticeStep& step);

/// Share of the rectangle over two vectors in the area that they span: 0 where they lie in one line, 1 at right angles.
double AngleShare(const LatticeVector& a, const LatticeVector& b);

/// The same lattice by its shortest vectors. The first points down, or to the right.
Lattice Reduced(const Lattice& lattice);

/// Steps to the points of a lattice by its shortest vectors, the origin left out, nearest first; those of equal
/// distance in a fixed order. Points beyond `width` along x or `height` along y are left out.
std::vector<LatticeStep> NearestSteps(const Lattice& lattice, std::size_t count, double width, double height);

/// "(0, 264.1)", "(13.2, 0.4) and (6.5, 11.3)", pixels.
std::string LatticeText(const Lattice& lattice);

} // namespace narvo
