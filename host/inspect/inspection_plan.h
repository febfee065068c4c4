// SPDX-License-Identifier: MIT
// A checked recipe bound to the size of an image: the parameter block and all that it points at, made once for any
// number of images of that size.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "host/image/grey_image.h"
#include "host/recipe/checked_recipe.h"
#include "host/recipe/recipe_check.h"
#include "host/zones/region_maps.h"
#include "host/zones/zone_tables.h"
#include "narvoassem/convparam.h"

namespace narvo
{

/// Rows or columns that an entry of a pitch table serves.
constexpr int nTableGroup = 16;

/// An entry of a pitch table, in 1/16 pixel as the engine takes it. Behind its last entry a table goes on with that.
int TableEntry(const std::vector<double>& table, std::int64_t group);

/// Owns tables and maps, its share of the recipe's whole-region maps included. Nothing in it changes once it is made,
/// so that any number of threads may inspect by it.
class InspectionPlan
{
public:
    /// @throws HostError unless the recipe can inspect an image of `width` by `height` pixels
    InspectionPlan(CheckedRecipe recipe, int width, int height);
    InspectionPlan(const InspectionPlan&) = delete;
    InspectionPlan& operator=(const InspectionPlan&) = delete;

    const CheckedRecipe& GetRecipe() const { return m_recipe; }
    /// Whether the plan is for images of that size.
    bool Fits(int width, int height) const { return width == m_width && height == m_param.nImageHeight; }
    /// @throws HostError for an image of another size
    void CheckSize(const GreyView& image) const;
    const CRect& Region() const { return m_param.rtInspect; }
    /// The direction that the engine takes.
    Direction GetDirection() const { return ResolveDirection(m_recipe, m_param.rtInspect); }

    /// The block for one call, which the engine may edit; in texture and lattice mode it does not serve. It points at
    /// the image and into this plan; both must outlive the call, and the engine only reads them.
    /// @throws HostError for an image of another size
    CConvParam BlockFor(const GreyView& image) const;

    /// The trapezia of a region of that shape, to be set into the block one after the other; otherwise empty.
    const std::vector<CTrapezium>& Trapezia() const { return m_trapezia; }

private:
    void FillScalars(const Recipe& recipe);
    void FillThresholds(const Recipe& recipe);
    void FillShape(const Recipe& recipe);
    void FillMaps(const Recipe& recipe);
    void FillRegionMaps(const Recipe& recipe, bool vertical);
    void FillTables(const Recipe& recipe);
    void FillZoneTables(const Recipe& recipe);
    void FillVerification(const Recipe& recipe);
    short* AddMap(const Recipe& recipe, const GreyImage& painted, int ZoneSettings::*member);

    using ZoneTable = std::array<int, CConvParam::nZoneLimit>;

    CheckedRecipe m_recipe;
    int m_width;        ///< the block holds the length of a row in its place
    CConvParam m_param; ///< without the image
    CellGeometry m_cell;
    CRect m_mapExtent;
    std::deque<CellMap> m_maps;
    std::deque<ZoneTable> m_zoneTables;
    std::vector<int> m_scanPitch;
    std::vector<int> m_scanTilt;
    std::vector<int> m_rowPitch;
    std::vector<int> m_columnPitch;
    std::vector<CString> m_verify; ///< 16, by zone
    std::vector<unsigned short> m_convPitch;
    std::vector<short> m_convNear;
    std::vector<short> m_convFar;
    std::optional<OriginTable> m_origins;
    std::shared_ptr<const RegionMaps> m_regionMaps;
    std::optional<RegionOrigins> m_regionOrigins;
    std::vector<CPoint> m_points;
    std::vector<std::uint8_t> m_mask;
    std::vector<CTrapezium> m_trapezia;
};

} // namespace narvo
