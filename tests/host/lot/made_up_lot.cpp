// SPDX-License-Identifier: MIT
// Defects from numbers that are the same everywhere.
#include "host/lot/made_up_lot.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace narvo::test
{

double Uniform(MixedNumbers& numbers)
{
    return static_cast<double>(numbers.Next() >> 11U) * 0x1p-53;
}

int PoissonNumber(MixedNumbers& numbers, double mean)
{
    int events = 0;
    for (double product = Uniform(numbers); product > std::exp(-mean); product *= Uniform(numbers))
        ++events;
    return events;
}

double NormalNumber(MixedNumbers& numbers)
{
    constexpr double dTwoPi = 6.283185307179586;
    const double radius = std::sqrt(-2.0 * std::log(1.0 - Uniform(numbers)));
    return radius * std::cos(dTwoPi * Uniform(numbers));
}

Lot MakeUp(const MadeUpLot& made)
{
    MixedNumbers numbers(made.seed);
    Lot lot;
    lot.store = "made up";
    lot.runs = {"run"};
    LotRegion& region = lot.regions.emplace_back();
    region.box = CRect(0, 0, made.width, made.height);
    region.area = static_cast<double>(made.width) * made.height;
    region.cell = PatternCell{{{{made.pitchX, 0.0}, {0.0, made.pitchY}}}, 3.0, 5.0};
    for (int i = 0; i < made.images; ++i)
    {
        LotImage& image = lot.images.emplace_back();
        image.name = "image " + std::to_string(i);
        image.comparable = true;
        image.area = region.area;
        const int count = PoissonNumber(numbers, made.defects);
        for (int k = 0; k < count; ++k)
            Plant(lot, static_cast<std::uint32_t>(i), static_cast<int>(Uniform(numbers) * made.width),
                  static_cast<int>(Uniform(numbers) * made.height));
    }
    return lot;
}

void Plant(Lot& lot, std::uint32_t image, int x, int y)
{
    lot.defects.push_back({image, 0, x, y});
    ++lot.images[image].defects;
}

void Order(Lot& lot)
{
    std::stable_sort(lot.defects.begin(), lot.defects.end(),
                     [](const LotDefect& one, const LotDefect& other) { return one.image < other.image; });
}

} // namespace narvo::test
