// SPDX-License-Identifier: MIT
/// @file
/// The pair record: the two hits of a defect in the pitch comparison, reduced to one record at the defect.
#pragma once

#include "narvoassem/export.h"
#include "narvoassem/platform.h"

/// Band of the inspected region, counted along the compare direction.
enum DefectPos : int
{
    DefectPos_None = 0,   ///< not set
    DefectPos_First = 1,  ///< first pitch of the region: seen only against the pitch ahead
    DefectPos_Middle = 2, ///< middle
    DefectPos_Last = 3    ///< last pitch or two of the region
};

/// How a pair record came about. Value 2 is not used.
enum DefectPair : int
{
    DefectPair_None = 0,          ///< not set
    DefectPair_Paired = 1,        ///< both hits found
    DefectPair_FirstSettled = 3,  ///< was a single in the first band, settled by classification
    DefectPair_MiddleSettled = 4, ///< was a single in the middle band, settled by classification
    DefectPair_Single = 5         ///< no partner found
};

/// Polarity.
enum DefectType : int
{
    DefectType_Dark = 0,   ///< darker than its reference
    DefectType_Bright = 1, ///< brighter than its reference
    DefectType_Mixed = 2,  ///< never set
    DefectType_None = 3,   ///< reset value
    DefectType_Removed = 4 ///< not counted; filters mark records, they never delete
};

/// A pair record: eleven 32-bit words, 44 bytes. Size and order are part of the interface: kernels take the
/// size as an argument.
class NARVO_API CDefectPair
{
public:
    int nDefectPos;  ///< a DefectPos
    int nDefectPair; ///< a DefectPair
    int nDefectType; ///< a DefectType
    int nPeak;       ///< how far the difference rises above the threshold
    CPoint ptDefect; ///< pixel position: that of the second hit
    int nSrcGray;    ///< grey value at the position
    int nCmpGray;    ///< value it was compared with
    int nZoneIndex;  ///< zone, 0 .. 15; picks entries of the per-zone tables
    int nThreshold;  ///< threshold that applied
    int nSubZone;    ///< second index, 0 .. 15; written by the class-id zone kernels with a map only

    /// As Reset.
    CDefectPair();
    /// Copies every field.
    CDefectPair(const CDefectPair& other) = default;
    /// Copies every field.
    CDefectPair& operator=(const CDefectPair& other) = default;

    /// nDefectType to 3, every other field to 0.
    void Reset();
    /// nPeak = (|nValue| - nBase) / nDivisor, truncating. nDivisor must not be 0.
    void SetPeak(int nValue, int nBase, int nDivisor);
};

static_assert(sizeof(CDefectPair) == 44, "the pair record is an interface of 44 bytes");
