// SPDX-License-Identifier: MIT
// The hit store: allocation of the parallel arrays, and plain access. Hits are filled in and paired elsewhere.
#include "narvoassem/pixelstorage.h"

#include <algorithm>

#include "narvoassem/storage/stores/store_memory.h"

using namespace narvo::engine;

namespace
{

// The block is sized in 32-bit words per hit; the nine arrays take the first nine, the rest stays unassigned.
constexpr std::size_t nWordsPerHit = 18;

} // namespace

CPixelStorage::CPixelStorage()
    : nPixelCount(0), pPixelX(nullptr), pPixelY(nullptr), pPixelType(nullptr), pPeak(nullptr), pSrcGray(nullptr),
      pCmpGray(nullptr), pZoneIndex(nullptr), pThreshold(nullptr), pPixelAux(nullptr), nPixelCapacity(0), nPixelSize(0)
{
}

CPixelStorage::~CPixelStorage()
{
    std::free(pPixelX);
}

int CPixelStorage::InitPixelStorage(int nSize)
{
    if (nSize <= nPixelCapacity)
    {
        nPixelSize = nSize;
        return nPixelSize;
    }

    std::free(pPixelX);
    const std::size_t nEntries = GetEntryCount(nSize);
    int* pBlock = nEntries == 0 ? nullptr : AllocateRaw<int>(nWordsPerHit * nEntries);
    const auto fnStrip = [pBlock, nEntries](std::size_t nStrip)
    { return pBlock == nullptr ? nullptr : pBlock + nStrip * nEntries; };
    pPixelX = fnStrip(0);
    pPixelY = fnStrip(1);
    pPixelType = reinterpret_cast<short*>(fnStrip(2));
    pPeak = reinterpret_cast<short*>(fnStrip(3));
    pSrcGray = fnStrip(4);
    pCmpGray = fnStrip(5);
    pZoneIndex = fnStrip(6);
    pThreshold = fnStrip(7);
    pPixelAux = fnStrip(8);
    nPixelCapacity = nPixelSize = pBlock == nullptr ? 0 : nSize;
    // Kernels without zones write neither of these two; readers then find 0.
    std::fill_n(pZoneIndex, nPixelSize, 0);
    std::fill_n(pThreshold, nPixelSize, 0);
    return nPixelSize;
}

void CPixelStorage::SetConvParam(CConvParam* pParam)
{
    ConvParam = *pParam;
}

void CPixelStorage::ResetPixelStorage()
{
    nPixelCount = 0;
}

int CPixelStorage::GetPixelCount() const
{
    return nPixelCount;
}

int CPixelStorage::GetThreadDefectPixelNum() const
{
    return nPixelCount;
}

int CPixelStorage::GetPixelX(int nIndex) const
{
    return pPixelX[nIndex];
}

int CPixelStorage::GetPixelY(int nIndex) const
{
    return pPixelY[nIndex];
}

int CPixelStorage::GetPixelType(int nIndex) const
{
    return pPixelType[nIndex];
}

int CPixelStorage::GetPeak(int nIndex) const
{
    return pPeak[nIndex];
}

int CPixelStorage::GetPixelValue(int nIndex) const
{
    return pPeak[nIndex];
}

int CPixelStorage::GetSrcGray(int nIndex) const
{
    return pSrcGray[nIndex];
}

int CPixelStorage::GetCmpGray(int nIndex) const
{
    return pCmpGray[nIndex];
}

int CPixelStorage::GetThreshold(int nIndex) const
{
    return pThreshold[nIndex];
}

int CPixelStorage::GetOverflowedPixelY() const
{
    return nPixelCount > 0 && pPixelY != nullptr ? pPixelY[nPixelCount - 1] : 0;
}
