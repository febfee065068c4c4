// SPDX-License-Identifier: MIT
// The arithmetic of the bands, and the bounds check of each.
#include "narvoassem/engine/band_plan.h"

#include <algorithm>
#include <cstdint>

#include "narvoassem/base/wrap_int.h"
#include "narvoassem/engine/check_bounds.h"

namespace narvo::engine
{
namespace
{

/// Pixels along the split axis that are worth a thread.
constexpr int nPixelsPerBand = 2000;
/// Bands begin at multiples of this from the region's start, so that strips of 16 columns keep their places.
constexpr int nBandAlignment = 64;

} // namespace

CBandPlan::CBandPlan(const CConvParam& param, int nEngines) : m_param(param)
{
    const CRect& rtInspect = param.rtInspect;
    const bool bColumns = param.nDirection == 1;
    const int nSpan = bColumns ? rtInspect.Width() : rtInspect.Height();
    m_nStart = bColumns ? rtInspect.left : rtInspect.top;
    m_nEnd = bColumns ? rtInspect.right : rtInspect.bottom;

    const int nBands = std::min(nSpan / nPixelsPerBand, nEngines);
    if (nBands < 1)
        return;
    m_nBands = nBands;
    // Single precision, as the interface defines; 64 bits because a float may round a span up past the largest int.
    const auto nExactSize = static_cast<std::int64_t>(static_cast<float>(nSpan) / static_cast<float>(nBands));
    m_nBandSize = static_cast<int>(nExactSize / nBandAlignment * nBandAlignment);
}

CConvParam CBandPlan::MakeBand(int nBand) const
{
    CConvParam band(m_param);
    // Left and right in both directions: only column bands are meant to come here.
    band.rtInspect.left = WrapAdd(WrapMul(m_nBandSize, nBand), m_nStart);
    band.rtInspect.right = nBand == m_nBands - 1 ? m_nEnd : WrapAdd(band.rtInspect.left, m_nBandSize);
    return band;
}

CRefusals CBandPlan::FindOutOfBounds(Comparison eComparison) const
{
    CRefusals refusals;
    for (int i = 0; i < m_nBands; ++i)
    {
        CConvParam band = MakeBand(i);
        if (band.pZoneOriginTable != nullptr)
        {
            const int nEntry = FindBandEntry(band);
            if (nEntry < 0)
                continue; // compares nothing
            // The rest of the grid's row, for the walk, which steps through it without checks.
            band.nZoneColumns -= nEntry;
        }
        refusals = refusals | engine::FindOutOfBounds(band, eComparison);
    }
    return refusals;
}

int FindBandEntry(const CConvParam& param)
{
    const int* pRecord = param.pZoneOriginTable;
    for (int i = 0; i < param.nZoneColumns; ++i, pRecord += 2)
    {
        if (*pRecord > param.rtInspect.left)
            return i;
    }
    return -1;
}

} // namespace narvo::engine
