// SPDX-License-Identifier: MIT
// What an engineer sets for a registration, and the ranges of it.
#pragma once

#include <vector>

#include "host/problem.h"

namespace narvo
{

/// How far an image may lie from its reference, and how alike both must be. The limits bound the fit: 0 means that
/// there is none of it.
struct RegistrationSettings
{
    double maxShift = 32.0;      ///< pixels along x and along y, of the image's centre
    double maxRotation = 1.0;    ///< degrees
    double maxScale = 2.0;       ///< percent, of scale along x and along y and of shear
    int meshSpacing = 64;        ///< pixels between the nodes of the local correction; 0: none
    double minCorrelation = 0.7; ///< of image and registered reference; its square is the share of the image's variance
                                 ///< that the reference explains

    bool operator==(const RegistrationSettings& other) const = default;
};

constexpr double dMaxShiftHigh = 1024.0;
constexpr double dMaxRotationHigh = 10.0;
constexpr double dMaxScaleHigh = 10.0;
constexpr int nMeshSpacingLow = 16;
constexpr int nMeshSpacingHigh = 1024;
/// Shortest side of an image that can be registered, pixels.
constexpr int nRegistrationSide = 64;

/// What is wrong with the settings themselves.
std::vector<Problem> CheckRegistrationSettings(const RegistrationSettings& settings);

} // namespace narvo
