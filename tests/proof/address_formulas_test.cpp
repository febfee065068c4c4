// SPDX-License-Identifier: MIT
// The formulas that scripts/prove-addresses proves, held to the engine: its checks let pass what the conditions say,
// and its readers form the addresses of the formulas.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "narvoassem/base/image_read.h"
#include "narvoassem/base/pixel_read.h"
#include "narvoassem/engine/check_bounds.h"
#include "narvoassem/fast/scan/cell_walk.h"
#include "narvoassem/narvoassem.h"
#include "proof/address_formulas.h"
#include "support/guarded_memory.h"
#include "support/random.h"
#include "support/seeds.h"

namespace narvo::test
{
namespace
{

using engine::Comparison;

constexpr int nCases = 60000;

/// An extent, a coordinate near it, or an extreme.
int Near(CRandom& random, int nExtent)
{
    switch (random.Int(0, 7))
    {
    case 0:
        return random.Pick({0, -1, INT32_MIN, INT32_MAX, -16, 1});
    case 1:
        return nExtent;
    case 2:
        return nExtent < INT32_MAX ? nExtent + 1 : nExtent;
    case 3:
        return random.Int(-20, 20);
    default:
        return nExtent > 0 ? random.Int(0, nExtent) : nExtent;
    }
}

/// A pitch in whole sixteenths.
std::int64_t Sixteenths(CRandom& random)
{
    constexpr std::int64_t nLimit = std::int64_t{16} * 67108864;
    return random.OneIn(3) ? random.Pick<std::int64_t>({0, -1, -16, nLimit, nLimit + 1, nLimit * 40, -nLimit * 40})
                           : random.Range(0, 4000);
}

/// A block for one comparison, and the same numbers as the formulas name them.
struct CBlockCase
{
    CConvParam param;
    CAddressPlace place;
    bool bExpected = true;
};

std::uint8_t nAnyPixel = 0;
int nAnyTable[2] = {};
unsigned short nAnyColumns[1] = {};
short nAnyMap[1] = {};

void DrawRegion(CRandom& random, CBlockCase& made)
{
    CConvParam& param = made.param;
    CAddressPlace& place = made.place;
    param.nImageWidth = random.Pick({0, 1, 15, 16, 17, 112, 4096, -1, INT32_MAX});
    param.nImageHeight = random.Pick({0, 1, 15, 16, 17, 96, 4096, -1, INT32_MAX});
    param.rtInspect.SetRect(random.OneIn(3) ? Near(random, param.nImageWidth) : 0,
                            random.OneIn(3) ? Near(random, param.nImageHeight) : 0,
                            random.OneIn(2) ? Near(random, param.nImageWidth) : param.nImageWidth,
                            random.OneIn(2) ? Near(random, param.nImageHeight) : param.nImageHeight);
    param.pImage = random.OneIn(6) ? nullptr : &nAnyPixel;
    place.width = param.nImageWidth;
    place.height = param.nImageHeight;
    place.left = param.rtInspect.left;
    place.top = param.rtInspect.top;
    place.right = param.rtInspect.right;
    place.bottom = param.rtInspect.bottom;
    place.hasImage = param.pImage != nullptr ? 1 : 0;
    made.bExpected = CAddressPlace::And(place.LeftInside(), place.RightInside(), place.TopInside(),
                                        place.BottomInside(), place.ImageGiven());
}

/// bRounded: the float and trapezium forms add a half before they truncate.
void DrawPitch(CRandom& random, bool bRounded, CBlockCase& made)
{
    CConvParam& param = made.param;
    // The filters, which read the pitch across, are off.
    param.bFalseFilter = 0;
    const std::int64_t nAlong = Sixteenths(random);
    (param.nDirection == 1 ? param.dScanPitch : param.dConvPitch) = static_cast<double>(nAlong) / 16.0;
    (param.nDirection == 1 ? param.dConvPitch : param.dScanPitch) = 10.0;
    param.nConvMultiple = param.nScanMultiple = 1;
    made.place.pitch = bRounded && nAlong == -1 ? 0 : nAlong;
    made.bExpected = made.bExpected && made.place.PitchNotNegative() && made.place.PitchWithinLimit();
}

void DrawColumnTables(CRandom& random, CBlockCase& made)
{
    CConvParam& param = made.param;
    if (!random.OneIn(3))
        return;
    param.pConvPitchTable = nAnyColumns;
    param.pConvWeightNear = random.OneIn(4) ? nullptr : nAnyMap;
    param.pConvWeightFar = random.OneIn(4) ? nullptr : nAnyMap;
    made.place.usesTables = param.nDirection == 1 ? 0 : 1;
    made.place.hasTables = param.pConvWeightNear != nullptr && param.pConvWeightFar != nullptr ? 1 : 0;
    made.bExpected = made.bExpected && made.place.TablesGiven();
}

void DrawZones(CRandom& random, CBlockCase& made)
{
    CConvParam& param = made.param;
    CAddressPlace& place = made.place;
    param.pThresholdOffsetMap = nAnyMap;
    param.pZoneOriginTable = random.OneIn(6) ? nullptr : nAnyTable;
    param.nZoneColumns = Near(random, random.Pick({0, 2, 3, 8, 9, 256, 258}));
    param.nZoneMapStride = Near(random, random.Pick({0, 64, 12000}));
    param.nZoneConvMultiple = random.Pick({1, 1, 0, -1, 3});
    param.nZoneScanMultiple = random.Pick({1, 1, 0, -1, 3});
    place.hasGrid = param.pZoneOriginTable != nullptr ? 1 : 0;
    place.gridColumns = param.nZoneColumns;
    place.mapStride = param.nZoneMapStride;
    place.cellWidth = engine::TruncateToInt(param.dConvPitch * param.nZoneConvMultiple);
    place.cellHeight = engine::TruncateToInt(param.dScanPitch * param.nZoneScanMultiple);
    made.bExpected = made.bExpected && CAddressPlace::And(place.GridGiven(), place.GridColumns(), place.MapStride(),
                                                          place.CellWidth(), place.CellHeight());
}

void DrawTrapezium(CRandom& random, CBlockCase& made)
{
    CConvParam& param = made.param;
    CAddressPlace& place = made.place;
    CPadPoint* const ptCorner = param.trapInspect.ptCorner;
    for (int i = 0; i < 4; ++i)
    {
        ptCorner[i].x = random.OneIn(8) ? Near(random, param.nImageWidth) : std::max(param.nImageWidth, 0) / (i + 1);
        ptCorner[i].y = random.OneIn(3) ? Near(random, param.nImageHeight) : std::max(param.nImageHeight, 0) / (i + 1);
    }
    const bool bVertical = param.nDirection == 1;
    param.pTiltConvTable = random.OneIn(2) ? nAnyTable : nullptr;
    place.corner0X = ptCorner[0].x;
    place.corner0Y = ptCorner[0].y;
    place.corner3X = ptCorner[3].x;
    place.corner3Y = ptCorner[3].y;
    place.corner1 = bVertical ? ptCorner[1].y : ptCorner[1].x;
    place.corner2 = bVertical ? ptCorner[2].y : ptCorner[2].x;
    place.otherExtent = bVertical ? param.nImageHeight : param.nImageWidth;
    made.bExpected = made.bExpected && CAddressPlace::And(place.Corner0X(), place.Corner0Y(), place.Corner3X(),
                                                          place.Corner3Y(), place.OtherCorner1(), place.OtherCorner2());
}

CBlockCase DrawBlock(std::uint64_t nSeed, Comparison eComparison)
{
    CRandom random(nSeed);
    CBlockCase made;
    CConvParam& param = made.param;
    param.nInspectMode = eComparison == Comparison::Float ? 0 : 1;
    param.nDirection = random.Int(0, 1);
    param.nConvWidth = param.nConvHeight = 2;
    DrawRegion(random, made);
    if (eComparison == Comparison::Binarise || eComparison == Comparison::Average)
        return made;
    DrawPitch(random, eComparison == Comparison::Float || eComparison == Comparison::Trapezium, made);
    if (eComparison == Comparison::Trapezium)
        DrawTrapezium(random, made);
    else if (eComparison == Comparison::Zone)
        DrawZones(random, made);
    else
        DrawColumnTables(random, made);
    return made;
}

class AddressConditions : public testing::TestWithParam<Comparison>
{
};

TEST_P(AddressConditions, AreWhatTheCheckLetsPassOnRandomBlocks)
{
    int nPassed = 0;
    int nRefused = 0;
    for (const std::uint64_t nSeed : CaseSeeds("address conditions", nCases))
    {
        const CBlockCase made = DrawBlock(nSeed, GetParam());
        ASSERT_EQ(engine::FindOutOfBounds(made.param, GetParam()).IsEmpty(), made.bExpected) << ReplayHint(nSeed);
        ++(made.bExpected ? nPassed : nRefused);
    }
    // One replayed case has one answer.
    const int nBoth = nPassed + nRefused;
    EXPECT_GE(nPassed, nBoth > 1 ? nBoth / 100 : 0);
    EXPECT_GE(nRefused, nBoth > 1 ? nBoth / 100 : 0);
}

INSTANTIATE_TEST_SUITE_P(Comparisons, AddressConditions,
                         testing::Values(Comparison::Pixel, Comparison::Zone, Comparison::Float, Comparison::Binarise,
                                         Comparison::Average, Comparison::Trapezium));

TEST(AddressFormulas, AreThoseOfRowsAndPixelsReadAtRandomPlaces)
{
    CGuardedMemory front(4096, CGuardedMemory::Flush::Front);
    CGuardedMemory back(4096, CGuardedMemory::Flush::Back);
    for (const std::uint64_t nSeed : CaseSeeds("address rows", nCases))
    {
        CRandom random(nSeed);
        CAddressPlace place;
        place.width = random.Int(1, 64);
        place.height = random.Int(1, 64);
        place.bytes = place.width * place.height;
        place.x = random.OneIn(4) ? random.Range(-5000, 5000) : random.Range(-20, place.width + 20);
        place.y =
            random.OneIn(8) ? random.Pick<std::int64_t>({INT32_MIN, INT32_MAX}) : random.Range(-20, place.height + 20);
        place.count = random.Int(1, 200);
        place.rowStart = place.NearestRow() * place.width;
        std::uint8_t* const pPixels = random.OneIn(2) ? front.Data() : back.Data() + back.Size() - place.bytes;
        for (std::int64_t i = 0; i < place.bytes; ++i)
            pPixels[i] = static_cast<std::uint8_t>(random.Next());
        const engine::CImageView image{pPixels, place.width, place.height};

        ASSERT_EQ(engine::ReadPixel(image, place.x, place.y), pPixels[place.NearestAddress()]) << ReplayHint(nSeed);
        // One byte more shows a write beyond the room of the copy.
        std::vector<std::uint8_t> copy(static_cast<std::size_t>(place.count) + 1, 99);
        const std::uint8_t* const pRow = engine::ReadRow(image, place.x, place.y, place.count, copy.data());
        ASSERT_EQ(pRow != copy.data(), place.ReadsInPlace()) << ReplayHint(nSeed);
        ASSERT_EQ(copy.back(), 99) << ReplayHint(nSeed);
        if (place.ReadsInPlace())
        {
            ASSERT_EQ(pRow, pPixels + place.RowFirst()) << ReplayHint(nSeed);
            continue;
        }
        const std::int64_t nEnd = place.CopiedBefore() + place.CopiedInside();
        for (std::int64_t i = 0; i < place.count; ++i)
        {
            const std::int64_t nFrom = i < place.CopiedBefore() ? 0
                                       : i < nEnd               ? place.CopyFirst() + i - place.CopiedBefore()
                                                                : place.bytes - 1;
            ASSERT_EQ(pRow[i], pPixels[nFrom]) << i << ReplayHint(nSeed);
        }
    }
}

TEST(AddressFormulas, AreThoseOfTheFiltersTablesAtRandomPlaces)
{
    for (const std::uint64_t nSeed : CaseSeeds("address filters", nCases / 10))
    {
        CRandom random(nSeed);
        CAddressPlace place;
        place.height = random.Int(1, 200);
        place.y = random.OneIn(4) ? random.Pick({INT32_MIN, INT32_MAX}) : random.Int(-30, 230);
        std::vector<int> table(static_cast<std::size_t>(CAddressPlace::EntriesPer16(place.height)));
        for (std::size_t i = 0; i < table.size(); ++i)
            table[i] = static_cast<int>(i);
        ASSERT_EQ(engine::ReadPer16(table.data(), static_cast<int>(place.y), static_cast<int>(place.height)),
                  place.NearestEntry())
            << ReplayHint(nSeed);
    }
}

/// A table of which the entries nFirst .. nLast exist, before and behind pages that must not be touched.
template <class TEntry>
class CTableOf
{
public:
    CTableOf(std::int64_t nFirst, std::int64_t nLast, CGuardedMemory::Flush eFlush, TEntry nValue)
        : m_memory(static_cast<std::size_t>(nLast - nFirst + 1) * sizeof(TEntry), eFlush), m_nFirst(nFirst)
    {
        TEntry* const pEntries = reinterpret_cast<TEntry*>(m_memory.Data());
        std::fill_n(pEntries, nLast - nFirst + 1, nValue);
    }
    TEntry* Get() const { return reinterpret_cast<TEntry*>(m_memory.Data()) - m_nFirst; }

private:
    CGuardedMemory m_memory;
    std::int64_t m_nFirst;
};

/// An even image, which gives no hit, so nothing but the kernel reads.
class AddressTables : public testing::Test
{
protected:
    AddressTables() : m_image(std::size_t{200} * 160, 90)
    {
        CConvParam& param = engine.ConvParam;
        engine.InitPixelStorage(1000);
        engine.InitPairStorage(1000);
        engine.InitBlobStorage(100);
        param.pImage = m_image.data();
        param.nImageWidth = 200;
        param.nImageHeight = 160;
        param.nInspectMode = 1;
        param.nConvWidth = param.nConvHeight = 2;
        param.nConvMultiple = param.nScanMultiple = 1;
        param.nThreshold = 10;
    }

    /// A region in the image, with one strip and some rows at least, and a pitch in it.
    void Draw(CRandom& random, int nDirection)
    {
        CConvParam& param = engine.ConvParam;
        param.nDirection = nDirection;
        place = CAddressPlace();
        place.left = random.Int(0, 120);
        place.right = random.Int(static_cast<int>(place.left) + 60, 200);
        place.top = random.Int(0, 80);
        place.bottom = random.Int(static_cast<int>(place.top) + 40, 160);
        place.pitch = random.Int(0, 16 * 16);
        param.rtInspect.SetRect(static_cast<int>(place.left), static_cast<int>(place.top),
                                static_cast<int>(place.right), static_cast<int>(place.bottom));
        param.dConvPitch = param.dScanPitch = static_cast<double>(place.pitch) / 16.0;
    }

    CAddressPlace place;
    CNarvoAssem engine;

private:
    std::vector<std::uint8_t> m_image;
};

TEST_F(AddressTables, RowTablesAreReadFromTheFirstEntryToTheLastOfTheFormulaAtRandomRegions)
{
    for (const std::uint64_t nSeed : CaseSeeds("address row tables", 400))
    {
        CRandom random(nSeed);
        Draw(random, 1);
        place.freeRows = 2;
        place.y = place.top;
        const std::int64_t nFirst = place.StripRowEntry();
        place.y = place.RowEnd() - 1;
        const std::int64_t nLast = place.StripRowEntry();
        engine.ConvParam.bExtendedKernel = random.Int(0, 1);
        const auto eFlush = random.Pick({CGuardedMemory::Flush::Front, CGuardedMemory::Flush::Back});
        const CTableOf<int> table(nFirst, nLast, eFlush, static_cast<int>(place.pitch));
        engine.ConvParam.pScanPitchTable = table.Get();
        engine.Compare_Pixel();
        ASSERT_EQ(engine.nPairCount, 0) << ReplayHint(nSeed);
    }
}

TEST_F(AddressTables, ColumnTablesAreReadFromTheFirstEntryToTheLastOfTheFormulaAtRandomRegions)
{
    for (const std::uint64_t nSeed : CaseSeeds("address column tables", 400))
    {
        CRandom random(nSeed);
        Draw(random, 0);
        const bool bFloat = random.OneIn(2);
        engine.ConvParam.nInspectMode = bFloat ? 0 : 1;
        place.column = 0;
        const std::int64_t nFirst = place.ColumnEntry();
        const std::int64_t nColumns = bFloat ? place.FloatColumns() : place.PixelColumns();
        place.column = nColumns - 1;
        const std::int64_t nLast = place.ColumnEntry();
        // The last block may have but eight columns; those share its weights.
        place.column |= 7;
        const std::int64_t nLastWeight = place.WeightEntry();
        const auto eFlush = random.Pick({CGuardedMemory::Flush::Front, CGuardedMemory::Flush::Back});
        const CTableOf<unsigned short> shifts(nFirst, nLast, eFlush, static_cast<unsigned short>(place.Whole()));
        const CTableOf<short> near(nFirst, nLastWeight, eFlush, 16);
        const CTableOf<short> far(nFirst, nLastWeight, eFlush, 0);
        engine.ConvParam.pConvPitchTable = shifts.Get();
        engine.ConvParam.pConvWeightNear = near.Get();
        engine.ConvParam.pConvWeightFar = far.Get();
        bFloat ? engine.Compare_Float() : engine.Compare_Pixel();
        ASSERT_EQ(engine.nPairCount, 0) << ReplayHint(nSeed);
    }
}

TEST_F(AddressTables, TrapeziumWhoseTopRowLiesBelowTheImageTakesTheLastEntryOfItsTable)
{
    CConvParam& param = engine.ConvParam;
    param.nDirection = 0;
    param.rtInspect.SetRect(0, 0, 200, 160);
    param.dConvPitch = param.dScanPitch = 10.0;
    param.trapInspect.ptCorner[0].x = param.trapInspect.ptCorner[3].x = 0;
    param.trapInspect.ptCorner[1].x = param.trapInspect.ptCorner[2].x = 200;
    param.trapInspect.ptCorner[0].y = param.trapInspect.ptCorner[1].y = 160;
    param.trapInspect.ptCorner[2].y = param.trapInspect.ptCorner[3].y = 0;
    const CTableOf<int> table(0, CAddressPlace::EntriesPer16(160) - 1, CGuardedMemory::Flush::Back, 160);
    param.pTiltConvTable = table.Get();
    CConvParam block = param;
    EXPECT_EQ(engine.Inspect_Trapezium(&block), 1) << "behind the table lies a page that must not be read";
    block.trapInspect.ptCorner[0].y = block.trapInspect.ptCorner[1].y = 159;
    EXPECT_EQ(engine.Inspect_Trapezium(&block), 1) << "the last row has an entry";
}

TEST(AddressFormulas, BoundTheGridColumnsOfRegularAndNarrowCellsAtRandom)
{
    for (const std::uint64_t nSeed : CaseSeeds("address grid columns", nCases / 20))
    {
        CRandom random(nSeed);
        CAddressPlace place;
        place.left = random.Int(0, 50);
        place.right = place.left + random.Int(16, 600);
        place.cellWidth = random.OneIn(4) ? random.Int(-5, 0) : random.Int(1, 90);
        const bool bFlagged = random.OneIn(2);
        const std::int64_t nRecord = bFlagged ? 3 : 2;
        const std::int64_t nColumns = (place.right - place.left) + 4;
        std::vector<int> table(static_cast<std::size_t>(2 * nColumns * nRecord));
        for (std::int64_t n = 0; n < 2 * nColumns; ++n)
        {
            int* const pRecord = &table[static_cast<std::size_t>(n * nRecord)];
            pRecord[0] = static_cast<int>(place.left + n % nColumns * place.cellWidth);
            if (bFlagged)
                pRecord[2] = random.Int(0, 1);
        }
        const engine::CZoneGrid grid{reinterpret_cast<const std::byte*>(table.data()), nColumns * nRecord * 4,
                                     place.cellWidth, 10, bFlagged};
        engine::CStripCursor cursor(grid, place.StripEnd());
        for (place.x = place.left; place.x < place.StripEnd(); place.x += 16)
        {
            cursor.Enter(place.x);
            place.gridColumn = (cursor.Column() - grid.pTable) / grid.RecordBytes();
            place.columnStart = place.gridColumn * place.cellWidth;
            ASSERT_TRUE(place.cellWidth < 1 || place.ColumnReached()) << ReplayHint(nSeed);
            ASSERT_TRUE(place.NarrowColumnReached()) << ReplayHint(nSeed);
        }
    }
}

TEST(AddressFormulas, BoundTheGridRowsOfRegularCellsAtRandom)
{
    for (const std::uint64_t nSeed : CaseSeeds("address grid rows", nCases / 20))
    {
        CRandom random(nSeed);
        CAddressPlace place;
        place.top = random.Int(0, 50);
        place.bottom = place.top + random.Int(1, 300);
        place.cellHeight = random.Int(1, 60);
        const std::int64_t nRows = place.bottom - place.top + 3;
        std::vector<int> table(static_cast<std::size_t>(2 * nRows));
        for (std::int64_t n = 0; n < nRows; ++n)
            table[static_cast<std::size_t>(2 * n + 1)] = static_cast<int>(place.top + (n - 1) * place.cellHeight);
        const engine::CZoneGrid grid{reinterpret_cast<const std::byte*>(table.data()), 8, 1000, place.cellHeight,
                                     false};
        engine::CStripCursor cursor(grid, 1000);
        cursor.Enter(0);
        if (random.OneIn(2))
            cursor.Enter(16); // a strip that stays in its cell lags by one row of the grid
        engine::CCellRows rows(cursor, place.top, place.bottom);
        for (place.y = place.top; place.y < place.bottom; ++place.y)
        {
            rows.Advance(place.y);
            place.rowDepth = rows.Origin().nY - place.top;
            ASSERT_TRUE(place.RowReached()) << ReplayHint(nSeed);
        }
    }
}

} // namespace
} // namespace narvo::test
