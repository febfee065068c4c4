// SPDX-License-Identifier: MIT
// Texts of problems.
#include "host/problem.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "host/foreign_text.h"
#include "host/limits.h"

namespace narvo
{

namespace
{

const char* const szFurther = "further problems";

/// Problems that an entry of a list stands for.
std::size_t CountOf(const Problem& problem)
{
    std::size_t count = 1;
    if (problem.field == szFurther)
        std::from_chars(problem.value.data(), problem.value.data() + problem.value.size(), count);
    return count;
}

} // namespace

std::string Problem::Text() const
{
    return Printable(Shortened(field) + ": " + Shortened(value) + "; allowed: " + allowed);
}

std::vector<Problem> FirstOf(std::vector<Problem> found)
{
    if (found.size() <= nListedProblems + 1)
        return found;
    std::size_t others = 0;
    for (std::size_t i = nListedProblems; i < found.size(); ++i)
        others += CountOf(found[i]);
    found.resize(nListedProblems);
    found.push_back(
        {szFurther, std::to_string(others), "none; the first " + std::to_string(nListedProblems) + " are listed"});
    return found;
}

HostError::HostError(std::vector<Problem> found) : m_problems(FirstOf(std::move(found)))
{
    for (const Problem& problem : m_problems)
        m_text += (m_text.empty() ? "" : "\n") + problem.Text();
}

void ThrowIfAny(std::vector<Problem> found)
{
    if (!found.empty())
        throw HostError(std::move(found));
}

std::string FormatNumber(double value)
{
    // Shortest digits that read back the same, without an exponent where people would not write one.
    const double size = std::fabs(value);
    const auto format =
        size < 1e12 && (size >= 1e-6 || size == 0.0) ? std::chars_format::fixed : std::chars_format::general;
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value, format).ptr;
    return {text.data(), end};
}

} // namespace narvo
