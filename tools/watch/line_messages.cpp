// SPDX-License-Identifier: MIT
// Messages as JSON.
#include "tools/watch/line_messages.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/file/name_text.h"

namespace narvo::tools
{

namespace
{

/// Bytes that are no text become the sign for that.
std::string Text(const nlohmann::ordered_json& message)
{
    return message.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

} // namespace

std::string ImageMessage(const WatchedImage& image)
{
    std::vector<std::pair<const InspectionResult*, const Blob*>> blobs;
    for (const InspectionResult& region : image.result.regions)
        for (const Blob& blob : region.blobs)
            blobs.emplace_back(&region, &blob);
    const std::size_t all = blobs.size();
    std::stable_sort(blobs.begin(), blobs.end(),
                     [](const auto& a, const auto& b) { return a.second->peak > b.second->peak; });
    blobs.resize(std::min(blobs.size(), nMostToldBlobs));
    nlohmann::ordered_json told = nlohmann::ordered_json::array();
    for (const auto& [region, blob] : blobs)
        told.push_back({{"region", region->name},
                        {"number", blob->number},
                        {"polarity", blob->bright ? "bright" : "dark"},
                        {"x", blob->center.x},
                        {"y", blob->center.y},
                        {"width", blob->box.Width()},
                        {"height", blob->box.Height()},
                        {"area", blob->area},
                        {"peak", blob->peak},
                        {"label", blob->label}});
    nlohmann::ordered_json problems = nlohmann::ordered_json::array();
    for (const Problem& problem : image.result.problems)
        problems.push_back(problem.Text());
    return Text({{"version", 1},
                 {"frame", image.frame},
                 {"image", NameToText(image.result.name)},
                 {"acquired", image.acquired},
                 {"verdict", VerdictName(image.verdict)},
                 {"failed", image.failedRules},
                 {"problems", problems},
                 {"blob_count", all},
                 {"blobs", told}});
}

std::string CountsMessage(const WatchSummary& summary)
{
    return Text(SummaryJson(summary, false));
}

std::string AlarmMessage(const std::string& kind, const std::string& text)
{
    return Text({{"version", 1}, {"kind", kind}, {"text", text}});
}

std::string RecipeMessage(const std::string& name, const std::string& digest)
{
    return Text({{"version", 1}, {"name", NameToText(name)}, {"digest", digest}});
}

} // namespace narvo::tools
