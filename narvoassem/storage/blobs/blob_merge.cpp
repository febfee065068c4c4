// SPDX-License-Identifier: MIT
// Merging of blobs that the grouping pass left apart: the plain walk, and for many blobs the same walk over a grid.
#include <algorithm>
#include <cstdint>
#include <functional>

#include "narvoassem/blobstorage.h"
#include "narvoassem/storage/blobs/blob_grid.h"
#include "narvoassem/storage/blobs/blob_tidy.h"

using namespace narvo::engine;

namespace narvo::engine
{

namespace
{

constexpr int nPlainLimit = 64; ///< up to this many blobs the plain walk is taken

// Four plain inequalities: right and bottom are exclusive, so the reach is one pixel less on those sides.
bool IsWithin(const CRect& rtA, const CRect& rtB, std::int64_t nDist)
{
    return rtA.bottom + nDist >= rtB.top && rtA.top - nDist <= rtB.bottom && rtA.right + nDist >= rtB.left &&
           rtA.left - nDist <= rtB.right;
}

void Merge(CBlobStorage& store, CDefectBlob& blob, CDefectBlob& absorbed)
{
    blob.MergeBlob(absorbed);
    blob.nRScale = store.CalcRScale(blob.ptExtreme);
    absorbed.bRemoved = 1;
    ++store.nMergedBlob;
}

/// The distance may depend on parameters that have changed since the blobs were closed.
void CalcRScales(CBlobStorage& store, int nFirstBlob)
{
    for (int i = nFirstBlob; i < store.nBlobCount; ++i)
        store.pBlob[i].nRScale = store.CalcRScale(store.pBlob[i].ptExtreme);
}

/// Each blob in turn absorbs the later ones within the distance of its growing rectangle.
class CMergeWalk
{
public:
    CMergeWalk(CBlobStorage& store, int nFirstBlob, int nDist)
        : m_store(store), m_pBlobs(store.pBlob + nFirstBlob), m_nCount(store.nBlobCount - nFirstBlob), m_nDist(nDist)
    {
    }

    void Run()
    {
        m_bGrid = m_nCount > nPlainLimit && BuildGrid();
        for (int i = 0; i < m_nCount; ++i)
        {
            if (!m_bGrid)
            {
                if (m_pBlobs[i].bRemoved == 0)
                    AbsorbPlainly(i, i + 1);
                continue;
            }
            // Most blobs have no other within reach. They stay in the grid: a rectangle that grows may reach them.
            const SGridBlob& blob = m_grid.GetBlob(i);
            if (blob.nMark != nRemovedMark && !m_grid.HasNoLater(i, GetReach(blob.rtDefect)))
                AbsorbByGrid(i);
        }
    }

private:
    // Marks of the grid's blobs; otherwise the last blob whose heap took the candidate.
    static constexpr int nUnseenMark = -1;
    static constexpr int nRemovedMark = -2;

    bool BuildGrid()
    {
        if (!m_grid.Start(m_nCount, 0, true))
            return false;
        for (int i = 0; i < m_nCount; ++i)
            m_grid.Add(m_pBlobs[i], m_pBlobs[i].bRemoved != 0 ? nRemovedMark : nUnseenMark);
        m_pHeap = m_grid.GetSpareWords();
        // A reversed rectangle can pass the inequalities without touching the area that a search covers.
        return !m_grid.HasReversed() && m_grid.Finish();
    }

    bool Absorb(CDefectBlob& blob, int nOther)
    {
        CDefectBlob& other = m_pBlobs[nOther];
        if (other.nDefectType != blob.nDefectType || other.bRemoved != 0 ||
            !IsWithin(blob.rtDefect, other.rtDefect, m_nDist))
            return false;
        Merge(m_store, blob, other);
        return true;
    }

    // As Absorb for a candidate, which is not removed. Only merges touch the records.
    bool AbsorbCandidate(int nBlob, int nOther)
    {
        SGridBlob& blob = m_grid.GetBlob(nBlob);
        SGridBlob& other = m_grid.GetBlob(nOther);
        if (other.nDefectType != blob.nDefectType || !IsWithin(blob.rtDefect, other.rtDefect, m_nDist))
            return false;
        Merge(m_store, m_pBlobs[nBlob], m_pBlobs[nOther]);
        blob.rtDefect = m_pBlobs[nBlob].rtDefect;
        other.nMark = nRemovedMark;
        return true;
    }

    void AbsorbPlainly(int nBlob, int nFrom)
    {
        for (int i = nFrom; i < m_nCount; ++i)
        {
            if (Absorb(m_pBlobs[nBlob], i) && m_bGrid)
                m_grid.GetBlob(i).nMark = nRemovedMark;
        }
    }

    // The candidates of the cells within reach wait in a heap and are tested in list order, each once. When the
    // rectangle has grown, the cells newly within reach add theirs, but only those after the one just tested: the
    // walk does not go back.
    void AbsorbByGrid(int nBlob)
    {
        const SGridBlob& blob = m_grid.GetBlob(nBlob);
        m_nHeap = 0;
        int nTested = nBlob;
        SCells done{0, 0, -1, -1};
        for (;;)
        {
            const SCells reach = GetReach(blob.rtDefect);
            if (reach != done && GetCellCount(reach) - GetCellCount(done) > m_nCount - nTested)
            {
                AbsorbPlainly(nBlob, nTested + 1);
                return;
            }
            if (reach != done)
                CollectRing(nBlob, nTested, reach, done);
            done = reach;
            bool bGrown = false;
            while (m_nHeap > 0 && !bGrown)
            {
                nTested = PopCandidate();
                bGrown = AbsorbCandidate(nBlob, nTested);
            }
            if (!bGrown)
                return;
        }
    }

    SCells GetReach(const CRect& rt) const
    {
        // A negative distance can reverse the area; what passes then covers the reversed area.
        const auto [nLeft, nRight] = std::minmax({rt.left - m_nDist, rt.right + m_nDist});
        const auto [nTop, nBottom] = std::minmax({rt.top - m_nDist, rt.bottom + m_nDist});
        return m_grid.GetCells(nLeft, nTop, nRight, nBottom);
    }

    static std::int64_t GetCellCount(const SCells& cells)
    {
        return (cells.nRight - cells.nLeft + 1) * (cells.nBottom - cells.nTop + 1);
    }

    void CollectRing(int nBlob, int nTested, const SCells& reach, const SCells& done)
    {
        for (std::int64_t nRow = reach.nTop; nRow <= reach.nBottom; ++nRow)
        {
            if (!done.HasRow(nRow))
            {
                CollectRow(nBlob, nTested, nRow, reach.nLeft, reach.nRight);
                continue;
            }
            CollectRow(nBlob, nTested, nRow, reach.nLeft, done.nLeft - 1);
            CollectRow(nBlob, nTested, nRow, done.nRight + 1, reach.nRight);
        }
    }

    void CollectRow(int nBlob, int nTested, std::int64_t nRow, std::int64_t nFirst, std::int64_t nLast)
    {
        const int nType = m_grid.GetBlob(nBlob).nDefectType;
        const auto fnVisit = [&](int nFound)
        {
            // Blobs up to the current one, and absorbed ones, are excluded from all later searches.
            SGridBlob& found = m_grid.GetBlob(nFound);
            if (nFound <= nBlob || found.nMark == nRemovedMark)
                return CBlobGrid::EVisit::Drop;
            if (nFound > nTested && found.nMark != nBlob)
            {
                found.nMark = nBlob;
                PushCandidate(nFound);
            }
            return CBlobGrid::EVisit::GoOn;
        };
        for (std::int64_t nColumn = nFirst; nColumn <= nLast; ++nColumn)
            m_grid.VisitCell(nColumn, nRow, nType, fnVisit);
    }

    void PushCandidate(int nFound)
    {
        m_pHeap[m_nHeap++] = nFound;
        std::push_heap(m_pHeap, m_pHeap + m_nHeap, std::greater<>());
    }

    int PopCandidate()
    {
        std::pop_heap(m_pHeap, m_pHeap + m_nHeap, std::greater<>());
        return m_pHeap[--m_nHeap];
    }

    CBlobStorage& m_store;
    CDefectBlob* m_pBlobs;
    int m_nCount;
    std::int64_t m_nDist;
    CBlobGrid m_grid;
    bool m_bGrid = false;
    int* m_pHeap = nullptr; ///< candidates not yet tested, the smallest index first
    int m_nHeap = 0;
};

} // namespace

} // namespace narvo::engine

void narvo::engine::MergeNear(CBlobStorage& store, int nFirstBlob, int nDist)
{
    CMergeWalk(store, nFirstBlob, nDist).Run();
    CompactBlobs(store, nFirstBlob);
}

int CBlobStorage::MergeDivision(int nFirstBlob, int nDist)
{
    MergeNear(*this, nFirstBlob, nDist);
    CalcRScales(*this, nFirstBlob);
    return 1;
}

int CBlobStorage::MergeMix(int nFirstBlob, int nDist)
{
    for (int i = nFirstBlob; i < nBlobCount; ++i)
    {
        for (int j = nBlobCount - 1; j > i; --j)
        {
            // The rectangle is compared with itself, not with that of blob i.
            const CRect& rt = pBlob[j].rtDefect;
            const bool bNear = rt.bottom + static_cast<std::int64_t>(nDist) + 1 >= rt.top &&
                               rt.top - static_cast<std::int64_t>(nDist) - 1 <= rt.bottom &&
                               rt.right + static_cast<std::int64_t>(nDist) >= rt.left &&
                               rt.left - static_cast<std::int64_t>(nDist) <= rt.right;
            if (bNear && pBlob[j].bRemoved == 0)
                Merge(*this, pBlob[i], pBlob[j]);
        }
    }
    CompactBlobs(*this, nFirstBlob);
    CalcRScales(*this, nFirstBlob);
    return 1;
}
