// SPDX-License-Identifier: MIT
// The pair store: allocation and access. Pairing walks and filters are in files of their own.
#include "narvoassem/pairstorage.h"

#include <algorithm>

#include "narvoassem/storage/stores/pair_capacity.h"
#include "narvoassem/storage/stores/store_memory.h"

using namespace narvo::engine;

namespace
{

struct SPairArrays
{
    int* pLabel;
    int* pLinked;
    int* pOpened;
    CDefectPair* pPair;
};

void Free(const SPairArrays& arrays)
{
    std::free(arrays.pLabel);
    std::free(arrays.pLinked);
    std::free(arrays.pOpened);
    std::free(arrays.pPair);
}

// All four or none: without memory for one of them every pointer is null.
SPairArrays AllocatePairArrays(int nSize)
{
    const std::size_t nEntries = GetEntryCount(nSize);
    if (nEntries == 0)
        return {};
    SPairArrays arrays{};
    arrays.pLabel = AllocateRaw<int>(nEntries);
    arrays.pLinked = AllocateRaw<int>(nEntries);
    arrays.pOpened = AllocateRaw<int>(nEntries);
    if (arrays.pLabel != nullptr && arrays.pLinked != nullptr && arrays.pOpened != nullptr)
        arrays.pPair = AllocateConstructed<CDefectPair>(nEntries);
    if (arrays.pPair == nullptr)
    {
        Free(arrays);
        return {};
    }
    return arrays;
}

SPairArrays GetPairArrays(const CPairStorage& store)
{
    return {store.pPairLabel, store.pPairLinked, store.pLabelOpened, store.pPair};
}

void SetPairArrays(CPairStorage& store, const SPairArrays& arrays)
{
    store.pPairLabel = arrays.pLabel;
    store.pPairLinked = arrays.pLinked;
    store.pLabelOpened = arrays.pOpened;
    store.pPair = arrays.pPair;
}

} // namespace

int narvo::engine::GrowPairArrays(CPairStorage& store, int nCount)
{
    const int nEntriesHeld = store.pPair == nullptr ? 0 : store.nPairCapacity + nSpareEntries;
    if (nCount <= nEntriesHeld)
        return 1;
    const SPairArrays arrays = AllocatePairArrays(nCount);
    if (arrays.pPair == nullptr)
        return 0;
    std::copy_n(store.pPair, nEntriesHeld, arrays.pPair);
    Free(GetPairArrays(store));
    SetPairArrays(store, arrays);
    store.nPairCapacity = nCount;
    return 1;
}

CPairStorage::CPairStorage()
    : nPairCount(-1), pPair(nullptr), nPairSize(-1), nPairCapacity(-1), pPairLabel(nullptr), pPairLinked(nullptr),
      pLabelOpened(nullptr)
{
    // Capacity -1 is below any request, so that a first request for 0 pairs allocates the spare records.
}

CPairStorage::~CPairStorage()
{
    Free(GetPairArrays(*this));
}

int CPairStorage::InitPairStorage(int nSize)
{
    if (nSize <= nPairCapacity)
    {
        nPairSize = nSize;
        return nPairSize;
    }

    Free(GetPairArrays(*this));
    SetPairArrays(*this, AllocatePairArrays(nSize));
    nPairCapacity = nPairSize = pPair == nullptr ? 0 : nSize;
    if (pPair == nullptr)
        nPairCount = std::min(nPairCount, 0);
    else
        TotalResetPairStorage();
    return nPairSize;
}

void CPairStorage::ResetPairStorage()
{
    std::fill_n(pPair, std::min(nPairCapacity, nPairCount), CDefectPair());
    nPairCount = 0;
}

void CPairStorage::TotalResetPairStorage()
{
    nPairCount = 0;
    std::fill_n(pPair, nPairSize, CDefectPair());
}

int CPairStorage::GetPairCount() const
{
    return nPairCount;
}

CDefectPair* CPairStorage::GetPairDefect(int nIndex)
{
    return pPair + nIndex;
}
