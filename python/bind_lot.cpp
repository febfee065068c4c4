// SPDX-License-Identifier: MIT
// What the images of a store have in common.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <narvo/host_lot.h>

#include "python/bind.h"
#include "python/narvo_errors.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

py::list NamesToPython(const std::vector<std::string>& names)
{
    py::list list;
    for (const std::string& name : names)
        list.append(ToText(name));
    return list;
}

template <typename Made, typename Value>
py::array_t<Made> ArrayOf(const std::vector<Value>& values)
{
    py::array_t<Made> array(static_cast<py::ssize_t>(values.size()));
    std::transform(values.begin(), values.end(), array.mutable_data(),
                   [](const Value& value) { return static_cast<Made>(value); });
    return array;
}

py::dict PlaceToPython(const v1::LotReport& report, const v1::LotTest& test, const v1::LotPlace& place)
{
    return py::dict(py::arg("kind") = test.kind, py::arg("region") = ToText(report.regions.at(place.region).name),
                    py::arg("box") = ToPython(place.box), py::arg("images") = place.images,
                    py::arg("defects") = place.defects, py::arg("cells") = place.cells,
                    py::arg("expected") = place.expected, py::arg("probability") = place.probability,
                    py::arg("first_image") = ToText(report.images.at(place.first)),
                    py::arg("last_image") = ToText(report.images.at(place.last)));
}

py::dict TestToPython(const v1::LotReport& report, const v1::LotTest& test)
{
    py::list places;
    for (const v1::LotPlace& place : test.places)
        places.append(PlaceToPython(report, test, place));
    return py::dict(py::arg("kind") = test.kind, py::arg("windows") = test.windows, py::arg("found") = test.found,
                    py::arg("places") = places, py::arg("notes") = NamesToPython(test.notes));
}

py::dict ChartToPython(const v1::LotReport& report, const v1::LotChart& chart)
{
    const auto image = [&](std::size_t point) { return ToText(report.images.at(chart.first.at(point))); };
    py::list alarms;
    for (const v1::LotAlarm& alarm : chart.alarms)
        alarms.append(py::dict(py::arg("point") = alarm.point, py::arg("image") = image(alarm.point),
                               py::arg("rule") = alarm.rule, py::arg("above") = alarm.above,
                               py::arg("text") = alarm.text));
    py::object change = py::none();
    if (chart.change > 0)
        change = py::dict(py::arg("point") = chart.change, py::arg("image") = image(chart.change),
                          py::arg("before") = chart.before, py::arg("after") = chart.after,
                          py::arg("probability") = chart.probability, py::arg("beyond_chance") = chart.changes);
    py::dict made(py::arg("name") = chart.name, py::arg("unit") = chart.unit,
                  py::arg("images_a_point") = chart.imagesAPoint, py::arg("center") = chart.center,
                  py::arg("deviation") = chart.deviation, py::arg("first_images") = ArrayOf<std::int64_t>(chart.first),
                  py::arg("points") = ArrayOf<double>(chart.points), py::arg("scores") = ArrayOf<double>(chart.scores),
                  py::arg("alarms") = alarms, py::arg("alarms_by_chance") = chart.alarmsByChance,
                  py::arg("change") = change);
    made["dispersion"] = chart.counts ? py::object(py::float_(chart.dispersion)) : py::object(py::none());
    return made;
}

py::dict LotToPython(const v1::LotReport& report)
{
    py::list regions;
    for (const v1::LotRegion& region : report.regions)
        regions.append(py::dict(py::arg("name") = ToText(region.name), py::arg("box") = ToPython(region.box),
                                py::arg("area") = region.area, py::arg("no_cell") = ToText(region.noCell)));
    py::list tests;
    for (const v1::LotTest& test : report.tests)
        tests.append(TestToPython(report, test));
    py::list charts;
    for (const v1::LotChart& chart : report.charts)
        charts.append(ChartToPython(report, chart));
    return py::dict(py::arg("store") = ToText(report.store), py::arg("runs") = NamesToPython(report.runs),
                    py::arg("recipe") = ToText(report.recipe), py::arg("regions") = regions,
                    py::arg("images") = NamesToPython(report.images), py::arg("refused") = report.refused,
                    py::arg("comparable") = report.comparable, py::arg("defects") = report.defects,
                    py::arg("tests") = tests, py::arg("charts") = charts, py::arg("text") = ToText(report.text));
}

/// A choice of runs that the store does not have is an argument's fault, all else the store's.
Fault FaultOf(const v1::Error& error)
{
    const std::string& field = error.Problems().front().field;
    return field == "runs" || field.compare(0, 4, "run ") == 0 ? Fault::Argument : Fault::File;
}

v1::Lot LotOf(const std::string& place, const std::vector<std::string>& runs, bool all)
{
    try
    {
        return Unlocked(
            [&]
            {
                v1::ResultStore store = v1::ResultStore::ForReading(place);
                return all ? v1::Lot::OfLatestRecipe(store) : v1::Lot::FromStore(store, runs);
            });
    }
    catch (const v1::Error& error)
    {
        Raise(FaultOf(error), error);
    }
}

py::dict StoreLot(const py::handle& place, const py::sequence& runs, bool all, const py::handle& distance,
                  const py::handle& risk, const py::handle& baseline)
{
    const v1::Settings settings = {
        {"distance", ToWholeSetting(distance)}, {"risk", ToSetting(risk)}, {"baseline", ToWholeSetting(baseline)}};
    std::vector<std::string> keys;
    for (const py::handle run : runs)
        keys.push_back(ToPath(run).string()); // a file's name may be in it
    const std::string name = ToPath(place).string();
    const v1::Lot lot = LotOf(name, keys, all);
    return Translated(Fault::Argument,
                      [&]
                      {
                          return LotToPython(
                              Showing("distance", Shown(distance),
                                      [&] {
                                          return Showing("baseline", Shown(baseline),
                                                         [&] { return Unlocked([&] { return lot.Find(settings); }); });
                                      }));
                      });
}

} // namespace

void BindLot(py::module_& module)
{
    module.def("store_lot", &StoreLot, py::arg("place"), py::arg("runs"), py::arg("all_runs"), py::arg("distance"),
               py::arg("risk"), py::arg("baseline"),
               "What the images of a store's runs have in common, as dicts and arrays. Raises FileError or "
               "ArgumentError.");
}

} // namespace narvo::python
