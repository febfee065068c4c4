// SPDX-License-Identifier: MIT
// Average mode: the worker against its plain form at every vector level, window sums, limits, and the engine's blobs.
#include "narvoassem/narvoassem.h"

#include <climits>
#include <cstring>
#include <vector>

#include "gtest/gtest.h"

#include "reference/side_mode_reference.h"
#include "support/guarded_memory.h"
#include "support/random.h"
#include "support/vector_levels.h"

namespace
{

using namespace narvo::test;

/// One call of the worker with buffers of its own.
struct CAverageRun
{
    std::vector<std::int64_t> table;
    std::vector<CDefectPair> pairs;
    int nCount = 0;
    int nEndLine = -5;
    CRect rtDeadZone[10];

    CAverageRun(const unsigned char* pImage, int nPitch, CRect rt, int nDark, int nBright, int nGrayLimit, int nDefect,
                int nBack, int nFirst = 0, int nSize = 100000)
        : table(static_cast<std::size_t>(std::max(rt.Width(), 0) + 1) *
                static_cast<std::size_t>(std::max(rt.Height(), 0) + 1)),
          pairs(static_cast<std::size_t>(std::max(rt.Width(), 0)) * static_cast<std::size_t>(std::max(rt.Height(), 0)) +
                32)
    {
        nCount = CompareAverageROI(const_cast<unsigned char*>(pImage), table.data(), nPitch, &rt, nDark, nBright,
                                   nGrayLimit, rtDeadZone, pairs.data(), nFirst, nSize, nDefect, nBack, &nEndLine);
    }
};

std::vector<unsigned char> MakeFlat(int nWidth, int nHeight, int nGray)
{
    return std::vector<unsigned char>(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight),
                                      static_cast<unsigned char>(nGray));
}

TEST(Average, DarkAndBrightSpotsGiveRecordsOfTheirMeans)
{
    std::vector<unsigned char> image = MakeFlat(40, 40, 100);
    image[20 * 40 + 20] = 10;
    const CAverageRun dark(image.data(), 40, CRect(0, 0, 40, 40), -30, 30, 255, 1, 5);
    ASSERT_EQ(dark.nCount, 1);
    const CDefectPair& pair = dark.pairs[0];
    // Background: (24 * 100 + 10) / 25; difference 10 * 25 - 2410 = -2160, below -750 by 1410.
    EXPECT_EQ(pair.ptDefect, CPoint(20, 20));
    EXPECT_EQ(pair.nDefectType, 0);
    EXPECT_EQ(pair.nDefectPos, 2);
    EXPECT_EQ(pair.nDefectPair, 1);
    EXPECT_EQ(pair.nPeak, 1410 / 25);
    EXPECT_EQ(pair.nSrcGray, 10);
    EXPECT_EQ(pair.nCmpGray, 2410 / 25);
    EXPECT_EQ(pair.nThreshold, 30);
    EXPECT_EQ(pair.nZoneIndex, 0);
    EXPECT_EQ(dark.nEndLine, 1);

    image[20 * 40 + 20] = 190;
    const CAverageRun bright(image.data(), 40, CRect(0, 0, 40, 40), -30, 30, 255, 1, 5);
    ASSERT_EQ(bright.nCount, 1);
    EXPECT_EQ(bright.pairs[0].nDefectType, 1);
    EXPECT_EQ(bright.pairs[0].nThreshold, 30);
}

TEST(Average, BackgroundIsReducedToAMultipleOfTheDefectWindow)
{
    // 21 and 5 work as 20 and 5: windows of 21 inside the region and of 20 at its edges, the area 400 dividing both.
    std::vector<unsigned char> image = MakeFlat(64, 64, 80);
    const CAverageRun run(image.data(), 64, CRect(0, 0, 64, 64), 1000, 1000, 255, 5, 21);
    ASSERT_EQ(run.nCount, 64 * 64);
    const auto getBack = [&](int x, int y) { return run.pairs[static_cast<std::size_t>(y * 64 + x)].nCmpGray; };
    EXPECT_EQ(getBack(32, 32), 80 * 21 * 21 / 400);
    EXPECT_EQ(getBack(0, 0), 80);
    EXPECT_EQ(getBack(9, 32), 80 * 20 * 21 / 400);
    EXPECT_EQ(getBack(10, 32), 80 * 21 * 21 / 400);
    EXPECT_EQ(getBack(53, 32), 80 * 21 * 21 / 400);
    EXPECT_EQ(getBack(54, 32), 80 * 20 * 21 / 400);
    for (const int x : {0, 1, 30, 63})
        EXPECT_EQ(run.pairs[static_cast<std::size_t>(x)].nSrcGray, 80);
}

TEST(Average, CornerPixelGetsTheWindowShiftedInside)
{
    std::vector<unsigned char> image = MakeFlat(32, 32, 0);
    image[0] = 250; // in the window of every pixel of the corner
    const CAverageRun run(image.data(), 32, CRect(0, 0, 32, 32), 0, 0, 255, 3, 9);
    ASSERT_GE(run.nCount, 4);
    EXPECT_EQ(run.pairs[0].ptDefect, CPoint(0, 0));
    EXPECT_EQ(run.pairs[0].nSrcGray, 250 / 9);
    EXPECT_EQ(run.pairs[1].ptDefect, CPoint(1, 0));
    EXPECT_EQ(run.pairs[1].nSrcGray, 250 / 9);
    EXPECT_EQ(run.pairs[1].nCmpGray, 250 / 81);
    EXPECT_NE(run.pairs[2].nSrcGray, 250 / 9) << "column 2 looks from column 1 on";
}

TEST(Average, MeanAboveTheGrayLimitIsSkipped)
{
    std::vector<unsigned char> image = MakeFlat(40, 40, 100);
    for (int y = 18; y < 21; ++y)
        for (int x = 18; x < 21; ++x)
            image[static_cast<std::size_t>(y * 40 + x)] = 250;
    EXPECT_GT(CAverageRun(image.data(), 40, CRect(0, 0, 40, 40), -10, 10, 250, 3, 9).nCount, 0);
    bool bCentre = false;
    const CAverageRun limited(image.data(), 40, CRect(0, 0, 40, 40), -10, 10, 249, 3, 9);
    for (int i = 0; i < limited.nCount; ++i)
        bCentre = bCentre || limited.pairs[static_cast<std::size_t>(i)].ptDefect == CPoint(19, 19);
    EXPECT_FALSE(bCentre);
}

TEST(Average, PositiveDarkThresholdMakesEveryPixelBelowItADarkHit)
{
    std::vector<unsigned char> image = MakeFlat(30, 30, 100);
    const CAverageRun run(image.data(), 30, CRect(0, 0, 30, 30), 5, 10, 255, 1, 3);
    ASSERT_EQ(run.nCount, 900);
    EXPECT_EQ(run.pairs[0].nDefectType, 0);
    EXPECT_EQ(run.pairs[0].nThreshold, 5);
    EXPECT_EQ(run.pairs[0].nPeak, 5);
}

TEST(Average, DeadZonesRestrictNothing)
{
    std::vector<unsigned char> image = MakeFlat(30, 30, 100);
    CRect rtDeadZone[10];
    for (CRect& rt : rtDeadZone)
        rt.SetRect(0, 0, 30, 30);
    std::vector<std::int64_t> table(31 * 31);
    std::vector<CDefectPair> pairs(1000);
    CRect rt(0, 0, 30, 30);
    int nEndLine = 0;
    EXPECT_EQ(CompareAverageROI(image.data(), table.data(), 30, &rt, 5, 10, 255, rtDeadZone, pairs.data(), 0, 1000, 1,
                                3, &nEndLine),
              900);
    rtDeadZone[1].SetRectEmpty();
    EXPECT_EQ(CompareAverageROI(image.data(), table.data(), 30, &rt, 5, 10, 255, rtDeadZone, pairs.data(), 0, 1000, 1,
                                3, &nEndLine),
              900);
}

TEST(Average, WindowsThatGiveNoAreaGiveNoHit)
{
    std::vector<unsigned char> image = MakeFlat(30, 30, 100);
    for (const auto& [nDefect, nBack] : {std::pair{0, 45}, std::pair{9, 8}, std::pair{46, 45}, std::pair{9, 0}})
    {
        const CAverageRun run(image.data(), 30, CRect(0, 0, 30, 30), 1000, 0, 255, nDefect, nBack);
        EXPECT_EQ(run.nCount, 0);
        EXPECT_EQ(run.nEndLine, 1);
    }
}

TEST(Average, EmptyRegionGivesNoHitAndTheSameEndLine)
{
    std::vector<unsigned char> image = MakeFlat(30, 30, 100);
    for (const CRect& rt : {CRect(5, 5, 5, 9), CRect(5, 5, 9, 5), CRect(9, 9, 5, 5)})
    {
        const CAverageRun run(image.data(), 30, rt, 1000, 0, 255, 1, 3);
        EXPECT_EQ(run.nCount, 0);
        EXPECT_EQ(run.nEndLine, 1);
    }
}

TEST(Average, CountAtOrAboveTheSizeLetsOneMoreRecordBeWritten)
{
    std::vector<unsigned char> image = MakeFlat(30, 30, 100);
    for (const int nFirst : {4, 9})
    {
        const CAverageRun run(image.data(), 30, CRect(0, 0, 30, 30), 5, 10, 255, 1, 3, nFirst, 4);
        EXPECT_EQ(run.nCount, nFirst + 1);
        EXPECT_EQ(run.pairs[static_cast<std::size_t>(nFirst)].ptDefect, CPoint(0, 0));
    }
}

TEST(Average, SubZoneOfTheRecordIsNotWritten)
{
    std::vector<unsigned char> image = MakeFlat(30, 30, 100);
    std::vector<std::int64_t> table(31 * 31);
    std::vector<CDefectPair> pairs(1000);
    pairs[3].nSubZone = 9;
    CRect rt(0, 0, 30, 30);
    CRect rtDeadZone[10];
    int nEndLine = 0;
    ASSERT_EQ(CompareAverageROI(image.data(), table.data(), 30, &rt, 5, 10, 255, rtDeadZone, pairs.data(), 0, 1000, 1,
                                3, &nEndLine),
              900);
    EXPECT_EQ(pairs[3].nSubZone, 9);
}

TEST(Average, TableHoldsTheSumsEvenWhenTheBufferFillsEarly)
{
    CForcedLevel level(VectorLevels().front());
    CRandom random(5);
    for (const std::int64_t nLevel : VectorLevels())
    {
        level.Change(nLevel);
        const int nWidth = random.Int(60, 200);
        const int nHeight = random.Int(60, 100);
        std::vector<unsigned char> image(static_cast<std::size_t>(nWidth * nHeight));
        for (unsigned char& nGray : image)
            nGray = static_cast<unsigned char>(random.Int(0, 255));
        const CAverageRun run(image.data(), nWidth, CRect(0, 0, nWidth, nHeight), 300, 0, 255, 3, 9, 0, 50);
        EXPECT_EQ(run.nCount, 50);
        std::vector<std::int64_t> above(static_cast<std::size_t>(nWidth) + 1);
        for (int y = 0; y < nHeight; ++y)
        {
            std::int64_t nRow = 0;
            for (int x = 0; x < nWidth; ++x)
            {
                nRow += image[static_cast<std::size_t>(y * nWidth + x)];
                above[static_cast<std::size_t>(x) + 1] += nRow;
            }
            ASSERT_EQ(std::memcmp(above.data(), &run.table[static_cast<std::size_t>((y + 1) * (nWidth + 1))],
                                  above.size() * sizeof above[0]),
                      0)
                << "row " << y << ", " << LevelName(nLevel);
        }
    }
}

TEST(FilterSum, WindowsAreShiftedInsideAndThenCut)
{
    const int nWidth = 23;
    const int nHeight = 17;
    CRandom random(8);
    std::vector<unsigned char> image(static_cast<std::size_t>(nWidth * nHeight));
    for (unsigned char& nGray : image)
        nGray = static_cast<unsigned char>(random.Int(0, 255));
    const CRect rt(0, 0, nWidth, nHeight);
    const CAverageRun run(image.data(), nWidth, rt, 0, 0, 255, 1, 1);
    for (const int nSize : {1, 2, 3, 4, 7, 8, 16, 17, 18, 23, 24, 100})
        for (int y = 0; y < nHeight; ++y)
            for (int x = 0; x < nWidth; ++x)
            {
                std::int64_t nSum = -1;
                GetFilterSum(CPoint(x, y), nSum, run.table.data(), nWidth + 1, rt, nSize);
                ASSERT_EQ(nSum, WindowSumReference(image.data(), nWidth, rt, x, y, nSize))
                    << x << ", " << y << ", size " << nSize;
            }
}

TEST(Average, RandomCasesEqualThePlainFormAtEveryVectorLevel)
{
    CForcedLevel level(VectorLevels().front());
    CRandom random(777);
    int nHits = 0;
    for (int nCase = 0; nCase < 6000; ++nCase)
    {
        // Sometimes flat or narrow, with room for a large window along one axis.
        const int nShape = random.Int(0, 9);
        const int nPitch = nShape == 0 ? random.Int(140, 700) : random.Int(1, nShape == 1 ? 5 : nShape < 4 ? 200 : 70);
        const int nRows = nShape == 0 ? random.Int(1, 4) : random.Int(1, nShape == 1 ? 400 : 40);
        std::vector<unsigned char> image(static_cast<std::size_t>(nPitch) * static_cast<std::size_t>(nRows));
        const int nKind = random.Int(0, 2);
        const int nBase = random.Int(0, 255);
        for (unsigned char& nGray : image)
            nGray = static_cast<unsigned char>(nKind == 0   ? random.Int(0, 255)
                                               : nKind == 1 ? (random.OneIn(100) ? random.Int(0, 255) : nBase)
                                                            : random.Pick({0, 255}));
        const int nLeft = random.Int(0, nPitch - 1);
        const int nTop = random.Int(0, nRows - 1);
        const CRect rt(nLeft, nTop, random.Int(nLeft + 1, nPitch), random.Int(nTop + 1, nRows));
        const int nDefect = random.Int(1, random.OneIn(4) ? 40 : 6);
        const int nBack = nDefect + random.Int(0, nShape < 2 ? 200 : random.OneIn(4) ? 60 : 12);
        const int nDark = random.OneIn(6) ? random.Int(-3000, 3000) : random.Int(-80, 0);
        const int nBright = random.OneIn(6) ? random.Int(-3000, 3000) : random.Int(0, 80);
        const int nLimit = random.OneIn(2) ? 255 : random.Int(-5, 300);
        const int nFirst = random.Int(0, 5);
        const int nSize = random.OneIn(3) ? random.Int(0, 40) : 100000;
        std::vector<CDefectPair> expected(static_cast<std::size_t>(rt.Width() * rt.Height()) + 32);
        const CSideModeResult result =
            AverageReference(image.data(), nPitch, rt, nDark, nBright, nLimit, expected, nFirst, nSize, nDefect, nBack);
        nHits += result.nPairCount - nFirst;
        for (const std::int64_t nLevel : VectorLevels())
        {
            level.Change(nLevel);
            const CAverageRun run(image.data(), nPitch, rt, nDark, nBright, nLimit, nDefect, nBack, nFirst, nSize);
            ASSERT_EQ(run.nCount, result.nPairCount) << "case " << nCase << ", " << LevelName(nLevel);
            ASSERT_EQ(run.nEndLine, 1);
            ASSERT_EQ(std::memcmp(run.pairs.data(), expected.data(), sizeof(CDefectPair) * expected.size()), 0)
                << "case " << nCase << ", " << LevelName(nLevel);
        }
    }
    EXPECT_GT(nHits, 10000);
}

TEST(Average, WindowsBeyondThirtyTwoBitSumsAreComparedInSixtyFour)
{
    // A window of 2001 needs sums of 36 bits after scaling, which the plain form computes.
    std::vector<unsigned char> image = MakeFlat(24, 20, 200);
    image[10 * 24 + 12] = 20;
    const CRect rt(0, 0, 24, 20);
    std::vector<CDefectPair> expected(600);
    for (const int nDefect : {1, 3, 667, 2001})
    {
        const CSideModeResult result =
            AverageReference(image.data(), 24, rt, -100, 150, 255, expected, 0, 1000, nDefect, 2001);
        const CAverageRun run(image.data(), 24, rt, -100, 150, 255, nDefect, 2001);
        ASSERT_EQ(run.nCount, result.nPairCount);
        for (int i = 0; i < run.nCount; ++i)
            ASSERT_EQ(std::memcmp(&run.pairs[static_cast<std::size_t>(i)], &expected[static_cast<std::size_t>(i)],
                                  sizeof(CDefectPair)),
                      0);
    }
}

TEST(Average, ExtremeArgumentsNeitherTrapNorReadOutside)
{
    std::vector<unsigned char> image = MakeFlat(24, 20, 200);
    for (const int nDefect : {INT_MIN, -9, -1, 1, 2, INT_MAX})
        for (const int nBack : {INT_MIN, -45, 1, 45, 65536, INT_MAX})
            for (const int nLimit : {INT_MIN, -1, 0, 255, INT_MAX})
            {
                const CAverageRun run(image.data(), 24, CRect(0, 0, 24, 20), nLimit, nLimit, nLimit, nDefect, nBack);
                EXPECT_GE(run.nCount, 0);
                EXPECT_LE(run.nCount, 24 * 20);
            }
}

TEST(Average, NoReadLeavesTheImage)
{
    CForcedLevel level(VectorLevels().front());
    for (const std::int64_t nLevel : VectorLevels())
    {
        level.Change(nLevel);
        for (const auto eFlush : {CGuardedMemory::Flush::Front, CGuardedMemory::Flush::Back})
            for (int nWidth = 45; nWidth < 180; nWidth += 13)
            {
                CGuardedMemory image(static_cast<std::size_t>(nWidth) * 45, eFlush);
                std::memset(image.Data(), 30, image.Size());
                EXPECT_EQ(CAverageRun(image.Data(), nWidth, CRect(0, 0, nWidth, 45), -3, 3, 255, 9, 45).nCount, 0);
            }
    }
}

TEST(Average, EngineRunReportsBlobsAndItsEndLineIsOne)
{
    std::vector<unsigned char> image = MakeFlat(256, 128, 100);
    for (int y = 60; y < 66; ++y)
        for (int x = 100; x < 106; ++x)
            image[static_cast<std::size_t>(y * 256 + x)] = 250;
    CNarvoAssem engine;
    ASSERT_EQ(engine.InitAssem(0, 100), 1);
    engine.ResetNarvoAssem();
    CConvParam param;
    param.nInspectMode = 3;
    param.pImage = image.data();
    param.nImageWidth = 256;
    param.nImageHeight = 128;
    param.rtInspect.SetRect(0, 0, 256, 128);
    param.nThreshold = 20;
    param.nBlackFilterGray = -20;
    EXPECT_EQ(engine.Inspect_Rect(&param), 1);
    EXPECT_GT(engine.GetPairCount(), 36);
    EXPECT_EQ(engine.GetBlobCount(), 1);
    EXPECT_EQ(engine.Int64BuffComp.GetSize(), 257 * 129);
    engine.ResetNarvoAssem();
    engine.SetConvParam(&param);
    EXPECT_EQ(engine.CompareAverage(), 1);
    // A scan that stopped on a full buffer is not continued.
    engine.ResetNarvoAssem();
    param.nBlackFilterGray = 100;
    engine.InitPairStorage(1000);
    EXPECT_EQ(engine.Inspect_Rect(&param), 1);
    EXPECT_EQ(engine.GetPairCount(), 1000);
    EXPECT_EQ(engine.nReinspectCount, 0);
}

TEST(Average, ADarkThresholdOfOneLevelIsTheLeastThatThePoolInspectsBy)
{
    std::vector<unsigned char> image = MakeFlat(128, 128, 100);
    for (int y = 60; y < 66; ++y)
        for (int x = 60; x < 66; ++x)
            image[static_cast<std::size_t>(y * 128 + x)] = 20;
    CAssemControl pool;
    ASSERT_EQ(pool.InitAssemControl(1, 100), 1);
    for (const int nDark : {-1, 1, 0})
    {
        CConvParam param;
        param.nInspectMode = 3;
        param.pImage = image.data();
        param.nImageWidth = 128;
        param.nImageHeight = 128;
        param.rtInspect.SetRect(0, 0, 128, 128);
        param.nThreshold = 20;
        param.nBlackFilterGray = nDark;
        pool.Inspect_Rect(0, &param, 0);
        EXPECT_EQ(pool.GetNarvoAssem(0)->GetPairCount() > 0, nDark != 0) << nDark;
    }
}

TEST(Average, WindowsWithoutAreaThroughThePoolGiveNoBlob)
{
    std::vector<unsigned char> image = MakeFlat(128, 128, 100);
    image[64 * 128 + 64] = 255;
    CAssemControl pool;
    ASSERT_EQ(pool.InitAssemControl(1, 100), 1);
    for (const int nDefect : {0, 46, 1000})
    {
        CConvParam param;
        param.nInspectMode = 3;
        param.pImage = image.data();
        param.nImageWidth = 128;
        param.nImageHeight = 128;
        param.rtInspect.SetRect(0, 0, 128, 128);
        param.nBlackFilterGray = 10;
        param.nAverageParam2 = nDefect;
        EXPECT_EQ(pool.Inspect_Rect(0, &param, 0), 1);
        EXPECT_EQ(pool.GetNarvoAssem(0)->GetPairCount(), 0);
        EXPECT_EQ(pool.GetNarvoAssem(0)->GetBlobCount(), 0);
    }
}

TEST(Average, TableBeyondAnIntOfCellsMakesNoHit)
{
    std::vector<unsigned char> image = MakeFlat(64, 64, 100);
    CNarvoAssem engine;
    ASSERT_EQ(engine.InitAssem(0, 100), 1);
    engine.ResetNarvoAssem();
    CConvParam param;
    param.nInspectMode = 3;
    param.pImage = image.data();
    param.nImageWidth = 64;
    param.nImageHeight = 64;
    param.nThreshold = -1000;
    for (const CRect& rt :
         {CRect(0, 0, 65536, 65536), CRect(0, 0, INT_MAX, 1), CRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX)})
    {
        param.rtInspect = rt;
        engine.SetConvParam(&param);
        EXPECT_EQ(engine.CompareAverage(), 1);
        EXPECT_EQ(engine.GetPairCount(), 0);
        EXPECT_EQ(engine.Int64BuffComp.GetSize(), 0);
    }
}

} // namespace
