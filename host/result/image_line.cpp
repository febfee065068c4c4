// SPDX-License-Identifier: MIT
// The line's members, in the order in which they are written.
#include "host/result/image_line.h"

#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "host/file/name_text.h"
#include "host/recipe/recipe_file.h"
#include "host/result/checked_reader.h"
#include "host/result/region_reader.h"
#include "host/result/result_file.h"

namespace narvo
{

using nlohmann::json;
using nlohmann::ordered_json;

namespace
{

constexpr const char* szInspected = "inspected";
constexpr const char* szRefused = "refused";

Problem ReadProblem(CheckedReader& reader, const json& entry, const std::string& where)
{
    Problem problem;
    if (!entry.is_object())
    {
        reader.Fault(where, "not an object", "field, value, allowed");
        return problem;
    }
    const auto read = [&](const char* key, std::string& target)
    {
        reader.Read(entry, where + ".", key, target);
        target = NameFromText(target);
    };
    read("field", problem.field);
    read("value", problem.value);
    read("allowed", problem.allowed);
    return problem;
}

} // namespace

FileIdentity FileIdentity::Of(const std::filesystem::path& file)
{
    struct stat status;
    if (stat(file.c_str(), &status) != 0)
        return {};
    constexpr std::int64_t nSecond = 1000000000;
    return {static_cast<std::uint64_t>(status.st_size), status.st_mtim.tv_sec * nSecond + status.st_mtim.tv_nsec, {}};
}

ordered_json ImageLineToJson(const ImageLine& line)
{
    const ImageResult& result = line.result;
    ordered_json problems = ordered_json::array();
    for (const Problem& problem : result.problems)
        problems.push_back({{"field", NameToText(problem.field)},
                            {"value", NameToText(problem.value)},
                            {"allowed", NameToText(problem.allowed)}});
    ordered_json regions = ordered_json::array();
    for (const InspectionResult& region : result.regions)
    {
        ordered_json document = ResultToJson(region);
        document.erase("version");
        document.erase("milliseconds");
        regions.push_back(std::move(document));
    }
    return {{"version", nImageLineVersion},
            {"image", NameToText(result.name)},
            {"bytes", line.identity.bytes},
            {"modified", line.identity.modified},
            {"digest", line.identity.digest},
            {"recipe", line.recipe},
            {"status", result.IsInspected() ? szInspected : szRefused},
            {"width", result.width},
            {"height", result.height},
            {"blob_count", result.BlobCount()},
            {"problems", problems},
            {"regions", regions}};
}

std::string ImageLineText(const ordered_json& document)
{
    return document.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

bool MayBeCutImageLine(std::string_view text)
{
    static const std::string begin = "{\"version\":" + std::to_string(nImageLineVersion) + ",\"image\":\"";
    return text.substr(0, begin.size()) == std::string_view(begin).substr(0, text.size());
}

ImageLine ReadImageLine(const std::string& text, const std::string& name)
{
    const json document = ParseJsonText(text, name);
    if (!document.is_object())
        throw HostError({{name, "no object", "a line of narvo inspect"}});
    if (const auto version = document.find("version");
        version != document.end() && version->is_number_integer() && *version != nImageLineVersion)
        throw OtherVersionError({{name + ", version", version->dump(), std::to_string(nImageLineVersion)}});

    CheckedReader reader(name);
    ImageLine line;
    ImageResult& result = line.result;
    const auto read = [&](const char* key, auto& target) { reader.Read(document, "", key, target); };
    read("image", result.name);
    result.name = NameFromText(result.name);
    read("bytes", line.identity.bytes);
    read("modified", line.identity.modified);
    read("digest", line.identity.digest);
    read("recipe", line.recipe);
    std::string status;
    read("status", status);
    if (status != szInspected && status != szRefused)
        reader.Fault("status", "\"" + status + "\"", "inspected or refused");
    read("width", result.width);
    read("height", result.height);
    const json& problems = reader.List(document, "", "problems", "a list of problems");
    for (std::size_t i = 0; i < problems.size(); ++i)
        result.problems.push_back(ReadProblem(reader, problems[i], "problems[" + std::to_string(i) + "]"));
    const json& regions = reader.List(document, "", "regions", "a list of regions");
    for (std::size_t i = 0; i < regions.size(); ++i)
    {
        const std::string where = "regions[" + std::to_string(i) + "]";
        if (regions[i].is_object())
            result.regions.push_back(ReadRegion(reader, regions[i], where + "."));
        else
            reader.Fault(where, "not an object", "a region");
    }
    reader.Finish();
    if (ImageLineText(ImageLineToJson(line)) != text)
        throw HostError({{name, "not as it was written", "an unchanged line of narvo inspect"}});
    return line;
}

} // namespace narvo
