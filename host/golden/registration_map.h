// SPDX-License-Identifier: MIT
// The map of a registration: from each place of an image to its place in the reference.
#pragma once

#include <array>
#include <optional>
#include <vector>

namespace narvo
{

/// A point with fractions of a pixel; whole numbers are centres of pixels.
struct RealPoint
{
    double x = 0.0;
    double y = 0.0;
};

/// Row by row: the reference's x is [0] x + [1] y + [2] of the image's x and y, its y the same with [3] to [5].
using AffineMap = std::array<double, 6>;

/// Local corrections on a grid of nodes, in pixels of the reference, bilinear in between.
struct OffsetMesh
{
    int spacing = 0; ///< pixels of the image between nodes, the first at pixel 0, 0; 0: no mesh
    int columns = 0;
    int rows = 0;
    std::vector<float> x; ///< row by row
    std::vector<float> y;

    bool IsEmpty() const { return spacing == 0; }
    RealPoint At(double px, double py) const;
};

/// A straight line through the whole image, behind which the pattern lies elsewhere: two exposures that do not meet.
struct Seam
{
    bool vertical = true; ///< the pixels from column `place` on are displaced; false: from row `place` on
    int place = 0;
    RealPoint step; ///< pixels of the reference

    bool IsBehind(double x, double y) const { return (vertical ? x : y) >= place; }
};

/// How an image lies on its reference.
struct Registration
{
    AffineMap affine = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0};
    OffsetMesh mesh;
    std::optional<Seam> seam;

    /// The simplest kind of map that explains what the image shows, the mesh and the seam aside.
    enum Model : int
    {
        Model_Shift,
        Model_Rigid,
        Model_Similarity,
        Model_Affine
    };
    Model model = Model_Shift;
    /// A limit of the settings holds the map back: the image may lie beyond it.
    bool atLimit = false;

    // What that means for the pattern as the image shows it, against the reference.
    double shiftX = 0.0;   ///< pixels, at the image's centre, mesh and seam left out
    double shiftY = 0.0;   ///< pixels
    double rotation = 0.0; ///< degrees, clockwise on the screen
    double scaleX = 1.0;
    double scaleY = 1.0;
    double shear = 0.0;        ///< degrees missing to a right angle
    double largestLocal = 0.0; ///< pixels, longest correction of the mesh
    double correlation = 0.0;  ///< of image and registered reference over what both show
    double overlap = 0.0;      ///< share of the image whose place lies inside the reference
    /// Least root mean square gradient over the greatest of all directions, 0 .. 1: near 0 the pattern does not change
    /// along one direction, and the shift along it says nothing.
    double directions = 0.0;

    /// The place in the reference of a place in the image.
    RealPoint Map(double x, double y) const;
};

/// "shift", "rigid", "similarity" or "affine".
const char* ModelName(Registration::Model model);

RealPoint Apply(const AffineMap& affine, double x, double y);

/// Fills in the numbers for people, from the map of an image of that size.
void DescribeMap(int width, int height, Registration& registration);

} // namespace narvo
