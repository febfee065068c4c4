// SPDX-License-Identifier: MIT
// The host library against the raw engine on the same frames: what a call of the library costs beyond the inspection.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/bench_lines.h"
#include "bench/bench_timer.h"
#include "bench/host_block.h"
#include "bench/inspection_lines.h"
#include <narvo/host_inspector.h>

namespace bench
{

namespace
{

constexpr int nPitchX = 32;
constexpr int nPitchY = 24;
constexpr int nDefects = 30;

/// A pattern with bright squares of 5 by 5 pixels down the diagonal.
std::vector<std::uint8_t> MakeFrame(int nWidth, int nHeight)
{
    std::vector<std::uint8_t> frame(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight));
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < nWidth; ++x)
            frame[static_cast<std::size_t>(y) * static_cast<std::size_t>(nWidth) + static_cast<std::size_t>(x)] =
                x % nPitchX < 12 && y % nPitchY < 16 ? 150 : 60;
    for (int i = 0; i < nDefects * 25; ++i)
    {
        const int y = nHeight / (nDefects + 2) * (i / 25 + 1) / nPitchY * nPitchY + 10 + i / 5 % 5;
        const int x = nWidth / (nDefects + 2) * (i / 25 + 1) + i % 5;
        frame[static_cast<std::size_t>(y) * static_cast<std::size_t>(nWidth) + static_cast<std::size_t>(x)] = 255;
    }
    return frame;
}

void AddHostLine(CTable& table, int nWidth, int nHeight, bool bBands, const SOptions& options)
{
    const std::vector<std::uint8_t> frame = MakeFrame(nWidth, nHeight);
    std::vector<std::uint8_t> cell(nPitchX * nPitchY, 1);
    std::fill_n(cell.begin(), nPitchX * 4, std::uint8_t{2});
    const char* szZones = R"([{"index": 1, "offset": 25}, {"index": 2, "offset": 120}])";

    narvo::RecipeDraft draft;
    draft.Set("pitch.x", nPitchX).Set("pitch.y", nPitchY).Set("band_split", bBands).SetJson("zones.list", szZones);
    const narvo::Recipe recipe = draft.SetZoneImage({cell.data(), nPitchX, nPitchY}).Check();
    narvo::Inspector inspector;
    std::size_t nFound = 0;

    const CHostBlock block(recipe.Text(), cell, nPitchX, nPitchY, nWidth, nHeight);
    CAssemControl control;
    control.InitAssemControl(1, 20000);
    CNarvoAssem& engine = *control.GetNarvoAssem(0);
    const auto inspectRaw = [&]
    {
        CConvParam param = block.For(frame.data());
        engine.ResetReinspectCount();
        for (int i = 0; i < engine.pThreadControl->GetCount(); ++i)
            engine.pThreadControl->GetAssem(i)->ResetReinspectCount();
        control.Inspect_Rect(0, &param, 0);
    };
    const std::vector<double> times =
        TimeInterleaved({inspectRaw,
                         [&] {
                             nFound = inspector.Inspect({frame.data(), nWidth, nHeight}, recipe)[0].defects.size();
                         }},
                        options.Rounds(31), 3);
    const std::string strCase = "host library, zones, " + std::to_string(nWidth) + "x" + std::to_string(nHeight) +
                                (bBands ? ", in bands" : ", one band");
    table.Require(strCase + ", blobs over the raw engine's",
                  static_cast<double>(nFound) / static_cast<double>(engine.GetBlobCount()), "x", Bound::AtLeast, 1.0);
    table.Note(strCase + ", blobs", static_cast<double>(nFound), "");
    table.Note(strCase + ", cost of a call beyond the raw engine", (times[1] - times[0]) * 1e6, "us");
    const std::string strShare = strCase + ", throughput over the raw engine's";
    if (bBands) // bands wait for each other, so that other load of the machine shows
        table.Note(strShare, times[0] / times[1], "x");
    else
        table.Require(strShare, times[0] / times[1], "x", Bound::AtLeast, 0.97);
}

} // namespace

void AddHostLines(CTable& table, CScene& /*large*/, const SOptions& options)
{
    const int nWidth = options.bQuick ? 2048 : 8192;
    const int nHeight = options.bQuick ? 1024 : 4096;
    AddHostLine(table, nWidth, nHeight, false, options);
    AddHostLine(table, nWidth, nHeight, true, options);
}

} // namespace bench
