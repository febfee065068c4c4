// SPDX-License-Identifier: MIT
// The band rule: hits of one strip or row become pair records. A hit near the start edge may be a single; one near
// the end edge represents its unseen partner one pitch ahead, mirrored; one in the middle needs a partner.
#pragma once

#include <cstdint>
#include <limits>

#include "narvoassem/fast/call/kernel_call.h"

namespace narvo::engine
{

enum class PairAxis
{
    X, ///< rows: hits of one row in ascending x
    Y  ///< columns: hits of one strip in ascending y, then x
};

/// What differs between the kernel families, fixed at compile time.
struct CPairingTraits
{
    PairAxis eAxis = PairAxis::Y;
    /// Where bands overlap: the last band is tested before the first one.
    bool bLastBandFirst = false;
    /// A hit at the target that cannot be the partner is skipped; otherwise it ends the search, and hit i gives
    /// nothing at all.
    bool bPassUnusable = false;
    /// The other coordinate of a partner is not tested.
    bool bAnyAcross = false;
};

/// Bands along the axis: first below nFirstEnd, last above nLastStart, middle between.
struct CBands
{
    std::int64_t nFirstEnd = 0;
    std::int64_t nLastStart = 0;
    std::int64_t nHop = 0; ///< distance of the partner
};

/// The hit arrays as the pairing walk sees them.
struct CHitList
{
    const CHitArrays* pHits = nullptr;
    std::int64_t nCount = 0;
};

/// Where the search for a partner may begin: hits before nNext lie before nTarget. Targets mostly ascend, so the hits
/// up to them are passed once.
struct CSearchCursor
{
    std::int64_t nNext = 0;
    std::int64_t nTarget = std::numeric_limits<std::int64_t>::min();

    void Advance(const int* pAlong, std::int64_t nCount, std::int64_t i, std::int64_t nWanted)
    {
        if (nWanted < nTarget || nNext <= i)
            nNext = i + 1;
        nTarget = nWanted;
        while (nNext < nCount && pAlong[nNext] < nWanted)
            ++nNext;
    }
};

/// A record that may be written: its place in the bands, and the hit whose values it carries, mirrored or not.
struct CPairCandidate
{
    DefectPos ePos;
    DefectPair ePair;
    int x;
    int y;
    std::int64_t nHit; ///< index of the hit whose values the record carries
    bool bMirrored;    ///< type flipped, source and compare value swapped
};

enum class PairingEnd
{
    Done,
    PairsFull
};

/// Type 3 and above: consumed or ignored.
inline bool IsOutOfPlay(short nType)
{
    return nType >= 3;
}

/// Index of the first hit after i that lies at the target and, for columns, in the same column: the partner if its
/// type allows it. -1 if there is none. Sets bBlocked when an unusable hit at the target ended the search.
template <CPairingTraits kTraits>
std::int64_t FindPartner(const CHitList& list, std::int64_t i, std::int64_t nTarget, CSearchCursor& cursor,
                         bool& bBlocked)
{
    const CHitArrays& hits = *list.pHits;
    const int* pAlong = kTraits.eAxis == PairAxis::X ? hits.pX : hits.pY;
    const int* pAcross = kTraits.eAxis == PairAxis::X ? hits.pY : hits.pX;
    cursor.Advance(pAlong, list.nCount, i, nTarget);
    for (std::int64_t j = cursor.nNext; j < list.nCount; ++j)
    {
        if (pAlong[j] < nTarget)
            continue;
        if (pAlong[j] > nTarget)
            return -1;
        if (!kTraits.bAnyAcross && pAcross[j] != pAcross[i])
            continue;
        if (!IsOutOfPlay(hits.pType[j]) && hits.pType[j] != hits.pType[i])
            return j;
        if (!kTraits.bPassUnusable)
        {
            bBlocked = true;
            return -1;
        }
    }
    return -1;
}

/// Pairs the hits in order. TRecords says what is kept and writes it:
///   bool IsFull()                              no room for a further record
///   bool KeepsSingle(std::int64_t nHit)        a single of this hit may be written
///   bool Write(const CPairCandidate&)          writes the record unless it is refused; false where the hit whose
///   values
///                                              it carries stays free
template <CPairingTraits kTraits, class TRecords>
PairingEnd PairHits(const CHitList& list, const CBands& bands, TRecords&& records)
{
    const CHitArrays& hits = *list.pHits;
    constexpr bool bAlongX = kTraits.eAxis == PairAxis::X;
    CSearchCursor cursor;
    for (std::int64_t i = 0; i < list.nCount; ++i)
    {
        if (records.IsFull())
            return PairingEnd::PairsFull;
        if (IsOutOfPlay(hits.pType[i]))
            continue;
        const int x = hits.pX[i];
        const int y = hits.pY[i];
        const std::int64_t nPlace = bAlongX ? x : y;
        const std::int64_t nTarget = nPlace + bands.nHop;
        const bool bInFirst = nPlace < bands.nFirstEnd;
        const int nFarX = bAlongX ? static_cast<int>(nTarget) : x;
        const int nFarY = bAlongX ? y : static_cast<int>(nTarget);
        if (nPlace > bands.nLastStart && (kTraits.bLastBandFirst || !bInFirst))
        {
            if (records.KeepsSingle(i))
                records.Write({DefectPos_Last, DefectPair_Single, nFarX, nFarY, i, true});
            continue;
        }
        const DefectPos ePos = bInFirst ? DefectPos_First : DefectPos_Middle;
        bool bBlocked = false;
        const std::int64_t nPartner = FindPartner<kTraits>(list, i, nTarget, cursor, bBlocked);
        if (nPartner >= 0)
        {
            if (records.Write({ePos, DefectPair_Paired, nFarX, nFarY, nPartner, false}))
                hits.pType[nPartner] = DefectType_Removed;
        }
        else if (bInFirst && !bBlocked && records.KeepsSingle(i))
            records.Write({ePos, DefectPair_Single, x, y, i, false});
    }
    return PairingEnd::Done;
}

} // namespace narvo::engine
