// SPDX-License-Identifier: MIT
// Figures of a stream of rows against one call for the whole image, over the same rows.
#include <algorithm>
#include <string>

#include "bench/bench_lines.h"
#include "bench/bench_timer.h"
#include "bench/scene_recipe.h"
#include "host/inspect/inspection_plan.h"
#include "host/inspect/inspector.h"
#include "host/stream/strip_stream.h"

namespace bench
{

namespace
{

constexpr int nRowsAtATime = 64;   // as the driver of a line camera hands them on
constexpr int nWholePeriods = 277; // rows of five periods: the image goes on with itself after a multiple

class CCountingSink : public narvo::StreamSink
{
public:
    void OnBlob(const narvo::StreamBlob&) override { ++nBlobs; }
    long long nBlobs = 0;
};

void AddStreamLine(CTable& table, CScene& scene, const SOptions& options, const std::string& strName,
                   const narvo::Recipe& recipe)
{
    const narvo::CheckedRecipe checked(recipe);
    const int nHeight = scene.nHeight / nWholePeriods * nWholePeriods;
    const narvo::GreyView image(scene.pixels.data(), scene.nWidth, nHeight);
    const narvo::InspectionPlan plan(checked, image.Width(), image.Height());
    narvo::Inspector inspector(1, 100000);
    // Streams that go on: neither their beginnings nor their ends belong to the time.
    CCountingSink sink;
    narvo::StripStream whole(checked, image.Width(), {}, sink);
    narvo::StripStream pieces(checked, image.Width(), {}, sink);
    const auto pushPieces = [&]
    {
        for (int nRow = 0; nRow < image.Height(); nRow += nRowsAtATime)
            pieces.Push(image.Row(nRow), std::min(nRowsAtATime, image.Height() - nRow), image.Stride());
    };
    const std::vector<double> times = TimeInterleaved(
        {[&] { inspector.Inspect(0, image, plan); }, [&] { whole.Push(image); }, pushPieces}, options.Rounds(7));
    const double dGigaPixels = static_cast<double>(scene.nWidth) * nHeight * 1e-9;
    table.Note("a stream, rows inspected where they are, times one call for the image, " + strName, times[0] / times[1],
               "x");
    table.Note("a stream, rows inspected where they are, " + strName, dGigaPixels / times[1], "GPix/s");
    table.Note("a stream, 64 rows at a time, which are copied, " + strName, dGigaPixels / times[2], "GPix/s");
    table.Note("a stream, calls added at seams, times its windows, " + strName,
               static_cast<double>(whole.Counts().repairs) / static_cast<double>(whole.Counts().windows), "x");
    for (const std::string& strWarning : whole.Warnings())
        table.Note("a stream, " + strName + ": " + strWarning, 1.0, "");
}

} // namespace

void AddStreamLines(CTable& table, CScene& large, const SOptions& options)
{
    large.SetDensity(densitySparse);
    AddStreamLine(table, large, options, "pixel, vertical", PixelRecipe(true, false));
    AddStreamLine(table, large, options, "pixel, vertical, bands", PixelRecipe(true, true));
    AddStreamLine(table, large, options, "pixel, horizontal", PixelRecipe(false, false));
}

} // namespace bench
