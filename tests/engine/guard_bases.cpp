// SPDX-License-Identifier: MIT
// See guard_bases.h.
#include "engine/guard_bases.h"

namespace narvo::test
{

using narvo::test::Entry;

namespace
{

void SetZone(CGuardScene& scene, CConvParam& param, int nDirection)
{
    param.nDirection = nDirection;
    param.pThresholdOffsetMap = scene.GetMap(0);
    param.pThresholdGainMap = scene.GetMap(1);
    param.pZoneIndexMap = scene.GetMap(2);
    param.pThresholdOffsetMap2 = scene.GetMap(3);
    param.pThresholdGainMap2 = scene.GetMap(4);
    param.pThresholdKneeMap = scene.GetMap(5);
    param.pClassIdMap = scene.GetMap(6);
    param.pZoneOriginTable = scene.GetGrid(nDirection);
}

void SetConvTables(CGuardScene& scene, CConvParam& param)
{
    param.pConvPitchTable = scene.GetConvPitch();
    param.pConvWeightNear = scene.GetWeightNear();
    param.pConvWeightFar = scene.GetWeightFar();
}

void SetVerification(CGuardScene& scene, CConvParam& param)
{
    param.pVeriPitchString = scene.verifyText;
    for (int i = 0; i < CConvParam::nZoneLimit; ++i)
    {
        param.dVeriPitchConv[i] = 5.75;
        param.dVeriPitchScan[i] = 4.5;
        param.nDarkGrayLimit[i] = 250;
        param.nBrightMinDiff[i] = 2;
    }
}

void SetFilterTables(CGuardScene& scene, CConvParam& param)
{
    param.pFilterOffset = scene.zoneTable[0];
    param.pFilterGain = scene.zoneTable[1];
    param.pFilterOffset1 = scene.zoneTable[2];
    param.pFilterGain1 = scene.zoneTable[3];
}

void SetFloat(CConvParam& param, int nDirection, int nConvWidth, int nConvHeight)
{
    param.nInspectMode = 0;
    param.nDirection = nDirection;
    param.nConvWidth = nConvWidth;
    param.nConvHeight = nConvHeight;
}

void SetTrapezium(CConvParam& param, int nDirection)
{
    CPadPoint(&pt)[4] = param.trapInspect.ptCorner;
    param.nDirection = nDirection;
    pt[0] = CPadPoint(10, 8);
    pt[1] = nDirection == 1 ? CPadPoint(10, 80) : CPadPoint(90, 8);
    pt[2] = nDirection == 1 ? CPadPoint(100, 70) : CPadPoint(110, 80);
    pt[3] = nDirection == 1 ? CPadPoint(100, 2) : CPadPoint(2, 80);
}

std::vector<CGuardBase> MakeZoneBases()
{
    return {
        {"ZoneHori", Entry::Rect, [](auto& s, auto& p) { SetZone(s, p, 0); }},
        {"ZoneHoriTable", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 0);
             SetConvTables(s, p);
         }},
        {"ZoneVert", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             SetVerification(s, p);
         }},
        {"ZoneVertAnyDirection", Entry::EngineRect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.nDirection = 2;
         }},
        {"ZoneVertUnchecked", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             SetVerification(s, p);
             SetConvTables(s, p);
             p.nInspectMode = 2;
         }},
        {"ZoneHoriUnchecked", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 0);
             SetVerification(s, p);
             SetFilterTables(s, p);
             p.nInspectMode = 2;
             p.nFilterMode = 1;
         }},
        {"ZoneVertDirect", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.bUseLineBuffer = 0;
         }},
        {"ZoneVertKnee", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.bTwoSegmentThreshold = 1;
         }},
        {"ZoneVertFlag", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.bZoneFlagged = 1;
         }},
        {"ZoneVertFlag2by2", Entry::EngineRect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.bZoneFlagged = p.bAverage2by2 = 1;
         }},
        {"ZoneVert2by2", Entry::EngineRect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.bAverage2by2 = 1;
         }},
        {"ZoneVert2STsp", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.bExtendedKernel = 1;
             p.pTspTable = s.zoneTable[4];
             p.pTspTable2 = s.zoneTable[5];
         }},
        {"ZoneVert2SBlack", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.bExtendedKernel = 1;
             p.nBlackFilterGray = 5;
             p.nBlackFilterGain = 20;
         }},
        {"ZoneClassId", Entry::EngineRect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.bExtendedKernel = 1;
         }},
        {"ZoneVtdTable", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             SetVerification(s, p);
             p.pScanPitchTable = s.GetRowTable();
             p.pTiltScanTable = s.GetTiltScan();
             p.pTiltConvTable = s.GetTiltConv();
         }},
        {"ZoneVtdShift", Entry::EngineRect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.fVtdPitch = 1.5F;
         }},
        {"ZoneVtdIntrin", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.bExtendedKernel = 1;
             p.fVtdPitch = -1.5F;
         }},
        {"ZoneClassIdTable", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.bExtendedKernel = 1;
             p.pScanPitchTable = s.GetRowTable();
         }},
        {"AsgZoneHori", Entry::Asg, [](auto& s, auto& p) { SetZone(s, p, 0); }},
        {"AsgZoneHoriTable", Entry::RectAsg,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 0);
             SetConvTables(s, p);
         }},
        {"AsgZoneVert", Entry::RectAsg, [](auto& s, auto& p) { SetZone(s, p, 1); }},
        {"AsgZoneVertKnee", Entry::Asg,
         [](auto& s, auto& p)
         {
             SetZone(s, p, 1);
             p.bTwoSegmentThreshold = 1;
         }},
    };
}

std::vector<CGuardBase> MakePixelBases()
{
    return {
        {"PixelHori", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetFilterTables(s, p);
             p.nFilterMode2 = 1;
         }},
        {"PixelHoriTable", Entry::Rect, [](auto& s, auto& p) { SetConvTables(s, p); }},
        {"PixelHoriIntrin", Entry::EngineRect, [](auto&, auto& p) { p.bExtendedKernel = 1; }},
        {"PixelHoriTwice", Entry::Rect,
         [](auto&, auto& p)
         {
             p.bExtendedKernel = p.bTwice = 1;
             p.dTwicePitch = 20.5;
             p.nTwiceThreshold = 20;
         }},
        {"PixelVert", Entry::Rect, [](auto&, auto& p) { p.nDirection = 1; }},
        {"PixelVertDirect", Entry::Rect,
         [](auto&, auto& p)
         {
             p.nDirection = 1;
             p.bUseLineBuffer = 0;
         }},
        {"PixelVert2", Entry::EngineRect,
         [](auto&, auto& p)
         {
             p.nDirection = 1;
             p.nBlackFilterGray = 5;
         }},
        {"PixelVtds", Entry::Rect,
         [](auto& s, auto& p)
         {
             p.nDirection = 1;
             p.pScanPitchTable = s.GetRowTable();
         }},
        {"PixelVtds2", Entry::EngineRect,
         [](auto& s, auto& p)
         {
             p.nDirection = 1;
             p.nBlackFilterGray = 5;
             p.pScanPitchTable = s.GetRowTable();
         }},
        {"PixelVtdsWide", Entry::Rect,
         [](auto& s, auto& p)
         {
             p.nDirection = p.bExtendedKernel = 1;
             p.pScanPitchTable = s.GetRowTable();
         }},
        {"PixelVertTwice", Entry::Rect,
         [](auto&, auto& p)
         {
             p.nDirection = p.bExtendedKernel = p.bTwice = 1;
             p.dTwicePitch = 20.5;
         }},
        {"PixelVertWide", Entry::Rect,
         [](auto&, auto& p)
         {
             p.nDirection = p.bExtendedKernel = 1;
             p.fVtdPitch = 1.5F;
         }},
        {"PixelVertWideClass", Entry::EngineRect,
         [](auto&, auto& p)
         {
             p.nDirection = p.bExtendedKernel = 1;
             p.dClassPitch = 16.25;
         }},
        {"PixelAnyDirection", Entry::EngineRect, [](auto&, auto& p) { p.nDirection = -1; }},
        {"AsgPixelHori", Entry::Asg, [](auto&, auto& p) { p.nInspectMode = 0; }},
        {"AsgPixelVert", Entry::RectAsg, [](auto&, auto& p) { p.nDirection = 1; }},
    };
}

std::vector<CGuardBase> MakeFloatBases()
{
    return {
        {"FloatHori4", Entry::Rect, [](auto&, auto& p) { SetFloat(p, 0, 2, 2); }},
        {"FloatHori6", Entry::EngineRect, [](auto&, auto& p) { SetFloat(p, 0, 3, 2); }},
        {"FloatHori9", Entry::Rect, [](auto&, auto& p) { SetFloat(p, 0, 3, 3); }},
        {"FloatHoriTable4", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetFloat(p, 0, 2, 2);
             SetConvTables(s, p);
         }},
        {"FloatHoriTable6", Entry::EngineRect,
         [](auto& s, auto& p)
         {
             SetFloat(p, 0, 2, 3);
             SetConvTables(s, p);
         }},
        {"FloatVert4", Entry::Rect, [](auto&, auto& p) { SetFloat(p, 1, 2, 2); }},
        {"FloatVert6", Entry::Rect, [](auto&, auto& p) { SetFloat(p, 1, 2, 3); }},
        {"FloatVert9", Entry::EngineRect, [](auto&, auto& p) { SetFloat(p, 1, 3, 3); }},
        {"FloatVtd", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetFloat(p, 1, 2, 2);
             p.pScanPitchTable = s.GetRowTable();
         }},
        {"FloatVtdShift", Entry::EngineRect,
         [](auto&, auto& p)
         {
             SetFloat(p, 1, 2, 2);
             p.fVtdPitch = 2.25F;
         }},
        {"FloatVtdIntrin", Entry::Rect,
         [](auto& s, auto& p)
         {
             SetFloat(p, 1, 2, 2);
             p.bExtendedKernel = 1;
             p.pScanPitchTable = s.GetRowTable();
         }},
        {"FloatVertIntrin", Entry::Rect,
         [](auto&, auto& p)
         {
             SetFloat(p, 1, 2, 2);
             p.bExtendedKernel = 1;
             p.nBlackFilterGray = 4;
         }},
        {"FloatFreeForm", Entry::EngineRect,
         [](auto& s, auto& p)
         {
             SetFloat(p, 1, 2, 2);
             p.bZoneFlagged = 1;
             p.pFreeFormMask = s.GetMask();
             p.pFreeFormPoint = s.polygon.data();
             p.nFreeFormPointCount = static_cast<int>(s.polygon.size());
             p.pZoneIndexMap = s.GetMap(2);
             p.pZoneOriginTable = s.GetGrid(1);
         }},
        {"FloatNothing", Entry::Rect,
         [](auto&, auto& p)
         {
             SetFloat(p, 1, 3, 3);
             p.fVtdPitch = 1.0F;
         }},
    };
}

std::vector<CGuardBase> MakeSideBases()
{
    return {
        {"Binarise", Entry::Rect,
         [](auto&, auto& p)
         {
             p.nInspectMode = 2;
             p.nThreshold = 60;
         }},
        {"BinariseBands", Entry::Rect,
         [](auto&, auto& p)
         {
             p.nInspectMode = 2;
             p.nDirection = 1;
             p.nThreshold = 60;
         }},
        {"Average", Entry::Rect,
         [](auto&, auto& p)
         {
             p.nInspectMode = 3;
             p.nBlackFilterGray = -30;
             p.nThreshold = 30;
         }},
        {"AverageUnscreened", Entry::EngineRect,
         [](auto&, auto& p)
         {
             p.nInspectMode = 3;
             p.nBlackFilterGray = -30;
             p.nThreshold = 30;
         }},
        {"UnknownMode", Entry::Rect, [](auto&, auto& p) { p.nInspectMode = 7; }},
        {"TrapeziumHori", Entry::Trapezium, [](auto&, auto& p) { SetTrapezium(p, 0); }},
        {"TrapeziumVert", Entry::Trapezium, [](auto&, auto& p) { SetTrapezium(p, 1); }},
        {"TrapeziumHoriTable", Entry::Trapezium,
         [](auto& s, auto& p)
         {
             SetTrapezium(p, 0);
             p.pTiltConvTable = s.GetTiltConv();
         }},
        {"TrapeziumVertTable", Entry::Trapezium,
         [](auto& s, auto& p)
         {
             SetTrapezium(p, 1);
             p.pScanPitchTable = s.GetRowTable();
         }},
    };
}

} // namespace

const std::vector<CGuardBase>& GuardBases()
{
    static const std::vector<CGuardBase> bases = []
    {
        std::vector<CGuardBase> all = MakeZoneBases();
        for (const auto& family : {MakePixelBases(), MakeFloatBases(), MakeSideBases()})
            all.insert(all.end(), family.begin(), family.end());
        return all;
    }();
    return bases;
}

int RunEntry(CAssemControl& control, Entry eEntry, CConvParam param)
{
    CNarvoAssem& lane = *control.GetNarvoAssem(0);
    switch (eEntry)
    {
    case Entry::Rect:
        return control.Inspect_Rect(0, &param, 0);
    case Entry::RectAsg:
        return control.Inspect_Rect(0, &param, 1);
    case Entry::Asg:
        return control.Inspect_ASG(0, &param);
    case Entry::Trapezium:
        return control.Inspect_Trapezium(0, &param);
    default:
        lane.ResetNarvoAssem();
        return lane.Inspect_Rect(&param);
    }
}

} // namespace narvo::test
