// SPDX-License-Identifier: MIT
// Parts of an image, a few cells wide and high, are folded and registered one by one, so that neither a pitch that is a
// little wrong nor a lens blurs the mean; the mean over parts leaves out what only some of them show.
#include "host/cell/golden_cell.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "host/cell/shown_cell.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

/// Places above the limits that touch, edges of the cell and corners included.
std::vector<CellDeviation> Deviations(const cv::Mat& difference, const cv::Mat& error, const CellGrid& grid,
                                      const CellSettings& settings)
{
    const int columns = difference.cols;
    const int rows = difference.rows;
    const auto errorsAt = [&](int x, int y) { return std::abs(difference.at<float>(y, x)) / error.at<float>(y, x); };
    const auto stands = [&](int x, int y) {
        return std::abs(difference.at<float>(y, x)) >= settings.leastDifference && errorsAt(x, y) >= settings.certainty;
    };
    cv::Mat seen = cv::Mat::zeros(rows, columns, CV_8U);
    std::vector<CellDeviation> found;
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x)
        {
            if (seen.at<std::uint8_t>(y, x) != 0 || !stands(x, y))
                continue;
            CellDeviation one;
            // Places count on beyond the cell's edge, so that the box of one across the edge is whole.
            std::vector<std::array<int, 2>> open = {{x, y}};
            seen.at<std::uint8_t>(y, x) = 1;
            int left = x;
            int right = x;
            int top = y;
            int bottom = y;
            double sum = 0.0;
            double sumX = 0.0;
            double sumY = 0.0;
            while (!open.empty())
            {
                const auto [u, v] = open.back();
                open.pop_back();
                ++one.area;
                left = std::min(left, u);
                right = std::max(right, u);
                top = std::min(top, v);
                bottom = std::max(bottom, v);
                const int column = ((u % columns) + columns) % columns;
                const int row = ((v % rows) + rows) % rows;
                const double weight = std::abs(difference.at<float>(row, column));
                sum += weight;
                sumX += weight * u;
                sumY += weight * v;
                one.errors = std::max<double>(one.errors, errorsAt(column, row));
                if (weight > std::abs(one.difference))
                    one.difference = difference.at<float>(row, column);
                for (int dv = -1; dv <= 1; ++dv)
                    for (int du = -1; du <= 1; ++du)
                    {
                        const int c = (((u + du) % columns) + columns) % columns;
                        const int r = (((v + dv) % rows) + rows) % rows;
                        if (seen.at<std::uint8_t>(r, c) != 0 || !stands(c, r))
                            continue;
                        seen.at<std::uint8_t>(r, c) = 1;
                        open.push_back({u + du, v + dv});
                    }
            }
            const int wholeColumns = left < 0 ? columns : 0; // begins inside the cell
            const int wholeRows = top < 0 ? rows : 0;
            const auto pixel = [](int bin, double size) { return static_cast<int>(std::floor(bin * size)); };
            one.box = CRect(pixel(left + wholeColumns, grid.ColumnWidth()), pixel(top + wholeRows, grid.RowHeight()),
                            pixel(right + wholeColumns, grid.ColumnWidth()) + 1,
                            pixel(bottom + wholeRows, grid.RowHeight()) + 1);
            one.x = static_cast<int>(std::fmod(sumX / sum + columns, columns) * grid.ColumnWidth());
            one.y = static_cast<int>(std::fmod(sumY / sum + rows, rows) * grid.RowHeight());
            found.push_back(one);
        }
    std::stable_sort(found.begin(), found.end(),
                     [](const CellDeviation& a, const CellDeviation& b) { return a.errors > b.errors; });
    return found;
}

PatternCell RequiredCell(const Recipe& recipe)
{
    std::string reason;
    const std::optional<PatternCell> cell = CellOf(recipe, reason);
    if (!cell)
        throw HostError({{"recipe", reason, "one pitch along x and one along y, or two lattice vectors"}});
    const CellGrid grid(*cell);
    if (grid.Columns() < 3 || grid.Rows() < 3 || grid.Columns() > nCellBinLimit / grid.Rows())
        throw HostError({{"recipe", std::to_string(grid.Columns()) + " by " + std::to_string(grid.Rows()),
                          "a cell of 3 by 3 to " + std::to_string(nCellBinLimit) + " pixels"}});
    return *cell;
}

CellGrid FittingGrid(const GoldenCell& golden, const Recipe& recipe)
{
    const CellGrid grid(RequiredCell(recipe));
    if (grid.Columns() != golden.mean.cols || grid.Rows() != golden.mean.rows)
        throw HostError({{"recipe", std::to_string(grid.Columns()) + " by " + std::to_string(grid.Rows()),
                          "the golden cell's " + std::to_string(golden.mean.cols) + " by " +
                              std::to_string(golden.mean.rows) + " pixels"}});
    return grid;
}

} // namespace

void CheckCellFits(const GoldenCell& golden, const Recipe& recipe)
{
    FittingGrid(golden, recipe);
}

void CheckCellSettings(const CellSettings& settings)
{
    std::vector<Problem> found;
    const auto require = [&](const char* field, double value, double low, double high)
    {
        if (!(value >= low && value <= high))
            found.push_back({field, FormatNumber(value), FormatNumber(low) + " .. " + FormatNumber(high)});
    };
    require("least_difference", settings.leastDifference, 0.0, 255.0);
    require("tolerance", settings.tolerance, 0.0, 4.0);
    require("certainty", settings.certainty, 3.0, 100.0);
    if (!found.empty())
        throw HostError(std::move(found));
}

GoldenCellLearner::GoldenCellLearner(const Recipe& recipe) : m_recipe(recipe)
{
    m_golden.region = recipe.name;
    m_golden.cell = RequiredCell(recipe);
}

void GoldenCellLearner::Add(const GreyView& image)
{
    if (static_cast<std::size_t>(m_golden.images) >= nGoldenCellImageLimit)
        throw HostError(
            {{"images", std::to_string(m_golden.images + 1), "1 .. " + std::to_string(nGoldenCellImageLimit)}});
    const CellGrid grid(m_golden.cell);
    ShownCell shown;
    if (m_golden.images == 0)
    {
        const cv::Mat first = ShowCell(image, m_recipe, grid, FirstCell(image, m_recipe, grid)).mean;
        shown = ShowCell(image, m_recipe, grid, first); // once more against its own mean, which has less noise
        m_golden.mean = shown.mean;
        m_differences = cv::Mat::zeros(shown.mean.size(), CV_64F);
        m_squares = m_differences.clone();
        m_errorSquares = m_differences.clone();
    }
    else
        shown = ShowCell(image, m_recipe, grid, m_golden.mean);
    cv::Mat difference;
    cv::Mat error;
    cv::Mat(shown.mean - m_golden.mean).convertTo(difference, CV_64F);
    shown.error.convertTo(error, CV_64F);
    // New matrices: copies of a learner share theirs.
    m_differences = m_differences + difference;
    m_squares = m_squares + difference.mul(difference);
    m_errorSquares = m_errorSquares + error.mul(error);
    ++m_golden.images;
}

GoldenCell GoldenCellLearner::Finish() const
{
    if (m_golden.images == 0)
        throw HostError({{"images", "none", "1 .. " + std::to_string(nGoldenCellImageLimit)}});
    const double count = m_golden.images;
    const cv::Mat away = m_differences / count; // of the mean from the first image
    const cv::Mat scatter = (m_squares - count * away.mul(away)) / std::max(1.0, count - 1.0); // squared
    cv::Mat noise;
    cv::sqrt(m_errorSquares / (count * count) + cv::max(scatter, 0.0), noise);
    GoldenCell golden = m_golden;
    cv::Mat mean;
    m_golden.mean.convertTo(mean, CV_64F);
    cv::Mat(mean + away).convertTo(golden.mean, CV_32F);
    noise.convertTo(golden.noise, CV_32F);
    return golden;
}

CellComparison CompareCell(const GoldenCell& golden, const GreyView& image, const Recipe& recipe,
                           const CellSettings& settings)
{
    constexpr double dLeastError = 0.1; // grey levels: greys are whole numbers, of which means are taken
    CheckCellSettings(settings);
    const CellGrid grid = FittingGrid(golden, recipe);
    CellComparison comparison;
    comparison.shown = ShowCell(image, recipe, grid, golden.mean);
    comparison.difference = comparison.shown.mean - golden.mean;
    const CellSlopes slopes = SlopesOf(golden.mean);
    const cv::Mat slopeSquares = slopes.x.mul(slopes.x) + slopes.y.mul(slopes.y);
    cv::Mat error;
    cv::sqrt(comparison.shown.error.mul(comparison.shown.error) + golden.noise.mul(golden.noise) +
                 settings.tolerance * settings.tolerance * slopeSquares + dLeastError * dLeastError,
             error);
    comparison.found = Deviations(comparison.difference, error, grid, settings);
    return comparison;
}

} // namespace narvo
