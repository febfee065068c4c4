// SPDX-License-Identifier: MIT
// See inspection_lines.h.
#include "bench/inspection_lines.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <vector>

#include "bench/bench_timer.h"
#include "bench/opencv_compare.h"
#include "measure/level_choice.h"

namespace bench
{

int InspectAnew(CNarvoAssem& engine, CConvParam& param)
{
    engine.ResetNarvoAssem();
    engine.ResetReinspectCount();
    return engine.Inspect_Rect(&param);
}

namespace
{

/// A whole inspection and its kernel, with their working memory.
class CInspectionBench
{
public:
    CInspectionBench(CScene& scene, const SInspection& inspection)
        : m_inspection(inspection), m_param(inspection.param), m_hits(160000), m_pairs(200000),
          m_buffer(static_cast<std::size_t>(scene.nHeight + 4) * 16)
    {
        m_engine.InitAssem(0, nBlobs);
        m_call = {&scene, &m_hits, &m_pairs, &m_buffer, &m_engine, m_param.nThresholdExtra, m_param.nGrayLimit, 0, 0};
        // Both sides must do the same work: the inspection's pairs are those of the kernel.
        const int nResult = Inspect();
        const int nPairs = RunKernel();
        if (nResult == 1 && m_engine.GetPairCount() == nPairs && (m_engine.GetBlobCount() != 0) == (nPairs != 0))
            return;
        std::cerr << Name() << " answers " << nResult << " with " << m_engine.GetPairCount() << " pairs and "
                  << m_engine.GetBlobCount() << " blobs, its kernel gives " << nPairs << " pairs\n";
        std::exit(2);
    }

    std::string Name() const { return m_inspection.strName + ", " + m_inspection.strDensity; }
    int Inspect() { return InspectAnew(m_engine, m_param); }
    int RunKernel() { return m_inspection.pKernel(m_call); }
    int BlobCount() const { return m_engine.GetBlobCount(); }

private:
    const SInspection& m_inspection;
    CConvParam m_param;
    CNarvoAssem m_engine;
    SHitBuffers m_hits;
    std::vector<CDefectPair> m_pairs;
    std::vector<short> m_buffer;
    SKernelCall m_call;
};

} // namespace

void AddShareLines(CTable& table, CScene& scene, const SInspection& inspection, const SShareTargets& targets,
                   const SOptions& options)
{
    CInspectionBench bench(scene, inspection);
    struct STarget
    {
        const char* pLevel;
        double dShare;
    };
    std::vector<STarget> wanted;
    for (const STarget& target :
         {STarget{"AVX-512", targets.dAvx512}, {"AVX2", targets.dAvx2}, {"SSSE3", targets.dSsse3}})
        if (target.dShare > 0.0)
            wanted.push_back(target);

    std::vector<Action> actions = {[&] { scene.Read(); }, [&] { scene.ReadBest(); }, [&] { bench.RunKernel(); },
                                   [&] { bench.Inspect(); }};
    std::vector<std::size_t> at;
    for (const STarget& target : wanted)
    {
        const std::vector<measure::SLevel> levels = measure::Levels();
        const auto level =
            std::find_if(levels.begin(), levels.end(),
                         [&](const measure::SLevel& one) { return std::string(target.pLevel) == one.pName; });
        at.push_back(level == levels.end() ? 0 : actions.size());
        if (level != levels.end())
            actions.push_back(
                [&bench, nTarget = level->nTarget]
                {
                    measure::UseLevel(nTarget);
                    bench.Inspect();
                });
    }
    const std::vector<double> times = TimeInterleaved(actions, options.Rounds(9));
    measure::UseWidestLevel();

    const std::string strCase = bench.Name();
    table.Note(strCase, static_cast<double>(scene.Pixels()) / times[3] * 1e-9, "GPix/s");
    table.Note(strCase + ", blobs", bench.BlobCount(), "");
    for (std::size_t i = 0; i < wanted.size(); ++i)
    {
        const std::string strName = strCase + ", " + wanted[i].pLevel + ", share of reading alone";
        if (at[i] == 0)
            table.Absent(strName, "x", Bound::AtLeast, wanted[i].dShare);
        else
            table.Require(strName, times[0] / times[at[i]], "x", Bound::AtLeast, wanted[i].dShare);
    }
    table.Note(strCase + ", share of the best read pass", times[1] / times[3], "x");
    table.Note(strCase + ", share of the comparison in its time", times[2] / times[3], "x");
    table.Note(strCase + ", share of what follows the comparison", 1.0 - times[2] / times[3], "x");
}

void AddInspectionLines(CTable& table, CScene& scene, const SInspection& inspection, const SOptions& options)
{
    CInspectionBench bench(scene, inspection);
    COpenCvCompare peer(scene, inspection.nWindow, inspection.dBase, inspection.dGain / 256.0);
    const int nRows = peer.FastestRows();
    const std::vector<double> fast = TimeInterleaved({[&] { bench.RunKernel(); }}, options.Rounds(9));
    // With components or contours a run takes seconds: few rounds suffice, since no target depends on them.
    const std::vector<double> slow = TimeInterleaved({[&] { peer.Compare(nRows); },
                                                      [&]
                                                      {
                                                          peer.Compare(nRows);
                                                          peer.Components();
                                                      },
                                                      [&]
                                                      {
                                                          peer.Compare(nRows);
                                                          peer.Contours();
                                                      },
                                                      [&] { bench.Inspect(); }},
                                                     options.Rounds(2));
    const double dPixels = static_cast<double>(scene.Pixels());
    const std::string strCase = bench.Name();
    const std::string strPeer = "OpenCV operators for " + inspection.strName;
    table.Note(strPeer + ", blocks of " + std::to_string(nRows) + " rows", dPixels / slow[0] * 1e-9, "GPix/s");
    table.Note(strPeer + ", mask pixels", 100.0 * peer.CountMask() / dPixels, "%");
    table.Note(strPeer + ", with components", dPixels / slow[1] * 1e-9, "GPix/s");
    table.Note(strPeer + ", with contours", dPixels / slow[2] * 1e-9, "GPix/s");
    table.Note(std::string(inspection.pKernelName) + ", times OpenCV operators", slow[0] / fast[0], "x");
    table.Require(strCase + ", times OpenCV operators and components", slow[1] / slow[3], "x", Bound::AtLeast,
                  inspection.dOfComponents);
    table.Require(strCase + ", times OpenCV operators and contours", slow[2] / slow[3], "x", Bound::AtLeast, 5.0);
}

} // namespace bench
