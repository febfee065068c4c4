// SPDX-License-Identifier: MIT
// Why the engine refuses a parameter block. The checks name every reason that they find; the engine's calls only look
// whether there is one, explanations look at which.
#pragma once

#include <cstdint>

namespace narvo::engine
{

/// In the order of the checks: those of the pool, those of the fields, those that keep reads inside image and tables.
enum class Refusal
{
    AverageBright,     ///< average mode: no threshold of bright defects
    AverageDark,       ///< average mode: no threshold of dark defects
    UnderWindow,       ///< average mode: the region is smaller than the background window; code 64
    Under3PitchesX,    ///< the region is narrower than three pitches along x, and the direction is not to be changed
    Under3PitchesY,    ///< the same along y
    Under3PitchesBoth, ///< the region is too small in either direction; code 64
    Image,             ///< no image
    ImageWidth,        ///< the image is narrower than three pitches along x
    ImageHeight,       ///< the image is lower than two windows
    RegionWidth,       ///< the region is narrower than three windows
    RegionHeight,      ///< the region is lower than two windows
    WindowWidth,       ///< the window is not 1 to 1023 pixels wide
    WindowHeight,      ///< or high
    RegionPitch,       ///< the region is shorter than three pitches along the compare direction
    CheckLimit1,       ///< nCheckLimit1 is below 10
    CheckLimit2,       ///< nCheckLimit2 is below 2
    MapLeft,           ///< nZoneMapLeft is negative
    MapTop,            ///< nZoneMapTop is negative
    Threshold,         ///< nThreshold is below 1
    RegionOutside,     ///< the region leaves the image
    CornersOutside,    ///< the trapezium leaves the image
    PitchAlong,        ///< the pitch along the compare direction is negative, beyond the limit or no number
    PitchAcross,       ///< the pitch across, which the cross filter reads, is beyond the limit or no number
    TwicePitch,        ///< the pitch of the second pass is negative, beyond the limit or no number
    ColumnTables,      ///< a table of displacements without its weights
    OriginTable,       ///< no grid of cell origins
    ZoneColumns,       ///< the grid's row length is negative
    MapStride,         ///< the maps' line stride is negative
    CellWidth,         ///< cells of no width, more of them than a grid row holds
    CellHeight,        ///< cells of no height
    Count
};

/// A set of reasons.
class CRefusals
{
public:
    constexpr CRefusals() = default;

    constexpr void AddIf(bool bFails, Refusal eReason)
    {
        if (bFails)
            m_nBits |= Bit(eReason);
    }
    constexpr bool IsEmpty() const { return m_nBits == 0; }
    constexpr bool Has(Refusal eReason) const { return (m_nBits & Bit(eReason)) != 0; }
    friend constexpr CRefusals operator|(CRefusals a, CRefusals b) { return CRefusals(a.m_nBits | b.m_nBits); }

private:
    explicit constexpr CRefusals(std::uint64_t nBits) : m_nBits(nBits) {}
    static constexpr std::uint64_t Bit(Refusal eReason) { return std::uint64_t{1} << static_cast<unsigned>(eReason); }

    std::uint64_t m_nBits = 0;
};

static_assert(static_cast<int>(Refusal::Count) <= 64, "a set has 64 bits");

} // namespace narvo::engine
