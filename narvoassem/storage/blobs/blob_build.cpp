// SPDX-License-Identifier: MIT
// The five builders: labelled pairs become blobs, appended to those held. Grouping, verification and the pair filters
// are elsewhere; merging of the pieces comes after a build.
#include <algorithm>
#include <numeric>

#include "narvoassem/base/memory_shortage.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/blobstorage.h"
#include "narvoassem/stopwatch.h"
#include "narvoassem/storage/blobs/label_search.h"
#include "narvoassem/storage/blobs/pair_groups.h"
#include "narvoassem/storage/filters/filter_walk.h"
#include "narvoassem/storage/filters/pitch_verify.h"
#include "narvoassem/storage/stores/blob_record.h"
#include "narvoassem/storage/stores/pair_capacity.h"
#include "narvoassem/storage/stores/store_memory.h"

using namespace narvo::engine;

namespace narvo::engine
{

namespace
{

void CloseBlob(const CBlobStorage& store, CDefectBlob& blob)
{
    if (blob.nPairCount < 1)
    {
        blob.bRemoved = 1;
        return;
    }
    blob.ptCenter = CPoint(blob.ptCenter.x / blob.nPairCount, blob.ptCenter.y / blob.nPairCount);
    blob.nAvgSrcGray = LowShort(blob.nSumSrcGray / blob.nPairCount);
    blob.nAvgCmpGray = LowShort(blob.nSumCmpGray / blob.nPairCount);
    blob.nAvgDiff = LowShort(blob.nSumDiff / blob.nPairCount);
    blob.nAvgThreshold = LowShort(blob.nSumThreshold / blob.nPairCount);
    blob.nMultiType = store.ConvParam.nMultiType;
    blob.nRScale = store.CalcRScale(blob.ptExtreme);
    blob.CalcExtraFeature();
}

constexpr int nOpenAhead = 4; ///< records that are on their way from memory while one is written
static_assert(nOpenAhead <= nSpareEntries);

/// Makes closed blobs of one pair. Most blobs are that, and their size and shape are the same wherever they lie.
class COnePixelBlob
{
public:
    void Init(const CBlobStorage& store)
    {
        m_pStore = &store;
        CDefectPair pair;
        pair.nZoneIndex = pair.nSubZone = CDefectBlob::nZoneLimit; // counted nowhere
        m_blob.CreateBlob(&pair, 0);
        CloseBlob(store, m_blob);
    }

    void Make(CDefectBlob& blob, const CDefectPair& pair, int nId) const
    {
        const CPoint& pt = pair.ptDefect;
        if (pt.x < 0 || pt.x >= nFarExtreme || pt.y < 0 || pt.y >= nFarExtreme)
        {
            // Here the pixel does not replace all of the extreme points that a record starts from.
            blob.CreateBlob(&pair, nId);
            CloseBlob(*m_pStore, blob);
            return;
        }
        CopyRecords(&blob, &m_blob, 1);
        blob.rtDefect.OffsetRect(pt.x, pt.y);
        for (CPoint& ptExtreme : blob.ptExtreme)
            ptExtreme = CPoint(ptExtreme.x + pt.x, ptExtreme.y + pt.y);
        StartStatistics(blob, pair, nId);
        blob.nAvgSrcGray = blob.nMaxSrcGray;
        blob.nAvgCmpGray = blob.nMaxCmpGray;
        blob.nAvgDiff = blob.nMaxDiff;
        blob.nAvgThreshold = blob.nMaxThreshold;
    }

private:
    const CBlobStorage* m_pStore = nullptr;
    CDefectBlob m_blob; ///< that of the pixel (0, 0)
};

class CBlobBuild
{
public:
    /// nCount pairs, for which the label arrays of the store have room.
    CBlobBuild(CBlobStorage& store, CDefectPair* pPairs, int nCount, bool bVerify)
        : m_store(store), m_pPairs(pPairs), m_nCount(nCount), m_bVerify(bVerify), m_verifier(store)
    {
    }

    /// Clears the label arrays for nEntries entries, at least for the pairs.
    void Prepare(int nEntries)
    {
        const int nCleared = std::max(nEntries, m_nCount);
        std::fill_n(m_store.pPairLinked, nCleared, 0);
        std::fill_n(m_store.pLabelOpened, nCleared, 0);
        std::iota(m_store.pPairLabel, m_store.pPairLabel + m_nCount, 0);
        m_store.nRemovedPair = 0;
    }

    void Build(EGroupWindow eWindow)
    {
        GroupPairs(eWindow, m_pPairs, m_nCount, m_store.pPairLabel, m_store.pPairLinked);
        const int nFirstBlob = m_store.nBlobCount;
        m_search.Init(m_store.pBlob, nFirstBlob, m_nCount);
        if (m_nCount > 0)
            m_onePixel.Init(m_store);
        for (int i = 0; i < m_nCount; ++i)
        {
            CDefectPair& pair = m_pPairs[i];
            const int nLabel = m_store.pPairLabel[i];
            if (pair.nDefectType == DefectType_Removed)
                ++m_store.nRemovedPair;
            else if (m_store.pLabelOpened[nLabel] != 0)
                Fill(pair, nLabel);
            else
                Open(pair, nLabel);
        }
        for (int i = nFirstBlob; i < m_store.nBlobCount; ++i)
        {
            if (m_store.pBlob[i].nPairCount != 1)
                CloseBlob(m_store, m_store.pBlob[i]);
        }
    }

private:
    // A pair that its blob refuses is offered to older blobs of the same id; those of earlier builds accept it, since
    // it is marked removed by then.
    void Fill(CDefectPair& pair, int nLabel)
    {
        int nBlob = m_search.FindNewest(nLabel, m_store.nBlobCount);
        while (nBlob >= 0 && !Joins(pair))
            nBlob = m_search.FindOlder(nLabel, nBlob);
        if (nBlob >= 0)
            m_store.pBlob[nBlob].IncludePair(&pair);
    }

    void Open(CDefectPair& pair, int nLabel)
    {
        if (m_store.nBlobCount >= m_store.nBlobSize)
        {
            // A full store is not reported, a store without memory is.
            if (m_store.pBlob == nullptr)
                NoteMemoryShortage();
            return;
        }
        if (!Joins(pair))
            return;
        m_store.pLabelOpened[nLabel] = 1;
        PrefetchRecord(m_store.pBlob + m_store.nBlobCount + nOpenAhead);
        m_onePixel.Make(m_store.pBlob[m_store.nBlobCount], pair, nLabel);
        m_search.NoteOpened(nLabel, m_store.nBlobCount);
        ++m_store.nBlobCount;
    }

    bool Joins(CDefectPair& pair)
    {
        if (m_bVerify && m_verifier.Verify(pair) != 0)
            return false;
        if (PassesZoneLimits(pair))
            return true;
        pair.nDefectType = DefectType_Removed;
        ++m_store.nRemovedPair;
        return false;
    }

    bool PassesZoneLimits(const CDefectPair& pair) const
    {
        const int nZone = pair.nZoneIndex;
        if (nZone <= 0 || nZone >= CConvParam::nZoneLimit)
            return true;
        const int nDarkLimit = m_store.ConvParam.nDarkGrayLimit[nZone];
        if (nDarkLimit != 0 && pair.nDefectType == DefectType_Dark && pair.nSrcGray >= nDarkLimit)
            return false;
        const int nBrightLimit = m_store.ConvParam.nBrightMinDiff[nZone];
        if (nBrightLimit == 0 || pair.nDefectType != DefectType_Bright)
            return true;
        return WrapSub(pair.nSrcGray, pair.nCmpGray) >= nBrightLimit;
    }

    CBlobStorage& m_store;
    CDefectPair* m_pPairs;
    int m_nCount;
    bool m_bVerify;
    CPitchVerifier m_verifier;
    CLabelSearch m_search;
    COnePixelBlob m_onePixel;
};

/// Pairs in use that the store has records for; 0 before the store has any.
int GetUsablePairs(const CPairStorage& store)
{
    return store.pPair == nullptr ? 0 : std::clamp(store.nPairCount, 0, store.nPairCapacity + nSpareEntries);
}

} // namespace

} // namespace narvo::engine

int CBlobStorage::BlobDefect()
{
    CBlobBuild build(*this, pPair, GetUsablePairs(*this), false);
    build.Prepare(nPairCapacity);
    CorrectDefGray();
    Filtering_Hori();
    build.Build(EGroupWindow::Horizontal);
    return 1;
}

int CBlobStorage::BlobDefect_NonFilter()
{
    CBlobBuild build(*this, pPair, GetUsablePairs(*this), false);
    build.Prepare(nPairCapacity);
    build.Build(EGroupWindow::Horizontal);
    return 1;
}

int CBlobStorage::BlobDefectVert()
{
    CStopWatch watch;
    watch.Start();
    CBlobBuild build(*this, pPair, GetUsablePairs(*this), true);
    build.Prepare(0);
    CorrectDefGray();
    if (HasPairFilters(ConvParam, true))
        Filtering_Vert();
    build.Build(EGroupWindow::Vertical);
    watch.Stop();
    dBlobTime = watch.GetElapsedMs();
    return 1;
}

int CBlobStorage::BlobDefectVert_NonFilter()
{
    CStopWatch watch;
    watch.Start();
    CBlobBuild build(*this, pPair, GetUsablePairs(*this), false);
    build.Prepare(0);
    build.Build(EGroupWindow::Vertical);
    watch.Stop();
    dBlobTime = watch.GetElapsedMs();
    return 1;
}

int CBlobStorage::BlobDefectVert(CPairStorage* pPairs)
{
    CPairStorage& source = pPairs != nullptr ? *pPairs : *this;
    const int nCount = GetUsablePairs(source);
    if (GrowPairArrays(*this, nCount) == 0)
    {
        NoteMemoryShortage();
        return 1;
    }
    CBlobBuild build(*this, source.pPair, nCount, false);
    build.Prepare(0);
    source.CorrectDefGray();
    source.Filtering_Vert();
    build.Build(EGroupWindow::Vertical);
    return 1;
}
