// SPDX-License-Identifier: MIT
// The engine's parameter checks, and the bounds checks after them.
#include <limits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "narvoassem/engine/check_bounds.h"
#include "narvoassem/narvoassem.h"

using narvo::engine::Comparison;

namespace
{

constexpr double dNaN = std::numeric_limits<double>::quiet_NaN();

class CheckParameter : public testing::Test
{
protected:
    CheckParameter() : m_image(300 * 200, 100)
    {
        CConvParam& param = m_engine.ConvParam;
        param.pImage = m_image.data();
        param.nImageWidth = 300;
        param.nImageHeight = 200;
        param.rtInspect.SetRect(0, 0, 300, 200);
        param.nConvWidth = param.nConvHeight = 2;
        param.dConvPitch = 30.0;
        param.dScanPitch = 20.0;
        param.nConvMultiple = param.nScanMultiple = 1;
    }

    int Check()
    {
        int nCheck = -1;
        const int nResult = m_engine.CheckParameter(nCheck);
        EXPECT_EQ(nCheck, 0);
        return nResult;
    }
    int CheckVert()
    {
        int nCheck = -1;
        const int nResult = m_engine.CheckParameter_Vert(nCheck);
        EXPECT_EQ(nCheck, 0);
        return nResult;
    }

    std::vector<unsigned char> m_image;
    CNarvoAssem m_engine;
    CConvParam& m_param = m_engine.ConvParam;
};

TEST_F(CheckParameter, AcceptsASoundBlockInBothDirections)
{
    EXPECT_EQ(Check(), 1);
    EXPECT_EQ(CheckVert(), 1);
}

TEST_F(CheckParameter, RefusesANullImage)
{
    m_param.pImage = nullptr;
    EXPECT_EQ(Check(), 8);
    EXPECT_EQ(CheckVert(), 8);
}

TEST_F(CheckParameter, ThreeConvPitchesMustFitTheImageInBothDirections)
{
    m_param.dConvPitch = 100.0;
    EXPECT_EQ(CheckVert(), 1);
    m_param.dConvPitch = 100.01;
    EXPECT_EQ(CheckVert(), 8);
    EXPECT_EQ(Check(), 8);
}

TEST_F(CheckParameter, ImageMustHoldTwoWindowHeights)
{
    m_param.nConvHeight = 10;
    m_param.nImageHeight = 20;
    m_param.rtInspect.bottom = 60; // the region's own sides are not compared with the image here
    EXPECT_EQ(Check(), 1);
    m_param.nImageHeight = 19;
    EXPECT_EQ(Check(), 8);
    EXPECT_EQ(CheckVert(), 8);
}

TEST_F(CheckParameter, RegionMustBeThreeWindowsWideAndTwoHigh)
{
    m_param.dConvPitch = m_param.dScanPitch = 1.0;
    m_param.nConvWidth = 7;
    m_param.nConvHeight = 9;
    m_param.rtInspect.SetRect(10, 10, 10 + 21, 10 + 18);
    EXPECT_EQ(Check(), 1);
    EXPECT_EQ(CheckVert(), 1);
    m_param.rtInspect.right = 10 + 20;
    EXPECT_EQ(Check(), 8);
    EXPECT_EQ(CheckVert(), 8);
    m_param.rtInspect.SetRect(10, 10, 10 + 21, 10 + 17);
    EXPECT_EQ(Check(), 8);
    EXPECT_EQ(CheckVert(), 8);
}

TEST_F(CheckParameter, WindowsRunFromOneTo1023)
{
    m_param.dConvPitch = m_param.dScanPitch = 0.0;
    m_param.nImageWidth = m_param.nImageHeight = 10000;
    m_param.rtInspect.SetRect(0, 0, 10000, 10000);
    for (int* pSide : {&m_param.nConvWidth, &m_param.nConvHeight})
    {
        for (const auto& [nSide, nResult] : {std::pair{1023, 1}, {1024, 8}, {0, 8}, {-1, 8}, {1, 1}})
        {
            *pSide = nSide;
            EXPECT_EQ(Check(), nResult) << nSide;
            EXPECT_EQ(CheckVert(), nResult) << nSide;
        }
    }
    m_param.nConvWidth = std::numeric_limits<int>::max();
    EXPECT_EQ(Check(), 8);
    m_param.nConvWidth = std::numeric_limits<int>::min();
    EXPECT_EQ(Check(), 8);
}

TEST_F(CheckParameter, ThreePitchesOfTheOwnDirectionMustFitTheRegion)
{
    m_param.rtInspect.SetRect(0, 0, 90, 60);
    EXPECT_EQ(Check(), 1);
    EXPECT_EQ(CheckVert(), 1);
    m_param.rtInspect.SetRect(0, 0, 89, 60);
    EXPECT_EQ(Check(), 8);
    EXPECT_EQ(CheckVert(), 1);
    m_param.rtInspect.SetRect(0, 0, 90, 59);
    EXPECT_EQ(Check(), 1);
    EXPECT_EQ(CheckVert(), 8);
}

TEST_F(CheckParameter, ChecksTheTwoUnreadLimits)
{
    m_param.nCheckLimit1 = 10;
    m_param.nCheckLimit2 = 2;
    EXPECT_EQ(Check(), 1);
    m_param.nCheckLimit1 = 9;
    EXPECT_EQ(Check(), 8);
    EXPECT_EQ(CheckVert(), 8);
    m_param.nCheckLimit1 = 10;
    m_param.nCheckLimit2 = 1;
    EXPECT_EQ(Check(), 8);
    EXPECT_EQ(CheckVert(), 8);
}

TEST_F(CheckParameter, NegativeMapCornersFailOnlyInHorizontalPixelModeWithMaps)
{
    short nMap = 0;
    m_param.nZoneMapLeft = -1;
    EXPECT_EQ(Check(), 1);
    m_param.pThresholdOffsetMap = &nMap;
    EXPECT_EQ(Check(), 1);
    m_param.nInspectMode = 1;
    EXPECT_EQ(Check(), 8);
    EXPECT_EQ(CheckVert(), 1);
    m_param.nZoneMapLeft = 0;
    m_param.nZoneMapTop = -1;
    EXPECT_EQ(Check(), 8);
    m_param.nZoneMapTop = 0;
    EXPECT_EQ(Check(), 1);
}

TEST_F(CheckParameter, ThresholdIsAtLeastOne)
{
    m_param.nThreshold = 0;
    EXPECT_EQ(Check(), 8);
    EXPECT_EQ(CheckVert(), 8);
    m_param.nThreshold = 1;
    EXPECT_EQ(Check(), 1);
}

TEST_F(CheckParameter, GreyLimitIsClampedOnlyByABlockThatPasses)
{
    for (const auto& [nLimit, nClamped] : {std::pair{0, 1}, {-7, 1}, {1, 1}, {255, 255}, {256, 255}, {9999, 255}})
    {
        m_param.nGrayLimit = nLimit;
        EXPECT_EQ(Check(), 1);
        EXPECT_EQ(m_param.nGrayLimit, nClamped);
        m_param.nGrayLimit = nLimit;
        EXPECT_EQ(CheckVert(), 1);
        EXPECT_EQ(m_param.nGrayLimit, nClamped);
    }
    m_param.nGrayLimit = 300;
    m_param.nThreshold = 0;
    EXPECT_EQ(Check(), 8);
    EXPECT_EQ(m_param.nGrayLimit, 300);
}

// --- the bounds checks ---

class CheckBounds : public CheckParameter
{
protected:
    CheckBounds() : m_map(1), m_grid(2000)
    {
        m_engine.InitAssem(0, 10);
        m_param.pThresholdOffsetMap = m_map.data();
        m_param.pZoneOriginTable = m_grid.data();
        m_param.nZoneColumns = 10;
    }
    int Bounds(Comparison eComparison = Comparison::Zone) { return narvo::engine::CheckBounds(m_engine, eComparison); }

    std::vector<short> m_map;
    std::vector<int> m_grid;
};

TEST_F(CheckBounds, AcceptsASoundBlock)
{
    for (int nDirection : {0, 1, 2})
    {
        m_param.nDirection = nDirection;
        for (auto eComparison : {Comparison::Zone, Comparison::AsgZone, Comparison::Pixel, Comparison::Float,
                                 Comparison::Binarise, Comparison::Average})
            EXPECT_EQ(Bounds(eComparison), 1);
    }
}

TEST_F(CheckBounds, RefusesRegionsThatLeaveTheImage)
{
    for (const CRect& rtInspect :
         {CRect(-1, 0, 300, 200), CRect(0, -1, 300, 200), CRect(0, 0, 301, 200), CRect(0, 0, 300, 201)})
    {
        m_param.rtInspect = rtInspect;
        EXPECT_EQ(Bounds(), 8);
        EXPECT_EQ(Bounds(Comparison::Binarise), 8);
        EXPECT_EQ(Bounds(Comparison::Average), 8);
    }
}

TEST_F(CheckBounds, RefusesAMissingImageUnlessTheRegionIsEmpty)
{
    m_param.pImage = nullptr;
    EXPECT_EQ(Bounds(Comparison::Binarise), 8);
    m_param.rtInspect.SetRect(0, 0, 0, 0);
    EXPECT_EQ(Bounds(Comparison::Binarise), 1);
}

TEST_F(CheckBounds, EmptyRegionsPassOnlyInsideTheImage)
{
    m_param.rtInspect.SetRect(50, 50, 50, 90);
    EXPECT_EQ(Bounds(Comparison::Binarise), 1);
    EXPECT_EQ(Bounds(Comparison::Zone), 1);
    m_param.rtInspect.SetRect(50, 90, 10, 20);
    EXPECT_EQ(Bounds(Comparison::Average), 1);
    m_param.rtInspect.SetRect(0, 50, 5000, 50);
    EXPECT_EQ(Bounds(Comparison::Zone), 8);
    m_param.rtInspect.SetRect(std::numeric_limits<int>::max(), 0, std::numeric_limits<int>::min(), 5);
    EXPECT_EQ(Bounds(Comparison::Binarise), 8);
}

TEST_F(CheckBounds, RefusesNegativeDistancesAlongTheCompareDirectionOnly)
{
    m_param.dScanPitch = -20.0;
    EXPECT_EQ(Bounds(Comparison::Pixel), 1);
    m_param.nDirection = 1;
    EXPECT_EQ(Bounds(Comparison::Pixel), 8);
    EXPECT_EQ(Bounds(Comparison::Float), 8);
    EXPECT_EQ(Bounds(Comparison::Zone), 8);
    m_param.dScanPitch = -0.06; // truncates to a distance of 0
    EXPECT_EQ(Bounds(Comparison::Pixel), 1);
    m_param.dScanPitch = 20.0;
    m_param.nScanMultiple = -1;
    EXPECT_EQ(Bounds(Comparison::Pixel), 8);
    m_param.nScanMultiple = 0;
    EXPECT_EQ(Bounds(Comparison::Pixel), 1);
}

TEST_F(CheckBounds, ZonePathIsVerticalForEveryNonzeroDirection)
{
    m_param.nScanMultiple = -1;
    m_param.nDirection = 2;
    EXPECT_EQ(Bounds(Comparison::Zone), 8);
    EXPECT_EQ(Bounds(Comparison::Pixel), 1);
}

TEST_F(CheckBounds, RefusesPitchesWithoutAFixedPointForm)
{
    for (double dPitch : {dNaN, std::numeric_limits<double>::infinity(), 1e300, -1e300, 1e8})
    {
        m_param.dConvPitch = dPitch;
        for (int nDirection : {0, 1})
        {
            m_param.nDirection = nDirection;
            EXPECT_EQ(Bounds(Comparison::Zone), 8) << dPitch;
            EXPECT_EQ(Bounds(Comparison::Pixel), 8) << dPitch;
            EXPECT_EQ(Bounds(Comparison::Float), 8) << dPitch;
        }
        EXPECT_EQ(Bounds(Comparison::Binarise), 1) << dPitch;
        EXPECT_EQ(Bounds(Comparison::Average), 1) << dPitch;
    }
}

TEST_F(CheckBounds, TableKernelsNeedAllTheirTables)
{
    std::vector<unsigned short> pitches(300);
    std::vector<short> weights(320);
    m_param.pConvPitchTable = pitches.data();
    EXPECT_EQ(Bounds(), 8);
    EXPECT_EQ(Bounds(Comparison::Float), 8);
    m_param.pConvWeightNear = weights.data();
    EXPECT_EQ(Bounds(), 8);
    m_param.pConvWeightFar = weights.data();
    EXPECT_EQ(Bounds(), 1);
    EXPECT_EQ(Bounds(Comparison::Float), 1);
}

TEST_F(CheckBounds, ZonePathNeedsAGridThatRunsForward)
{
    m_param.nZoneColumns = -1;
    EXPECT_EQ(Bounds(), 8);
    m_param.nZoneColumns = 10;
    m_param.nZoneMapStride = -1;
    EXPECT_EQ(Bounds(), 8);
    m_param.nZoneMapStride = 0;
    EXPECT_EQ(Bounds(), 1);
    m_param.pZoneOriginTable = nullptr;
    EXPECT_EQ(Bounds(), 8);
}

TEST_F(CheckBounds, CellsWithoutHeightAreRefusedAndCellsWithoutWidthMustFitTheGridRow)
{
    m_param.nZoneScanMultiple = 0;
    EXPECT_EQ(Bounds(), 8);
    m_param.nZoneScanMultiple = 1;
    m_param.nZoneConvMultiple = 0;
    EXPECT_EQ(Bounds(), 8);
    m_param.nZoneColumns = 300 / 16 + 2;
    EXPECT_EQ(Bounds(), 1);
}

TEST_F(CheckBounds, AsgCellsHaveNoLimitAcrossTheCompareDirection)
{
    m_param.nZoneScanMultiple = 0;
    m_param.nDirection = 0;
    EXPECT_EQ(Bounds(Comparison::AsgZone), 1);
    m_param.nDirection = 1;
    EXPECT_EQ(Bounds(Comparison::AsgZone), 8);
    m_param.nZoneScanMultiple = 1;
    m_param.nZoneConvMultiple = 0;
    EXPECT_EQ(Bounds(Comparison::AsgZone), 1);
}

TEST_F(CheckBounds, EngineWithoutStoresRefusesEveryComparison)
{
    CNarvoAssem bare;
    bare.ConvParam = m_param;
    EXPECT_EQ(narvo::engine::CheckBounds(bare, Comparison::Zone), 8);
    EXPECT_EQ(narvo::engine::CheckBounds(bare, Comparison::Binarise), 8);
    EXPECT_EQ(narvo::engine::CheckBounds(bare, Comparison::None), 1);
}

} // namespace
