// SPDX-License-Identifier: MIT
// Values from JSON into the places that the field table names, with all problems collected.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <set>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/problem.h"
#include "host/recipe/recipe_fields.h"

namespace narvo
{

using Problems = std::vector<Problem>;

/// The value's text, as a problem shows it.
inline std::string Shorten(const nlohmann::json& value)
{
    constexpr std::size_t nLimit = 60;
    std::string text = value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return text.size() <= nLimit ? text : text.substr(0, nLimit) + "...";
}

inline bool FitsInt(const nlohmann::json& value)
{
    if (value.is_number_unsigned())
        return value.get<std::uint64_t>() <= static_cast<std::uint64_t>(std::numeric_limits<int>::max());
    return value.is_number_integer() && value.get<std::int64_t>() >= std::numeric_limits<int>::min() &&
           value.get<std::int64_t>() <= std::numeric_limits<int>::max();
}

/// Stores `value` when it has the field's type. @return false when it has not
template <typename Owner>
bool Store(const Field<Owner>& field, const nlohmann::json& value, Owner& owner)
{
    return std::visit(
        [&](const auto& member)
        {
            using Member = std::decay_t<decltype(member)>;
            if constexpr (std::is_same_v<Member, int Owner::*>)
            {
                if (!FitsInt(value))
                    return false;
                owner.*member = value.get<int>();
            }
            else if constexpr (std::is_same_v<Member, double Owner::*>)
            {
                if (!value.is_number())
                    return false;
                owner.*member = value.get<double>();
            }
            else if constexpr (std::is_same_v<Member, bool Owner::*>)
            {
                if (!value.is_boolean())
                    return false;
                owner.*member = value.get<bool>();
            }
            else if constexpr (std::is_same_v<Member, std::string Owner::*>)
            {
                if (!value.is_string())
                    return false;
                owner.*member = value.get<std::string>();
            }
            else
            {
                if (!value.is_string())
                    return false;
                const auto word = std::find(member.words.begin(), member.words.end(), value.get<std::string>());
                if (word == member.words.end())
                    return false;
                owner.*member.member = static_cast<int>(word - member.words.begin());
            }
            return true;
        },
        field.member);
}

/// Reads the scalar fields of one JSON object and notes everything else in it.
template <typename Owner>
class FieldReader
{
public:
    FieldReader(std::span<const Field<Owner>> fields, std::span<const StructuredField> structured, Kind kind,
                Owner& owner, std::string prefix, Problems& found)
        : m_fields(fields), m_structured(structured), m_kind(kind), m_owner(owner), m_prefix(std::move(prefix)),
          m_found(found)
    {
    }

    /// Structured members met on the way are handed to `visit(path, value)`.
    template <typename Visit>
    void Read(const nlohmann::json& document, Visit visit)
    {
        Walk(document, "", visit);
        for (const Field<Owner>& field : m_fields)
            if ((field.required & SetOf(m_kind)) != 0 && !m_given.contains(field.path))
                m_found.push_back({m_prefix + std::string(field.path), "missing", AllowedText(field)});
    }

private:
    template <typename Visit>
    void Walk(const nlohmann::json& object, const std::string& parent, Visit& visit)
    {
        for (const auto& [key, value] : object.items())
        {
            const std::string path = parent + key;
            if (const Field<Owner>* field = FindField(m_fields, path, m_kind))
            {
                m_given.insert(field->path);
                if (!Store(*field, value, m_owner))
                    m_found.push_back({m_prefix + path, Shorten(value), AllowedText(*field)});
            }
            else if (std::any_of(m_structured.begin(), m_structured.end(),
                                 [&](const StructuredField& candidate) { return candidate.path == path; }))
                visit(path, value);
            else if (const std::string known = Members(path + "."); known.empty())
                m_found.push_back({(m_prefix + path).empty() ? "\"\"" : m_prefix + path, "unknown field",
                                   "one of " + Members(parent)});
            else if (!value.is_object())
                m_found.push_back({m_prefix + path, Shorten(value), "an object with " + known});
            else
                Walk(value, path + ".", visit);
        }
    }

    /// Names right below a dotted prefix, as a list in words.
    std::string Members(const std::string& parent) const
    {
        std::vector<std::string> names;
        const auto note = [&](std::string_view path)
        {
            if (path.size() <= parent.size() || path.substr(0, parent.size()) != parent)
                return;
            const std::string_view rest = path.substr(parent.size());
            const std::string name(rest.substr(0, rest.find('.')));
            if (std::find(names.begin(), names.end(), name) == names.end())
                names.push_back(name);
        };
        for (const Field<Owner>& field : m_fields)
            note(field.path);
        for (const StructuredField& field : m_structured)
            note(field.path);
        std::string text;
        for (const std::string& name : names)
            text += (text.empty() ? "" : ", ") + name;
        return text;
    }

    std::span<const Field<Owner>> m_fields;
    std::span<const StructuredField> m_structured;
    Kind m_kind;
    Owner& m_owner;
    std::string m_prefix;
    Problems& m_found;
    std::set<std::string_view> m_given;
};

/// Calls `read(path of the entry, entry)` for each entry of a list. None is read of a list that is too long.
template <typename Read>
void ReadList(const std::string& path, const nlohmann::json& value, const char* content, std::size_t limit,
              Problems& found, Read read)
{
    if (!value.is_array())
    {
        found.push_back({path, Shorten(value), std::string("a list of ") + content});
        return;
    }
    if (value.size() > limit)
    {
        found.push_back(
            {path, std::to_string(value.size()) + " " + content, "at most " + std::to_string(limit) + " " + content});
        return;
    }
    for (std::size_t i = 0; i < value.size(); ++i)
        read(path + "[" + std::to_string(i) + "]", value[i]);
}

} // namespace narvo
