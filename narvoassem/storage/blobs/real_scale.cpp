// SPDX-License-Identifier: MIT
// The real-scale diameter of a blob.
#include <algorithm>
#include <cmath>

#include "narvoassem/base/pixel_read.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/blobstorage.h"

using namespace narvo::engine;

namespace
{

/// The smallest box around the points, its limits included.
struct CPointBounds
{
    CPoint ptLow;
    CPoint ptHigh;

    explicit CPointBounds(const CPoint* pPoints) : ptLow(pPoints[0]), ptHigh(pPoints[0])
    {
        for (int i = 1; i < CDefectBlob::nExtremeCount; ++i)
        {
            ptLow = CPoint(std::min(ptLow.x, pPoints[i].x), std::min(ptLow.y, pPoints[i].y));
            ptHigh = CPoint(std::max(ptHigh.x, pPoints[i].x), std::max(ptHigh.y, pPoints[i].y));
        }
    }

    /// Whether two of the points lie in opposite corners.
    bool HasDiagonal(const CPoint* pPoints) const
    {
        bool bLowLow = false;
        bool bHighHigh = false;
        bool bLowHigh = false;
        bool bHighLow = false;
        for (int i = 0; i < CDefectBlob::nExtremeCount; ++i)
        {
            const bool bLeft = pPoints[i].x == ptLow.x;
            const bool bRight = pPoints[i].x == ptHigh.x;
            const bool bTop = pPoints[i].y == ptLow.y;
            const bool bBottom = pPoints[i].y == ptHigh.y;
            bLowLow |= bLeft && bTop;
            bHighHigh |= bRight && bBottom;
            bLowHigh |= bLeft && bBottom;
            bHighLow |= bRight && bTop;
        }
        return (bLowLow && bHighHigh) || (bLowHigh && bHighLow);
    }
};

} // namespace

int CBlobStorage::CalcRScale(const CPoint* pPoints) const
{
    if (ConvParam.dPixelSizeX == 0.0 && ConvParam.dPixelSizeY == 0.0)
        return 0; // hosts that give no pixel sizes want no diameter
    // The fields are crossed: hosts fill the size along x into the one named Y.
    const auto getSquare = [this](int nDx, int nDy)
    {
        const double dDx = nDx * ConvParam.dPixelSizeY;
        const double dDy = nDy * ConvParam.dPixelSizeX;
        return dDx * dDx + dDy * dDy;
    };
    const auto getDiameter = [](double dSquare) { return TruncateToInt(std::sqrt(dSquare) + 0.5); };

    // No two points lie further apart than opposite corners, which small blobs reach.
    const CPointBounds bounds(pPoints);
    const int nWidth = WrapSub(bounds.ptHigh.x, bounds.ptLow.x);
    const int nHeight = WrapSub(bounds.ptHigh.y, bounds.ptLow.y);
    if (nWidth >= 0 && nHeight >= 0 && bounds.HasDiagonal(pPoints))
        return getDiameter(std::max(0.0, getSquare(nWidth, nHeight)));

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
            dGreatest[i] =
                std::max(dGreatest[i], getSquare(WrapSub(nX[i], nX[i + nStep]), WrapSub(nY[i], nY[i + nStep])));
    }
    return getDiameter(*std::max_element(dGreatest, dGreatest + nPoints));
}
