// SPDX-License-Identifier: MIT
// Options of a scan over single pixels, fixed at compile time.
#pragma once

#include "narvoassem/fast/bound/list_candidates.h"
#include "narvoassem/fast/find/find_row.h"

namespace narvo::engine
{

/// What a full hit array does to the strip after.
enum class StripCut
{
    Stays,   ///< the next strip starts 16 columns further, as usual
    Overruns ///< it starts 24 or 32 columns further, depending on the half that filled up
};

struct CScanTraits
{
    FindVariant eFind = FindVariant::LinearMap;
    bool bHorizontal = false;
    bool bLastBandFirst = false; ///< where bands overlap
    int nFreeRows = 2;           ///< vertical: rows at the bottom that stay uncompared, besides the pitch
    bool bRowTable = false;      ///< vertical: pitch from a table of rows
    bool bEndLine = true;        ///< writes its end line
    bool bMeans = false;         ///< vertical: each sample is the mean of a 2 by 2 block
    StripCut eCut = StripCut::Stays;
    bool bAnyRow = false;  ///< horizontal: hits passed by the caller may be partners in any row
    bool bShifted = false; ///< vertical: the whole part of nVtdPitch16 counts too

    /// Rows are read one pixel further than their strips reach.
    constexpr bool ReadsOneMore() const { return GetFindTraits(eFind).eReference == FindReference::Bilinear; }
    /// What the bound compares several rows as. Column tables: as rows of references formed by then.
    constexpr BoundShape Shape() const
    {
        if (bMeans)
            return BoundShape::Means;
        if (ReadsOneMore())
            return BoundShape::Bilinear;
        return bHorizontal && !HasColumnTables() ? BoundShape::Columns : BoundShape::Rows;
    }
    /// Displacement and weights of the reference come from tables of columns.
    constexpr bool HasColumnTables() const { return GetFindTraits(eFind).eReference == FindReference::Column; }
};

} // namespace narvo::engine
