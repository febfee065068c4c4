// SPDX-License-Identifier: MIT
// The pitch search: worked cases, and random regions against the plain reference at every vector level.
#include "narvoassem/assemutil.h"

#include <climits>
#include <cmath>
#include <vector>

#include "gtest/gtest.h"

#include "reference/pitch_reference.h"
#include "support/guarded_memory.h"
#include "support/random.h"
#include "support/vector_levels.h"

namespace
{

using namespace narvo::test;

/// Scratch of the two-dimensional searches: 16 shorts per row.
struct CScratch
{
    alignas(64) short nPlain[16 * 400];
    alignas(64) short nShifted[16 * 400];
};

/// An image that repeats along x and y with whole periods.
std::vector<unsigned char> MakePeriodic(int nWidth, int nHeight, int nPeriodX, int nPeriodY)
{
    CRandom random(99);
    std::vector<unsigned char> cell(static_cast<std::size_t>(nPeriodX * nPeriodY));
    for (unsigned char& nGray : cell)
        nGray = static_cast<unsigned char>(random.Int(0, 255));
    std::vector<unsigned char> image(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight));
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < nWidth; ++x)
            image[static_cast<std::size_t>(y * nWidth + x)] =
                cell[static_cast<std::size_t>(y % nPeriodY * nPeriodX + x % nPeriodX)];
    return image;
}

TEST(PitchCheck, EmptyRangeTriesOnlyTheCentre)
{
    const std::vector<unsigned char> image = MakePeriodic(256, 32, 40, 7);
    int nBest = 0;
    int nWhole = 0;
    int nFraction = 0;
    CAssemUtil::CheckPitchSmall16(437, 0, 8, 4, 64, 16, image.data(), 256, 0, nBest, nWhole, nFraction);
    EXPECT_EQ(nBest, 437);
    EXPECT_EQ(nWhole, 27);
    EXPECT_EQ(nFraction, 5);
}

TEST(PitchCheck, TruePitchOfAPeriodicImageIsFoundAlongBothAxes)
{
    const std::vector<unsigned char> image = MakePeriodic(256, 256, 27, 19);
    int nBest = 0;
    int nWhole = 0;
    int nFraction = 0;
    CAssemUtil::CheckPitchSmall16(27 * 16 + 5, 40, 8, 4, 128, 64, image.data(), 256, 0, nBest, nWhole, nFraction);
    EXPECT_EQ(nBest, 27 * 16);
    EXPECT_EQ(nWhole, 27);
    EXPECT_EQ(nFraction, 0);
    CAssemUtil::CheckPitchSmallVert16(19 * 16 - 11, 40, 8, 4, 128, 64, image.data(), 256, 0, nBest, nWhole, nFraction);
    EXPECT_EQ(nBest, 19 * 16);
    EXPECT_EQ(nWhole, 19);
    int nPixel = 0;
    CAssemUtil::CheckPitchPixel(20 * 16, 40 * 16, 8, 4, 128, 64, image.data(), 256, 0, nPixel);
    EXPECT_EQ(nPixel, 27);
    CScratch scratch;
    int nColumn = 0;
    int nRow = 0;
    CAssemUtil::CheckPitchSmallVPT16(17 * 16, 21 * 16, 26 * 16, 28 * 16, 8, 72, 4, 68, image.data(), 256, 0,
                                     scratch.nPlain, scratch.nShifted, nColumn, nRow);
    EXPECT_EQ(nColumn, 19 * 16);
    EXPECT_EQ(nRow, 27 * 16);
    CAssemUtil::CheckPitchSmallVP_T16(19 * 16, 26 * 16, 28 * 16, 8, 72, 4, 68, image.data(), 256, 0, scratch.nPlain,
                                      scratch.nShifted, nRow);
    EXPECT_EQ(nRow, 27 * 16);
    CAssemUtil::CheckPitchSmallVT_P16(17 * 16, 21 * 16, 27 * 16, 8, 72, 4, 68, image.data(), 256, 0, scratch.nPlain,
                                      scratch.nShifted, nColumn);
    EXPECT_EQ(nColumn, 19 * 16);
}

TEST(PitchCheck, OfSeveralZeroCostsTheSmallestCandidateWins)
{
    const std::vector<unsigned char> image = MakePeriodic(512, 64, 20, 16);
    int nBest = 0;
    int nWhole = 0;
    int nFraction = 0;
    CAssemUtil::CheckPitchSmall16(60 * 16, 45 * 16, 8, 4, 64, 16, image.data(), 512, 0, nBest, nWhole, nFraction);
    EXPECT_EQ(nBest, 20 * 16);
    const std::vector<unsigned char> flat(256 * 64, 90);
    CScratch scratch;
    int nColumn = 0;
    int nRow = 0;
    CAssemUtil::CheckPitchSmallVPT16(35, 90, 18, 40, 8, 72, 4, 30, flat.data(), 256, 0, scratch.nPlain,
                                     scratch.nShifted, nColumn, nRow);
    EXPECT_EQ(nColumn, 35);
    EXPECT_EQ(nRow, 18);
}

TEST(PitchCheck, NoiseThatCoversEverythingLetsTheFirstCandidateWin)
{
    const std::vector<unsigned char> image = MakePeriodic(512, 64, 27, 16);
    for (const int nNoise : {255, 5000, INT_MAX})
    {
        int nBest = 0;
        int nWhole = 0;
        int nFraction = 0;
        CAssemUtil::CheckPitchSmall16(400, 50, 8, 4, 64, 16, image.data(), 512, nNoise, nBest, nWhole, nFraction);
        EXPECT_EQ(nBest, 350);
    }
}

TEST(PitchCheck, LowAboveHighDoesNotChangeTheReferences)
{
    const std::vector<unsigned char> image = MakePeriodic(512, 64, 27, 16);
    int nA = 11;
    int nB = 22;
    int nC = 33;
    CScratch scratch;
    CAssemUtil::CheckPitchSmall16(400, -1, 8, 4, 64, 16, image.data(), 512, 0, nA, nB, nC);
    CAssemUtil::CheckPitchSmallVert16(400, -1, 8, 4, 64, 16, image.data(), 512, 0, nA, nB, nC);
    CAssemUtil::CheckPitchPixel(401, 400, 8, 4, 64, 16, image.data(), 512, 0, nA);
    CAssemUtil::CheckPitchSmallVPT16(5, 4, 1, 9, 8, 40, 4, 20, image.data(), 512, 0, scratch.nPlain, scratch.nShifted,
                                     nA, nB);
    CAssemUtil::CheckPitchSmallVPT16(4, 5, 10, 9, 8, 40, 4, 20, image.data(), 512, 0, scratch.nPlain, scratch.nShifted,
                                     nA, nB);
    CAssemUtil::CheckPitchSmallVP_T16(4, 10, 9, 8, 40, 4, 20, image.data(), 512, 0, scratch.nPlain, scratch.nShifted,
                                      nA);
    CAssemUtil::CheckPitchSmallVT_P16(10, 9, 4, 8, 40, 4, 20, image.data(), 512, 0, scratch.nPlain, scratch.nShifted,
                                      nA);
    EXPECT_EQ(CAssemUtil::CheckPitchSmallVT_P16_BOE(10, 9, 4, 8, 40, 4, 20, image.data(), 512, 64, 0, scratch.nPlain,
                                                    scratch.nShifted, nA),
              -1);
    EXPECT_EQ(nA, 11);
    EXPECT_EQ(nB, 22);
    EXPECT_EQ(nC, 33);
}

TEST(PitchCheck, NegativeCandidateGivesANegativeFraction)
{
    const std::vector<unsigned char> image = MakePeriodic(512, 64, 27, 16);
    int nBest = 0;
    int nWhole = 0;
    int nFraction = 0;
    CAssemUtil::CheckPitchSmall16(-437, 0, 100, 4, 64, 16, image.data(), 512, 0, nBest, nWhole, nFraction);
    EXPECT_EQ(nBest, -437);
    EXPECT_EQ(nWhole, -27);
    EXPECT_EQ(nFraction, -5);
    int nPixel = 0;
    CAssemUtil::CheckPitchPixel(-437, -437, 100, 4, 64, 16, image.data(), 512, 0, nPixel);
    EXPECT_EQ(nPixel, -27);
}

TEST(PitchCheck, BoundedSearchStopsAtTheImagesEndAndKeepsTheBestBefore)
{
    const std::vector<unsigned char> image = MakePeriodic(256, 101, 27, 19);
    CScratch scratch;
    int nBest = 0;
    // Rows 10 .. 71 and their counterparts: a whole part of 30 passes the end of 100 rows.
    EXPECT_EQ(CAssemUtil::CheckPitchSmallVT_P16_BOE(17 * 16, 60 * 16, 0, 8, 40, 10, 70, image.data(), 256, 100, 0,
                                                    scratch.nPlain, scratch.nShifted, nBest),
              1);
    EXPECT_EQ(nBest, 19 * 16);
    nBest = -3;
    EXPECT_EQ(CAssemUtil::CheckPitchSmallVT_P16_BOE(30 * 16, 60 * 16, 0, 8, 40, 10, 70, image.data(), 256, 100, 0,
                                                    scratch.nPlain, scratch.nShifted, nBest),
              1);
    EXPECT_EQ(nBest, -3) << "no candidate was costed";
    EXPECT_EQ(CAssemUtil::CheckPitchSmallVT_P16_BOE(17 * 16, 28 * 16 + 15, 0, 8, 40, 10, 70, image.data(), 256, 100, 0,
                                                    scratch.nPlain, scratch.nShifted, nBest),
              -1);
    EXPECT_EQ(nBest, 19 * 16);
}

TEST(PitchCheck, BoundedSearchStopsAtASourceRowBeforeTheImage)
{
    const std::vector<unsigned char> image = MakePeriodic(256, 101, 27, 19);
    CScratch scratch;
    int nBest = 7;
    EXPECT_EQ(CAssemUtil::CheckPitchSmallVT_P16_BOE(17 * 16, 60 * 16, 0, 8, 40, -1, 50, image.data(), 256, 100, 0,
                                                    scratch.nPlain, scratch.nShifted, nBest),
              2);
    EXPECT_EQ(nBest, 7);
}

TEST(PitchCheck, ARegionWithoutHeightStillFillsItsRowsUnderTheBoundsChecks)
{
    const std::vector<unsigned char> image = MakePeriodic(256, 128, 27, 19);
    CScratch scratch;
    const auto search = [&](int nHigh, int y0, int y1, int& nBest)
    {
        return CAssemUtil::CheckPitchSmallVT_P16_BOE(16, nHigh, 0, 8, 40, y0, y1, image.data(), 256, 128, 0,
                                                     scratch.nPlain, scratch.nShifted, nBest);
    };
    int nBest = -1;
    EXPECT_EQ(search(960, 120, 120, nBest), 1) << "rows 120 and 121 are filled, and 7 or 8 rows on is the end";
    EXPECT_EQ(nBest, 16);
    EXPECT_EQ(search(960, 120, 119, nBest), 1) << "row 120 is filled";
    EXPECT_EQ(search(960, 120, 118, nBest), -1) << "no row is";
    nBest = -1;
    EXPECT_EQ(search(20, -1, -1, nBest), 2);
    EXPECT_EQ(nBest, -1);
}

TEST(PitchCheck, RegionWithoutWidthOrHeightReadsNothingAndTheFirstCandidateWins)
{
    CGuardedMemory image(1, CGuardedMemory::Flush::Back);
    CScratch scratch;
    for (const auto& [nWidth, nHeight] : {std::pair{0, 10}, std::pair{-5, 10}, std::pair{20, 0}, std::pair{20, -7}})
    {
        int nBest = 0;
        int nWhole = 0;
        int nFraction = 0;
        if (nHeight <= 0)
        {
            CAssemUtil::CheckPitchSmall16(100, 3, 5, 5, nWidth, nHeight, image.Data(), 100000, 0, nBest, nWhole,
                                          nFraction);
            EXPECT_EQ(nBest, 97);
        }
        CAssemUtil::CheckPitchSmallVert16(200, 3, 5, 5, nWidth, nHeight, image.Data(), 100000, 0, nBest, nWhole,
                                          nFraction);
        EXPECT_EQ(nBest, 197);
        int nColumn = 0;
        int nRow = 0;
        CAssemUtil::CheckPitchSmallVPT16(4, 9, 3, 9, 5, 5 + nWidth, 5, 5 + nHeight, image.Data(), 100000, 0,
                                         scratch.nPlain, scratch.nShifted, nColumn, nRow);
        EXPECT_EQ(nColumn, 4);
        EXPECT_EQ(nRow, 3);
    }
}

TEST(PitchCheck, WidthUnderSixteenIsABlockAlongRowsAndNothingAlongColumns)
{
    const std::vector<unsigned char> image = MakePeriodic(256, 256, 27, 19);
    int nBest = 0;
    int nWhole = 0;
    int nFraction = 0;
    for (const int nWidth : {1, 0, -5, -40})
    {
        nBest = nWhole = 0;
        CAssemUtil::CheckPitchSmall16(27 * 16, 20, 8, 4, nWidth, 64, image.data(), 256, 0, nBest, nWhole, nFraction);
        EXPECT_EQ(nBest, 27 * 16) << nWidth;
        CAssemUtil::CheckPitchPixel(20 * 16, 40 * 16, 8, 4, nWidth, 64, image.data(), 256, 0, nWhole);
        EXPECT_EQ(nWhole, 27) << nWidth;
    }
    CAssemUtil::CheckPitchSmallVert16(19 * 16, 20, 8, 4, 15, 64, image.data(), 256, 0, nBest, nWhole, nFraction);
    EXPECT_EQ(nBest, 19 * 16 - 20);
}

TEST(PitchCheck, ExtremeCandidatesOfAnEmptyRegionEnd)
{
    const unsigned char nPixel = 0;
    int nBest = 0;
    int nWhole = 0;
    int nFraction = 0;
    CAssemUtil::CheckPitchSmall16(INT64_MAX, 4, 0, 0, 0, 0, &nPixel, 0, 0, nBest, nWhole, nFraction);
    EXPECT_EQ(nBest, INT_MAX - 4);
    CAssemUtil::CheckPitchSmall16(INT64_MIN, 4, 0, 0, 0, 0, &nPixel, 0, 0, nBest, nWhole, nFraction);
    EXPECT_EQ(nBest, INT_MIN);
    CAssemUtil::CheckPitchPixel(INT_MAX - 3, INT_MAX, 0, 0, 0, 0, &nPixel, 0, 0, nWhole);
    EXPECT_EQ(nWhole, (INT_MAX - 3) / 16);
}

TEST(PitchCheck, BytesAreWidenedWithoutSign)
{
    CForcedLevel level(VectorLevels().front());
    for (const std::int64_t nLevel : VectorLevels())
    {
        level.Change(nLevel);
        for (int nCount = -1; nCount < 100; ++nCount)
        {
            std::vector<unsigned char> bytes(100);
            for (std::size_t i = 0; i < bytes.size(); ++i)
                bytes[i] = static_cast<unsigned char>(255 - i);
            alignas(16) short nShort[101];
            for (short& n : nShort)
                n = -1;
            CAssemUtil::ByteToShort(bytes.data(), nShort, nCount);
            for (int i = 0; i < 101; ++i)
                ASSERT_EQ(nShort[i], i < nCount ? 255 - i : -1) << nCount << ", " << LevelName(nLevel);
        }
    }
}

TEST(PitchCheck, RandomLineSearchesEqualThePlainFormAtEveryVectorLevel)
{
    CForcedLevel level(VectorLevels().front());
    CRandom random(2718);
    for (int nCase = 0; nCase < 1500; ++nCase)
    {
        const int nStride = random.Int(120, 260);
        const int nRows = 90;
        std::vector<unsigned char> image(static_cast<std::size_t>(nStride * nRows));
        const int nKind = random.Int(0, 2);
        const int nPeriod = random.Int(3, 30);
        for (std::size_t i = 0; i < image.size(); ++i)
            image[i] = static_cast<unsigned char>(
                nKind == 0   ? random.Int(0, 255)
                : nKind == 1 ? random.Pick({0, 255})
                             : (i % static_cast<std::size_t>(nStride) % static_cast<std::size_t>(nPeriod) * 8 +
                                random.Next() % 3) %
                                   256);
        const CPitchImage reference{image.data(), nStride};
        const int nLow = random.Int(-20 * 16, 20 * 16);
        const int nHigh = nLow + random.Int(-1, 60);
        const int nNoise = random.OneIn(2) ? 0 : random.Int(-3, 12);
        const int x0 = random.Int(24, 40);
        const int y0 = random.Int(24, 30);
        const int nWidth = random.Int(-2, 40);
        const int nHeight = random.Int(-2, 30);
        const CPitchFound row = SearchRowReference(reference, nLow, nHigh, x0, y0, nWidth, nHeight, nNoise);
        const CPitchFound column = SearchColumnReference(reference, nLow, nHigh, x0, y0, nWidth, nHeight, nNoise);
        for (const std::int64_t nLevel : VectorLevels())
        {
            level.Change(nLevel);
            int nWhole = -77777;
            CAssemUtil::CheckPitchPixel(nLow, nHigh, x0, y0, nWidth, nHeight, image.data(), nStride, nNoise, nWhole);
            ASSERT_EQ(nWhole, row.bFound ? row.nColumn / 16 : -77777) << nCase << ", " << LevelName(nLevel);
            if ((nHigh - nLow) % 2 != 0)
                continue;
            const int nCenter = nLow + (nHigh - nLow) / 2;
            const int nRange = (nHigh - nLow) / 2;
            int nBest = 0;
            int nFraction = 0;
            CAssemUtil::CheckPitchSmall16(nCenter, nRange, x0, y0, nWidth, nHeight, image.data(), nStride, nNoise,
                                          nBest, nWhole, nFraction);
            ASSERT_EQ(nBest, row.nColumn) << nCase << ", " << LevelName(nLevel);
            ASSERT_EQ(nWhole, nBest / 16);
            ASSERT_EQ(nFraction, nBest % 16);
            CAssemUtil::CheckPitchSmallVert16(nCenter, nRange, x0, y0, nWidth, nHeight, image.data(), nStride, nNoise,
                                              nBest, nWhole, nFraction);
            ASSERT_EQ(nBest, column.nColumn) << nCase << ", " << LevelName(nLevel);
            ASSERT_EQ(nWhole, nBest / 16);
            ASSERT_EQ(nFraction, nBest % 16);
        }
    }
}

TEST(PitchCheck, RandomBoxSearchesEqualThePlainFormAtEveryVectorLevel)
{
    CForcedLevel level(VectorLevels().front());
    CRandom random(31415);
    CScratch scratch;
    int nStopped[3] = {};
    for (int nCase = 0; nCase < 800; ++nCase)
    {
        const int nStride = random.Int(120, 200);
        const int nRows = 90;
        std::vector<unsigned char> image(static_cast<std::size_t>(nStride * nRows));
        const int nKind = random.Int(0, 1);
        for (unsigned char& nGray : image)
            nGray = static_cast<unsigned char>(nKind == 0 ? random.Int(0, 255) : random.Pick({0, 255}));
        const CPitchImage reference{image.data(), nStride};
        const int nColumnLow = random.Int(-20 * 16, 20 * 16);
        const int nColumnHigh = nColumnLow + random.Int(-1, 24);
        const int nRowLow = random.Int(-20 * 16, 20 * 16);
        const int nRowHigh = nRowLow + random.Int(-1, 5);
        const int x0 = random.Int(24, 40);
        const int x1 = x0 + random.Int(-3, 34);
        const int y0 = random.Int(24, 40);
        const int y1 = y0 + random.Int(-3, 20);
        const CPitchFound both =
            SearchBoxReference(reference, nColumnLow, nColumnHigh, nRowLow, nRowHigh, x0, x1, y0, y1, -1);
        const CPitchFound columns =
            SearchBoxReference(reference, nColumnLow, nColumnHigh, nRowLow, nRowLow, x0, x1, y0, y1, -1);
        const CPitchFound rows =
            SearchBoxReference(reference, nColumnLow, nColumnLow, nRowLow, nRowHigh, x0, x1, y0, y1, -1);
        // A height that may or may not stop the search; the memory exists in both cases.
        const int nImageHeight = random.Int(40, 90);
        const int nBefore = random.OneIn(6) ? 30 : 0;
        const unsigned char* pBounded = image.data() + nBefore * nStride;
        const CPitchFound bounded = SearchBoxReference({pBounded, nStride}, nColumnLow, nColumnHigh, nRowLow, nRowLow,
                                                       x0, x1, y0 - nBefore, y1 - nBefore, nImageHeight - nBefore);
        ++nStopped[bounded.nStatus + 1 - (bounded.nStatus > 0 ? 1 : 0)];
        for (const std::int64_t nLevel : VectorLevels())
        {
            level.Change(nLevel);
            int nColumn = -77777;
            int nRow = -77777;
            CAssemUtil::CheckPitchSmallVPT16(nColumnLow, nColumnHigh, nRowLow, nRowHigh, x0, x1, y0, y1, image.data(),
                                             nStride, 0, scratch.nPlain, scratch.nShifted, nColumn, nRow);
            ASSERT_EQ(nColumn, both.bFound ? both.nColumn : -77777) << nCase << ", " << LevelName(nLevel);
            ASSERT_EQ(nRow, both.bFound ? both.nRow : -77777) << nCase << ", " << LevelName(nLevel);
            nColumn = nRow = -77777;
            CAssemUtil::CheckPitchSmallVT_P16(nColumnLow, nColumnHigh, nRowLow, x0, x1, y0, y1, image.data(), nStride,
                                              0, scratch.nPlain, scratch.nShifted, nColumn);
            ASSERT_EQ(nColumn, columns.bFound ? columns.nColumn : -77777) << nCase << ", " << LevelName(nLevel);
            CAssemUtil::CheckPitchSmallVP_T16(nColumnLow, nRowLow, nRowHigh, x0, x1, y0, y1, image.data(), nStride, 0,
                                              scratch.nPlain, scratch.nShifted, nRow);
            ASSERT_EQ(nRow, rows.bFound ? rows.nRow : -77777) << nCase << ", " << LevelName(nLevel);
            nColumn = -77777;
            ASSERT_EQ(CAssemUtil::CheckPitchSmallVT_P16_BOE(nColumnLow, nColumnHigh, nRowLow, x0, x1, y0 - nBefore,
                                                            y1 - nBefore, pBounded, nStride, nImageHeight - nBefore, 0,
                                                            scratch.nPlain, scratch.nShifted, nColumn),
                      bounded.nStatus)
                << nCase << ", " << LevelName(nLevel);
            ASSERT_EQ(nColumn, bounded.bFound ? bounded.nColumn : -77777) << nCase << ", " << LevelName(nLevel);
        }
    }
    for (const int nCount : nStopped)
        EXPECT_GT(nCount, 10);
}

TEST(PitchCheck, NoReadGoesBeyondOneCandidateAndTwoPixels)
{
    CForcedLevel level(VectorLevels().front());
    CScratch scratch;
    constexpr int nLow = -5 * 16 - 3; // whole parts -6 .. 9
    constexpr int nHigh = 9 * 16 + 7;
    constexpr int nBefore = 6;
    constexpr int nBehind = 9 + 2;
    for (const std::int64_t nLevel : VectorLevels())
    {
        level.Change(nLevel);
        for (const auto eFlush : {CGuardedMemory::Flush::Front, CGuardedMemory::Flush::Back})
        {
            int nBest = 0;
            int nOther = 0;
            int nFraction = 0;
            // Three rows of three blocks.
            constexpr int nStride = nBefore + 48 + nBehind;
            const CGuardedMemory rows(nStride * 3, eFlush);
            CAssemUtil::CheckPitchPixel(nLow, nHigh, nBefore, 0, 37, 3, rows.Data(), nStride, 0, nBest);
            EXPECT_EQ(nBest, nLow / 16);
            // Two blocks of four rows.
            const CGuardedMemory columns(32 * (nBefore + 4 + nBehind), eFlush);
            CAssemUtil::CheckPitchSmallVert16((nLow + nHigh) / 2, (nHigh - nLow) / 2, 0, nBefore, 40, 4, columns.Data(),
                                              32, 0, nBest, nOther, nFraction);
            EXPECT_EQ(nBest, nLow);
            // Two strips of four rows, displaced along both axes; two rows more are filled.
            constexpr int nBoxStride = nBefore + 32 + nBehind;
            const CGuardedMemory box(nBoxStride * (nBefore + 6 + 9), eFlush);
            CAssemUtil::CheckPitchSmallVPT16(nLow, nHigh, nLow, nHigh, nBefore, nBefore + 20, nBefore, nBefore + 4,
                                             box.Data(), nBoxStride, 0, scratch.nPlain, scratch.nShifted, nBest,
                                             nOther);
            EXPECT_EQ(nBest, nLow);
            EXPECT_EQ(nOther, nLow);
        }
    }
}

TEST(PitchCheck, LongLinesAndTallStripsDoNotOverflowTheirSums)
{
    // Columns of black and white that answer with the largest difference everywhere.
    CForcedLevel level(VectorLevels().front());
    constexpr int nLong = 600000;
    std::vector<unsigned char> line(nLong + 64);
    for (std::size_t i = 0; i < line.size(); ++i)
        line[i] = i / 2 % 2 == 0 ? 255 : 0;
    constexpr int nTall = 45000;
    std::vector<unsigned char> tall(std::size_t{32} * (nTall + 16));
    for (std::size_t i = 0; i < tall.size(); ++i)
        tall[i] = i / 64 % 2 == 0 ? 255 : 0;
    std::vector<short> scratch(2 * 16 * (nTall + 2) + 8);
    for (const std::int64_t nLevel : VectorLevels())
    {
        level.Change(nLevel);
        // A displacement of 2 pixels opposes black and white, one of 4 matches.
        int nBest = 0;
        int nWhole = 0;
        int nFraction = 0;
        CAssemUtil::CheckPitchSmall16(48, 16, 0, 0, nLong, 1, line.data(), nLong, 0, nBest, nWhole, nFraction);
        EXPECT_EQ(nBest, 64) << LevelName(nLevel);
        int nColumn = 0;
        CAssemUtil::CheckPitchSmallVT_P16(32, 64, 0, 0, 16, 0, nTall, tall.data(), 32, 0, scratch.data(),
                                          scratch.data() + 16 * (nTall + 2), nColumn);
        EXPECT_EQ(nColumn, 64) << LevelName(nLevel);
    }
}

} // namespace
