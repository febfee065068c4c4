// SPDX-License-Identifier: MIT
// The global part of a registration's map as numbers that a fit moves: shift, rotation, scales, shear, and the step at
// a seam.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "host/golden/registration_map.h"
#include "host/golden/registration_settings.h"

namespace narvo
{

/// What a fit moves. All in pixels: what is no shift, as the displacement that it makes at half the image's diagonal
/// from the centre.
enum MapTerm : int
{
    MapTerm_ShiftX,
    MapTerm_ShiftY,
    MapTerm_Rotation,
    MapTerm_ScaleX,
    MapTerm_ScaleY,
    MapTerm_Shear,
    MapTerm_SeamX,
    MapTerm_SeamY,
    nMapTerms
};

using MapTerms = std::array<double, nMapTerms>;

/// What the terms may be.
struct MapLimits
{
    MapTerms low{};
    MapTerms high{};
};

struct GlobalMap
{
    double centreX = 0.0; ///< of the image
    double centreY = 0.0;
    double radius = 1.0; ///< half the image's diagonal
    MapTerms terms{};
    std::optional<Seam> seam; ///< its line; the step is among the terms

    AffineMap Affine() const;
    /// With the step filled in.
    std::optional<Seam> SeamWithStep() const;
};

/// The displacements that a map's terms cause per unit, along x and y, at places of the image.
class MapDerivatives
{
public:
    explicit MapDerivatives(const GlobalMap& map);
    void At(double x, double y, MapTerms& alongX, MapTerms& alongY) const
    {
        const double u = x - m_map.centreX;
        const double v = y - m_map.centreY;
        const double behind = m_map.seam && m_map.seam->IsBehind(x, y) ? 1.0 : 0.0;
        alongX = {1.0,    0.0, m_turn[0] * u + m_turn[1] * v, m_cos * u, -m_sin * v, 0.5 * (m_cos * v - m_sin * u),
                  behind, 0.0};
        alongY = {0.0, 1.0,   m_turn[2] * u + m_turn[3] * v, m_sin * u, m_cos * v, 0.5 * (m_sin * v + m_cos * u),
                  0.0, behind};
    }

private:
    GlobalMap m_map;
    double m_cos; ///< over the radius
    double m_sin;
    std::array<double, 4> m_turn; ///< of the rotation
};

/// Places in the reference by a map and its seam, for many pixels.
class SteppedMap
{
public:
    explicit SteppedMap(const GlobalMap& map) : m_affine(map.Affine()), m_seam(map.SeamWithStep()) {}

    RealPoint At(double x, double y) const
    {
        const RealPoint place = Apply(m_affine, x, y);
        return m_seam && m_seam->IsBehind(x, y) ? RealPoint{place.x + m_seam->step.x, place.y + m_seam->step.y} : place;
    }

private:
    AffineMap m_affine;
    std::optional<Seam> m_seam;
};

GlobalMap MakeGlobalMap(int width, int height);

/// The limits that the settings set for a reference of another size than the image: the smaller one may lie anywhere
/// within the larger, and beyond it by the largest shift, as far as both keep three quarters of the shorter side.
MapLimits MakeLimits(const GlobalMap& map, int width, int height, int referenceWidth, int referenceHeight,
                     const RegistrationSettings& settings);

/// The directions in which a fit of that model may go within the limits, each a combination of terms.
std::vector<MapTerms> Directions(Registration::Model model, bool seam, const MapLimits& limits);

/// The terms that the model has, those of a simpler one at their simplest.
MapTerms Restrict(const MapTerms& terms, Registration::Model model, bool seam);

/// @return whether a term was beyond its limit
bool Clamp(MapTerms& terms, const MapLimits& limits);

} // namespace narvo
