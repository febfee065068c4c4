// SPDX-License-Identifier: MIT
// The six block differences; one sum along each axis serves all of them.
#include "narvoassem/storage/filters/convolution_difference.h"

#include "narvoassem/base/pixel_read.h"

namespace narvo::engine
{

namespace
{

// fnRead(nAlong, nAcross) reads a pixel by its coordinate along the pitch and across it. The order of the sums is
// fixed: results are compared after truncation, and the last bit of a double can decide.
template <class TRead>
double GetDifference(TRead fnRead, int nAlong, int nAcross, int nAlongSize, int nAcrossSize, double dPitch)
{
    const double dPos = nAlong + dPitch;
    const std::int64_t nPos = TruncateToInt(dPos);
    const double dFrac = dPos - static_cast<double>(nPos);

    double dSrc = 0.0;
    double dRef = 0.0;
    for (std::int64_t j = 0; j < nAcrossSize; ++j)
    {
        for (std::int64_t i = 0; i < nAlongSize; ++i)
            dSrc += fnRead(nAlong + i, nAcross + j);
        dRef += fnRead(nPos, nAcross + j) * (1.0 - dFrac);
        for (std::int64_t i = 1; i < nAlongSize; ++i)
            dRef += fnRead(nPos + i, nAcross + j);
        dRef += fnRead(nPos + nAlongSize, nAcross + j) * dFrac;
    }
    return dSrc - dRef;
}

double GetDifferenceHori(const CNarvoBufferSudo& view, int x, int y, int nWidth, int nHeight, double dPitch)
{
    const CPixelReader reader(view);
    return GetDifference([&reader](std::int64_t nX, std::int64_t nY) { return reader.Read(nX, nY); }, x, y, nWidth,
                         nHeight, dPitch);
}

double GetDifferenceVert(const CNarvoBufferSudo& view, int x, int y, int nWidth, int nHeight, double dPitch)
{
    const CPixelReader reader(view);
    return GetDifference([&reader](std::int64_t nY, std::int64_t nX) { return reader.Read(nX, nY); }, y, x, nHeight,
                         nWidth, dPitch);
}

} // namespace

double ConvDiffHori1x1(const CNarvoBufferSudo& view, int x, int y, double dPitch)
{
    return GetDifferenceHori(view, x, y, 1, 1, dPitch);
}

double ConvDiffVert1x1(const CNarvoBufferSudo& view, int x, int y, double dPitch)
{
    return GetDifferenceVert(view, x, y, 1, 1, dPitch);
}

double ConvDiffHori2x2(const CNarvoBufferSudo& view, int x, int y, double dPitch)
{
    return GetDifferenceHori(view, x, y, 2, 2, dPitch);
}

double ConvDiffVert2x2(const CNarvoBufferSudo& view, int x, int y, double dPitch)
{
    return GetDifferenceVert(view, x, y, 2, 2, dPitch);
}

double ConvDiffHori3x2(const CNarvoBufferSudo& view, int x, int y, double dPitch)
{
    return GetDifferenceHori(view, x, y, 3, 2, dPitch);
}

double ConvDiffVert2x3(const CNarvoBufferSudo& view, int x, int y, double dPitch)
{
    return GetDifferenceVert(view, x, y, 2, 3, dPitch);
}

} // namespace narvo::engine
