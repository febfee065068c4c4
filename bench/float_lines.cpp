// SPDX-License-Identifier: MIT
// Figures of the float mode: its kernels, whole inspections, and regions inside a polygon against the rectangle round
// it.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <numbers>
#include <random>

#include "bench/bench_timer.h"
#include "bench/inspection_lines.h"
#include "bench/kernel_lines.h"

namespace bench
{

namespace
{

// A window dilutes an outlier, and every window over it is a hit: outliers are stronger and fewer.
constexpr SDensity densityWindows = {0.00005, "under 0.1 % hits", 110, 75};
constexpr SDensity densitySparseWindows = {0.0000125, "0.01 % hits", 110, 75};

constexpr int nPolygonPoints = 500;

CConvParam FloatParam(CScene& scene, int nWindow)
{
    CConvParam param = scene.RegionParam(true);
    param.nInspectMode = 0;
    param.nConvWidth = param.nConvHeight = nWindow;
    param.nThreshold = nFloatBaseGray * nWindow * nWindow;
    param.nThresholdGain = nFloatGain;
    return param;
}

/// An outline round the middle of rtFrame that reaches its sides. fnReach gives its distance from the middle for vertex
/// i, 1 being the side.
template <class TReach>
std::vector<CPoint> MakeOutline(const CRect& rtFrame, TReach fnReach)
{
    std::vector<CPoint> points;
    for (int i = 0; i < nPolygonPoints; ++i)
    {
        const double dAngle = 2.0 * std::numbers::pi * i / nPolygonPoints;
        const double dReach = i % (nPolygonPoints / 4) == 0 ? 1.0 : fnReach(i);
        points.push_back(CPoint(static_cast<int>(std::lround((rtFrame.left + rtFrame.right) / 2.0 +
                                                             rtFrame.Width() / 2.0 * dReach * std::cos(dAngle))),
                                static_cast<int>(std::lround((rtFrame.top + rtFrame.bottom) / 2.0 +
                                                             rtFrame.Height() / 2.0 * dReach * std::sin(dAngle)))));
    }
    return points;
}

std::vector<CPoint> MakeWaves(const CRect& rtFrame)
{
    return MakeOutline(rtFrame,
                       [](int i) { return 0.95 + 0.05 * std::cos(8.0 * std::numbers::pi * i * 3 / nPolygonPoints); });
}

/// Every column crosses it many times.
std::vector<CPoint> MakeSpikes(const CRect& rtFrame)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> reach(0.85, 1.0);
    return MakeOutline(rtFrame, [&](int) { return reach(random); });
}

/// One byte per pixel of the scene, 1 inside the polygon.
std::vector<std::uint8_t> MakeMask(const CScene& scene, const std::vector<CPoint>& points)
{
    std::vector<std::uint8_t> mask(scene.pixels.size());
    CRgn rgn;
    rgn.CreatePolygonRgn(points.data(), static_cast<int>(points.size()), ALTERNATE);
    std::vector<char> block(static_cast<std::size_t>(rgn.GetRegionData(nullptr, 0)));
    rgn.GetRegionData(reinterpret_cast<RGNDATA*>(block.data()), static_cast<int>(block.size()));
    RGNDATAHEADER head{};
    std::memcpy(&head, block.data(), sizeof head);
    for (std::uint32_t i = 0; i < head.nCount; ++i)
    {
        CRect rt;
        std::memcpy(&rt, block.data() + sizeof head + i * sizeof rt, sizeof rt);
        for (int y = rt.top; y < rt.bottom; ++y)
            std::fill_n(mask.begin() + std::int64_t{y} * scene.nWidth + rt.left, rt.Width(), std::uint8_t{1});
    }
    return mask;
}

/// The engine with its free-form inspection made accessible.
class CRegionEngine : public CNarvoAssem
{
public:
    explicit CRegionEngine(const CConvParam& param)
    {
        InitAssem(0, nBlobs);
        ConvParam = param;
    }

    int InspectPolygon(std::vector<CPoint>& points)
    {
        InspectPAD_Clear();
        ConvParam.pFreeFormPoint = points.data();
        ConvParam.nFreeFormPointCount = static_cast<int>(points.size());
        int nEndLine = 0;
        return Inspect_FreeForm(nEndLine);
    }
    int InspectFrame()
    {
        InspectPAD_Clear();
        int nEndLine = 0;
        return ConvFloatVJF_Intrin(ConvParam.rtInspect, nEndLine);
    }
};

/// The outline as strips of the region on the float kernels, and as a mask, as a whole inspection does it.
void AddRegionLines(CTable& table, CScene& scene, const char* pOutline, std::vector<CPoint> (*pMake)(const CRect&),
                    const SOptions& options)
{
    CConvParam param = FloatParam(scene, 2);
    const int nSide = std::min({4096, scene.nWidth, scene.nHeight});
    param.rtInspect = CRect(0, 0, nSide, nSide);
    std::vector<CPoint> points = pMake(param.rtInspect);
    const std::string strCase = "free-form region, " + std::to_string(points.size()) + " vertices in " + pOutline +
                                " over " + std::to_string(nSide) + "x" + std::to_string(nSide);

    CRegionEngine region(param);
    CConvParam unmasked = param;
    unmasked.bZoneFlagged = 1;
    unmasked.nThreshold = flatFirst.nBase;
    unmasked.nThresholdGain = flatFirst.nGain;
    CConvParam masked = unmasked;
    std::vector<std::uint8_t> mask = MakeMask(scene, points);
    masked.pFreeFormMask = mask.data();
    CNarvoAssem engine;
    engine.InitAssem(0, nBlobs);

    const int nStrips = region.InspectPolygon(points);
    const int nFrame = region.InspectFrame();
    InspectAnew(engine, masked);
    const int nMasked = engine.GetPairCount();
    InspectAnew(engine, unmasked);
    const int nUnmasked = engine.GetPairCount();
    if (nStrips >= nFrame || nMasked == 0 || nMasked >= nUnmasked)
    {
        std::cerr << strCase << ": " << nStrips << " pairs of " << nFrame << " by strips, " << nMasked << " of "
                  << nUnmasked << " by mask\n";
        std::exit(2);
    }
    const std::vector<double> times =
        TimeInterleaved({[&] { InspectAnew(engine, masked); }, [&] { InspectAnew(engine, unmasked); },
                         [&] { region.InspectPolygon(points); }, [&] { region.InspectFrame(); }},
                        options.Rounds(9));
    table.Note(strCase + ", by mask", times[0] * 1e3, "ms");
    table.Note(strCase + ", by strips", times[2] * 1e3, "ms");
    table.Require(strCase + ", by mask, time over that of the rectangle", times[0] / times[1], "x", Bound::AtMost, 1.3);
    // No inspection uses the strips; the columns of a strip beyond 16 are compared one by one in double precision.
    table.Note(strCase + ", by strips, time over that of the rectangle", times[2] / times[3], "x");
}

} // namespace

void AddFloatLines(CTable& table, CScene& large, const SOptions& options)
{
    AddKernelFamily(table, large, FloatKernels(), densityWindows, options);

    large.SetDensity(densitySparseWindows);
    const SInspection four = {"float inspection to blobs",
                              densitySparseWindows.pName,
                              FloatParam(large, 2),
                              "ConvFloatVertFast4",
                              RunFloatVert4,
                              2,
                              nFloatBaseGray,
                              nFloatGain,
                              50.0};
    AddShareLines(table, large, four, {0.65}, options);
    SInspection nine = four;
    nine.strName = "float inspection of 3 by 3 to blobs";
    nine.param = FloatParam(large, 3);
    nine.pKernel = RunFloatVert9;
    AddShareLines(table, large, nine, {0.45}, options);
    AddInspectionLines(table, large, four, options);
    AddRegionLines(table, large, "waves", MakeWaves, options);
    AddRegionLines(table, large, "spikes", MakeSpikes, options);
}

} // namespace bench
