// SPDX-License-Identifier: MIT
// See kernel_lines.h.
#include "bench/kernel_lines.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "bench/bench_timer.h"
#include "measure/level_choice.h"

namespace bench
{

namespace
{

/// Both sides of a kernel with their working arrays.
class CKernelBench
{
public:
    CKernelBench(CScene& scene, bool bFewPairs)
        : m_scene(scene), m_hits(160000), m_pairs(bFewPairs ? 100000 : 2000000),
          m_buffer(static_cast<std::size_t>(std::max(scene.nWidth, scene.nHeight) + 4) * 16)
    {
        m_engine.ConvParam = scene.ZoneParam(true);
        m_engine.ConvParam.pTspTable = scene.tspOffsets;
        m_engine.ConvParam.pTspTable2 = scene.tspGains;
        m_engine.ConvParam.nBlackFilterGray = 12;
        m_engine.ConvParam.nBlackFilterGain = 24;
        m_call = {&scene, &m_hits, &m_pairs, &m_buffer, &m_engine, 4, 240, 5, 0};
    }

    SKernelCall& Call() { return m_call; }
    CScene& Scene() { return m_scene; }

    /// Records and end line of one side.
    std::vector<CDefectPair> Records(int (*pKernel)(SKernelCall&), int& nEndLine)
    {
        m_pairs.assign(m_pairs.size(), CDefectPair());
        m_call.nEndLine = -1;
        const int nPairs = pKernel(m_call);
        nEndLine = m_call.nEndLine;
        return {m_pairs.begin(), m_pairs.begin() + nPairs};
    }

private:
    CScene& m_scene;
    SHitBuffers m_hits;
    std::vector<CDefectPair> m_pairs;
    std::vector<short> m_buffer;
    CNarvoAssem m_engine;
    SKernelCall m_call;
};

bool SameRecords(const std::vector<CDefectPair>& a, const std::vector<CDefectPair>& b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(CDefectPair)) == 0);
}

/// Compares the records of every level with the baseline, or with the narrowest level if there is none.
void RequireSameRecords(CKernelBench& kernelBench, const SKernelRow& kernel, const std::vector<measure::SLevel>& levels)
{
    int nExpectedEnd = 0;
    measure::UseLevel(levels.front().nTarget);
    const std::vector<CDefectPair> expected =
        kernelBench.Records(kernel.pPlain != nullptr ? kernel.pPlain : kernel.pLibrary, nExpectedEnd);
    for (const measure::SLevel& level : levels)
    {
        int nEnd = 0;
        measure::UseLevel(level.nTarget);
        const std::vector<CDefectPair> records = kernelBench.Records(kernel.pLibrary, nEnd);
        if (SameRecords(expected, records) && nEnd == nExpectedEnd)
            continue;
        std::cerr << kernel.pName << " at " << level.pName << " gives " << records.size() << " records to line " << nEnd
                  << ", not " << expected.size() << " to line " << nExpectedEnd << ", or other contents\n";
        std::exit(2);
    }
    measure::UseWidestLevel();
}

const measure::SLevel* FindLevel(const std::vector<measure::SLevel>& levels, const std::string& strName)
{
    for (const measure::SLevel& level : levels)
        if (level.pName == strName)
            return &level;
    return nullptr;
}

/// The levels that a row's targets name, those of the machine; all of them with bAll.
std::vector<measure::SLevel> LevelsToTime(const SKernelRow& kernel, bool bAll)
{
    const std::vector<measure::SLevel> all = measure::Levels();
    if (bAll)
        return all;
    std::vector<measure::SLevel> wanted;
    if (const measure::SLevel* pLevel = FindLevel(all, "AVX2"); pLevel != nullptr && kernel.dOverPlainAvx2 > 0.0)
        wanted.push_back(*pLevel);
    if (const measure::SLevel* pLevel = FindLevel(all, "AVX-512"); pLevel != nullptr)
        wanted.push_back(*pLevel);
    return wanted;
}

/// Figures of one kernel, the sides timed in turn.
void AddRowLines(CTable& table, CKernelBench& kernelBench, const SKernelRow& kernel, const SKernelCase& kernelCase,
                 const std::vector<measure::SLevel>& levels, const std::string& strCase, double dPixels)
{
    std::vector<Action> actions = {[&] { kernelBench.Scene().Read(); }};
    for (const measure::SLevel& level : levels)
        actions.push_back(
            [&, level]
            {
                measure::UseLevel(level.nTarget);
                kernel.pLibrary(kernelBench.Call());
            });
    const std::size_t nPlain = actions.size();
    if (kernel.pPlain != nullptr)
        actions.push_back([&] { kernel.pPlain(kernelBench.Call()); });
    const std::size_t nPeer = actions.size();
    const measure::SLevel* const pWide = FindLevel(levels, "AVX-512");
    if (kernel.pPeer != nullptr && pWide != nullptr)
        actions.push_back(
            [&]
            {
                measure::UseLevel(pWide->nTarget);
                kernel.pPeer(kernelBench.Call());
            });
    const std::size_t nBest = actions.size();
    actions.push_back([&] { kernelBench.Scene().ReadBest(); });
    const std::vector<double> times = TimeInterleaved(actions, kernelCase.nRounds, kernelCase.nRepeat);
    measure::UseWidestLevel();

    if (kernel.pPlain != nullptr)
        table.Note(strCase + ", plain kernel", dPixels / times[nPlain] * 1e-9, "GPix/s");
    for (std::size_t i = 0; i < levels.size(); ++i)
        table.Note(strCase + ", " + levels[i].pName, dPixels / times[1 + i] * 1e-9, "GPix/s");
    const auto addRatio = [&](const char* pLevel, const std::string& strWhat, std::size_t nBase, double dTarget)
    {
        const measure::SLevel* const pLevelTimed = FindLevel(levels, pLevel);
        const std::string strName = strCase + ", " + pLevel + ", " + strWhat;
        const bool bJudged = kernelCase.bTargets && dTarget > 0.0;
        if (pLevelTimed == nullptr)
        {
            if (bJudged)
                table.Absent(strName, "x", Bound::AtLeast, dTarget);
            return;
        }
        const double dRatio = times[nBase] / times[1 + static_cast<std::size_t>(pLevelTimed - levels.data())];
        if (bJudged)
            table.Require(strName, dRatio, "x", Bound::AtLeast, dTarget);
        else
            table.Note(strName, dRatio, "x");
    };
    if (kernel.pPlain != nullptr)
    {
        addRatio("AVX2", "times the plain kernel", nPlain, kernel.dOverPlainAvx2);
        addRatio("AVX-512", "times the plain kernel", nPlain, kernel.dOverPlainAvx512);
    }
    addRatio("AVX-512", "share of reading alone", 0, kernel.dOfReading);
    addRatio("AVX-512", "share of the best read pass", nBest, 0.0);
    if (kernel.pPeer != nullptr)
        addRatio("AVX-512", std::string("share of the rate of ") + kernel.pPeerName, nPeer, kernel.dOfPeer);
}

} // namespace

void AddKernelLines(CTable& table, CScene& scene, std::span<const SKernelRow> rows, const SKernelCase& kernelCase,
                    bool bAllLevels)
{
    scene.SetDensity(kernelCase.density);
    CKernelBench kernelBench(scene, scene.Pixels() < 10000000);
    const std::string strSize = std::to_string(scene.nWidth) + "x" + std::to_string(scene.nHeight);
    for (const SKernelRow& kernel : rows)
    {
        RequireSameRecords(kernelBench, kernel, measure::Levels());
        AddRowLines(table, kernelBench, kernel, kernelCase, LevelsToTime(kernel, bAllLevels),
                    std::string(kernel.pName) + ", " + strSize + ", " + kernelCase.density.pName,
                    static_cast<double>(scene.Pixels()));
    }
}

void AddKernelFamily(CTable& table, CScene& large, std::span<const SKernelRow> rows, const SDensity& few,
                     const SOptions& options)
{
    AddKernelLines(table, large, rows, {few, !options.bQuick, options.Rounds(5), 1}, options.bAll);
    if (!options.bAll)
        return;
    AddKernelLines(table, large, rows, {densityNone, false, options.Rounds(5), 1}, true);
    AddKernelLines(table, large, rows, {densityMany, false, options.Rounds(5), 1}, true);
    CScene cached(2048, 512);
    AddKernelLines(table, cached, rows, {few, false, options.Rounds(9), options.bQuick ? 1 : 50}, true);
}

} // namespace bench
