// SPDX-License-Identifier: MIT
// Runs a scene through the library's trapezium kernels: by name, argument by argument, or through the common record.
// Values that a kernel must not read are obviously invalid.
#include <algorithm>

#include "fast/trapezium_scene.h"
#include "narvoassem/fastkernels.h"

namespace narvo::test
{

namespace
{

constexpr std::int64_t nUnread = 0x7777;

/// Line buffer as long as any line of the trapezium needs.
std::vector<short> LineBuffer(std::int64_t nLines)
{
    return std::vector<short>(static_cast<std::size_t>((std::max<std::int64_t>(nLines, 0) + 64) * 16), nShortUntouched);
}

} // namespace

void RunPublic(const CTrapeziumHoriScene& scene, CKernelOutcome& outcome)
{
    const auto c = CallOf(scene, outcome);
    const engine::CHitArrays& hits = c.hits;
    std::vector<short> aLine = LineBuffer(std::max(c.nRightTop, c.nRightBottom) - std::min(c.nLeftTop, c.nLeftBottom));
    outcome.nReturned = ConvTrapeziumHori(
        const_cast<unsigned char*>(c.image.pPixels), aLine.data(), hits.nSize, hits.nCount, c.nTop, c.nBottom,
        c.nLeftTop, c.nLeftBottom, c.nRightTop, c.nRightBottom, c.nThreshold16, c.nGrayLimit, hits.pX, hits.pY,
        hits.pType, hits.pPeak, nUnread, c.nPitch16, nUnread, c.nPitchRound, c.pairs.pBase, c.pairs.nCount,
        c.pairs.nSize, c.pairs.nStride, c.image.nStride, const_cast<int*>(c.pPitchTable), c.bKeepSingle);
}

void RunPublic(const CTrapeziumVertScene& scene, CKernelOutcome& outcome)
{
    const auto c = CallOf(scene, outcome);
    const engine::CHitArrays& hits = c.hits;
    std::vector<short> aLine = LineBuffer(std::max(c.nBottomLeft, c.nBottomRight) - std::min(c.nTopLeft, c.nTopRight));
    outcome.nReturned = ConvTrapeziumVert(
        const_cast<unsigned char*>(c.image.pPixels), aLine.data(), hits.nSize, hits.nCount, c.nLeft, c.nRight,
        c.nTopLeft, c.nBottomLeft, hits.pX, hits.pY, hits.pType, hits.pPeak, c.pairs.pBase, c.pairs.nCount,
        c.pairs.nSize, c.pairs.nStride, c.image.nStride, c.nPitch16, c.nThreshold16, c.nGrayLimit, nUnread, c.nTopRight,
        c.nBottomRight, const_cast<int*>(c.pPitchTable), c.nConvPitch16, c.bKeepSingle);
}

void RunThroughCall(const CTrapeziumHoriScene& scene, CKernelOutcome& outcome)
{
    const engine::CTrapeziumHoriCall call = CallOf(scene, outcome);
    outcome.nReturned = engine::RunTrapeziumHori(call);
}

void RunThroughCall(const CTrapeziumVertScene& scene, CKernelOutcome& outcome)
{
    const engine::CTrapeziumVertCall call = CallOf(scene, outcome);
    outcome.nReturned = engine::RunTrapeziumVert(call);
}

} // namespace narvo::test
