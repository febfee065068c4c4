// SPDX-License-Identifier: MIT
// The measurement of golden inspection on a folder of true pairs: how many of the true defects are found, and how many
// blobs are false.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "host/golden/golden_model.h"

namespace narvo::tools
{

struct ScoreOptions
{
    std::filesystem::path folder; ///< pairs NAME_temp.* and NAME_test.* with true boxes in NAME.txt: left top right
                                  ///< bottom kind, one a line
    int displacement = 0;         ///< pixels up to which the images are moved at random, along x and along y
    std::uint64_t seed = 1;       ///< of the moves
    bool crossCheck = false;      ///< choose settings on each half of the pairs and measure them on the other
};

constexpr int nDisplacementHigh = 64;

/// Measures and prints a line for each pair and the totals. @return exit code
int RunGoldenScore(const ScoreOptions& options, const GoldenSettings& settings, bool quiet);

} // namespace narvo::tools
