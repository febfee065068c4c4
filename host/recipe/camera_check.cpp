// SPDX-License-Identifier: MIT
// The rules of the recipe's section `camera`: names that a camera may have, and values that it can be given.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

#include "host/limits.h"
#include "host/recipe/recipe_rules.h"

namespace narvo
{

namespace
{

constexpr std::size_t nCameraTextLimit = 1000; ///< bytes of a name or of a value

bool IsFeatureName(std::string_view name)
{
    const auto isLetter = [](char letter)
    { return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || letter == '_'; };
    return !name.empty() && name.size() <= nCameraTextLimit && isLetter(name.front()) &&
           std::all_of(name.begin(), name.end(),
                       [&](char letter) { return isLetter(letter) || (letter >= '0' && letter <= '9'); });
}

} // namespace

void CheckCamera(const Recipe& recipe, Problems& found)
{
    const std::string list = "camera.features";
    if (recipe.cameraFeatures.size() > nCameraFeatureLimit)
        found.push_back({list, std::to_string(recipe.cameraFeatures.size()) + " features",
                         "at most " + std::to_string(nCameraFeatureLimit) + " features"});
    for (std::size_t i = 0; i < std::min(recipe.cameraFeatures.size(), nCameraFeatureLimit); ++i)
    {
        const CameraFeature& feature = recipe.cameraFeatures[i];
        const std::string field = list + "[" + std::to_string(i) + "]";
        if (!IsFeatureName(feature.name))
            found.push_back({field, "\"" + feature.name + "\"",
                             "a feature's name: letters, digits and _, no digit first, at most " +
                                 std::to_string(nCameraTextLimit)});
        const auto* number = std::get_if<double>(&feature.value);
        const auto* text = std::get_if<std::string>(&feature.value);
        if (number != nullptr && !std::isfinite(*number))
            found.push_back({field + "." + feature.name, FormatNumber(*number), "a finite number"});
        if (text != nullptr && (text->size() > nCameraTextLimit || text->find('\0') != std::string::npos))
            found.push_back({field + "." + feature.name, std::to_string(text->size()) + " bytes",
                             "a text of at most " + std::to_string(nCameraTextLimit) + " bytes without a zero"});
    }
}

} // namespace narvo
