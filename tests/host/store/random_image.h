// SPDX-License-Identifier: MIT
// Results of images that never were, equal for equal seeds.
#pragma once

#include <cstdint>
#include <string>

#include "host/store/store_records.h"

namespace narvo::test
{

/// Numbers of their full range, names and texts of any bytes; about half of the values are extreme ones.
StoredImage RandomImage(std::uint64_t seed, int mostBlobs = 40);

/// All that a store keeps of it as text, to compare by; what is no number reads "nan".
std::string Described(const StoredImage& image);

/// Run and recipe with any bytes.
RunDescription RandomRun(std::uint64_t seed);

} // namespace narvo::test
