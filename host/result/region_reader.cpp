// SPDX-License-Identifier: MIT
// Fields of a region and of its blobs, each asked for by its name.
#include "host/result/region_reader.h"

#include "host/result/checked_reader.h"

namespace narvo
{

using nlohmann::json;

namespace
{

Blob ReadBlob(CheckedReader& reader, const json& entry, const std::string& where)
{
    Blob blob{};
    if (!entry.is_object())
    {
        reader.Fault(where, "not an object", "a blob");
        return blob;
    }
    const std::string inside = where + ".";
    std::string polarity;
    const auto read = [&](const char* key, auto& target) { reader.Read(entry, inside, key, target); };
    read("number", blob.number);
    read("polarity", polarity);
    if (polarity != "dark" && polarity != "bright")
        reader.Fault(inside + "polarity", "\"" + polarity + "\"", "dark or bright");
    blob.bright = polarity == "bright";
    read("left", blob.box.left);
    read("top", blob.box.top);
    read("right", blob.box.right);
    read("bottom", blob.box.bottom);
    read("center_x", blob.center.x);
    read("center_y", blob.center.y);
    read("area", blob.area);
    read("peak", blob.peak);
    read("peak_x", blob.peakPlace.x);
    read("peak_y", blob.peakPlace.y);
    read("max_difference", blob.maxDifference);
    read("mean_difference", blob.meanDifference);
    read("mean_grey", blob.meanGrey);
    read("mean_reference", blob.meanReference);
    read("zone", blob.zone);
    read("band", blob.band);
    read("single", blob.single);
    blob.scale = 1;
    if (entry.contains("scale"))
        read("scale", blob.scale);
    if (entry.contains("channel"))
    {
        std::string channel;
        read("channel", channel);
        const std::optional<Channel> known = ChannelOfName(channel);
        if (!known)
            reader.Fault(inside + "channel", "\"" + channel + "\"", "grey, red, green or blue");
        blob.channel = known.value_or(Channel_Auto);
    }
    read("label", blob.label);
    read("diameter", blob.diameter);
    read("angle", blob.angle);
    read("major_axis", blob.majorAxis);
    read("minor_axis", blob.minorAxis);
    read("circularity", blob.circularity);
    read("elongation", blob.elongation);
    return blob;
}

/// An object's member that is an object; an empty one where there is none.
const json& ObjectAt(const json& document, const char* key)
{
    static const json none = json::object();
    const auto member = document.find(key);
    return member != document.end() && member->is_object() ? *member : none;
}

std::vector<CPoint> ReadCorners(CheckedReader& reader, const json& outline, const std::string& where)
{
    std::vector<CPoint> corners;
    const char* const szWanted = "corners as [x, y]";
    if (!outline.is_array())
    {
        reader.Fault(where, "no list", szWanted);
        return corners;
    }
    for (const json& corner : outline)
    {
        const bool isPoint =
            corner.is_array() && corner.size() == 2 && corner[0].is_number_integer() && corner[1].is_number_integer();
        if (isPoint)
            corners.emplace_back(corner[0].get<int>(), corner[1].get<int>());
        else
            reader.Fault(where, corner.dump(), szWanted);
    }
    return corners;
}

} // namespace

InspectionResult ReadRegion(CheckedReader& reader, const json& document, const std::string& where)
{
    InspectionResult result;
    const auto read = [&](const char* key, auto& target) { reader.Read(document, where, key, target); };
    std::string direction;
    read("code", result.code);
    read("direction", direction);
    if (direction != "vertical" && direction != "horizontal")
        reader.Fault(where + "direction", "\"" + direction + "\"", "vertical or horizontal");
    result.direction = direction == "horizontal" ? Direction_Horizontal : Direction_Vertical;
    read("pairs", result.pairs);
    read("reruns", result.reruns);
    if (document.contains("dead_blobs"))
        read("dead_blobs", result.deadBlobs);
    if (document.contains("name"))
        read("name", result.name);
    const json& region = ObjectAt(document, "region");
    reader.Read(region, where + "region.", "left", result.region.left);
    reader.Read(region, where + "region.", "top", result.region.top);
    reader.Read(region, where + "region.", "right", result.region.right);
    reader.Read(region, where + "region.", "bottom", result.region.bottom);
    if (const json& times = ObjectAt(document, "milliseconds"); !times.empty())
    {
        reader.Read(times, where + "milliseconds.", "inspect", result.inspectMilliseconds);
        reader.Read(times, where + "milliseconds.", "blobs", result.blobMilliseconds);
        reader.Read(times, where + "milliseconds.", "total", result.totalMilliseconds);
    }
    const json& drift = ObjectAt(document, "drift");
    const auto readKnown = [&](const char* key, double& target)
    {
        if (drift.contains(key))
            reader.Read(drift, where + "drift.", key, target);
    };
    readKnown("light", result.drift.light);
    readKnown("noise", result.drift.noise);
    readKnown("pitch_x", result.drift.pitchX);
    readKnown("pitch_y", result.drift.pitchY);
    if (document.contains("outlines"))
        for (const json& outline : reader.List(document, where, "outlines", "a list of outlines"))
            result.outlines.push_back(ReadCorners(reader, outline, where + "outlines"));
    if (document.contains("warnings"))
        for (const json& warning : reader.List(document, where, "warnings", "a list of texts"))
        {
            if (!warning.is_string())
                reader.Fault(where + "warnings", warning.dump(), "texts");
            else
                result.warnings.push_back(warning.get<std::string>());
        }
    const json& blobs = reader.List(document, where, "blobs", "a list of blobs");
    for (std::size_t i = 0; i < blobs.size(); ++i)
        result.blobs.push_back(ReadBlob(reader, blobs[i], where + "blobs[" + std::to_string(i) + "]"));
    return result;
}

} // namespace narvo
