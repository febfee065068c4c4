// SPDX-License-Identifier: MIT
// Figures of the pitch search against its scalar form. Both must give the same result.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>

#include "bench/bench_lines.h"
#include "bench/bench_timer.h"
#include "bench/plain_pitch.h"
#include "measure/level_choice.h"

namespace bench
{

namespace
{

constexpr double dAtAvx2 = 8.0;
constexpr int nFirst = 64; ///< left and top of the region
constexpr int nNoise = 2;
constexpr int nRange = 32;                                        ///< 65 candidates
constexpr int nConv16 = static_cast<int>(dConvPeriod * 16.0) + 9; ///< centres beside the true pitches
constexpr int nScan16 = static_cast<int>(dScanPeriod * 16.0) - 7;

/// A search that both sides do; results in 1/16 pixel.
struct SSearch
{
    std::string strName;
    std::function<SPitchPair()> library;
    std::function<SPitchPair()> plain;
};

void AddSearchLines(CTable& table, const SSearch& search, int nRounds)
{
    const SPitchPair expected = search.plain();
    std::vector<Action> actions = {[&] { search.plain(); }};
    const std::vector<measure::SLevel> levels = measure::Levels();
    for (const measure::SLevel& level : levels)
    {
        measure::UseLevel(level.nTarget);
        const SPitchPair found = search.library();
        if (found.nColumn != expected.nColumn || found.nRow != expected.nRow)
        {
            std::cerr << search.strName << " at " << level.pName << " answers " << found.nColumn << ", " << found.nRow
                      << ", its scalar form " << expected.nColumn << ", " << expected.nRow << '\n';
            std::exit(2);
        }
        actions.push_back(
            [&, level]
            {
                measure::UseLevel(level.nTarget);
                search.library();
            });
    }
    const std::vector<double> times = TimeInterleaved(actions, nRounds);
    measure::UseWidestLevel();
    table.Note(search.strName + ", scalar form", times[0] * 1e3, "ms");
    bool bShown = false;
    for (std::size_t i = 0; i < levels.size(); ++i)
    {
        const std::string strName = search.strName + ", " + levels[i].pName + ", times the scalar form";
        if (levels[i].pName != std::string("AVX2"))
        {
            table.Note(strName, times[0] / times[1 + i], "x");
            continue;
        }
        table.Require(strName, times[0] / times[1 + i], "x", Bound::AtLeast, dAtAvx2);
        bShown = true;
    }
    if (!bShown)
        table.Absent(search.strName + ", AVX2, times the scalar form", "x", Bound::AtLeast, dAtAvx2);
}

} // namespace

void AddPitchLines(CTable& table, CScene& large, const SOptions& options)
{
    large.SetDensity(densityFew);
    const int nWidth = std::min(2048, (large.nWidth - 256) & ~15);
    const int nHeight = 512;
    const std::uint8_t* const pImage = large.pixels.data();
    const SPitchRegion region = {pImage + std::int64_t{nFirst} * large.nWidth + nFirst, large.nWidth, nWidth, nHeight};
    const std::string strSize = std::to_string(nWidth) + "x" + std::to_string(nHeight);
    const int nRounds = options.Rounds(5);

    const auto addLine = [&](const char* pName, bool bAlongX)
    {
        const int nCenter = bAlongX ? nConv16 : nScan16;
        const auto library = [&, bAlongX, nCenter]
        {
            int nBest = 0;
            int nWhole = 0;
            int nFraction = 0;
            (bAlongX ? CAssemUtil::CheckPitchSmall16
                     : CAssemUtil::CheckPitchSmallVert16)(nCenter, nRange, nFirst, nFirst, nWidth, nHeight, pImage,
                                                          large.nWidth, nNoise, nBest, nWhole, nFraction);
            return SPitchPair{nBest, nWhole * 16 + nFraction};
        };
        const auto plain = [&, bAlongX, nCenter]
        {
            const int nBest =
                PlainPitchLine(region, bAlongX ? 1 : region.nStride, nCenter - nRange, nCenter + nRange, nNoise);
            return SPitchPair{nBest, nBest};
        };
        AddSearchLines(table, {std::string(pName) + ", " + strSize + ", 65 candidates", library, plain}, nRounds);
    };
    addLine("CheckPitchSmall16", true);
    addLine("CheckPitchSmallVert16", false);

    std::vector<short> buffer1(static_cast<std::size_t>(nHeight + 2) * 16);
    std::vector<short> buffer2(buffer1.size());
    const auto library = [&]
    {
        SPitchPair best{0, 0};
        CAssemUtil::CheckPitchSmallVPT16(nScan16 + 2, nScan16 + 9, -4, 3, nFirst, nFirst + nWidth, nFirst,
                                         nFirst + nHeight, pImage, large.nWidth, 0, buffer1.data(), buffer2.data(),
                                         best.nColumn, best.nRow);
        return best;
    };
    const auto plain = [&]
    { return PlainPitchBox(region, nScan16 + 2, nScan16 + 9, -4, 3, buffer1.data(), buffer2.data()); };
    AddSearchLines(table, {"CheckPitchSmallVPT16, " + strSize + ", 8 by 8 candidates", library, plain}, nRounds);
}

} // namespace bench
