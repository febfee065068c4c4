// SPDX-License-Identifier: MIT
// Figures of whole zone inspections: against their kernel and OpenCV, in parallel bands and lanes, and their
// heap allocations.
#include <barrier>
#include <string>
#include <thread>

#include "bench/bench_lines.h"
#include "bench/bench_scene.h"
#include "bench/bench_timer.h"
#include "bench/inspection_lines.h"
#include "bench/malloc_count.h"

namespace bench
{

namespace
{

constexpr double dMiB = 1024.0 * 1024.0;

void AddBandLine(CTable& table, CScene& scene, const SOptions& options)
{
    scene.SetDensity(densitySparse);
    CConvParam param = scene.ZoneParam(true);
    CNarvoAssem one;
    CNarvoAssem two;
    for (CNarvoAssem* pEngine : {&one, &two})
    {
        pEngine->InitAssem(0, nBlobs);
        pEngine->EnableInternalThread(pEngine == &one ? 1 : 2, nBlobs);
    }
    const auto run = [&](CNarvoAssem& engine)
    {
        engine.ResetNarvoAssem();
        for (int i = 0; i < engine.pThreadControl->GetCount(); ++i)
            engine.pThreadControl->GetAssem(i)->ResetReinspectCount();
        engine.Inspect_RectThread(&param);
    };
    const std::vector<double> times = TimeInterleaved({[&] { run(one); }, [&] { run(two); }}, options.Rounds(7));
    table.Require("band split, two bands on two cores, times one band", times[0] / times[1], "x", Bound::AtLeast, 1.7);
}

void AddLaneLine(CTable& table, CScene& scene, const SOptions& options)
{
    scene.SetDensity(densitySparse);
    CAssemControl control;
    control.InitAssemControl(2, nBlobs);
    const auto run = [&](int nLane)
    {
        CConvParam param = scene.ZoneParam(true);
        control.GetNarvoAssem(nLane)->ResetReinspectCount();
        control.Inspect_Rect(nLane, &param, 0);
    };
    // The second host thread waits between rounds, so that its start is not part of the time.
    std::barrier gate(2);
    bool bStop = false;
    std::thread second(
        [&]
        {
            for (;;)
            {
                gate.arrive_and_wait();
                if (bStop)
                    return;
                run(1);
                gate.arrive_and_wait();
            }
        });
    const std::vector<double> times = TimeInterleaved({[&] { run(0); },
                                                       [&]
                                                       {
                                                           gate.arrive_and_wait();
                                                           run(0);
                                                           gate.arrive_and_wait();
                                                       }},
                                                      options.Rounds(7));
    bStop = true;
    gate.arrive_and_wait();
    second.join();
    table.Require("two lanes on two host threads, times one lane's throughput", 2.0 * times[0] / times[1], "x",
                  Bound::AtLeast, 1.95);
}

/// Heap allocations of an inspection and of repeating it, beyond the stores of InitAssem.
void AddMemoryLines(CTable& table, CScene& scene, const char* pName, const Action& inspect)
{
    const std::string strCase = std::string("heap of ") + pName + ", " + std::to_string(scene.nWidth) + "x" +
                                std::to_string(scene.nHeight) + ", " + densityMany.pName;
    StartHeapCount();
    inspect();
    const SHeapUse first = StopHeapCount();
    StartHeapCount();
    inspect();
    const SHeapUse second = StopHeapCount();
    table.Require(strCase + ", beyond the stores", static_cast<double>(first.nPeakBytes) / dMiB, "MiB", Bound::AtMost,
                  64.0);
    table.Require(strCase + ", allocations of a second like call", static_cast<double>(second.nCalls), "",
                  Bound::AtMost, 0.0);
}

void AddHeapLines(CTable& table, CScene& scene, const SOptions& options)
{
    scene.SetDensity(densityMany);
    const int nStore = options.bQuick ? nBlobs : 1000000;
    {
        CNarvoAssem engine;
        engine.InitAssem(0, nStore);
        for (const bool bVertical : {true, false})
        {
            CConvParam param = scene.ZoneParam(bVertical);
            AddMemoryLines(table, scene, bVertical ? "a vertical inspection" : "a horizontal inspection",
                           [&] { InspectAnew(engine, param); });
        }
    }
    CAssemControl control;
    control.InitAssemControl(1, nBlobs);
    CConvParam param = scene.ZoneParam(true);
    param.bBandThread = 1;
    AddMemoryLines(table, scene, "a band split through the pool",
                   [&]
                   {
                       control.ResetReinspectCount();
                       control.Inspect_Rect(0, &param, 0);
                   });
}

} // namespace

void AddEngineLines(CTable& table, CScene& scene, const SOptions& options)
{
    const auto inspection = [&](const SDensity& density)
    {
        scene.SetDensity(density);
        return SInspection{"zone inspection to blobs",
                           density.pName,
                           scene.ZoneParam(true),
                           "ConvZoneVertFast",
                           RunZoneVert,
                           1,
                           18.0,
                           20.0,
                           60.0};
    };
    AddShareLines(table, scene, inspection(densityNone), {0.88}, options);
    AddShareLines(table, scene, inspection(densityFew), {0.4}, options);
    AddShareLines(table, scene, inspection(densitySparse), {0.72, 0.58, 0.4}, options);
    AddInspectionLines(table, scene, inspection(densitySparse), options);
    AddBandLine(table, scene, options);
    AddLaneLine(table, scene, options);
    AddHeapLines(table, scene, options);
}

} // namespace bench
