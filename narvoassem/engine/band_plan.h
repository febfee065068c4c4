// SPDX-License-Identifier: MIT
// How a region is cut into bands of columns, and what the parameters of each band are.
#pragma once

#include "narvoassem/compare/comparison.h"
#include "narvoassem/convparam.h"
#include "narvoassem/engine/refusal.h"

namespace narvo::engine
{

/// Sub-engines of each lane of a pool, so that no region has more bands.
inline constexpr int nSubEngines = 4;

/// The bands of one region; the parameter block must outlive it.
class CBandPlan
{
public:
    /// For a pool of nEngines sub-engines.
    CBandPlan(const CConvParam& param, int nEngines);

    /// 0 for a region that is not worth cutting.
    int GetCount() const { return m_nBands; }
    /// A copy of the parameters with the sides of band nBand, 0 .. GetCount() - 1.
    CConvParam MakeBand(int nBand) const;
    /// Where a band that enters its grid would leave image or tables, by the rules of check_bounds.h.
    CRefusals FindOutOfBounds(Comparison eComparison) const;

private:
    const CConvParam& m_param;
    int m_nBands = 0;
    int m_nBandSize = 0; ///< pixels; the last band takes the rest
    int m_nStart;
    int m_nEnd;
};

/// The first record of the origin table's row that lies right of the region's left side, as the number of records
/// before it. Records count as two ints, also where flagged records have three. @return -1 when the row has none
int FindBandEntry(const CConvParam& param);

} // namespace narvo::engine
