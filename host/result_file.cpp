// Writers of results.
#include "host/result_file.h"

#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "host/problem.h"

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
            {"label", blob.label},
            {"diameter", blob.diameter},
            {"angle", blob.angle},
            {"major_axis", blob.majorAxis},
            {"minor_axis", blob.minorAxis},
            {"circularity", blob.circularity},
            {"elongation", blob.elongation}};
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
    return {{"version", nResultVersion},
            {"code", result.code},
            {"direction", result.direction == Direction_Vertical ? "vertical" : "horizontal"},
            {"region",
             {{"left", result.region.left},
              {"top", result.region.top},
              {"right", result.region.right},
              {"bottom", result.region.bottom}}},
            {"outlines", outlines},
            {"pairs", result.pairs},
            {"reruns", result.reruns},
            {"milliseconds",
             {{"inspect", result.inspectMilliseconds},
              {"blobs", result.blobMilliseconds},
              {"total", result.totalMilliseconds}}},
            {"warnings", result.warnings},
            {"blobs", blobs}};
}

std::string ResultToCsv(const InspectionResult& result)
{
    std::ostringstream out;
    const auto line = [&](const ordered_json& blob, bool header)
    {
        const char* separator = "";
        for (const auto& [name, value] : blob.items())
        {
            out << separator << (header ? name : value.is_string() ? value.get<std::string>() : value.dump());
            separator = ",";
        }
        out << '\n';
    };
    line(BlobToJson(Blob{}), true);
    for (const Blob& blob : result.blobs)
        line(BlobToJson(blob), false);
    return out.str();
}

void WriteTextFile(const std::filesystem::path& file, const std::string& text)
{
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    if (!stream.flush())
        throw HostError({{"file " + file.string(), "cannot be written", "a writable place"}});
}

} // namespace narvo
