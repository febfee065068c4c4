// SPDX-License-Identifier: MIT
// What many images have in common, in the public form.
#include "narvo/host_lot.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/library/named_settings.h"
#include "host/library/public_report.h"
#include "host/library/recipe_parts.h"
#include "host/library/store_parts.h"
#include "host/library/translate.h"
#include "host/limits.h"
#include "host/lot/lot_builder.h"
#include "host/lot/lot_reader.h"
#include "host/lot/lot_statistics.h"

namespace narvo::v1
{

static_assert(HighestLotDistance == nLotDistanceHigh && LowestLotRisk == dLotRiskLow && HighestLotRisk == dLotRiskHigh);
static_assert(HighestLotImages == nLotImageLimit);

namespace
{

LotSettings LayerSettings(const Settings& settings)
{
    LotSettings made;
    int baseline = 0;
    const auto check = [&]() -> std::vector<narvo::Problem>
    {
        if (baseline >= 0)
            return {};
        return {
            {"baseline", std::to_string(baseline), "2 to " + std::to_string(nLotImageLimit) + " images, or 0: all"}};
    };
    library::TakeSettings(settings, {{"distance", &made.distance}, {"risk", &made.risk}, {"baseline", &baseline}},
                          check);
    ThrowIfAny(check());
    made.baseline = static_cast<std::size_t>(baseline);
    CheckLotSettings(made);
    return made;
}

LotPlace PublicPlace(const narvo::LotPlace& place)
{
    LotPlace made;
    made.region = static_cast<std::size_t>(place.region);
    made.box = library::PublicBox(place.box);
    made.images = place.images;
    made.defects = place.defects;
    made.cells = place.cells;
    made.expected = place.expected;
    made.probability = place.chance;
    made.first = place.first;
    made.last = place.last;
    return made;
}

LotChart PublicChart(narvo::LotChart chart, double risk)
{
    ControlChart& control = chart.chart;
    LotChart made;
    made.name = std::move(chart.name);
    made.unit = std::move(chart.unit);
    made.counts = chart.counts;
    made.imagesAPoint = chart.group;
    made.first = std::move(chart.first);
    made.alarmsByChance = static_cast<double>(control.points.size()) / dPointsBetweenAlarms;
    made.points = std::move(control.points);
    made.scores = std::move(control.scores);
    made.center = control.center;
    made.deviation = control.deviation;
    made.dispersion = control.dispersion;
    for (const ChartAlarm& alarm : control.alarms)
        made.alarms.push_back({alarm.point, static_cast<int>(alarm.rule), alarm.above,
                               ChartRuleText(alarm.rule) + (alarm.above ? ", above" : ", below")});
    made.change = chart.change.point;
    made.before = chart.change.before;
    made.after = chart.change.after;
    made.probability = chart.chance;
    made.changes = chart.change.point > 0 && chart.chance <= risk;
    return made;
}

LotReport PublicLot(narvo::Lot lot, const LotSettings& settings, std::string* json)
{
    LotStatistics statistics = MakeLotStatistics(lot, settings);
    if (json != nullptr)
        *json = LotToJson(lot, statistics).dump(2);
    LotReport report;
    report.text = LotText(lot, statistics);
    report.store = std::move(lot.store);
    report.runs = std::move(lot.runs);
    report.recipe = std::move(lot.recipe);
    for (const narvo::LotRegion& region : lot.regions)
        report.regions.push_back({region.name, library::PublicBox(region.box), region.area, region.noCell});
    report.images.reserve(lot.images.size());
    for (LotImage& image : lot.images)
        report.images.push_back(std::move(image.name));
    report.refused = statistics.refused;
    report.comparable = statistics.comparable;
    report.defects = statistics.defects;
    for (narvo::LotTest& test : statistics.tests)
    {
        LotTest& made = report.tests.emplace_back();
        made.kind = LotTestName(test.kind);
        made.windows = test.windows;
        made.found = test.found;
        for (const narvo::LotPlace& place : test.places)
            made.places.push_back(PublicPlace(place));
        made.notes = std::move(test.notes);
    }
    for (narvo::LotChart& chart : statistics.charts)
        report.charts.push_back(PublicChart(std::move(chart), statistics.settings.risk));
    return report;
}

} // namespace

const std::vector<std::string>& LotTestKinds()
{
    static const std::vector<std::string> kinds = []
    {
        std::vector<std::string> names;
        names.reserve(nLotTests);
        for (int i = 0; i < nLotTests; ++i)
            names.push_back(LotTestName(i));
        return names;
    }();
    return kinds;
}

struct Lot::Content
{
    explicit Content(LotBuilder lot) : builder(std::move(lot)) {}

    LotBuilder builder;
};

Lot::Lot(std::unique_ptr<Content> content) : m_content(std::move(content))
{
}

Lot::Lot(const Recipe& recipe, const std::string& recipeName)
    : m_content(std::make_unique<Content>(LotBuilder({{}, {}, recipeName, recipe.Text()})))
{
}

Lot::~Lot() = default;
Lot::Lot(Lot&& other) noexcept = default;
Lot& Lot::operator=(Lot&& other) noexcept = default;

Lot::Content& Lot::Own() const
{
    if (m_content == nullptr)
        throw Error({{"lot", "none", "one that was not moved from"}});
    return *m_content;
}

Lot Lot::FromStore(ResultStore& store, const std::vector<std::string>& runs)
{
    ResultStore::Content& own = store.Own();
    return library::InStore([&] { return Lot(std::make_unique<Content>(ReadLotImages(*own.store, {runs, false}))); });
}

Lot Lot::OfLatestRecipe(ResultStore& store)
{
    ResultStore::Content& own = store.Own();
    return library::InStore([&] { return Lot(std::make_unique<Content>(ReadLotImages(*own.store, {{}, true}))); });
}

Lot& Lot::Add(const StoredImage& image)
{
    Content& own = Own();
    library::Translated([&] { own.builder.Add(image.name, library::LayerImage(image, "image").result); });
    return *this;
}

std::size_t Lot::Images() const
{
    return Own().builder.Images();
}

LotReport Lot::Find(const Settings& settings, std::string* json) const
{
    const Content& own = Own();
    return library::Translated(
        [&]
        {
            const LotSettings made = LayerSettings(settings);
            return PublicLot(own.builder.Made(), made, json);
        });
}

LotReport Lot::Finish(const Settings& settings, std::string* json)
{
    Content& own = Own();
    return library::Translated(
        [&]
        {
            const LotSettings made = LayerSettings(settings);
            LotReport report = PublicLot(own.builder.Finish(), made, json);
            m_content.reset();
            return report;
        });
}

const Settings& Lot::Defaults()
{
    static const Settings defaults = []
    {
        const LotSettings made;
        return Settings{{"distance", static_cast<double>(made.distance)},
                        {"risk", made.risk},
                        {"baseline", static_cast<double>(made.baseline)}};
    }();
    return defaults;
}

} // namespace narvo::v1
