// SPDX-License-Identifier: MIT
// The twice kernels: both passes, the removal of duplicates, and the blob steps of each.
#include "narvoassem/compare/pixel_twice.h"

#include <cstdint>
#include <cstdlib>

#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/fast/pixel/pixel_table.h"
#include "narvoassem/narvoassem.h"

namespace narvo::engine
{

namespace
{

/// |a - b| < 2
bool IsNear(int a, int b)
{
    return std::abs(static_cast<std::int64_t>(a) - b) < 2;
}

/// Marks pairs nSecond .. nEnd - 1 that lie beside one of nFirst .. nSecond - 1, in one walk over the second pass for
/// each pair of the first. The walk ends at the first pair that lies two lines on along the scan; in strips, where
/// pairs are not in order along it, pairs after that one are not looked at, on purpose.
void RemoveDuplicates(const CPairSink& pairs, bool bVertical, std::int64_t nFirst, std::int64_t nSecond,
                      std::int64_t nEnd)
{
    for (std::int64_t i = nFirst; i < nSecond; ++i)
    {
        const CDefectPair& first = pairs.At(i);
        if (first.nDefectType == DefectType_Removed)
            continue;
        const int nLine = bVertical ? first.ptDefect.x : first.ptDefect.y;
        for (std::int64_t j = nSecond; j < nEnd; ++j)
        {
            CDefectPair& second = pairs.At(j);
            if (second.nDefectType == DefectType_Removed)
                continue;
            if (nLine < static_cast<std::int64_t>(bVertical ? second.ptDefect.x : second.ptDefect.y) - 1)
                break;
            if (IsNear(first.ptDefect.x, second.ptDefect.x) && IsNear(first.ptDefect.y, second.ptDefect.y))
                second.nDefectType = DefectType_Removed;
        }
    }
}

} // namespace

int RunPixelTwice(CNarvoAssem& assem, PixelKernel eKernel, const CPixelCall& call, std::int64_t nTwicePitch16,
                  const CThresholdSet& twice)
{
    const CBlobSteps steps = {.bVertical = !GetKernelRow(eKernel).traits.scan.bHorizontal};
    const int nAfterFirst = RunPixelKernel(eKernel, call);
    CPixelCall second = call;
    second.pairs.nCount = nAfterFirst;
    second.nPitch16 = nTwicePitch16;
    second.first = twice;
    const int nAfterSecond = RunPixelKernel(eKernel, second);
    RemoveDuplicates(call.pairs, steps.bVertical, call.pairs.nCount, nAfterFirst, nAfterSecond);

    assem.nPairCount = nAfterFirst;
    FinishBlobs(assem, steps, assem.nBlobCount);

    // The second build filters by the thresholds and the pitch of its own pass, over all pairs.
    CConvParam& param = assem.ConvParam;
    const int nThreshold = param.nThreshold;
    const int nThresholdGain = param.nThresholdGain;
    const double dConvPitch = param.dConvPitch;
    const double dScanPitch = param.dScanPitch;
    param.nThreshold = param.nTwiceThreshold;
    param.nThresholdGain = param.nTwiceThresholdGain;
    param.dConvPitch = param.dTwicePitch;
    param.dScanPitch = param.dTwicePitch;
    assem.nPairCount = nAfterSecond;
    FinishBlobs(assem, steps, assem.nBlobCount);
    param.nThreshold = nThreshold;
    param.nThresholdGain = nThresholdGain;
    param.dConvPitch = dConvPitch;
    param.dScanPitch = dScanPitch;
    return nAfterSecond;
}

} // namespace narvo::engine
