// SPDX-License-Identifier: MIT
// What is inspected as sums of a mask, and boxes drawn in it.
#include "host/capability/planting.h"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "host/boxes.h"
#include "host/image/cv_image.h"
#include "host/input/texture_deviations.h"
#include "host/recipe/region_shape.h"

namespace narvo
{

namespace
{

constexpr int nCellSide = 128; // pixels
constexpr int nCellGap = 48;   // pixels between defects of neighbouring cells
constexpr double dCellsMost = 1024.0;
constexpr int nFromBorder = 16; // pixels: inside
constexpr int nAtBorder = 3;    // pixels: at the border
constexpr int nTakenMargin = 8; // pixels kept free around what is reported without a defect
constexpr int nPlaceDraws = 60;

cv::Rect RectOf(const CRect& rect)
{
    return {rect.left, rect.top, rect.Width(), rect.Height()};
}

/// 1 where one of the recipes looks for defects.
cv::Mat InspectedMask(const GreyImage& image, const std::vector<CheckedRecipe>& recipes,
                      const std::vector<InspectionResult>& results)
{
    cv::Mat mask = cv::Mat::zeros(image.Height(), image.Width(), CV_8U);
    const cv::Rect whole({}, mask.size());
    for (std::size_t i = 0; i < recipes.size(); ++i)
    {
        const Recipe& recipe = recipes[i];
        cv::Mat inspected = cv::Mat::zeros(mask.size(), CV_8U);
        if (results[i].outlines.empty())
            inspected(RectOf(results[i].region) & whole).setTo(1);
        for (const std::vector<CPoint>& outline : results[i].outlines)
        {
            std::vector<std::uint8_t> inside = MakeMask(outline, image.Width(), image.Height());
            inspected |= cv::Mat(mask.size(), CV_8U, inside.data());
        }
        if (recipe.GetKind() == Kind_Texture)
        {
            const cv::Rect region = RectOf(results[i].region) & whole;
            cv::Mat grey;
            ViewOf(image)(region).convertTo(grey, CV_32F);
            inspected(region) &= FindTextureArea(grey, recipe.Texture());
        }
        for (const CRect& dead : recipe.deadZones)
            inspected(RectOf(dead) & whole).setTo(0);
        if (!recipe.deadImage.IsEmpty())
            inspected.setTo(0, ViewOf(recipe.deadImage) != 0);
        mask |= inspected;
    }
    return mask;
}

} // namespace

struct PlantingArea::Sums
{
    cv::Mat sums; ///< CV_32S, one row and column more than the image
};

std::vector<InspectionResult> InspectBy(const std::vector<CheckedRecipe>& recipes, Inspector& inspector, int lane,
                                        const GreyImage& image)
{
    std::vector<InspectionResult> results;
    for (const CheckedRecipe& recipe : recipes)
        results.push_back(inspector.Inspect(lane, image, recipe));
    return results;
}

PlantingArea::PlantingArea(const GreyImage& image, const std::vector<CheckedRecipe>& recipes,
                           const std::vector<InspectionResult>& clean)
    : m_sums(std::make_unique<Sums>()), m_width(image.Width()), m_height(image.Height())
{
    m_sums->sums = WithinMemory(
        [&]
        {
            cv::Mat sums;
            cv::integral(InspectedMask(image, recipes, clean), sums, CV_32S);
            return sums;
        });
    for (const InspectionResult& result : clean)
        for (const Blob& blob : result.blobs)
            m_taken.push_back(Grown(blob.box, nTakenMargin));
}

PlantingArea::~PlantingArea() = default;

int PlantingArea::CountIn(const CRect& rect) const
{
    const auto at = [&](int x, int y) { return m_sums->sums.at<int>(y, x); };
    return at(rect.right, rect.bottom) - at(rect.left, rect.bottom) - at(rect.right, rect.top) +
           at(rect.left, rect.top);
}

bool PlantingArea::Covers(const CRect& rect) const
{
    return rect.left >= 0 && rect.top >= 0 && rect.right <= m_width && rect.bottom <= m_height &&
           CountIn(rect) == rect.Width() * rect.Height();
}

double PlantingArea::Megapixels() const
{
    return CountIn({0, 0, m_width, m_height}) / 1e6;
}

std::vector<PlantingCell> PlantingArea::Cells(int largest) const
{
    const int side =
        std::max({nCellSide, largest + 2 * nCellGap,
                  static_cast<int>(std::ceil(std::sqrt(static_cast<double>(m_width) * m_height / dCellsMost)))});
    const int columns = std::max(1, m_width / side);
    const int rows = std::max(1, m_height / side);
    std::vector<PlantingCell> cells;
    const auto part = [](int length, int count, int number)
    { return static_cast<int>(static_cast<long long>(length) * number / count); };
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
        {
            const CRect rect(part(m_width, columns, column), part(m_height, rows, row),
                             part(m_width, columns, column + 1), part(m_height, rows, row + 1));
            if (CountIn(rect) > 0)
                cells.push_back({rect, !Covers(Grown(rect, 1))});
        }
    return cells;
}

std::optional<CRect> PlantingArea::FindPlace(const PlantingCell& cell, int shape, int size, int place,
                                             MixedNumbers& numbers) const
{
    const CRect box = PlantedBox(shape, size);
    // The gap to the next cell; the image ends without one.
    const int right = cell.rect.right - (cell.rect.right < m_width ? nCellGap : 0);
    const int bottom = cell.rect.bottom - (cell.rect.bottom < m_height ? nCellGap : 0);
    const int roomX = right - cell.rect.left - box.Width();
    const int roomY = bottom - cell.rect.top - box.Height();
    if (roomX < 0 || roomY < 0)
        return std::nullopt;
    const auto boxAt = [&](int x, int y) { return CRect(x, y, x + box.Width(), y + box.Height()); };
    for (int draw = 0; draw < nPlaceDraws; ++draw)
    {
        int x = cell.rect.left + static_cast<int>(numbers.Below(static_cast<std::size_t>(roomX) + 1));
        int y = cell.rect.top + static_cast<int>(numbers.Below(static_cast<std::size_t>(roomY) + 1));
        const std::size_t direction = numbers.Below(4);
        const int gap = static_cast<int>(numbers.Below(nAtBorder));
        if (!Covers(boxAt(x, y)))
            continue;
        if (place == Place_Border)
        {
            const int stepX = direction == 0 ? -1 : direction == 1 ? 1 : 0;
            const int stepY = direction == 2 ? -1 : direction == 3 ? 1 : 0;
            const auto isInCell = [&](int left, int top)
            {
                return left >= cell.rect.left && top >= cell.rect.top && left <= cell.rect.left + roomX &&
                       top <= cell.rect.top + roomY;
            };
            while (isInCell(x + stepX, y + stepY) && Covers(boxAt(x + stepX, y + stepY)))
            {
                x += stepX;
                y += stepY;
            }
            if (Covers(boxAt(x + stepX, y + stepY)))
                continue; // the cell ends before the border is reached
            x -= gap * stepX;
            y -= gap * stepY;
            if (!isInCell(x, y) || !Covers(boxAt(x, y)))
                continue;
        }
        else if (!Covers(Grown(boxAt(x, y), nFromBorder)))
            continue;
        const CRect found = boxAt(x, y);
        if (std::none_of(m_taken.begin(), m_taken.end(), [&](const CRect& taken) { return Overlap(taken, found); }))
            return found;
    }
    return std::nullopt;
}

} // namespace narvo
