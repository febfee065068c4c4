// SPDX-License-Identifier: MIT
// Sums over a sample of a region.
#include "host/inspect/drift_measures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace narvo
{

namespace
{

constexpr int nStretch = 32;               // columns of a stretch at least, where the region has them
constexpr int nSmallestStretch = 16;       // otherwise
constexpr double dUncertain = 0.05;        // pixels
constexpr double dMadToDeviation = 1.4826; // of a normal distribution

/// Stretches of one row, spread over a region, a pitch or more long. Their rows take all places in the pattern's pitch
/// in turn, so that few of them show all of the pattern.
class Stretches
{
public:
    /// What is measured reaches `right` and `down` pixels beyond a stretch.
    Stretches(const CRect& region, const Recipe& recipe, int right, int down)
        : m_columns(region.Width() - right), m_rows(region.Height() - down), m_left(region.left), m_top(region.top)
    {
        const double pitchX = std::max(recipe.pitchX, 1.0);
        m_length = static_cast<int>(std::min<double>(std::round(pitchX * std::ceil(nStretch / pitchX)), m_columns));
        m_cell = std::clamp<double>(recipe.pitchY, 1.0, std::max(m_rows, 1));
        if (m_length >= nSmallestStretch && m_rows > 0)
            m_count = std::clamp(nDriftPixels / m_length, 1, m_rows);
    }

    int Count() const { return m_count; }
    int Length() const { return m_length; }
    CPoint Start(int number) const
    {
        // Multiples of these lie evenly in a square (M. Roberts, The unreasonable effectiveness of quasirandom
        // sequences, 2018).
        const auto share = [number](double step) { return number * step - std::floor(number * step); };
        const auto cells = static_cast<std::int64_t>(m_rows / m_cell);
        const auto cell = static_cast<double>(number * cells / m_count);
        return {m_left + static_cast<int>(share(0.7548776662466927) * (m_columns - m_length + 1)),
                m_top + std::min(static_cast<int>((cell + share(0.5698402909980532)) * m_cell), m_rows - 1)};
    }

private:
    int m_columns;
    int m_rows;
    int m_left;
    int m_top;
    int m_length;
    double m_cell; ///< rows of a pitch
    int m_count = 0;
};

/// A distance along one of the axes.
struct Step
{
    bool alongX;
    double pixels;

    int Near() const { return static_cast<int>(pixels); }
    /// The pixels that whole steps away lie, and one more, from a place.
    const std::uint8_t* From(const GreyView& image, const CPoint& place, int whole) const
    {
        return alongX ? image.Row(place.y) + place.x + whole : image.Row(place.y + whole) + place.x;
    }
    Stretches Over(const CRect& region, const Recipe& recipe, int further) const
    {
        const int reach = Near() + 1 + further;
        return {region, recipe, alongX ? reach : 0, alongX ? 0 : reach};
    }
};

double LightOf(const GreyView& image, const CRect& region, const Recipe& recipe)
{
    const Stretches stretches(region, recipe, 0, 0);
    std::int64_t sum = 0;
    for (int i = 0; i < stretches.Count(); ++i)
    {
        const CPoint start = stretches.Start(i);
        const std::uint8_t* const row = image.Row(start.y) + start.x;
        for (int x = 0; x < stretches.Length(); ++x)
            sum += row[x];
    }
    const std::int64_t count = std::int64_t{stretches.Count()} * stretches.Length();
    return count > 0 ? static_cast<double>(sum) / static_cast<double>(count) : DriftMeasures::dNone;
}

/// The median of values that were rounded to whole numbers, as if each were spread over its number.
double MedianOf(const std::array<int, 256>& counts, std::int64_t all)
{
    const double half = 0.5 * static_cast<double>(all);
    double before = 0.0;
    for (int value = 0; value < 256; ++value)
    {
        const double own = counts[static_cast<std::size_t>(value)];
        if (own > 0.0 && before + own >= half)
        {
            // What rounds to 0 is less than one half.
            const double width = value == 0 ? 0.5 : 1.0;
            return std::max(0.0, value - 0.5) + width * (half - before) / own;
        }
        before += own;
    }
    return DriftMeasures::dNone;
}

double NoiseOf(const GreyView& image, const CRect& region, const Recipe& recipe, const Step& step)
{
    const Stretches stretches = step.Over(region, recipe, 0);
    const double weightFar = step.pixels - step.Near();
    // In 256ths, as rounding of the sums needs.
    const int farther = static_cast<int>(std::lround(weightFar * 256.0));
    std::array<int, 256> counts{};
    for (int i = 0; i < stretches.Count(); ++i)
    {
        const CPoint start = stretches.Start(i);
        const std::uint8_t* const own = step.From(image, start, 0);
        const std::uint8_t* const near = step.From(image, start, step.Near());
        const std::uint8_t* const far = step.From(image, start, step.Near() + 1);
        for (int x = 0; x < stretches.Length(); ++x)
        {
            const int difference = 256 * own[x] - (256 - farther) * near[x] - farther * far[x];
            ++counts[static_cast<std::size_t>(std::min((std::abs(difference) + 128) >> 8, 255))];
        }
    }
    const std::int64_t all = std::int64_t{stretches.Count()} * stretches.Length();
    const double spread = std::sqrt(1.0 + (1.0 - weightFar) * (1.0 - weightFar) + weightFar * weightFar);
    return MedianOf(counts, all) * dMadToDeviation / spread;
}

/// Sum of the squares of the differences at a whole distance.
std::int64_t SquaresOf(const GreyView& image, const Stretches& stretches, const Step& step, int whole)
{
    std::int64_t sum = 0;
    for (int i = 0; i < stretches.Count(); ++i)
    {
        const CPoint start = stretches.Start(i);
        const std::uint8_t* const own = step.From(image, start, 0);
        const std::uint8_t* const other = step.From(image, start, whole);
        std::int64_t part = 0;
        for (int x = 0; x < stretches.Length(); ++x)
        {
            const int difference = own[x] - other[x];
            part += difference * difference;
        }
        sum += part;
    }
    return sum;
}

/// The distance at which the image is most like itself, near to a step.
double DistanceOf(const GreyView& image, const CRect& region, const Recipe& recipe, const Step& step, double noise)
{
    const Stretches stretches = step.Over(region, recipe, 2);
    const int whole = static_cast<int>(std::lround(step.pixels));
    if (stretches.Count() == 0 || whole < 2)
        return DriftMeasures::dNone;
    double sums[3];
    for (int i = 0; i < 3; ++i)
        sums[i] = static_cast<double>(SquaresOf(image, stretches, step, whole - 1 + i));
    const double curvature = sums[0] - 2.0 * sums[1] + sums[2];
    if (!(curvature > 0.0))
        return DriftMeasures::dNone;
    const double offset = 0.5 * (sums[0] - sums[2]) / curvature;
    // The square of a difference of two pixels has the deviation 2 sqrt(2) times the variance of a pixel.
    const double count = static_cast<double>(stretches.Count()) * stretches.Length();
    const double error = 2.0 * noise * noise * std::sqrt(count) / curvature;
    const double distance = whole + offset;
    return std::abs(distance - step.pixels) <= 1.0 && error <= dUncertain ? distance : DriftMeasures::dNone;
}

} // namespace

DriftMeasures MeasureDrift(const GreyView& image, const CRect& region, const Recipe& recipe, Direction direction)
{
    const CRect inside(std::max<int>(region.left, 0), std::max<int>(region.top, 0),
                       std::min<int>(region.right, image.Width()), std::min<int>(region.bottom, image.Height()));
    DriftMeasures measures;
    measures.light = LightOf(image, inside, recipe);
    const Step x{true, recipe.RealPitchX()};
    const Step y{false, recipe.RealPitchY()};
    const Step& compared = direction == Direction_Horizontal ? x : y;
    if (!(compared.pixels >= 1.0))
        return measures;
    measures.noise = NoiseOf(image, inside, recipe, compared);
    if (std::isnan(measures.noise))
        return measures;
    if (x.pixels >= 1.0)
        measures.pitchX = DistanceOf(image, inside, recipe, x, measures.noise) / recipe.multipleX;
    if (y.pixels >= 1.0)
        measures.pitchY = DistanceOf(image, inside, recipe, y, measures.noise) / recipe.multipleY;
    return measures;
}

} // namespace narvo
