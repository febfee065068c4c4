// A parameter block together with all that it points at: the step from a recipe and an image to what the engine reads.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "host/image/grey_image.h"
#include "host/inspect/region_maps.h"
#include "host/inspect/zone_tables.h"
#include "host/recipe/recipe.h"
#include "narvoassem/convparam.h"

namespace narvo
{

/// Owns tables and maps, its share of the recipe's whole-region maps included, and fills a block that points at them.
/// The image is not copied and must outlive this object; the engine only reads it.
class ParameterSet
{
public:
    /// @throws HostError unless the recipe is valid for the image
    ParameterSet(const GreyView& image, const Recipe& recipe);
    ParameterSet(const ParameterSet&) = delete;
    ParameterSet& operator=(const ParameterSet&) = delete;

    /// The block. The engine may edit it; a second inspection takes a new set.
    CConvParam& Block() { return m_param; }
    const CConvParam& Block() const { return m_param; }

    /// The trapezia of a region of that shape, to be set into the block one after the other; otherwise empty.
    const std::vector<CTrapezium>& Trapezia() const { return m_trapezia; }

private:
    void FillScalars(const Recipe& recipe);
    void FillThresholds(const Recipe& recipe);
    void FillShape(const Recipe& recipe);
    void FillMaps(const Recipe& recipe);
    void FillRegionMaps(const Recipe& recipe, bool vertical);
    void FillTables(const GreyView& image, const Recipe& recipe);
    void FillZoneTables(const Recipe& recipe);
    void FillVerification(const Recipe& recipe);
    short* AddMap(const Recipe& recipe, const GreyImage& painted, int ZoneSettings::*member);

    using ZoneTable = std::array<int, CConvParam::nZoneLimit>;

    CConvParam m_param;
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
