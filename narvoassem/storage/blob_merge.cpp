// Merging of blobs that the grouping pass left apart.
#include <cstdint>

#include "narvoassem/blobstorage.h"
#include "narvoassem/storage/blob_tidy.h"

namespace narvo
{

namespace
{

// Four plain inequalities: right and bottom are exclusive, so the reach is one pixel less on those sides.
bool IsWithin(const CRect& rtA, const CRect& rtB, std::int64_t nDist)
{
    return rtA.bottom + nDist >= rtB.top && rtA.top - nDist <= rtB.bottom && rtA.right + nDist >= rtB.left &&
           rtA.left - nDist <= rtB.right;
}

void Merge(CBlobStorage& store, CDefectBlob& blob, CDefectBlob& absorbed)
{
    blob.MergeBlob(absorbed);
    absorbed.bRemoved = 1;
    ++store.nMergedBlob;
}

void Finish(CBlobStorage& store, int nFirstBlob)
{
    CompactBlobs(store, nFirstBlob);
    for (int i = nFirstBlob; i < store.nBlobCount; ++i)
        store.pBlob[i].nRScale = store.CalcRScale(store.pBlob[i].ptExtreme);
}

} // namespace

} // namespace narvo

int CBlobStorage::MergeDivision(int nFirstBlob, int nDist)
{
    for (int i = nFirstBlob; i < nBlobCount; ++i)
    {
        CDefectBlob& blob = pBlob[i];
        for (int j = i + 1; j < nBlobCount && blob.bRemoved == 0; ++j)
        {
            CDefectBlob& other = pBlob[j];
            if (other.nDefectType == blob.nDefectType && other.bRemoved == 0 &&
                narvo::IsWithin(blob.rtDefect, other.rtDefect, nDist))
                narvo::Merge(*this, blob, other);
        }
    }
    narvo::Finish(*this, nFirstBlob);
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
                narvo::Merge(*this, pBlob[i], pBlob[j]);
        }
    }
    narvo::Finish(*this, nFirstBlob);
    return 1;
}
