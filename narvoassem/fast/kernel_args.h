// The flat argument lists of the public kernels, taken into a call record. The macros expand inside a function whose
// parameters carry the names of fastkernels.h.
#pragma once

#include <cstdint>

#include "narvoassem/fast/kernel_call.h"

// NOLINTBEGIN(cppcoreguidelines-macro-usage): they stand for parameter lists that are macros themselves

/// The parts common to all three families.
#define NARVO_TAKE_COMMON_ARGUMENTS(call)                                                                              \
    do                                                                                                                 \
    {                                                                                                                  \
        (call).image = {pImage, nImageWidth, 0};                                                                       \
        (call).region = {nLeft, nTop, nRight, nBottom};                                                                \
        (call).hits = {nPixelSize, nPixelCount, pPixelX,  pPixelY,    pPixelType,                                      \
                       pPeak,      pSrcGray,    pCmpGray, pZoneIndex, pThresholds};                                    \
        (call).pairs = {pPair, nPairCount, nPairSize, nPairStride};                                                    \
        (call).nPitch16 = nPitch16;                                                                                    \
        (call).nGrayLimit = nGrayLimit;                                                                                \
        (call).pEndLine = pEndLine;                                                                                    \
    } while (false)

/// The same with the maps of the zone family.
#define NARVO_TAKE_ZONE_ARGUMENTS(call)                                                                                \
    do                                                                                                                 \
    {                                                                                                                  \
        NARVO_TAKE_COMMON_ARGUMENTS(call);                                                                             \
        (call).bKeepSingle = bKeepSingle;                                                                              \
        (call).pOffsetMap = pThresholdOffsetMap;                                                                       \
        (call).pGainMap = pThresholdGainMap;                                                                           \
        (call).pZoneIndexMap = pZoneIndexMap;                                                                          \
        (call).nMapStride = nZoneMapStride;                                                                            \
        (call).pOriginTable = static_cast<const int*>(pZoneOriginTable);                                               \
        (call).nRowBytes = nZoneRowBytes;                                                                              \
        (call).nCellWidth = nZoneConv;                                                                                 \
        (call).nCellHeight = nZoneScan;                                                                                \
    } while (false)

/// The same with the first threshold set of the pixel family.
#define NARVO_TAKE_PIXEL_ARGUMENTS(call)                                                                               \
    do                                                                                                                 \
    {                                                                                                                  \
        NARVO_TAKE_COMMON_ARGUMENTS(call);                                                                             \
        (call).bKeepSingle = bKeepSingle;                                                                              \
        (call).first = {nThreshold, nThresholdGain};                                                                   \
    } while (false)

/// The same with the threshold set of the float family, whose singles do not depend on an argument.
#define NARVO_TAKE_FLOAT_ARGUMENTS(call)                                                                               \
    do                                                                                                                 \
    {                                                                                                                  \
        NARVO_TAKE_COMMON_ARGUMENTS(call);                                                                             \
        (call).first = {nThreshold, nThresholdGain};                                                                   \
    } while (false)

// NOLINTEND(cppcoreguidelines-macro-usage)
