// SPDX-License-Identifier: MIT
// The float comparison: which kernel each row of its tables runs, and the blob steps after it. Every row is run
// through an inspection and compared with a direct call of the kernel that it names.
#include <cstdint>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "compare/driver_scene.h"
#include "narvoassem/compare/float_driver.h"
#include "narvoassem/narvoassem.h"

namespace
{

using narvo::engine::ChoicePath;
using narvo::engine::FloatKernel;
using narvo::test::CDriverScene;
using narvo::test::CTracedEngine;
using narvo::test::GetTrace;

// The arguments that the float family shares, as the driver must pass them.
#define FRONT                                                                                                          \
    p.pImage, m_strip.data() + 16, e.nPixelSize, e.nPixelCount, p.rtInspect.left, p.rtInspect.right, p.rtInspect.top,  \
        p.rtInspect.bottom, e.pPixelX, e.pPixelY, e.pPixelType, e.pPeak, e.pPair, 0, e.nPairSize, 44, p.nImageWidth
#define VALUES e.pSrcGray, e.pCmpGray, e.pZoneIndex, e.pThreshold

class FloatDriver : public testing::Test
{
protected:
    static constexpr int nConv16 = 437; // 27.34 pixels are 437.44 sixteenths, 437.94 with the half added
    static constexpr int nScan16 = 407; // 25.41 pixels are 406.56, 407.06 with it

    FloatDriver() : m_strip(16 * (CDriverScene::nHeight + CDriverScene::nWidth)), m_second(m_strip.size())
    {
        p.nInspectMode = 0;
        p.nThreshold = 24;
        p.nThresholdGain = 8;
        p.nMaxReinspect = 0;
    }

    std::vector<int> Inspect()
    {
        CTracedEngine engine;
        EXPECT_EQ(engine.Inspect_Rect(&p), 1);
        EXPECT_GT(engine.nPairCount, 20);
        return GetTrace(engine);
    }
    template <class TCall>
    std::vector<int> Run(TCall call)
    {
        CTracedEngine engine;
        engine.SetConvParam(&p);
        engine.nPairCount = call(engine);
        return GetTrace(engine);
    }
    using HoriKernel = decltype(&ConvFloatFast4);
    std::vector<int> RunHori(HoriKernel pKernel)
    {
        return Run(
            [&](CNarvoAssem& e)
            { return pKernel(FRONT, nConv16, p.nThreshold, p.nGrayLimit, VALUES, 0, p.nThresholdGain, &m_nEnd); });
    }
    using TableKernel = decltype(&ConvFloatTableFast4);
    std::vector<int> RunTable(TableKernel pKernel)
    {
        return Run(
            [&](CNarvoAssem& e)
            {
                return pKernel(FRONT, nConv16, p.nThreshold, p.nGrayLimit, 0, m_scene.convTable.data(),
                               m_scene.weightNear.data(), m_scene.weightFar.data(), VALUES, p.nThresholdGain, &m_nEnd);
            });
    }
    using VertKernel = decltype(&ConvFloatVertFast4);
    std::vector<int> RunVert(VertKernel pKernel)
    {
        return Run(
            [&](CNarvoAssem& e)
            { return pKernel(FRONT, nScan16, p.nThreshold, p.nGrayLimit, VALUES, 813, 0, p.nThresholdGain, &m_nEnd); });
    }
    std::vector<int> RunVertIntrin()
    {
        return Run(
            [&](CNarvoAssem& e)
            {
                return e.ConvFloatVert_Intrin(FRONT, nScan16, p.nThreshold, p.nGrayLimit, VALUES, 813, 0,
                                              p.nThresholdGain, &m_nEnd);
            });
    }
    std::vector<int> RunVtd(int nShift16, int* pTable)
    {
        return Run(
            [&](CNarvoAssem& e)
            {
                return ConvFloatVTDFast(FRONT, nScan16, p.nThreshold, p.nGrayLimit, m_second.data() + 16, nShift16,
                                        pTable, p.nThresholdGain, VALUES, &m_nEnd);
            });
    }
    std::vector<int> RunVtdIntrin(int nShift16, int* pTable)
    {
        return Run(
            [&](CNarvoAssem& e)
            {
                return e.ConvFloatVTD_Intrin(FRONT, nScan16, p.nThreshold, p.nGrayLimit, m_second.data() + 16, nShift16,
                                             pTable, p.nThresholdGain, VALUES, &m_nEnd);
            });
    }
    void SetWindow(int nWidth, int nHeight)
    {
        p.nConvWidth = nWidth;
        p.nConvHeight = nHeight;
    }

    CDriverScene m_scene;
    CConvParam& p = m_scene.param;
    std::vector<short> m_strip;
    std::vector<short> m_second;
    int m_nEnd = 0;
};

TEST_F(FloatDriver, KernelsDifferOnTheScene)
{
    p.nBlackFilterGray = 8;
    p.nBlackFilterGain = 12;
    int* const pTable = m_scene.scanTable.data();
    const std::vector<std::vector<int>> traces = {RunHori(ConvFloatFast4),
                                                  RunHori(ConvFloatFast6),
                                                  RunHori(ConvFloatFast9),
                                                  RunTable(ConvFloatTableFast4),
                                                  RunTable(ConvFloatTableFast6),
                                                  RunVert(ConvFloatVertFast4),
                                                  RunVert(ConvFloatVertFast6),
                                                  RunVert(ConvFloatVertFast9),
                                                  RunVertIntrin(),
                                                  RunVtd(5, nullptr),
                                                  RunVtd(0, pTable),
                                                  RunVtdIntrin(5, nullptr),
                                                  RunVtdIntrin(0, pTable)};
    for (std::size_t i = 0; i < traces.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_NE(traces[i], traces[j]) << i << " and " << j;
}

TEST_F(FloatDriver, RowScanChoosesByTheWindowsArea)
{
    for (const auto& [nWidth, nHeight] : {std::pair{2, 2}, {1, 4}, {4, 1}})
    {
        SetWindow(nWidth, nHeight);
        EXPECT_EQ(Inspect(), RunHori(ConvFloatFast4)) << nWidth << " by " << nHeight;
    }
    for (const auto& [nWidth, nHeight] : {std::pair{2, 3}, {3, 2}, {6, 1}})
    {
        SetWindow(nWidth, nHeight);
        EXPECT_EQ(Inspect(), RunHori(ConvFloatFast6)) << nWidth << " by " << nHeight;
    }
    for (const auto& [nWidth, nHeight] : {std::pair{3, 3}, {5, 5}, {1, 1}})
    {
        SetWindow(nWidth, nHeight);
        EXPECT_EQ(Inspect(), RunHori(ConvFloatFast9)) << nWidth << " by " << nHeight;
    }
}

TEST_F(FloatDriver, RowScanIgnoresExtendedKernelsShiftsAndFlags)
{
    p.bExtendedKernel = p.bZoneFlagged = p.bTwice = 1;
    p.fVtdPitch = 0.4F;
    p.pScanPitchTable = m_scene.scanTable.data();
    EXPECT_EQ(Inspect(), RunHori(ConvFloatFast4));
    p.nDirection = 2;
    CTracedEngine engine;
    EXPECT_EQ(engine.Inspect_Rect(&p), 1);
    EXPECT_EQ(GetTrace(engine), RunHori(ConvFloatFast4));
}

TEST_F(FloatDriver, ColumnTableHasKernelsForAreaFourAndForTheRest)
{
    p.pConvPitchTable = m_scene.convTable.data();
    p.pConvWeightNear = m_scene.weightNear.data();
    p.pConvWeightFar = m_scene.weightFar.data();
    EXPECT_EQ(Inspect(), RunTable(ConvFloatTableFast4));
    SetWindow(2, 3);
    EXPECT_EQ(Inspect(), RunTable(ConvFloatTableFast6));
    SetWindow(3, 3);
    EXPECT_EQ(Inspect(), RunTable(ConvFloatTableFast6));
}

TEST_F(FloatDriver, ColumnScanChoosesByTheWindowsArea)
{
    p.nDirection = 1;
    SetWindow(4, 1);
    EXPECT_EQ(Inspect(), RunVert(ConvFloatVertFast4));
    SetWindow(3, 2);
    EXPECT_EQ(Inspect(), RunVert(ConvFloatVertFast6));
    SetWindow(2, 3);
    EXPECT_EQ(Inspect(), RunVert(ConvFloatVertFast6));
    SetWindow(5, 5);
    EXPECT_EQ(Inspect(), RunVert(ConvFloatVertFast9));
}

TEST_F(FloatDriver, OnlyAreaFourHasExtendedKernels)
{
    p.nDirection = 1;
    p.bExtendedKernel = 1;
    p.nBlackFilterGray = 8;
    p.nBlackFilterGain = 12;
    EXPECT_EQ(Inspect(), RunVertIntrin());
    SetWindow(2, 3);
    EXPECT_EQ(Inspect(), RunVert(ConvFloatVertFast6));
    SetWindow(3, 3);
    EXPECT_EQ(Inspect(), RunVert(ConvFloatVertFast9));
}

TEST_F(FloatDriver, ExtendedKernelKeepsRecordsOutOfDeadZonesAndTheFastOneDoesNot)
{
    p.nDirection = 1;
    p.rtDeadZone[0].SetRect(0, 0, 400, 400);
    CTracedEngine engine;
    EXPECT_EQ(engine.Inspect_Rect(&p), 1);
    EXPECT_GT(engine.nPairCount, 0);
    p.bExtendedKernel = 1;
    EXPECT_EQ(engine.Inspect_Rect(&p), 1);
    EXPECT_EQ(engine.nPairCount, 0);
}

TEST_F(FloatDriver, ShiftOrRowTableTakesTheTwoDisplacementKernels)
{
    p.nDirection = 1;
    p.fVtdPitch = 0.33F; // 5.28 sixteenths
    EXPECT_EQ(Inspect(), RunVtd(5, nullptr));
    p.bExtendedKernel = 1;
    EXPECT_EQ(Inspect(), RunVtdIntrin(5, nullptr));
    p.fVtdPitch = 0.0F;
    p.pScanPitchTable = m_scene.scanTable.data();
    EXPECT_EQ(Inspect(), RunVtdIntrin(0, m_scene.scanTable.data()));
    p.bExtendedKernel = 0;
    p.bZoneFlagged = 1; // the free-form region lies below this row
    EXPECT_EQ(Inspect(), RunVtd(0, m_scene.scanTable.data()));
}

TEST_F(FloatDriver, ShiftWithAnotherWindowDetectsNothingAndBuildsFromThePairsHeld)
{
    p.nDirection = 1;
    p.fVtdPitch = 0.33F;
    SetWindow(3, 3);
    CTracedEngine engine;
    EXPECT_EQ(engine.Inspect_Rect(&p), 1);
    EXPECT_EQ(engine.nPairCount, 0);
    EXPECT_EQ(engine.pPixelX[0], -77);

    engine.SetConvParam(&p);
    CDefectPair& pair = engine.pPair[0];
    pair.nDefectPos = DefectPos_Middle;
    pair.nDefectPair = DefectPair_Paired;
    pair.nDefectType = DefectType_Bright;
    pair.ptDefect = CPoint(100, 100);
    engine.nPairCount = 1;
    EXPECT_EQ(engine.Compare_Float(), p.rtInspect.right);
    EXPECT_EQ(engine.nPairCount, 1);
    EXPECT_EQ(engine.GetBlobCount(), 1);
}

TEST_F(FloatDriver, OnlyFlaggedColumnScansOfAreaFourTakeTheFreeFormRegion)
{
    const auto Path = [this] { return narvo::engine::ChooseFloatKernel(p).ePath; };
    p.nDirection = 1;
    p.bZoneFlagged = 1;
    EXPECT_EQ(Path(), ChoicePath::FreeForm);
    p.bExtendedKernel = 1;
    EXPECT_EQ(Path(), ChoicePath::FreeForm);
    SetWindow(2, 3);
    EXPECT_EQ(Path(), ChoicePath::Kernel);
    p.bExtendedKernel = 0;
    EXPECT_EQ(Inspect(), RunVert(ConvFloatVertFast6));
    SetWindow(2, 2);
    p.nDirection = 0;
    EXPECT_EQ(Path(), ChoicePath::Kernel);
}

TEST_F(FloatDriver, FreeFormRegionRunsTheMaskedKernelToTheRegionsBottom)
{
    p.nDirection = 1;
    p.bZoneFlagged = 1;
    p.rtInspect.SetRect(16, 10, 16 + 190, 10 + 190); // ends at a column that the end line, a row, reaches
    for (std::size_t i = 0; i < m_scene.mask.size(); ++i)
        m_scene.mask[i] = i % CDriverScene::nWidth < 100;
    p.pFreeFormMask = m_scene.mask.data();
    const std::vector<int> masked = Run(
        [&](CNarvoAssem& e)
        {
            return ConvPixelVertMask(p.pImage, p.nThreshold, e.nPixelSize, 0, p.rtInspect.left, p.rtInspect.right,
                                     p.rtInspect.top, p.rtInspect.bottom, e.pPixelX, e.pPixelY, e.pPixelType, e.pPeak,
                                     e.pSrcGray, e.pCmpGray, e.pZoneIndex, e.pThreshold, p.nImageWidth, 406, nullptr, 0,
                                     nullptr, nullptr, 0, nullptr, e.pPair, 0, e.nPairSize, 44, 27, 25, 0, 0,
                                     p.nThresholdGain, p.nGrayLimit, p.bKeepSingle, m_strip.data(), &m_nEnd, 0, 0, 0.0F,
                                     m_scene.mask.data(), 0);
        });
    EXPECT_EQ(Inspect(), masked);
    p.pFreeFormMask = nullptr;
    EXPECT_NE(Inspect(), masked);
    CTracedEngine engine;
    engine.SetConvParam(&p);
    EXPECT_EQ(engine.Compare_Float(), p.rtInspect.bottom);
}

TEST_F(FloatDriver, FreeFormRegionEndsAtARowWhereColumnsAreCountedAndSoRunsAgain)
{
    p.nDirection = 1;
    p.bZoneFlagged = 1;
    p.nMaxReinspect = 5;
    p.rtInspect.SetRect(16, 10, 316, 200);
    CTracedEngine engine;
    EXPECT_EQ(engine.Inspect_Rect(&p), 16);
    EXPECT_EQ(engine.ConvParam.rtInspect, CRect(200, 10, 316, 200));
}

TEST_F(FloatDriver, PitchIsRoundedToSixteenths)
{
    p.dConvPitch = 437.0 / 16.0;
    const std::vector<int> at437 = Inspect();
    p.dConvPitch = 438.0 / 16.0;
    const std::vector<int> at438 = Inspect();
    EXPECT_NE(at437, at438);
    p.dConvPitch = 27.34;
    EXPECT_EQ(Inspect(), at437);
    p.dConvPitch = 27.35;
    EXPECT_EQ(Inspect(), at438);
}

TEST_F(FloatDriver, EndLinesLieBeyondTheRegion)
{
    CTracedEngine engine;
    engine.SetConvParam(&p);
    EXPECT_EQ(engine.Compare_Float(), p.rtInspect.bottom + 1);
    p.nDirection = 1;
    engine.SetConvParam(&p);
    engine.ResetNarvoAssem();
    EXPECT_EQ(engine.Compare_Float(), 16 + 192 + 16);
}

TEST_F(FloatDriver, StripBuffersAreSizedByTheExtentAlongTheScan)
{
    CTracedEngine engine;
    engine.Inspect_Rect(&p);
    EXPECT_EQ(engine.ConBuffComp.GetSize(), (200 + 32) * 16);
    p.nDirection = 1;
    engine.Inspect_Rect(&p);
    EXPECT_EQ(engine.ConBuffComp.GetSize(), (190 + 32) * 16);
    EXPECT_EQ(engine.ConBuffComp2.GetSize(), (190 + 32) * 16);
}

/// Blocks of one pitch, alternately dark and bright: about every second pixel makes a pair.
TEST(FloatDriverLimit, ColumnScanAboveTheLimitBuildsNoBlobsAndARowScanDoes)
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

} // namespace

#undef FRONT
#undef VALUES
