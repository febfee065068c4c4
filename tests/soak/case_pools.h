// SPDX-License-Identifier: MIT
// Constant noise that all cases share: pixels and zone maps are windows into it, which makes a case cheap.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "narvoassem/platform.h"
#include "soak/case_source.h"

namespace narvo::test
{

/// What the values of a map mean.
enum class MapKind
{
    Offset,
    Gain,
    Zone, ///< zone indices and class ids, 0 .. 15
    Knee
};

class CCasePools
{
public:
    /// Map elements that may be reached on either side of the element a map begins with.
    static constexpr std::int64_t nMapReach = (std::int64_t{1} << 18) - 8192;
    /// Bytes of noise from any place that GetNoise gives.
    static constexpr std::size_t nNoiseReach = std::size_t{1} << 18;

    /// The one instance, made on first use.
    static const CCasePools& Get();

    /// A map; gentle values are the likely ones.
    short* PickMap(CCaseSource& source, MapKind eKind) const;
    /// Uniform noise of 8 bits.
    const std::uint8_t* PickNoise(CCaseSource& source) const;
    /// 16 texts of verification checks, one a zone.
    CString* PickTexts(CCaseSource& source) const;

private:
    CCasePools();

    static constexpr std::size_t nKinds = 4;
    static constexpr std::size_t nGrades = 4; ///< per kind, from gentle to wild
    static constexpr std::size_t nTextSets = 6;

    // The records point at elements that are not const, so the pools hand out such pointers; nothing writes there.
    mutable std::array<std::array<std::vector<short>, nGrades>, nKinds> m_aMaps;
    mutable std::array<std::array<CString, 16>, nTextSets> m_aTexts;
    std::vector<std::uint8_t> m_aNoise;
};

} // namespace narvo::test
