// SPDX-License-Identifier: MIT
// How the host layer says that something handed to it is wrong: one exception type with all problems at once. The
// engine itself reports by codes and never throws.
#pragma once

#include <exception>
#include <string>
#include <vector>

namespace narvo
{

/// One thing that is wrong, in words for a person.
struct Problem
{
    std::string field;   ///< path of a recipe field, name of an argument, or a file
    std::string value;   ///< what was found there
    std::string allowed; ///< what would have been right

    /// "field: value; allowed: range", one line that a terminal shows as it stands. Long fields and values are shown by
    /// their beginning and end.
    std::string Text() const;
    bool operator==(const Problem& other) const = default;
};

/// A long list cut to its first nListedProblems, and a last one that says how many more there are. Lists that were put
/// together from such lists are counted right.
std::vector<Problem> FirstOf(std::vector<Problem> found);

/// Everything that was wrong with a call; cut by FirstOf.
class HostError : public std::exception
{
public:
    /// `found` must not be empty.
    explicit HostError(std::vector<Problem> found);

    const std::vector<Problem>& Problems() const { return m_problems; }
    /// One line for each problem.
    const char* what() const noexcept override { return m_text.c_str(); }

private:
    std::vector<Problem> m_problems;
    std::string m_text;
};

/// Throws HostError unless `found` is empty.
void ThrowIfAny(std::vector<Problem> found);

/// A number as short as it can be written without changing it.
std::string FormatNumber(double value);

} // namespace narvo
