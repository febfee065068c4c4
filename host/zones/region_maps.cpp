// SPDX-License-Identifier: MIT
// Storage of whole-region maps, and the grid of origins that serves them.
#include "host/zones/region_maps.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "host/problem.h"
#include "host/zones/zone_tables.h"

namespace narvo
{

namespace
{

constexpr int nRowsBefore = 1;
constexpr int nRowsBehind = 2;
// A search stops four records before the end of a grid row.
constexpr int nGridColumns = 12;
constexpr int nOriginRows = 4;

struct MapRange
{
    const char* name;
    short high;
};

constexpr std::array<MapRange, RegionMaps::nMaps> mapRanges = {{{"offset", 32512},
                                                                {"gain", 256},
                                                                {"zone", 15},
                                                                {"knee", 255},
                                                                {"upper offset", 32512},
                                                                {"upper gain", 256},
                                                                {"class", 15}}};

} // namespace

RegionMaps::RegionMaps(int width, int height)
    : m_width(width), m_height(height), m_stride((width + nStripWidth - 1) / nStripWidth * nStripWidth + nStripWidth)
{
    // The records of a grid count in pixels how far the last line lies from the first.
    const std::int64_t places = std::int64_t{m_stride} * (std::int64_t{height} + nRowsBefore + nRowsBehind);
    if (width < 1 || height < 1 || places > std::numeric_limits<int>::max() / 2)
        throw HostError({{"maps", std::to_string(width) + " by " + std::to_string(height) + " pixels",
                          "sides of at least 1 pixel and at most 1073741823 pixels in all"}});
    Fill(Map_Offset, 0);
    Fill(Map_Gain, 0);
}

std::vector<short>& RegionMaps::Fill(Map map, short value)
{
    m_values[map].assign(
        static_cast<std::size_t>(m_stride) * static_cast<std::size_t>(m_height + nRowsBefore + nRowsBehind), value);
    return m_values[map];
}

void RegionMaps::Set(Map map, const short* values, std::ptrdiff_t stride)
{
    const MapRange& range = mapRanges[map];
    std::uint32_t used = 0;
    for (int y = 0; y < m_height; ++y)
        for (int x = 0; x < m_width; ++x)
        {
            const short value = values[y * stride + x];
            if (value < 0 || value > range.high)
                throw HostError(
                    {{std::string("maps, ") + range.name,
                      std::to_string(value) + " at column " + std::to_string(x) + ", row " + std::to_string(y),
                      "0 to " + std::to_string(range.high)}});
            used |= 1U << (value & 15);
        }
    if (map == Map_Zone)
        m_usedZones = used;
    std::vector<short>& target = Fill(map, values[0]);
    for (int y = 0; y < m_height; ++y)
        std::copy_n(values + y * stride, m_width, target.begin() + std::ptrdiff_t{y + nRowsBefore} * m_stride);
}

short* RegionMaps::Data(Map map) const
{
    return const_cast<short*>(m_values[map].data()) + std::ptrdiff_t{nRowsBefore} * m_stride;
}

RegionOrigins::RegionOrigins(const CRect& region, int stride, bool vertical)
{
    for (int row = 0; row < nOriginRows; ++row)
        for (int column = 0; column < nGridColumns; ++column)
        {
            // Across columns the places take turns; down the rows, which only horizontal walks search, every record
            // but the entry's lies behind the last line.
            const int lines = vertical ? (column % 2 == 0 ? -1 : 0) : (row == 0 ? 0 : region.Height());
            m_records.push_back(region.left - lines * stride);
            m_records.push_back(region.top + lines);
        }
}

int RegionOrigins::Columns()
{
    return nGridColumns;
}

} // namespace narvo
