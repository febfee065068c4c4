// SPDX-License-Identifier: MIT
// Settings by their names, put in their places.
#include "host/library/named_settings.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace narvo::library
{

void TakeSettings(const v1::Settings& settings, const std::vector<SettingPlace>& places)
{
    std::vector<Problem> found;
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
        else if (!(std::abs(setting.value) <= std::numeric_limits<int>::max()) ||
                 std::floor(setting.value) != setting.value)
            found.push_back({setting.name, FormatNumber(setting.value), "a whole number of 32 bits"});
        else
            *std::get<int*>(place->value) = static_cast<int>(setting.value);
    }
    ThrowIfAny(std::move(found));
}

} // namespace narvo::library
