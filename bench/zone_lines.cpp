// Figures of the zone kernels. Every round also holds the two sides' records together: a kernel that is fast and
// wrong ends the run.
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "bench/bench_levels.h"
#include "bench/bench_lines.h"
#include "bench/bench_scene.h"
#include "bench/bench_timer.h"
#include "bench/read_pass.h"
#include "bench/zone_kernels.h"

namespace bench
{

namespace
{

/// Both sides of a kernel with their working arrays.
class CZoneBench
{
public:
    CZoneBench(CScene& scene, bool bFewPairs)
        : m_scene(scene), m_hits(160000), m_pairs(bFewPairs ? 100000 : 2000000),
          m_buffer(static_cast<std::size_t>(scene.nHeight + 4) * 16)
    {
        m_engine.ConvParam = scene.ZoneParam(true);
        m_engine.ConvParam.pTspTable = scene.tspOffsets;
        m_engine.ConvParam.pTspTable2 = scene.tspGains;
        m_engine.ConvParam.nBlackFilterGray = 12;
        m_engine.ConvParam.nBlackFilterGain = 24;
        m_call = {&scene, &m_hits, &m_pairs, &m_buffer, &m_engine, 4, 240, 5, 0};
    }

    SZoneCall& Call() { return m_call; }
    void Read() { m_nSum = m_nSum + ReadPass(m_scene.pixels.data(), static_cast<std::size_t>(m_scene.Pixels())); }

    /// Records and end line of one side.
    std::vector<CDefectPair> Records(int (*pKernel)(SZoneCall&), int& nEndLine)
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
    SZoneCall m_call;
    volatile std::uint64_t m_nSum = 0;
};

bool SameRecords(const std::vector<CDefectPair>& a, const std::vector<CDefectPair>& b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(CDefectPair)) == 0);
}

void RequireSameRecords(CZoneBench& zoneBench, const SZoneKernel& kernel, const std::vector<SLevel>& levels)
{
    int nPlainEnd = 0;
    const std::vector<CDefectPair> plain = zoneBench.Records(kernel.pPlain, nPlainEnd);
    for (const SLevel& level : levels)
    {
        int nEnd = 0;
        UseLevel(level.nTarget);
        const std::vector<CDefectPair> records = zoneBench.Records(kernel.pLibrary, nEnd);
        if (SameRecords(plain, records) && nEnd == nPlainEnd)
            continue;
        std::cerr << kernel.pName << " at " << level.pName << " gives " << records.size() << " records to line " << nEnd
                  << ", the plain kernel " << plain.size() << " to line " << nPlainEnd << ", or other contents\n";
        std::exit(2);
    }
    UseWidestLevel();
}

/// Figures of all kernels on one scene at one density; with bTargets the ones with a target.
void AddSceneLines(CTable& table, CScene& scene, const SDensity& density, bool bTargets, int nRounds, int nRepeat)
{
    const std::vector<SLevel> levels = Levels();
    scene.SetDensity(density);
    CZoneBench zoneBench(scene, scene.Pixels() < 10000000);
    const std::string strSize = std::to_string(scene.nWidth) + "x" + std::to_string(scene.nHeight);
    const auto dPixels = static_cast<double>(scene.Pixels());

    for (const SZoneKernel& kernel : ZoneKernels())
    {
        RequireSameRecords(zoneBench, kernel, levels);
        std::vector<Action> actions = {[&] { kernel.pPlain(zoneBench.Call()); },
                                       [&]
                                       {
                                           UseWidestLevel();
                                           zoneBench.Read();
                                       }};
        for (const SLevel& level : levels)
            actions.push_back(
                [&, level]
                {
                    UseLevel(level.nTarget);
                    kernel.pLibrary(zoneBench.Call());
                });
        const std::vector<double> times = TimeInterleaved(actions, nRounds, nRepeat);
        UseWidestLevel();

        const std::string strCase = std::string(kernel.pName) + ", " + strSize + ", " + density.pName;
        table.Note(strCase + ", plain kernel", dPixels / times[0] * 1e-9, "GPix/s");
        for (std::size_t i = 0; i < levels.size(); ++i)
            table.Note(strCase + ", " + levels[i].pName, dPixels / times[2 + i] * 1e-9, "GPix/s");
        const auto timeAt = [&](const char* pLevel)
        {
            for (std::size_t i = 0; i < levels.size(); ++i)
                if (levels[i].pName == std::string(pLevel))
                    return times[2 + i];
            return 0.0;
        };
        const auto addRatio = [&](const char* pLevel, const char* pWhat, double dBaseTime, double dTarget)
        {
            const double dTime = timeAt(pLevel);
            const std::string strName = strCase + ", " + pLevel + ", " + pWhat;
            const bool bJudged = bTargets && dTarget > 0.0;
            if (dTime > 0.0 && bJudged)
                table.Require(strName, dBaseTime / dTime, "x", Bound::AtLeast, dTarget);
            else if (dTime > 0.0)
                table.Note(strName, dBaseTime / dTime, "x");
            else if (bJudged)
                table.Absent(strName, "x", Bound::AtLeast, dTarget);
        };
        addRatio("AVX2", "times the plain kernel", times[0], kernel.dOverPlainAvx2);
        addRatio("AVX-512", "times the plain kernel", times[0], kernel.dOverPlainAvx512);
        addRatio("AVX-512", "share of reading alone", times[1], kernel.dOfReading);
    }
}

} // namespace

void AddZoneLines(CTable& table, const SOptions& options)
{
    CScene large(options.bQuick ? 1536 : 12096, options.bQuick ? 1100 : 11000);
    AddSceneLines(table, large, densityFew, !options.bQuick, options.Rounds(9), 1);
    AddSceneLines(table, large, densityNone, false, options.Rounds(5), 1);
    AddSceneLines(table, large, densityMany, false, options.Rounds(5), 1);
    CScene cached(2048, 512);
    AddSceneLines(table, cached, densityFew, false, options.Rounds(9), options.bQuick ? 1 : 50);
}

} // namespace bench
