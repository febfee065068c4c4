// Which filters are asked about a pair record, and what they say.
#pragma once

#include "narvoassem/pairstorage.h"

namespace narvo::engine
{

enum class PairFilter
{
    Margin, ///< the other side of a pair of an edge band
    Jump,   ///< two pitches along the compare direction
    Cross   ///< one pitch across it
};

/// The answers on one pair, in the order in which they were asked for; the last one decides.
struct CFilterTrail
{
    struct CAnswer
    {
        PairFilter eFilter;
        bool bStands;
    };
    CAnswer answers[2];
    int nCount = 0;
};

/// Whether a build in that direction asks pair filters at all: the zones of flagged vertical ones have filtered before.
inline bool HasPairFilters(const CConvParam& param, bool bVertical)
{
    return !bVertical || param.bZoneFlagged == 0;
}

/// Asks the filters about a pair of the store, until one refuses it. @return whether it stands; so does a pair that no
/// filter is asked about
bool AskPairFilters(CPairStorage& store, CDefectPair& pair, bool bVertical, CFilterTrail* pTrail = nullptr);

} // namespace narvo::engine
