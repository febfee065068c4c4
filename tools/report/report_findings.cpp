// SPDX-License-Identifier: MIT
// From finds to rows.
#include "tools/report/report_findings.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include "host/counted.h"
#include "host/foreign_text.h"

namespace narvo::tools
{

std::vector<ReportFinding> FindingsOf(const Lot& lot, const LotStatistics& statistics)
{
    constexpr std::size_t nOfKind = 100;
    static const std::array<const char*, nLotTests> kinds = {"place", "column", "row", "area", "place in the cell"};
    std::vector<ReportFinding> findings;
    for (const LotTest& test : statistics.tests)
        for (std::size_t i = 0; i < std::min(nOfKind, test.places.size()); ++i)
        {
            const LotPlace& place = test.places[i];
            const std::string images = Counted(place.images, "image");
            findings.push_back({kinds.at(static_cast<std::size_t>(test.kind)), LotPlaceText(lot, test.kind, place),
                                test.kind == LotTest_Cell ? Counted(place.cells, "cell") + " in " + images : images,
                                LotFigure(place.expected), place.chance});
        }
    for (const LotChart& chart : statistics.charts)
        if (chart.chance <= statistics.settings.risk)
            findings.push_back({"change of " + chart.name, Printable(lot.images[chart.first[chart.change.point]].name),
                                "from " + LotFigure(chart.change.before) + " to " + LotFigure(chart.change.after), "",
                                chart.chance});
    return findings;
}

} // namespace narvo::tools
