// SPDX-License-Identifier: MIT
// Writers of results.
#include "host/result/result_file.h"

#include <cmath>

#include <nlohmann/json.hpp>

#include "host/rect_json.h"

namespace narvo
{

using nlohmann::ordered_json;

namespace
{

/// A blob as name and value, in the order of both files.
ordered_json BlobToJson(const Blob& blob)
{
    return {{"number", blob.number},
            {"polarity", blob.bright ? "bright" : "dark"},
            {"left", blob.box.left},
            {"top", blob.box.top},
            {"right", blob.box.right},
            {"bottom", blob.box.bottom},
            {"center_x", blob.center.x},
            {"center_y", blob.center.y},
            {"area", blob.area},
            {"peak", blob.peak},
            {"peak_x", blob.peakPlace.x},
            {"peak_y", blob.peakPlace.y},
            {"max_difference", blob.maxDifference},
            {"mean_difference", blob.meanDifference},
            {"mean_grey", blob.meanGrey},
            {"mean_reference", blob.meanReference},
            {"zone", blob.zone},
            {"band", blob.band},
            {"single", blob.single},
            {"scale", blob.scale},
            {"channel", ChannelName(blob.channel)},
            {"label", blob.label},
            {"diameter", blob.diameter},
            {"angle", blob.angle},
            {"major_axis", blob.majorAxis},
            {"minor_axis", blob.minorAxis},
            {"circularity", blob.circularity},
            {"elongation", blob.elongation}};
}

/// What was measured; an empty object where nothing was.
ordered_json DriftToJson(const DriftMeasures& measures)
{
    ordered_json drift = ordered_json::object();
    const auto addKnown = [&drift](const char* name, double value)
    {
        if (std::isfinite(value))
            drift[name] = value;
    };
    addKnown("light", measures.light);
    addKnown("noise", measures.noise);
    addKnown("pitch_x", measures.pitchX);
    addKnown("pitch_y", measures.pitchY);
    return drift;
}

} // namespace

ordered_json ResultToJson(const InspectionResult& result)
{
    ordered_json blobs = ordered_json::array();
    for (const Blob& blob : result.blobs)
        blobs.push_back(BlobToJson(blob));
    ordered_json outlines = ordered_json::array();
    for (const std::vector<CPoint>& outline : result.outlines)
    {
        ordered_json& corners = outlines.emplace_back(ordered_json::array());
        for (const CPoint& corner : outline)
            corners.push_back({corner.x, corner.y});
    }
    ordered_json document = {{"version", nResultVersion},
                             {"name", result.name},
                             {"code", result.code},
                             {"direction", result.direction == Direction_Vertical ? "vertical" : "horizontal"},
                             {"region", RectToJson(result.region)},
                             {"outlines", outlines},
                             {"pairs", result.pairs},
                             {"reruns", result.reruns},
                             {"dead_blobs", result.deadBlobs}};
    if (const ordered_json drift = DriftToJson(result.drift); !drift.empty())
        document["drift"] = drift;
    document["milliseconds"] = {{"inspect", result.inspectMilliseconds},
                                {"blobs", result.blobMilliseconds},
                                {"total", result.totalMilliseconds}};
    document["warnings"] = result.warnings;
    document["blobs"] = blobs;
    return document;
}

std::string BlobColumns()
{
    std::string columns;
    const ordered_json blob = BlobToJson(Blob{});
    for (const auto& [name, value] : blob.items())
        columns += (columns.empty() ? "" : ",") + name;
    return columns;
}

std::string BlobRow(const ordered_json& blob)
{
    std::string row;
    for (const auto& [name, value] : blob.items())
        row += (row.empty() ? "" : ",") + (value.is_string() ? value.get<std::string>() : value.dump());
    return row;
}

std::string ResultToCsv(const InspectionResult& result)
{
    std::string text = BlobColumns() + "\n";
    for (const Blob& blob : result.blobs)
        text += BlobRow(BlobToJson(blob)) + "\n";
    return text;
}

} // namespace narvo
