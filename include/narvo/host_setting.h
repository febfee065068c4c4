// SPDX-License-Identifier: MIT
// Settings by their names, for calls that have many: what is not named keeps its default, and later versions may know
// more of them.
#pragma once

#include <string>
#include <vector>

#include "narvo/host_error.h"

namespace narvo::v1
{

/// One setting: {"edge_tolerance", 2.5}.
struct Setting
{
    std::string name;   ///< as listed where settings are taken
    double value = 0.0; ///< in the setting's unit and range; whole where it says so
};

/// A name that is given twice takes the last value. Names that do not exist, values outside their range and values that
/// are not whole where they must be are problems of the call, each under the setting's name.
using Settings = std::vector<Setting>;

} // namespace narvo::v1
