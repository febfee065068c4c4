// SPDX-License-Identifier: MIT
// See shown_cell.h.
#include "host/cell/shown_cell.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "host/problem.h"
#include "host/recipe/region_shape.h"
#include "host/statistics/robust.h"

namespace narvo
{

namespace
{

constexpr std::size_t nLeastParts = 4;

CRect Common(const CRect& a, const CRect& b)
{
    const CRect both(std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                     std::min(a.bottom, b.bottom));
    return both.IsRectEmpty() ? CRect() : both;
}

FoldArea AreaOf(const GreyView& image, const Recipe& recipe)
{
    FoldArea area;
    area.box = CRect(0, 0, image.Width(), image.Height());
    if (recipe.region)
        area.box = Common(area.box, *recipe.region);
    if (!recipe.regionPoints.empty())
    {
        area.stride = image.Width();
        area.mask = MakeMask(recipe.regionPoints, area.stride, image.Height());
        area.box = Common(area.box, BoundsOf(recipe.regionPoints));
    }
    return area;
}

/// Parts of some cells each, side by side over the area: rows of boxes.
class Parts
{
public:
    Parts(const FoldArea& area, const CellGrid& grid)
        : m_box(area.box), m_width(SideOf(grid.Width(), area.box.Width())),
          m_height(SideOf(grid.Height(), area.box.Height())),
          m_across(std::max(0, static_cast<int>(area.box.Width()) / m_width)),
          m_down(std::max(0, static_cast<int>(area.box.Height()) / m_height))
    {
    }

    int Across() const { return m_across; }
    int Down() const { return m_down; }
    std::size_t Count() const { return static_cast<std::size_t>(m_across) * static_cast<std::size_t>(m_down); }
    CRect At(int column, int row) const
    {
        const int left = m_box.left + column * m_width;
        const int top = m_box.top + row * m_height;
        return {left, top, left + m_width, top + m_height};
    }
    CRect Middle() const { return At(m_across / 2, m_down / 2); }

private:
    /// Eight cells, unless that is much of the area or of a lens; one at least.
    static int SideOf(double cell, int length)
    {
        constexpr double dMuch = 256.0;
        constexpr double dShare = 1.0 / 6.0;
        return static_cast<int>(std::ceil(std::max(cell, std::min({8.0 * cell, dMuch, dShare * length}))));
    }

    CRect m_box;
    int m_width;
    int m_height;
    int m_across;
    int m_down;
};

Parts PartsOf(const FoldArea& area, const CellGrid& grid)
{
    const Parts parts(area, grid);
    if (parts.Count() < nLeastParts)
        throw HostError({{"image", std::to_string(area.box.Width()) + " by " + std::to_string(area.box.Height()),
                          "a region of 2 by 2 cells or more"}});
    return parts;
}

/// A part that has been moved to where it fits the reference.
struct FittedPart
{
    cv::Mat cell;      ///< lit as the reference
    cv::Point2d shift; ///< bins that it was moved by
    CellLight light;
};

class PartFitter
{
public:
    PartFitter(const GreyView& image, const FoldArea& area, const CellGrid& grid, const cv::Mat& reference)
        : m_image(image), m_area(area), m_grid(grid), m_reference(reference)
    {
    }

    /// Looks within `reach` bins of `expected`. @return whether it resembles the reference
    bool Fit(const CRect& part, cv::Point2d expected, double reach, FittedPart& fitted) const
    {
        constexpr double dLeastResemblance = 0.5;
        constexpr double dMostGain = 4.0;
        fitted.shift = expected;
        if (!FoldInto(m_image, m_area, part, m_grid, fitted.shift, fitted.cell))
            return false;
        fitted.shift -= WholeDisplacement(fitted.cell, m_reference, {0.0, 0.0}, reach);
        constexpr int nSteps = 2;
        for (int step = 0; step < nSteps; ++step)
        {
            if (!FoldInto(m_image, m_area, part, m_grid, fitted.shift, fitted.cell))
                return false;
            fitted.shift -= FineDisplacement(fitted.cell, m_reference);
        }
        if (!FoldInto(m_image, m_area, part, m_grid, fitted.shift, fitted.cell))
            return false;
        fitted.light = FitLight(fitted.cell, m_reference);
        if (fitted.light.resemblance < dLeastResemblance || fitted.light.gain < 1.0 / dMostGain ||
            fitted.light.gain > dMostGain)
            return false;
        fitted.cell = (fitted.cell - fitted.light.offset) / fitted.light.gain;
        return true;
    }

private:
    const GreyView& m_image;
    const FoldArea& m_area;
    const CellGrid& m_grid;
    const cv::Mat& m_reference;
};

/// Parts from one to the next, so that no more are held than memory should be spent on.
int StrideOver(const Parts& parts, int bins)
{
    constexpr std::size_t nMostFloats = std::size_t{1} << 24U;
    const std::size_t most = std::clamp<std::size_t>(nMostFloats / static_cast<std::size_t>(bins), 64, 1024);
    int stride = 1;
    while (parts.Count() > most * static_cast<std::size_t>(stride) * static_cast<std::size_t>(stride))
        ++stride;
    return stride;
}

/// Mean of the middle half of the values at each place, and its standard error.
void TakeMiddle(const std::vector<FittedPart>& parts, ShownCell& shown)
{
    // Of normal values, the mean of the middle half scatters this much more than the mean of all.
    constexpr double dMiddleScatter = 1.09;
    const cv::Size size = parts[0].cell.size();
    shown.mean = cv::Mat(size, CV_32F);
    shown.error = cv::Mat(size, CV_32F);
    std::vector<float> values(parts.size());
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x)
        {
            for (std::size_t i = 0; i < parts.size(); ++i)
                values[i] = parts[i].cell.at<float>(y, x);
            std::sort(values.begin(), values.end());
            const std::size_t quarter = values.size() / 4;
            double sum = 0.0;
            for (std::size_t i = quarter; i < values.size() - quarter; ++i)
                sum += values[i];
            shown.mean.at<float>(y, x) = static_cast<float>(sum / static_cast<double>(values.size() - 2 * quarter));
            const float median = MedianOf(values);
            for (float& value : values)
                value = std::abs(value - median);
            shown.error.at<float>(y, x) = static_cast<float>(dMiddleScatter * fDeviationOfMedian * MedianOf(values) /
                                                             std::sqrt(static_cast<double>(parts.size())));
        }
}

} // namespace

cv::Mat FirstCell(const GreyView& image, const Recipe& recipe, const CellGrid& grid)
{
    constexpr double dLeastContrast = 1.0; // grey levels
    constexpr double dLeastShare = 0.25;   // of the variance of the pixels
    const FoldArea area = AreaOf(image, recipe);
    PartsOf(area, grid); // large enough
    // More cells than a part has: a wrong pitch blurs them.
    constexpr double dCells = 8.0;
    const auto side = [](double cellSide, int length)
    { return static_cast<int>(std::min(std::ceil(dCells * cellSide), static_cast<double>(length))); };
    const int width = side(grid.Width(), area.box.Width());
    const int height = side(grid.Height(), area.box.Height());
    const int left = area.box.left + (area.box.Width() - width) / 2;
    const int top = area.box.top + (area.box.Height() - height) / 2;
    const CRect middle(left, top, left + width, top + height);
    cv::Mat cell;
    if (!FoldInto(image, area, middle, grid, {0.0, 0.0}, cell))
        throw HostError({{"image", "a region that is not there in the middle", "one that holds whole cells"}});
    const auto varianceOf = [](const cv::Mat& values)
    {
        cv::Scalar mean;
        cv::Scalar deviation;
        cv::meanStdDev(values, mean, deviation);
        return deviation[0] * deviation[0];
    };
    cv::Mat pixels(middle.Height(), middle.Width(), CV_8U);
    for (int y = 0; y < middle.Height(); ++y)
        std::copy_n(image.Row(middle.top + y) + middle.left, middle.Width(), pixels.ptr(y));
    const double cellVariance = varianceOf(cell);
    if (cellVariance < dLeastContrast * dLeastContrast)
        throw HostError({{"image", "no contrast of the pattern in the middle", "a pattern of the recipe's pitch"}});
    if (const double share = cellVariance / varianceOf(pixels); share < dLeastShare)
        throw HostError({{"image",
                          "a pattern that explains " + std::to_string(std::lround(100.0 * share)) +
                              " % of the contrast in the middle",
                          "25 % or more: the pitch may be another"}});
    return cell;
}

ShownCell ShowCell(const GreyView& image, const Recipe& recipe, const CellGrid& grid, const cv::Mat& reference)
{
    const FoldArea area = AreaOf(image, recipe);
    const Parts parts = PartsOf(area, grid);
    const PartFitter fitter(image, area, grid, reference);
    const double anywhere = std::max(grid.Columns(), grid.Rows());
    // From part to part the pattern moves little against its pitch.
    const double nearby = std::max(2.0, 0.2 * std::min(grid.Columns(), grid.Rows()));

    FittedPart middle;
    if (!fitter.Fit(parts.Middle(), {0.0, 0.0}, anywhere, middle))
        throw HostError({{"image", "a pattern that does not resemble the cell in the middle",
                          "the pattern that the cell was learnt from"}});
    ShownCell shown;
    shown.displacement = {-middle.shift.x * grid.ColumnWidth(), -middle.shift.y * grid.RowHeight()};
    shown.light = middle.light;

    const int stride = StrideOver(parts, grid.Columns() * grid.Rows());
    std::vector<FittedPart> fitted;
    // From the middle outwards, each expected where its neighbour towards the middle was found.
    const auto walk = [](int from, int count, int step)
    {
        std::vector<int> places;
        for (int i = from; i >= 0 && i < count; i += step)
            places.push_back(i);
        return places;
    };
    for (const int down : {stride, -stride})
    {
        cv::Point2d above = middle.shift;
        for (const int row : walk(parts.Down() / 2 + (down < 0 ? down : 0), parts.Down(), down))
            for (const int across : {stride, -stride})
            {
                cv::Point2d beside = above;
                for (const int column : walk(parts.Across() / 2 + (across < 0 ? across : 0), parts.Across(), across))
                {
                    FittedPart part;
                    if (!fitter.Fit(parts.At(column, row), beside, nearby, part))
                    {
                        ++shown.leftOut;
                        continue;
                    }
                    beside = part.shift;
                    if (column == parts.Across() / 2)
                        above = part.shift;
                    fitted.push_back(std::move(part));
                }
            }
    }
    shown.parts = fitted.size();
    if (fitted.size() < nLeastParts || fitted.size() < shown.leftOut)
        throw HostError({{"image",
                          std::to_string(fitted.size()) + " of " + std::to_string(fitted.size() + shown.leftOut) +
                              " parts resemble the cell",
                          "half of them, and " + std::to_string(nLeastParts) + " or more"}});
    TakeMiddle(fitted, shown);
    return shown;
}

} // namespace narvo
