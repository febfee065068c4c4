// SPDX-License-Identifier: MIT
// Exit codes of the program and how problems reach the terminal.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/problem.h"
#include "narvo/host_error.h"

namespace narvo::tools
{

enum ExitCode : int
{
    ExitCode_Done = 0,
    ExitCode_Unexpected = 1,  ///< an error that the program did not foresee, or not enough memory
    ExitCode_BadInput = 2,    ///< command line, image, recipe or truth
    ExitCode_NotWritten = 3,  ///< a result file or the standard output
    ExitCode_Incomplete = 4,  ///< inspected, but part of the image was not looked at or blobs were lost
    ExitCode_NoPeriod = 5,    ///< the pitch search found no period along either axis, and no lattice
    ExitCode_Interrupted = 6, ///< ended on request; what was done until then is written
    ExitCode_SomeRefused = 7  ///< of many images some could not be inspected
};

/// All codes with their meanings, in ascending order.
const std::vector<std::pair<int, std::string>>& ExitCodes();

/// The codes, for the end of --help.
std::string DescribeExitCodes();

/// What a call of the host library refused.
std::vector<Problem> ProblemsOf(const v1::Error& error);

/// Adds problems to others, each once.
void AddProblems(std::vector<Problem>& found, const std::vector<Problem>& more);

/// Runs a step, and keeps the problems that it throws with the others, each once. @return whether it threw none
template <typename Step>
bool CollectProblems(std::vector<Problem>& found, Step&& step)
{
    try
    {
        step();
        return true;
    }
    catch (const HostError& error)
    {
        AddProblems(found, error.Problems());
    }
    catch (const v1::Error& error)
    {
        AddProblems(found, ProblemsOf(error));
    }
    return false;
}

/// One line for each problem on the error stream.
void PrintProblems(const std::vector<Problem>& found);

} // namespace narvo::tools
