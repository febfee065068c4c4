// SPDX-License-Identifier: MIT
// JSON from its text, with what the parser alone lets pass: texts without end, deep nesting, keys that come twice.
#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/limits.h"
#include "host/problem.h"
#include "host/recipe/recipe.h"
#include "host/recipe/recipe_json.h"

namespace narvo
{

using nlohmann::json;

namespace
{

/// A first walk over a text, which keeps nothing of its values: where in the document it is, and what is not allowed
/// there. The parser's own callbacks look through all members of a list at the end of each, which takes too long.
class Walk : public nlohmann::json_sax<json>
{
public:
    explicit Walk(const std::string& name) : m_name(name) {}

    bool null() override { return EndValue(); }
    bool boolean(bool /*value*/) override { return EndValue(); }
    bool number_integer(number_integer_t /*value*/) override { return EndValue(); }
    bool number_unsigned(number_unsigned_t /*value*/) override { return EndValue(); }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return EndValue(); }
    bool string(string_t& /*value*/) override { return EndValue(); }
    bool binary(binary_t& /*value*/) override { return EndValue(); }
    bool start_object(std::size_t /*members*/) override { return Begin(false); }
    bool end_object() override { return End(); }
    bool start_array(std::size_t /*entries*/) override { return Begin(true); }
    bool end_array() override { return End(); }
    bool key(string_t& name) override
    {
        Level& level = m_levels.back();
        level.key = name;
        if (!level.keys.insert(name).second)
            throw HostError({{Path(), "given twice in " + m_name, "each key once"}});
        return true;
    }
    /// The second walk reports it.
    bool parse_error(std::size_t /*place*/, const std::string& /*token*/, const json::exception& /*error*/) override
    {
        return false;
    }

private:
    struct Level
    {
        bool list;
        std::size_t index; ///< of the entry in a list
        std::string key;   ///< of the member in an object
        std::set<std::string> keys;
    };

    bool Begin(bool list)
    {
        constexpr std::size_t nDepthLimit = 16; // no form of ours goes as deep, and values are written recursively
        if (m_levels.size() == nDepthLimit)
            throw HostError({{m_name, "nested more than " + std::to_string(nDepthLimit) + " deep", "a JSON object"}});
        m_levels.push_back({list, 0, {}, {}});
        return true;
    }

    bool End()
    {
        m_levels.pop_back();
        return EndValue();
    }

    bool EndValue()
    {
        if (!m_levels.empty() && m_levels.back().list)
            ++m_levels.back().index;
        return true;
    }

    std::string Path() const
    {
        std::string path;
        for (const Level& level : m_levels)
            if (level.list)
                path += "[" + std::to_string(level.index) + "]";
            else
                path += (path.empty() ? "" : ".") + level.key;
        return path;
    }

    const std::string& m_name;
    std::vector<Level> m_levels;
};

} // namespace

json ParseJsonText(const std::string& text, const std::string& name, std::size_t most)
{
    if (text.size() > most)
        throw HostError({{name, std::to_string(text.size()) + " bytes", "at most " + std::to_string(most) + " bytes"}});
    Walk walk(name);
    try
    {
        json::sax_parse(text, &walk);
        return json::parse(text);
    }
    catch (const json::exception& broken)
    {
        std::string reason = broken.what(); // behind a name of the library's own in brackets
        if (const std::size_t end = reason.find("] "); end != std::string::npos)
            reason.erase(0, end + 2);
        throw HostError({{name, reason, "a JSON object"}});
    }
}

} // namespace narvo
