// SPDX-License-Identifier: MIT
// Times of any number of frames in fixed memory.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <numeric>

namespace narvo::tools
{

/// Counts times by classes that are 1/64 of their value wide, from 1 microsecond to 19 hours.
class LatencyHistogram
{
public:
    void Add(double milliseconds)
    {
        const double microseconds = milliseconds * 1e3;
        const std::uint64_t value = microseconds < 1.0 ? 0 : static_cast<std::uint64_t>(microseconds);
        ++m_counts[ClassOf(value)];
        ++m_total;
        m_sum += milliseconds;
        m_worst = milliseconds > m_worst ? milliseconds : m_worst;
    }

    std::uint64_t Count() const { return m_total; }
    double Worst() const { return m_worst; }
    double Sum() const { return m_sum; }

    /// The upper end, in milliseconds, of the class in which that share of the times ends; at most the worst time, and
    /// above the exact value by less than 1/64 of it or by 1 microsecond. 0 without times.
    double Quantile(double share) const
    {
        const auto wanted = static_cast<std::uint64_t>(share * static_cast<double>(m_total) + 0.999999);
        std::uint64_t seen = 0;
        for (std::size_t i = 0; i < nClasses && m_total > 0; ++i)
        {
            seen += m_counts[i];
            if (seen >= wanted && seen > 0)
            {
                const double end = static_cast<double>(EndOf(i)) / 1e3;
                return end < m_worst ? end : m_worst;
            }
        }
        return m_worst;
    }

    /// Times below that many milliseconds. Exact for 2 to the power 0, 1, ... 36 microseconds; other limits count as
    /// the end of the class that they lie in.
    std::uint64_t CountBelow(double milliseconds) const
    {
        const auto limit = static_cast<std::uint64_t>(milliseconds * 1e3 + 0.5);
        const std::size_t last = ClassOf(limit > 0 ? limit - 1 : 0);
        return std::accumulate(m_counts.begin(), m_counts.begin() + static_cast<std::ptrdiff_t>(last) + 1,
                               std::uint64_t{0});
    }

private:
    static constexpr int nSteps = 64;
    static constexpr int nDoublings = 31;
    static constexpr std::size_t nClasses = static_cast<std::size_t>(nSteps) * nDoublings;

    /// Values below 64 have a class of their own; then 64 classes for each doubling.
    static std::size_t ClassOf(std::uint64_t value)
    {
        const auto doublings = static_cast<std::size_t>(std::bit_width(value / nSteps));
        const std::size_t number = doublings == 0 ? value : doublings * nSteps + (value >> (doublings - 1)) - nSteps;
        return number < nClasses ? number : nClasses - 1;
    }
    /// The first value beyond a class.
    static std::uint64_t EndOf(std::size_t number)
    {
        const std::size_t doublings = number / nSteps;
        if (doublings == 0)
            return number + 1;
        return (std::uint64_t{number % nSteps} + nSteps + 1) << (doublings - 1);
    }

    std::array<std::uint64_t, nClasses> m_counts{};
    std::uint64_t m_total = 0;
    double m_sum = 0.0;
    double m_worst = 0.0;
};

} // namespace narvo::tools
