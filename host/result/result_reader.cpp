// SPDX-License-Identifier: MIT
// Reading of result files.
#include "host/result/result_reader.h"

#include <algorithm>
#include <sstream>

#include <nlohmann/json.hpp>

#include "host/file/input_file.h"
#include "host/file/name_text.h"
#include "host/limits.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"
#include "host/result/checked_reader.h"
#include "host/result/region_reader.h"
#include "host/result/result_file.h"

namespace narvo
{

using nlohmann::json;

namespace
{

/// All regions of one image.
void ReadImage(CheckedReader& reader, const json& document, const std::string& where, std::vector<SavedResult>& saved)
{
    std::string file;
    std::string recipe;
    int width = 0;
    int height = 0;
    const auto read = [&](const char* key, auto& target)
    {
        if (document.contains(key))
            reader.Read(document, where, key, target);
    };
    read("image", file);
    read("recipe", recipe);
    const json named = document.value("references", json::array());
    std::vector<std::string> references;
    const bool listed = named.is_array() && std::all_of(named.begin(), named.end(),
                                                        [](const json& reference) { return reference.is_string(); });
    if (listed)
        for (const json& reference : named)
            references.push_back(NameFromText(reference.get<std::string>()));
    else
        reader.Fault(where + "references", named.type_name(), "a list of file names");
    read("width", width);
    read("height", height);
    int version = nResultVersion;
    read("version", version);
    if (version != nResultVersion)
        reader.Fault(where + "version", std::to_string(version), std::to_string(nResultVersion));
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
        one.image = NameFromText(file);
        one.recipe = NameFromText(recipe);
        one.references = references;
        one.region = i;
        one.regions = regions;
        one.width = width;
        one.height = height;
    }
}

} // namespace

std::vector<SavedResult> LoadResults(const std::filesystem::path& file)
{
    const std::string name = "result " + file.string();
    const bool isLines = file.extension() == ".jsonl";
    const std::string text = isLines ? ReadTextFile(file, name) : ReadShortFile(file, name, nRecipeByteLimit);
    const HostError none({{name, "no list of blobs", "a result file as narvo inspect writes it"}});
    CheckedReader reader(name);
    std::vector<SavedResult> saved;
    const auto isResult = [](const json& document)
    { return document.is_object() && (document.contains("blobs") || document.contains("regions")); };
    if (isLines)
    {
        std::istringstream stream(text);
        std::size_t number = 0;
        for (std::string line; std::getline(stream, line);)
        {
            ++number;
            const json document = ParseJsonText(line, name + ", line " + std::to_string(number));
            if (!isResult(document))
                throw none;
            ReadImage(reader, document, "line " + std::to_string(number) + ", ", saved);
        }
    }
    else
    {
        const json document = ParseJsonText(text, name);
        if (!isResult(document))
            throw none;
        ReadImage(reader, document, "", saved);
    }
    reader.Finish();
    return saved;
}

} // namespace narvo
