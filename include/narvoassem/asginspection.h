// SPDX-License-Identifier: MIT
/// @file
/// A plain vertical window comparison with two witnesses, apart from any engine: the reference form.
#pragma once

#include <mutex>

#include "narvoassem/convparam.h"
#include "narvoassem/defectpair.h"
#include "narvoassem/export.h"

/// Compares each window with the windows one and two pitches up or down; a hit needs both with the same sign. All
/// buffers belong to the host. Several objects' threads may share one object's pair buffer: a record is inserted
/// under the object's lock.
class NARVO_API CASGInspection
{
public:
    static constexpr int nParingLimit = 10000; ///< records the pair buffer must hold

    std::mutex csParing;  ///< guards the pair buffer and its count
    int* pPixelX;         ///< host's array of x positions, see SetPixelBuf
    int* pPixelY;         ///< host's array of y positions
    short* pPixelType;    ///< host's array of polarities
    short* pPeak;         ///< host's array of strengths
    int* pPixelCount;     ///< host's write position
    CDefectPair* pParing; ///< host's pair buffer, nParingLimit records
    int nParingCnt;       ///< records written

    /// No buffers, count 0.
    CASGInspection();
    /// A copy shares the host's buffers and takes the count; its lock is its own.
    CASGInspection(const CASGInspection& other);
    /// As the copy.
    CASGInspection& operator=(const CASGInspection& other);
    /// Frees nothing.
    virtual ~CASGInspection();

    /// Stores the buffer, and nCount as the count (not as a capacity).
    void SetParingBuf(CDefectPair* pBuffer, int nCount);
    /// Stores the five pointers.
    void SetPixelBuf(int* pX, int* pY, short* pType, short* pValue, int* pCount);
    /// The comparison over rtInspect with the window nConvWidth by nConvHeight, threshold nThreshold (window-sum
    /// units) and nGrayLimit. Without a pair buffer nothing happens; the 10001st hit ends the run. Rows outside an
    /// image of known height count as its first or last row. Nothing is found without an image, with windows beyond
    /// 1023 pixels, and at a pitch that is not finite or beyond 2^26 pixels.
    void VConvolutionConvC(CConvParam* pParam);
    /// nParingCnt.
    int GetParingCnt() const;

protected:
    /// 1 if all five pointers of SetPixelBuf are set, otherwise 0.
    int GetBufferCheck() const;
    /// Writes one hit at index *pPixelCount and advances the pointer pPixelCount by one int.
    void SetPixelData(int x, int y, int nValue, int nIgnored);
    /// Appends a record under the lock. @return 1, or 0 when there is no buffer or it is full.
    int InsertPairing(int x, int y, int nValue, int nThreshold, int nSrc, int nCmp);
};
