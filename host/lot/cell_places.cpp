// SPDX-License-Identifier: MIT
// Counting in the cell: parts of about the grid's side, windows of two parts each way that go around its edges.
#include "host/lot/cell_places.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include "host/statistics/count_bounds.h"

namespace narvo
{

namespace
{

/// Parts of a side of the cell and those of a window. Fewer than four parts are each a window of their own: two of
/// three would be most of the side.
struct Parts
{
    int count = 1;
    int span = 1;
    explicit Parts(double length, int side)
    {
        constexpr double dMost = 4096.0;
        count = static_cast<int>(std::clamp(std::floor(length / side), 1.0, dMost));
        span = count >= 4 ? 2 : 1;
    }
};

class CellCounter
{
public:
    CellCounter(const LotRegion& region, const std::vector<LotMark>& marks, int side, double level)
        : m_phases(region, marks), m_level(level), m_across(m_phases.Width(), side), m_down(m_phases.Height(), side)
    {
        m_parts.reserve(marks.size());
        for (std::size_t i = 0; i < marks.size(); ++i)
        {
            const auto [u, v] = m_phases.PhaseAt(marks[i].x, marks[i].y);
            const auto part = [](double phase, double length, int count)
            { return std::min(static_cast<int>(phase / length * count), count - 1); };
            const auto [a, b] = m_phases.CellAt(marks[i].x, marks[i].y);
            m_parts.push_back(
                {part(v, m_phases.Height(), m_down.count) * m_across.count + part(u, m_phases.Width(), m_across.count),
                 a, b, i});
        }
        std::sort(m_parts.begin(), m_parts.end());
        m_counts.assign(static_cast<std::size_t>(m_across.count) * static_cast<std::size_t>(m_down.count), 0);
        for (std::size_t i = 0; i < m_parts.size(); ++i)
            if (i == 0 || m_parts[i].Place() != m_parts[i - 1].Place())
            {
                ++m_counts[static_cast<std::size_t>(m_parts[i].part)];
                ++m_all;
            }
        m_left = m_counts;
    }

    std::vector<CellFind> Run(const std::vector<LotMark>& marks)
    {
        struct Candidate
        {
            double tail;
            int window;
            double share;
        };
        std::vector<Candidate> candidates;
        for (int row = 0; row < m_down.count; ++row)
            for (int column = 0; column < m_across.count; ++column)
                if (const double share = ShareOf(column, row); TailOf(column, row, share) <= m_level)
                    candidates.push_back({TailOf(column, row, share), row * m_across.count + column, share});
        std::sort(candidates.begin(), candidates.end(),
                  [](const Candidate& one, const Candidate& other)
                  { return std::tuple(one.tail, one.window) < std::tuple(other.tail, other.window); });
        std::vector<CellFind> found;
        for (const Candidate& candidate : candidates)
        {
            const int column = candidate.window % m_across.count;
            const int row = candidate.window / m_across.count;
            const double tail = std::max(candidate.tail, TailOf(column, row, candidate.share));
            if (tail > m_level)
                continue;
            CellFind& find = found.emplace_back();
            find.cells = CountIn(m_left, column, row, m_across.span, m_down.span);
            find.expected = candidate.share * static_cast<double>(m_all);
            find.tail = tail;
            Take(marks, column, row, find);
        }
        std::stable_sort(found.begin(), found.end(),
                         [](const CellFind& one, const CellFind& other) { return one.tail < other.tail; });
        return found;
    }

private:
    struct Part
    {
        int part; ///< of the cell, row times parts across plus column
        std::int64_t a;
        std::int64_t b; ///< which cell
        std::size_t mark;
        std::tuple<int, std::int64_t, std::int64_t> Place() const { return {part, a, b}; }
        bool operator<(const Part& other) const
        {
            return std::tuple(part, a, b, mark) < std::tuple(other.part, other.a, other.b, other.mark);
        }
    };

    /// Counts in parts from a column and row on, around the edges of the cell.
    std::size_t CountIn(const std::vector<std::size_t>& counts, int column, int row, int columns, int rows) const
    {
        std::size_t sum = 0;
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < columns; ++x)
                sum += counts[PartAt(column + x, row + y)];
        return sum;
    }

    std::size_t PartAt(int column, int row) const
    {
        const auto around = [](int at, int count) { return (at % count + count) % count; };
        return static_cast<std::size_t>(around(row, m_down.count)) * static_cast<std::size_t>(m_across.count) +
               static_cast<std::size_t>(around(column, m_across.count));
    }

    /// Of the cell, or what parts around, in the same column or row of it suggest, where that is more.
    double ShareOf(int column, int row) const
    {
        const int parts = m_across.span * m_down.span;
        const double even = static_cast<double>(parts) / (static_cast<double>(m_across.count) * m_down.count);
        const std::size_t inside = CountIn(m_counts, column, row, m_across.span, m_down.span);
        if (inside == 0)
            return 1.0;
        double share = even;
        const auto suggest = [&](int left, int top, int columns, int rows)
        {
            const int others = columns * rows - parts;
            if (others <= 0)
                return;
            const std::size_t marks = CountIn(m_counts, left, top, columns, rows) - inside;
            share = std::max(share, static_cast<double>(marks) / static_cast<double>(m_all) * parts / others);
        };
        constexpr int nAround = 4;
        const int columns = std::min(m_across.count, m_across.span + 2 * nAround);
        const int rows = std::min(m_down.count, m_down.span + 2 * nAround);
        suggest(columns < m_across.count ? column - nAround : column, rows < m_down.count ? row - nAround : row,
                columns, rows);
        if (m_down.span < m_down.count)
            suggest(column, row, m_across.span, m_down.count);
        if (m_across.span < m_across.count)
            suggest(column, row, m_across.count, m_down.span);
        return std::min(1.0, share);
    }

    double TailOf(int column, int row, double share) const
    {
        const std::size_t cells = CountIn(m_left, column, row, m_across.span, m_down.span);
        return cells < 2 ? 1.0 : BinomialTail(cells, m_all, share);
    }

    void Take(const std::vector<LotMark>& marks, int column, int row, CellFind& find)
    {
        int left = 1 << 30;
        int top = 1 << 30;
        int right = 0;
        int bottom = 0;
        // A window across the edge of the cell ends beyond it.
        const double beginU = m_phases.Width() * column / m_across.count;
        const double beginV = m_phases.Height() * row / m_down.count;
        for (int y = 0; y < m_down.span; ++y)
            for (int x = 0; x < m_across.span; ++x)
            {
                const std::size_t part = PartAt(column + x, row + y);
                if (m_left[part] == 0)
                    continue;
                m_left[part] = 0;
                auto one = std::lower_bound(m_parts.begin(), m_parts.end(), static_cast<int>(part),
                                            [](const Part& entry, int wanted) { return entry.part < wanted; });
                for (; one != m_parts.end() && one->part == static_cast<int>(part); ++one)
                {
                    find.marks.push_back(one->mark);
                    auto [u, v] = m_phases.PhaseAt(marks[one->mark].x, marks[one->mark].y);
                    u += u < std::floor(beginU) ? m_phases.Width() : 0.0;
                    v += v < std::floor(beginV) ? m_phases.Height() : 0.0;
                    left = std::min(left, static_cast<int>(u));
                    top = std::min(top, static_cast<int>(v));
                    right = std::max(right, static_cast<int>(u) + 1);
                    bottom = std::max(bottom, static_cast<int>(v) + 1);
                }
            }
        find.box = CRect(left, top, right, bottom);
    }

    PhaseMap m_phases;
    double m_level;
    Parts m_across;
    Parts m_down;
    std::vector<Part> m_parts;         ///< of each mark, sorted
    std::vector<std::size_t> m_counts; ///< cells of the pattern that have a mark in a part
    std::vector<std::size_t> m_left;   ///< the same without what finds have taken
    std::size_t m_all = 0;             ///< sum of m_counts
};

} // namespace

std::size_t CountCellWindows(const LotRegion& region, int side)
{
    if (!region.cell)
        return 0;
    const std::size_t windows =
        static_cast<std::size_t>(Parts(region.cell->lattice.vectors.at(0).Length(), side).count) *
        static_cast<std::size_t>(Parts(region.cell->lattice.vectors.at(1).Length(), side).count);
    return windows > 1 ? windows : 0;
}

CellTest TestCell(const LotRegion& region, const std::vector<LotMark>& marks, int side, double level)
{
    CellTest test;
    test.windows = CountCellWindows(region, side);
    if (test.windows > 0 && !marks.empty())
        test.found = CellCounter(region, marks, side, level).Run(marks);
    return test;
}

} // namespace narvo
