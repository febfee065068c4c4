// The real-scale diameter of a blob.
#include <algorithm>
#include <cmath>

#include "narvoassem/blobstorage.h"
#include "narvoassem/storage/pixel_read.h"
#include "narvoassem/wrap_int.h"

int CBlobStorage::CalcRScale(const CPoint* pPoints) const
{
    if (ConvParam.dPixelSizeX == 0.0 && ConvParam.dPixelSizeY == 0.0)
        return 0; // hosts that give no pixel sizes ask for no diameter
    constexpr int nPoints = CDefectBlob::nExtremeCount;
    constexpr int nHalf = nPoints / 2;
    // Laid out as a ring, so that the points four steps on and nearer make all pairs, in loops of one fixed length
    // that compile to vector code: every blob of a build passes through here.
    int nX[nPoints + nHalf];
    int nY[nPoints + nHalf];
    for (int i = 0; i < nPoints + nHalf; ++i)
    {
        nX[i] = pPoints[i % nPoints].x;
        nY[i] = pPoints[i % nPoints].y;
    }
    double dGreatest[nPoints] = {}; // squared, per first point of a pair
    for (int nStep = 1; nStep <= nHalf; ++nStep)
    {
        for (int i = 0; i < nPoints; ++i)
        {
            // The fields are crossed: hosts fill the size along x into the one named Y.
            const double dDx = narvo::WrapSub(nX[i], nX[i + nStep]) * ConvParam.dPixelSizeY;
            const double dDy = narvo::WrapSub(nY[i], nY[i + nStep]) * ConvParam.dPixelSizeX;
            dGreatest[i] = std::max(dGreatest[i], dDx * dDx + dDy * dDy);
        }
    }
    return narvo::TruncateToInt(std::sqrt(*std::max_element(dGreatest, dGreatest + nPoints)) + 0.5);
}
