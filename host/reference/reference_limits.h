// SPDX-License-Identifier: MIT
// How far the pixels of an image may differ from a reference in the same place.
#pragma once

#include <algorithm>
#include <cstdint>

#include "host/image/grey_image.h"
#include "host/reference/difference_noise.h"
#include "host/reference/edge_tolerance.h"
#include "narvoassem/platform.h"

namespace narvo
{

/// What the pixels may differ by: `base`, or more where the range reaches further to the side on which it differs.
/// Looks at what it is given as long as it lives.
class ReferenceLimits
{
public:
    ReferenceLimits(const GreyImage& reference, const GreyImage& image, const GreyRange& range,
                    const GreyImage& nearEdge, const NoiseThreshold& base)
        : m_reference(reference), m_image(image), m_range(range), m_nearEdge(nearEdge), m_base(base)
    {
    }

    /// 255 where `inside` is 0: nothing is compared there.
    GreyImage Thresholds(const GreyImage& inside) const;

    /// Whether a pixel in the box differs by more than an edge explains that lies a whole pixel further off than the
    /// tolerance. Where none does, there is but an edge a fraction of a pixel beyond it.
    bool IsMoreThanAnEdge(const CRect& box) const;

private:
    struct Row
    {
        Row(const ReferenceLimits& limits, int y)
            : expected(limits.m_reference.Row(y)), shown(limits.m_image.Row(y)), low(limits.m_range.darkest.Row(y)),
              high(limits.m_range.brightest.Row(y)), close(limits.m_nearEdge.Row(y)), base(limits.m_base)
        {
        }
        int Difference(int x) const { return shown[x] - expected[x]; }
        int Play(int x) const { return shown[x] > expected[x] ? high[x] - expected[x] : expected[x] - low[x]; }
        int Least(int x) const { return close[x] != 0 ? base.nearEdge : base.flat; }
        /// The range holds noise of the reference already: half of the base is added to it.
        static int Limit(int play, int least) { return std::max(least, play + least / 2); }

        const std::uint8_t* expected;
        const std::uint8_t* shown;
        const std::uint8_t* low;
        const std::uint8_t* high;
        const std::uint8_t* close;
        NoiseThreshold base;
    };

    const GreyImage& m_reference;
    const GreyImage& m_image;
    const GreyRange& m_range;
    const GreyImage& m_nearEdge;
    const NoiseThreshold& m_base;
};

} // namespace narvo
