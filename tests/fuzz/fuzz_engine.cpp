// SPDX-License-Identifier: MIT
// Bytes make an inspection; the pool runs it at every vector level, and once more on the plain scalar kernels. Code,
// pairs and blobs must be the same to the bit, refusals those of the checks, and results consistent. Image and
// tables are heap blocks of exactly the size that the block declares.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/kernel_exchange.h"
#include "fuzz/require.h"
#include "narvoassem/compare/comparison.h"
#include "reference/check_reference.h"
#include "reference/side_mode_reference.h"
#include "soak/case_entry.h"
#include "soak/case_maker.h"
#include "soak/case_runner.h"
#include "support/vector_levels.h"

namespace
{

using namespace narvo::test;

void RequireExpectedCode(const CSoakCase& soakCase, const CCaseResult& result)
{
    const int nRefusal = soakCase.nLane != 0 ? 8 : ExpectRefusal(soakCase.param, EntryOf(soakCase.eCall));
    if (nRefusal != 0)
    {
        Require(result.nCode == nRefusal, "code " + std::to_string(result.nCode) + " is " + std::to_string(nRefusal));
        Require(result.nPairs == 0 && result.nBlobs == 0, "a refused block leaves nothing");
        return;
    }
    Require(result.nCode == 1 || result.nCode == 16, "code " + std::to_string(result.nCode) + " is 1 or 16");
}

bool IsBetween(int nValue, int nLow, int nHigh)
{
    return nLow <= nValue && nValue <= nHigh;
}

void RequireSoundPair(const CDefectPair& pair)
{
    Require(IsBetween(pair.nDefectType, 0, 4) && pair.nDefectType != 2, "pair type");
    Require(IsBetween(pair.nDefectPos, 0, 3), "pair position");
    Require(pair.nDefectPair == 1 || IsBetween(pair.nDefectPair, 3, 5), "pair kind");
}

void RequireSoundBlob(const CDefectBlob& blob)
{
    Require(blob.nDefectType == 0 || blob.nDefectType == 1, "blob type");
    Require(blob.nPairCount >= 1, "a blob has pairs");
    Require(blob.bRemoved == 0, "no dead blob is left");
    Require(!blob.rtDefect.IsRectEmpty(), "a blob has bounds");
    Require(blob.rtDefect.PtInRect(blob.ptPeak), "the peak lies in the blob");
    const std::int64_t nArea = std::int64_t{blob.rtDefect.Width()} * blob.rtDefect.Height();
    Require(nArea >= 1, "the bounds hold a pixel");
    for (int i = 0; i < CDefectBlob::nExtremeCount; ++i)
    {
        const CPoint& pt = blob.ptExtreme[i];
        Require(IsBetween(pt.x, blob.rtDefect.left, blob.rtDefect.right) &&
                    IsBetween(pt.y, blob.rtDefect.top, blob.rtDefect.bottom),
                "extremes lie on the bounds");
    }
}

/// The records of binarise and average mode, one pixel at a time.
void RequireSideMode(const CSoakCase& soakCase, CCaseRunner& runner)
{
    CNarvoAssem& lane = runner.Lane();
    const CConvParam& param = runner.Param();
    const narvo::engine::Comparison eComparison = narvo::engine::ChooseComparison(param);
    const bool bAverage = eComparison == narvo::engine::Comparison::Average;
    if (soakCase.eCall != CaseCall::Rect || soakCase.eSplit != CaseSplit::None ||
        (!bAverage && eComparison != narvo::engine::Comparison::Binarise) || lane.nReinspectCount != 0 ||
        param.pImage == nullptr || param.rtInspect.IsRectEmpty())
        return;
    if (bAverage && (param.nAverageParam2 < 1 || param.nAverageParam1 < param.nAverageParam2))
        return; // windows without area: nothing is a hit, and the plain form does not say so
    std::vector<CDefectPair> pairs(static_cast<std::size_t>(lane.nPairSize) + 1);
    const CSideModeResult expected =
        bAverage ? AverageReference(param.pImage, param.nImageWidth, param.rtInspect, param.nBlackFilterGray,
                                    param.nThreshold, param.nGrayLimit, pairs, 0, lane.nPairSize, param.nAverageParam2,
                                    param.nAverageParam1)
                 : BinariseReference(param.pImage, 0, param.nThreshold, param.rtInspect, param.nImageWidth, pairs, 0,
                                     lane.nPairSize);
    Require(lane.nPairCount == expected.nPairCount, "as many records as pixel by pixel");
    for (int i = 0; i < lane.nPairCount; ++i)
    {
        const CDefectPair& found = lane.pPair[i];
        const CDefectPair& plain = pairs[static_cast<std::size_t>(i)];
        Require(found.ptDefect == plain.ptDefect && found.nPeak == plain.nPeak && found.nSrcGray == plain.nSrcGray &&
                    found.nCmpGray == plain.nCmpGray && found.nThreshold == plain.nThreshold,
                "record " + std::to_string(i) + " as pixel by pixel");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes)
{
    static CCaseMaker maker(CCaseMaker::Memory::Exact, CCaseMaker::Sizes::Small);
    static CCaseRunner runner;
    static const std::vector<std::int64_t> aLevels = VectorLevels();

    CByteSource source(pBytes, nBytes);
    const CSoakCase& soakCase = maker.Make(source);
    CForcedLevel forced(aLevels.front());
    const CCaseResult best = runner.Run(soakCase, true);
    RequireExpectedCode(soakCase, best);
    if (soakCase.nLane == 0)
    {
        Require(best.nBlobs <= runner.Lane().nBlobSize, "blobs fit their store");
        runner.Visit(RequireSoundPair, RequireSoundBlob);
        if (best.nCode == 1 || best.nCode == 16)
            RequireSideMode(soakCase, runner);
    }
    for (std::size_t i = 1; i < aLevels.size(); ++i)
    {
        forced.Change(aLevels[i]);
        Require(runner.Run(soakCase, true).nHash == best.nHash, "level " + LevelName(aLevels[i]) + " answers alike");
    }
    const CPlainKernels plain;
    Require(runner.Run(soakCase, true).nHash == best.nHash, "the plain kernels answer alike");
    const bool bSideMode = soakCase.param.nInspectMode == 2 || soakCase.param.nInspectMode == 3;
    Require(best.nPairs == 0 || bSideMode || plain.GetRuns() > 0, "the plain kernels have run");
    return 0;
}
