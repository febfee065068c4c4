// SPDX-License-Identifier: MIT
// Places for planted defects in an image: squares that hold one defect each, far enough apart that none helps to find
// another.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/capability/planted.h"
#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"
#include "host/recipe/checked_recipe.h"
#include "host/statistics/mixed_numbers.h"

namespace narvo
{

/// Where defects are planted in what is inspected.
enum PlantedPlace : int
{
    Place_Inside = 0, ///< 16 pixels or more from the border
    Place_Border      ///< within 3 pixels of it
};
constexpr int nPlantedPlaces = 2;

/// What the recipes report of an image, one result for each.
std::vector<InspectionResult> InspectBy(const std::vector<CheckedRecipe>& recipes, Inspector& inspector, int lane,
                                        const GreyImage& image);

/// A square that holds one defect.
struct PlantingCell
{
    CRect rect;
    bool border = false; ///< the border of what is inspected runs through it
};

/// What of an image is inspected.
class PlantingArea
{
public:
    /// `clean` are the results of the image as it is; what they report is no place for a defect.
    PlantingArea(const GreyImage& image, const std::vector<CheckedRecipe>& recipes,
                 const std::vector<InspectionResult>& clean);
    ~PlantingArea();
    PlantingArea(const PlantingArea&) = delete;
    PlantingArea& operator=(const PlantingArea&) = delete;

    double Megapixels() const;
    /// Squares for defects of up to `largest` pixels, those without anything to inspect left out; about a thousand at
    /// most.
    std::vector<PlantingCell> Cells(int largest) const;
    /// A box of the defect's in the cell, drawn at random; nothing where there is no room.
    std::optional<CRect> FindPlace(const PlantingCell& cell, int shape, int size, int place,
                                   MixedNumbers& numbers) const;

private:
    /// Whether all of a rectangle is inspected.
    bool Covers(const CRect& rect) const;
    int CountIn(const CRect& rect) const;

    struct Sums;
    std::unique_ptr<Sums> m_sums;
    std::vector<CRect> m_taken;
    int m_width;
    int m_height;
};

} // namespace narvo
