// SPDX-License-Identifier: MIT
// Tests and charts together.
#include "host/lot/lot_statistics.h"

#include <algorithm>

#include "host/limits.h"
#include "host/problem.h"

namespace narvo
{

std::size_t LotStatistics::Found() const
{
    std::size_t found = 0;
    for (const LotTest& test : tests)
        found += test.found;
    return found;
}

std::size_t LotStatistics::Changes() const
{
    return static_cast<std::size_t>(std::count_if(
        charts.begin(), charts.end(), [&](const LotChart& chart) { return chart.chance <= settings.risk; }));
}

void CheckLotSettings(const LotSettings& settings)
{
    std::vector<Problem> found = CheckPlaceSettings(settings);
    if (settings.baseline == 1 || settings.baseline > nLotImageLimit)
        found.push_back({"baseline", std::to_string(settings.baseline),
                         "2 to " + std::to_string(nLotImageLimit) + " images, or 0: all"});
    ThrowIfAny(std::move(found));
}

LotStatistics MakeLotStatistics(const Lot& lot, const LotSettings& settings)
{
    CheckLotSettings(settings);
    LotStatistics statistics;
    statistics.settings = settings;
    statistics.images = lot.images.size();
    for (const LotImage& image : lot.images)
    {
        statistics.refused += image.refused ? 1U : 0U;
        statistics.comparable += image.comparable ? 1U : 0U;
        statistics.defects += image.defects;
    }
    statistics.tests = TestLotPlaces(lot, settings);
    statistics.charts = ChartLot(lot, settings.baseline);
    return statistics;
}

} // namespace narvo
