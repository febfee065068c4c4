// SPDX-License-Identifier: MIT
// The parameter block: defaults, copies, pitches, filter threshold, end of inspection.
#include <cstddef>
#include <cstring>
#include <iterator>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "narvoassem/convparam.h"

namespace
{

/// Every byte after the virtual table pointer set, which shows the fields that Reset does not touch.
CConvParam MakeFilledParam()
{
    CConvParam param;
    param.nInspectMode = param.nDirection = param.nMaxReinspect = param.bAverage2by2 = 7;
    param.bExtendedKernel = param.bZoneFlagged = 7;
    static unsigned char nPixel = 0;
    param.pImage = &nPixel;
    param.nImageWidth = param.nImageHeight = 7;
    param.trapInspect.ptCorner[0].x = 11;
    param.trapInspect.ptCorner[3].y = 12;
    param.rtInspect.SetRect(1, 2, 3, 4);
    param.rtMarginFrame.SetRect(5, 6, 7, 8);
    for (CRect& rtZone : param.rtDeadZone)
        rtZone.SetRect(0, 0, 9, 9);
    param.nFreeFormPointCount = param.nConvWidth = param.nConvHeight = 7;
    param.dConvPitch = param.dScanPitch = param.dClassPitch = param.dTwicePitch = 7.5;
    param.fVtdPitch = 7.5F;
    param.nConvMultiple = param.nScanMultiple = 7;
    param.nThreshold = param.nThresholdGain = param.nGrayLimit = param.nReservedGray = 7;
    param.nBlackFilterGray = param.nBlackFilterGain = param.bBandThread = param.bUseLineBuffer = 7;
    param.bAutoDirection = param.bKeepSingle = param.nPairSearchSlack = param.nThresholdExtra = 7;
    param.nReservedTable = 7;
    param.nZoneMapStride = param.nZoneMapHeight = param.nZoneMapLeft = param.nZoneMapTop = 7;
    param.nZoneColumns = param.nZoneConvMultiple = param.nZoneScanMultiple = 7;
    param.nAverageParam1 = param.nAverageParam2 = param.nCheckLimit1 = param.nCheckLimit2 = 7;
    param.bFalseFilter = param.bMarginFilter = param.nFilterMode = param.nFilterMode2 = param.nMergeDivision = 7;
    param.dPixelSizeX = param.dPixelSizeY = 7.5;
    param.nReservedShort = 7;
    param.nReservedSize = param.nMultiType = param.bTwice = param.nTwiceThreshold = param.nTwiceThresholdGain = 7;
    param.pFreeFormMask = &nPixel;
    param.nReservedMask[0] = 21;
    param.nReservedMask[1] = 22;
    param.nFreeFormMaskParam = 23;
    param.nDarkGrayLimit[15] = param.nBrightMinDiff[0] = 7;
    param.dVeriPitchConv[15] = param.dVeriPitchScan[0] = 7.5;
    static short nMap = 0;
    static int nTable = 0;
    param.pThresholdOffsetMap = param.pZoneIndexMap = param.pClassIdMap = &nMap;
    param.pZoneOriginTable = param.pScanPitchTable = param.pTspTable = &nTable;
    param.pTiltScanTable = &nTable;
    return param;
}

TEST(ConvParam, ResetSetsTheListedDefaults)
{
    CConvParam param = MakeFilledParam();
    param.Reset();

    EXPECT_EQ(param.nInspectMode, 0);
    EXPECT_EQ(param.nDirection, 0);
    EXPECT_EQ(param.nMaxReinspect, 3);
    EXPECT_EQ(param.bAverage2by2, 0);
    EXPECT_EQ(param.bExtendedKernel, 0);
    EXPECT_EQ(param.bZoneFlagged, 0);
    EXPECT_EQ(param.pImage, nullptr);
    EXPECT_EQ(param.nImageWidth, 0);
    EXPECT_EQ(param.nImageHeight, 0);
    EXPECT_EQ(param.rtInspect, CRect());
    EXPECT_EQ(param.rtMarginFrame, CRect());
    for (const CRect& rtZone : param.rtDeadZone)
        EXPECT_TRUE(rtZone.IsRectEmpty());
    EXPECT_EQ(param.nConvWidth, 0);
    EXPECT_EQ(param.nConvHeight, 0);
    EXPECT_EQ(param.nConvMultiple, 0);
    EXPECT_EQ(param.nScanMultiple, 0);
    EXPECT_EQ(param.dConvPitch, 0.0);
    EXPECT_EQ(param.dScanPitch, 0.0);
    EXPECT_EQ(param.fVtdPitch, 0.0F);
    EXPECT_EQ(param.dClassPitch, 0.0);
    EXPECT_EQ(param.nThreshold, 10);
    EXPECT_EQ(param.nThresholdGain, 20);
    EXPECT_EQ(param.nGrayLimit, 255);
    EXPECT_EQ(param.nBlackFilterGray, 0);
    EXPECT_EQ(param.nBlackFilterGain, 0);
    EXPECT_EQ(param.bBandThread, 1);
    EXPECT_EQ(param.bUseLineBuffer, 1);
    EXPECT_EQ(param.bAutoDirection, 0);
    EXPECT_EQ(param.bKeepSingle, 1);
    EXPECT_EQ(param.nPairSearchSlack, 0);
    EXPECT_EQ(param.nThresholdExtra, 0);
    EXPECT_EQ(param.pScanPitchTable, nullptr);
    EXPECT_EQ(param.pTiltScanTable, nullptr);
    EXPECT_EQ(param.nReservedTable, 1);
    EXPECT_EQ(param.pThresholdOffsetMap, nullptr);
    EXPECT_EQ(param.pZoneIndexMap, nullptr);
    EXPECT_EQ(param.pClassIdMap, nullptr);
    EXPECT_EQ(param.nZoneMapStride, 12000);
    EXPECT_EQ(param.nZoneMapHeight, 1024);
    EXPECT_EQ(param.nZoneMapLeft, 0);
    EXPECT_EQ(param.nZoneMapTop, 0);
    EXPECT_EQ(param.pZoneOriginTable, nullptr);
    EXPECT_EQ(param.nZoneColumns, 300);
    EXPECT_EQ(param.nZoneConvMultiple, 1);
    EXPECT_EQ(param.nZoneScanMultiple, 1);
    EXPECT_EQ(param.pTspTable, nullptr);
    EXPECT_EQ(param.nAverageParam1, 45);
    EXPECT_EQ(param.nAverageParam2, 9);
    EXPECT_EQ(param.nCheckLimit1, 10000);
    EXPECT_EQ(param.nCheckLimit2, 10000);
    EXPECT_EQ(param.bFalseFilter, 1);
    EXPECT_EQ(param.bMarginFilter, 1);
    EXPECT_EQ(param.nFilterMode, 0);
    EXPECT_EQ(param.nFilterMode2, 0);
    EXPECT_EQ(param.nMergeDivision, 4);
    EXPECT_EQ(param.dPixelSizeX, 0.0);
    EXPECT_EQ(param.nMultiType, -1);
    EXPECT_EQ(param.bTwice, 0);
    EXPECT_EQ(param.nTwiceThreshold, 255);
    EXPECT_EQ(param.nTwiceThresholdGain, 0);
    EXPECT_EQ(param.dTwicePitch, 0.0);
    EXPECT_EQ(param.pFreeFormMask, nullptr);
    EXPECT_EQ(param.nDarkGrayLimit[15], 0);
    EXPECT_EQ(param.nBrightMinDiff[0], 0);
    EXPECT_EQ(param.dVeriPitchConv[15], 0.0);
    EXPECT_EQ(param.dVeriPitchScan[0], 0.0);
    EXPECT_EQ(param.pVeriPitchString, nullptr);
}

TEST(ConvParam, ResetLeavesTheTrapeziumAndTheMaskFields)
{
    CConvParam param = MakeFilledParam();
    param.Reset();
    EXPECT_EQ(param.trapInspect.ptCorner[0].x, 11);
    EXPECT_EQ(param.trapInspect.ptCorner[3].y, 12);
    EXPECT_EQ(param.nReservedMask[0], 21);
    EXPECT_EQ(param.nReservedMask[1], 22);
    EXPECT_EQ(param.nFreeFormMaskParam, 23);
}

TEST(ConvParam, CopiesTakeEveryFieldWithTheReservedOnes)
{
    CConvParam param = MakeFilledParam();
    param.nReservedTwice[4] = 31;
    param.nReservedMerge[2] = 32;
    param.pReservedMerge[1] = &param;
    const CConvParam copy(param);
    CConvParam assigned;
    assigned = param;
    for (const CConvParam* pCopy : {&copy, static_cast<const CConvParam*>(&assigned)})
    {
        EXPECT_EQ(pCopy->trapInspect.ptCorner[0].x, 11);
        EXPECT_EQ(pCopy->nReservedMask[1], 22);
        EXPECT_EQ(pCopy->nFreeFormMaskParam, 23);
        EXPECT_EQ(pCopy->nReservedTwice[4], 31);
        EXPECT_EQ(pCopy->nReservedMerge[2], 32);
        EXPECT_EQ(pCopy->pReservedMerge[1], &param);
        EXPECT_EQ(pCopy->pThresholdOffsetMap, param.pThresholdOffsetMap);
        EXPECT_EQ(pCopy->rtDeadZone[9], CRect(0, 0, 9, 9));
    }
}

TEST(ConvParam, PitchesAreZeroAfterResetAlthoughTheZoneMultiplesAreOne)
{
    const CConvParam param;
    EXPECT_EQ(param.GetRealConvPitch(), 0.0);
    EXPECT_EQ(param.GetRealScanPitch(), 0.0);
    EXPECT_EQ(param.GetZoneConvPitch(), 0.0);
    EXPECT_EQ(param.GetZoneScanPitch(), 0.0);
}

TEST(ConvParam, RealAndZonePitchTakeTheirOwnMultiples)
{
    CConvParam param;
    param.dConvPitch = 27.25;
    param.nConvMultiple = 2;
    param.nZoneConvMultiple = 3;
    param.dScanPitch = 10.5;
    param.nScanMultiple = 4;
    param.nZoneScanMultiple = 5;
    EXPECT_EQ(param.GetRealConvPitch(), 54.5);
    EXPECT_EQ(param.GetZoneConvPitch(), 81.75);
    EXPECT_EQ(param.GetRealScanPitch(), 42.0);
    EXPECT_EQ(param.GetZoneScanPitch(), 52.5);
}

TEST(ConvParam, EndLineSixteenShortOfTheLimitIsNotTheEnd)
{
    CConvParam param;
    param.rtInspect.SetRect(0, 0, 500, 300);
    EXPECT_EQ(param.IsAllInspected(300 - 16), 0);
    EXPECT_EQ(param.IsAllInspected(300 - 15), 1);
    EXPECT_EQ(param.IsAllInspected(1000), 1);
    param.nDirection = 1;
    EXPECT_EQ(param.IsAllInspected(500 - 16), 0);
    EXPECT_EQ(param.IsAllInspected(500 - 15), 1);
}

TEST(ConvParam, EveryDirectionExceptZeroEndsAtTheRightSide)
{
    CConvParam param;
    param.rtInspect.SetRect(0, 0, 500, 300);
    param.nDirection = 2;
    EXPECT_EQ(param.IsAllInspected(300), 0);
    EXPECT_EQ(param.IsAllInspected(500), 1);
}

TEST(ConvParam, FilterThresholdShiftsNegativeProductsArithmetically)
{
    CConvParam param;
    int nGain[16] = {-1};
    int nOffset[16] = {5};
    param.pFilterGain = nGain;
    param.pFilterOffset = nOffset;
    EXPECT_EQ(param.GetFilterThreshold(0, 1, DefectType_Dark), -1 + 5);
    EXPECT_EQ(param.GetFilterThreshold(0, 256, DefectType_Dark), -1 + 5);
    EXPECT_EQ(param.GetFilterThreshold(0, 257, DefectType_Dark), -2 + 5);
}

TEST(ConvParam, FilterThresholdOfBrightPairsHasItsOwnTables)
{
    CConvParam param;
    int nGain[16] = {};
    int nOffset[16] = {};
    int nGain1[16] = {};
    int nOffset1[16] = {};
    nGain[3] = 256;
    nOffset[3] = 1;
    nGain1[3] = 512;
    nOffset1[3] = 2;
    param.pFilterGain = nGain;
    param.pFilterOffset = nOffset;
    param.pFilterGain1 = nGain1;
    param.pFilterOffset1 = nOffset1;
    EXPECT_EQ(param.GetFilterThreshold(3, 100, DefectType_Dark), 101);
    EXPECT_EQ(param.GetFilterThreshold(3, 100, DefectType_None), 101);
    EXPECT_EQ(param.GetFilterThreshold(3, 100, DefectType_Bright), 202);
}

TEST(ConvParam, FilterThresholdProductWrapsAtThirtyTwoBits)
{
    CConvParam param;
    int nGain[16] = {0x01000000};
    int nOffset[16] = {};
    param.pFilterGain = nGain;
    param.pFilterOffset = nOffset;
    EXPECT_EQ(param.GetFilterThreshold(0, 255, DefectType_Dark), -0x10000);
}

TEST(ConvParam, FieldsStandInTheOrderOfTheInterface)
{
    // One step of each kind through the block; neighbours are checked pair by pair.
    const CConvParam param;
    const auto Place = [&param](const void* pField)
    { return static_cast<const char*>(pField) - reinterpret_cast<const char*>(&param); };
    const std::ptrdiff_t nPlaces[] = {Place(&param.nInspectMode),
                                      Place(&param.nDirection),
                                      Place(&param.nMaxReinspect),
                                      Place(&param.bAverage2by2),
                                      Place(&param.bExtendedKernel),
                                      Place(&param.bZoneFlagged),
                                      Place(&param.pImage),
                                      Place(&param.nImageWidth),
                                      Place(&param.nImageHeight),
                                      Place(&param.trapInspect),
                                      Place(&param.rtInspect),
                                      Place(&param.rtMarginFrame),
                                      Place(&param.rtDeadZone),
                                      Place(&param.pFreeFormPoint),
                                      Place(&param.nFreeFormPointCount),
                                      Place(&param.nConvWidth),
                                      Place(&param.nConvHeight),
                                      Place(&param.dConvPitch),
                                      Place(&param.nConvMultiple),
                                      Place(&param.dScanPitch),
                                      Place(&param.nScanMultiple),
                                      Place(&param.fVtdPitch),
                                      Place(&param.dClassPitch),
                                      Place(&param.nThreshold),
                                      Place(&param.nThresholdGain),
                                      Place(&param.nGrayLimit),
                                      Place(&param.nReservedGray),
                                      Place(&param.nBlackFilterGray),
                                      Place(&param.nBlackFilterGain),
                                      Place(&param.bBandThread),
                                      Place(&param.bUseLineBuffer),
                                      Place(&param.bAutoDirection),
                                      Place(&param.bKeepSingle),
                                      Place(&param.nPairSearchSlack),
                                      Place(&param.nThresholdExtra),
                                      Place(&param.pScanPitchTable),
                                      Place(&param.pReservedTable),
                                      Place(&param.nReservedTable),
                                      Place(&param.pTiltScanTable),
                                      Place(&param.pTiltConvTable),
                                      Place(&param.pConvPitchTable),
                                      Place(&param.pConvWeightNear),
                                      Place(&param.pConvWeightFar),
                                      Place(&param.bTwoSegmentThreshold),
                                      Place(&param.pZoneIndexMap),
                                      Place(&param.pThresholdOffsetMap),
                                      Place(&param.pThresholdGainMap),
                                      Place(&param.pThresholdOffsetMap2),
                                      Place(&param.pThresholdGainMap2),
                                      Place(&param.pThresholdKneeMap),
                                      Place(&param.pClassIdMap),
                                      Place(&param.nZoneMapStride),
                                      Place(&param.nZoneMapHeight),
                                      Place(&param.nZoneMapLeft),
                                      Place(&param.nZoneMapTop),
                                      Place(&param.pZoneOriginTable),
                                      Place(&param.nZoneColumns),
                                      Place(&param.nZoneConvMultiple),
                                      Place(&param.nZoneScanMultiple),
                                      Place(&param.pFilterOffset),
                                      Place(&param.pFilterGain),
                                      Place(&param.pFilterOffset1),
                                      Place(&param.pFilterGain1),
                                      Place(&param.pTspTable),
                                      Place(&param.pTspTable2),
                                      Place(&param.nAverageParam1),
                                      Place(&param.nAverageParam2),
                                      Place(&param.nCheckLimit1),
                                      Place(&param.nCheckLimit2),
                                      Place(&param.bFalseFilter),
                                      Place(&param.bMarginFilter),
                                      Place(&param.nFilterMode),
                                      Place(&param.nFilterMode2),
                                      Place(&param.nReservedFilter),
                                      Place(&param.nMergeDivision),
                                      Place(&param.pReservedMerge),
                                      Place(&param.nReservedMerge),
                                      Place(&param.dPixelSizeX),
                                      Place(&param.dPixelSizeY),
                                      Place(&param.nReservedShort),
                                      Place(&param.nReservedSize),
                                      Place(&param.nMultiType),
                                      Place(&param.bTwice),
                                      Place(&param.nTwiceThreshold),
                                      Place(&param.nTwiceThresholdGain),
                                      Place(&param.dTwicePitch),
                                      Place(&param.nReservedTwice),
                                      Place(&param.pFreeFormMask),
                                      Place(&param.nReservedMask),
                                      Place(&param.nFreeFormMaskParam),
                                      Place(&param.nDarkGrayLimit),
                                      Place(&param.nBrightMinDiff),
                                      Place(&param.dVeriPitchConv),
                                      Place(&param.dVeriPitchScan),
                                      Place(&param.pVeriPitchString)};
    for (std::size_t i = 1; i < std::size(nPlaces); ++i)
        EXPECT_LT(nPlaces[i - 1], nPlaces[i]) << "field " << i;
    EXPECT_EQ(nPlaces[0], static_cast<std::ptrdiff_t>(sizeof(void*)));
    static_assert(std::has_virtual_destructor_v<CConvParam>);
}

TEST(ConvResult, IsClearedAndCopiedAsTwentyFourBytes)
{
    CConvResult result;
    for (unsigned char nByte : result.nData)
        EXPECT_EQ(nByte, 0);
    for (std::size_t i = 0; i < sizeof result.nData; ++i)
        result.nData[i] = static_cast<unsigned char>(i + 1);
    CConvResult copy;
    copy = result;
    EXPECT_EQ(std::memcmp(&copy, &result, 24), 0);
    const CConvResult moved(std::move(copy));
    EXPECT_EQ(std::memcmp(&moved, &result, 24), 0);
    result.Reset();
    for (unsigned char nByte : result.nData)
        EXPECT_EQ(nByte, 0);
}

} // namespace
