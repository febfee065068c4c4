// SPDX-License-Identifier: MIT
// Notes on a pitch, from its curve and from the contrast over the region; on a recipe, from an inspection.
#include "host/pitch/pitch_notes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>

#include "host/counted.h"
#include "host/inspect/inspector.h"

namespace narvo
{

namespace
{

std::string Short(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

void AddShorter(const char* axis, const AxisPitch& found, std::vector<std::string>& notes)
{
    constexpr double nearlyAs = 0.03; // correlation
    const PitchPeak& other = found.runnerUp;
    if (found.found && other.strength > 0.0 && other.pitch < found.pitch &&
        other.strength >= found.confidence - nearlyAs)
        notes.push_back(std::string("along ") + axis + " the image repeats nearly as well after " + Short(other.pitch) +
                        " pixels (" + Short(other.strength) + " against " + Short(found.confidence) +
                        "): where neighbouring cells are meant to be alike, that is the pitch");
}

/// A side of the tiles over which contrast is measured: a whole period, which holds dark and bright alike.
int TileSide(const AxisPitch& axis)
{
    constexpr int leastSide = 16;
    return std::max(leastSide, axis.found ? static_cast<int>(std::ceil(axis.pitch)) : 0);
}

/// Standard deviations of tiles, row by row.
class TileContrast
{
public:
    TileContrast(const GreyView& image, const CRect& region, int width, int height)
        : m_width(width), m_height(height), m_columns(region.Width() / width), m_rows(region.Height() / height)
    {
        for (int row = 0; row < m_rows; ++row)
            for (int column = 0; column < m_columns; ++column)
                m_deviations.push_back(Deviation(image, region.left + column * width, region.top + row * height));
    }

    int Columns() const { return m_columns; }
    int Rows() const { return m_rows; }
    double At(int column, int row) const { return m_deviations[static_cast<std::size_t>(row * m_columns + column)]; }
    /// What the pattern has, even where it fills a fifth of the image only.
    double Usual() const { return Quantile(m_deviations, 0.9); }

    static double Quantile(std::vector<double> values, double share)
    {
        const auto place = values.begin() + static_cast<std::ptrdiff_t>(static_cast<double>(values.size()) * share);
        std::nth_element(values.begin(), place, values.end());
        return *place;
    }

private:
    double Deviation(const GreyView& image, int left, int top) const
    {
        double sum = 0.0;
        double squares = 0.0;
        for (int y = top; y < top + m_height; ++y)
            for (int x = left; x < left + m_width; ++x)
            {
                const double grey = image.Row(y)[x];
                sum += grey;
                squares += grey * grey;
            }
        const double count = static_cast<double>(m_width) * m_height;
        return std::sqrt(std::max(squares / count - sum / count * (sum / count), 0.0));
    }

    int m_width;
    int m_height;
    int m_columns;
    int m_rows;
    std::vector<double> m_deviations;
};

/// Lines of tiles at the beginning of `lines` whose contrast is far below the usual one.
int BlankLines(int lines, double usual, const std::function<double(int line)>& contrastOf)
{
    constexpr double blankShare = 0.25;
    int blank = 0;
    while (blank < lines && contrastOf(blank) < blankShare * usual)
        ++blank;
    return blank;
}

void AddMargins(const GreyView& image, const CRect& region, const PitchResult& pitch, std::vector<std::string>& notes)
{
    const int wide = TileSide(pitch.x);
    const int high = TileSide(pitch.y);
    const TileContrast tiles(image, region, wide, high);
    if (tiles.Columns() < 4 || tiles.Rows() < 4)
        return;
    constexpr double lineShare = 0.9; // a line of tiles holds pattern where a tenth of it does
    const double usual = tiles.Usual();
    const auto columnContrast = [&](int column)
    {
        std::vector<double> values;
        for (int row = 0; row < tiles.Rows(); ++row)
            values.push_back(tiles.At(column, row));
        return TileContrast::Quantile(std::move(values), lineShare);
    };
    const auto rowContrast = [&](int row)
    {
        std::vector<double> values;
        for (int column = 0; column < tiles.Columns(); ++column)
            values.push_back(tiles.At(column, row));
        return TileContrast::Quantile(std::move(values), lineShare);
    };
    const int left = BlankLines(tiles.Columns(), usual, columnContrast);
    const int top = BlankLines(tiles.Rows(), usual, rowContrast);
    const int right =
        BlankLines(tiles.Columns(), usual, [&](int i) { return columnContrast(tiles.Columns() - 1 - i); });
    const int bottom = BlankLines(tiles.Rows(), usual, [&](int i) { return rowContrast(tiles.Rows() - 1 - i); });
    // The last lines may hold up to a tile more.
    const auto end = [](int start, int count, int side, int blank, int tile)
    { return blank == 0 ? side : start + (count - blank) * tile; };
    const CRect inner(region.left + left * wide, region.top + top * high,
                      end(region.left, tiles.Columns(), region.right, right, wide),
                      end(region.top, tiles.Rows(), region.bottom, bottom, high));
    if (inner != region && !inner.IsRectEmpty())
        notes.push_back("the sides of the image show no pattern: --region " + std::to_string(inner.left) + "," +
                        std::to_string(inner.top) + "," + std::to_string(inner.right) + "," +
                        std::to_string(inner.bottom) + " leaves them out");
}

} // namespace

std::vector<std::string> NotesOnPitch(const GreyView& image, const CRect& region, const PitchResult& pitch)
{
    std::vector<std::string> notes;
    AddShorter("x", pitch.x, notes);
    AddShorter("y", pitch.y, notes);
    if (pitch.x.found || pitch.y.found)
        AddMargins(image, region, pitch, notes);
    return notes;
}

std::vector<std::string> NotesOnRecipe(const GreyView& image, const CheckedRecipe& recipe)
{
    constexpr std::size_t manyBlobs = 200;
    constexpr double muchArea = 0.02; // of the region
    Inspector inspector(1, recipe->maxBlobs);
    const InspectionResult result = inspector.Inspect(0, image, recipe);
    double area = 0.0;
    for (const Blob& blob : result.blobs)
        area += blob.area;
    const double share = area / (static_cast<double>(result.region.Width()) * result.region.Height());
    if (result.blobs.size() < manyBlobs && share < muchArea && !result.overflowed)
        return {};
    return {
        "the recipe reports " + Counted(result.blobs.size(), "blob") + ", " + Short(100.0 * share) +
        " % of the image that it was made from: a good image would not flood it; see narvo learn for material whose "
        "pattern drifts, and --region for images that show more than the pattern"};
}

} // namespace narvo
