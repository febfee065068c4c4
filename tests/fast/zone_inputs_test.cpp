// SPDX-License-Identifier: MIT
// Zone comparison over all of its inputs: every near, far and source grey at every fraction of the pitch; every entry
// of the maps of gain, offset and knee, and of the tables by zone, with every grey or difference.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "fast/every_case.h"
#include "fast/grey_cells.h"
#include "fast/table_inputs.h"
#include "fast/zone_plain_scene.h"
#include "fast/zone_scene.h"
#include "support/random.h"

namespace narvo::test
{
namespace
{

CellShape ShapeOf(ZoneKernel eKernel)
{
    const engine::CScanTraits& scan = engine::GetKernelRow(eKernel).traits.scan;
    if (scan.bMeans)
        return CellShape::MeanOfFour;
    return scan.bHorizontal ? CellShape::Row : CellShape::Column;
}

constexpr int nBelowAllDifferences = -32768; ///< a threshold with which every pixel is a hit, whatever the gain adds

/// A map with an entry for every pixel of the cells' picture.
class CCellMap
{
public:
    explicit CCellMap(const CGreyCells& cells) : m_aEntries(cells.Picture().aPixels.size(), 0) {}

    /// For all pixels that are compared with a cell's greys.
    void Set(const CGreyCells& cells, int nCell, int nEntry)
    {
        for (int i = 0; i < cells.CellWidth(); i++)
            m_aEntries[cells.PlaceOf(nCell) + static_cast<std::size_t>(i)] = static_cast<std::int16_t>(nEntry);
    }
    void SetAll(int nEntry) { std::fill(m_aEntries.begin(), m_aEntries.end(), static_cast<std::int16_t>(nEntry)); }

    const std::int16_t* Entries() const { return m_aEntries.data(); }

private:
    std::vector<std::int16_t> m_aEntries;
};

/// One cell of the zone grid over a picture, with maps and tables of which a test changes what it tests.
class CZoneInputs
{
public:
    CZoneInputs(ZoneKernel eKernel, CGreyCells greyCells)
        : cells(std::move(greyCells)), offset(cells), gain(cells), knee(cells), zone(cells), classId(cells),
          m_eKernel(eKernel)
    {
        SetThresholds(nBelowAllDifferences);
    }
    CZoneInputs(const CZoneInputs&) = delete;
    CZoneInputs& operator=(const CZoneInputs&) = delete;

    CGreyCells cells;
    CCellMap offset;
    CCellMap gain;
    CCellMap knee;
    CCellMap zone;
    CCellMap classId;
    std::vector<int> aZoneOffsets = std::vector<int>(CConvParam::nZoneLimit, 0);
    std::vector<int> aZoneGains = std::vector<int>(CConvParam::nZoneLimit, 0);

    CColumnTables columns;

    /// The same for all pixels, whatever they are taken from.
    void SetThresholds(int nOffset)
    {
        offset.SetAll(nOffset);
        std::fill(aZoneOffsets.begin(), aZoneOffsets.end(), nOffset);
    }

    CZoneScene Scene(int nFraction)
    {
        CZoneScene scene;
        scene.eKernel = m_eKernel;
        engine::CZoneCall& call = scene.call;
        cells.SetCall(call, nFraction);
        const engine::CScanTraits& scan = engine::GetKernelRow(m_eKernel).traits.scan;
        if (!scan.bMeans && scan.nFreeRows == 1)
            call.region.nBottom--; // it compares a row more
        call.pOffsetMap = call.pOffsetMap2 = offset.Entries();
        call.pGainMap = call.pGainMap2 = gain.Entries();
        call.pKneeMap = knee.Entries();
        call.pZoneIndexMap = zone.Entries();
        call.pClassIdMap = classId.Entries();
        call.nMapStride = cells.Picture().nWidth;
        call.pOriginTable = m_aOrigins.data();
        call.nRowBytes = static_cast<std::int64_t>(m_aOrigins.size() / 2 * sizeof(int));
        call.nCellWidth = std::numeric_limits<int>::max();
        call.nCellHeight = std::numeric_limits<int>::max();
        columns.SetAllWeights(16 - nFraction, nFraction);
        columns.SetCall(call);
        scene.param.pTspTable = aZoneOffsets.data();
        scene.param.pTspTable2 = aZoneGains.data();
        scene.param.nBlackFilterGray = nBelowAllDifferences;
        return scene;
    }

private:
    ZoneKernel m_eKernel;
    std::vector<int> m_aOrigins = std::vector<int>(12, 0);
};

class EveryZoneInput : public testing::TestWithParam<ZoneKernel>
{
protected:
    CGreyCells EveryGrey() const
    {
        std::vector<std::pair<int, int>> aGreys;
        for (int nGrey = 0; nGrey < nGreys; nGrey++)
            aGreys.emplace_back(nGrey, 0);
        return DifferenceCells(ShapeOf(GetParam()), aGreys);
    }
};

std::string NameOf(const testing::TestParamInfo<ZoneKernel>& kernel)
{
    return KernelName(kernel.param);
}

INSTANTIATE_TEST_SUITE_P(Each, EveryZoneInput, testing::ValuesIn(AllZoneKernels()), NameOf);

TEST_P(EveryZoneInput, NearFarAndSourceGreyAtEveryFraction)
{
    CEveryCase every;
    CZoneInputs inputs(GetParam(), CGreyCells(ShapeOf(GetParam()), nGreys * nGreys / 16));
    ForEveryGrey(ShapeOf(GetParam()),
                 [&](const CGreyCells& cells, int nSource)
                 {
                     if (every.Skips(16))
                         return;
                     inputs.cells = cells;
                     for (int nFraction = 0; nFraction < 16; nFraction++)
                         ASSERT_TRUE(every.Agrees(inputs.Scene(nFraction), Inputs("source", nSource)));
                 });
    every.ExpectRecords(std::int64_t{16} * nGreys * nGreys * nGreys);
}

TEST_P(EveryZoneInput, LimitOfEveryGrey)
{
    std::vector<std::pair<int, int>> aGreys;
    for (int nGrey = 0; nGrey < nGreys; nGrey++)
        aGreys.emplace_back(nGrey, 255 - nGrey);
    CEveryCase every;
    CZoneInputs inputs(GetParam(), DifferenceCells(ShapeOf(GetParam()), aGreys));
    CZoneScene scene = inputs.Scene(0);
    for (int nLimit = 0; nLimit < 65536; nLimit++)
    {
        scene.call.nGrayLimit = nLimit;
        ASSERT_TRUE(every.Agrees(scene, Inputs("limit", nLimit)));
    }
    every.ExpectRecords(65536 * nGreys);
}

/// Every pitch from one pixel to 2048 in sixteenths, on noise: a reference from elsewhere has another grey.
TEST_P(EveryZoneInput, PitchInSixteenths)
{
    constexpr int nPitches = 2048;
    const bool bHorizontal = IsHorizontal(GetParam());
    CPlainScene plain(GetParam(), bHorizontal ? nPitches + 48 : 16, bHorizontal ? 1 : nPitches + 8, 0);
    plain.SetThreshold(nBelowAllDifferences);
    CRandom random(1);
    for (std::uint8_t& nGrey : plain.aImage)
        nGrey = static_cast<std::uint8_t>(random.Int(0, 255));
    engine::CZoneCall& call = plain.Call();
    std::vector<int> aPitches(1);
    std::vector<std::uint16_t> aDisplacements(16);
    std::vector<std::int16_t> aNear(16);
    std::vector<std::int16_t> aFar(16);
    std::vector<int> aZones(CConvParam::nZoneLimit, nBelowAllDifferences);
    plain.scene.param.pTspTable = aZones.data();
    plain.scene.param.nBlackFilterGray = nBelowAllDifferences;
    call.pOffsetMap2 = call.pOffsetMap;
    call.pConvPitchTable = aDisplacements.data();
    call.pConvWeightNear = aNear.data();
    call.pConvWeightFar = aFar.data();
    call.hits.nSize = 128;
    call.nThresholdExtra = -40000;
    CEveryCase every;
    for (const bool bTable : {false, true})
        for (int nPitch16 = 16; nPitch16 < nPitches * 16; nPitch16++)
        {
            const int nWhole = nPitch16 / 16;
            call.region = {0, 0, bHorizontal ? nWhole + 16 : 16, bHorizontal ? 1 : nWhole + 3};
            call.nPitch16 = nPitch16;
            aPitches.front() = nPitch16;
            call.pScanPitchTable = bTable ? aPitches.data() : nullptr;
            aDisplacements.front() = static_cast<std::uint16_t>(nWhole);
            std::fill(aNear.begin(), aNear.end(), static_cast<std::int16_t>(16 - nPitch16 % 16));
            std::fill(aFar.begin(), aFar.end(), static_cast<std::int16_t>(nPitch16 % 16));
            ASSERT_TRUE(every.Agrees(plain.scene, Inputs("pitch", nPitch16)));
        }
    every.ExpectRecords(2 * 16 * 16 * (nPitches - 16));
}

/// Kernels that take the threshold of each pixel from maps.
class EveryZoneMapInput : public EveryZoneInput
{
};

std::vector<ZoneKernel> MapKernels()
{
    std::vector<ZoneKernel> aKernels = AllZoneKernels();
    aKernels.erase(std::remove(aKernels.begin(), aKernels.end(), ZoneKernel::Vert2STsp), aKernels.end());
    return aKernels;
}

INSTANTIATE_TEST_SUITE_P(Each, EveryZoneMapInput, testing::ValuesIn(MapKernels()), NameOf);

TEST_P(EveryZoneMapInput, OffsetAgainstEveryDifference)
{
    constexpr int nOffsets = 8; // in one picture
    std::vector<std::pair<int, int>> aGreys;
    for (const std::pair<int, int>& greys : EveryDifference())
        aGreys.insert(aGreys.end(), nOffsets, greys);
    CEveryCase every;
    CZoneInputs inputs(GetParam(), DifferenceCells(ShapeOf(GetParam()), aGreys));
    for (int nFirst = -32768; nFirst < 32768; nFirst += nOffsets)
    {
        if (every.Skips(1))
            continue;
        for (int nCell = 0; nCell < inputs.cells.Cells(); nCell++)
            inputs.offset.Set(inputs.cells, nCell, nFirst + nCell % nOffsets);
        ASSERT_TRUE(every.Agrees(inputs.Scene(0), Inputs("offsets from", nFirst)));
    }
    every.ExpectRecords(32768 * 2 * nGreys);
}

/// The threshold of every pixel is recorded.
TEST_P(EveryZoneMapInput, GainOfEveryGrey)
{
    CEveryCase every;
    CZoneInputs inputs(GetParam(), EveryGrey());
    for (int nGain = -32768; nGain <= 32767; nGain++)
    {
        if (every.Skips(1))
            continue;
        inputs.gain.SetAll(nGain);
        ASSERT_TRUE(every.Agrees(inputs.Scene(0), Inputs("gain", nGain)));
    }
    every.ExpectRecords(65536 * nGreys);
}

/// Offset and gain together wrap in 16 bits.
TEST_P(EveryZoneMapInput, OffsetUnderTheGreatestGains)
{
    CEveryCase every;
    CZoneInputs inputs(GetParam(), EveryGrey());
    for (const int nGain : {-1, 256, 257, 32767})
    {
        inputs.gain.SetAll(nGain);
        for (int nOffset = -32768; nOffset <= 32767; nOffset++)
        {
            if (every.Skips(1))
                continue;
            inputs.offset.SetAll(nOffset);
            ASSERT_TRUE(every.Agrees(inputs.Scene(0), Inputs("gain", nGain) + Inputs(" offset", nOffset)));
        }
    }
    every.ExpectRecords(32768 * nGreys);
}

/// Only the numbers' own bits are recorded: of a zone all, of a class the lowest four.
TEST_P(EveryZoneMapInput, ZoneIndexAndClass)
{
    CEveryCase every;
    CZoneInputs inputs(GetParam(), EveryGrey());
    for (int nFirst = -32768; nFirst < 32768; nFirst += inputs.cells.Cells())
    {
        for (int nCell = 0; nCell < inputs.cells.Cells(); nCell++)
        {
            inputs.zone.Set(inputs.cells, nCell, nFirst + nCell);
            inputs.classId.Set(inputs.cells, nCell, -1 - nFirst - nCell);
        }
        ASSERT_TRUE(every.Agrees(inputs.Scene(0), Inputs("indices from", nFirst)));
    }
    every.ExpectRecords(65536);
}

TEST(EveryZoneKneeInput, KneeOfEveryGrey)
{
    CEveryCase every;
    std::vector<std::pair<int, int>> aGreys;
    for (int nGrey = 0; nGrey < nGreys; nGrey++)
        aGreys.emplace_back(nGrey, 0);
    CZoneInputs inputs(ZoneKernel::VertKnee, DifferenceCells(CellShape::Column, aGreys));
    CCellMap offset2(inputs.cells);
    CCellMap gain2(inputs.cells);
    offset2.SetAll(nBelowAllDifferences + 1000);
    gain2.SetAll(512);
    for (int nKnee = -32768; nKnee <= 32767; nKnee++)
    {
        if (every.Skips(1))
            continue;
        inputs.knee.SetAll(nKnee);
        CZoneScene scene = inputs.Scene(0);
        scene.call.pOffsetMap2 = offset2.Entries();
        scene.call.pGainMap2 = gain2.Entries();
        ASSERT_TRUE(every.Agrees(scene, Inputs("knee", nKnee)));
    }
    every.ExpectRecords(65536 * nGreys);
}

/// Offsets by zone, of which the smallest that is not 0 tests the pixels, and each its zone's pairs.
TEST(EveryZoneTableInput, OffsetAgainstEveryDifference)
{
    std::vector<std::pair<int, int>> aGreys;
    for (const std::pair<int, int>& greys : EveryDifference())
        aGreys.insert(aGreys.end(), CConvParam::nZoneLimit, greys);
    CEveryCase every;
    CZoneInputs inputs(ZoneKernel::Vert2STsp, DifferenceCells(CellShape::Column, aGreys));
    for (int nCell = 0; nCell < inputs.cells.Cells(); nCell++)
        inputs.zone.Set(inputs.cells, nCell, nCell % CConvParam::nZoneLimit);
    for (int nFirst = -65536; nFirst < 65536; nFirst += CConvParam::nZoneLimit)
    {
        if (every.Skips(1))
            continue;
        for (int nZone = 0; nZone < CConvParam::nZoneLimit; nZone++)
            inputs.aZoneOffsets[static_cast<std::size_t>(nZone)] = nFirst + nZone;
        ASSERT_TRUE(every.Agrees(inputs.Scene(0), Inputs("offsets from", nFirst)));
    }
    every.ExpectRecords(32768 * 2 * nGreys);
}

TEST(EveryZoneTableInput, GainOfEveryGrey)
{
    std::vector<std::pair<int, int>> aGreys;
    for (const std::pair<int, int>& greys : EveryDifference())
        aGreys.insert(aGreys.end(), CConvParam::nZoneLimit, greys);
    CEveryCase every;
    CZoneInputs inputs(ZoneKernel::Vert2STsp, DifferenceCells(CellShape::Column, aGreys));
    for (int nCell = 0; nCell < inputs.cells.Cells(); nCell++)
        inputs.zone.Set(inputs.cells, nCell, nCell % CConvParam::nZoneLimit);
    for (int nFirst = -65536; nFirst < 65536; nFirst += CConvParam::nZoneLimit)
    {
        if (every.Skips(1))
            continue;
        for (int nZone = 0; nZone < CConvParam::nZoneLimit; nZone++)
            inputs.aZoneGains[static_cast<std::size_t>(nZone)] = nFirst + nZone;
        ASSERT_TRUE(every.Agrees(inputs.Scene(0), Inputs("gains from", nFirst)));
    }
    every.ExpectRecords(32768 * 2 * nGreys);
}

TEST(EveryZoneDarkInput, BaseAndGainAgainstEveryDifference)
{
    CEveryCase every;
    CZoneInputs inputs(ZoneKernel::Vert2SBlack, DifferenceCells(CellShape::Column, EveryDifference()));
    CZoneScene scene = inputs.Scene(0);
    for (int nBase = -65536; nBase < 65536; nBase++)
    {
        scene.param.nBlackFilterGray = nBase;
        ASSERT_TRUE(every.Agrees(scene, Inputs("base", nBase)));
    }
    scene.param.nBlackFilterGray = nBelowAllDifferences;
    for (int nGain = -65536; nGain < 65536; nGain++)
    {
        scene.param.nBlackFilterGain = nGain;
        ASSERT_TRUE(every.Agrees(scene, Inputs("gain", nGain)));
    }
    every.ExpectRecords(2 * 65536 * 2 * nGreys);
}

/// Kernels whose reference lies between four pixels: by a table of rows or by the pitch, shifted along x.
class EveryZoneShiftInput : public EveryZoneInput
{
};

INSTANTIATE_TEST_SUITE_P(Each, EveryZoneShiftInput,
                         testing::Values(ZoneKernel::Vtd, ZoneKernel::VtdIntrin, ZoneKernel::ClassIdTable), NameOf);

TEST_P(EveryZoneShiftInput, ReferenceBetweenFour)
{
    CEveryCase every;
    CZoneInputs inputs(GetParam(), CGreyCells(CellShape::Column, 4096));
    ForEveryReferenceBetweenFour(
        [&](const CGreyCells& cells, int nShift, int nFraction)
        {
            if (every.Skips(1))
                return;
            inputs.cells = cells;
            CZoneScene scene = inputs.Scene(nFraction);
            const int nPitch16 = static_cast<int>(scene.call.nPitch16);
            scene.call.pScanPitchTable = nShift % 2 != 0 ? &nPitch16 : nullptr;
            scene.call.nVtdPitch16 = nShift;
            ASSERT_TRUE(every.Agrees(scene, Inputs("shift", nShift)));
        });
    every.ExpectRecords(std::int64_t{256} * 7 * nGreys * nGreys);
}

/// What compares a scene by column tables.
auto ByColumnTables(CEveryCase& every, CZoneInputs& inputs)
{
    return [&](const CGreyCells& cells, const CColumnTables& tables, const std::string& strInputs)
    {
        if (every.Skips(1))
            return;
        inputs.cells = cells;
        CZoneScene scene = inputs.Scene(0);
        tables.SetCall(scene.call);
        ASSERT_TRUE(every.Agrees(scene, strInputs));
    };
}

TEST(EveryZoneColumnInput, WeightsFrom0To16)
{
    CEveryCase every;
    CZoneInputs inputs(ZoneKernel::HoriTable, CGreyCells(CellShape::Row, 4096));
    ForEverySmallColumnWeight(ByColumnTables(every, inputs));
    every.ExpectRecords(17 * 17 * nGreys * nGreys);
}

TEST(EveryZoneColumnInput, WeightsOf16Bits)
{
    CEveryCase every;
    CZoneInputs inputs(ZoneKernel::HoriTable, CGreyCells(CellShape::Row, 8 * nGreys));
    ForEveryColumnWeight(ByColumnTables(every, inputs));
    every.ExpectRecords(std::int64_t{6} * 65536 * nGreys / 2);
}

} // namespace
} // namespace narvo::test
