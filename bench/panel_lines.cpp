// SPDX-License-Identifier: MIT
// Figures of inspections of a made-up panel with zones and thresholds as a pitch search proposes them.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "bench/bench_lines.h"
#include "bench/bench_timer.h"
#include "bench/inspection_lines.h"
#include "host/inspect/inspection_plan.h"
#include "host/pitch/pitch_recipe.h"
#include "host/pitch/pitch_search.h"
#include "measure/read_pass.h"
#include "tools/synthetic/panel.h"

namespace bench
{

namespace
{

/// The same with one threshold for all pixels, the greatest of the zones'.
narvo::CheckedRecipe PixelRecipe(const narvo::Recipe& zones)
{
    narvo::Recipe recipe = zones;
    const auto greatest = std::max_element(zones.zones.begin(), zones.zones.end(),
                                           [](const narvo::ZoneSettings& a, const narvo::ZoneSettings& b)
                                           { return a.offset < b.offset; });
    recipe.mode = narvo::Mode_Pixel;
    recipe.thresholdBase = greatest->offset;
    recipe.thresholdGain = greatest->gain;
    recipe.zones.assign(1, narvo::ZoneSettings());
    recipe.zoneImage = {};
    return narvo::CheckedRecipe(recipe);
}

} // namespace

void AddPanelLines(CTable& table, CScene& /*large*/, const SOptions& options)
{
    narvo::tools::PanelPlan plan;
    plan.width = plan.height = options.bQuick ? 1024 : 8192;
    plan.defects = options.bQuick ? 10 : 240;
    const narvo::GreyImage image = narvo::tools::MakePanel(plan).image;
    const CRect region(0, 0, image.Width(), image.Height());
    const narvo::CheckedRecipe zone = narvo::MakePitchRecipe(image, region, narvo::SearchPitch(image, region));
    const auto nBytes = static_cast<std::size_t>(image.Stride()) * static_cast<std::size_t>(image.Height());

    const struct
    {
        const char* pName;
        narvo::CheckedRecipe recipe;
        double dTarget;
    } cases[] = {{"pixel", PixelRecipe(zone), 0.7}, {"zone", zone, 0.65}};
    for (const auto& one : cases)
    {
        const narvo::InspectionPlan inspectionPlan(one.recipe, image.Width(), image.Height());
        CConvParam param = inspectionPlan.BlockFor(image);
        param.bBandThread = 0;
        CNarvoAssem engine;
        engine.InitAssem(0, nBlobs);
        volatile std::uint64_t nSum = 0;
        const std::vector<double> times = TimeInterleaved(
            {[&] { InspectAnew(engine, param); }, [&] { nSum = nSum + measure::ReadPass(image.Row(0), nBytes); },
             [&] { nSum = nSum + measure::BestReadPass(image.Row(0), nBytes); }},
            options.Rounds(15));
        const std::string strCase = std::string("panel by ") + one.pName + " inspection, thresholds as proposed";
        table.Note(strCase, static_cast<double>(nBytes) / times[0] * 1e-9, "GPix/s");
        table.Note(strCase + ", blobs", engine.GetBlobCount(), "");
        table.Require(strCase + ", share of reading alone", times[1] / times[0], "x", Bound::AtLeast, one.dTarget);
        table.Note(strCase + ", share of the best read pass", times[2] / times[0], "x");
    }
}

} // namespace bench
