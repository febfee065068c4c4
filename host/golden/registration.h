// Registration: where in a reference every pixel of an image lies, to a fraction of a pixel. The global part is in
// registration.cpp, the local rest in mesh_fit.h.
#pragma once

#include <array>
#include <vector>

#include "host/image/grey_image.h"
#include "host/problem.h"
#include "narvoassem/platform.h"

namespace narvo
{

/// How far an image may lie from its reference, and how alike both must be.
struct RegistrationSettings
{
    double maxShift = 32.0;      ///< pixels along x and along y, of the image's centre
    double maxRotation = 1.0;    ///< degrees
    double maxScale = 2.0;       ///< percent, of scale along x and along y and of shear
    int meshSpacing = 64;        ///< pixels between the nodes of the local correction; 0: none
    double minCorrelation = 0.7; ///< of image and registered reference; its square is the share of the image's variance
                                 ///< that the reference explains
};

constexpr double dMaxShiftHigh = 1024.0;
/// A shift is at most the image's shorter side over this.
constexpr double dMaxShiftShare = 4.0;
constexpr double dMaxRotationHigh = 10.0;
constexpr double dMaxScaleHigh = 10.0;
constexpr int nMeshSpacingLow = 16;
constexpr int nMeshSpacingHigh = 1024;
/// Shortest side of an image that can be registered, pixels.
constexpr int nRegistrationSide = 64;

/// What is wrong with the settings themselves.
std::vector<Problem> CheckRegistrationSettings(const RegistrationSettings& settings);

/// A point with fractions of a pixel; whole numbers are centres of pixels.
struct RealPoint
{
    double x;
    double y;
};

/// Local corrections on a grid of nodes, in pixels of the reference, bilinear in between.
struct OffsetMesh
{
    int spacing = 0; ///< pixels of the image between nodes, the first at pixel 0, 0; 0: no mesh
    int columns = 0;
    int rows = 0;
    std::vector<float> x; ///< row by row
    std::vector<float> y;

    RealPoint At(double px, double py) const;
};

/// How an image lies on its reference.
struct Registration
{
    /// Row by row: the reference's x is [0] x + [1] y + [2] of the image's x and y, its y the same with [3] to [5].
    std::array<double, 6> affine = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0};
    OffsetMesh mesh;

    // What that means for the pattern as the image shows it, against the reference.
    double shiftX = 0.0;   ///< pixels, at the image's centre, the mesh left out
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

/// @throws HostError naming `field` unless the picture is large enough and has structure to register by
void CheckRegistrable(const char* field, const GreyImage& picture);

/// Registers an image to a reference; their sizes may differ by the largest shift.
/// @throws HostError when settings or sizes are out of range, when a picture has no structure to register by, or when
/// the image cannot be found within the settings' limits
Registration RegisterImage(const GreyImage& reference, const GreyImage& image, const RegistrationSettings& settings);

/// `source`, which lies as the reference does, as the registered image would show it; `width` by `height` pixels. What
/// lies outside of it repeats its border.
GreyImage WarpToImage(const GreyImage& source, const Registration& registration, int width, int height);

/// 255 for each pixel of a registered image of that size whose centre lies in `area` of the reference, 0 elsewhere.
GreyImage InsideReference(const Registration& registration, int width, int height, const CRect& area);

} // namespace narvo
