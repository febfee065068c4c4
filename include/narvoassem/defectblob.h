// SPDX-License-Identifier: MIT
/// @file
/// The blob record: one reported defect, a connected group of pairs with its statistics, outline and shape features.
#pragma once

#include "narvoassem/defectpair.h"
#include "narvoassem/export.h"
#include "narvoassem/platform.h"

/// One defect. Positions are image pixels; sums wrap at 32 bits, 16-bit fields take the low 16 bits of what is
/// stored into them. No operation checks its input: zones and sub-zones of pairs are 0 .. 15.
class NARVO_API CDefectBlob
{
public:
    static constexpr int nZoneLimit = 16;   ///< zones and sub-zones counted
    static constexpr int nExtremeCount = 8; ///< extreme points kept

    int nDefectPos;      ///< a DefectPos
    int nDefectPair;     ///< a DefectPair
    int nDefectType;     ///< a DefectType, that of the first pair
    int nBlobId;         ///< label of the group that opened the blob; meaningful within its build only
    int nPairCount;      ///< pairs in the blob: its area in pixels
    int nClass;          ///< class mark, -1; the library writes no other value
    CPoint ptCenter;     ///< while building the sum of the pair positions, when closed their mean
    CPoint ptPeak;       ///< position of the pair of highest nPeak; (-1, -1) after Reset
    CPoint ptMaxGray;    ///< position of the pair of highest nSrcGray
    int nRScale;         ///< diameter in real units, see CBlobStorage::CalcRScale
    CRect rtDefect;      ///< bounds, right and bottom exclusive
    short nMaxPeak;      ///< highest peak
    short nMinSrcGray;   ///< darkest source value
    short nMaxSrcGray;   ///< brightest source value
    short nAvgSrcGray;   ///< mean source value, set at closing
    short nMinCmpGray;   ///< darkest reference value
    short nMaxCmpGray;   ///< brightest reference value
    short nAvgCmpGray;   ///< mean reference value, set at closing
    short nMinDiff;      ///< smallest difference, peak + threshold
    short nMaxDiff;      ///< difference of the pair of highest peak
    short nAvgDiff;      ///< mean difference, set at closing
    int nSumSrcGray;     ///< sum of the source values
    int nSumCmpGray;     ///< sum of the reference values
    int nSumDiff;        ///< sum of the differences
    short nMaxThreshold; ///< highest threshold that applied
    short nAvgThreshold; ///< mean threshold, set at closing
    int nSumThreshold;   ///< sum of the thresholds; the assignment leaves it
    unsigned short nZoneCount[nZoneLimit];    ///< pairs per zone
    unsigned short nSubZoneCount[nZoneLimit]; ///< pairs per sub-zone
    short nZoneMinPeak[nZoneLimit];           ///< lowest peak per zone, 256 where there is none
    unsigned char nZoneMaxPeak[nZoneLimit];   ///< highest peak per zone, in 8 bits
    int nZoneSumPeak[nZoneLimit];             ///< sum of peaks per zone
    int nMultiType;                           ///< the parameter nMultiType at closing; -1 before
    int bRemoved;                             ///< 1: dead, dropped at the next compaction, not to be reported
    CPoint ptExtreme[nExtremeCount]; ///< corners of pixels: left top-most, left bottom-most, top left-most, top
                                     ///< right-most, right top-most, right bottom-most, bottom left-most, bottom
                                     ///< right-most
    double dAngle;                   ///< axis angle, degrees
    double dMajorAxis;               ///< pixels
    double dMinorAxis;               ///< pixels
    double dCircularity;             ///< area against the circle on the major axis, at most 1
    double dElongation;              ///< area over major axis

    /// As Reset.
    CDefectBlob();
    /// Copies every field.
    CDefectBlob(const CDefectBlob& other) = default;
    /// Copies every field except nSumThreshold, which keeps its old value.
    CDefectBlob& operator=(const CDefectBlob& other);

    /// Full reset.
    void Reset();
    /// Resets what CreateBlob and CheckDefectRect build on: rectangle, per-zone arrays, bRemoved, extreme points.
    void ResetReuse();
    /// Starts the blob from its first pair. The means keep what they held until the builder closes the blob.
    void CreateBlob(const CDefectPair* pPair, int nId);
    /// Adds a pair.
    void IncludePair(const CDefectPair* pPair);
    /// Widens rectangle and extreme points by the pixel (x, y).
    void CheckDefectRect(int x, int y);
    /// A blob in the middle band stays there; otherwise the new value replaces the old.
    void SetDefectPos(DefectPos ePos);
    /// Keeps the smaller of old and new.
    void SetDefectPair(DefectPair ePair);
    /// Absorbs a closed blob. Type, id, class, nMultiType and bRemoved stay; nRScale is added and recomputed by the
    /// caller. The two pair counts must not both be 0.
    void MergeBlob(const CDefectBlob& other);
    /// Computes the five shape values by the second moments of the eight extreme points.
    void CalcExtraFeature();
};
