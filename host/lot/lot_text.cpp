// SPDX-License-Identifier: MIT
// The statistics of a lot in words and as JSON.
#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include <nlohmann/json.hpp>

#include "host/counted.h"
#include "host/file/name_text.h"
#include "host/foreign_text.h"
#include "host/lot/lot_statistics.h"
#include "host/problem.h"
#include "host/rect_json.h"

namespace narvo
{

namespace
{

using nlohmann::ordered_json;

constexpr int nLotVersion = 1;

std::string Span(int begin, int end)
{
    return end - begin > 1 ? std::to_string(begin) + " to " + std::to_string(end - 1) : std::to_string(begin);
}

std::string NameOf(const Lot& lot, std::size_t image)
{
    return Printable(lot.images[image].name);
}

std::string PlaceLine(const Lot& lot, int kind, const LotPlace& place)
{
    const std::string expected =
        ", by chance " + LotFigure(place.expected) + "; probability " + LotFigure(place.chance);
    const std::string span =
        ", " + NameOf(lot, place.first) + (place.last > place.first ? " to " + NameOf(lot, place.last) : std::string());
    if (kind == LotTest_Cell)
        return "  " + LotPlaceText(lot, kind, place) + " of the cell: " + Counted(place.cells, "cell") + expected +
               "; in " + Counted(place.images, "image") + span + '\n';
    return "  " + LotPlaceText(lot, kind, place) + ": " + Counted(place.images, "image") + expected + span + '\n';
}

std::string TestText(const Lot& lot, const LotTest& test)
{
    constexpr std::size_t nShown = 10;
    static const std::array<std::array<const char*, 2>, nLotTests> titles = {
        {{"place that comes back", "places that come back"},
         {"column that comes back", "columns that come back"},
         {"row that comes back", "rows that come back"},
         {"area that stands out", "areas that stand out"},
         {"place in the cell", "places in the cell"}}};
    const auto& title = titles.at(static_cast<std::size_t>(test.kind));
    std::string text;
    if (test.found > 0)
        text = std::to_string(test.found) + ' ' + title[test.found == 1 ? 0 : 1];
    else
        text = std::string("no ") + title[0];
    text += " (" + Counted(test.windows, "window") + " tried)\n";
    for (std::size_t i = 0; i < std::min(nShown, test.places.size()); ++i)
        text += PlaceLine(lot, test.kind, test.places[i]);
    if (test.places.size() > nShown)
        text += "  and " + std::to_string(test.found - nShown) + " more\n";
    constexpr std::size_t nNotes = 5;
    for (std::size_t i = 0; i < std::min(nNotes, test.notes.size()); ++i)
        text += "  " + Printable(test.notes[i]) + '\n';
    return text;
}

std::string ChartText(const Lot& lot, const LotChart& chart, double risk)
{
    constexpr std::size_t nShown = 3;
    const ControlChart& control = chart.chart;
    std::string text = chart.name + ": " + LotFigure(control.center) + " " + chart.unit + ", ";
    if (chart.group > 1)
        text += std::to_string(chart.group) + " images a point, ";
    if (control.scores.empty())
        return text + "does not vary\n";
    text += "limits " + LotFigure(std::max(chart.counts ? 0.0 : -1e300, control.center - 3.0 * control.deviation)) +
            " to " + LotFigure(control.center + 3.0 * control.deviation) + "; " +
            Counted(control.alarms.size(), "alarm") + " in " + Counted(control.points.size(), "point") +
            ", by chance " + LotFigure(static_cast<double>(control.points.size()) / dPointsBetweenAlarms) + '\n';
    for (std::size_t i = 0; i < std::min(nShown, control.alarms.size()); ++i)
    {
        const ChartAlarm& alarm = control.alarms[i];
        text += "  " + NameOf(lot, chart.first[alarm.point]) + ": " + ChartRuleText(alarm.rule) +
                (alarm.above ? ", above\n" : ", below\n");
    }
    if (control.alarms.size() > nShown)
        text += "  and " + Counted(control.alarms.size() - nShown, "more alarm") + '\n';
    if (chart.chance <= risk)
        text += "  changes at " + NameOf(lot, chart.first[chart.change.point]) + ", from " +
                LotFigure(chart.change.before) + " to " + LotFigure(chart.change.after) + "; probability by chance " +
                LotFigure(chart.chance) + '\n';
    return text;
}

ordered_json PlaceJson(const Lot& lot, int kind, const LotPlace& place)
{
    ordered_json json;
    if (lot.regions.size() > 1)
        json["region"] = NameToText(lot.regions[static_cast<std::size_t>(place.region)].name);
    json["box"] = RectToJson(place.box);
    json["images"] = place.images;
    json["defects"] = place.defects;
    if (kind == LotTest_Cell)
        json["cells"] = place.cells;
    json["expected"] = place.expected;
    json["probability"] = place.chance;
    json["first_image"] = NameToText(lot.images[place.first].name);
    json["last_image"] = NameToText(lot.images[place.last].name);
    return json;
}

ordered_json ChartJson(const Lot& lot, const LotChart& chart, double risk)
{
    const ControlChart& control = chart.chart;
    ordered_json json;
    json["name"] = chart.name;
    json["unit"] = chart.unit;
    json["images_a_point"] = chart.group;
    json["center"] = control.center;
    json["deviation"] = control.deviation;
    if (chart.counts)
        json["dispersion"] = control.dispersion;
    json["first_images"] = chart.first;
    json["points"] = control.points;
    json["alarms"] = ordered_json::array();
    for (const ChartAlarm& alarm : control.alarms)
        json["alarms"].push_back({{"point", alarm.point},
                                  {"image", NameToText(lot.images[chart.first[alarm.point]].name)},
                                  {"rule", static_cast<int>(alarm.rule)},
                                  {"side", alarm.above ? "above" : "below"}});
    json["alarms_by_chance"] = static_cast<double>(control.points.size()) / dPointsBetweenAlarms;
    json["change"] = nullptr;
    if (chart.change.point > 0)
        json["change"] = {
            {"point", chart.change.point},   {"image", NameToText(lot.images[chart.first[chart.change.point]].name)},
            {"before", chart.change.before}, {"after", chart.change.after},
            {"probability", chart.chance},   {"beyond_chance", chart.chance <= risk}};
    return json;
}

} // namespace

std::string LotFigure(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.3g", value);
    return text;
}

std::string LotPlaceText(const Lot& lot, int kind, const LotPlace& place)
{
    std::string text;
    if (kind == LotTest_Column)
        text = "x " + Span(place.box.left, place.box.right);
    else if (kind == LotTest_Row)
        text = "y " + Span(place.box.top, place.box.bottom);
    else
        text = "x " + Span(place.box.left, place.box.right) + ", y " + Span(place.box.top, place.box.bottom);
    if (lot.regions.size() > 1)
        text = Printable(lot.regions[static_cast<std::size_t>(place.region)].name) + ": " + text;
    return text;
}

std::string LotText(const Lot& lot, const LotStatistics& statistics)
{
    constexpr std::size_t nNamed = 5;
    std::string runs;
    for (std::size_t i = 0; i < std::min(nNamed, lot.runs.size()); ++i)
        runs += (i == 0 ? "" : ", ") + Printable(lot.runs[i]);
    if (lot.runs.size() > nNamed)
        runs += " and " + std::to_string(lot.runs.size() - nNamed) + " more";
    std::string text = (runs.empty() ? "lot" : "lot: " + runs) + "\n" + Counted(statistics.images, "image") + ", " +
                       Counted(statistics.defects, "defect") + "; " + std::to_string(statistics.comparable) +
                       " of one size and its regions, " + std::to_string(statistics.refused) + " refused\n";
    for (const LotTest& test : statistics.tests)
        text += TestText(lot, test);
    for (const LotChart& chart : statistics.charts)
        text += ChartText(lot, chart, statistics.settings.risk);
    return text;
}

ordered_json LotToJson(const Lot& lot, const LotStatistics& statistics)
{
    ordered_json json;
    json["version"] = nLotVersion;
    json["store"] = NameToText(lot.store);
    json["runs"] = ordered_json::array();
    for (const std::string& run : lot.runs)
        json["runs"].push_back(NameToText(run));
    json["recipe"] = NameToText(lot.recipe);
    json["distance"] = statistics.settings.distance;
    json["risk"] = statistics.settings.risk;
    json["baseline"] = statistics.settings.baseline;
    json["images"] = statistics.images;
    json["refused"] = statistics.refused;
    json["comparable"] = statistics.comparable;
    json["defects"] = statistics.defects;
    for (const LotTest& test : statistics.tests)
    {
        ordered_json& one = json["tests"][LotTestName(test.kind)];
        one["windows"] = test.windows;
        one["found"] = test.found;
        one["notes"] = ordered_json::array();
        for (const std::string& note : test.notes)
            one["notes"].push_back(NameToText(note));
        one["places"] = ordered_json::array();
        for (const LotPlace& place : test.places)
            one["places"].push_back(PlaceJson(lot, test.kind, place));
    }
    json["charts"] = ordered_json::array();
    for (const LotChart& chart : statistics.charts)
        json["charts"].push_back(ChartJson(lot, chart, statistics.settings.risk));
    return json;
}

} // namespace narvo
