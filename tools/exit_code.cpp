// SPDX-License-Identifier: MIT
// Texts of the exit codes.
#include "tools/exit_code.h"

#include <algorithm>
#include <iostream>

namespace narvo::tools
{

const std::vector<std::pair<int, std::string>>& ExitCodes()
{
    static const std::vector<std::pair<int, std::string>> codes = {
        {ExitCode_Done, "done"},
        {ExitCode_Unexpected, "unexpected error, or not enough memory"},
        {ExitCode_BadInput,
         "bad command line, image, recipe or truth file; one line on the error stream for each problem"},
        {ExitCode_NotWritten, "a result file or the standard output could not be written"},
        {ExitCode_Incomplete,
         "inspected, but part of the image was not looked at or blobs were lost; results are written"},
        {ExitCode_NoPeriod, "pitch search: the image has no period along either axis, and no lattice"},
        {ExitCode_Interrupted, "interrupted; the results until then are written"},
        {ExitCode_SomeRefused, "of many images some could not be inspected; the results of the others are written"},
    };
    return codes;
}

std::string DescribeExitCodes()
{
    std::string text = "Exit codes:";
    for (const auto& [code, meaning] : ExitCodes())
        text += "\n  " + std::to_string(code) + "  " + meaning;
    return text;
}

std::vector<Problem> ProblemsOf(const v1::Error& error)
{
    std::vector<Problem> problems;
    for (const v1::Problem& problem : error.Problems())
        problems.push_back({problem.field, problem.value, problem.allowed});
    return problems;
}

void AddProblems(std::vector<Problem>& found, const std::vector<Problem>& more)
{
    for (const Problem& problem : more)
        if (std::find(found.begin(), found.end(), problem) == found.end())
            found.push_back(problem);
}

void PrintProblems(const std::vector<Problem>& found)
{
    for (const Problem& problem : FirstOf(found))
        std::cerr << "narvo: " << problem.Text() << '\n';
}

} // namespace narvo::tools
