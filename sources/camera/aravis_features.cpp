// SPDX-License-Identifier: MIT
// One function for each type of feature.
#include "sources/camera/aravis_features.h"

#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <variant>

namespace narvo::sources
{

namespace
{

std::string TextOf(const CameraValue& value)
{
    if (const auto* truth = std::get_if<bool>(&value))
        return *truth ? "true" : "false";
    if (const auto* whole = std::get_if<std::int64_t>(&value))
        return std::to_string(*whole);
    if (const auto* number = std::get_if<double>(&value))
        return FormatNumber(*number);
    return "\"" + std::get<std::string>(value) + "\"";
}

/// A whole number, also where it is written as 512.0.
std::optional<std::int64_t> WholeOf(const CameraValue& value)
{
    if (const auto* whole = std::get_if<std::int64_t>(&value))
        return *whole;
    const auto* number = std::get_if<double>(&value);
    constexpr double dMost = 9007199254740992.0; // up to here doubles hold every whole number
    if (number == nullptr || *number != std::floor(*number) || std::fabs(*number) > dMost)
        return std::nullopt;
    return static_cast<std::int64_t>(*number);
}

std::optional<double> NumberOf(const CameraValue& value)
{
    if (const auto* whole = std::get_if<std::int64_t>(&value))
        return static_cast<double>(*whole);
    const auto* number = std::get_if<double>(&value);
    return number != nullptr ? std::optional(*number) : std::nullopt;
}

/// One feature while it is set.
class Setting
{
public:
    Setting(ArvDevice* device, const CameraFeature& feature, const std::string& field)
        : m_device(device), m_name(feature.name.c_str()), m_value(feature.value), m_field(field + "." + feature.name)
    {
    }

    std::vector<Problem> Set()
    {
        ArvGcNode* const node = arv_device_get_feature(m_device, m_name);
        if (node == nullptr || !ARV_IS_GC_FEATURE_NODE(node))
            Refuse("a feature that the camera has");
        else if (IsAllowed(ARV_GC_FEATURE_NODE(node)))
        {
            // Some nodes are of several types; the narrow ones are asked for first.
            if (ARV_IS_GC_COMMAND(node))
                SetCommand();
            else if (ARV_IS_GC_BOOLEAN(node))
                SetBoolean();
            else if (ARV_IS_GC_ENUMERATION(node))
                SetEnumeration();
            else if (ARV_IS_GC_FLOAT(node))
                SetFloat();
            else if (ARV_IS_GC_INTEGER(node))
                SetInteger();
            else if (ARV_IS_GC_STRING(node))
                SetString();
            else
                Refuse("a feature with a value of its own, which this one has not");
        }
        return std::move(m_found);
    }

private:
    void Refuse(const std::string& allowed) { m_found.push_back({m_field, TextOf(m_value), allowed}); }

    /// Whether the call that may have set m_error succeeded; `allowed` is what the camera takes.
    bool Succeeded(const std::string& allowed)
    {
        if (m_error == nullptr)
            return true;
        Refuse(allowed + " (the camera says: " + TakeErrorText(m_error) + ")");
        return false;
    }

    void CompareWith(const std::string& held, const std::string& wanted, const std::string& allowed)
    {
        if (Succeeded(allowed) && held != wanted)
            Refuse(allowed + " (the camera keeps " + held + ")");
    }

    bool IsAllowed(ArvGcFeatureNode* node)
    {
        const bool available = arv_gc_feature_node_is_available(node, &m_error) != FALSE;
        if (!Succeeded("a feature that can be set now"))
            return false;
        if (!available)
            Refuse("a feature that is available now");
        else if (arv_gc_feature_node_get_actual_access_mode(node) == ARV_GC_ACCESS_MODE_RO)
            Refuse("a feature that can be set; this one can only be read");
        else if (arv_gc_feature_node_is_locked(node, nullptr))
            Refuse("a feature that is not locked by another one");
        return m_found.empty();
    }

    void SetCommand()
    {
        const auto* truth = std::get_if<bool>(&m_value);
        if (truth == nullptr || !*truth)
            return Refuse("true, which executes the command");
        arv_device_execute_command(m_device, m_name, &m_error);
        Succeeded("a command that the camera executes");
    }

    void SetBoolean()
    {
        const auto* truth = std::get_if<bool>(&m_value);
        if (truth == nullptr)
            return Refuse("true or false");
        arv_device_set_boolean_feature_value(m_device, m_name, *truth ? TRUE : FALSE, &m_error);
        if (!Succeeded("true or false"))
            return;
        const bool held = arv_device_get_boolean_feature_value(m_device, m_name, &m_error) != FALSE;
        CompareWith(held ? "true" : "false", TextOf(m_value), "true or false");
    }

    void SetEnumeration()
    {
        unsigned count = 0;
        const std::unique_ptr<const char*, void (*)(void*)> entries(
            arv_device_dup_available_enumeration_feature_values_as_strings(m_device, m_name, &count, &m_error), g_free);
        if (!Succeeded("an entry of the camera's list"))
            return;
        std::string list;
        bool known = false;
        const auto* text = std::get_if<std::string>(&m_value);
        for (unsigned i = 0; i < count; ++i)
        {
            const std::string entry = entries.get()[i];
            known = known || (text != nullptr && *text == entry);
            list += (list.empty() ? "" : ", ") + entry;
        }
        const std::string allowed = "one of " + list;
        if (!known)
            return Refuse(allowed);
        arv_device_set_string_feature_value(m_device, m_name, text->c_str(), &m_error);
        CompareString(*text, allowed);
    }

    void SetString()
    {
        const auto* text = std::get_if<std::string>(&m_value);
        if (text == nullptr)
            return Refuse("a text");
        arv_device_set_string_feature_value(m_device, m_name, text->c_str(), &m_error);
        CompareString(*text, "a text that the camera takes");
    }

    void CompareString(const std::string& wanted, const std::string& allowed)
    {
        if (!Succeeded(allowed))
            return;
        const char* const held = arv_device_get_string_feature_value(m_device, m_name, &m_error);
        CompareWith(held == nullptr ? "nothing" : held, wanted, allowed);
    }

    void SetInteger()
    {
        gint64 low = 0;
        gint64 high = 0;
        arv_device_get_integer_feature_bounds(m_device, m_name, &low, &high, &m_error);
        if (!Succeeded("a whole number in the camera's range"))
            return;
        gint64 step = arv_device_get_integer_feature_increment(m_device, m_name, &m_error);
        g_clear_error(&m_error); // a camera need not know a step
        step = step < 1 ? 1 : step;
        const std::string allowed = "whole number, " + std::to_string(low) + " to " + std::to_string(high) +
                                    (step > 1 ? ", in steps of " + std::to_string(step) : "");
        const std::optional<std::int64_t> whole = WholeOf(m_value);
        if (!whole || *whole < low || *whole > high ||
            (static_cast<std::uint64_t>(*whole) - static_cast<std::uint64_t>(low)) % static_cast<std::uint64_t>(step) !=
                0)
            return Refuse(allowed);
        arv_device_set_integer_feature_value(m_device, m_name, *whole, &m_error);
        if (!Succeeded(allowed))
            return;
        const gint64 held = arv_device_get_integer_feature_value(m_device, m_name, &m_error);
        CompareWith(std::to_string(held), std::to_string(*whole), allowed);
    }

    /// Cameras round such values to what they can do, so these are not read back.
    void SetFloat()
    {
        double low = 0.0;
        double high = 0.0;
        arv_device_get_float_feature_bounds(m_device, m_name, &low, &high, &m_error);
        if (!Succeeded("a number in the camera's range"))
            return;
        const std::string allowed = FormatNumber(low) + " to " + FormatNumber(high);
        const std::optional<double> number = NumberOf(m_value);
        if (!number || !(*number >= low && *number <= high))
            return Refuse(allowed);
        arv_device_set_float_feature_value(m_device, m_name, *number, &m_error);
        Succeeded(allowed);
    }

    ArvDevice* m_device;
    const char* m_name;
    const CameraValue& m_value;
    std::string m_field;
    GError* m_error = nullptr;
    std::vector<Problem> m_found;
};

} // namespace

std::string TakeErrorText(GError*& error)
{
    std::string text = error == nullptr ? "no reason" : error->message;
    g_clear_error(&error);
    return text;
}

std::vector<Problem> SetFeature(ArvDevice* device, const CameraFeature& feature, const std::string& field)
{
    return Setting(device, feature, field).Set();
}

} // namespace narvo::sources
