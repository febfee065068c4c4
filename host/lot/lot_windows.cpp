// SPDX-License-Identifier: MIT
// Counting in windows: squares that hold marks, the images in them, and the windows that they lie in.
#include "host/lot/lot_windows.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <span>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "host/statistics/count_bounds.h"

namespace narvo
{

namespace
{

/// Images with equally many marks.
struct ImageClass
{
    std::size_t marks = 0;
    std::size_t images = 0;
};

/// What chance gives at a window that a mark lies in with a probability.
struct Chance
{
    std::vector<std::size_t> least; ///< marks that count, for each class: chance gives them to half the images at most
    double mean = 0.0;              ///< of the images that have as many
};

class WindowCounter
{
public:
    WindowCounter(const LotRegion& region, const std::vector<LotMark>& marks, std::size_t images,
                  const WindowGrid& grid, double level)
        : m_region(region), m_marks(marks), m_grid(grid), m_images(images), m_level(level),
          m_width(region.box.right - region.box.left), m_height(region.box.bottom - region.box.top),
          m_columns(Squares(m_width, grid.width)), m_rows(Squares(m_height, grid.height)),
          m_spanX(std::min(2, m_columns)), m_spanY(std::min(2, m_rows)),
          m_phases(grid.local ? region : LotRegion{}, marks)
    {
        FillSquares();
        FillClasses();
        FillSums();
    }

    std::vector<WindowFind> Run()
    {
        std::vector<Candidate> candidates;
        for (const std::int64_t window : OccupiedWindows())
            if (const Candidate candidate = Test(window); candidate.tail <= m_level)
                candidates.push_back(candidate);
        std::sort(candidates.begin(), candidates.end(),
                  [](const Candidate& one, const Candidate& other)
                  { return std::tuple(one.tail, one.window) < std::tuple(other.tail, other.window); });
        std::vector<WindowFind> found;
        for (const Candidate& candidate : candidates)
            if (WindowFind one = Take(candidate); one.tail <= m_level)
                found.push_back(std::move(one));
        std::stable_sort(found.begin(), found.end(),
                         [](const WindowFind& one, const WindowFind& other) { return one.tail < other.tail; });
        return found;
    }

    static int Squares(int length, int side) { return length / side + (length % side != 0 ? 1 : 0); }

private:
    struct Square
    {
        std::int64_t key;  ///< row times columns plus column
        std::size_t begin; ///< in m_order, sorted by image
        std::size_t end;
        bool taken = false;
    };

    struct Candidate
    {
        std::int64_t window; ///< key of its first square
        double share = 0.0;  ///< probability that a mark lies in it
        double tail = 1.0;
    };

    std::int64_t KeyOf(const LotMark& mark) const
    {
        return static_cast<std::int64_t>(mark.y / m_grid.height) * m_columns + mark.x / m_grid.width;
    }

    void FillSquares()
    {
        std::vector<std::pair<std::int64_t, std::size_t>> byKey;
        byKey.reserve(m_marks.size());
        for (std::size_t i = 0; i < m_marks.size(); ++i)
            byKey.emplace_back(KeyOf(m_marks[i]), i);
        std::sort(byKey.begin(), byKey.end(),
                  [&](const auto& one, const auto& other)
                  {
                      return std::tuple(one.first, m_marks[one.second].image, one.second) <
                             std::tuple(other.first, m_marks[other.second].image, other.second);
                  });
        m_order.reserve(byKey.size());
        for (const auto& [key, mark] : byKey)
        {
            if (m_squares.empty() || m_squares.back().key != key)
                m_squares.push_back({key, m_order.size(), m_order.size()});
            m_order.push_back(mark);
            m_squares.back().end = m_order.size();
        }
    }

    void FillClasses()
    {
        std::unordered_map<std::uint32_t, std::size_t> marksOf;
        for (const LotMark& mark : m_marks)
            ++marksOf[mark.image];
        std::map<std::size_t, std::size_t> imagesOf;
        for (const auto& [image, marks] : marksOf)
            ++imagesOf[marks];
        for (const auto& [marks, images] : imagesOf)
            m_classes.push_back({marks, images});
        for (const auto& [image, marks] : marksOf)
            m_classOf[image] = static_cast<std::size_t>(std::lower_bound(m_classes.begin(), m_classes.end(), marks,
                                                                         [](const ImageClass& one, std::size_t count)
                                                                         { return one.marks < count; }) -
                                                        m_classes.begin());
    }

    void FillSums()
    {
        m_inColumn.assign(static_cast<std::size_t>(m_columns), 0);
        m_inRow.assign(static_cast<std::size_t>(m_rows), 0);
        for (const Square& square : m_squares)
        {
            m_inColumn[static_cast<std::size_t>(square.key % m_columns)] += square.end - square.begin;
            m_inRow[static_cast<std::size_t>(square.key / m_columns)] += square.end - square.begin;
        }
    }

    /// First squares of all windows with marks, in order.
    std::vector<std::int64_t> OccupiedWindows() const
    {
        std::vector<std::int64_t> windows;
        windows.reserve(m_squares.size() * 4);
        for (const Square& square : m_squares)
        {
            const auto column = static_cast<int>(square.key % m_columns);
            const auto row = static_cast<int>(square.key / m_columns);
            for (int y = std::max(0, row - m_spanY + 1); y <= std::min(row, m_rows - m_spanY); ++y)
                for (int x = std::max(0, column - m_spanX + 1); x <= std::min(column, m_columns - m_spanX); ++x)
                    windows.push_back(static_cast<std::int64_t>(y) * m_columns + x);
        }
        std::sort(windows.begin(), windows.end());
        windows.erase(std::unique(windows.begin(), windows.end()), windows.end());
        return windows;
    }

    const Square* Find(std::int64_t key) const
    {
        const auto found = std::lower_bound(m_squares.begin(), m_squares.end(), key,
                                            [](const Square& square, std::int64_t one) { return square.key < one; });
        return found != m_squares.end() && found->key == key ? &*found : nullptr;
    }

    std::size_t MarksIn(std::int64_t key) const
    {
        const Square* square = Find(key);
        return square == nullptr ? 0 : square->end - square->begin;
    }

    /// The window's squares that no find has taken.
    std::vector<const Square*> SquaresOf(std::int64_t window) const
    {
        std::vector<const Square*> squares;
        for (int y = 0; y < m_spanY; ++y)
            for (int x = 0; x < m_spanX; ++x)
                if (const Square* square = Find(window + static_cast<std::int64_t>(y) * m_columns + x);
                    square != nullptr && !square->taken)
                    squares.push_back(square);
        return squares;
    }

    /// Marks of each image in some squares, by image.
    std::vector<std::pair<std::uint32_t, std::size_t>> CountsIn(const std::vector<const Square*>& squares) const
    {
        std::vector<std::uint32_t> images;
        for (const Square* square : squares)
            for (std::size_t i = square->begin; i < square->end; ++i)
                images.push_back(m_marks[m_order[i]].image);
        std::sort(images.begin(), images.end());
        std::vector<std::pair<std::uint32_t, std::size_t>> counts;
        for (const std::uint32_t image : images)
        {
            if (counts.empty() || counts.back().first != image)
                counts.emplace_back(image, 0);
            ++counts.back().second;
        }
        return counts;
    }

    Chance ChanceOf(double share) const
    {
        Chance chance;
        double sum = 0.0;
        for (const ImageClass& one : m_classes)
        {
            std::size_t least =
                std::max<std::size_t>(1, static_cast<std::size_t>(static_cast<double>(one.marks) * share));
            double tail = BinomialTail(least, one.marks, share);
            while (tail > 0.5)
                tail = BinomialTail(++least, one.marks, share);
            chance.least.push_back(least);
            sum += tail * static_cast<double>(one.images);
        }
        chance.mean = sum / static_cast<double>(m_images);
        return chance;
    }

    std::size_t ImagesAbove(const std::vector<std::pair<std::uint32_t, std::size_t>>& counts,
                            const Chance& chance) const
    {
        std::size_t images = 0;
        for (const auto& [image, count] : counts)
            images += count >= chance.least[m_classOf.at(image)] ? 1U : 0U;
        return images;
    }

    double TailOf(std::size_t images, const Chance& chance) const
    {
        // Hoeffding's bound begins there.
        if (images == 0 || static_cast<double>(images) < static_cast<double>(m_images) * chance.mean + 1.0)
            return 1.0;
        return BinomialTail(images, m_images, chance.mean);
    }

    double AreaOf(int column, int row, int columns, int rows) const
    {
        const auto length = [](int begin, int count, int side, int most)
        {
            return static_cast<double>(std::min<std::int64_t>(most, std::int64_t{begin + count} * side)) -
                   static_cast<double>(begin) * side;
        };
        return length(column, columns, m_grid.width, m_width) * length(row, rows, m_grid.height, m_height);
    }

    const Chance& ChanceOfArea(double area)
    {
        const auto known = m_chances.find(area);
        return known != m_chances.end() ? known->second
                                        : m_chances.emplace(area, ChanceOf(ShareOfArea(area))).first->second;
    }

    double ShareOfArea(double area) const { return std::min(1.0, area / m_region.area); }

    Candidate Test(std::int64_t window)
    {
        Candidate candidate{window};
        const auto counts = CountsIn(SquaresOf(window));
        const auto column = static_cast<int>(window % m_columns);
        const auto row = static_cast<int>(window / m_columns);
        const double area = AreaOf(column, row, m_spanX, m_spanY);
        const Chance& even = ChanceOfArea(area);
        candidate.share = ShareOfArea(area);
        candidate.tail = TailOf(ImagesAbove(counts, even), even);
        if (!m_grid.local || candidate.tail > m_level)
            return candidate;
        std::size_t inside = 0;
        for (const auto& [image, count] : counts)
            inside += count;
        const double share = LocalShare(column, row, area, inside);
        if (share <= candidate.share)
            return candidate;
        candidate.share = std::min(1.0, share);
        const Chance local = ChanceOf(candidate.share);
        candidate.tail = std::max(candidate.tail, TailOf(ImagesAbove(counts, local), local));
        return candidate;
    }

    /// The largest of the shares that marks elsewhere suggest for a window with `inside` marks.
    double LocalShare(int column, int row, double area, std::size_t inside) const
    {
        const auto all = static_cast<double>(m_marks.size());
        double share = 0.0;
        const auto suggest = [&](std::size_t marks, double itsArea)
        {
            if (itsArea > area && marks > inside)
                share = std::max(share, static_cast<double>(marks - inside) / all * area / (itsArea - area));
        };
        // Around: four squares each way.
        constexpr int nAround = 4;
        const int left = std::max(0, column - nAround);
        const int right = std::min(m_columns, column + m_spanX + nAround);
        const int top = std::max(0, row - nAround);
        const int bottom = std::min(m_rows, row + m_spanY + nAround);
        std::size_t around = 0;
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x)
                around += MarksIn(static_cast<std::int64_t>(y) * m_columns + x);
        suggest(around, AreaOf(left, top, right - left, bottom - top));
        const auto sum = [](const std::vector<std::size_t>& counts, int begin, int count)
        {
            std::size_t marks = 0;
            for (int i = begin; i < begin + count; ++i)
                marks += counts[static_cast<std::size_t>(i)];
            return marks;
        };
        if (m_spanY < m_rows)
            suggest(sum(m_inColumn, column, m_spanX), AreaOf(column, 0, m_spanX, m_rows));
        if (m_spanX < m_columns)
            suggest(sum(m_inRow, row, m_spanY), AreaOf(0, row, m_columns, m_spanY));
        return std::max(share, PhaseShare(column, row, inside));
    }

    /// What the same place of other cells suggests.
    double PhaseShare(int column, int row, std::size_t inside) const
    {
        const bool strips = m_spanX == m_columns || m_spanY == m_rows;
        if (!m_phases.IsThere() || (strips && !m_phases.IsUpright()))
            return 0.0;
        const double width = m_spanX == m_columns ? std::numeric_limits<double>::infinity() : m_spanX * m_grid.width;
        const double height = m_spanY == m_rows ? std::numeric_limits<double>::infinity() : m_spanY * m_grid.height;
        const bool wide = width >= m_phases.Width();
        const bool high = height >= m_phases.Height();
        const double others = (wide && high) ? 0.0
                              : wide         ? m_height / m_phases.Height() - 1.0
                              : high         ? m_width / m_phases.Width() - 1.0
                                             : m_phases.Cells() - 1.0;
        if (others < 1.0)
            return 0.0;
        const double x = (column + 0.5 * m_spanX) * m_grid.width;
        const double y = (row + 0.5 * m_spanY) * m_grid.height;
        std::size_t marks = m_phases.CountAround(x, y, width, height);
        marks -= std::min(marks, inside);
        double share = static_cast<double>(marks) / static_cast<double>(m_marks.size()) / others;
        // Counted in a strip of cells, of which the window is a part.
        if (wide && !strips)
            share *= width / m_width;
        if (high && !strips)
            share *= height / m_height;
        return share;
    }

    /// The candidate without what better ones have taken.
    WindowFind Take(const Candidate& candidate)
    {
        WindowFind find;
        find.tail = 1.0;
        const std::vector<const Square*> squares = SquaresOf(candidate.window);
        const auto counts = CountsIn(squares);
        const Chance chance = ChanceOf(candidate.share);
        find.images = ImagesAbove(counts, chance);
        find.expected = chance.mean * static_cast<double>(m_images);
        find.tail = std::max(candidate.tail, TailOf(find.images, chance));
        if (find.tail > m_level)
            return find;
        find.box = CRect(std::numeric_limits<int>::max(), std::numeric_limits<int>::max(), 0, 0);
        for (const Square* square : squares)
        {
            for (std::size_t i = square->begin; i < square->end; ++i)
            {
                const LotMark& mark = m_marks[m_order[i]];
                find.box.left = std::min<int>(find.box.left, mark.x);
                find.box.top = std::min<int>(find.box.top, mark.y);
                find.box.right = std::max<int>(find.box.right, mark.x + 1);
                find.box.bottom = std::max<int>(find.box.bottom, mark.y + 1);
                find.marks.push_back(m_order[i]);
            }
            m_squares[static_cast<std::size_t>(square - m_squares.data())].taken = true;
        }
        return find;
    }

    const LotRegion& m_region;
    const std::vector<LotMark>& m_marks;
    const WindowGrid& m_grid;
    std::size_t m_images;
    double m_level;
    int m_width;
    int m_height;
    int m_columns; ///< of squares
    int m_rows;
    int m_spanX; ///< of a window, squares
    int m_spanY;
    PhaseMap m_phases;
    std::vector<Square> m_squares;    ///< with marks, by key
    std::vector<std::size_t> m_order; ///< marks by square and image
    std::vector<ImageClass> m_classes;
    std::unordered_map<std::uint32_t, std::size_t> m_classOf; ///< of images with marks
    std::vector<std::size_t> m_inColumn;                      ///< marks in a column of squares
    std::vector<std::size_t> m_inRow;
    std::map<double, Chance> m_chances; ///< by the window's area where marks lie evenly
};

} // namespace

std::size_t CountWindows(const LotRegion& region, const WindowGrid& grid)
{
    const int width = region.box.right - region.box.left;
    const int height = region.box.bottom - region.box.top;
    if (width <= 0 || height <= 0)
        return 0;
    const auto places = [](int squares) { return static_cast<std::size_t>(std::max(1, squares - 1)); };
    return places(WindowCounter::Squares(width, grid.width)) * places(WindowCounter::Squares(height, grid.height));
}

WindowTest TestWindows(const LotRegion& region, const std::vector<LotMark>& marks, std::size_t images,
                       const WindowGrid& grid, double level)
{
    WindowTest test;
    test.windows = CountWindows(region, grid);
    if (images > 1 && !marks.empty() && test.windows > 1)
        test.found = WindowCounter(region, marks, images, grid, level).Run();
    return test;
}

} // namespace narvo
