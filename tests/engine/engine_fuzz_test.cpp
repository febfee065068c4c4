// SPDX-License-Identifier: MIT
// Parameter blocks of any numbers, with pointers that are valid for what the block declares: no call may crash, hang or
// read outside the image, which lies between unmapped pages.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "narvoassem/narvoassem.h"
#include "support/guarded_memory.h"

using narvo::test::CGuardedMemory;

namespace
{

/// Random blocks over one image and one set of tables.
class CParamSource
{
public:
    static constexpr int nWidth = 160;
    static constexpr int nHeight = 96;

    CParamSource(unsigned nSeed, bool bGuardBehind)
        : m_random(nSeed), m_image(std::size_t{nWidth} * nHeight,
                                   bGuardBehind ? CGuardedMemory::Flush::Back : CGuardedMemory::Flush::Front)
    {
        for (int i = 0; i < nWidth * nHeight; ++i)
            m_image.Data()[i] = static_cast<unsigned char>(100 + i % 7 + (Draw(60) == 0 ? Draw(150) : 0));
        // Grid and maps reach wherever a walk of one step per row and per 16 columns can lead.
        for (int i = 0; i < (nHeight + 8) * nGridColumns; ++i)
            m_grid.insert(m_grid.end(), {i % nGridColumns * 16, i / nGridColumns * 16, Draw(3)});
        m_grid.shrink_to_fit(); // so that a walk beyond its end shows
        m_map.assign(static_cast<std::size_t>(8) * nHeight * nMapStride, 0);
        for (short& nValue : m_map)
            nValue = static_cast<short>(Draw(40) - 4);
        for (int& nValue : m_table)
            nValue = Draw(8) == 0 ? Interesting() : Draw(600) - 20;
        for (unsigned short& nValue : m_displacement)
            nValue = static_cast<unsigned short>(Draw(9) == 0 ? Draw(65536) : Draw(40));
        for (short& nValue : m_weight)
            nValue = static_cast<short>(Draw(17));
        m_mask.assign(static_cast<std::size_t>(nWidth) * nHeight, 1);
        for (CPoint& pt : m_polygon)
            pt = CPoint(Draw(nWidth + 40) - 20, Draw(nHeight + 40) - 20);
        m_strings = {CString("12.5"), CString("1;2;;3"), CString(""), CString(";;;;"), CString("abc;-7;1e400")};
    }

    CConvParam Next()
    {
        CConvParam param;
        param.nInspectMode = Draw(6) - 1;
        param.nDirection = Draw(8) == 0 ? Interesting() : Draw(2);
        param.nMaxReinspect = Draw(4) == 0 ? Interesting() : 3;
        param.bAverage2by2 = Flag();
        param.bExtendedKernel = Flag();
        param.bZoneFlagged = Flag();
        param.pImage = Draw(20) == 0 ? nullptr : m_image.Data();
        param.nImageWidth = nWidth;
        param.nImageHeight = nHeight;
        SetTrapezium(param);
        param.rtInspect = Rect();
        if (Draw(3) == 0)
            param.rtMarginFrame = Rect();
        for (int i = Draw(12); i > 0; --i)
            param.rtDeadZone[i - 1 < 10 ? i - 1 : 9] = Rect();
        param.pFreeFormPoint = m_polygon.data();
        param.nFreeFormPointCount = Draw(5) == 0 ? -Draw(9) : Draw(static_cast<int>(m_polygon.size()) + 1);
        param.nConvWidth = Draw(6) == 0 ? Interesting() : 1 + Draw(3);
        param.nConvHeight = Draw(6) == 0 ? Interesting() : 1 + Draw(3);
        param.dConvPitch = Pitch();
        param.nConvMultiple = Draw(8) == 0 ? Interesting() : Draw(3);
        param.dScanPitch = Pitch();
        param.nScanMultiple = Draw(8) == 0 ? Interesting() : Draw(3);
        param.fVtdPitch = Draw(3) == 0 ? static_cast<float>(Pitch()) : 0.0F;
        param.dClassPitch = Draw(4) == 0 ? Pitch() : 0.0;
        param.nThreshold = Draw(6) == 0 ? Interesting() : 1 + Draw(20);
        param.nThresholdGain = Draw(6) == 0 ? Interesting() : Draw(60);
        param.nGrayLimit = Draw(6) == 0 ? Interesting() : 255;
        param.nBlackFilterGray = Draw(3) == 0 ? Interesting() : -Draw(30);
        param.nBlackFilterGain = Draw(3) == 0 ? Interesting() : Draw(60);
        param.bBandThread = Flag();
        param.bUseLineBuffer = Flag();
        param.bAutoDirection = Flag();
        param.bKeepSingle = Flag();
        param.nPairSearchSlack = Interesting();
        param.nThresholdExtra = Draw(4) == 0 ? Interesting() : 0;
        param.pScanPitchTable = Maybe(m_table.data());
        param.pTiltScanTable = Maybe(m_table.data());
        param.pTiltConvTable = Maybe(m_table.data());
        param.pConvPitchTable = Maybe(m_displacement.data());
        param.pConvWeightNear = Maybe(m_weight.data(), 8);
        param.pConvWeightFar = Maybe(m_weight.data(), 8);
        param.bTwoSegmentThreshold = Flag();
        short* const pMap = m_map.data() + m_map.size() / 2;
        param.pZoneIndexMap = Maybe(pMap);
        param.pThresholdOffsetMap = Maybe(pMap, 2);
        param.pThresholdGainMap = Maybe(pMap);
        param.pThresholdOffsetMap2 = Maybe(pMap);
        param.pThresholdGainMap2 = Maybe(pMap);
        param.pThresholdKneeMap = Maybe(pMap);
        param.pClassIdMap = Maybe(pMap);
        param.nZoneMapStride = nMapStride;
        param.nZoneMapLeft = Draw(9) == 0 ? Interesting() : 0;
        param.nZoneMapTop = Draw(9) == 0 ? Interesting() : 0;
        param.pZoneOriginTable = Draw(12) == 0 ? nullptr : m_grid.data();
        param.nZoneColumns = nGridColumns;
        param.nZoneConvMultiple = Draw(6) == 0 ? Interesting() : 1;
        param.nZoneScanMultiple = Draw(6) == 0 ? Interesting() : 1;
        param.pFilterOffset = Maybe(m_table.data());
        param.pFilterGain = param.pFilterOffset != nullptr ? m_table.data() : nullptr;
        param.pFilterOffset1 = param.pFilterOffset;
        param.pFilterGain1 = param.pFilterGain;
        param.pTspTable = Maybe(m_table.data());
        param.pTspTable2 = Maybe(m_table.data());
        param.nAverageParam1 = Draw(4) == 0 ? Interesting() : 45;
        param.nAverageParam2 = Draw(4) == 0 ? Interesting() : 9;
        param.bFalseFilter = Flag();
        param.bMarginFilter = Flag();
        param.nFilterMode = Draw(3);
        param.nFilterMode2 = Draw(3);
        param.nMergeDivision = Draw(4) == 0 ? Interesting() : 4;
        param.dPixelSizeX = Draw(4) == 0 ? Pitch() : 1.0;
        param.dPixelSizeY = Draw(4) == 0 ? Pitch() : 1.0;
        param.bTwice = Flag();
        param.nTwiceThreshold = Draw(4) == 0 ? Interesting() : 30;
        param.nTwiceThresholdGain = Draw(4) == 0 ? Interesting() : 30;
        param.dTwicePitch = Pitch();
        param.pFreeFormMask = Maybe(m_mask.data());
        for (int nZone = 0; nZone < CConvParam::nZoneLimit; ++nZone)
        {
            param.nDarkGrayLimit[nZone] = Draw(4) == 0 ? Interesting() : 0;
            param.nBrightMinDiff[nZone] = Draw(4) == 0 ? Interesting() : 0;
            param.dVeriPitchConv[nZone] = Draw(3) == 0 ? Pitch() : 0.0;
            param.dVeriPitchScan[nZone] = Draw(3) == 0 ? Pitch() : 0.0;
        }
        param.pVeriPitchString = Maybe(m_strings.data());
        return param;
    }

    int Draw(int nRange) { return static_cast<int>(m_random() % static_cast<unsigned>(nRange)); }

private:
    static constexpr int nGridColumns = 24;
    static constexpr int nMapStride = 200;

    int Interesting()
    {
        constexpr int nMax = std::numeric_limits<int>::max();
        constexpr int nMin = std::numeric_limits<int>::min();
        constexpr std::array nValues = {0,       1,       -1,   2,    -2,        16,        -16,    255,
                                        256,     -300,    1023, 1024, 2000,      65535,     65536,  -65537,
                                        1 << 20, 1 << 28, nMax, nMin, nMax - 16, nMin + 16, 0x7fff, -0x8000};
        return nValues[static_cast<std::size_t>(Draw(static_cast<int>(nValues.size())))];
    }
    int Flag() { return Draw(12) == 0 ? Interesting() : Draw(2); }
    double Pitch()
    {
        constexpr double dInfinity = std::numeric_limits<double>::infinity();
        constexpr std::array dValues = {
            0.0,  -0.0, 0.01, -0.03, 0.5,    1.0,    -1.0,      -20.0,      31.9,
            32.0, 33.4, 1e9,  1e300, -1e300, 1e-320, dInfinity, -dInfinity, std::numeric_limits<double>::quiet_NaN()};
        if (Draw(4) == 0)
            return dValues[static_cast<std::size_t>(Draw(static_cast<int>(dValues.size())))];
        return 4.0 + Draw(480) / 16.0;
    }
    CRect Rect()
    {
        switch (Draw(8))
        {
        case 0:
            return {Interesting(), Interesting(), Interesting(), Interesting()};
        case 1:
            return {Draw(nWidth), Draw(nHeight), Draw(nWidth), Draw(nHeight)};
        case 2:
        {
            CRect rtInspect(0, 0, nWidth, nHeight);
            rtInspect.right += Draw(3) - 1;
            rtInspect.bottom += Draw(3) - 1;
            return rtInspect;
        }
        default:
            return {Draw(20), Draw(20), nWidth - Draw(20), nHeight - Draw(20)};
        }
    }
    void SetTrapezium(CConvParam& param)
    {
        CPadPoint(&ptCorner)[4] = param.trapInspect.ptCorner;
        if (Draw(3) == 0)
        {
            for (CPadPoint& pt : ptCorner)
                pt = CPadPoint(Draw(nWidth + 6) - 3, Draw(nHeight + 6) - 3);
        }
        else if (param.nDirection == 1)
        {
            ptCorner[0] = CPadPoint(Draw(30), Draw(30));
            ptCorner[1] = CPadPoint(ptCorner[0].x, nHeight - Draw(30));
            ptCorner[3] = CPadPoint(nWidth - Draw(30), Draw(30));
            ptCorner[2] = CPadPoint(ptCorner[3].x, nHeight - Draw(30));
        }
        else
        {
            ptCorner[0] = CPadPoint(Draw(30), Draw(30));
            ptCorner[1] = CPadPoint(nWidth - Draw(30), ptCorner[0].y);
            ptCorner[3] = CPadPoint(Draw(30), nHeight - Draw(30));
            ptCorner[2] = CPadPoint(nWidth - Draw(30), ptCorner[3].y);
        }
        if (Draw(10) == 0)
            ptCorner[Draw(4)].x = Interesting();
    }
    template <class TElement>
    TElement* Maybe(TElement* pTable, int nOneIn = 3)
    {
        const bool bGiven = nOneIn > 3 ? Draw(nOneIn) != 0 : Draw(nOneIn) == 0;
        return bGiven ? pTable : nullptr;
    }

    std::mt19937 m_random;
    CGuardedMemory m_image;
    std::vector<int> m_grid;
    std::vector<short> m_map;
    std::array<int, 64> m_table{};
    std::array<unsigned short, 2 * nWidth> m_displacement{};
    std::array<short, 2 * nWidth> m_weight{};
    std::vector<unsigned char> m_mask;
    std::array<CPoint, 12> m_polygon;
    std::array<CString, CConvParam::nZoneLimit> m_strings;
};

class EngineFuzz : public testing::TestWithParam<bool>
{
};

TEST_P(EngineFuzz, AnyNumbersEndWithACodeAndStayInsideTheImage)
{
    CAssemControl control;
    ASSERT_EQ(control.InitAssemControl(1, 400), 1);
    CNarvoAssem& lane = *control.GetNarvoAssem(0);
    CParamSource source(GetParam() ? 11 : 12, GetParam());
    int nDone = 0;
    int nWithBlobs = 0;
    for (int i = 0; i < 3000; ++i)
    {
        CConvParam param = source.Next();
        // Small stores cause overflows. Few hits with many pairs would only take long: a vertical trapezium
        // reads a block again after each overflow of its hits, until its pairs are full.
        const bool bFewHits = source.Draw(3) == 0;
        lane.InitPixelStorage(bFewHits ? 1 + source.Draw(60) : 160000);
        lane.InitPairStorage(source.Draw(3) == 0 ? 1 + source.Draw(60) : bFewHits ? 2000 : 160000);
        control.ResetReinspectCount();
        int nResult = 0;
        switch (source.Draw(6))
        {
        case 0:
            nResult = control.Inspect_Trapezium(0, &param);
            break;
        case 1:
            nResult = control.Inspect_Rect(0, &param, 1);
            break;
        case 2:
            lane.ResetNarvoAssem();
            nResult = lane.Inspect_Rect(&param);
            break;
        default:
            nResult = control.Inspect_Rect(0, &param, 0);
            break;
        }
        ASSERT_TRUE(nResult == 1 || nResult == 8 || nResult == 16 || nResult == 64) << nResult << " at " << i;
        nDone += nResult == 1 || nResult == 16;
        nWithBlobs += lane.GetBlobCount() > 0;
    }
    EXPECT_GT(nDone, 200);
    EXPECT_GT(nWithBlobs, 50);
}

INSTANTIATE_TEST_SUITE_P(Guard, EngineFuzz, testing::Values(false, true),
                         [](const auto& guard) { return guard.param ? "PageBehindTheImage" : "PageBeforeTheImage"; });

} // namespace
