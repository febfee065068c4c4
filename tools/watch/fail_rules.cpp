// SPDX-License-Identifier: MIT
// Rules from text, and their answers.
#include "tools/watch/fail_rules.h"

#include <charconv>
#include <cmath>
#include <string_view>

#include <nlohmann/json.hpp>

#include "host/file/input_file.h"
#include "host/limits.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"

namespace narvo::tools
{

namespace
{

const char* const szConditions =
    "conditions with commas between: bright, dark, label=N, area>=PIXELS, length>=PIXELS, peak>=LEVELS, and at most "
    "one of count>N and density>N (blobs per square metre); numbers 0 to 1e9";

/// A number that is all of `text`. @return whether it is one from 0 to 1e9
bool ReadLimit(std::string_view text, double& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number >= 0.0 && number <= 1e9;
}

bool ReadCondition(std::string_view word, FailRule& rule, bool& limited)
{
    double number = 0.0;
    const auto takes = [&](std::string_view name)
    { return word.starts_with(name) && ReadLimit(word.substr(name.size()), number); };
    const auto isWhole = [&] { return number == std::floor(number); };
    if (word == "bright" || word == "dark")
    {
        if (rule.polarity != Polarity_Any)
            return false;
        rule.polarity = word == "bright" ? Polarity_Bright : Polarity_Dark;
    }
    else if (takes("label=") && isWhole())
        rule.label = static_cast<int>(number);
    else if (takes("area>="))
        rule.leastArea = static_cast<int>(std::ceil(number));
    else if (takes("length>="))
        rule.leastLength = number;
    else if (takes("peak>="))
        rule.leastPeak = static_cast<int>(std::ceil(number));
    else if (takes("count>") && isWhole() && !limited)
        limited = true, rule.mostBlobs = number;
    else if (takes("density>") && !limited)
        limited = true, rule.mostDensity = number;
    else
        return false;
    return true;
}

bool Meets(const Blob& blob, const FailRule& rule)
{
    return (rule.polarity == Polarity_Any || blob.bright == (rule.polarity == Polarity_Bright)) &&
           (rule.label < 0 || blob.label == rule.label) && blob.area >= rule.leastArea &&
           blob.majorAxis >= rule.leastLength && blob.peak >= rule.leastPeak;
}

} // namespace

FailRule ParseFailRule(const std::string& text, const std::string& field)
{
    FailRule rule;
    rule.text = text;
    bool limited = false;
    std::string_view rest = text;
    for (;;)
    {
        const std::size_t comma = rest.find(',');
        if (!ReadCondition(rest.substr(0, comma), rule, limited))
            throw HostError({{field, text, szConditions}});
        if (comma == std::string_view::npos)
            return rule;
        rest.remove_prefix(comma + 1);
    }
}

void ParsePixelSize(const std::string& text, FailRules& rules, const std::string& field)
{
    const std::string_view all = text;
    const std::size_t cross = all.find('x');
    if (cross == std::string_view::npos || !ReadLimit(all.substr(0, cross), rules.pixelWidth) ||
        !ReadLimit(all.substr(cross + 1), rules.pixelHeight) || rules.pixelWidth < 1e-3 || rules.pixelHeight < 1e-3)
        throw HostError({{field, text, "WIDTHxHEIGHT of a pixel on the object, 0.001 to 1e9 micrometres"}});
}

void LoadFailRules(const std::filesystem::path& file, FailRules& rules)
{
    const std::string name = file.string();
    const nlohmann::json document = ParseJsonText(ReadShortFile(file, name, nRecipeByteLimit), name);
    static constexpr const char* szForm = "{\"version\": 1, \"pixel_size\": \"10x10\", \"fail\": [\"dark,area>=50\"]}";
    if (!document.is_object())
        throw HostError({{name, "no object", szForm}});
    std::vector<Problem> found;
    const auto version = document.find("version");
    if (version == document.end() || *version != 1)
        found.push_back({name + ", version", version == document.end() ? "missing" : version->dump(), "1"});
    for (const auto& [key, value] : document.items())
    {
        const std::string field = name + ", " + key;
        try
        {
            if (key == "pixel_size" && value.is_string())
                ParsePixelSize(value.get<std::string>(), rules, field);
            else if (key == "fail" && value.is_array())
                for (const nlohmann::json& rule : value)
                    rules.rules.push_back(
                        ParseFailRule(rule.is_string() ? rule.get<std::string>() : rule.dump(), field));
            else if (key != "version")
                found.push_back({field, value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace), szForm});
        }
        catch (const HostError& error)
        {
            found.insert(found.end(), error.Problems().begin(), error.Problems().end());
        }
    }
    ThrowIfAny(std::move(found));
}

void CheckFailRules(const FailRules& rules)
{
    for (const FailRule& rule : rules.rules)
        if (rule.mostDensity >= 0.0 && rules.pixelWidth <= 0.0)
            throw HostError({{"--pixel-size", "missing", "WIDTHxHEIGHT in micrometres, for " + rule.text}});
}

std::vector<std::string> FailedRules(const FailRules& rules, const ImageResult& result)
{
    if (rules.rules.empty())
        return result.BlobCount() > 0 ? std::vector<std::string>{"count>0"} : std::vector<std::string>{};
    // Square micrometres of the whole image, in square metres.
    const double area = result.width * rules.pixelWidth * 1e-6 * (result.height * rules.pixelHeight * 1e-6);
    std::vector<std::string> failed;
    for (const FailRule& rule : rules.rules)
    {
        double count = 0.0;
        for (const InspectionResult& region : result.regions)
            for (const Blob& blob : region.blobs)
                count += Meets(blob, rule) ? 1.0 : 0.0;
        if (rule.mostDensity >= 0.0 ? count > rule.mostDensity * area : count > rule.mostBlobs)
            failed.push_back(rule.text);
    }
    return failed;
}

} // namespace narvo::tools
