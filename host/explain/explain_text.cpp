// SPDX-License-Identifier: MIT
// Explanations as text and as JSON.
#include <algorithm>
#include <array>
#include <cstddef>
#include <sstream>

#include <nlohmann/json.hpp>

#include "host/explain/explain.h"
#include "host/explain/explain_sentences.h"
#include "host/rect_json.h"

namespace narvo
{

using nlohmann::ordered_json;

namespace
{

const char* PolarityName(bool bright)
{
    return bright ? "bright" : "dark";
}

/// Values in grey levels, exact for the windows' units.
double Grey(int value, int units)
{
    return static_cast<double>(value) / units;
}

ordered_json LinkToJson(const ChainLink& link, int units)
{
    const ProbedPixel& pixel = link.pixel;
    ordered_json entry = {{"x", pixel.place.x},
                          {"y", pixel.place.y},
                          {"distance", pixel.pitch16 / 16.0},
                          {"value", Grey(pixel.source, units)},
                          {"reference", Grey(pixel.reference, units)},
                          {"difference", Grey(pixel.Difference(), units)},
                          {"threshold", Grey(pixel.threshold, units)}};
    if (pixel.thresholdBase >= 0)
        entry["threshold_parts"] = {{"base", pixel.thresholdBase},
                                    {"gain", pixel.thresholdGain},
                                    {"larger_value", std::max(pixel.source, pixel.reference)}};
    if (pixel.inCell)
    {
        entry["zone"] = pixel.zone;
        entry["cell"] = {{"origin_x", pixel.cellOrigin.x},
                         {"origin_y", pixel.cellOrigin.y},
                         {"x", pixel.cellPlace.x},
                         {"y", pixel.cellPlace.y},
                         {"skipped", pixel.skipped}};
    }
    entry["hit"] = pixel.hit;
    if (pixel.hit)
        entry["polarity"] = PolarityName(pixel.bright);
    entry["band"] = BandName(link.band);
    entry["pairing"] = FateName(link.fate);
    return entry;
}

} // namespace

std::string OutcomeName(Outcome outcome)
{
    constexpr std::array names = {"reported",
                                  "outside the region",
                                  "outside the scan",
                                  "skipped cell",
                                  "no hit",
                                  "no record",
                                  "pass dropped",
                                  "filtered",
                                  "pattern at a short pitch",
                                  "zone limit",
                                  "no room",
                                  "ghost",
                                  "too small",
                                  "dead place",
                                  "lost"};
    static_assert(names.size() == static_cast<std::size_t>(Outcome::Lost) + 1);
    return names.at(static_cast<std::size_t>(outcome));
}

std::string FateName(HitFate fate)
{
    constexpr std::array names = {"no hit",    "second hit of a pair", "first hit of a pair", "pair refused",
                                  "single",    "single refused",       "single not kept",     "blocked",
                                  "no partner"};
    static_assert(names.size() == static_cast<std::size_t>(HitFate::NoPartner) + 1);
    return names.at(static_cast<std::size_t>(fate));
}

std::string DescribeExplanation(const Explanation& told)
{
    std::ostringstream out;
    out << told.place.x << ", " << told.place.y << ": " << OutcomeName(told.outcome);
    if (told.blob > 0)
        out << ", defect " << told.blob;
    out << '\n';
    if (!told.kernel.empty())
        out << "kernel: " << told.kernel << '\n';
    out << '\n';
    for (const std::string& sentence : told.why)
        out << "  " << sentence << '\n';
    if (told.chain.links.empty())
        return out.str();

    // Three whole distances to either side are enough to see a pattern.
    constexpr int nNear = 3;
    const auto along = [&](const CPoint& place) { return told.horizontal ? place.x : place.y; };
    out << "\n  at, grey levels     value  reference  difference  threshold  band    pairing\n";
    for (const ChainLink& link : told.chain.links)
    {
        const ProbedPixel& pixel = link.pixel;
        if (std::abs(along(pixel.place) - along(told.place)) > nNear * told.hop)
            continue;
        char line[160];
        const bool asked = pixel.place == told.place;
        std::snprintf(line, sizeof line, "%c %6d, %-6d %12.4g %10.4g %11.4g %10.4g  %-7s %s\n", asked ? '>' : ' ',
                      pixel.place.x, pixel.place.y, Grey(pixel.source, told.units), Grey(pixel.reference, told.units),
                      Grey(pixel.Difference(), told.units), Grey(pixel.threshold, told.units),
                      BandName(link.band).c_str(), FateName(link.fate).c_str());
        out << line;
    }
    return out.str();
}

ordered_json ExplanationToJson(const Explanation& told)
{
    ordered_json document = {{"version", 1},
                             {"x", told.place.x},
                             {"y", told.place.y},
                             {"value", told.value},
                             {"outcome", OutcomeName(told.outcome)},
                             {"defect", told.blob > 0 ? ordered_json(told.blob) : ordered_json(nullptr)},
                             {"direction", told.horizontal ? "horizontal" : "vertical"},
                             {"region", RectToJson(told.region)},
                             {"pass",
                              {{"band", told.band + 1},
                               {"bands", told.bands},
                               {"pass", told.pass + 1},
                               {"passes", told.passes},
                               {"region", RectToJson(told.passRegion)}}}};
    if (!told.kernel.empty())
    {
        document["kernel"] = told.kernel;
        document["partner_distance"] = told.hop;
        document["first_band_end"] = told.firstBandEnd;
        document["last_band_start"] = told.lastBandStart;
        const auto link = [&](const ChainLink* one)
        { return one != nullptr ? LinkToJson(*one, told.units) : ordered_json(nullptr); };
        document["comparison"] = link(told.Own());
        document["comparison_before"] = link(told.Before());
        ordered_json chain = ordered_json::array();
        for (const ChainLink& one : told.chain.links)
            chain.push_back(LinkToJson(one, told.units));
        document["chain"] = chain;
    }
    if (told.record)
        document["record"] = {{"polarity", PolarityName(told.record->nDefectType == DefectType_Bright)},
                              {"value", told.record->nSrcGray},
                              {"reference", told.record->nCmpGray},
                              {"threshold", told.record->nThreshold},
                              {"zone", told.record->nZoneIndex},
                              {"band", BandName(told.record->nDefectPos)},
                              {"single", told.record->nDefectPair == DefectPair_Single}};
    if (!told.filters.empty())
    {
        ordered_json filters = ordered_json::array();
        for (const FilterAnswer& answer : told.filters)
            filters.push_back({{"filter", answer.name}, {"stands", answer.stands}});
        document["filters"] = filters;
    }
    if (told.blobStep)
    {
        const BlobStep& step = *told.blobStep;
        document["blob"] = {{"built", {{"area", step.builtArea}, {"bounds", RectToJson(step.built)}}},
                            {"merged", {{"area", step.mergedArea}, {"bounds", RectToJson(step.merged)}}}};
        if (step.ghostOf)
            document["blob"]["ghost_of"] = {{"x", step.ghostOf->x}, {"y", step.ghostOf->y}};
    }
    document["why"] = told.why;
    return document;
}

} // namespace narvo
