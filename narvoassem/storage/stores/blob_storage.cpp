// SPDX-License-Identifier: MIT
// The blob store: allocation, access, gathering. Building, tidying, classification and verification are in files
// of their own.
#include "narvoassem/blobstorage.h"

#include <algorithm>

#include "narvoassem/base/memory_shortage.h"
#include "narvoassem/storage/stores/blob_record.h"
#include "narvoassem/storage/stores/store_memory.h"

using namespace narvo::engine;

namespace
{

void ClearCounters(CBlobStorage& store)
{
    store.nRemovedByFalse = 0;
    store.nRemovedPair = 0;
    store.nRemovedByClass = 0;
    store.nMergedBlob = 0;
    store.nRemovedScan = 0;
    store.nRemovedConv = 0;
}

} // namespace

CBlobStorage::CBlobStorage() : nBlobCount(0), pBlob(nullptr), nBlobSize(0), nBlobCapacity(0), dBlobTime(0.0)
{
    ClearCounters(*this);
}

CBlobStorage::~CBlobStorage()
{
    std::free(pBlob);
}

int CBlobStorage::InitBlobStorage(int nSize)
{
    // A store of size 0 gets its spare entries: a store without an array means that memory ran out.
    if (nSize <= nBlobCapacity && (pBlob != nullptr || nSize < 0))
    {
        nBlobSize = nSize;
        return nBlobSize;
    }

    std::free(pBlob);
    const std::size_t nEntries = GetEntryCount(nSize);
    pBlob = nEntries == 0 ? nullptr : AllocateConstructed<CDefectBlob>(nEntries);
    nBlobCapacity = nBlobSize = pBlob == nullptr ? 0 : nSize;
    if (pBlob == nullptr)
        nBlobCount = 0;
    else
        TotalResetBlobStorage();
    return nBlobSize;
}

void CBlobStorage::ResetBlobStorage()
{
    ClearCounters(*this);
    ResetRecords(pBlob, std::min(nBlobCapacity, nBlobCount));
    nBlobCount = 0;
}

void CBlobStorage::TotalResetBlobStorage()
{
    ClearCounters(*this);
    ResetRecords(pBlob, nBlobSize);
    nBlobCount = 0;
}

int CBlobStorage::AddBlob(CDefectBlob* pNewBlob)
{
    if (nBlobCount >= nBlobSize)
    {
        if (pBlob == nullptr)
            NoteMemoryShortage();
        return 0;
    }
    pBlob[nBlobCount] = *pNewBlob;
    ++nBlobCount;
    return nBlobCount < nBlobSize ? 1 : 0;
}

int CBlobStorage::ReadBlob(CBlobStorage* pOther)
{
    if (pOther == nullptr)
        return 0;
    for (int i = 0; i < pOther->nBlobCount; ++i)
    {
        if (AddBlob(&pOther->pBlob[i]) == 0)
            return 0;
    }
    return 1;
}

int CBlobStorage::GetBlobCount() const
{
    return nBlobCount;
}

CDefectBlob* CBlobStorage::GetBlobDefect(int nIndex)
{
    return pBlob + nIndex;
}

void CBlobStorage::CheckDefectRect(CDefectBlob& blob, int x, int y)
{
    blob.CheckDefectRect(x, y);
}
