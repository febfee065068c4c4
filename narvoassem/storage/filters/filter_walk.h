// SPDX-License-Identifier: MIT
// Which filters test a pair record, and their answers.
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

/// The answers on one pair, in the order of the tests; the last one decides.
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

/// Whether a build in that direction uses pair filters at all: flagged vertical ones rely on their zones instead.
inline bool HasPairFilters(const CConvParam& param, bool bVertical)
{
    return !bVertical || param.bZoneFlagged == 0;
}

/// Tests a pair of the store by the filters, until one refuses it. @return whether it is kept; so is a pair that no
/// filter tests
bool AskPairFilters(CPairStorage& store, CDefectPair& pair, bool bVertical, CFilterTrail* pTrail = nullptr);

} // namespace narvo::engine
