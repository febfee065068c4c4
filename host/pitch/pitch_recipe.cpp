// SPDX-License-Identifier: MIT
// Thresholds from the median and the spread of the differences at each place of the cell.
#include "host/pitch/pitch_recipe.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "host/recipe/recipe_check.h"

namespace narvo
{

namespace
{

constexpr int nSixteenths = 16;
constexpr int nSampleLimit = 64; // differences looked at for each place of the cell
constexpr int nZones = 3;

double PitchOr(const AxisPitch& axis, const AxisPitch& other, int side)
{
    const int most = static_cast<int>(side * nSixteenths / dPitchSearchShare);
    return std::min(axis.found ? axis.sixteenths : other.sixteenths, most) / static_cast<double>(nSixteenths);
}

/// Differences between a pixel and the place one pitch on, as the engine forms them.
class Differences
{
public:
    Differences(const GreyView& image, bool alongX, double pitch)
        : m_image(image), m_alongX(alongX), m_whole(static_cast<int>(pitch)),
          m_part(static_cast<int>(pitch * nSixteenths) % nSixteenths)
    {
    }
    /// Pixels beyond its own place that a difference reads along the axis.
    int Reach() const { return m_whole + 1; }
    int At(int x, int y) const
    {
        const int near = m_alongX ? m_image.Row(y)[x + m_whole] : m_image.Row(y + m_whole)[x];
        const int far = m_alongX ? m_image.Row(y)[x + m_whole + 1] : m_image.Row(y + m_whole + 1)[x];
        return m_image.Row(y)[x] - (near * (nSixteenths - m_part) + far * m_part) / nSixteenths;
    }

private:
    GreyView m_image;
    bool m_alongX;
    int m_whole;
    int m_part;
};

/// What is usual at one place of the cell, grey levels.
struct Usual
{
    double middle = 0.0;
    double spread = 0.0; ///< standard deviation, estimated from the median
};

double Median(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

Usual MeasurePlace(std::vector<double>& samples)
{
    constexpr double normalDeviations = 1.4826; // standard deviations in the median of absolute deviations
    if (samples.empty())
        return {};
    Usual usual;
    usual.middle = Median(samples);
    for (double& sample : samples)
        sample = std::fabs(sample - usual.middle);
    usual.spread = normalDeviations * Median(samples);
    return usual;
}

/// Largest value at a place of the cell and around it, as the grid of cells falls on whole pixels only.
std::vector<double> Widen(const std::vector<double>& values, int width, int height)
{
    std::vector<double> widened(values.size());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
        {
            double most = 0.0;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                    most = std::max(most, values[static_cast<std::size_t>((y + dy + height) % height * width +
                                                                          (x + dx + width) % width)]);
            widened[static_cast<std::size_t>(y * width + x)] = most;
        }
    return widened;
}

/// The threshold that every place of the cell needs, row by row.
std::vector<double> MeasureThresholds(const GreyView& image, const CRect& region, const Recipe& recipe, bool alongX)
{
    constexpr double dSigmas = 6.0;
    constexpr double dRounding = 0.5; // grey levels: least spread that whole numbers leave
    const Differences differences(image, alongX, alongX ? recipe.pitchX : recipe.pitchY);
    const int width = static_cast<int>(std::ceil(recipe.CellWidth()));
    const int height = static_cast<int>(std::ceil(recipe.CellHeight()));
    const int right = region.right - (alongX ? differences.Reach() : 0);
    const int bottom = region.bottom - (alongX ? 0 : differences.Reach());
    const int wide = std::max(1, static_cast<int>((right - region.left) / recipe.CellWidth()));
    const int high = std::max(1, static_cast<int>((bottom - region.top) / recipe.CellHeight()));
    const int cells = wide * high;
    // A step that shares nothing with the grid's width, or the samples might all come from a few columns of it.
    const int step = std::max(1, cells / nSampleLimit) | 1;

    std::vector<Usual> usual;
    std::vector<double> samples;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
        {
            samples.clear();
            for (int cell = 0; cell < cells; cell += step)
            {
                const int px = static_cast<int>(region.left + cell % wide * recipe.CellWidth()) + x;
                const int py = static_cast<int>(region.top + cell / wide * recipe.CellHeight()) + y;
                if (px < right && py < bottom)
                    samples.push_back(differences.At(px, py));
            }
            usual.push_back(MeasurePlace(samples));
        }

    std::vector<double> spreads;
    for (const Usual& place : usual)
        spreads.push_back(place.spread);
    const double common = std::max(dRounding, Median(spreads));
    std::vector<double> thresholds;
    for (const Usual& place : usual)
        thresholds.push_back(std::fabs(place.middle) + dSigmas * std::max(common, place.spread));
    return Widen(thresholds, width, height);
}

void PaintZones(const std::vector<double>& thresholds, Recipe& recipe)
{
    constexpr double dShare[nZones] = {0.6, 0.9, 1.0}; // of the cell's places, by zone
    constexpr int nOffsetHigh = 255;
    std::vector<double> sorted = thresholds;
    std::sort(sorted.begin(), sorted.end());
    const int width = static_cast<int>(std::ceil(recipe.CellWidth()));
    recipe.zoneImage = GreyImage(width, static_cast<int>(std::ceil(recipe.CellHeight())), nZones);
    recipe.zones.clear();
    for (int zone = 0; zone < nZones; ++zone)
    {
        const auto last = static_cast<std::size_t>(dShare[zone] * static_cast<double>(sorted.size() - 1));
        ZoneSettings settings;
        settings.index = zone + 1;
        settings.offset = std::min(nOffsetHigh, static_cast<int>(std::ceil(sorted[last])));
        recipe.zones.push_back(settings);
    }
    for (int y = 0; y < recipe.zoneImage.Height(); ++y)
        for (int x = 0; x < width; ++x)
        {
            const double needed = thresholds[static_cast<std::size_t>(y * width + x)];
            const auto zone = std::find_if(recipe.zones.begin(), recipe.zones.end() - 1,
                                           [&](const ZoneSettings& settings) { return needed <= settings.offset; });
            recipe.zoneImage.Row(y)[x] = static_cast<std::uint8_t>(zone->index);
        }
}

} // namespace

CheckedRecipe MakePitchRecipe(const GreyView& image, const CRect& region, const PitchResult& pitch)
{
    constexpr double dCellWidth = 16.0; // narrowest zone cell, pixels
    const bool alongX = !pitch.y.found;
    Recipe recipe;
    recipe.direction = alongX ? Direction_Horizontal : Direction_Vertical;
    recipe.pitchX = PitchOr(pitch.x, pitch.y, region.Width());
    recipe.pitchY = PitchOr(pitch.y, pitch.x, region.Height());
    recipe.zoneMultipleX = static_cast<int>(std::ceil(dCellWidth / recipe.pitchX));
    recipe.zoneOriginX = region.left;
    recipe.zoneOriginY = region.top;
    if (region != CRect(0, 0, image.Width(), image.Height()))
        recipe.region = region;
    PaintZones(MeasureThresholds(image, region, recipe, alongX), recipe);
    CheckedRecipe checked(std::move(recipe));
    ThrowIfAny(CheckRecipeForImage(checked, image.Width(), image.Height()));
    return checked;
}

} // namespace narvo
