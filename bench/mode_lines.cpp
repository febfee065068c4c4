// SPDX-License-Identifier: MIT
// Figures of the side modes: binarise, average, and the trapezium kernels.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "bench/bench_lines.h"
#include "bench/bench_timer.h"
#include "bench/inspection_lines.h"
#include "bench/malloc_count.h"
#include "bench/opencv_average.h"
#include "measure/level_choice.h"
#include "measure/read_pass.h"

namespace bench
{

namespace
{

[[noreturn]] void EndRun(const std::string& strWhy)
{
    std::cerr << strWhy << '\n';
    std::exit(2);
}

// --- binarise ---

constexpr int nHighGray = 70; ///< below the pattern's darkest pixel: only dark outliers are hits
constexpr SDensity densityDark = {0.0002, "0.01 % hits"};

void AddBinariseLines(CTable& table, CScene& scene, const SOptions& options)
{
    scene.SetDensity(densityDark);
    CNarvoAssem engine;
    std::vector<CDefectPair> pairs(200000);
    const auto run = [&]
    {
        int nEndLine = 0;
        return engine.BinalizeInspection(scene.pixels.data(), 0, nHighGray, CRect(0, 0, scene.nWidth, scene.nHeight),
                                         scene.nWidth, pairs.data(), 0, static_cast<int>(pairs.size()), nEndLine);
    };
    // The last 16 columns are left out, in a width that is a multiple of 16.
    int nExpected = 0;
    for (int y = 0; y < scene.nHeight; ++y)
    {
        const std::uint8_t* const pRow = scene.pixels.data() + std::int64_t{y} * scene.nWidth;
        nExpected += static_cast<int>(std::count_if(pRow, pRow + scene.nWidth - 16,
                                                    [](std::uint8_t nGray) { return 0 < nGray && nGray < nHighGray; }));
    }
    if (const int nFound = run(); nFound != nExpected || nFound == 0)
        EndRun("binarise finds " + std::to_string(nFound) + " pixels, not " + std::to_string(nExpected));

    const std::vector<double> times =
        TimeInterleaved({[&] { run(); }, [&] { scene.Read(); }, [&] { scene.ReadBest(); }}, options.Rounds(7));
    const auto dPixels = static_cast<double>(scene.Pixels());
    table.Note("binarise, hits", 100.0 * nExpected / dPixels, "%");
    table.Note("binarise", dPixels / times[0] * 1e-9, "GPix/s");
    table.Require(std::string("binarise, ") + densityDark.pName + ", share of reading alone", times[1] / times[0], "x",
                  Bound::AtLeast, 0.6);
    table.Note(std::string("binarise, ") + densityDark.pName + ", share of the best read pass", times[2] / times[0],
               "x");
}

// --- average ---

constexpr int nBackWindow = 45;
constexpr int nDefectWindow = 9;
constexpr int nMeanThreshold = 28; ///< grey levels, just above the pattern's peaks relative to the mean around them

void AddAverageLines(CTable& table, CScene& scene, const SOptions& options)
{
    scene.SetDensity(densitySparse);
    const int nSide = std::min({4096, scene.nWidth, scene.nHeight});
    CConvParam param = scene.RegionParam(true);
    param.nInspectMode = 3;
    param.rtInspect = CRect(0, 0, nSide, nSide);
    param.nAverageParam1 = nBackWindow;
    param.nAverageParam2 = nDefectWindow;
    param.nThreshold = nMeanThreshold;
    param.nBlackFilterGray = -nMeanThreshold;
    CNarvoAssem engine;
    engine.InitAssem(0, nBlobs);
    const std::string strCase = "average mode of 45 and 9, " + std::to_string(nSide) + "x" + std::to_string(nSide);

    StartHeapCount();
    InspectAnew(engine, param);
    const SHeapUse heap = StopHeapCount();

    COpenCvAverage peer(scene.pixels.data(), scene.nWidth, param.rtInspect, nBackWindow, nDefectWindow, nMeanThreshold);
    peer.CompareExact();
    // At the region's edges the windows differ in shape.
    const std::vector<CPoint> expected = peer.HitsInside(nBackWindow);
    std::vector<CPoint> found;
    for (int i = 0; i < engine.GetPairCount(); ++i)
    {
        const CPoint pt = engine.GetPairDefect(i)->ptDefect;
        if (CRect(nBackWindow, nBackWindow, nSide - nBackWindow, nSide - nBackWindow).PtInRect(pt))
            found.push_back(pt);
    }
    if (found != expected || found.empty())
        EndRun(strCase + " finds " + std::to_string(found.size()) + " pixels, OpenCV " +
               std::to_string(expected.size()) + ", or others");

    const std::vector<double> times = TimeInterleaved(
        {[&] { InspectAnew(engine, param); }, [&] { peer.CompareExact(); }, [&] { peer.CompareRounded(); }},
        options.Rounds(5));
    const double dPixels = static_cast<double>(nSide) * nSide;
    table.Note(strCase + ", hits", 100.0 * static_cast<double>(found.size()) / dPixels, "%");
    table.Note(strCase, dPixels / times[0] * 1e-9, "GPix/s");
    table.Note(strCase + ", OpenCV with exact sums", dPixels / times[1] * 1e-9, "GPix/s");
    table.Note(strCase + ", OpenCV with means in 8 bits", dPixels / times[2] * 1e-9, "GPix/s");
    table.Require(strCase + ", times the faster of OpenCV's two", std::min(times[1], times[2]) / times[0], "x",
                  Bound::AtLeast, 3.0);
    table.Require(strCase + ", heap per pixel of the region", static_cast<double>(heap.nPeakBytes) / dPixels, "bytes",
                  Bound::AtMost, 10.0);
}

// --- trapezia ---

constexpr SDensity densityTrapezium = {0.00005, "under 0.1 % hits", 110, 75};
constexpr int nThreshold64 = 10 * 64;

/// A trapezium of nRows rows, nearly as wide as the image.
class CTrapeziumBench
{
public:
    CTrapeziumBench(CScene& scene, int nRows)
        : m_scene(scene), m_nRows(nRows), m_hits(400000), m_pairs(400000),
          m_line(static_cast<std::size_t>(std::max(scene.nWidth, scene.nHeight) + 64) * 16)
    {
    }

    int RunHori()
    {
        const int nWidth = m_scene.nWidth;
        return ConvTrapeziumHori(m_scene.pixels.data(), m_line.data(), m_hits.nSize, 0, 0, m_nRows, nWidth / 24,
                                 nWidth / 96, nWidth - nWidth / 12, nWidth - nWidth / 48, nThreshold64, 255,
                                 m_hits.x.data(), m_hits.y.data(), m_hits.type.data(), m_hits.peak.data(), 0,
                                 static_cast<std::int64_t>(dConvPeriod * 16.0 + 0.5), 0, 0, m_pairs.data(), 0,
                                 static_cast<std::int64_t>(m_pairs.size()), sizeof(CDefectPair), nWidth, nullptr, 1);
    }
    int RunVert()
    {
        return ConvTrapeziumVert(m_scene.pixels.data(), m_line.data(), m_hits.nSize, 0, 0, m_scene.nWidth - 16,
                                 m_nRows / 20, m_nRows - m_nRows / 30, m_hits.x.data(), m_hits.y.data(),
                                 m_hits.type.data(), m_hits.peak.data(), m_pairs.data(), 0,
                                 static_cast<std::int64_t>(m_pairs.size()), sizeof(CDefectPair), m_scene.nWidth,
                                 static_cast<std::int64_t>(dScanPeriod * 16.0 + 0.5), nThreshold64, 255, 0, 0, m_nRows,
                                 nullptr, static_cast<std::int64_t>(dConvPeriod * 16.0 + 0.5), 1);
    }
    /// Pixels between the sides.
    double Pixels(bool bHori) const
    {
        const double dWidth = m_scene.nWidth;
        return bHori ? m_nRows * ((dWidth * 22 / 24 - dWidth / 24) + (dWidth * 47 / 48 - dWidth / 96)) / 2.0
                     : (dWidth - 16) * ((m_nRows * (1.0 - 1.0 / 30 - 1.0 / 20)) + m_nRows) / 2.0;
    }
    std::vector<CDefectPair> Records(bool bHori)
    {
        m_pairs.assign(m_pairs.size(), CDefectPair());
        const int nPairs = bHori ? RunHori() : RunVert();
        return {m_pairs.begin(), m_pairs.begin() + nPairs};
    }

private:
    CScene& m_scene;
    int m_nRows;
    SHitBuffers m_hits;
    std::vector<CDefectPair> m_pairs;
    std::vector<short> m_line;
};

void AddTrapeziumLines(CTable& table, CScene& scene, const SOptions& options)
{
    scene.SetDensity(densityTrapezium);
    const int nRows = std::min(4096, scene.nHeight);
    CTrapeziumBench trapezium(scene, nRows);
    for (const bool bHori : {true, false})
    {
        const std::string strCase = std::string(bHori ? "ConvTrapeziumHori, " : "ConvTrapeziumVert, ") +
                                    std::to_string(nRows) + " rows, " + densityTrapezium.pName;
        const std::vector<CDefectPair> records = trapezium.Records(bHori);
        for (const measure::SLevel& level : measure::Levels())
        {
            measure::UseLevel(level.nTarget);
            const std::vector<CDefectPair> other = trapezium.Records(bHori);
            if (records.empty() || other.size() != records.size() ||
                std::memcmp(other.data(), records.data(), records.size() * sizeof(CDefectPair)) != 0)
                EndRun(strCase + ", " + level.pName + ": " + std::to_string(other.size()) + " records, not " +
                       std::to_string(records.size()) + ", or other contents");
        }
        measure::UseWidestLevel();
        const std::size_t nBytes = static_cast<std::size_t>(scene.nWidth) * static_cast<std::size_t>(nRows);
        volatile std::uint64_t nSum = 0;
        const std::vector<double> times =
            TimeInterleaved({[&] { bHori ? trapezium.RunHori() : trapezium.RunVert(); },
                             [&] { nSum = nSum + measure::ReadPass(scene.pixels.data(), nBytes); }},
                            options.Rounds(9));
        const double dRate = trapezium.Pixels(bHori) / times[0];
        table.Note(strCase + ", records", static_cast<double>(records.size()), "");
        table.Note(strCase, dRate * 1e-9, "GPix/s");
        table.Require(strCase + ", share of reading alone", dRate / (static_cast<double>(nBytes) / times[1]), "x",
                      Bound::AtLeast, bHori ? 0.45 : 0.35);
    }
}

} // namespace

void AddModeLines(CTable& table, CScene& large, const SOptions& options)
{
    AddBinariseLines(table, large, options);
    AddAverageLines(table, large, options);
    AddTrapeziumLines(table, large, options);
}

} // namespace bench
