// SPDX-License-Identifier: MIT
/// @file
/// The hit store: the engine's copy of the parameter block and the flat arrays in which a kernel records its hits.
#pragma once

#include "narvoassem/convparam.h"
#include "narvoassem/export.h"

/// Parallel arrays of hits, sized once and reused. A kernel fills them strip by strip or row by row, pairs the
/// hits and starts again at 0; its count is a local one, so nPixelCount reads 0 after an inspection. Copies
/// share the arrays: only one of two copies may be destroyed.
class NARVO_API CPixelStorage
{
public:
    CConvParam ConvParam; ///< parameters of the running inspection
    int nPixelCount;      ///< hits held
    int* pPixelX;         ///< x, image pixels; base of the one allocated block
    int* pPixelY;         ///< y, image pixels
    short* pPixelType;    ///< 0 darker than the reference or equal, 1 brighter, 4 consumed; 3 and 4 are skipped
    short* pPeak;         ///< strength
    int* pSrcGray;        ///< grey value or window sum at the hit
    int* pCmpGray;        ///< grey value or window sum of the reference
    int* pZoneIndex;      ///< zone, 0 .. 15
    int* pThreshold;      ///< threshold that applied
    int* pPixelAux;       ///< allocated and copied, never read
    int nPixelCapacity;   ///< hits the block was allocated for; 0 without a block
    int nPixelSize;       ///< size last asked for: the kernels' limit. Each array has 16 spare entries after it

    /// Empty store, no block.
    CPixelStorage();
    /// Shares every array with the other store.
    CPixelStorage(const CPixelStorage& other) = default;
    /// As the copy; what this store held is not freed.
    CPixelStorage& operator=(const CPixelStorage& other) = default;
    /// Frees the block.
    virtual ~CPixelStorage();

    /// Makes room for nSize hits. A size up to the present capacity only lowers or raises the limit. The zone and
    /// threshold arrays of a new block are cleared for nSize entries, the others are not.
    /// @return nPixelSize: nSize, or 0 when memory ran out (the old block is freed then).
    int InitPixelStorage(int nSize);
    /// Copies the host's block.
    void SetConvParam(CConvParam* pParam);
    /// nPixelCount to 0; the arrays keep their contents.
    void ResetPixelStorage();

    /// nPixelCount.
    int GetPixelCount() const;
    /// Same as GetPixelCount.
    int GetThreadDefectPixelNum() const;
    /// pPixelX[nIndex]; here and below the index is not checked.
    int GetPixelX(int nIndex) const;
    /// pPixelY[nIndex].
    int GetPixelY(int nIndex) const;
    /// pPixelType[nIndex].
    int GetPixelType(int nIndex) const;
    /// pPeak[nIndex].
    int GetPeak(int nIndex) const;
    /// Same as GetPeak.
    int GetPixelValue(int nIndex) const;
    /// pSrcGray[nIndex].
    int GetSrcGray(int nIndex) const;
    /// pCmpGray[nIndex].
    int GetCmpGray(int nIndex) const;
    /// pThreshold[nIndex].
    int GetThreshold(int nIndex) const;
    /// y of the last hit if the host maintains the count; 0 for an empty store.
    int GetOverflowedPixelY() const;
};
