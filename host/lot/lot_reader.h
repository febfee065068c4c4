// SPDX-License-Identifier: MIT
// A lot from the runs of a result store.
#pragma once

#include <string>
#include <vector>

#include "host/lot/lot_builder.h"
#include "host/lot/lot_records.h"
#include "host/store/result_store.h"

namespace narvo
{

struct LotChoice
{
    std::vector<std::string> runs; ///< names; empty: the latest run
    bool all = false;              ///< every run that the latest run's recipe made
};

/// Images of several runs follow each other in the order in which the runs began.
/// @throws HostError where the store has no such run, runs were made by different recipes, or the lot is too large;
/// otherwise as ResultStore
Lot ReadLot(ResultStore& store, const LotChoice& choice);

/// The same, for more images to follow.
LotBuilder ReadLotImages(ResultStore& store, const LotChoice& choice);

} // namespace narvo
