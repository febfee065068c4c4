// Removal of ghosts: blobs of an edge band whose defect has a blob of its own one pitch inward.
#include <cstdint>

#include "narvoassem/blobstorage.h"
#include "narvoassem/storage/blob_tidy.h"
#include "narvoassem/storage/pixel_read.h"

namespace narvo
{

namespace
{

constexpr std::int64_t nWiden = 3; ///< pixels that a neighbour's rectangle is widened by on all sides

bool IsNear(const CRect& rt, const CPoint& pt)
{
    return rt.left - nWiden <= pt.x && pt.x < rt.right + nWiden && rt.top - nWiden <= pt.y && pt.y < rt.bottom + nWiden;
}

// Blobs already marked still count as neighbours: of two ghosts one pitch apart both can go.
bool HasNeighbour(const CBlobStorage& store, int nFirstBlob, int nBlob, const CPoint& pt)
{
    for (int i = nFirstBlob; i < store.nBlobCount; ++i)
    {
        if (i != nBlob && IsNear(store.pBlob[i].rtDefect, pt))
            return true;
    }
    return false;
}

void RemoveGhosts(CBlobStorage& store, int nFirstBlob, double dPitch, int CPoint::*pAxis)
{
    for (int i = nFirstBlob; i < store.nBlobCount; ++i)
    {
        CDefectBlob& blob = store.pBlob[i];
        if (blob.nDefectPos != DefectPos_First && blob.nDefectPos != DefectPos_Last)
            continue;
        CPoint ptGhost = blob.ptCenter;
        ptGhost.*pAxis =
            TruncToInt(blob.nDefectPos == DefectPos_First ? ptGhost.*pAxis + dPitch : ptGhost.*pAxis - dPitch);
        if (HasNeighbour(store, nFirstBlob, i, ptGhost))
            blob.bRemoved = 1;
    }
    CompactBlobs(store, nFirstBlob);
}

} // namespace

} // namespace narvo

void CBlobStorage::ShadowFilter(int nFirstBlob, double dPitch)
{
    narvo::RemoveGhosts(*this, nFirstBlob, dPitch, &CPoint::x);
}

void CBlobStorage::ShadowFilterVert(int nFirstBlob, double dPitch)
{
    narvo::RemoveGhosts(*this, nFirstBlob, dPitch, &CPoint::y);
}
