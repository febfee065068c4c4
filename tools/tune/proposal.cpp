// SPDX-License-Identifier: MIT
// Which value of a sweep to take.
#include "tools/tune/proposal.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "host/problem.h"

namespace narvo::tools
{

namespace
{

// Counts of blobs this near, as a share of the larger one, count as the same.
constexpr double dSameShare = 0.05;
// What a threshold from good images gets in addition, as a share of it.
constexpr double dReserve = 0.2;

/// The longest run of points that `good` takes; null where it takes none. Of equal ones the first.
template <typename Good>
std::optional<std::pair<std::size_t, std::size_t>> LongestRun(std::size_t count, Good&& good)
{
    std::optional<std::pair<std::size_t, std::size_t>> best;
    for (std::size_t i = 0; i < count;)
    {
        std::size_t end = i;
        while (end < count && good(end))
            ++end;
        if (end > i && (!best || end - i > best->second - best->first + 1))
            best = {i, end - 1};
        i = std::max(end, i + 1);
    }
    return best;
}

std::string RangeText(const Sweep& sweep, std::size_t first, std::size_t last)
{
    return first == last ? "" : " from " + ValueText(sweep, first) + " to " + ValueText(sweep, last);
}

std::optional<Proposal> ProposeByTruth(const Sweep& sweep, std::optional<long> mostFalse)
{
    const std::vector<SweepPoint>& points = sweep.points;
    const auto allowed = [&](const SweepPoint& point)
    { return point.incomplete == 0 && (!mostFalse || point.falseBlobs <= *mostFalse); };
    const auto worth = [&](const SweepPoint& point)
    { return mostFalse ? static_cast<double>(point.found) : point.Score(); };
    double best = 0.0; // a value that finds nothing is no proposal
    for (const SweepPoint& point : points)
        if (allowed(point))
            best = std::max(best, worth(point));
    const auto run = LongestRun(points.size(), [&](std::size_t i)
                                { return points[i].found > 0 && allowed(points[i]) && worth(points[i]) == best; });
    if (!run)
        return std::nullopt;
    Proposal proposal{(run->first + run->second) / 2, run->first, run->second, ""};
    const SweepPoint& point = points[proposal.point];
    proposal.reason = "finds " + std::to_string(point.found) + " of " + std::to_string(point.defects) + " defects (" +
                      ShareText(point.Recall()) + ") with " + std::to_string(point.falseBlobs) + " false blobs, ";
    if (mostFalse)
        proposal.reason += "the most defects with at most " + std::to_string(*mostFalse) + " false blobs";
    else
        proposal.reason +=
            "the best balance of the two (score " + FormatNumber(std::round(best * 1000.0) / 1000.0) + ")";
    proposal.reason +=
        run->first == run->second ? "" : RangeText(sweep, run->first, run->second) + "; the middle of that";
    return proposal;
}

/// Where no value from some place on reports a blob, the images look good: the least such value and a fifth more, so
/// that the next good image stays empty as well. None where no end of the sweep is empty, or all of it.
std::optional<Proposal> ProposeByEmptiness(const Sweep& sweep)
{
    const std::vector<SweepPoint>& points = sweep.points;
    const auto isEmpty = [](const SweepPoint& point) { return point.incomplete == 0 && point.blobs == 0; };
    std::size_t first = points.size();
    while (first > 0 && isEmpty(points[first - 1]))
        --first;
    if (first == 0 || first == points.size())
        return std::nullopt;
    const double least = points[first].value;
    const double wanted = least + dReserve * std::abs(sweep.own + least);
    std::size_t point = first;
    while (point + 1 < points.size() && points[point].value < wanted)
        ++point;
    std::string reason = "no image reports a blob from " + ValueText(sweep, first) + " on; a fifth more than that";
    if (points[point].value < wanted)
        reason += " would be " + FormatNumber(std::round(wanted * 1000.0) / 1000.0) + ", beyond the sweep";
    return Proposal{point, first, points.size() - 1, reason};
}

std::optional<Proposal> ProposeByPlateau(const Sweep& sweep)
{
    const std::vector<SweepPoint>& points = sweep.points;
    std::optional<Proposal> best;
    for (std::size_t first = 0; first < points.size(); ++first)
    {
        long low = points[first].blobs;
        long high = low;
        for (std::size_t last = first; last < points.size() && points[last].incomplete == 0; ++last)
        {
            low = std::min(low, points[last].blobs);
            high = std::max(high, points[last].blobs);
            if (static_cast<double>(high - low) > dSameShare * static_cast<double>(high))
                break;
            if (last > first && (!best || last - first > best->last - best->first))
                best = {(first + last) / 2, first, last, ""};
        }
    }
    if (!best)
        return std::nullopt;
    long low = points[best->first].blobs;
    long high = low;
    for (std::size_t i = best->first; i <= best->last; ++i)
    {
        low = std::min(low, points[i].blobs);
        high = std::max(high, points[i].blobs);
    }
    best->reason = "the count of blobs hardly changes" + RangeText(sweep, best->first, best->last) + " (" +
                   (low == high ? std::to_string(low) : std::to_string(low) + " to " + std::to_string(high)) +
                   "), the longest such run; the middle of that";
    return best;
}

/// Whether true defects can decide: images without any are good ones, with or without their truth.
bool HasDefects(const Sweep& sweep)
{
    return sweep.hasTruth && std::any_of(sweep.points.begin(), sweep.points.end(),
                                         [](const SweepPoint& point) { return point.defects > 0; });
}

} // namespace

std::optional<Proposal> Propose(const Sweep& sweep, std::optional<long> mostFalse)
{
    if (HasDefects(sweep))
        return ProposeByTruth(sweep, mostFalse);
    if (std::optional<Proposal> empty = ProposeByEmptiness(sweep))
        return empty;
    return ProposeByPlateau(sweep);
}

std::string WhyNoProposal(const Sweep& sweep)
{
    const auto all = [&](auto&& holds) { return std::all_of(sweep.points.begin(), sweep.points.end(), holds); };
    if (all([](const SweepPoint& point) { return point.incomplete > 0; }))
        return "every value left images incomplete";
    if (HasDefects(sweep))
        return all([](const SweepPoint& point) { return point.found == 0; }) ? "no value finds a defect"
                                                                             : "no value qualifies";
    return "no value lies in a steady run";
}

} // namespace narvo::tools
