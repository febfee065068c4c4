// SPDX-License-Identifier: MIT
// Lots of images that never were: defects by chance, and what tests plant among them.
#pragma once

#include <cstdint>

#include "host/lot/lot_records.h"
#include "host/statistics/mixed_numbers.h"

namespace narvo::test
{

struct MadeUpLot
{
    int images = 100;
    double defects = 10.0; ///< mean of an image
    int width = 2000;
    int height = 1500;
    double pitchX = 40.125;
    double pitchY = 52.3;
    std::uint64_t seed = 1;
};

/// 0 to below 1.
double Uniform(MixedNumbers& numbers);
/// Number of events by chance, of a mean up to some hundreds.
int PoissonNumber(MixedNumbers& numbers, double mean);
/// Of mean 0 and standard deviation 1.
double NormalNumber(MixedNumbers& numbers);

/// One region of the whole image, whose defects lie anywhere, independently.
Lot MakeUp(const MadeUpLot& made);

/// Adds a defect to one image, keeping the order of images.
void Plant(Lot& lot, std::uint32_t image, int x, int y);
/// Puts defects into the order of images, as a lot has them; once all are planted.
void Order(Lot& lot);

} // namespace narvo::test
