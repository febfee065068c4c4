// SPDX-License-Identifier: MIT
// A folder of image pairs with true boxes: NAME_temp.*, NAME_test.* and NAME.txt.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/golden/registration.h"
#include "host/image/grey_image.h"
#include "tools/truth/truth.h"

namespace narvo::tools
{

/// A pair's files.
struct PairFiles
{
    std::string name;
    std::filesystem::path reference;
    std::filesystem::path image;
    int moveX = 0;
    int moveY = 0;
};

struct TruePair
{
    std::string name;
    GreyImage reference;
    GreyImage image;
    std::vector<TruthDefect> truth; ///< that lie, by half of their box or more, where both pictures are
    int cutOff = 0;                 ///< the others
    int moveX = 0;
    int moveY = 0;
    std::optional<Registration> registration;
};

/// All pairs of a folder by name, each with a random move of up to `displacement` pixels along x and y.
/// @throws HostError when there are none
std::vector<PairFiles> ListPairs(const std::filesystem::path& folder, int displacement, std::uint64_t seed);

/// The pair with its move. @throws HostError naming the file that cannot be read
TruePair LoadPair(const PairFiles& files);

} // namespace narvo::tools
