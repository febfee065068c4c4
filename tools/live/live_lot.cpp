// SPDX-License-Identifier: MIT
// What of a lot the page is told.
#include "tools/live/live_lot.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/file/name_text.h"
#include "host/lot/lot_statistics.h"
#include "tools/live/defect_map.h"

namespace narvo::tools
{

using nlohmann::ordered_json;

namespace
{

constexpr std::size_t nListedPlaces = 20;
constexpr std::size_t nListedPoints = 300;
constexpr std::size_t nListedAlarms = 50;

/// As many digits as a page shows.
double Short(double value)
{
    return std::strtod(LotFigure(value).c_str(), nullptr);
}

ordered_json ShortValues(const std::vector<double>& values, std::size_t skipped)
{
    ordered_json list = ordered_json::array();
    for (std::size_t i = skipped; i < values.size(); ++i)
        list.push_back(Short(values[i]));
    return list;
}

/// Middle of a place in the cell, as the map of the cell has places.
ordered_json PlaceInMap(const LiveSetup& setup, const Lot& lot, const LotPlace& place)
{
    const auto region = static_cast<std::size_t>(place.region);
    const auto& cell = lot.regions[region].cell;
    if (!cell || region >= setup.cells.size())
        return nullptr;
    const LatticeVector& a = cell->lattice.vectors.at(0);
    const LatticeVector& b = cell->lattice.vectors.at(1);
    const double u = 0.5 * (static_cast<double>(place.box.left) + place.box.right) / a.Length();
    const double v = 0.5 * (static_cast<double>(place.box.top) + place.box.bottom) / b.Length();
    const CellPlace at =
        PlaceInCell(setup.cells[region], cell->originX + u * a.x + v * b.x, cell->originY + u * a.y + v * b.y);
    return at.known ? ordered_json{Short(at.alongA), Short(at.alongB)} : ordered_json(nullptr);
}

ordered_json TestJson(const LiveSetup& setup, const Lot& lot, const LotTest& test)
{
    ordered_json places = ordered_json::array();
    for (std::size_t i = 0; i < std::min(nListedPlaces, test.places.size()); ++i)
    {
        const LotPlace& place = test.places[i];
        ordered_json one = {{"where", LotPlaceText(lot, test.kind, place)},
                            {"box", {place.box.left, place.box.top, place.box.right, place.box.bottom}},
                            {"images", place.images},
                            {"cells", place.cells},
                            {"expected", Short(place.expected)},
                            {"probability", Short(place.chance)},
                            {"first", NameToText(lot.images[place.first].name)},
                            {"last", NameToText(lot.images[place.last].name)}};
        if (test.kind == LotTest_Cell)
            one["in_cell"] = PlaceInMap(setup, lot, place);
        places.push_back(std::move(one));
    }
    ordered_json notes = ordered_json::array();
    for (std::size_t i = 0; i < std::min(nListedPlaces, test.notes.size()); ++i)
        notes.push_back(NameToText(test.notes[i]));
    return {{"kind", LotTestName(test.kind)},
            {"windows", test.windows},
            {"found", test.found},
            {"places", std::move(places)},
            {"notes", std::move(notes)}};
}

ordered_json ChartJson(const Lot& lot, const LotChart& chart, double risk)
{
    const ControlChart& control = chart.chart;
    const std::size_t skipped = control.points.size() - std::min(nListedPoints, control.points.size());
    ordered_json alarms = ordered_json::array();
    const std::size_t listed = std::min(nListedAlarms, control.alarms.size());
    for (std::size_t i = control.alarms.size() - listed; i < control.alarms.size(); ++i)
    {
        const ChartAlarm& alarm = control.alarms[i];
        alarms.push_back({{"point", alarm.point},
                          {"image", NameToText(lot.images[chart.first[alarm.point]].name)},
                          {"rule", ChartRuleText(alarm.rule)},
                          {"side", alarm.above ? "above" : "below"}});
    }
    ordered_json change = nullptr;
    if (chart.change.point > 0 && chart.chance <= risk)
        change = {{"point", chart.change.point},
                  {"image", NameToText(lot.images[chart.first[chart.change.point]].name)},
                  {"before", Short(chart.change.before)},
                  {"after", Short(chart.change.after)},
                  {"probability", Short(chart.chance)}};
    return {{"name", chart.name},
            {"unit", chart.unit},
            {"images_a_point", chart.group},
            {"center", Short(control.center)},
            {"deviation", Short(control.deviation)},
            {"count", control.points.size()},
            {"from", skipped},
            {"points", ShortValues(control.points, skipped)},
            {"scores", ShortValues(control.scores, std::min(skipped, control.scores.size()))},
            {"alarm_count", control.alarms.size()},
            {"alarms_by_chance", Short(static_cast<double>(control.points.size()) / dPointsBetweenAlarms)},
            {"alarms", std::move(alarms)},
            {"change", std::move(change)}};
}

} // namespace

std::string LotEventText(const LiveState& state)
{
    const auto [lot, leftOut] = state.ReadLot();
    const LotStatistics statistics = MakeLotStatistics(lot, {});
    ordered_json tests = ordered_json::array();
    for (const LotTest& test : statistics.tests)
        tests.push_back(TestJson(state.Setup(), lot, test));
    ordered_json charts = ordered_json::array();
    for (const LotChart& chart : statistics.charts)
        charts.push_back(ChartJson(lot, chart, statistics.settings.risk));
    const auto nameOf = [](const LotImage& image) { return NameToText(image.name); };
    const ordered_json document = {{"images", statistics.images},
                                   {"room", LiveState::nLotImages},
                                   {"left_out", leftOut},
                                   {"first", lot.images.empty() ? "" : nameOf(lot.images.front())},
                                   {"last", lot.images.empty() ? "" : nameOf(lot.images.back())},
                                   {"refused", statistics.refused},
                                   {"comparable", statistics.comparable},
                                   {"defects", statistics.defects},
                                   {"risk", statistics.settings.risk},
                                   {"tests", std::move(tests)},
                                   {"charts", std::move(charts)}};
    return document.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

std::shared_ptr<const SharedEvent::Event> LiveLot::Latest(const LiveState& state, bool last)
{
    return m_event.Latest(state.LotNumber(), last, [&] { return LotEventText(state); });
}

} // namespace narvo::tools
