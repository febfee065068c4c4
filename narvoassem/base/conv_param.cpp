// SPDX-License-Identifier: MIT
// Defaults and small computations of the parameter block.
#include "narvoassem/convparam.h"

#include <cstdint>
#include <cstring>

CConvParam::CConvParam() : nReservedMask{}, nFreeFormMaskParam(0)
{
    Reset();
}

CConvParam::~CConvParam() = default;

void CConvParam::Reset()
{
    nInspectMode = 0;
    nDirection = 0;
    nMaxReinspect = 3;
    bAverage2by2 = 0;
    bExtendedKernel = 0;
    bZoneFlagged = 0;
    pImage = nullptr;
    nImageWidth = 0;
    nImageHeight = 0;
    rtInspect.SetRect(0, 0, 0, 0);
    rtMarginFrame = rtInspect;
    for (CRect& rtZone : rtDeadZone)
        rtZone.SetRectEmpty();
    pFreeFormPoint = nullptr;
    nFreeFormPointCount = 0;

    nConvWidth = 0;
    nConvHeight = 0;
    dConvPitch = 0.0;
    nConvMultiple = 0;
    dScanPitch = 0.0;
    nScanMultiple = 0;
    fVtdPitch = 0.0F;
    dClassPitch = 0.0;

    nThreshold = 10;
    nThresholdGain = 20;
    nGrayLimit = 255;
    nReservedGray = 0;
    nBlackFilterGray = 0;
    nBlackFilterGain = 0;
    bBandThread = 1;
    bUseLineBuffer = 1;
    bAutoDirection = 0;
    bKeepSingle = 1;
    nPairSearchSlack = 0;
    nThresholdExtra = 0;

    pScanPitchTable = nullptr;
    for (void*& pTable : pReservedTable)
        pTable = nullptr;
    nReservedTable = 1;
    pTiltScanTable = nullptr;
    pTiltConvTable = nullptr;
    pConvPitchTable = nullptr;
    pConvWeightNear = nullptr;
    pConvWeightFar = nullptr;
    bTwoSegmentThreshold = 0;
    pZoneIndexMap = nullptr;
    pThresholdOffsetMap = nullptr;
    pThresholdGainMap = nullptr;
    pThresholdOffsetMap2 = nullptr;
    pThresholdGainMap2 = nullptr;
    pThresholdKneeMap = nullptr;
    pClassIdMap = nullptr;
    nZoneMapStride = 12000;
    nZoneMapHeight = 1024;
    nZoneMapLeft = 0;
    nZoneMapTop = 0;
    pZoneOriginTable = nullptr;
    nZoneColumns = 300;
    nZoneConvMultiple = 1;
    nZoneScanMultiple = 1;
    pFilterOffset = nullptr;
    pFilterGain = nullptr;
    pFilterOffset1 = nullptr;
    pFilterGain1 = nullptr;
    pTspTable = nullptr;
    pTspTable2 = nullptr;

    nAverageParam1 = 45;
    nAverageParam2 = 9;
    nCheckLimit1 = 10000;
    nCheckLimit2 = 10000;
    bFalseFilter = 1;
    bMarginFilter = 1;
    nFilterMode = 0;
    nFilterMode2 = 0;
    nReservedFilter = 0;
    nMergeDivision = 4;
    for (void*& pMerge : pReservedMerge)
        pMerge = nullptr;
    for (int& nMerge : nReservedMerge)
        nMerge = 0;
    dPixelSizeX = 0.0;
    dPixelSizeY = 0.0;
    nReservedShort = 0;
    nReservedSize = 0;
    nMultiType = -1;
    bTwice = 0;
    nTwiceThreshold = 255;
    nTwiceThresholdGain = 0;
    dTwicePitch = 0.0;
    for (int& nTwice : nReservedTwice)
        nTwice = 0;
    pFreeFormMask = nullptr;
    for (int nZone = 0; nZone < nZoneLimit; ++nZone)
    {
        nDarkGrayLimit[nZone] = 0;
        nBrightMinDiff[nZone] = 0;
        dVeriPitchConv[nZone] = 0.0;
        dVeriPitchScan[nZone] = 0.0;
    }
    pVeriPitchString = nullptr;
}

double CConvParam::GetRealConvPitch() const
{
    return dConvPitch * nConvMultiple;
}

double CConvParam::GetRealScanPitch() const
{
    return dScanPitch * nScanMultiple;
}

double CConvParam::GetZoneConvPitch() const
{
    return dConvPitch * nZoneConvMultiple;
}

double CConvParam::GetZoneScanPitch() const
{
    return dScanPitch * nZoneScanMultiple;
}

int CConvParam::GetFilterThreshold(int nZone, int nGray, DefectType eType) const
{
    const int* pOffset = eType == DefectType_Bright ? pFilterOffset1 : pFilterOffset;
    const int* pGain = eType == DefectType_Bright ? pFilterGain1 : pFilterGain;
    // Product and sum wrap at 32 bits.
    const auto nProduct =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(pGain[nZone]) * static_cast<std::uint32_t>(nGray));
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(nProduct >> 8) +
                                     static_cast<std::uint32_t>(pOffset[nZone]));
}

int CConvParam::IsAllInspected(int nEndLine) const
{
    const std::int64_t nLimit = nDirection != 0 ? rtInspect.right : rtInspect.bottom;
    return nLimit - nEndLine < 16 ? 1 : 0;
}

CConvResult::CConvResult()
{
    Reset();
}

void CConvResult::Reset()
{
    std::memset(nData, 0, sizeof nData);
}
