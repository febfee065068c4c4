// SPDX-License-Identifier: MIT
// Thresholds given pixel by pixel for a whole region, where no cell of the pattern stands for all: from the spread of
// several good images, say. The recipe holds them beside its fields; they have no JSON form.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "narvoassem/platform.h"

namespace narvo
{

/// The maps of the zone comparison, laid over one region: a pixel's threshold is offset + (larger compared value *
/// gain) / 256, of the place where the comparison begins: its reference lies one compare distance on, so a defect is
/// looked at by its own threshold and by that of the place one distance before it.
class RegionMaps
{
public:
    enum Map : int
    {
        Map_Offset,      ///< 0 .. 32512 grey levels; 256 and more pass no pixel
        Map_Gain,        ///< 0 .. 256, in 1/256; not set: 0
        Map_Zone,        ///< 0 .. 15, by which the filters take their values; not set: the recipe's only zone
        Map_Knee,        ///< 0 .. 255 grey levels: above it the upper segment applies
        Map_UpperOffset, ///< as the offset; the three are set together or not at all
        Map_UpperGain,   ///< as the gain
        Map_Class        ///< 0 .. 15, copied to the pairs by the kernels that take class ids
    };
    static constexpr int nMaps = 7;

    /// For a region of that size, with offset and gain 0 everywhere. @throws HostError for sizes that the engine's
    /// 32-bit places do not reach
    RegionMaps(int width, int height);

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    /// Elements from line to line.
    int Stride() const { return m_stride; }

    /// Copies `Height()` rows of `Width()` values that lie `stride` elements apart.
    /// @throws HostError with the first place whose value lies outside the map's range
    void Set(Map map, const short* values, std::ptrdiff_t stride);
    bool IsSet(Map map) const { return !m_values[map].empty(); }
    /// Zones that Map_Zone holds, one bit each; 0 when it is not set.
    unsigned UsedZones() const { return m_usedZones; }

    /// The element of the region's first pixel; a line before it and two behind the last may be read. The engine takes
    /// pointers to what it does not write. Not for maps that are not set.
    short* Data(Map map) const;

private:
    std::vector<short>& Fill(Map map, short value);

    int m_width;
    int m_height;
    int m_stride;
    unsigned m_usedZones = 0;
    std::array<std::vector<short>, nMaps> m_values;
};

/// Origin records that make one cell of a whole region, for bands and re-runs too. A band takes the first record right
/// of its left side, a re-run searches on from there for one that is not; so two records take turns which name the same
/// element for every pixel: one at the region's corner, one a line of the map further right and one row up.
class RegionOrigins
{
public:
    RegionOrigins(const CRect& region, int stride, bool vertical);
    /// The record to hand to the engine.
    int* Entry() { return m_records.data(); }
    /// Records from grid row to grid row.
    static int Columns();

private:
    std::vector<int> m_records;
};

} // namespace narvo
