// SPDX-License-Identifier: MIT
// See inspection_lines.h.
#include "bench/inspection_lines.h"

#include <cstdlib>
#include <iostream>

#include "bench/bench_timer.h"
#include "bench/opencv_compare.h"

namespace bench
{

int InspectAnew(CNarvoAssem& engine, CConvParam& param)
{
    engine.ResetNarvoAssem();
    engine.ResetReinspectCount();
    return engine.Inspect_Rect(&param);
}

void AddInspectionLines(CTable& table, CScene& scene, const SInspection& inspection, const SOptions& options)
{
    CNarvoAssem engine;
    engine.InitAssem(0, nBlobs);
    CConvParam param = inspection.param;

    SHitBuffers hits(160000);
    std::vector<CDefectPair> pairs(200000);
    std::vector<short> buffer(static_cast<std::size_t>(scene.nHeight + 4) * 16);
    SKernelCall call = {&scene, &hits, &pairs, &buffer, &engine, param.nThresholdExtra, param.nGrayLimit, 0, 0};

    const std::string strCase = inspection.strName + ", " + inspection.strDensity;
    // Both sides must do the same work: the inspection's pairs are those of the kernel.
    const int nResult = InspectAnew(engine, param);
    const int nPairs = inspection.pKernel(call);
    if (nResult != 1 || engine.GetPairCount() != nPairs || engine.GetBlobCount() == 0)
    {
        std::cerr << strCase << " answers " << nResult << " with " << engine.GetPairCount() << " pairs and "
                  << engine.GetBlobCount() << " blobs, its kernel gives " << nPairs << " pairs\n";
        std::exit(2);
    }

    COpenCvCompare peer(scene, inspection.nWindow, inspection.dBase, inspection.dGain / 256.0);
    const int nRows = peer.FastestRows();
    const std::vector<double> fast =
        TimeInterleaved({[&] { InspectAnew(engine, param); }, [&] { inspection.pKernel(call); }}, options.Rounds(9));
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
                                                      [&] { InspectAnew(engine, param); }},
                                                     options.Rounds(2));
    const double dPixels = static_cast<double>(scene.Pixels());
    const std::string strPeer = "OpenCV operators for " + inspection.strName;
    table.Note(strCase, dPixels / fast[0] * 1e-9, "GPix/s");
    table.Note(strCase + ", blobs", engine.GetBlobCount(), "");
    table.Note(strPeer + ", blocks of " + std::to_string(nRows) + " rows", dPixels / slow[0] * 1e-9, "GPix/s");
    table.Note(strPeer + ", mask pixels", 100.0 * peer.CountMask() / dPixels, "%");
    table.Note(strPeer + ", with components", dPixels / slow[1] * 1e-9, "GPix/s");
    table.Note(strPeer + ", with contours", dPixels / slow[2] * 1e-9, "GPix/s");
    table.Note(std::string(inspection.pKernelName) + ", times OpenCV operators", slow[0] / fast[1], "x");
    table.Require(strCase + ", share of its kernel's rate", fast[1] / fast[0], "x", Bound::AtLeast, 0.85);
    table.Require(strCase + ", times OpenCV operators and components", slow[1] / slow[3], "x", Bound::AtLeast, 40.0);
    table.Require(strCase + ", times OpenCV operators and contours", slow[2] / slow[3], "x", Bound::AtLeast, 5.0);
}

} // namespace bench
