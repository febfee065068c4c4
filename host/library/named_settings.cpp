// SPDX-License-Identifier: MIT
// Settings by their names, put in their places.
#include "host/library/named_settings.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace narvo::library
{

namespace
{

bool IsWhole(double value)
{
    return std::floor(value) == value;
}

/// What is right in place of `setting`, for which its place holds a number outside of every range.
std::string AllowedFor(const v1::Setting& setting, const std::vector<Problem>& wrong)
{
    const auto own =
        std::find_if(wrong.begin(), wrong.end(), [&](const Problem& one) { return one.field == setting.name; });
    if (own == wrong.end())
        return "a whole number of 32 bits";
    return IsWhole(setting.value) ? own->allowed : "a whole number, " + own->allowed;
}

} // namespace

void TakeSettings(const v1::Settings& settings, const std::vector<SettingPlace>& places, const CheckSettings& check)
{
    std::vector<Problem> found;
    v1::Settings unfit;
    std::string names;
    for (const SettingPlace& place : places)
        names += (names.empty() ? "" : ", ") + std::string(place.name);
    for (const v1::Setting& setting : settings)
    {
        const auto place = std::find_if(places.begin(), places.end(),
                                        [&](const SettingPlace& one) { return setting.name == one.name; });
        if (place == places.end())
            found.push_back({setting.name, FormatNumber(setting.value), "no such setting; " + names});
        else if (double* const* real = std::get_if<double*>(&place->value); real != nullptr)
            **real = setting.value;
        else if (std::abs(setting.value) <= std::numeric_limits<int>::max() && IsWhole(setting.value))
            *std::get<int*>(place->value) = static_cast<int>(setting.value);
        else
        {
            unfit.push_back(setting);
            *std::get<int*>(place->value) = std::numeric_limits<int>::min();
        }
    }
    const std::vector<Problem> wrong = unfit.empty() ? std::vector<Problem>{} : check();
    for (const v1::Setting& setting : unfit)
        found.push_back({setting.name, FormatNumber(setting.value), AllowedFor(setting, wrong)});
    ThrowIfAny(std::move(found));
}

} // namespace narvo::library
