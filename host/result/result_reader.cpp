// Reading of results; each field is asked for by its name and told where it is missing.
#include "host/result/result_reader.h"

#include <fstream>

#include <nlohmann/json.hpp>

#include "host/problem.h"
#include "host/text_file.h"

namespace narvo
{

using nlohmann::json;

namespace
{

/// Reads members of JSON objects and collects what is wrong with them.
class Reader
{
public:
    explicit Reader(std::string name) : m_name(std::move(name)) {}

    template <typename Value>
    void Read(const json& object, const std::string& where, const char* key, Value& target)
    {
        const std::string field = where + key;
        if (!object.contains(key))
            return Fault(field, "missing", Wanted<Value>());
        const json& value = object[key];
        const bool fits = std::is_same_v<Value, bool>          ? value.is_boolean()
                          : std::is_same_v<Value, std::string> ? value.is_string()
                          : std::is_floating_point_v<Value>    ? value.is_number()
                                                               : value.is_number_integer();
        if (!fits)
            return Fault(field, value.dump(), Wanted<Value>());
        target = value.get<Value>();
    }

    void Fault(const std::string& field, const std::string& value, const std::string& wanted)
    {
        constexpr std::size_t nMost = 20; // a file of another kind would give thousands
        if (m_found.size() < nMost)
            m_found.push_back({m_name + ", " + field, value, wanted});
    }

    void Finish() { ThrowIfAny(std::move(m_found)); }

private:
    template <typename Value>
    static std::string Wanted()
    {
        if (std::is_same_v<Value, bool>)
            return "true or false";
        if (std::is_same_v<Value, std::string>)
            return "text";
        return std::is_floating_point_v<Value> ? "number" : "whole number";
    }

    std::string m_name;
    std::vector<Problem> m_found;
};

Blob ReadBlob(Reader& reader, const json& entry, const std::string& where)
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
    read("label", blob.label);
    read("diameter", blob.diameter);
    read("angle", blob.angle);
    read("major_axis", blob.majorAxis);
    read("minor_axis", blob.minorAxis);
    read("circularity", blob.circularity);
    read("elongation", blob.elongation);
    return blob;
}

/// One region's part of a document. Times are not part of every form.
InspectionResult ReadRegion(Reader& reader, const json& document, const std::string& where)
{
    InspectionResult result;
    const auto object = [&](const char* key)
    { return document.contains(key) && document[key].is_object() ? document[key] : json::object(); };
    std::string direction;
    reader.Read(document, where, "code", result.code);
    reader.Read(document, where, "direction", direction);
    result.direction = direction == "horizontal" ? Direction_Horizontal : Direction_Vertical;
    reader.Read(document, where, "pairs", result.pairs);
    reader.Read(document, where, "reruns", result.reruns);
    const json region = object("region");
    reader.Read(region, where + "region.", "left", result.region.left);
    reader.Read(region, where + "region.", "top", result.region.top);
    reader.Read(region, where + "region.", "right", result.region.right);
    reader.Read(region, where + "region.", "bottom", result.region.bottom);
    if (const json times = object("milliseconds"); !times.empty())
    {
        reader.Read(times, where + "milliseconds.", "inspect", result.inspectMilliseconds);
        reader.Read(times, where + "milliseconds.", "blobs", result.blobMilliseconds);
        reader.Read(times, where + "milliseconds.", "total", result.totalMilliseconds);
    }
    const auto isPoint = [](const json& corner) {
        return corner.is_array() && corner.size() == 2 && corner[0].is_number_integer() &&
               corner[1].is_number_integer();
    };
    for (const json& outline : document.value("outlines", json::array()))
    {
        std::vector<CPoint>& corners = result.outlines.emplace_back();
        for (const json& corner : outline)
            if (isPoint(corner))
                corners.emplace_back(corner[0].get<int>(), corner[1].get<int>());
            else
                reader.Fault(where + "outlines", corner.dump(), "corners as [x, y]");
    }
    for (const json& warning : document.value("warnings", json::array()))
        if (warning.is_string())
            result.warnings.push_back(warning.get<std::string>());
    if (document.contains("name") && document["name"].is_string())
        result.name = document["name"].get<std::string>();
    const json blobs = document.contains("blobs") ? document["blobs"] : json();
    if (!blobs.is_array())
        reader.Fault(where + "blobs", "no list", "a list of blobs");
    for (std::size_t i = 0; i < blobs.size() && blobs.is_array(); ++i)
        result.blobs.push_back(ReadBlob(reader, blobs[i], where + "blobs[" + std::to_string(i) + "]"));
    return result;
}

/// All regions of one image.
void ReadImage(Reader& reader, const json& document, const std::string& where, std::vector<SavedResult>& saved)
{
    const auto text = [&](const char* key)
    { return document.contains(key) && document[key].is_string() ? document[key].get<std::string>() : std::string(); };
    const auto number = [&](const char* key)
    { return document.contains(key) && document[key].is_number_integer() ? document[key].get<int>() : 0; };
    const bool several = document.contains("regions") && document["regions"].is_array();
    const int regions = several ? static_cast<int>(document["regions"].size()) : 1;
    for (int i = 0; i < regions; ++i)
    {
        SavedResult& one = saved.emplace_back();
        const std::string inside = several ? where + "regions[" + std::to_string(i) + "]." : where;
        const json& part = several ? document["regions"][static_cast<std::size_t>(i)] : document;
        if (part.is_object())
            one.result = ReadRegion(reader, part, inside);
        else
            reader.Fault(inside, "not an object", "a region");
        one.image = text("image");
        one.recipe = text("recipe");
        one.region = i;
        one.regions = regions;
        one.width = number("width");
        one.height = number("height");
    }
}

} // namespace

std::vector<SavedResult> LoadResults(const std::filesystem::path& file)
{
    const std::string name = "result " + file.string();
    std::ifstream stream = OpenTextFile(file, name);
    const HostError none({{name, "no list of blobs", "a result file as narvo inspect writes it"}});
    Reader reader(name);
    std::vector<SavedResult> saved;
    const auto isResult = [](const json& document)
    { return document.is_object() && (document.contains("blobs") || document.contains("regions")); };
    if (file.extension() == ".jsonl")
    {
        std::size_t number = 0;
        for (std::string line; std::getline(stream, line);)
        {
            ++number;
            const json document = json::parse(line, nullptr, false);
            if (!isResult(document))
                throw none;
            ReadImage(reader, document, "line " + std::to_string(number) + ", ", saved);
        }
    }
    else
    {
        const json document = json::parse(stream, nullptr, false);
        if (!isResult(document))
            throw none;
        ReadImage(reader, document, "", saved);
    }
    reader.Finish();
    return saved;
}

} // namespace narvo
