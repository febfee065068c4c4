// SPDX-License-Identifier: MIT
// The pixel comparison: which kernel each row of its tables runs, and the blob steps after it. Every row is run
// through an inspection and compared with a direct call of the kernel that it names.
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "compare/driver_scene.h"
#include "narvoassem/compare/pixel_driver.h"
#include "narvoassem/narvoassem.h"

namespace
{

using narvo::engine::PixelKernel;
using narvo::test::CDriverScene;
using narvo::test::CTracedEngine;
using narvo::test::GetTrace;

// The arguments that the pixel family shares, as the driver must pass them.
#define FRONT                                                                                                          \
    p.pImage, p.nThreshold, e.nPixelSize, e.nPixelCount, p.rtInspect.left, p.rtInspect.right, p.rtInspect.top,         \
        p.rtInspect.bottom, e.pPixelX, e.pPixelY, e.pPixelType, e.pPeak, e.pSrcGray, e.pCmpGray, e.pZoneIndex,         \
        e.pThreshold, p.nImageWidth
#define BACK                                                                                                           \
    p.pThresholdOffsetMap, p.pZoneIndexMap, p.nZoneMapStride, p.pZoneOriginTable, e.pPair, 0, e.nPairSize, 44, 27, 25, \
        p.nZoneColumns * 8, p.nPairSearchSlack, p.nThresholdGain, p.nGrayLimit, p.bKeepSingle

class PixelDriver : public testing::Test
{
protected:
    PixelDriver()
    {
        m_scene.param.nInspectMode = 1;
        m_scene.param.nThreshold = 12;
        m_scene.param.nThresholdGain = 10;
        m_scene.param.nMaxReinspect = 0;
        m_strip.resize(16 * (CDriverScene::nHeight + 40));
    }

    /// The trace of an inspection by the scene's block.
    std::vector<int> Inspect()
    {
        CTracedEngine engine;
        EXPECT_EQ(engine.Inspect_Rect(&m_scene.param), 1);
        EXPECT_GT(engine.nPairCount, 50);
        return GetTrace(engine);
    }
    /// The trace of a direct kernel call, which returns the pair count.
    template <class TCall>
    std::vector<int> Run(TCall call)
    {
        CTracedEngine engine;
        engine.SetConvParam(&m_scene.param);
        engine.nPairCount = call(engine);
        return GetTrace(engine);
    }

    std::vector<int> RunHori()
    {
        return Run([this](CNarvoAssem& e) { return ConvPixelFast(FRONT, 437, 0, 0, BACK, &m_nEnd); });
    }
    std::vector<int> RunHoriTable()
    {
        return Run(
            [this](CNarvoAssem& e)
            {
                return ConvPixelTableFast(FRONT, reinterpret_cast<short*>(m_scene.convTable.data()),
                                          m_scene.weightNear.data(), m_scene.weightFar.data(), BACK, 437, &m_nEnd);
            });
    }
    std::vector<int> RunHoriIntrin()
    {
        return Run([this](CNarvoAssem& e) { return e.ConvPixel_Intrin(FRONT, 437, 0, 0, BACK, &m_nEnd); });
    }
    std::vector<int> RunVertDirect()
    {
        return Run([this](CNarvoAssem& e)
                   { return ConvPixelVertFast(FRONT, 406, 0, 0, BACK, m_strip.data(), &m_nEnd); });
    }
    std::vector<int> RunVert()
    {
        return Run([this](CNarvoAssem& e)
                   { return ConvPixelVertSFast(FRONT, 406, 0, 0, BACK, m_strip.data(), &m_nEnd, 0); });
    }
    std::vector<int> RunVert2()
    {
        return Run(
            [this](CNarvoAssem& e)
            {
                return ConvPixelVertSFast2(FRONT, 406, 0, 0, BACK, m_strip.data(), &m_nEnd, p.nBlackFilterGray,
                                           p.nBlackFilterGain);
            });
    }
    std::vector<int> RunVtds()
    {
        return Run(
            [this](CNarvoAssem& e)
            { return ConvPixelVTDSFast(FRONT, 406, m_scene.scanTable.data(), 0, BACK, m_strip.data(), &m_nEnd, 0); });
    }
    std::vector<int> RunVtds2()
    {
        return Run(
            [this](CNarvoAssem& e)
            {
                return ConvPixelVTDSFast2(FRONT, 406, m_scene.scanTable.data(), 0, BACK, m_strip.data(), &m_nEnd,
                                          p.nBlackFilterGray, p.nBlackFilterGain);
            });
    }
    std::vector<int> RunVtdsWide()
    {
        return Run(
            [this](CNarvoAssem& e)
            {
                ConvPixelParam second{};
                second.nBase = p.nBlackFilterGray;
                second.nGain = p.nBlackFilterGain;
                return ConvPixelVTDS_Intrin_AVX(FRONT, 406, m_scene.scanTable.data(), 0, BACK, m_strip.data(), &m_nEnd,
                                                0, second);
            });
    }
    std::vector<int> RunVertWide(std::int64_t nShift16)
    {
        return Run(
            [this, nShift16](CNarvoAssem& e)
            {
                const bool bSecond = p.nBlackFilterGray > 0;
                return ConvPixelVert_AVX(p.pImage, p.nThreshold, p.nThresholdGain, p.nGrayLimit, p.rtInspect.left,
                                         p.rtInspect.right, p.rtInspect.top, p.rtInspect.bottom, p.nImageWidth, nullptr,
                                         std::int64_t{406}, 0, e.pPair, 0, e.nPairSize, 44, nShift16, p.bKeepSingle,
                                         &m_nEnd, bSecond ? p.nBlackFilterGray : 0, bSecond ? p.nBlackFilterGain : 0);
            });
    }
    std::vector<int> RunVertWideByDouble()
    {
        return Run(
            [this](CNarvoAssem& e)
            {
                return ConvPixelVert_AVX(p.pImage, p.nThreshold, p.nThresholdGain, p.nGrayLimit, p.rtInspect.left,
                                         p.rtInspect.right, p.rtInspect.top, p.rtInspect.bottom, p.nImageWidth, nullptr,
                                         p.GetRealScanPitch(), 0, e.pPair, 0, e.nPairSize, 44, p.dClassPitch,
                                         p.bKeepSingle, &m_nEnd, 0, 0);
            });
    }

    CDriverScene m_scene;
    CConvParam& p = m_scene.param;
    std::vector<short> m_strip;
    int m_nEnd = 0;
};

TEST_F(PixelDriver, KernelsDifferOnTheScene)
{
    p.nBlackFilterGray = 14;
    p.nBlackFilterGain = 12;
    p.bKeepSingle = 1;
    const std::vector<std::vector<int>> traces = {RunHori(),     RunHoriTable(), RunHoriIntrin(), RunVertDirect(),
                                                  RunVert(),     RunVert2(),     RunVtds(),       RunVtds2(),
                                                  RunVtdsWide(), RunVertWide(0), RunVertWide(5)};
    for (std::size_t i = 0; i < traces.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_NE(traces[i], traces[j]) << i << " and " << j;
}

TEST_F(PixelDriver, RowScanRunsThePlainKernel)
{
    EXPECT_EQ(Inspect(), RunHori());
    p.bTwice = 1; // without extended kernels it has no effect
    EXPECT_EQ(Inspect(), RunHori());
    p.pScanPitchTable = m_scene.scanTable.data();
    p.bUseLineBuffer = 0;
    EXPECT_EQ(Inspect(), RunHori());
}

TEST_F(PixelDriver, DirectionTwoIsARowScan)
{
    p.nDirection = 2;
    CTracedEngine engine;
    EXPECT_EQ(engine.Inspect_Rect(&p), 1);
    EXPECT_EQ(GetTrace(engine), RunHori());
}

TEST_F(PixelDriver, ExtendedRowScanRunsTheMember)
{
    p.bExtendedKernel = 1;
    EXPECT_EQ(Inspect(), RunHoriIntrin());
}

TEST_F(PixelDriver, ColumnTableWinsOverExtendedAndTwice)
{
    p.pConvPitchTable = m_scene.convTable.data();
    p.pConvWeightNear = m_scene.weightNear.data();
    p.pConvWeightFar = m_scene.weightFar.data();
    EXPECT_EQ(Inspect(), RunHoriTable());
    p.bExtendedKernel = p.bTwice = 1;
    p.dTwicePitch = 20.0;
    EXPECT_EQ(Inspect(), RunHoriTable());
}

TEST_F(PixelDriver, ColumnScanRunsTheStripKernel)
{
    p.nDirection = 1;
    EXPECT_EQ(Inspect(), RunVert());
    p.bTwice = 1; // without extended kernels it has no effect
    EXPECT_EQ(Inspect(), RunVert());
    p.pConvPitchTable = m_scene.convTable.data(); // without effect on a column scan, with or without weights
    EXPECT_EQ(Inspect(), RunVert());
}

TEST_F(PixelDriver, SecondThresholdSetTakesItsOwnKernel)
{
    p.nDirection = 1;
    p.nBlackFilterGray = 14;
    p.nBlackFilterGain = 12;
    EXPECT_EQ(Inspect(), RunVert2());
    p.nBlackFilterGray = 0;
    EXPECT_EQ(Inspect(), RunVert());
}

TEST_F(PixelDriver, DirectReadingTakesPrecedenceOverLaterOptions)
{
    p.nDirection = 1;
    p.bUseLineBuffer = 0;
    EXPECT_EQ(Inspect(), RunVertDirect());
    p.bExtendedKernel = p.bTwice = 1;
    p.nBlackFilterGray = 14;
    p.dClassPitch = 2.0;
    EXPECT_EQ(Inspect(), RunVertDirect());
}

TEST_F(PixelDriver, RowTableRunsItsKernelsWithAndWithoutTheLineBuffer)
{
    p.nDirection = 1;
    p.pScanPitchTable = m_scene.scanTable.data();
    p.bUseLineBuffer = 0;
    EXPECT_EQ(Inspect(), RunVtds());
    p.nBlackFilterGray = 14;
    p.nBlackFilterGain = 12;
    EXPECT_EQ(Inspect(), RunVtds2());
    p.bExtendedKernel = 1;
    EXPECT_EQ(Inspect(), RunVtdsWide());
    p.bTwice = 1; // the second pass does not happen
    p.dTwicePitch = 20.0;
    EXPECT_EQ(Inspect(), RunVtdsWide());
}

TEST_F(PixelDriver, ExtendedColumnScanRunsTheWideKernelWithItsShift)
{
    p.nDirection = 1;
    p.bExtendedKernel = 1;
    EXPECT_EQ(Inspect(), RunVertWide(0));
    p.nBlackFilterGray = 14;
    p.nBlackFilterGain = 12;
    EXPECT_EQ(Inspect(), RunVertWide(0));
    p.fVtdPitch = 0.33F; // 5.28 sixteenths
    EXPECT_EQ(Inspect(), RunVertWide(5));
}

TEST_F(PixelDriver, NegativeSecondBaseCountsAsNone)
{
    p.nDirection = 1;
    p.bExtendedKernel = 1;
    p.nBlackFilterGray = -3;
    p.nBlackFilterGain = 200;
    EXPECT_EQ(Inspect(), RunVertWide(0));
}

TEST_F(PixelDriver, ClassPitchSelectsTheFormWithoutShift)
{
    p.nDirection = 1;
    p.bExtendedKernel = 1;
    p.dClassPitch = 2.5;
    p.fVtdPitch = 0.33F;
    EXPECT_EQ(Inspect(), RunVertWideByDouble());
    EXPECT_EQ(Inspect(), RunVertWide(0));
}

TEST_F(PixelDriver, WideColumnScanGetsNoDeadZones)
{
    p.nDirection = 1;
    p.bExtendedKernel = 1;
    const std::vector<int> before = Inspect();
    p.rtDeadZone[0].SetRect(0, 0, 320, 256);
    EXPECT_EQ(Inspect(), before);
    p.pScanPitchTable = m_scene.scanTable.data();
    EXPECT_EQ(Inspect(), RunVtdsWide());
}

TEST_F(PixelDriver, TwiceRunsBothPassesAndBothBlobSteps)
{
    p.bExtendedKernel = p.bTwice = 1;
    p.dTwicePitch = 21.7; // 347.2 sixteenths
    p.nTwiceThreshold = 14;
    p.nTwiceThresholdGain = 9;
    for (int nDirection : {0, 1})
    {
        p.nDirection = nDirection;
        CTracedEngine inspected;
        EXPECT_EQ(inspected.Inspect_Rect(&p), 1);

        CTracedEngine called;
        called.SetConvParam(&p);
        CNarvoAssem& e = called;
        called.nPairCount = nDirection == 0 ? called.ConvPixel_Intrin_Twice(FRONT, 437, 0, 0, BACK, &m_nEnd, 347, 14, 9)
                                            : called.ConvPixelVertS_Intrin_Twice(FRONT, 406, 0, 0, BACK, m_strip.data(),
                                                                                 &m_nEnd, 0, 347, 14, 9);
        EXPECT_EQ(GetTrace(inspected), GetTrace(called));
        EXPECT_EQ(inspected.GetBlobCount(), called.GetBlobCount());
        EXPECT_GT(inspected.GetBlobCount(), 0);
        EXPECT_EQ(inspected.ConvParam.nThreshold, p.nThreshold);
        EXPECT_EQ(inspected.ConvParam.dConvPitch, p.dConvPitch);
        p.bTwice = 0;
        CTracedEngine once;
        once.Inspect_Rect(&p);
        EXPECT_LT(once.nPairCount, inspected.nPairCount);
        p.bTwice = 1;
    }
}

/// A spot that both passes find, and a fainter one two columns on that the second one finds alone.
TEST_F(PixelDriver, TwiceRemovesWhatLiesNextToAPairOfTheFirstPassAndKeepsWhatLiesTwoPixelsOn)
{
    constexpr int nSide = 256;
    std::vector<unsigned char> image(nSide * nSide, 100);
    image[90 * nSide + 150] = 200;
    image[90 * nSide + 152] = 130;
    p.pImage = image.data();
    p.nImageWidth = p.nImageHeight = nSide;
    p.rtInspect.SetRect(16, 16, 240, 240);
    p.dConvPitch = p.dScanPitch = 24.0;
    p.nThreshold = 60;
    p.nThresholdGain = p.nTwiceThresholdGain = 0;
    p.bExtendedKernel = p.bTwice = 1;
    p.dTwicePitch = 24.0;
    p.nTwiceThreshold = 15;
    for (const int nDirection : {0, 1})
    {
        p.nDirection = nDirection;
        CTracedEngine engine;
        EXPECT_EQ(engine.Inspect_Rect(&p), 1);
        int nRemoved = 0;
        int nFaint = 0;
        int nStrong = 0;
        for (int i = 0; i < engine.nPairCount; ++i)
        {
            const CDefectPair& pair = engine.pPair[i];
            nRemoved += pair.nDefectType == DefectType_Removed ? 1 : 0;
            nStrong += pair.nDefectType != DefectType_Removed && pair.ptDefect == CPoint(150, 90) ? 1 : 0;
            nFaint += pair.nDefectType != DefectType_Removed && pair.ptDefect == CPoint(152, 90) ? 1 : 0;
        }
        EXPECT_EQ(nStrong, 1) << nDirection;
        EXPECT_EQ(nFaint, 1) << nDirection;
        EXPECT_EQ(nRemoved, 1) << nDirection;
        // One blob of the first pass, and one of the pairs of both.
        int nPairs = 0;
        for (int i = 0; i < engine.GetBlobCount(); ++i)
            nPairs += engine.GetBlobDefect(i)->nPairCount;
        EXPECT_EQ(nPairs, 3) << nDirection;
    }
}

TEST_F(PixelDriver, TwiceColumnScanKeepsRecordsOutOfDeadZones)
{
    p.nDirection = 1;
    p.bExtendedKernel = p.bTwice = 1;
    p.dTwicePitch = 21.7;
    p.rtDeadZone[0].SetRect(50, 50, 120, 120);
    CTracedEngine engine;
    EXPECT_EQ(engine.Inspect_Rect(&p), 1);
    EXPECT_GT(engine.nPairCount, 50);
    for (int i = 0; i < engine.nPairCount; ++i)
        EXPECT_FALSE(p.rtDeadZone[0].PtInRect(engine.pPair[i].ptDefect));
}

TEST_F(PixelDriver, TwicePitchesThatCannotBeComparedAlongAreRefused)
{
    p.bExtendedKernel = p.bTwice = 1;
    for (double dPitch : {-20.0, 1e300, -1e300})
    {
        p.dTwicePitch = dPitch;
        CTracedEngine engine;
        EXPECT_EQ(engine.Inspect_Rect(&p), 8);
        p.bTwice = 0;
        EXPECT_EQ(engine.Inspect_Rect(&p), 1);
        p.bTwice = 1;
    }
}

TEST_F(PixelDriver, PitchIsTruncatedToSixteenths)
{
    // 27.34 is 437.44 sixteenths.
    p.dConvPitch = 437.0 / 16.0;
    const std::vector<int> truncated = Inspect();
    p.dConvPitch = 27.34;
    EXPECT_EQ(Inspect(), truncated);
    p.dConvPitch = 27.374; // 437.98
    EXPECT_EQ(Inspect(), truncated);
    p.dConvPitch = 438.0 / 16.0;
    EXPECT_NE(Inspect(), truncated);
}

TEST_F(PixelDriver, MultiplesScaleTheDistance)
{
    p.dConvPitch = 27.34 / 2;
    p.nConvMultiple = 2;
    EXPECT_EQ(Inspect(), RunHori());
}

TEST_F(PixelDriver, EndLinesLieBeyondTheRegionAndTheDirectKernelLeavesThePreset)
{
    CTracedEngine engine;
    engine.SetConvParam(&p);
    EXPECT_EQ(engine.Compare_Pixel(), p.rtInspect.bottom + 1);
    p.nDirection = 1;
    engine.SetConvParam(&p);
    engine.ResetNarvoAssem();
    EXPECT_EQ(engine.Compare_Pixel(), 16 + 192 + 16);
    p.bUseLineBuffer = 0;
    engine.SetConvParam(&p);
    engine.ResetNarvoAssem();
    EXPECT_EQ(engine.Compare_Pixel(), p.rtInspect.right);
}

TEST_F(PixelDriver, OnlyColumnScansSizeTheStripBuffers)
{
    CTracedEngine engine;
    engine.Inspect_Rect(&p);
    EXPECT_EQ(engine.ConBuffComp.GetSize(), 0);
    p.nDirection = 1;
    engine.Inspect_Rect(&p);
    EXPECT_EQ(engine.ConBuffComp.GetSize(), (190 * 16 + 32) * 16);
}

/// Blocks of one pitch, alternately dark and bright: about every second pixel makes a pair.
TEST(PixelDriverLimit, ColumnScanAboveTheLimitBuildsNoBlobsAndARowScanDoes)
{
    constexpr int nWidth = 512;
    constexpr int nHeight = 480;
    CNarvoAssem engine;
    engine.InitAssem(0, 500);
    for (int nDirection : {0, 1})
    {
        std::vector<unsigned char> image(static_cast<std::size_t>(nWidth) * nHeight);
        for (int y = 0; y < nHeight; ++y)
            for (int x = 0; x < nWidth; ++x)
                image[static_cast<std::size_t>(y) * nWidth + x] = (nDirection == 0 ? x : y) / 40 % 2 == 0 ? 50 : 200;
        CConvParam param;
        param.nInspectMode = 1;
        param.nDirection = nDirection;
        param.pImage = image.data();
        param.nImageWidth = nWidth;
        param.nImageHeight = nHeight;
        param.rtInspect.SetRect(0, 0, nWidth, nHeight);
        param.nConvWidth = param.nConvHeight = 2;
        param.dConvPitch = param.dScanPitch = 40.0;
        param.nConvMultiple = param.nScanMultiple = 1;
        engine.ResetNarvoAssem();
        EXPECT_EQ(engine.Inspect_Rect(&param), 1);
        EXPECT_GT(engine.nPairCount, 100000);
        EXPECT_EQ(engine.GetBlobCount() > 0, nDirection == 0);
    }
}

TEST_F(PixelDriver, AsgWithoutMapsIsThePixelComparisonWithoutSingles)
{
    for (int nDirection : {0, 1})
    {
        p.nDirection = nDirection;
        p.bKeepSingle = 1;
        CTracedEngine asg;
        EXPECT_EQ(asg.Inspect_ASG(&p), 1);
        p.bKeepSingle = 0;
        p.nFilterMode = 1;
        CTracedEngine plain;
        EXPECT_EQ(plain.Inspect_Rect(&p), 1);
        EXPECT_EQ(GetTrace(asg), GetTrace(plain));
        EXPECT_EQ(asg.GetBlobCount(), plain.GetBlobCount());
        p.nFilterMode = 0;
    }
}

} // namespace

#undef FRONT
#undef BACK
