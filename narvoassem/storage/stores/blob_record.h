// SPDX-License-Identifier: MIT
// Blob records as the stores handle them in numbers: copied in one go, and started from the pair that opens them.
#pragma once

#include <cstddef>

#include "narvoassem/base/wrap_int.h"
#include "narvoassem/defectblob.h"

namespace narvo::engine
{

/// The ordinate of the extreme points that a record starts from: pixels left of and above it replace all of them.
inline constexpr int nFarExtreme = 32760;

/// Copies nCount whole records, sums of thresholds included, which the assignment leaves. The two areas do not overlap.
void CopyRecords(CDefectBlob* pTo, const CDefectBlob* pFrom, std::size_t nCount);

/// Fully resets nCount records.
void ResetRecords(CDefectBlob* pBlobs, int nCount);

/// Fetches a record into the caches that is about to be written.
inline void PrefetchRecord(const CDefectBlob* pBlob)
{
    constexpr std::size_t nCacheLine = 64;
    for (std::size_t nByte = 0; nByte < sizeof(CDefectBlob); nByte += nCacheLine)
        __builtin_prefetch(reinterpret_cast<const char*>(pBlob) + nByte, 1);
}

/// Whether a blob counts the pairs of a zone or sub-zone.
inline bool IsZone(int nIndex)
{
    return nIndex >= 0 && nIndex < CDefectBlob::nZoneLimit;
}

/// What CDefectBlob::CreateBlob sets from the pair besides the outline. The zones' arrays are empty before.
inline void StartStatistics(CDefectBlob& blob, const CDefectPair& pair, int nId)
{
    if (IsZone(pair.nSubZone))
        blob.nSubZoneCount[pair.nSubZone] = 1;

    blob.nDefectPos = pair.nDefectPos;
    blob.nDefectPair = pair.nDefectPair;
    blob.nDefectType = pair.nDefectType;
    blob.nBlobId = nId;
    blob.nPairCount = 1;
    blob.nClass = -1;
    blob.ptCenter = blob.ptPeak = blob.ptMaxGray = pair.ptDefect;

    blob.nMaxThreshold = LowShort(pair.nThreshold);
    blob.nSumThreshold = pair.nThreshold;
    blob.nMaxSrcGray = blob.nMinSrcGray = LowShort(pair.nSrcGray);
    blob.nSumSrcGray = pair.nSrcGray;
    blob.nMaxCmpGray = blob.nMinCmpGray = LowShort(pair.nCmpGray);
    blob.nSumCmpGray = pair.nCmpGray;
    blob.nMaxPeak = LowShort(pair.nPeak);
    const int nDiff = WrapAdd(pair.nPeak, blob.nMaxThreshold);
    blob.nMaxDiff = blob.nMinDiff = LowShort(nDiff);
    blob.nSumDiff = nDiff;

    if (IsZone(pair.nZoneIndex))
    {
        const int nZone = pair.nZoneIndex;
        blob.nZoneCount[nZone] = 1;
        blob.nZoneSumPeak[nZone] = pair.nPeak;
        // The first peak of a zone is cut to 8 bits in the minimum too.
        blob.nZoneMaxPeak[nZone] = LowByte(pair.nPeak);
        blob.nZoneMinPeak[nZone] = blob.nZoneMaxPeak[nZone];
    }
}

} // namespace narvo::engine
