// SPDX-License-Identifier: MIT
// What becomes of a lone defect after the comparison: single pixels scattered over the image, whose pairs have no
// neighbour, from their pairs to the blobs that are left.
#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "bench/bench_lines.h"
#include "bench/bench_timer.h"
#include "bench/inspection_lines.h"
#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/compare/comparison_steps.h"

namespace bench
{

namespace
{

using namespace narvo::engine;

/// About 10,000 on the large image.
constexpr SDensity densityLone = {0.000075, "lone defects"};

void AddLoneLine(CTable& table, CScene& scene, bool bVertical, const SOptions& options)
{
    CConvParam param = scene.RegionParam(bVertical);
    param.nThreshold = flatFirst.nBase;
    param.nThresholdGain = flatFirst.nGain;
    CNarvoAssem engine;
    engine.InitAssem(0, nBlobs);
    InspectAnew(engine, param);

    // The steps change the pairs, so each round begins with those of the comparison.
    engine.ResetNarvoAssem();
    engine.ConvParam = param;
    const Comparison eComparison = ChooseComparison(param);
    int nEndLine = 0;
    engine.nPairCount = RunComparison(engine, eComparison, nEndLine);
    const std::vector<CDefectPair> pairs(engine.pPair, engine.pPair + engine.nPairCount);
    const CBlobSteps steps = GetBlobSteps(param, eComparison);
    double dBest = std::numeric_limits<double>::infinity();
    for (int nRound = -1; nRound < options.Rounds(30); ++nRound)
    {
        std::copy(pairs.begin(), pairs.end(), engine.pPair);
        engine.nPairCount = static_cast<int>(pairs.size());
        const double dStart = Now();
        engine.ResetBlobStorage();
        FinishBlobs(engine, steps, 0);
        if (nRound >= 0)
            dBest = std::min(dBest, Now() - dStart);
    }
    const std::string strCase =
        std::string("a lone defect after the comparison, ") + (bVertical ? "vertical" : "horizontal");
    table.Note(strCase + ", blobs", engine.GetBlobCount(), "");
    table.Require(strCase, dBest / static_cast<double>(pairs.size()) * 1e9, "ns", Bound::AtMost, 110.0);
}

} // namespace

void AddLoneLines(CTable& table, CScene& scene, const SOptions& options)
{
    scene.SetDensity(densityLone);
    for (const bool bVertical : {true, false})
        AddLoneLine(table, scene, bVertical, options);
}

} // namespace bench
