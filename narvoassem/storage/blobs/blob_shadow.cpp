// SPDX-License-Identifier: MIT
// Removal of ghosts: blobs of an edge band whose defect has a blob of its own one pitch inward.
#include <algorithm>
#include <cstdint>
#include <limits>

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

/// Where ghosts lie.
struct SArea
{
    int nLeft = std::numeric_limits<int>::max();
    int nTop = std::numeric_limits<int>::max();
    int nRight = std::numeric_limits<int>::min();
    int nBottom = std::numeric_limits<int>::min();

    void Include(const CPoint& pt)
    {
        nLeft = std::min(nLeft, pt.x);
        nTop = std::min(nTop, pt.y);
        nRight = std::max(nRight, pt.x);
        nBottom = std::max(nBottom, pt.y);
    }
    /// Whether a place in it may lie in the widened rectangle.
    bool Touches(const CRect& rt) const
    {
        const std::int64_t nReach = nWiden;
        return rt.left - nReach <= nRight && nLeft <= rt.right + nReach && rt.top - nReach <= nBottom &&
               nTop <= rt.bottom + nReach;
    }
};

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
        const bool bGrid = m_nCount > nPlainLimit && BuildGrid();
        for (int i = 0; i < m_nCount; ++i)
        {
            CDefectBlob& blob = m_pBlobs[i];
            if (!IsOfEdgeBand(blob))
                continue;
            const CPoint ptGhost = GetGhost(blob);
            if (bGrid ? HasNeighbourByGrid(i, ptGhost) : HasNeighbourPlainly(i, ptGhost))
                blob.bRemoved = 1;
        }
    }

private:
    static bool IsOfEdgeBand(const CDefectBlob& blob)
    {
        return blob.nDefectPos == DefectPos_First || blob.nDefectPos == DefectPos_Last;
    }

    // Only the blobs around the places that ghosts point at are looked for: those of a pitch or two at either end.
    bool BuildGrid()
    {
        SArea first;
        SArea last;
        for (int i = 0; i < m_nCount; ++i)
        {
            if (IsOfEdgeBand(m_pBlobs[i]))
                (m_pBlobs[i].nDefectPos == DefectPos_First ? first : last).Include(GetGhost(m_pBlobs[i]));
        }
        if (!m_grid.Start(m_nCount, nWiden, false))
            return false;
        for (int i = 0; i < m_nCount; ++i)
        {
            if (first.Touches(m_pBlobs[i].rtDefect) || last.Touches(m_pBlobs[i].rtDefect))
                m_grid.Add(m_pBlobs[i], i);
        }
        return m_grid.Finish();
    }

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
                             const SGridBlob& other = m_grid.GetBlob(nOther);
                             bFound = other.nMark != nBlob && IsNear(other.rtDefect, pt);
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
