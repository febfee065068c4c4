// SPDX-License-Identifier: MIT
// What a recipe says of the camera: features by their GenICam names. An inspection does not read it; what opens a
// camera does.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace narvo
{

/// A value as JSON has it; a whole number also sets a feature that takes fractions.
using CameraValue = std::variant<bool, std::int64_t, double, std::string>;

struct CameraFeature
{
    std::string name; ///< as the camera's description has it, "ExposureTime"
    CameraValue value;

    bool operator==(const CameraFeature& other) const = default;
};

/// What is asked of a camera and of the way from it.
struct CameraSettings
{
    int buffers = 8;                     ///< frames that may be on their way
    int framePause = 200;                ///< milliseconds without a packet after which a frame is incomplete
    std::vector<CameraFeature> features; ///< in the order in which they are set

    bool operator==(const CameraSettings& other) const = default;
};

} // namespace narvo
