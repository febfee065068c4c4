// SPDX-License-Identifier: MIT
/// @file
/// The fast kernel family: free functions that compare one rectangle of an image with itself one pitch on and write
/// pair records. A host normally goes through the engine (narvoassem.h), which chooses among them.
///
/// All return the new pair count. All take long flat lists, so that the families share one calling shape; the
/// arguments that a whole family shares are named once below and used as macros, argument by argument in that order.
/// A kernel checks nothing: the rectangle must lie inside the image, arrays must have the lengths given. Results do not
/// depend on the processor.
///
/// Overflow: a full hit array cuts the strip or row short; a full pair array stops the kernel, and *pEndLine says
/// where. A kernel that ran to its end leaves *pEndLine at or beyond the far side of the rectangle.
#pragma once

#include <cstdint>

#include "narvoassem/defectpair.h"
#include "narvoassem/export.h"

/// Image and hit arrays of the zone and pixel families.
/// - pImage: 8-bit grey image, row-major
/// - nThreshold: pixel family: threshold base, grey levels; zone family: not read
/// - nPixelSize: hit capacity; each hit array holds nPixelSize + 8 entries or more
/// - nPixelCount: hits already in the arrays, from which the first strip or row starts
/// - nLeft .. nBottom: rectangle, right and bottom exclusive
/// - pPixelX .. pThresholds: hit arrays: x, y, polarity (1 source brighter, else 0, 4 consumed), strength, source and
///   compare value, zone, threshold; working space of one strip or row, left as they end
/// - nImageWidth: row stride, bytes
#define NARVO_HIT_ARGUMENTS                                                                                            \
    unsigned char *pImage, std::int64_t nThreshold, std::int64_t nPixelSize, std::int64_t nPixelCount,                 \
        std::int64_t nLeft, std::int64_t nRight, std::int64_t nTop, std::int64_t nBottom, int *pPixelX, int *pPixelY,  \
        short *pPixelType, short *pPeak, int *pSrcGray, int *pCmpGray, int *pZoneIndex, int *pThresholds,              \
        std::int64_t nImageWidth

/// Maps and pair array of the zone and pixel families; the pixel family reads of these only the pair array.
/// - pThresholdOffsetMap, pZoneIndexMap: maps over one zone cell; null counts as all 0
/// - nZoneMapStride: elements per map line
/// - pZoneOriginTable: grid of cell origins (x, y), or (x, y, skip) for the flagged kernels
/// - pPair, nPairCount, nPairSize, nPairStride: pair array, pairs held (new ones follow), capacity, bytes per pair (44)
/// - nZoneConv, nZoneScan: cell width and height, whole pixels
#define NARVO_PAIR_ARGUMENTS                                                                                           \
    short *pThresholdOffsetMap, short *pZoneIndexMap, std::int64_t nZoneMapStride, void *pZoneOriginTable,             \
        CDefectPair *pPair, std::int64_t nPairCount, std::int64_t nPairSize, std::int64_t nPairStride,                 \
        std::int64_t nZoneConv, std::int64_t nZoneScan

/// The common list of the zone family.
/// - nPitch16: compare distance, 1/16 pixel
/// - nReserved1, 2: not read
/// - nZoneRowBytes: bytes between grid rows of the origin table
/// - nPairSearchSlack: not read
/// - pThresholdGainMap: gains over one zone cell, 1/256; null counts as all 0
#define NARVO_ZONE_ARGUMENTS                                                                                           \
    NARVO_HIT_ARGUMENTS, std::int64_t nPitch16, std::int64_t nReserved1, std::int64_t nReserved2,                      \
        NARVO_PAIR_ARGUMENTS, std::int64_t nZoneRowBytes, std::int64_t nPairSearchSlack, short *pThresholdGainMap

/// The same for the kernels with a row table: pScanPitchTable holds a pitch in 1/16 pixel per 16 rows, index y >> 4;
/// null means nPitch16 throughout.
#define NARVO_ZONE_VTD_ARGUMENTS                                                                                       \
    NARVO_HIT_ARGUMENTS, int *pScanPitchTable, std::int64_t nPitch16, std::int64_t nReserved2, NARVO_PAIR_ARGUMENTS,   \
        std::int64_t nZoneRowBytes, std::int64_t nPairSearchSlack, short *pThresholdGainMap

// --- zone family: the threshold of a pixel comes from maps over its zone cell ---
// Tails: pStripBuffer  at least 16 shorts for each row of the rectangle and two more; contents free
//        bKeepSingle   exactly 1 keeps unpaired hits of the edge bands
//        pEndLine      first row (horizontal) or column (vertical) not finished
//        nThresholdExtra  a single's peak must exceed this
//        nGrayLimit    values are limited to this

/// Vertical compare, strip by strip.
NARVO_API int ConvZoneVertFast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                               std::int64_t nThresholdExtra, std::int64_t nGrayLimit);
/// Each sample is the mean of a 2 by 2 block: one row and one column more are read.
NARVO_API int ConvZoneVert2by2Fast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                                   std::int64_t nThresholdExtra, std::int64_t nGrayLimit);
/// Cells whose skip field is nonzero are not inspected.
NARVO_API int ConvZoneVertFlagFast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                                   std::int64_t nThresholdExtra, std::int64_t nGrayLimit);
/// Skip fields and 2 by 2 means.
NARVO_API int ConvZoneVertFlag2by2Fast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle,
                                       int* pEndLine, std::int64_t nThresholdExtra, std::int64_t nGrayLimit);
/// One row more than ConvZoneVertFast; pStripBuffer is not used; singles of any peak.
NARVO_API int ConvZoneVertDirectFast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                                     std::int64_t nGrayLimit);
/// Two-segment threshold: above pThresholdKneeMap the second maps apply. nGrayLimit is not read.
NARVO_API int ConvZoneVertKneeFast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                                   short* pThresholdKneeMap, short* pThresholdOffsetMap2, short* pThresholdGainMap2,
                                   std::int64_t nGrayLimit);
/// Bilinear reference: nVtdPitch16 (1/16 pixel) shifts it along x by its fraction alone.
NARVO_API int ConvZoneVTDFast(NARVO_ZONE_VTD_ARGUMENTS, std::int64_t nVtdPitch16, std::int64_t bKeepSingle,
                              int* pEndLine, std::int64_t nThresholdExtra, std::int64_t nGrayLimit);
/// Horizontal compare, row by row.
NARVO_API int ConvZoneFast(NARVO_ZONE_ARGUMENTS, std::int64_t bKeepSingle, int* pEndLine, std::int64_t nGrayLimit);
/// Horizontal compare with a displacement (whole pixels, unsigned) and eight weights (sixteenths) per 16 columns;
/// the tables cover the image's width. nPitch16 serves bounds and pairing.
NARVO_API int ConvZoneTableFast(NARVO_HIT_ARGUMENTS, unsigned short* pConvPitchTable, short* pConvWeightNear,
                                short* pConvWeightFar, NARVO_PAIR_ARGUMENTS, std::int64_t nPairSearchSlack,
                                std::int64_t nPitch16, std::int64_t nZoneRowBytes, short* pThresholdGainMap,
                                std::int64_t bKeepSingle, int* pEndLine, std::int64_t nGrayLimit);

// --- pixel family: the threshold of a pixel is base + (gain * larger value) / 256 ---

/// The pixel family's list after the pitch: of the maps' part, only the pair array is read.
/// - nThresholdGain: threshold gain, 1/256 of the larger of the two values
/// - nGrayLimit: both values are limited to this
/// - bKeepSingle: not 0 keeps unpaired hits of the edge bands
#define NARVO_PIXEL_BACK_ARGUMENTS                                                                                     \
    NARVO_PAIR_ARGUMENTS, std::int64_t nZoneRowBytes, std::int64_t nPairSearchSlack, std::int64_t nThresholdGain,      \
        std::int64_t nGrayLimit, std::int64_t bKeepSingle

/// The common list of the pixel family.
#define NARVO_PIXEL_ARGUMENTS                                                                                          \
    NARVO_HIT_ARGUMENTS, std::int64_t nPitch16, std::int64_t nReserved1, std::int64_t nReserved2,                      \
        NARVO_PIXEL_BACK_ARGUMENTS

/// The same for the kernels with a row table: pScanPitchTable holds a pitch in 1/16 pixel per 16 rows; null means
/// nPitch16 throughout. Bands and pairing stay with nPitch16.
#define NARVO_PIXEL_VTD_ARGUMENTS                                                                                      \
    NARVO_HIT_ARGUMENTS, std::int64_t nPitch16, int *pScanPitchTable, std::int64_t nReserved2,                         \
        NARVO_PIXEL_BACK_ARGUMENTS

// Tails: pStripBuffer  as in the zone family
//        pEndLine      first row (horizontal) or column (vertical) not finished

/// Horizontal compare, row by row.
NARVO_API int ConvPixelFast(NARVO_PIXEL_ARGUMENTS, int* pEndLine);
/// Horizontal compare with a displacement (whole pixels, signed) and eight weights (sixteenths) per 16 columns; the
/// tables cover the image's width. nPitch16 serves bounds and pairing.
NARVO_API int ConvPixelTableFast(NARVO_HIT_ARGUMENTS, short* pConvPitchTable, short* pConvWeightNear,
                                 short* pConvWeightFar, NARVO_PIXEL_BACK_ARGUMENTS, std::int64_t nPitch16,
                                 int* pEndLine);
/// One row more than ConvPixelVertSFast. Neither pStripBuffer nor pEndLine is touched.
NARVO_API int ConvPixelVertFast(NARVO_PIXEL_ARGUMENTS, short* pStripBuffer, int* pEndLine);
/// nThresholdExtra is not read.
NARVO_API int ConvPixelVertSFast(NARVO_PIXEL_ARGUMENTS, short* pStripBuffer, int* pEndLine,
                                 std::int64_t nThresholdExtra);
/// With nBlackFilterGray above 0 a dark record must also exceed nBlackFilterGray + larger value * nBlackFilterGain
/// / 256.
NARVO_API int ConvPixelVertSFast2(NARVO_PIXEL_ARGUMENTS, short* pStripBuffer, int* pEndLine,
                                  std::int64_t nBlackFilterGray, std::int64_t nBlackFilterGain);
/// ConvPixelVertSFast with a row table.
NARVO_API int ConvPixelVTDSFast(NARVO_PIXEL_VTD_ARGUMENTS, short* pStripBuffer, int* pEndLine,
                                std::int64_t nThresholdExtra);
/// ConvPixelVertSFast2 with a row table.
NARVO_API int ConvPixelVTDSFast2(NARVO_PIXEL_VTD_ARGUMENTS, short* pStripBuffer, int* pEndLine,
                                 std::int64_t nBlackFilterGray, std::int64_t nBlackFilterGain);

// --- float family: sums over a small window are compared, in 1/16 of their unit ---

/// The common list of the float family.
/// - pStripBuffer: vertical: at least 16 shorts for each row of the rectangle and three more rows; horizontal: at
///   least 16 shorts more than the rectangle is wide; contents free
/// - nThreshold: threshold base in units of the window sum
/// - nGrayLimit: grey levels; both window means are limited to this
///
/// Each hit array holds nPixelSize + 16 entries or more: a pixel can be a hit of both polarities.
/// Vertical, a full hit array cuts the strip: the image moves on by 16 columns but x stays at the start of the half
/// that was cut, so positions lag behind the image from there on. A strip that starts at or past nImageWidth and is cut
/// in its left half ends the scan. The others as in the pixel family; hit values, thresholds and differences are held
/// in the scale of the window: 64, 96 or 144 units per grey level for areas 4, 6 and 9. Records carry grey levels.
#define NARVO_FLOAT_ARGUMENTS                                                                                          \
    unsigned char *pImage, short *pStripBuffer, std::int64_t nPixelSize, std::int64_t nPixelCount, std::int64_t nLeft, \
        std::int64_t nRight, std::int64_t nTop, std::int64_t nBottom, int *pPixelX, int *pPixelY, short *pPixelType,   \
        short *pPeak, CDefectPair *pPair, std::int64_t nPairCount, std::int64_t nPairSize, std::int64_t nPairStride,   \
        std::int64_t nImageWidth, std::int64_t nPitch16, std::int64_t nThreshold, std::int64_t nGrayLimit

/// Value arrays of the hits; pZoneIndex is not written.
#define NARVO_FLOAT_VALUE_ARGUMENTS int *pSrcGray, int *pCmpGray, int *pZoneIndex, int *pThresholds

/// Tail of the kernels with a fixed pitch along x.
#define NARVO_FLOAT_HORI_TAIL                                                                                          \
    NARVO_FLOAT_VALUE_ARGUMENTS, std::int64_t nPairSearchSlack, std::int64_t nThresholdGain, int *pEndLine

/// Tail of the kernels with a fixed pitch along y; nSecondPitch16 and nPairSearchSlack are not read.
#define NARVO_FLOAT_VERT_TAIL                                                                                          \
    NARVO_FLOAT_VALUE_ARGUMENTS, std::int64_t nSecondPitch16, std::int64_t nPairSearchSlack,                           \
        std::int64_t nThresholdGain, int *pEndLine

/// Tail of the kernels with column tables: displacement (whole pixels, unsigned) and eight weights (sixteenths) per 16
/// columns.
#define NARVO_FLOAT_TABLE_TAIL                                                                                         \
    std::int64_t nPairSearchSlack, unsigned short *pConvPitchTable, short *pConvWeightNear, short *pConvWeightFar,     \
        NARVO_FLOAT_VALUE_ARGUMENTS, std::int64_t nThresholdGain, int *pEndLine

/// Tail of the kernels with two displacements: nPitch16Second (1/16 pixel) shifts the reference window along x,
/// pScanPitchTable holds a pitch along y in 1/16 pixel per 16 rows of the image, index y >> 4; null means nPitch16
/// throughout. pStripBuffer2 is sized as pStripBuffer.
#define NARVO_FLOAT_VTD_TAIL                                                                                           \
    short *pStripBuffer2, std::int64_t nPitch16Second, int *pScanPitchTable, std::int64_t nThresholdGain,              \
        NARVO_FLOAT_VALUE_ARGUMENTS, int *pEndLine

/// Horizontal compare of windows of 2 by 2 pixels. Singles are kept.
NARVO_API int ConvFloatFast4(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_HORI_TAIL);
/// The same for windows of 3 along x and 2 along y.
NARVO_API int ConvFloatFast6(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_HORI_TAIL);
/// The same for windows of 3 by 3.
NARVO_API int ConvFloatFast9(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_HORI_TAIL);
/// ConvFloatFast4 with column tables; nPitch16 serves bounds and pairing.
NARVO_API int ConvFloatTableFast4(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_TABLE_TAIL);
/// ConvFloatFast6 with column tables.
NARVO_API int ConvFloatTableFast6(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_TABLE_TAIL);
/// Vertical compare of windows of 2 by 2 pixels. Singles are kept.
NARVO_API int ConvFloatVertFast4(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_VERT_TAIL);
/// The same for windows of 2 along x and 3 along y.
NARVO_API int ConvFloatVertFast6(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_VERT_TAIL);
/// The same for windows of 3 by 3.
NARVO_API int ConvFloatVertFast9(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_VERT_TAIL);
/// ConvFloatVertFast4 with two displacements.
NARVO_API int ConvFloatVTDFast(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_VTD_TAIL);

// --- trapezium family: windows of area 4 inside slanted sides, thresholds without a gain ---
// Common: pLineBuf      sums of the line or block in hand: at least 16 shorts for each row (vertical) or for 16 columns
//                       (horizontal) of the trapezium and two more; contents free
//         nHitSize, nHitCount  capacity of the hit arrays, hits already in them
//         nThreshold16  threshold of a difference, 1/64 grey level; nGrayLimit in grey levels
//         nPitch16      compare distance, 1/16 pixel
//         bKeepSingle   exactly 1 keeps unpaired hits of the edge bands
// Records carry position, polarity and peak; their other fields stay as they are.

/// Horizontal compare between a left side from (nLeftTop, nTop) to (nLeftBottom, nBottom) and a right side from
/// (nRightTop, nTop) to (nRightBottom, nBottom); nBottom must differ from nTop. pPitchTable: pitch per 16 rows, index
/// y >> 4, or null. nPitchRound: 8 or more seeks partners one pixel further on, as long as no table is given.
NARVO_API int ConvTrapeziumHori(unsigned char* pImage, short* pLineBuf, std::int64_t nHitSize, std::int64_t nHitCount,
                                std::int64_t nTop, std::int64_t nBottom, std::int64_t nLeftTop,
                                std::int64_t nLeftBottom, std::int64_t nRightTop, std::int64_t nRightBottom,
                                std::int64_t nThreshold16, std::int64_t nGrayLimit, int* pPixelX, int* pPixelY,
                                short* pPixelType, short* pPeak, std::int64_t nReserved1, std::int64_t nPitch16,
                                std::int64_t nReserved2, std::int64_t nPitchRound, CDefectPair* pPair,
                                std::int64_t nPairCount, std::int64_t nPairSize, std::int64_t nPairBytes,
                                std::int64_t nImagePitch, int* pPitchTable, std::int64_t bKeepSingle);
/// Vertical compare between an upper side from (nLeft, nTopLeft) to (nRight, nTopRight) and a lower side from
/// (nLeft, nBottomLeft) to (nRight, nBottomRight). pPitchTable: pitch per 16 columns, index x >> 4, or null.
/// nConvPitch16: twice this and one nPitch16 is the shortest strip inspected. The first record goes to the start of
/// pPair for any nPairCount; the count continues from nPairCount.
NARVO_API int ConvTrapeziumVert(unsigned char* pImage, short* pLineBuf, std::int64_t nHitSize, std::int64_t nHitCount,
                                std::int64_t nLeft, std::int64_t nRight, std::int64_t nTopLeft,
                                std::int64_t nBottomLeft, int* pPixelX, int* pPixelY, short* pPixelType, short* pPeak,
                                CDefectPair* pPair, std::int64_t nPairCount, std::int64_t nPairSize,
                                std::int64_t nPairBytes, std::int64_t nImagePitch, std::int64_t nPitch16,
                                std::int64_t nThreshold16, std::int64_t nGrayLimit, std::int64_t nReserved,
                                std::int64_t nTopRight, std::int64_t nBottomRight, int* pPitchTable,
                                std::int64_t nConvPitch16, std::int64_t bKeepSingle);
