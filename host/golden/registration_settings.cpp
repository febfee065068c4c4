// SPDX-License-Identifier: MIT
// Ranges of the registration's settings.
#include "host/golden/registration_settings.h"

#include <string>

namespace narvo
{

namespace
{

std::string Range(double low, double high, const char* unit)
{
    return FormatNumber(low) + " to " + FormatNumber(high) + " " + unit;
}

} // namespace

std::vector<Problem> CheckRegistrationSettings(const RegistrationSettings& settings)
{
    std::vector<Problem> found;
    const auto check = [&](const char* field, double value, double high, const char* unit)
    {
        if (!(value >= 0.0 && value <= high))
            found.push_back({field, FormatNumber(value), Range(0.0, high, unit)});
    };
    check("max_shift", settings.maxShift, dMaxShiftHigh, "pixels");
    check("max_rotation", settings.maxRotation, dMaxRotationHigh, "degrees");
    check("max_scale", settings.maxScale, dMaxScaleHigh, "percent");
    if (!(settings.minCorrelation >= 0.0 && settings.minCorrelation <= 1.0))
        found.push_back({"min_correlation", FormatNumber(settings.minCorrelation), "0 to 1"});
    if (settings.meshSpacing != 0 &&
        (settings.meshSpacing < nMeshSpacingLow || settings.meshSpacing > nMeshSpacingHigh))
        found.push_back({"mesh_spacing", std::to_string(settings.meshSpacing),
                         Range(nMeshSpacingLow, nMeshSpacingHigh, "pixels, or 0 for no mesh")});
    return found;
}

} // namespace narvo
