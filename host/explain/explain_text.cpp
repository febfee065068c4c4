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

ordered_json LinkToJson(const CChainLink& link, int units)
{
    const CPixelTrace& pixel = link.pixel;
    ordered_json entry = {{"x", pixel.ptPlace.x},
                          {"y", pixel.ptPlace.y},
                          {"distance", pixel.nPitch16 / 16.0},
                          {"value", Grey(pixel.nSrc, units)},
                          {"reference", Grey(pixel.nCmp, units)},
                          {"difference", Grey(pixel.Difference(), units)},
                          {"threshold", Grey(pixel.nThreshold, units)}};
    if (pixel.nThresholdBase >= 0)
        entry["threshold_parts"] = {{"base", pixel.nThresholdBase},
                                    {"gain", pixel.nThresholdGain},
                                    {"larger_value", std::max(pixel.nSrc, pixel.nCmp)}};
    if (pixel.bInCell)
    {
        entry["zone"] = pixel.nZone;
        entry["cell"] = {{"origin_x", pixel.ptCell.x},
                         {"origin_y", pixel.ptCell.y},
                         {"x", pixel.ptInCell.x},
                         {"y", pixel.ptInCell.y},
                         {"skipped", pixel.bSkipped}};
    }
    entry["hit"] = pixel.bHit;
    if (pixel.bHit)
        entry["polarity"] = PolarityName(pixel.bBright);
    entry["band"] = BandName(link.ePos);
    entry["pairing"] = FateName(link.eFate);
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
    if (told.kernel.pWords != nullptr)
        out << "kernel: " << told.kernel.pWords << '\n';
    out << '\n';
    for (const std::string& sentence : told.why)
        out << "  " << sentence << '\n';
    if (told.chain.links.empty())
        return out.str();

    // Three whole distances to either side are enough to see a pattern.
    constexpr int nNear = 3;
    const auto along = [&](const CPoint& place) { return told.horizontal ? place.x : place.y; };
    out << "\n  at, grey levels     value  reference  difference  threshold  band    pairing\n";
    for (const CChainLink& link : told.chain.links)
    {
        const CPixelTrace& pixel = link.pixel;
        if (std::abs(along(pixel.ptPlace) - along(told.place)) > nNear * told.kernel.nHop)
            continue;
        char line[160];
        const bool asked = pixel.ptPlace == told.place;
        std::snprintf(line, sizeof line, "%c %6d, %-6d %12.4g %10.4g %11.4g %10.4g  %-7s %s\n", asked ? '>' : ' ',
                      pixel.ptPlace.x, pixel.ptPlace.y, Grey(pixel.nSrc, told.kernel.nUnits),
                      Grey(pixel.nCmp, told.kernel.nUnits), Grey(pixel.Difference(), told.kernel.nUnits),
                      Grey(pixel.nThreshold, told.kernel.nUnits), BandName(link.ePos).c_str(),
                      FateName(link.eFate).c_str());
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
    if (told.kernel.pWords != nullptr)
    {
        document["kernel"] = told.kernel.pWords;
        document["partner_distance"] = told.kernel.nHop;
        document["first_band_end"] = told.kernel.nFirstEnd;
        document["last_band_start"] = told.kernel.nLastStart;
        const auto link = [&](const CChainLink* one)
        { return one != nullptr ? LinkToJson(*one, told.kernel.nUnits) : ordered_json(nullptr); };
        document["comparison"] = link(told.Own());
        document["comparison_before"] = link(told.Before());
        ordered_json chain = ordered_json::array();
        for (const CChainLink& one : told.chain.links)
            chain.push_back(LinkToJson(one, told.kernel.nUnits));
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
