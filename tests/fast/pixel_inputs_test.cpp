// SPDX-License-Identifier: MIT
// Pixel comparison over all of its inputs: every near, far and source grey at every fraction of the pitch; every
// reference between four pixels; every weight of column tables; every gain, base and limit of grey with every grey or
// difference; every pitch.
#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "fast/every_case.h"
#include "fast/grey_cells.h"
#include "fast/picture.h"
#include "fast/pixel_scene.h"
#include "fast/table_inputs.h"
#include "support/random.h"

namespace narvo::test
{
namespace
{

constexpr int nBelowAllDifferences =
    -32768; ///< a base with which every pixel is a hit, whatever the gain adds in 16 bits

CellShape ShapeOf(PixelKernel eKernel)
{
    return IsHorizontal(eKernel) ? CellShape::Row : CellShape::Column;
}

CPixelScene SceneOf(PixelKernel eKernel, const CGreyCells& cells, int nFraction, int nBase)
{
    CPixelScene scene;
    scene.eKernel = eKernel;
    cells.SetCall(scene.call, nFraction);
    if (eKernel == PixelKernel::VertDirect)
        scene.call.region.nBottom--; // it compares a row more
    scene.call.first.nBase = nBase;
    return scene;
}

class EveryPixelInput : public testing::TestWithParam<PixelKernel>
{
};

INSTANTIATE_TEST_SUITE_P(Each, EveryPixelInput,
                         testing::Values(PixelKernel::Vert, PixelKernel::VertDirect, PixelKernel::VertIntrin,
                                         PixelKernel::Hori, PixelKernel::HoriIntrin),
                         [](const auto& kernel) { return std::string(KernelName(kernel.param)); });

TEST_P(EveryPixelInput, NearFarAndSourceGreyAtEveryFraction)
{
    CEveryCase every;
    ForEveryGrey(ShapeOf(GetParam()),
                 [&](const CGreyCells& cells, int nSource)
                 {
                     for (int nFraction = 0; nFraction < 16; nFraction++)
                         ASSERT_TRUE(every.Agrees(SceneOf(GetParam(), cells, nFraction, nBelowAllDifferences),
                                                  Inputs("source", nSource)));
                 });
    every.ExpectRecords(std::int64_t{16} * nGreys * nGreys * nGreys);
}

/// The greatest differences of each picture, at which most pixels are dismissed in groups.
TEST_P(EveryPixelInput, NearFarAndSourceGreyAtEveryFractionWhereHitsAreRare)
{
    CEveryCase every;
    ForEveryGrey(ShapeOf(GetParam()),
                 [&](const CGreyCells& cells, int nSource)
                 {
                     for (int nFraction = 0; nFraction < 16; nFraction++)
                     {
                         const int nBase = std::max(nSource, 255 - nSource) - 2 - nFraction % 3;
                         ASSERT_TRUE(
                             every.Agrees(SceneOf(GetParam(), cells, nFraction, nBase), Inputs("source", nSource)));
                     }
                 });
    every.ExpectRecords(1);
}

/// Every grey against 0.
CGreyCells EveryGrey(PixelKernel eKernel)
{
    std::vector<std::pair<int, int>> aGreys;
    for (int nGrey = 0; nGrey < nGreys; nGrey++)
        aGreys.emplace_back(nGrey, 0);
    return DifferenceCells(ShapeOf(eKernel), aGreys);
}

TEST_P(EveryPixelInput, GainOfEveryGrey)
{
    CEveryCase every;
    const CGreyCells cells = EveryGrey(GetParam());
    CPixelScene scene = SceneOf(GetParam(), cells, 0, nBelowAllDifferences);
    for (int nGain = -32768; nGain <= 32767; nGain++)
    {
        scene.call.first.nGain = nGain;
        ASSERT_TRUE(every.Agrees(scene, Inputs("gain", nGain)));
    }
    every.ExpectRecords(65536 * 127);
}

TEST_P(EveryPixelInput, BaseAgainstEveryDifference)
{
    CEveryCase every;
    const CGreyCells cells = DifferenceCells(ShapeOf(GetParam()), EveryDifference());
    for (int nBase = -32768; nBase <= 32767; nBase++)
        ASSERT_TRUE(every.Agrees(SceneOf(GetParam(), cells, 0, nBase), Inputs("base", nBase)));
    every.ExpectRecords(32768 * 2 * nGreys);
}

/// Base and gain together wrap in 16 bits.
TEST_P(EveryPixelInput, BaseUnderTheGreatestGains)
{
    CEveryCase every;
    const CGreyCells cells = EveryGrey(GetParam());
    for (const int nGain : {-1, 256, 257, 32767})
        for (int nBase = -32768; nBase <= 32767; nBase++)
        {
            CPixelScene scene = SceneOf(GetParam(), cells, 0, nBase);
            scene.call.first.nGain = nGain;
            ASSERT_TRUE(every.Agrees(scene, Inputs("gain", nGain) + Inputs(" base", nBase)));
        }
    every.ExpectRecords(32768 * nGreys);
}

TEST_P(EveryPixelInput, LimitOfEveryGrey)
{
    std::vector<std::pair<int, int>> aGreys;
    for (int nGrey = 0; nGrey < nGreys; nGrey++)
        aGreys.emplace_back(nGrey, 255 - nGrey);
    CEveryCase every;
    const CGreyCells cells = DifferenceCells(ShapeOf(GetParam()), aGreys);
    CPixelScene scene = SceneOf(GetParam(), cells, 0, nBelowAllDifferences);
    for (int nLimit = 0; nLimit < 65536; nLimit++)
    {
        scene.call.nGrayLimit = nLimit;
        ASSERT_TRUE(every.Agrees(scene, Inputs("limit", nLimit)));
    }
    every.ExpectRecords(65536 * nGreys);
}

/// Every pitch from one pixel to 2048 in sixteenths, on noise: a reference from elsewhere has another grey.
TEST_P(EveryPixelInput, PitchInSixteenths)
{
    constexpr int nPitches = 2048;
    const bool bHorizontal = IsHorizontal(GetParam());
    CPicture picture(bHorizontal ? nPitches + 48 : 16, bHorizontal ? 1 : nPitches + 8, 0);
    CRandom random(1);
    for (std::uint8_t& nGrey : picture.aPixels)
        nGrey = static_cast<std::uint8_t>(random.Int(0, 255));
    CEveryCase every;
    for (int nPitch16 = 16; nPitch16 < nPitches * 16; nPitch16++)
    {
        const int nWhole = nPitch16 / 16;
        CPixelScene scene;
        scene.eKernel = GetParam();
        scene.call.image = picture.View();
        scene.call.region = {0, 0, bHorizontal ? nWhole + 16 : 16, bHorizontal ? 1 : nWhole + 3};
        scene.call.hits.nSize = 64;
        scene.call.pairs.nSize = 64;
        scene.call.nPitch16 = nPitch16;
        scene.call.nGrayLimit = 255;
        scene.call.bKeepSingle = 1;
        scene.call.first.nBase = nBelowAllDifferences;
        ASSERT_TRUE(every.Agrees(scene, Inputs("pitch", nPitch16)));
    }
    every.ExpectRecords(16 * 16 * (nPitches - 16));
}

/// Kernels with a second set of gain and base for dark hits.
class EveryPixelSetInput : public testing::TestWithParam<PixelKernel>
{
};

std::string NameOf(const testing::TestParamInfo<PixelKernel>& kernel)
{
    return KernelName(kernel.param);
}

INSTANTIATE_TEST_SUITE_P(Each, EveryPixelSetInput, testing::Values(PixelKernel::Vert2, PixelKernel::Vtds2), NameOf);

TEST_P(EveryPixelSetInput, BaseAndGainOfDarkHitsAgainstEveryDifference)
{
    CEveryCase every;
    const CGreyCells cells = DifferenceCells(CellShape::Column, EveryDifference());
    CPixelScene scene = SceneOf(GetParam(), cells, 0, nBelowAllDifferences);
    for (int nBase = -32768; nBase <= 32767; nBase++)
    {
        scene.call.second.nBase = nBase;
        ASSERT_TRUE(every.Agrees(scene, Inputs("base", nBase)));
    }
    scene.call.second.nBase = 1; // the least that is in force
    for (int nGain = -32768; nGain <= 32767; nGain++)
    {
        scene.call.second.nGain = nGain;
        ASSERT_TRUE(every.Agrees(scene, Inputs("gain", nGain)));
    }
    every.ExpectRecords(2 * 65536 * nGreys);
}

/// Kernels whose reference lies between four pixels: by a table of rows or by the pitch, shifted along x.
class EveryPixelShiftInput : public testing::TestWithParam<PixelKernel>
{
};

INSTANTIATE_TEST_SUITE_P(Each, EveryPixelShiftInput,
                         testing::Values(PixelKernel::Vtds, PixelKernel::Vtds2, PixelKernel::VtdsIntrin,
                                         PixelKernel::VtdsWide),
                         NameOf);

TEST_P(EveryPixelShiftInput, ReferenceBetweenFour)
{
    CEveryCase every;
    ForEveryReferenceBetweenFour(
        [&](const CGreyCells& cells, int nShift, int nFraction)
        {
            if (every.Skips(1))
                return;
            CPixelScene scene = SceneOf(GetParam(), cells, nFraction, nBelowAllDifferences);
            const int nPitch16 = static_cast<int>(scene.call.nPitch16);
            scene.call.pScanPitchTable = nShift % 2 != 0 ? &nPitch16 : nullptr;
            scene.call.nVtdPitch16 = nShift;
            ASSERT_TRUE(every.Agrees(scene, Inputs("shift", nShift)));
        });
    every.ExpectRecords(std::int64_t{256} * 7 * nGreys * nGreys);
}

/// What compares a scene by column tables.
auto ByColumnTables(CEveryCase& every)
{
    return [&every](const CGreyCells& cells, const CColumnTables& tables, const std::string& strInputs)
    {
        if (every.Skips(1))
            return;
        CPixelScene scene = SceneOf(PixelKernel::HoriTable, cells, 0, nBelowAllDifferences);
        tables.SetCall(scene.call);
        ASSERT_TRUE(every.Agrees(scene, strInputs));
    };
}

TEST(EveryPixelColumnInput, WeightsFrom0To16)
{
    CEveryCase every;
    ForEverySmallColumnWeight(ByColumnTables(every));
    every.ExpectRecords(17 * 17 * nGreys * nGreys);
}

TEST(EveryPixelColumnInput, WeightsOf16Bits)
{
    CEveryCase every;
    ForEveryColumnWeight(ByColumnTables(every));
    every.ExpectRecords(std::int64_t{6} * 65536 * nGreys / 2);
}

} // namespace
} // namespace narvo::test
