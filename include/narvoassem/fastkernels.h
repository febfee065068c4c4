// The fast kernel family: free functions that compare one rectangle of an image with itself one pitch on and write
// pair records. A host normally goes through the engine (narvoassem.h), which chooses among them.
//
// All return the new pair count. All take long flat lists, so that the families share one calling shape; the
// arguments that a whole family shares are named once below and used as macros, argument by argument in that order.
// A kernel checks nothing: the rectangle must lie inside the image, arrays must be as long as told. Results do not
// depend on the processor.
//
// Overflow: a full hit array cuts the strip or row short; a full pair array stops the kernel, and *pEndLine says
// where. A kernel that ran to its end leaves *pEndLine at or beyond the far side of the rectangle.
#pragma once

#include <cstdint>

#include "narvoassem/defectpair.h"
#include "narvoassem/export.h"

// Image and hit arrays of the zone and pixel families.
//   pImage        8-bit grey image, row-major
//   nThreshold    pixel family: threshold base, grey levels; zone family: not read
//   nPixelSize    hit capacity; each hit array holds nPixelSize + 8 entries or more
//   nPixelCount   hits already in the arrays, from which the first strip or row starts
//   nLeft .. nBottom  rectangle, right and bottom exclusive
//   pPixelX .. pThresholds  hit arrays: x, y, polarity (1 source brighter, else 0, 4 consumed), strength, source and
//                 compare value, zone, threshold; working space of one strip or row, left as they end
//   nImageWidth   row stride, bytes
#define NARVO_HIT_ARGUMENTS                                                                                           \
    unsigned char *pImage, std::int64_t nThreshold, std::int64_t nPixelSize, std::int64_t nPixelCount,                \
        std::int64_t nLeft, std::int64_t nRight, std::int64_t nTop, std::int64_t nBottom, int *pPixelX, int *pPixelY, \
        short *pPixelType, short *pPeak, int *pSrcGray, int *pCmpGray, int *pZoneIndex, int *pThresholds,             \
        std::int64_t nImageWidth

// Maps and pair array of the zone and pixel families; the pixel family reads of these only the pair array.
//   pThresholdOffsetMap, pZoneIndexMap  maps over one zone cell; null counts as all 0
//   nZoneMapStride    elements per map line
//   pZoneOriginTable  grid of cell origins (x, y), or (x, y, skip) for the flagged kernels
//   pPair, nPairCount, nPairSize, nPairStride  pair array, pairs held (new ones follow), capacity, bytes per pair (44)
//   nZoneConv, nZoneScan  cell width and height, whole pixels
#define NARVO_PAIR_ARGUMENTS                                                                                           \
    short *pThresholdOffsetMap, short *pZoneIndexMap, std::int64_t nZoneMapStride, void *pZoneOriginTable,             \
        CDefectPair *pPair, std::int64_t nPairCount, std::int64_t nPairSize, std::int64_t nPairStride,                 \
        std::int64_t nZoneConv, std::int64_t nZoneScan

// The common list of the zone family.
//   nPitch16       compare distance, 1/16 pixel
//   nReserved1, 2  not read
//   nZoneRowBytes  bytes between grid rows of the origin table
//   nPairSearchSlack  not read
//   pThresholdGainMap gains over one zone cell, 1/256; null counts as all 0
#define NARVO_ZONE_ARGUMENTS                                                                                           \
    NARVO_HIT_ARGUMENTS, std::int64_t nPitch16, std::int64_t nReserved1, std::int64_t nReserved2,                      \
        NARVO_PAIR_ARGUMENTS, std::int64_t nZoneRowBytes, std::int64_t nPairSearchSlack, short *pThresholdGainMap

// The same for the kernels with a row table: pScanPitchTable holds a pitch in 1/16 pixel per 16 rows, index y >> 4;
// null means nPitch16 throughout.
#define NARVO_ZONE_VTD_ARGUMENTS                                                                                       \
    NARVO_HIT_ARGUMENTS, int *pScanPitchTable, std::int64_t nPitch16, std::int64_t nReserved2, NARVO_PAIR_ARGUMENTS,   \
        std::int64_t nZoneRowBytes, std::int64_t nPairSearchSlack, short *pThresholdGainMap

// --- zone family: the threshold of a pixel comes from maps over its zone cell ---
// Tails: pStripBuffer  at least 16 shorts for each row of the rectangle and two more; contents free
//        bKeepSingle   exactly 1 keeps unpaired hits of the edge bands
//        pEndLine      first row (horizontal) or column (vertical) not finished
//        nThresholdExtra  a single's peak must exceed this
//        nGrayLimit    values are limited to this

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
/// One row more than ConvZoneVertFast; pStripBuffer is not used; singles whatever their peak.
NARVO_API int ConvZoneVertDirectFast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle,
                                     int* pEndLine, std::int64_t nGrayLimit);
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
