// SPDX-License-Identifier: MIT
// Binarise mode: the worker against its plain form at every vector level, its limits, and the engine's blobs.
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

struct CRun
{
    std::vector<CDefectPair> pairs = std::vector<CDefectPair>(4096);
    int nCount = 0;
    int nEndLine = -1;
};

CRun Binarise(std::vector<unsigned char>& image, int nWidth, int nLow, int nHigh, CRect rtInspect, int nSize = 4000)
{
    CNarvoAssem engine;
    CRun run;
    run.nCount = engine.BinalizeInspection(image.data(), nLow, nHigh, rtInspect, nWidth, run.pairs.data(), 0, nSize,
                                           run.nEndLine);
    return run;
}

TEST(Binarise, RectangleOfSixteenColumnsHasNoBlock)
{
    std::vector<unsigned char> image(64 * 4, 10);
    const CRun run = Binarise(image, 64, 0, 50, CRect(0, 0, 16, 4));
    EXPECT_EQ(run.nCount, 0);
    EXPECT_EQ(run.nEndLine, 4);
}

TEST(Binarise, SeventeenOrThirtyTwoColumnsInspectTheFirstSixteen)
{
    std::vector<unsigned char> image(64 * 2, 10);
    for (const int nWidth : {17, 32})
    {
        const CRun run = Binarise(image, 64, 0, 50, CRect(3, 0, 3 + nWidth, 1));
        ASSERT_EQ(run.nCount, 16);
        for (int i = 0; i < 16; ++i)
            EXPECT_EQ(run.pairs[static_cast<std::size_t>(i)].ptDefect, CPoint(3 + i, 0));
    }
    EXPECT_EQ(Binarise(image, 64, 0, 50, CRect(3, 0, 36, 1)).nCount, 32);
}

TEST(Binarise, OnlyTheLowBytesOfTheLimitsAreCompared)
{
    std::vector<unsigned char> image(64);
    for (int i = 0; i < 64; ++i)
        image[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i);
    EXPECT_EQ(Binarise(image, 64, 0, 256, CRect(0, 0, 64, 1)).nCount, 0);
    const CRun run = Binarise(image, 64, 0, 300, CRect(0, 0, 64, 1));
    ASSERT_EQ(run.nCount, 43);
    EXPECT_EQ(run.pairs[0].nSrcGray, 1);
    EXPECT_EQ(run.pairs[42].nSrcGray, 43);
    EXPECT_EQ(run.pairs[0].nCmpGray, 300);
    EXPECT_EQ(run.pairs[0].nThreshold, 300);
    EXPECT_EQ(run.pairs[0].nPeak, 300 - 299);
}

TEST(Binarise, PixelsStrictlyBetweenTheLimitsHitAndPeakIsTheirGrey)
{
    std::vector<unsigned char> image(64 * 2);
    for (int i = 0; i < 64; ++i)
        image[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i);
    const CRun run = Binarise(image, 64, 0, 50, CRect(0, 0, 80, 1));
    ASSERT_EQ(run.nCount, 49);
    for (int i = 0; i < 49; ++i)
    {
        const CDefectPair& pair = run.pairs[static_cast<std::size_t>(i)];
        EXPECT_EQ(pair.nSrcGray, i + 1);
        EXPECT_EQ(pair.nPeak, i + 1);
        EXPECT_EQ(pair.nDefectPos, 2);
        EXPECT_EQ(pair.nDefectPair, 1);
        EXPECT_EQ(pair.nDefectType, 0);
        EXPECT_EQ(pair.nZoneIndex, 0);
    }
}

TEST(Binarise, SmallerLimitIsTheLowerOneInEitherOrder)
{
    std::vector<unsigned char> image(64, 30);
    const CRun run = Binarise(image, 64, 50, 20, CRect(0, 0, 33, 1));
    ASSERT_EQ(run.nCount, 32);
    EXPECT_EQ(run.pairs[0].nCmpGray, 50);
    EXPECT_EQ(run.pairs[0].nThreshold, 50);
    EXPECT_EQ(run.pairs[0].nPeak, 30);
}

TEST(Binarise, SubZoneOfTheRecordIsNotWritten)
{
    std::vector<unsigned char> image(64, 30);
    CNarvoAssem engine;
    std::vector<CDefectPair> pairs(64);
    pairs[0].nSubZone = 7;
    int nEndLine = 0;
    ASSERT_EQ(engine.BinalizeInspection(image.data(), 0, 50, CRect(0, 0, 17, 1), 64, pairs.data(), 0, 64, nEndLine),
              16);
    EXPECT_EQ(pairs[0].nSubZone, 7);
}

TEST(Binarise, DeadZonesRestrictNothing)
{
    std::vector<unsigned char> image(64 * 8, 30);
    for (const int nZones : {1, 10})
    {
        CNarvoAssem engine;
        for (int i = 0; i < nZones; ++i)
            engine.ConvParam.rtDeadZone[i].SetRect(0, 0, 64, 8);
        std::vector<CDefectPair> pairs(1024);
        int nEndLine = 0;
        EXPECT_EQ(
            engine.BinalizeInspection(image.data(), 0, 50, CRect(0, 0, 33, 8), 64, pairs.data(), 0, 1000, nEndLine),
            32 * 8);
    }
}

TEST(Binarise, FullBufferStopsInTheMiddleOfABlockAndReportsTheRow)
{
    std::vector<unsigned char> image(64 * 8, 30);
    const CRun run = Binarise(image, 64, 0, 50, CRect(0, 2, 33, 8), 39);
    EXPECT_EQ(run.nCount, 39);
    EXPECT_EQ(run.nEndLine, 3);
    EXPECT_EQ(run.pairs[38].ptDefect, CPoint(6, 3));
}

TEST(Binarise, CountAtOrAboveTheSizeLetsOneMoreRecordBeWritten)
{
    std::vector<unsigned char> image(64 * 8, 30);
    CNarvoAssem engine;
    for (const int nCount : {10, 15})
    {
        std::vector<CDefectPair> pairs(64);
        int nEndLine = 0;
        EXPECT_EQ(
            engine.BinalizeInspection(image.data(), 0, 50, CRect(0, 5, 33, 8), 64, pairs.data(), nCount, 10, nEndLine),
            nCount + 1);
        EXPECT_EQ(nEndLine, 5);
        EXPECT_EQ(pairs[static_cast<std::size_t>(nCount)].ptDefect, CPoint(0, 5));
    }
}

TEST(Binarise, EmptyReversedAndExtremeRectanglesAreNotScanned)
{
    std::vector<unsigned char> image(64 * 8, 30);
    for (const CRect& rt : {CRect(40, 0, 0, 8), CRect(0, 8, 64, 0), CRect(), CRect(INT_MAX, 0, INT_MIN, 8),
                            CRect(INT_MIN, 0, INT_MIN + 16, 8)})
    {
        const CRun run = Binarise(image, 64, 0, 50, rt);
        EXPECT_EQ(run.nCount, 0);
        EXPECT_EQ(run.nEndLine, rt.bottom);
    }
}

TEST(Binarise, RandomCasesEqualThePlainFormAtEveryVectorLevel)
{
    CForcedLevel level(VectorLevels().front());
    CRandom random(20240);
    CNarvoAssem engine;
    for (int nCase = 0; nCase < 4000; ++nCase)
    {
        const int nPitch = random.Int(1, random.OneIn(4) ? 1200 : 150);
        const int nRows = random.Int(1, 9);
        std::vector<unsigned char> image(static_cast<std::size_t>(nPitch) * static_cast<std::size_t>(nRows));
        const int nKind = random.Int(0, 2);
        for (unsigned char& nGray : image)
            nGray = static_cast<unsigned char>(nKind == 0   ? random.Int(0, 255)
                                               : nKind == 1 ? (random.OneIn(200) ? random.Int(0, 255) : 128)
                                                            : random.Pick({0, 1, 127, 128, 254, 255}));
        const int nLeft = random.Int(0, nPitch - 1);
        const int nTop = random.Int(0, nRows - 1);
        const CRect rt(nLeft, nTop, random.Int(nLeft, nPitch), random.Int(nTop, nRows));
        const int nLow = random.OneIn(5) ? random.Int(-600, 600) : random.Int(0, 255);
        const int nHigh = random.OneIn(5) ? random.Int(-600, 600) : random.Int(0, 255);
        const int nFirst = random.Int(0, 5);
        const int nSize = random.OneIn(3) ? random.Int(0, 40) : 20000;
        std::vector<CDefectPair> expected(image.size() + 8);
        const CSideModeResult result =
            BinariseReference(image.data(), nLow, nHigh, rt, nPitch, expected, nFirst, nSize);
        for (const std::int64_t nLevel : VectorLevels())
        {
            level.Change(nLevel);
            std::vector<CDefectPair> pairs(expected.size());
            int nEndLine = -7;
            const int nCount =
                engine.BinalizeInspection(image.data(), nLow, nHigh, rt, nPitch, pairs.data(), nFirst, nSize, nEndLine);
            ASSERT_EQ(nCount, result.nPairCount) << "case " << nCase << ", " << LevelName(nLevel);
            ASSERT_EQ(nEndLine, result.nEndLine) << "case " << nCase << ", " << LevelName(nLevel);
            ASSERT_EQ(std::memcmp(pairs.data(), expected.data(), sizeof(CDefectPair) * pairs.size()), 0)
                << "case " << nCase << ", " << LevelName(nLevel);
        }
    }
}

TEST(Binarise, NoReadLeavesTheImage)
{
    CForcedLevel level(VectorLevels().front());
    CNarvoAssem engine;
    for (const std::int64_t nLevel : VectorLevels())
    {
        level.Change(nLevel);
        for (const auto eFlush : {CGuardedMemory::Flush::Front, CGuardedMemory::Flush::Back})
            for (int nWidth = 15; nWidth < 300; nWidth += 7)
            {
                CGuardedMemory image(static_cast<std::size_t>(nWidth) * 3, eFlush);
                std::memset(image.Data(), 30, image.Size());
                std::vector<CDefectPair> pairs(1024);
                int nEndLine = 0;
                const int nCount = engine.BinalizeInspection(image.Data(), 0, 50, CRect(0, 0, nWidth, 3), nWidth,
                                                             pairs.data(), 0, 1000, nEndLine);
                EXPECT_EQ(nCount, nWidth > 16 ? (nWidth - 1) / 16 * 16 * 3 : 0);
            }
    }
}

TEST(Binarise, EngineRunReportsBlobsOfTheBandBelowTheThreshold)
{
    std::vector<unsigned char> image(256 * 64, 200);
    for (int y = 20; y < 24; ++y)
        for (int x = 100; x < 106; ++x)
            image[static_cast<std::size_t>(y * 256 + x)] = 40;
    image[30 * 256 + 10] = 0; // black itself is outside the band
    CNarvoAssem engine;
    ASSERT_EQ(engine.InitAssem(0, 100), 1);
    engine.ResetNarvoAssem();
    CConvParam param;
    param.nInspectMode = 2;
    param.pImage = image.data();
    param.nImageWidth = 256;
    param.nImageHeight = 64;
    param.rtInspect.SetRect(0, 0, 256, 64);
    param.nThreshold = 100;
    EXPECT_EQ(engine.Inspect_Rect(&param), 1);
    EXPECT_EQ(engine.GetPairCount(), 24);
    ASSERT_EQ(engine.GetBlobCount(), 1);
    EXPECT_EQ(engine.nReinspectCount, 0);
}

TEST(Binarise, OverflowInTheEngineStartsAReRunFromTheRowItStoppedAt)
{
    std::vector<unsigned char> image(1024 * 400, 50);
    CNarvoAssem engine;
    ASSERT_EQ(engine.InitAssem(0, 100), 1);
    engine.ResetNarvoAssem();
    CConvParam param;
    param.nInspectMode = 2;
    param.pImage = image.data();
    param.nImageWidth = 1024;
    param.nImageHeight = 400;
    param.rtInspect.SetRect(0, 0, 1024, 400);
    param.nThreshold = 100;
    param.nMaxReinspect = 1;
    EXPECT_EQ(engine.Inspect_Rect(&param), 16);
    EXPECT_EQ(engine.nReinspectCount, 1);
    // 160000 hits of 1008 a row: the pass ends in row 158, where the second one starts and ends as well.
    EXPECT_EQ(engine.GetPairCount(), 160000);
    EXPECT_EQ(engine.GetPairDefect(0)->ptDefect, CPoint(0, 158));
}

} // namespace
