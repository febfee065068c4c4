// SPDX-License-Identifier: MIT
/// @file
/// The parameter block of an inspection, and a small result record of the host's.
///
/// Units: pitches are pixels, grey values and thresholds are grey levels unless a line says otherwise, gains are
/// 1/256. The conv axis is x, the scan axis is y. Every pointer refers to memory that the host owns and keeps valid
/// for the length of the call; null means not given. Nothing here is checked when it is set: the checks of the
/// engine are described in narvoassem.h.
///
/// Defaults are those of Reset, and of a new block: 0, null or empty where a line names none. A field whose default
/// is no use says so ("to be set"). Lengths of tables and maps are least lengths; width and height are those of the
/// image.
#pragma once

#include "narvoassem/defectpair.h"
#include "narvoassem/export.h"
#include "narvoassem/padpoligon.h"
#include "narvoassem/platform.h"

/// What to inspect and how. Passed by pointer to an inspection call, which copies it. Field order and
/// widths are part of the interface; reserved fields are never read.
class NARVO_API CConvParam
{
public:
    static constexpr int nDeadZoneLimit = 10; ///< rectangles of rtDeadZone
    static constexpr int nZoneLimit = 16;     ///< zones of the per-zone tables

    // --- task and image ---
    int nInspectMode;    ///< 0 float, 1 pixel, 2 binarise, 3 average; 0 to 2 yield to pThresholdOffsetMap; any other
                         ///< mode compares nothing
    int nDirection;      ///< 0 horizontal (reference along x), 1 vertical (reference along y)
    int nMaxReinspect;   ///< re-runs that may follow overflows, counted per image; default 3; 0 leaves what follows an
                         ///< overflow unseen, with code 1
    int bAverage2by2;    ///< zone kernels: each sample is the mean of a 2 by 2 block
    int bExtendedKernel; ///< nonzero selects the extended kernels over the plain fast ones
    int bZoneFlagged;    ///< zone origin records have three ints (x, y, skip); in float mode: free-form region
    unsigned char* pImage; ///< 8-bit grey image, row-major, width times height bytes; to be set
    int nImageWidth;       ///< pixels, also the row stride in bytes; to be set. Pair filters and verification take rows
                           ///< for its next multiple of 4: with other widths they read wrong pixels and drop defects,
                           ///< most of all in the first and last pitch
    int nImageHeight;      ///< pixels; to be set
    CTrapezium trapInspect;           ///< inspection trapezium; Reset leaves it
    CRect rtInspect;                  ///< region to inspect, inside the image; to be set
    CRect rtMarginFrame;              ///< frame of the margin filters when its height is at least 1
    CRect rtDeadZone[nDeadZoneLimit]; ///< hits inside are dropped; used up to the first empty one, ten full ones count
                                      ///< as none
    CPoint* pFreeFormPoint;           ///< vertices of a free-form region
    int nFreeFormPointCount;          ///< number of those vertices

    // --- window and pitch ---
    int nConvWidth;    ///< compare window width, 1 .. 1023 pixels; to be set: 1 in pixel and zone mode, 2 or 3 in float
                       ///< mode, whose area selects the kernel
    int nConvHeight;   ///< compare window height, likewise
    double dConvPitch; ///< pattern period along x, pixels; to be set, also where the direction is vertical
    int nConvMultiple; ///< periods that the compare distance spans along x; to be set, usually 1: 0 makes the distance
                       ///< 0, and each pixel is compared with itself
    double dScanPitch; ///< pattern period along y, pixels; to be set, also where the direction is horizontal
    int nScanMultiple; ///< periods that the compare distance spans along y; as nConvMultiple
    float fVtdPitch;   ///< x displacement of the two-pitch vertical compare, pixels; nonzero selects those kernels
    double dClassPitch; ///< nonzero selects the double overload of the class-id and wide pixel kernels

    // --- thresholds and switches ---
    int nThreshold;       ///< base, at least 1: grey levels (pixel), window-sum units (float); binarise: upper limit;
                          ///< average: bright threshold; default 10
    int nThresholdGain;   ///< gain on the larger compared value, 1/256; default 20
    int nGrayLimit;       ///< grey values are limited to this before comparing, 1 .. 255; default 255
    int nReservedGray;    ///< never read
    int nBlackFilterGray; ///< base of the second set, for dark hits; in force at 1 or more. Average: dark
                          ///< threshold of either sign, not 0
    int nBlackFilterGain; ///< gain of the second set, 1/256
    int bBandThread;      ///< nonzero lets the pool use the band split in vertical direction; default 1
    int bUseLineBuffer;   ///< 0 selects the kernel that reads the image directly; default 1
    int bAutoDirection;   ///< nonzero lets the pool swap nDirection when the region is too small along the chosen axis
    int bKeepSingle;      ///< 1 keeps unpaired hits of the edge bands as singles; default 1
    int nPairSearchSlack; ///< passed to the kernels, which do not read it
    int nThresholdExtra;  ///< a single's peak must exceed this; the pair filters add it to the pair's threshold

    // --- tables and maps ---
    int* pScanPitchTable;    ///< scan pitch, 1/16 pixel, one int per 16 rows, index y >> 4; selects the table kernels.
                             ///< (height + 15) / 16 ints; vertical trapezia read it per 16 columns as well
    void* pReservedTable[3]; ///< never read
    int nReservedTable;      ///< never read
    int* pTiltScanTable;     ///< one int per 16 rows, index y >> 4, 1/16 pixel; (height + 15) / 16 ints
    int* pTiltConvTable; ///< one int per 16 columns, index x >> 4, 1/16 pixel; horizontal trapezia: pitch per 16 rows,
                         ///< (height + 15) / 16 ints
    unsigned short* pConvPitchTable; ///< whole-pixel displacement per column, read at x & ~15; selects the table
                                     ///< kernels, which want both weight tables with it; width entries
    short* pConvWeightNear; ///< near-sample weights, 16 shorts per 16 columns, the first 8 read: (width + 15) / 16 * 16
    short* pConvWeightFar;  ///< far-sample weights, same layout
    int bTwoSegmentThreshold; ///< with pThresholdKneeMap selects the two-segment kernel
    short* pZoneIndexMap;     ///< zone index of each map cell, 0 .. 15. As every map it reaches beyond the cell that it
                              ///< points into: a cell and 17 columns to the left, two cells and 17 columns to the
                              ///< right, a cell above and two below
    short* pThresholdOffsetMap;  ///< additive threshold of each map cell; not null means zone comparison
    short* pThresholdGainMap;    ///< gain of each map cell, 1/256
    short* pThresholdOffsetMap2; ///< additive threshold of the upper segment
    short* pThresholdGainMap2;   ///< gain of the upper segment, 1/256
    short* pThresholdKneeMap;    ///< grey level above which the upper segment applies
    short* pClassIdMap;          ///< class id of each map cell, for the class-id kernels
    int nZoneMapStride;          ///< line stride of the maps, elements; default 12000
    int nZoneMapHeight;          ///< never read; default 1024
    int nZoneMapLeft;            ///< at least 0 in pixel mode with maps; otherwise unread
    int nZoneMapTop;             ///< as nZoneMapLeft
    int* pZoneOriginTable; ///< grid of cell origins, image pixels, records of x and y. Horizontal walks begin in its
                           ///< first row, vertical ones in its second: a spare row lies above the region. Six rows
                           ///< and columns more than cover the region are for re-runs
    int nZoneColumns;      ///< records per grid row; default 300, to be set
    int nZoneConvMultiple; ///< cell width in periods; default 1
    int nZoneScanMultiple; ///< cell height in periods; default 1
    int* pFilterOffset;    ///< pair filters in pixel mode: threshold offset per zone, 16 ints, types other than bright
    int* pFilterGain;      ///< pair filters: gain per zone, 1/256, types other than bright
    int* pFilterOffset1;   ///< the same for bright
    int* pFilterGain1;     ///< the same for bright
    int* pTspTable;        ///< 16 zone offsets; with bExtendedKernel selects the zone-table kernel
    int* pTspTable2;       ///< 16 zone gains, 1/256

    // --- limits, filters and the rest ---
    int nAverageParam1;                ///< average: background window, and the smallest region side; default 45
    int nAverageParam2;                ///< average: defect window; default 9
    int nCheckLimit1;                  ///< at least 10; default 10000
    int nCheckLimit2;                  ///< at least 2; default 10000
    int bFalseFilter;                  ///< 0 sends every pair of a vertical run through the margin test; default 1
    int bMarginFilter;                 ///< 0 makes the horizontal margin test accept every pair; default 1
    int nFilterMode;                   ///< 1 jump filter, otherwise cross filter
    int nFilterMode2;                  ///< 1 filters all pairs, otherwise singles only
    int nReservedFilter;               ///< never read
    int nMergeDivision;                ///< blobs of one type within this many pixels are merged; default 4
    void* pReservedMerge[2];           ///< never read
    int nReservedMerge[3];             ///< never read
    double dPixelSizeX;                ///< multiplies the y distance in CalcRScale
    double dPixelSizeY;                ///< multiplies the x distance in CalcRScale
    unsigned short nReservedShort;     ///< never read
    int nReservedSize;                 ///< never read
    int nMultiType;                    ///< copied into every closed blob; default -1
    int bTwice;                        ///< pixel mode: selects the twice kernels
    int nTwiceThreshold;               ///< threshold base of the second pass; default 255
    int nTwiceThresholdGain;           ///< gain of the second pass, 1/256
    double dTwicePitch;                ///< pitch of the second pass, pixels
    int nReservedTwice[5];             ///< never read
    void* pFreeFormMask;               ///< width times height bytes; source pixels with 0 are not inspected
    int nReservedMask[2];              ///< Reset leaves them
    int nFreeFormMaskParam;            ///< handed to ConvPixelVertMask, not read; Reset leaves it
    int nDarkGrayLimit[nZoneLimit];    ///< per zone: if nonzero, a dark pair at or above this grey is removed
    int nBrightMinDiff[nZoneLimit];    ///< per zone: if nonzero, a bright pair that stands out by less is removed
    double dVeriPitchConv[nZoneLimit]; ///< per zone: first verification pitch, pixels
    double dVeriPitchScan[nZoneLimit]; ///< per zone: second verification pitch, pixels
    CString* pVeriPitchString;         ///< 16 strings, indexed by zone, which list the verification checks

    /// As Reset, with the fields that Reset leaves set to 0.
    CConvParam();
    /// Copies every field, the reserved ones included; pointers are copied, not what they point at.
    CConvParam(const CConvParam& other) = default;
    /// As the copy.
    CConvParam& operator=(const CConvParam& other) = default;
    /// Frees nothing.
    virtual ~CConvParam();

    /// Sets every field to its default, except trapInspect, nReservedMask and nFreeFormMaskParam.
    void Reset();

    /// dConvPitch times nConvMultiple: the compare distance along x.
    double GetRealConvPitch() const;
    /// dScanPitch times nScanMultiple: the compare distance along y.
    double GetRealScanPitch() const;
    /// dConvPitch times nZoneConvMultiple: the width of a zone cell.
    double GetZoneConvPitch() const;
    /// dScanPitch times nZoneScanMultiple: the height of a zone cell.
    double GetZoneScanPitch() const;

    /// (gain[nZone] * nGray) >> 8 + offset[nZone], 32-bit, arithmetic shift; pFilterOffset1 and pFilterGain1 for
    /// bright, pFilterOffset and pFilterGain for every other type. Neither index nor tables are tested.
    int GetFilterThreshold(int nZone, int nGray, DefectType eType) const;
    /// @return 1 if fewer than 16 pixels lie between nEndLine and the far side of rtInspect (right if nDirection is
    /// nonzero, otherwise bottom), else 0.
    int IsAllInspected(int nEndLine) const;
};

/// A plain record of 24 bytes for the host's own use: the library only clears and copies it.
class NARVO_API CConvResult
{
public:
    unsigned char nData[24]; ///< the record's bytes

    /// As Reset.
    CConvResult();
    /// Copies all 24 bytes.
    CConvResult(const CConvResult& other) = default;
    /// Copies all 24 bytes.
    CConvResult& operator=(const CConvResult& other) = default;
    /// Copies all 24 bytes.
    CConvResult(CConvResult&& other) = default;
    /// Copies all 24 bytes.
    CConvResult& operator=(CConvResult&& other) = default;

    /// Clears all 24 bytes.
    void Reset();
};

static_assert(sizeof(CConvResult) == 24, "the result record is an interface of 24 bytes");
