// Texts of problems.
#include "host/problem.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace narvo
{

std::string Problem::Text() const
{
    return field + ": " + value + "; allowed: " + allowed;
}

HostError::HostError(std::vector<Problem> found) : m_problems(std::move(found))
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
