// SPDX-License-Identifier: MIT
// What holds of a store wherever it is: checks on a place that is empty before.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/store/result_store.h"

namespace narvo::test
{

/// All images of a run, in its order.
std::vector<StoredImage> ImagesOf(ResultStore& store, std::int64_t run);

/// Images of seeds from `first` on.
std::vector<StoredImage> RandomImages(std::uint64_t first, std::size_t count, int mostBlobs = 40);

void CheckRoundTrip(const std::string& place);
void CheckRuns(const std::string& place);
void CheckReplacing(const std::string& place);
void CheckVerdicts(const std::string& place);
/// Writers that are killed at random moments, `kills` times or a share of these; each goes on in the same run.
void CheckKills(const std::string& place, int kills);
void CheckTwoWriters(const std::string& place);

} // namespace narvo::test
