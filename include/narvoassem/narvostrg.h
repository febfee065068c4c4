// SPDX-License-Identifier: MIT
/// @file
/// Helpers of the engine's working memory: the grow-only scratch array and the read-only image view.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "narvoassem/export.h"

/// Grow-only array for the strip buffers (short) and the integral image (64-bit). Not to be copied while both
/// copies are destroyed: a copy shares the block.
template <class TElement>
class CScratchArray
{
public:
    int nReserved = 0;         ///< never read
    int nCapacity = 0;         ///< elements allocated
    int nSize = 0;             ///< elements in use
    TElement* pData = nullptr; ///< the block, owned

    /// No block.
    CScratchArray() = default;
    /// Shares the block.
    CScratchArray(const CScratchArray& other) = default;
    /// Shares the block; what this array held is not freed.
    CScratchArray& operator=(const CScratchArray& other) = default;
    /// Frees the block.
    ~CScratchArray() { std::free(pData); }

    /// Makes room for nCount elements, at least 1. When the block must grow its contents are lost.
    /// @return 1, or 0 when memory ran out (capacity and size are 0 then, the old block is freed).
    int Resize(int nCount)
    {
        const int nWanted = nCount < 2 ? 1 : nCount;
        if (nWanted > nCapacity)
        {
            std::free(pData);
            pData = static_cast<TElement*>(std::malloc(sizeof(TElement) * static_cast<std::size_t>(nWanted)));
            nCapacity = nSize = 0;
            if (pData == nullptr)
                return 0;
            nCapacity = nWanted;
        }
        nSize = nWanted;
        return 1;
    }
    /// nSize.
    int GetSize() const { return nSize; }
    /// pData.
    TElement* GetData() { return pData; }
};

/// Read-only view of a grey image whose row pitch is the width rounded up to a multiple of 4. On an image whose real
/// stride is another width it addresses wrong rows: give it widths that are multiples of 4.
class NARVO_API CNarvoBufferSudo
{
public:
    unsigned char* pBuffer; ///< the image, not owned
    int nWidth;             ///< pixels
    int nPitch;             ///< bytes per row
    int nHeight;            ///< pixels

    /// Views the image; the sizes are pixels, as Init takes them.
    CNarvoBufferSudo(unsigned char* pImage, int nImageWidth, int nImageHeight);
    // No virtual destructor: the view owns nothing and is never destroyed through a base.
    /// Stores both and computes nPitch. @return 1
    virtual int Init(int nImageWidth, int nImageHeight);
    /// Address of pixel (x, y); nothing is checked.
    unsigned char* GetPixelPtr(int x, int y) const;
    /// nPitch.
    int GetPitch() const;
};
