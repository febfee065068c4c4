// SPDX-License-Identifier: MIT
// What tests ask of the problems that the host library reports.
#pragma once

#include <string>
#include <vector>

#include <narvo/host_error.h>

namespace narvo::test
{

/// The fields that problems are about, in their order.
inline std::vector<std::string> FieldsOf(const std::vector<v1::Problem>& problems)
{
    std::vector<std::string> fields;
    for (const v1::Problem& problem : problems)
        fields.push_back(problem.field);
    return fields;
}

} // namespace narvo::test
