// SPDX-License-Identifier: MIT
// Mean difference of a block of the image and the block one pitch on, for classification.
#include <algorithm>
#include <cstdint>

#include "narvoassem/base/pixel_read.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/blobstorage.h"

using namespace narvo::engine;

namespace
{

// fnReference(i, j) gives the reference for row i and column j of the source block; the callers read it with the two
// exchanged, so that it runs over the transposed block.
template <class TReference>
int GetMeanDifference(const CPixelReader& reader, int x, int y, int nWidth, int nHeight, int nClip,
                      TReference fnReference)
{
    double dSum = 0.0;
    double dRefSum = 0.0;
    for (std::int64_t i = 0; i < nHeight; ++i)
    {
        for (std::int64_t j = 0; j < nWidth; ++j)
        {
            dSum += std::min(reader.Read(x + j, y + i), nClip);
            dRefSum += std::min(TruncateToInt(fnReference(i, j)), nClip);
        }
    }
    // An empty block divides 0 by 0, which truncates to 0.
    return TruncateToInt((dSum - dRefSum) / WrapMul(nWidth, nHeight));
}

} // namespace

int CBlobStorage::GetAreaValue(int x, int y, int nWidth, int nHeight, double dPitch, int nClip) const
{
    const CPixelReader reader(ConvParam);
    const std::int64_t nPitch = TruncateToInt(dPitch);
    const double dFrac = dPitch - static_cast<double>(nPitch);
    return GetMeanDifference(reader, x, y, nWidth, nHeight, nClip,
                             [&](std::int64_t i, std::int64_t j) {
                                 return reader.Read(x + i + nPitch, y + j) * (1.0 - dFrac) +
                                        reader.Read(x + i + nPitch + 1, y + j) * dFrac;
                             });
}

int CBlobStorage::GetAreaValueVert(int x, int y, int nWidth, int nHeight, double dPitch, int nClip) const
{
    const CPixelReader reader(ConvParam);
    const std::int64_t nPitch = TruncateToInt(dPitch);
    const double dFrac = dPitch - static_cast<double>(nPitch);
    if (y + nPitch + 1 >= ConvParam.nImageHeight)
        return 0;
    return GetMeanDifference(reader, x, y, nWidth, nHeight, nClip,
                             [&](std::int64_t i, std::int64_t j) {
                                 return reader.Read(x + i, y + j + nPitch) * (1.0 - dFrac) +
                                        reader.Read(x + i, y + j + nPitch + 1) * dFrac;
                             });
}
