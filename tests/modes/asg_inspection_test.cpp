// SPDX-License-Identifier: MIT
// The plain window comparison with two witnesses, and its buffers.
#include "narvoassem/asginspection.h"

#include <atomic>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "gtest/gtest.h"

#include "reference/side_mode_reference.h"
#include "support/guarded_memory.h"
#include "support/random.h"

namespace
{

using namespace narvo::test;

/// Makes the protected operations accessible.
class CAsgProbe : public CASGInspection
{
public:
    using CASGInspection::GetBufferCheck;
    using CASGInspection::InsertPairing;
    using CASGInspection::SetPixelData;
};

/// An image whose single-column windows of one pixel have chosen values: column 0 of row y.
struct CColumn
{
    std::vector<unsigned char> image;
    CConvParam param;

    explicit CColumn(std::vector<unsigned char> values) : image(values.size() * 2)
    {
        for (std::size_t y = 0; y < values.size(); ++y)
            image[2 * y] = image[2 * y + 1] = values[y];
        param.pImage = image.data();
        param.nImageWidth = 2;
        param.nImageHeight = static_cast<int>(values.size());
        param.rtInspect.SetRect(0, 0, 2, param.nImageHeight);
        param.nConvWidth = 1;
        param.nConvHeight = 1;
        param.nScanMultiple = 1;
        param.nGrayLimit = 255;
    }
};

std::vector<CDefectPair> RunCompare(CConvParam& param)
{
    std::vector<CDefectPair> pairs(CASGInspection::nParingLimit);
    CASGInspection inspection;
    inspection.SetParingBuf(pairs.data(), 0);
    inspection.VConvolutionConvC(&param);
    pairs.resize(static_cast<std::size_t>(inspection.GetParingCnt()));
    return pairs;
}

TEST(AsgInspection, TwoWitnessesOfOneSignMakeAHitWithTheStrongerValue)
{
    // Windows of 2 by 5 pixels: M = 1000, A = 1100, D = 1040. The first window row of three, one and two pitches apart.
    std::vector<unsigned char> values;
    for (const int nMean : {100, 110, 104})
        values.insert(values.end(), 5, static_cast<unsigned char>(nMean));
    values.insert(values.end(), 6, 104);
    CColumn column(values);
    column.param.rtInspect.SetRect(0, 0, 3, 6);
    column.param.nImageWidth = 3;
    column.image.resize(values.size() * 3);
    for (std::size_t y = 0; y < values.size(); ++y)
        std::memset(&column.image[3 * y], values[y], 3);
    column.param.pImage = column.image.data();
    column.param.nConvWidth = 2;
    column.param.nConvHeight = 5;
    column.param.dScanPitch = 5;
    column.param.nThreshold = 30;
    const std::vector<CDefectPair> pairs = RunCompare(column.param);
    ASSERT_GE(pairs.size(), 1U);
    EXPECT_EQ(pairs[0].ptDefect, CPoint(1, 2));
    EXPECT_EQ(pairs[0].nDefectPair, 1);
    EXPECT_EQ(pairs[0].nDefectType, 0);
    EXPECT_EQ(pairs[0].nPeak, 100);
    EXPECT_EQ(pairs[0].nSrcGray, 1000);
    EXPECT_EQ(pairs[0].nCmpGray, 1040);
}

TEST(AsgInspection, WitnessesOfDifferentSignsMakeNoHit)
{
    // Row 0 against rows 1 and 2: +100 and -30.
    CColumn column({100, 200, 70, 70, 70, 70});
    column.param.rtInspect.SetRect(0, 0, 2, 2);
    column.param.dScanPitch = 1;
    column.param.nThreshold = 20;
    for (const CDefectPair& pair : RunCompare(column.param))
        EXPECT_NE(pair.ptDefect.y, 0);
}

TEST(AsgInspection, EqualWitnessesGiveTheSecondAndOppositeOnesNothing)
{
    CColumn equal({100, 140, 140, 140, 140, 140});
    equal.param.rtInspect.SetRect(0, 0, 2, 2);
    equal.param.dScanPitch = 1;
    equal.param.nThreshold = 30;
    const std::vector<CDefectPair> pairs = RunCompare(equal.param);
    ASSERT_GE(pairs.size(), 1U);
    EXPECT_EQ(pairs[0].ptDefect, CPoint(0, 0));
    EXPECT_EQ(pairs[0].nPeak, 40);
    EXPECT_EQ(pairs[0].nCmpGray, 140);

    CColumn opposite({100, 60, 140, 140, 140, 140});
    opposite.param.rtInspect.SetRect(0, 0, 2, 2);
    opposite.param.dScanPitch = 1;
    opposite.param.nThreshold = 30;
    for (const CDefectPair& pair : RunCompare(opposite.param))
        EXPECT_NE(pair.ptDefect.y, 0);
}

TEST(AsgInspection, PitchJustShortOfAWholeRowUsesOnlyTheNextRow)
{
    // 9.98: weight 16 of 16 on row r + 10, where row 9 would give no hit. 19.96: 15 of 16 on row r + 20.
    std::vector<unsigned char> values(40, 100);
    values[10] = 200;
    values[20] = 200;
    CColumn column(values);
    column.param.rtInspect.SetRect(0, 0, 2, 30);
    column.param.dScanPitch = 9.98;
    column.param.nThreshold = 90;
    const std::vector<CDefectPair> pairs = RunCompare(column.param);
    ASSERT_GE(pairs.size(), 1U);
    EXPECT_EQ(pairs[0].ptDefect.y, 0);
    EXPECT_EQ(pairs[0].nPeak, 100);
    EXPECT_EQ(pairs[0].nCmpGray, (100 * 1 + 200 * 15) / 16);
}

TEST(AsgInspection, CountGivenWithTheBufferIsTheCountAndARunRestartsIt)
{
    CColumn column(std::vector<unsigned char>(40, 100));
    column.param.dScanPitch = 5;
    column.param.nThreshold = 10;
    std::vector<CDefectPair> pairs(CASGInspection::nParingLimit);
    CASGInspection inspection;
    inspection.SetParingBuf(pairs.data(), 5);
    EXPECT_EQ(inspection.GetParingCnt(), 5);
    inspection.VConvolutionConvC(&column.param);
    EXPECT_EQ(inspection.GetParingCnt(), 0);
}

TEST(AsgInspection, WithoutAPairBufferNothingHappens)
{
    CColumn column(std::vector<unsigned char>(40, 100));
    CASGInspection inspection;
    inspection.SetParingBuf(nullptr, 5);
    inspection.VConvolutionConvC(&column.param);
    EXPECT_EQ(inspection.GetParingCnt(), 5);
}

TEST(AsgInspection, HitAfterTheLastRecordEndsTheRunWithTheFirstOnesKept)
{
    // Alternating rows at a pitch of 1 hit nowhere, rows that decrease without end hit everywhere (threshold -1 lets
    // all pass).
    std::vector<unsigned char> image(200 * 120, 50);
    CConvParam param;
    param.pImage = image.data();
    param.nImageWidth = 200;
    param.nImageHeight = 120;
    param.rtInspect.SetRect(0, 0, 200, 120);
    param.nConvWidth = 1;
    param.nConvHeight = 1;
    param.dScanPitch = 3;
    param.nScanMultiple = 1;
    param.nThreshold = -1;
    std::vector<CDefectPair> pairs(CASGInspection::nParingLimit + 10);
    CASGInspection inspection;
    inspection.SetParingBuf(pairs.data(), 0);
    inspection.VConvolutionConvC(&param);
    EXPECT_EQ(inspection.GetParingCnt(), 10000);
    EXPECT_EQ(pairs[9999].ptDefect, CPoint(9999 % 199, 9999 / 199));
    EXPECT_EQ(pairs[10000].nDefectType, 3) << "not written";
}

TEST(AsgInspection, InsertedZeroIsOfTypeOneAndUnnamedFieldsStay)
{
    std::vector<CDefectPair> pairs(CASGInspection::nParingLimit);
    pairs[0].nThreshold = 77;
    pairs[0].nDefectPos = 66;
    pairs[0].nZoneIndex = 55;
    pairs[0].nSubZone = 44;
    CAsgProbe probe;
    EXPECT_EQ(probe.InsertPairing(1, 2, 0, 9, 3, 4), 0) << "no buffer";
    probe.SetParingBuf(pairs.data(), 0);
    EXPECT_EQ(probe.InsertPairing(1, 2, 0, 9, 3, 4), 1);
    EXPECT_EQ(probe.InsertPairing(1, 2, 1, 9, 3, 4), 1);
    EXPECT_EQ(pairs[0].nDefectType, 1);
    EXPECT_EQ(pairs[1].nDefectType, 0);
    EXPECT_EQ(pairs[0].nThreshold, 77);
    EXPECT_EQ(pairs[0].nDefectPos, 66);
    EXPECT_EQ(pairs[0].nZoneIndex, 55);
    EXPECT_EQ(pairs[0].nSubZone, 44);
    for (const int nCount : {-1, 10000})
    {
        probe.SetParingBuf(pairs.data(), nCount);
        EXPECT_EQ(probe.InsertPairing(1, 2, 5, 9, 3, 4), 0);
        EXPECT_EQ(probe.GetParingCnt(), nCount);
    }
}

TEST(AsgInspection, PixelDataTakesItsIndexFromTheHostsArrayAndAdvances)
{
    int nX[4] = {};
    int nY[4] = {};
    short nType[4] = {9, 9, 9, 9};
    short nPeak[4] = {};
    int nIndex[3] = {2, 0, 1};
    CAsgProbe probe;
    EXPECT_EQ(probe.GetBufferCheck(), 0);
    probe.SetPixelBuf(nX, nY, nType, nPeak, nullptr);
    EXPECT_EQ(probe.GetBufferCheck(), 0);
    probe.SetPixelBuf(nX, nY, nType, nPeak, nIndex);
    EXPECT_EQ(probe.GetBufferCheck(), 1);
    probe.SetPixelData(11, 12, 5, 0);
    probe.SetPixelData(21, 22, -6, 0);
    probe.SetPixelData(31, 32, 0, 0);
    EXPECT_EQ(nX[2], 11);
    EXPECT_EQ(nType[2], 0);
    EXPECT_EQ(nX[0], 21);
    EXPECT_EQ(nType[0], 1);
    EXPECT_EQ(nPeak[0], 6);
    EXPECT_EQ(nY[1], 32);
    EXPECT_EQ(nType[1], 1);
    EXPECT_EQ(nIndex[0], 2);
    EXPECT_EQ(probe.pPixelCount, nIndex + 3);
}

TEST(AsgInspection, CopySharesTheBuffersAndHasAWorkingLock)
{
    std::vector<CDefectPair> pairs(CASGInspection::nParingLimit);
    CAsgProbe probe;
    probe.SetParingBuf(pairs.data(), 3);
    const std::lock_guard<std::mutex> lock(probe.csParing);
    CAsgProbe copy(probe);
    CAsgProbe assigned;
    assigned = probe;
    EXPECT_EQ(copy.GetParingCnt(), 3);
    EXPECT_EQ(assigned.pParing, pairs.data());
    // The locked original does not block them.
    EXPECT_EQ(copy.InsertPairing(1, 2, 5, 9, 3, 4), 1);
    EXPECT_EQ(assigned.InsertPairing(1, 2, 6, 9, 3, 4), 1);
    EXPECT_EQ(pairs[3].nPeak, 6);
}

TEST(AsgInspection, RecordsInsertedByManyThreadsAllArrive)
{
    std::vector<CDefectPair> pairs(CASGInspection::nParingLimit);
    CAsgProbe probe;
    probe.SetParingBuf(pairs.data(), 0);
    std::vector<std::thread> threads;
    std::atomic<int> nWritten = 0;
    for (int nThread = 0; nThread < 4; ++nThread)
        threads.emplace_back(
            [&, nThread]
            {
                for (int i = 0; i < 3000; ++i)
                    nWritten += probe.InsertPairing(i, nThread, 1 + i, 0, i, nThread);
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(nWritten, 10000);
    EXPECT_EQ(probe.GetParingCnt(), 10000);
    std::vector<std::vector<bool>> seen(4, std::vector<bool>(3000));
    for (const CDefectPair& pair : pairs)
    {
        ASSERT_EQ(pair.nPeak, 1 + pair.ptDefect.x);
        ASSERT_EQ(pair.nCmpGray, pair.ptDefect.y);
        std::vector<bool>::reference bSeen =
            seen[static_cast<std::size_t>(pair.ptDefect.y)][static_cast<std::size_t>(pair.ptDefect.x)];
        ASSERT_FALSE(bSeen);
        bSeen = true;
    }
}

TEST(AsgInspection, RandomCasesEqualThePlainForm)
{
    CRandom random(4711);
    std::size_t nHits = 0;
    for (int nCase = 0; nCase < 600; ++nCase)
    {
        const int nWidth = random.Int(4, 40);
        const int nHeight = random.Int(4, 60);
        // Against a guard page on either side: reads beyond the first and last row must stay inside.
        CGuardedMemory image(static_cast<std::size_t>(nWidth * nHeight),
                             nCase % 2 == 0 ? CGuardedMemory::Flush::Front : CGuardedMemory::Flush::Back);
        const int nPeriod = random.Int(1, 12);
        for (int y = 0; y < nHeight; ++y)
            for (int x = 0; x < nWidth; ++x)
                image.Data()[y * nWidth + x] = static_cast<std::uint8_t>(
                    random.OneIn(30) ? random.Int(0, 255) : 60 + 90 * (y % nPeriod) / nPeriod);
        CConvParam param;
        param.pImage = image.Data();
        param.nImageWidth = nWidth;
        param.nImageHeight = nHeight;
        const int nLeft = random.Int(0, nWidth - 1);
        const int nTop = random.Int(0, nHeight - 1);
        param.rtInspect.SetRect(nLeft, nTop, random.Int(nLeft, nWidth), random.Int(nTop, nHeight));
        param.nConvWidth = random.Int(1, 4);
        param.nConvHeight = random.Int(1, 4);
        param.dScanPitch = random.Int(0, 16 * 14) / 16.0 + (random.OneIn(3) ? 0.03 : 0.0);
        param.nScanMultiple = random.Int(1, 2);
        param.nThreshold = random.Int(-2, 200);
        param.nGrayLimit = random.OneIn(3) ? random.Int(50, 200) : 255;
        const std::vector<CDefectPair> expected = TwoWitnessReference(param);
        const std::vector<CDefectPair> pairs = RunCompare(param);
        ASSERT_EQ(pairs.size(), expected.size()) << "case " << nCase;
        nHits += pairs.size();
        if (!pairs.empty())
        {
            ASSERT_EQ(std::memcmp(pairs.data(), expected.data(), sizeof(CDefectPair) * pairs.size()), 0)
                << "case " << nCase;
        }
    }
    EXPECT_GT(nHits, 1000U);
}

TEST(AsgInspection, PitchThatIsNotFiniteOrLargerThanEveryImageInspectsNothing)
{
    CColumn column(std::vector<unsigned char>(40, 100));
    column.param.nThreshold = -1;
    column.param.dScanPitch = 1000.0;
    EXPECT_FALSE(RunCompare(column.param).empty());
    for (const double dPitch :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), 1e8, -1e300})
    {
        column.param.dScanPitch = dPitch;
        EXPECT_TRUE(RunCompare(column.param).empty());
    }
}

TEST(AsgInspection, PitchFarBeyondTheImageEndsAtItsRows)
{
    CColumn column(std::vector<unsigned char>(40, 100));
    column.image[0] = column.image[1] = 200; // row 0 against the last row, which all rows below count as
    column.param.nThreshold = 20;
    for (const double dPitch : {60.0, 60000000.0})
    {
        column.param.dScanPitch = dPitch;
        const std::vector<CDefectPair> pairs = RunCompare(column.param);
        ASSERT_FALSE(pairs.empty());
        EXPECT_EQ(pairs.front().ptDefect, CPoint(0, 0));
    }
}

TEST(AsgInspection, WindowsBeyondThoseOfTheChecksAndANullImageInspectNothing)
{
    CColumn column(std::vector<unsigned char>(40, 100));
    column.param.nThreshold = -1;
    column.param.dScanPitch = 5.0;
    for (int CConvParam::*pSide : {&CConvParam::nConvWidth, &CConvParam::nConvHeight})
    {
        for (const int nSide : {1024, std::numeric_limits<int>::max()})
        {
            CConvParam param(column.param);
            param.*pSide = nSide;
            EXPECT_TRUE(RunCompare(param).empty()) << nSide;
        }
    }
    column.param.pImage = nullptr;
    EXPECT_TRUE(RunCompare(column.param).empty());
}

} // namespace
