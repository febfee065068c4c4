// Compaction and the real-scale diameter.
#include "narvoassem/storage/blob_tidy.h"

#include <algorithm>
#include <cmath>

#include "narvoassem/storage/pixel_read.h"
#include "narvoassem/storage/wrap_arith.h"

void narvo::CompactBlobs(CBlobStorage& store, int nFirstBlob)
{
    if (nFirstBlob >= store.nBlobCount)
        return;
    int nNext = nFirstBlob;
    for (int i = nFirstBlob; i < store.nBlobCount; ++i)
    {
        if (store.pBlob[i].bRemoved == 0)
            store.pBlob[nNext++] = store.pBlob[i];
    }
    store.nBlobCount = nNext;
}

int CBlobStorage::CalcRScale(const CPoint* pPoints) const
{
    double dGreatest = 0.0; // squared
    for (int i = 0; i < CDefectBlob::nExtremeCount; ++i)
    {
        for (int j = i + 1; j < CDefectBlob::nExtremeCount; ++j)
        {
            // The fields are crossed: hosts fill the size along x into the one named Y.
            const double dDx = narvo::WrapSub(pPoints[i].x, pPoints[j].x) * ConvParam.dPixelSizeY;
            const double dDy = narvo::WrapSub(pPoints[i].y, pPoints[j].y) * ConvParam.dPixelSizeX;
            dGreatest = std::max(dGreatest, dDx * dDx + dDy * dDy);
        }
    }
    return narvo::TruncToInt(std::sqrt(dGreatest) + 0.5);
}
