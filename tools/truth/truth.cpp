// SPDX-License-Identifier: MIT
// Reading, writing and scoring of ground truth.
#include "tools/truth/truth.h"

#include <algorithm>
#include <map>
#include <sstream>

#include <nlohmann/json.hpp>

#include "host/boxes.h"
#include "host/evaluate/box_files.h"
#include "host/file/input_file.h"
#include "host/file/name_text.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/limits.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"

namespace narvo::tools
{

using nlohmann::json;
using nlohmann::ordered_json;

namespace
{

constexpr int nTruthVersion = 1;

/// A file of another name holds JSON where it begins as one.
bool IsJson(const std::filesystem::path& file, const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r\n", text.starts_with("\xef\xbb\xbf") ? 3 : 0);
    return file.extension() == ".json" || (first != std::string::npos && text[first] == '{');
}

std::vector<TruthDefect> DefectsOf(const std::vector<TrueBox>& boxes)
{
    std::vector<TruthDefect> truth;
    for (const TrueBox& box : boxes)
    {
        TruthDefect& defect = truth.emplace_back();
        defect.kind = box.kind;
        defect.box = box.box;
    }
    return truth;
}

} // namespace

int TruthScore::FoundCount() const
{
    return static_cast<int>(std::count(found.begin(), found.end(), true));
}

int TruthScore::FalseCount() const
{
    return static_cast<int>(std::count(falseBlobs.begin(), falseBlobs.end(), true));
}

double TruthScore::Recall() const
{
    return found.empty() ? 1.0 : static_cast<double>(FoundCount()) / static_cast<double>(found.size());
}

TruthScore CompareWithTruth(const std::vector<TruthDefect>& truth, const std::vector<Blob>& blobs)
{
    TruthScore score;
    score.found.assign(truth.size(), false);
    score.falseBlobs.assign(blobs.size(), true);
    for (std::size_t i = 0; i < truth.size(); ++i)
        for (std::size_t j = 0; j < blobs.size(); ++j)
            if (Overlap(Grown(truth[i].box, nTruthMargin), blobs[j].box))
            {
                score.found[i] = true;
                score.falseBlobs[j] = false;
            }
    return score;
}

std::string DescribeScore(const std::vector<TruthDefect>& truth, const TruthScore& score)
{
    std::map<std::string, std::pair<int, int>> kinds;
    for (std::size_t i = 0; i < truth.size(); ++i)
    {
        auto& [found, all] = kinds[truth[i].kind];
        found += score.found[i] ? 1 : 0;
        ++all;
    }
    std::ostringstream out;
    for (const auto& [kind, counts] : kinds)
        out << "  " << Printable(kind) << ": " << counts.first << " of " << counts.second << '\n';
    return out.str();
}

void SaveTruth(const std::filesystem::path& file, const std::string& imageName, const std::vector<TruthDefect>& truth)
{
    ordered_json defects = ordered_json::array();
    for (const TruthDefect& defect : truth)
        defects.push_back({{"kind", defect.kind},
                           {"polarity", defect.bright ? "bright" : "dark"},
                           {"left", defect.box.left},
                           {"top", defect.box.top},
                           {"right", defect.box.right},
                           {"bottom", defect.box.bottom},
                           {"contrast", defect.contrast}});
    const ordered_json document = {{"version", nTruthVersion}, {"image", NameToText(imageName)}, {"defects", defects}};
    WriteTextFile(file, document.dump(2) + "\n");
}

std::vector<TruthDefect> LoadTruth(const std::filesystem::path& file)
{
    const std::string name = "truth " + file.string();
    const std::string text = ReadShortFile(file, name, nRecipeByteLimit);
    if (!IsJson(file, text))
        return DefectsOf(ReadBoxLines(file));
    const json document = ParseJsonText(text, name);
    if (!document.is_object() || !document.contains("defects") || !document["defects"].is_array())
        throw HostError({{name, "no list of defects", "a JSON object with version and defects"}});

    std::vector<TruthDefect> truth;
    std::vector<Problem> found;
    for (std::size_t i = 0; i < document["defects"].size(); ++i)
    {
        const json& entry = document["defects"][i];
        const std::string field = name + ", defects[" + std::to_string(i) + "]";
        if (!entry.is_object())
        {
            found.push_back({field, "not an object", "an object with kind, left, top, right, bottom"});
            continue;
        }
        TruthDefect defect;
        defect.kind = entry.contains("kind") && entry["kind"].is_string() ? entry["kind"].get<std::string>() : "defect";
        defect.bright = entry.contains("polarity") && entry["polarity"] == "bright";
        const auto read = [&](const char* side, int& target)
        {
            if (entry.contains(side) && entry[side].is_number_integer())
                target = entry[side].get<int>();
            else
                found.push_back({field + "." + side, entry.contains(side) ? entry[side].dump() : "missing",
                                 "whole number of pixels"});
        };
        read("left", defect.box.left);
        read("top", defect.box.top);
        read("right", defect.box.right);
        read("bottom", defect.box.bottom);
        if (entry.contains("contrast") && entry["contrast"].is_number())
            defect.contrast = entry["contrast"].get<double>();
        truth.push_back(defect);
    }
    ThrowIfAny(std::move(found));
    return truth;
}

} // namespace narvo::tools
