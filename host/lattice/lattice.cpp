// SPDX-License-Identifier: MIT
// The reduction of Lagrange and Gauss, and the order of lattice points.
#include "host/lattice/lattice.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "host/problem.h"

namespace narvo
{

namespace
{

double Dot(const LatticeVector& a, const LatticeVector& b)
{
    return a.x * b.x + a.y * b.y;
}

/// Of a vector and its opposite the one that points down, or along a row to the right.
LatticeVector Downward(const LatticeVector& vector)
{
    constexpr double dLevel = 1e-9;
    const bool up = vector.y < -dLevel || (vector.y <= dLevel && vector.x < 0.0);
    return up ? LatticeVector{-vector.x, -vector.y} : vector;
}

} // namespace

LatticeVector DisplacementOf(const Lattice& lattice, const LatticeStep& step)
{
    LatticeVector sum{step.a * lattice.vectors[0].x, step.a * lattice.vectors[0].y};
    if (lattice.vectors.size() > 1)
    {
        sum.x += step.b * lattice.vectors[1].x;
        sum.y += step.b * lattice.vectors[1].y;
    }
    return sum;
}

double AngleShare(const LatticeVector& a, const LatticeVector& b)
{
    const double lengths = a.Length() * b.Length();
    return lengths > 0.0 ? std::abs(a.x * b.y - a.y * b.x) / lengths : 0.0;
}

Lattice Reduced(const Lattice& lattice)
{
    if (lattice.vectors.size() < 2)
        return {{Downward(lattice.vectors[0])}};
    LatticeVector a = lattice.vectors[0];
    LatticeVector b = lattice.vectors[1];
    constexpr double dShorter = 0.999; // vectors of nearly equal length keep their order
    for (;;)
    {
        if (b.Length() < dShorter * a.Length())
            std::swap(a, b);
        const double times = std::round(Dot(a, b) / Dot(a, a));
        const LatticeVector rest{b.x - times * a.x, b.y - times * a.y};
        if (times == 0.0 || rest.Length() >= dShorter * b.Length())
            break;
        b = rest;
    }
    return {{Downward(a), Downward(b)}};
}

std::vector<LatticeStep> NearestSteps(const Lattice& lattice, std::size_t count, double width, double height)
{
    // The nearest points lie within so many steps of the shortest vectors; twice as many for those at the border.
    const int reach = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count)))) + 1;
    const bool plane = lattice.vectors.size() > 1;
    const int along = plane ? reach : static_cast<int>(count);
    std::vector<std::pair<double, LatticeStep>> found;
    for (int b = plane ? -reach : 0; b <= (plane ? reach : 0); ++b)
        for (int a = -along; a <= along; ++a)
        {
            const LatticeVector at = DisplacementOf(lattice, {a, b});
            if ((a != 0 || b != 0) && std::abs(at.x) < width && std::abs(at.y) < height)
                found.push_back({at.Length(), {a, b}});
        }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
    std::vector<LatticeStep> steps;
    for (std::size_t i = 0; i < std::min(count, found.size()); ++i)
        steps.push_back(found[i].second);
    return steps;
}

std::string LatticeText(const Lattice& lattice)
{
    std::string text;
    const auto rounded = [](double value) { return FormatNumber(std::round(value * 100.0) / 100.0 + 0.0); }; // no -0
    for (const LatticeVector& vector : lattice.vectors)
        text += (text.empty() ? "(" : " and (") + rounded(vector.x) + ", " + rounded(vector.y) + ")";
    return text;
}

} // namespace narvo
