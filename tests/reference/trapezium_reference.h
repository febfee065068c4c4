// The two trapezium kernels in plain scalar form. This is what the kernels of the library are held against; it shares
// none of their code.
#pragma once

#include <cstdint>

#include "narvoassem/fast/kernel_call.h"

namespace narvo::reference
{

/// What both kernels take. Of the hit arrays x, y, type and peak are used.
struct CTrapeziumReferenceCall
{
    CImageView image;
    CHitArrays hits;
    CPairSink pairs;
    std::int64_t nThreshold16 = 0; ///< 1/64 grey level
    std::int64_t nGrayLimit = 255;
    std::int64_t nPitch16 = 0;
    const int* pPitchTable = nullptr;
    std::int64_t bKeepSingle = 0;
};

/// ConvTrapeziumHori: rows from nTop to nBottom between two slanted sides.
struct CTrapeziumHoriCall : CTrapeziumReferenceCall
{
    std::int64_t nTop = 0;
    std::int64_t nBottom = 0;
    std::int64_t nLeftTop = 0;
    std::int64_t nLeftBottom = 0;
    std::int64_t nRightTop = 0;
    std::int64_t nRightBottom = 0;
    std::int64_t nPitchRound = 0;
};

/// ConvTrapeziumVert: columns from nLeft to nRight between two slanted sides.
struct CTrapeziumVertCall : CTrapeziumReferenceCall
{
    std::int64_t nLeft = 0;
    std::int64_t nRight = 0;
    std::int64_t nTopLeft = 0;
    std::int64_t nBottomLeft = 0;
    std::int64_t nTopRight = 0;
    std::int64_t nBottomRight = 0;
    std::int64_t nConvPitch16 = 0;
};

/// Both run on the call's own image, hit arrays and pair array. A known image height (image.nRows) bounds every read:
/// first the row, then the flat address. @return the new pair count
int RunTrapeziumHori(const CTrapeziumHoriCall& call);
int RunTrapeziumVert(const CTrapeziumVertCall& call);

} // namespace narvo::reference
