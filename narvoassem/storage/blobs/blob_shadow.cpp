// SPDX-License-Identifier: MIT
// Removal of ghosts: blobs of an edge band whose defect has a blob of its own one pitch inward.
#include <cstdint>

#include "narvoassem/base/pixel_read.h"
#include "narvoassem/blobstorage.h"
#include "narvoassem/storage/blobs/blob_grid.h"
#include "narvoassem/storage/blobs/blob_tidy.h"

using namespace narvo::engine;

namespace narvo::engine
{

namespace
{

constexpr int nPlainLimit = 64; ///< up to this many blobs every ghost is compared with all
constexpr int nWiden = 3;       ///< pixels that a neighbour's rectangle is widened by on all sides

class CShadowWalk
{
public:
    CShadowWalk(CBlobStorage& store, int nFirstBlob, double dPitch, int CPoint::*pAxis)
        : m_pBlobs(store.pBlob + nFirstBlob), m_nCount(store.nBlobCount - nFirstBlob), m_dPitch(dPitch), m_pAxis(pAxis)
    {
    }

    // Blobs already marked still count as neighbours: of two ghosts one pitch apart both can go.
    void MarkGhosts()
    {
        const bool bGrid = m_nCount > nPlainLimit && m_grid.Build(m_pBlobs, m_nCount, nWiden, false);
        for (int i = 0; i < m_nCount; ++i)
        {
            CDefectBlob& blob = m_pBlobs[i];
            if (blob.nDefectPos != DefectPos_First && blob.nDefectPos != DefectPos_Last)
                continue;
            const CPoint ptGhost = GetGhost(blob);
            if (bGrid ? HasNeighbourByGrid(i, ptGhost) : HasNeighbourPlainly(i, ptGhost))
                blob.bRemoved = 1;
        }
    }

private:
    CPoint GetGhost(const CDefectBlob& blob) const
    {
        CPoint pt = blob.ptCenter;
        pt.*m_pAxis =
            TruncateToInt(blob.nDefectPos == DefectPos_First ? pt.*m_pAxis + m_dPitch : pt.*m_pAxis - m_dPitch);
        return pt;
    }

    static bool IsNear(const CRect& rt, const CPoint& pt)
    {
        const std::int64_t nReach = nWiden;
        return rt.left - nReach <= pt.x && pt.x < rt.right + nReach && rt.top - nReach <= pt.y &&
               pt.y < rt.bottom + nReach;
    }

    bool HasNeighbourPlainly(int nBlob, const CPoint& pt) const
    {
        for (int i = 0; i < m_nCount; ++i)
        {
            if (i != nBlob && IsNear(m_pBlobs[i].rtDefect, pt))
                return true;
        }
        return false;
    }

    bool HasNeighbourByGrid(int nBlob, const CPoint& pt)
    {
        bool bFound = false;
        const SCells cell = m_grid.GetCells(pt.x, pt.y, pt.x, pt.y);
        m_grid.VisitCell(cell.nLeft, cell.nTop, 0,
                         [&](int nOther)
                         {
                             bFound = nOther != nBlob && IsNear(m_grid.GetBlob(nOther).rtDefect, pt);
                             return bFound ? CBlobGrid::EVisit::Stop : CBlobGrid::EVisit::GoOn;
                         });
        return bFound;
    }

    CDefectBlob* m_pBlobs;
    int m_nCount;
    double m_dPitch;
    int CPoint::*m_pAxis;
    CBlobGrid m_grid;
};

} // namespace

} // namespace narvo::engine

void CBlobStorage::ShadowFilter(int nFirstBlob, double dPitch)
{
    CShadowWalk(*this, nFirstBlob, dPitch, &CPoint::x).MarkGhosts();
    CompactBlobs(*this, nFirstBlob);
}

void CBlobStorage::ShadowFilterVert(int nFirstBlob, double dPitch)
{
    CShadowWalk(*this, nFirstBlob, dPitch, &CPoint::y).MarkGhosts();
    CompactBlobs(*this, nFirstBlob);
}
