// SPDX-License-Identifier: MIT
// What a kernel call holds: the flat argument lists of the public kernels, and the engine's own calls, as one record.
// The families (zone, pixel, float) extend it by where their thresholds come from.
#pragma once

#include <cstdint>

#include "narvoassem/base/image_view.h"
#include "narvoassem/convparam.h"
#include "narvoassem/defectpair.h"

class CPairStorage;

namespace narvo::engine
{

/// The hit arrays of the pixel store, passed to a kernel as working space.
struct CHitArrays
{
    std::int64_t nSize = 0;  ///< capacity: the group of 8 that reaches it is the last of its strip or row
    std::int64_t nCount = 0; ///< hits that the first strip or row starts after
    int* pX = nullptr;
    int* pY = nullptr;
    short* pType = nullptr;
    short* pPeak = nullptr;
    int* pSrcGray = nullptr;
    int* pCmpGray = nullptr;
    int* pZoneIndex = nullptr;
    int* pThreshold = nullptr;
};

/// Where pair records go.
struct CPairSink
{
    CDefectPair* pBase = nullptr;
    std::int64_t nCount = 0;  ///< records held; new ones follow
    std::int64_t nSize = 0;   ///< capacity
    std::int64_t nStride = 0; ///< bytes per record

    CDefectPair& At(std::int64_t nIndex) const
    {
        return *reinterpret_cast<CDefectPair*>(reinterpret_cast<char*>(pBase) + nIndex * nStride);
    }
};

/// A region with right and bottom exclusive, in 64 bits so that no sum of sides and pitches wraps.
struct CRegion
{
    std::int64_t nLeft = 0;
    std::int64_t nTop = 0;
    std::int64_t nRight = 0;
    std::int64_t nBottom = 0;
};

/// Parts common to all kernel families.
struct CKernelCall
{
    CImageView image;
    CRegion region;
    CHitArrays hits;
    CPairSink pairs;
    std::int64_t nPitch16 = 0; ///< compare distance, 1/16 pixel
    std::int64_t bKeepSingle = 0;
    std::int64_t nThresholdExtra = 0; ///< a single's peak must exceed it, in kernels that use it
    std::int64_t nGrayLimit = 255;
    int* pEndLine = nullptr;
    /// Horizontal table kernels: whole-pixel displacement per column (read at x & ~15) and weights.
    const std::uint16_t* pConvPitchTable = nullptr;
    const std::int16_t* pConvWeightNear = nullptr;
    const std::int16_t* pConvWeightFar = nullptr;
    /// Row table kernels: pitch in 1/16 pixel per 16 rows; null for a fixed pitch.
    const int* pScanPitchTable = nullptr;
    std::int64_t nVtdPitch16 = 0; ///< shift of the reference along x, 1/16 pixel
    /// Members only: the engine's parameters, for dead zones and the second threshold set; null for free functions.
    const CConvParam* pParam = nullptr;
};

enum class ZoneKernel; // zone_table.h

/// A call of a zone kernel: thresholds come from maps over a grid of zone cells.
struct CZoneCall : CKernelCall
{
    const std::int16_t* pOffsetMap = nullptr; ///< null maps count as all 0
    const std::int16_t* pGainMap = nullptr;
    const std::int16_t* pZoneIndexMap = nullptr;
    const std::int16_t* pKneeMap = nullptr;
    const std::int16_t* pOffsetMap2 = nullptr;
    const std::int16_t* pGainMap2 = nullptr;
    const std::int16_t* pClassIdMap = nullptr;
    std::int64_t nMapStride = 0; ///< elements per map line
    const int* pOriginTable = nullptr;
    std::int64_t nRowBytes = 0;  ///< bytes between grid rows of the origin table
    std::int64_t nCellWidth = 0; ///< whole pixels
    std::int64_t nCellHeight = 0;
};

/// Runs a zone kernel. @return the new pair count
int RunZoneKernel(ZoneKernel eKernel, const CZoneCall& call);

enum class PixelKernel; // pixel_table.h

/// A threshold set: base in grey levels, gain in 1/256.
struct CThresholdSet
{
    std::int64_t nBase = 0;
    std::int64_t nGain = 0;
};

/// A call of a pixel kernel: thresholds are the same for all pixels. Kernels with two sets take pParam for dead zones
/// alone.
struct CPixelCall : CKernelCall
{
    CThresholdSet first;
    CThresholdSet second;                ///< for dark hits; in force when its base is 1 or more
    const std::uint8_t* pMask = nullptr; ///< laid out as the image; source pixels with 0 are not inspected
};

/// The second set, or the first one where it is not in force.
inline CThresholdSet EffectiveSecondSet(const CPixelCall& call)
{
    return call.second.nBase >= 1 ? call.second : call.first;
}

/// Runs a pixel kernel. @return the new pair count
int RunPixelKernel(PixelKernel eKernel, const CPixelCall& call);

enum class FloatKernel; // float_table.h

/// A call of a float kernel: window sums are compared, thresholds are the same for all pixels. Members take pParam for
/// dead zones, the second threshold set and bKeepSingle.
struct CFloatCall : CKernelCall
{
    CThresholdSet first;            ///< base in units of the window sum
    CPairStorage* pStore = nullptr; ///< region kernel: singles must pass its JumpFilter_Vert2by2
    CRect rtRegion;                 ///< region kernel: limits of that filter
};

/// Runs a float kernel. @return the new pair count
int RunFloatKernel(FloatKernel eKernel, const CFloatCall& call);

} // namespace narvo::engine
