// SPDX-License-Identifier: MIT
// When an image fails: rules over its blobs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "host/inspect/batch.h"

namespace narvo::tools
{

enum Polarity : int
{
    Polarity_Any,
    Polarity_Bright,
    Polarity_Dark
};

/// An image fails where more blobs than allowed meet all conditions.
struct FailRule
{
    std::string text; ///< as given
    int polarity = Polarity_Any;
    int label = -1;            ///< the recipe's label; -1: any
    int leastArea = 0;         ///< pixels
    double leastLength = 0.0;  ///< of the major axis, pixels
    int leastPeak = 0;         ///< grey levels above the threshold
    double mostBlobs = 0.0;    ///< allowed
    double mostDensity = -1.0; ///< allowed blobs for each square metre, in place of mostBlobs; below 0: not given
};

/// Rules of a run. Without any, one blob is enough to fail.
struct FailRules
{
    std::vector<FailRule> rules;
    double pixelWidth = 0.0; ///< micrometres; 0: not given
    double pixelHeight = 0.0;
};

/// Reads "dark,area>=50,count>3": conditions with commas between. `field` is named in problems.
/// @throws HostError naming what is wrong and what there is
FailRule ParseFailRule(const std::string& text, const std::string& field);

/// Reads "10.5x10.5" into the pixel's sides. @throws HostError
void ParsePixelSize(const std::string& text, FailRules& rules, const std::string& field);

/// Adds the rules of a JSON file, {"version": 1, "pixel_size": "10x10", "fail": ["dark,area>=50"]}.
/// @throws HostError with what is wrong
void LoadFailRules(const std::filesystem::path& file, FailRules& rules);

/// @throws HostError where a density is asked for without the size of a pixel
void CheckFailRules(const FailRules& rules);

/// The texts of the rules by which the image fails.
std::vector<std::string> FailedRules(const FailRules& rules, const ImageResult& result);

} // namespace narvo::tools
