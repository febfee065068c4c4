// SPDX-License-Identifier: MIT
// Settings by their names, as public calls take them.
#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "host/problem.h"
#include "narvo/host_setting.h"

namespace narvo::library
{

/// A name and where its value goes; that of an int must be whole. Ranges of numbers are left to whoever reads them.
struct SettingPlace
{
    const char* name;
    std::variant<int*, double*> value;
};

/// Everything that is wrong with the values as they are in their places now, by the names of the settings.
using CheckSettings = std::function<std::vector<Problem>()>;

/// Puts each setting in its place. `check` knows the ranges and is asked for that of a value that no int holds.
/// @throws HostError with all names that do not exist and all values that no int holds
void TakeSettings(const v1::Settings& settings, const std::vector<SettingPlace>& places, const CheckSettings& check);

} // namespace narvo::library
