// SPDX-License-Identifier: MIT
// What the images of a store, or results in memory, have in common.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <narvo/host_lot.h>

#include "python/bind.h"
#include "python/narvo_errors.h"
#include "python/result_arrays.h"
#include "python/sealed_class.h"
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

/// Settings with what they were written as, which messages show.
class LotSettings
{
public:
    LotSettings(const py::handle& distance, const py::handle& risk, const py::handle& baseline)
        : m_settings{{"distance", ToWholeSetting(distance)},
                     {"risk", ToSetting(risk)},
                     {"baseline", ToWholeSetting(baseline)}},
          m_distance(Shown(distance)), m_baseline(Shown(baseline))
    {
    }

    /// `find` is called with the settings and without the interpreter lock.
    template <typename Call>
    py::dict Find(Call find) const
    {
        return Translated(Fault::Argument,
                          [&]
                          {
                              return LotToPython(Showing(
                                  "distance", m_distance.c_str(),
                                  [&] {
                                      return Showing("baseline", m_baseline.c_str(),
                                                     [&] { return Unlocked([&] { return find(m_settings); }); });
                                  }));
                          });
    }

private:
    v1::Settings m_settings;
    std::string m_distance;
    std::string m_baseline;
};

py::dict StoreLot(const py::handle& place, const py::sequence& runs, bool all, const py::handle& distance,
                  const py::handle& risk, const py::handle& baseline)
{
    const LotSettings settings(distance, risk, baseline);
    std::vector<std::string> keys;
    for (const py::handle run : runs)
        keys.push_back(ToPath(run).string()); // a file's name may be in it
    const std::string name = ToPath(place).string();
    const v1::Lot lot = LotOf(name, keys, all);
    return settings.Find([&](const v1::Settings& values) { return lot.Find(values); });
}

/// Results one by one. Its calls may come on any threads.
class LotFeed
{
public:
    LotFeed(const v1::Recipe& recipe, const std::string& name) : m_lot(recipe, name) {}

    void Add(const v1::StoredImage& image)
    {
        const std::scoped_lock lock(m_mutex);
        m_lot.Add(image);
    }
    v1::LotReport Find(const v1::Settings& settings) const
    {
        const std::scoped_lock lock(m_mutex);
        return m_lot.Find(settings);
    }

private:
    mutable std::mutex m_mutex;
    v1::Lot m_lot;
};

std::unique_ptr<LotFeed> MakeLotFeed(const py::handle& recipe)
{
    return Translated(Fault::Recipe, [&] { return std::make_unique<LotFeed>(ToRecipe(recipe), std::string()); });
}

/// A result without the answers, of which a lot needs the number alone; null for an image that was not inspected.
v1::StoredImage ImageOfResult(const py::handle& name, const Result* result)
{
    v1::StoredImage image;
    image.name = ToPath(name).string();
    if (result == nullptr)
    {
        image.problems = {{"image", "not inspected", "an image"}};
        return image;
    }
    const v1::FullReport& outcome = result->outcome;
    v1::FullReport& report = image.reports.emplace_back();
    report.report = outcome.report;
    report.width = outcome.width;
    report.height = outcome.height;
    report.outlines = outcome.outlines;
    report.answerCount = outcome.answerCount;
    report.light = outcome.light;
    report.noise = outcome.noise;
    report.pitchX = outcome.pitchX;
    report.pitchY = outcome.pitchY;
    return image;
}

} // namespace

void BindLot(py::module_& module)
{
    module.def("store_lot", &StoreLot, py::arg("place"), py::arg("runs"), py::arg("all_runs"), py::arg("distance"),
               py::arg("risk"), py::arg("baseline"),
               "What the images of a store's runs have in common, as dicts and arrays. Raises FileError or "
               "ArgumentError.");
    py::class_<LotFeed>(module, "LotFeed", py::is_final(), "Results of a lot; lot_of is the function to use.")
        .def(py::init(&MakeLotFeed), py::arg("recipe"))
        .def(
            "add",
            [](LotFeed& feed, const py::handle& name, const Result* result)
            {
                const v1::StoredImage image = ImageOfResult(name, result);
                Translated(Fault::Argument, [&] { feed.Add(image); });
            },
            py::arg("name"), py::arg("result"), "Adds an image with its result; None: it was not inspected.")
        .def(
            "find",
            [](const LotFeed& feed, const py::handle& distance, const py::handle& risk, const py::handle& baseline) {
                return LotSettings(distance, risk, baseline)
                    .Find([&](const v1::Settings& values) { return feed.Find(values); });
            },
            py::arg("distance"), py::arg("risk"), py::arg("baseline"), "As store_lot.");
    SealConstructed(module.attr("LotFeed"));
}

} // namespace narvo::python
