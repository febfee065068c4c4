// Figures of whole inspections: against the kernel that they run and against OpenCV's way to connected defects, in
// parallel bands and lanes, and what they take from the heap.
#include <barrier>
#include <string>
#include <thread>

#include "bench/bench_lines.h"
#include "bench/bench_scene.h"
#include "bench/bench_timer.h"
#include "bench/malloc_count.h"
#include "bench/opencv_compare.h"
#include "bench/zone_kernels.h"

namespace bench
{

namespace
{

constexpr int nBlobs = 100000;
constexpr double dMiB = 1024.0 * 1024.0;

/// One inspection of the whole image straight on an engine.
int Inspect(CNarvoAssem& engine, CConvParam& param)
{
    engine.ResetNarvoAssem();
    engine.ResetReinspectCount();
    return engine.Inspect_Rect(&param);
}

void AddInspectLines(CTable& table, CScene& scene, const SOptions& options)
{
    scene.SetDensity(densitySparse);
    CNarvoAssem engine;
    engine.InitAssem(0, nBlobs);
    CConvParam param = scene.ZoneParam(true);

    SHitBuffers hits(160000);
    std::vector<CDefectPair> pairs(200000);
    std::vector<short> buffer(static_cast<std::size_t>(scene.nHeight + 4) * 16);
    SZoneCall call = {&scene, &hits, &pairs, &buffer, &engine, param.nThresholdExtra, param.nGrayLimit, 0, 0};
    const SZoneKernel& kernel = ZoneKernels().front();

    COpenCvCompare peer(scene);
    const int nRows = peer.FastestRows();
    const std::vector<double> fast =
        TimeInterleaved({[&] { Inspect(engine, param); }, [&] { kernel.pLibrary(call); }, [&] { peer.Compare(nRows); }},
                        options.Rounds(7));
    // With components or contours behind it a run takes seconds: few rounds, and nothing hangs on their noise.
    const std::vector<double> slow = TimeInterleaved({[&]
                                                      {
                                                          peer.Compare(nRows);
                                                          peer.Components();
                                                      },
                                                      [&]
                                                      {
                                                          peer.Compare(nRows);
                                                          peer.Contours();
                                                      },
                                                      [&] { Inspect(engine, param); }},
                                                     options.Rounds(3));
    const double dPixels = static_cast<double>(scene.Pixels());
    const std::string strCase = std::string("Inspect_Rect to blobs, ") + densitySparse.pName;
    table.Note(strCase, dPixels / fast[0] * 1e-9, "GPix/s");
    table.Note(strCase + ", blobs", engine.GetBlobCount(), "");
    table.Note("OpenCV operators, blocks of " + std::to_string(nRows) + " rows", dPixels / fast[2] * 1e-9, "GPix/s");
    table.Note("OpenCV operators, mask pixels", 100.0 * peer.CountMask() / dPixels, "%");
    table.Note("OpenCV operators and components", dPixels / slow[0] * 1e-9, "GPix/s");
    table.Note("OpenCV operators and contours", dPixels / slow[1] * 1e-9, "GPix/s");
    table.Note("ConvZoneVertFast, times OpenCV operators", fast[2] / fast[1], "x");
    table.Require(strCase + ", share of its kernel's rate", fast[1] / fast[0], "x", Bound::AtLeast, 0.85);
    table.Require(strCase + ", times OpenCV operators and components", slow[0] / slow[2], "x", Bound::AtLeast, 40.0);
    table.Require(strCase + ", times OpenCV operators and contours", slow[1] / slow[2], "x", Bound::AtLeast, 5.0);
}

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
    const std::vector<double> times = TimeInterleaved({[&] { run(one); }, [&] { run(two); }}, options.Rounds(9));
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
                                                      options.Rounds(9));
    bStop = true;
    gate.arrive_and_wait();
    second.join();
    table.Require("two lanes on two host threads, times one lane's throughput", 2.0 * times[0] / times[1], "x",
                  Bound::AtLeast, 1.8);
}

/// What the first and a second like inspection take from the heap, beyond the stores of InitAssem.
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
                           [&] { Inspect(engine, param); });
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

void AddEngineLines(CTable& table, const SOptions& options)
{
    CScene scene(options.bQuick ? 4096 : 12096, options.bQuick ? 512 : 11000);
    AddInspectLines(table, scene, options);
    AddBandLine(table, scene, options);
    AddLaneLine(table, scene, options);
    AddHeapLines(table, scene, options);
}

} // namespace bench
