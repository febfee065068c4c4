// SPDX-License-Identifier: MIT
// Shared pieces of the host layer's tests: a folder that goes away, a small valid recipe, matching of problems.
#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/problem.h"
#include "host/recipe/recipe_file.h"
#include "support/test_folder.h"

namespace narvo
{

/// How the test framework shows a problem.
inline void PrintTo(const Problem& problem, std::ostream* out)
{
    *out << problem.Text();
}

} // namespace narvo

namespace narvo::test
{

/// The shortest recipe that says all that is required.
inline nlohmann::json SmallestRecipe()
{
    return {{"version", 1}, {"pitch", {{"x", 20.5}, {"y", 30.25}}}};
}

/// The same for a mode, with the fields that it has no default for.
inline nlohmann::json SmallestRecipe(const std::string& mode)
{
    nlohmann::json document = SmallestRecipe();
    document["mode"] = mode;
    if (mode == "binarise" || mode == "average" || mode == "texture" || mode == "lattice")
        document.erase("pitch");
    if (mode == "pixel")
        document["threshold"]["base"] = 20;
    if (mode == "float")
        document["threshold"]["base"] = 80;
    if (mode == "binarise")
        document["binarise"]["limit"] = 40;
    if (mode == "average")
        document["average"] = {{"bright", 20}, {"dark", 20}};
    if (mode == "texture")
        document["texture"]["features"] = {{{"fold", 4}, {"size", 2}, {"bright", {{"limit", 9.0}}}}};
    return document;
}

inline Recipe SmallestParsed()
{
    return ParseRecipe(SmallestRecipe(), {});
}

/// Problems that `call` throws; empty when it throws none.
template <typename Call>
std::vector<Problem> ProblemsOf(Call call)
{
    try
    {
        call();
    }
    catch (const HostError& error)
    {
        return error.Problems();
    }
    return {};
}

inline std::vector<Problem> ParseProblems(const nlohmann::json& document)
{
    return ProblemsOf([&] { ParseRecipe(document, {}); });
}

MATCHER_P3(IsProblem, field, value, allowed, "")
{
    *result_listener << arg.Text();
    return arg.field == field && arg.value == value && arg.allowed == allowed;
}

MATCHER_P(IsAbout, field, "")
{
    *result_listener << arg.Text();
    return arg.field == field;
}

} // namespace narvo::test
