// SPDX-License-Identifier: MIT
// See case_print.h.
#include "soak/case_print.h"

#include <iomanip>

namespace narvo::test
{

namespace
{

const char* CallName(CaseCall eCall)
{
    switch (eCall)
    {
    case CaseCall::Rect:
        return "Inspect_Rect";
    case CaseCall::RectAsg:
        return "Inspect_Rect with bASG";
    case CaseCall::Asg:
        return "Inspect_ASG";
    case CaseCall::Trapezium:
        return "Inspect_Trapezium";
    }
    return "unknown";
}

const char* SplitName(CaseSplit eSplit)
{
    switch (eSplit)
    {
    case CaseSplit::None:
        return "takes no part";
    case CaseSplit::Quiet:
        return "makes no difference";
    case CaseSplit::Open:
        return "may make a difference";
    }
    return "unknown";
}

std::ostream& PrintRect(std::ostream& out, const CRect& rt)
{
    return out << '(' << rt.left << ", " << rt.top << ") - (" << rt.right << ", " << rt.bottom << ')';
}

template <class TValue>
void PrintField(std::ostream& out, const char* szName, const TValue& value, const TValue& plain)
{
    if (value != plain)
        out << "  " << szName << " = " << value << '\n';
}

void PrintField(std::ostream& out, const char* szName, const CRect& value, const CRect& plain)
{
    if (value != plain)
        PrintRect(out << "  " << szName << " = ", value) << '\n';
}

template <class TElement>
void PrintField(std::ostream& out, const char* szName, TElement* value, TElement* /*plain*/)
{
    if (value != nullptr)
        out << "  " << szName << " given\n";
}

template <class TElement>
void PrintList(std::ostream& out, const char* szName, const TElement* pFirst, std::size_t nCount)
{
    if (pFirst == nullptr)
        return;
    out << "  " << szName << " = {";
    for (std::size_t i = 0; i < nCount; ++i)
        out << (i == 0 ? "" : ", ") << pFirst[i];
    out << "}\n";
}

template <class TElement, std::size_t nCount>
void PrintZones(std::ostream& out, const char* szName, const TElement (&aValues)[nCount])
{
    for (const TElement value : aValues)
        if (value != TElement{})
        {
            PrintList(out, szName, aValues, nCount);
            return;
        }
}

void PrintTables(std::ostream& out, const CConvParam& p)
{
    const auto nRows16 = static_cast<std::size_t>(p.nImageHeight) / 16 + 1;
    const auto nColumns16 = static_cast<std::size_t>(p.nImageWidth) / 16 + 1;
    PrintList(out, "pScanPitchTable", p.pScanPitchTable, nRows16);
    PrintList(out, "pTiltScanTable", p.pTiltScanTable, nRows16);
    PrintList(out, "pTiltConvTable", p.pTiltConvTable, nColumns16);
    if (p.pConvPitchTable != nullptr && p.pConvWeightNear != nullptr && p.pConvWeightFar != nullptr)
    {
        out << "  pConvPitchTable, pConvWeightNear, pConvWeightFar per 16 columns = {";
        for (std::size_t i = 0; i < nColumns16; ++i)
            out << (i == 0 ? "" : ", ") << p.pConvPitchTable[i * 16] << '/' << p.pConvWeightNear[i * 16] << '/'
                << p.pConvWeightFar[i * 16];
        out << "}\n";
    }
    const std::size_t nZones = CConvParam::nZoneLimit;
    PrintList(out, "pFilterOffset", p.pFilterOffset, nZones);
    PrintList(out, "pFilterGain", p.pFilterGain, nZones);
    PrintList(out, "pFilterOffset1", p.pFilterOffset1, nZones);
    PrintList(out, "pFilterGain1", p.pFilterGain1, nZones);
    PrintList(out, "pTspTable", p.pTspTable, nZones);
    PrintList(out, "pTspTable2", p.pTspTable2, nZones);
    PrintZones(out, "nDarkGrayLimit", p.nDarkGrayLimit);
    PrintZones(out, "nBrightMinDiff", p.nBrightMinDiff);
    PrintZones(out, "dVeriPitchConv", p.dVeriPitchConv);
    PrintZones(out, "dVeriPitchScan", p.dVeriPitchScan);
    if (p.pVeriPitchString != nullptr)
    {
        out << "  pVeriPitchString =";
        for (std::size_t i = 0; i < nZones; ++i)
            out << " \"" << p.pVeriPitchString[i].GetString() << '"';
        out << '\n';
    }
}

} // namespace

void PrintCase(std::ostream& out, const CSoakCase& soakCase)
{
    const CConvParam& p = soakCase.param;
    const CConvParam plain;
    out << CallName(soakCase.eCall) << ", lane " << soakCase.nLane << "; the band split " << SplitName(soakCase.eSplit)
        << "\n  room for " << soakCase.nPixelSize << " hits, " << soakCase.nPairSize << " pairs, " << soakCase.nBlobSize
        << " blobs\n";
#define NARVO_FIELD(name) PrintField(out, #name, p.name, plain.name)
    NARVO_FIELD(nInspectMode);
    out << "  nDirection = " << p.nDirection << '\n';
    NARVO_FIELD(nMaxReinspect);
    NARVO_FIELD(bAverage2by2);
    NARVO_FIELD(bExtendedKernel);
    NARVO_FIELD(bZoneFlagged);
    NARVO_FIELD(pImage);
    NARVO_FIELD(nImageWidth);
    NARVO_FIELD(nImageHeight);
    if (soakCase.eCall == CaseCall::Trapezium)
        for (const CPadPoint& pt : p.trapInspect.ptCorner)
            out << "  trapInspect corner (" << pt.x << ", " << pt.y << ")\n";
    NARVO_FIELD(rtInspect);
    NARVO_FIELD(rtMarginFrame);
    for (const CRect& rt : p.rtDeadZone)
        PrintField(out, "rtDeadZone", rt, plain.rtDeadZone[0]);
    NARVO_FIELD(nFreeFormPointCount);
    for (int i = 0; i < p.nFreeFormPointCount; ++i)
        out << "  pFreeFormPoint (" << p.pFreeFormPoint[i].x << ", " << p.pFreeFormPoint[i].y << ")\n";
    NARVO_FIELD(nConvWidth);
    NARVO_FIELD(nConvHeight);
    NARVO_FIELD(dConvPitch);
    NARVO_FIELD(nConvMultiple);
    NARVO_FIELD(dScanPitch);
    NARVO_FIELD(nScanMultiple);
    NARVO_FIELD(fVtdPitch);
    NARVO_FIELD(dClassPitch);
    out << "  nThreshold = " << p.nThreshold << '\n';
    out << "  nThresholdGain = " << p.nThresholdGain << '\n';
    NARVO_FIELD(nGrayLimit);
    NARVO_FIELD(nBlackFilterGray);
    NARVO_FIELD(nBlackFilterGain);
    NARVO_FIELD(bUseLineBuffer);
    NARVO_FIELD(bAutoDirection);
    NARVO_FIELD(bKeepSingle);
    NARVO_FIELD(nPairSearchSlack);
    NARVO_FIELD(nThresholdExtra);
    NARVO_FIELD(bTwoSegmentThreshold);
    NARVO_FIELD(pZoneIndexMap);
    NARVO_FIELD(pThresholdOffsetMap);
    NARVO_FIELD(pThresholdGainMap);
    NARVO_FIELD(pThresholdOffsetMap2);
    NARVO_FIELD(pThresholdGainMap2);
    NARVO_FIELD(pThresholdKneeMap);
    NARVO_FIELD(pClassIdMap);
    NARVO_FIELD(nZoneMapStride);
    NARVO_FIELD(nZoneMapLeft);
    NARVO_FIELD(nZoneMapTop);
    NARVO_FIELD(pZoneOriginTable);
    NARVO_FIELD(nZoneColumns);
    NARVO_FIELD(nZoneConvMultiple);
    NARVO_FIELD(nZoneScanMultiple);
    NARVO_FIELD(nAverageParam1);
    NARVO_FIELD(nAverageParam2);
    NARVO_FIELD(nCheckLimit1);
    NARVO_FIELD(nCheckLimit2);
    NARVO_FIELD(bFalseFilter);
    NARVO_FIELD(bMarginFilter);
    NARVO_FIELD(nFilterMode);
    NARVO_FIELD(nFilterMode2);
    NARVO_FIELD(nMergeDivision);
    NARVO_FIELD(dPixelSizeX);
    NARVO_FIELD(dPixelSizeY);
    NARVO_FIELD(nMultiType);
    NARVO_FIELD(bTwice);
    NARVO_FIELD(nTwiceThreshold);
    NARVO_FIELD(nTwiceThresholdGain);
    NARVO_FIELD(dTwicePitch);
    NARVO_FIELD(pFreeFormMask);
    NARVO_FIELD(nFreeFormMaskParam);
#undef NARVO_FIELD
    PrintTables(out, p);
}

void PrintResult(std::ostream& out, CCaseRunner& runner, const CCaseResult& result, int nMost)
{
    out << "code " << result.nCode << ", " << result.nPairs << " pairs, " << result.nBlobs << " blobs, "
        << result.nReruns << " re-runs" << (result.bBands ? ", in bands" : "") << ", hash " << std::hex
        << std::setfill('0') << std::setw(16) << result.nHash << std::dec << std::setfill(' ') << '\n';
    int nPair = 0;
    int nBlob = 0;
    runner.Visit(
        [&](const CDefectPair& pair)
        {
            if (nPair++ < nMost)
                out << "  pair (" << pair.ptDefect.x << ", " << pair.ptDefect.y << ") position " << pair.nDefectPos
                    << ", kind " << pair.nDefectPair << ", type " << pair.nDefectType << ", peak " << pair.nPeak
                    << ", grey " << pair.nSrcGray << " against " << pair.nCmpGray << ", threshold " << pair.nThreshold
                    << ", zone " << pair.nZoneIndex << '.' << pair.nSubZone << '\n';
        },
        [&](const CDefectBlob& blob)
        {
            if (nBlob++ < nMost)
                PrintRect(out << "  blob ", blob.rtDefect)
                    << " of " << blob.nPairCount << " pairs, position " << blob.nDefectPos << ", kind "
                    << blob.nDefectPair << ", type " << blob.nDefectType << ", id " << blob.nBlobId << ", peak "
                    << blob.nMaxPeak << " at (" << blob.ptPeak.x << ", " << blob.ptPeak.y << "), grey "
                    << blob.nAvgSrcGray << " against " << blob.nAvgCmpGray << ", threshold " << blob.nAvgThreshold
                    << " sum " << blob.nSumThreshold << ", diameter " << blob.nRScale << ", axes "
                    << std::setprecision(17) << blob.dMajorAxis << " x " << blob.dMinorAxis << " at " << blob.dAngle
                    << '\n';
        });
    if (nPair > nMost || nBlob > nMost)
        out << "  the first " << nMost << " of each are shown\n";
}

} // namespace narvo::test
