// SPDX-License-Identifier: MIT
// Members of JSON objects read by name and type; what is missing or ill-typed is collected.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/problem.h"

namespace narvo
{

class CheckedReader
{
public:
    /// `name` says in problems what is read.
    explicit CheckedReader(std::string name) : m_name(std::move(name)) {}

    /// Leaves `target` as it is where the member is missing, of another type, or out of the target's range. `where` is
    /// the path to the object, with a dot at its end.
    template <typename Value>
    void Read(const nlohmann::json& object, const std::string& where, const char* key, Value& target)
    {
        const std::string field = where + key;
        const auto member = object.find(key);
        if (member == object.end())
            return Fault(field, "missing", Wanted<Value>());
        if (!Fits<Value>(*member))
            return Fault(field, member->dump(-1, ' ', false, nlohmann::json::error_handler_t::replace),
                         Wanted<Value>());
        target = member->get<Value>();
    }

    /// A member that is there, an array; otherwise an empty one, and a problem.
    const nlohmann::json& List(const nlohmann::json& object, const std::string& where, const char* key,
                               const char* wanted)
    {
        static const nlohmann::json none = nlohmann::json::array();
        const auto member = object.find(key);
        if (member != object.end() && member->is_array())
            return *member;
        Fault(where + key, member == object.end() ? "missing" : "no list", wanted);
        return none;
    }

    void Fault(const std::string& field, const std::string& value, const std::string& wanted)
    {
        constexpr std::size_t nMost = 20; // a file of another kind would give thousands
        if (m_found.size() < nMost)
            m_found.push_back({m_name + ", " + field, value, wanted});
    }

    /// @throws HostError with what was collected
    void Finish() { ThrowIfAny(std::move(m_found)); }

private:
    template <typename Value>
    static bool Fits(const nlohmann::json& value)
    {
        if constexpr (std::is_same_v<Value, bool>)
            return value.is_boolean();
        else if constexpr (std::is_same_v<Value, std::string>)
            return value.is_string();
        else if constexpr (std::is_floating_point_v<Value>)
            return value.is_number();
        else if (value.is_number_unsigned())
            return std::in_range<Value>(value.get<std::uint64_t>());
        else
            return value.is_number_integer() && std::in_range<Value>(value.get<std::int64_t>());
    }

    template <typename Value>
    static const char* Wanted()
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

} // namespace narvo
