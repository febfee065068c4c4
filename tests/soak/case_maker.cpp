// SPDX-License-Identifier: MIT
// See case_maker.h. The order of the draws is part of the committed checksums: a change here changes them all.
#include "soak/case_maker.h"

#include <algorithm>
#include <limits>

#include "narvoassem/compare/zone_driver.h"
#include "soak/case_image.h"
#include "soak/case_pools.h"

namespace narvo::test
{

namespace
{

constexpr int nSplitWidth = 2000; ///< regions from here on may be cut into bands
constexpr int nMaxInt = std::numeric_limits<int>::max();
constexpr int nMinInt = std::numeric_limits<int>::min();

/// Numbers at which arithmetic overflows or changes sign.
int EdgeInt(CCaseSource& source)
{
    return source.Pick(
        {0,     1,     -1,     2,       -2,      16,      -16,     255,          256,          -300,   1023,   1024,
         65535, 65536, -65537, 1 << 20, 1 << 28, nMaxInt, nMinInt, nMaxInt - 16, nMinInt + 16, 0x7fff, -0x8000});
}

/// Mostly nPlain, sometimes one of the numbers above.
int MostlyPlain(CCaseSource& source, int nPlain, int nEdgeOneIn)
{
    return source.OneIn(nEdgeOneIn) ? EdgeInt(source) : nPlain;
}

int Flag(CCaseSource& source, int nSetOneIn)
{
    const int nPlain = source.OneIn(nSetOneIn) ? 1 : 0;
    return source.OneIn(64) ? EdgeInt(source) : nPlain;
}

double EdgePitch(CCaseSource& source)
{
    constexpr double dInfinity = std::numeric_limits<double>::infinity();
    return source.Pick({0.0, -0.0, 0.01, -0.03, 0.5, 1.0, -1.0, -20.0, 31.9, 1e9, 1e300, -1e300, 1e-320, dInfinity,
                        -dInfinity, std::numeric_limits<double>::quiet_NaN()});
}

/// A side of a region along an image side of nSize, on the border half of the time.
void PickSpan(CCaseSource& source, int nSize, int& nLow, int& nHigh)
{
    nLow = source.OneIn(2) ? source.Int(0, nSize / 4) : 0;
    nHigh = source.OneIn(2) ? nSize - source.Int(0, nSize / 4) : nSize;
}

/// Whether a vertical run, which a horizontal one may turn into, reads records of three ints.
bool HasFlaggedRecords(const CConvParam& param)
{
    CConvParam vertical(param);
    vertical.nDirection = 1;
    return engine::GetKernelRow(engine::ChooseZoneKernel(vertical).eKernel).traits.bFlagged;
}

} // namespace

/// Rows and columns of the grid of zone cells.
struct CCaseMaker::CGrid
{
    int nInts = 2; ///< per record
    int nRows = 0;
    int nColumns = 0;
    int nTail = 0; ///< records after the last row
    int nFirstX = 0;
    int nFirstY = 0;
    int nStepX = 1;
    int nStepY = 1;
    int nDrift = 0;
    bool bWild = false; ///< origins anywhere near the image
};

CCaseMaker::CCaseMaker(Memory eMemory, Sizes eSizes) : m_bExact(eMemory == Memory::Exact), m_eSizes(eSizes)
{
}

const CSoakCase& CCaseMaker::Make(CCaseSource& source)
{
    m_case = CSoakCase();
    m_bWide = m_bQuiet = m_bFlood = false;
    MakeImageSize(source);
    MakeCall(source);
    MakeRegion(source);
    MakePitches(source);
    MakeThresholds(source);
    MakeSwitches(source);
    MakeTables(source);
    MakeMaps(source);
    MakeGrid(source);
    MakeFilters(source);
    MakeSideModes(source);
    MakeCapacities(source);
    if (m_bQuiet)
        MakeQuiet(source);
    MakeImage(source);
    SettleSplit();
    return m_case;
}

void CCaseMaker::MakeImageSize(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    if (m_eSizes == Sizes::Rows)
    {
        p.nImageWidth = source.OneIn(3) ? source.Int(40, 100) : source.Int(64, 330);
        p.nImageHeight = source.Int(16, 100);
        return;
    }
    const int nKind = source.Int(0, 199);
    if (nKind < 150)
    {
        p.nImageWidth = source.Int(16, 96);
        p.nImageHeight = source.Int(16, 72);
    }
    else if (nKind < 184)
    {
        p.nImageWidth = source.Int(40, 200);
        p.nImageHeight = source.Int(24, 120);
    }
    else if (nKind < 194)
    {
        p.nImageWidth = source.Int(100, 330);
        p.nImageHeight = source.Int(60, 260);
    }
    else if (nKind < 199 || m_eSizes == Sizes::Small)
    {
        p.nImageWidth = source.Int(1, 20);
        p.nImageHeight = source.Int(1, 20);
    }
    else if (source.OneIn(30))
    {
        m_bFlood = true;
        p.nImageWidth = source.Int(540, 620);
        p.nImageHeight = source.Int(540, 620);
    }
    else
    {
        m_bWide = true;
        m_bQuiet = source.OneIn(2);
        p.nImageWidth = source.OneIn(3) ? source.Int(4100, 9000) : source.Int(nSplitWidth, 4100);
        p.nImageHeight = source.Int(20, 48);
    }
}

void CCaseMaker::MakeCall(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    const int nKind = source.Int(0, 99);
    p.nInspectMode = nKind < 40 ? 1 : 0;
    if (nKind >= 76 && nKind < 82)
        p.nInspectMode = 2;
    else if (nKind >= 82 && nKind < 88)
        p.nInspectMode = 3;
    p.nDirection = source.Int(0, 99) < 58 ? 1 : 0;
    if (source.OneIn(40))
        p.nDirection = MostlyPlain(source, 2, 2);
    if (source.OneIn(60))
        p.nInspectMode = source.Pick({4, -1, 2, 3, nMaxInt});

    const int nCall = source.Int(0, 99);
    if (nCall >= 90)
        m_case.eCall = CaseCall::Trapezium;
    else if (nCall >= 86)
        m_case.eCall = CaseCall::Asg;
    else if (nCall >= 82)
        m_case.eCall = CaseCall::RectAsg;
    if (source.OneIn(250))
        m_case.nLane = source.Pick({1, -1, nMaxInt, nMinInt});
    if (m_bFlood || m_bWide)
        m_case.eCall = CaseCall::Rect;
    if (m_bFlood || m_bQuiet)
    {
        p.nInspectMode = source.Int(0, 1);
        p.nDirection = m_bFlood && source.OneIn(3) ? 0 : 1;
    }
}

void CCaseMaker::MakeRegion(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    int nLeft = 0;
    int nRight = p.nImageWidth;
    int nTop = 0;
    int nBottom = p.nImageHeight;
    const int nKind = source.Int(0, 15);
    if (nKind >= 6 && !m_bWide)
        PickSpan(source, p.nImageWidth, nLeft, nRight);
    else if (nKind >= 6)
        nLeft = source.Int(0, p.nImageWidth - nSplitWidth);
    if (nKind >= 6)
        PickSpan(source, p.nImageHeight, nTop, nBottom);
    p.rtInspect = CRect(nLeft, nTop, nRight, nBottom);
    if (nKind == 15 && source.OneIn(4) && !m_bQuiet)
    {
        p.rtInspect = PickRect(source);
        if (source.OneIn(4))
            p.rtInspect.right = MostlyPlain(source, p.nImageWidth + 1, 2);
    }
    if (source.OneIn(3))
        p.rtMarginFrame = PickRect(source);
    const int nZones = source.OneIn(3) ? source.Int(1, CConvParam::nDeadZoneLimit) : 0;
    for (int i = 0; i < nZones; ++i)
        p.rtDeadZone[i] = PickRect(source);
}

CRect CCaseMaker::PickRect(CCaseSource& source) const
{
    const CConvParam& p = m_case.param;
    const int nLeft = source.Int(-3, p.nImageWidth);
    const int nTop = source.Int(-3, p.nImageHeight);
    const int nWidth = source.Int(source.OneIn(16) ? -2 : 1, 4 + p.nImageWidth / 3);
    const int nHeight = source.Int(source.OneIn(16) ? -2 : 1, 4 + p.nImageHeight / 3);
    return {nLeft, nTop, nLeft + nWidth, nTop + nHeight};
}

/// A period whose multiple fits three times into nExtent, mostly.
double CCaseMaker::PickPitch(CCaseSource& source, int nExtent, int nMultiple) const
{
    const int nKind = source.Int(0, 127);
    if (nKind == 127)
        return EdgePitch(source);
    int nMost16 = std::clamp(nExtent, 1, 1 << 16) * 16 / 3 / std::max(nMultiple, 1);
    if (nKind >= 120)
        nMost16 = 3 * nMost16 + 64; // mostly too long
    const int nPitch16 = source.Int(std::min(nMost16, nKind < 20 ? 16 : 48), std::max(nMost16, 1));
    if (nKind < 40)
        return nPitch16 >> 4;
    if (nKind < 100)
        return nPitch16 / 16.0;
    return nPitch16 / 16.0 + source.Int(0, 255) / 4096.0;
}

void CCaseMaker::MakePitches(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    const int nMultiples = source.Int(0, 7);
    p.nConvMultiple = nMultiples < 6 ? 1 : source.Int(1, 3);
    p.nScanMultiple = nMultiples < 5 ? 1 : source.Int(1, 3);
    p.dConvPitch = PickPitch(source, p.rtInspect.Width(), p.nConvMultiple);
    p.dScanPitch = PickPitch(source, p.rtInspect.Height(), p.nScanMultiple);
    if (source.OneIn(100))
        p.nConvMultiple = MostlyPlain(source, 0, 2);
    if (source.OneIn(100))
        p.nScanMultiple = MostlyPlain(source, 0, 2);
    p.nConvWidth = source.Pick({2, 2, 1, 3, 4});
    p.nConvHeight = source.Pick({2, 2, 1, 3, 4});
    if (source.OneIn(60))
        p.nConvWidth = MostlyPlain(source, 5, 2);
    if (source.OneIn(60))
        p.nConvHeight = MostlyPlain(source, 6, 2);
    if (source.OneIn(3))
        p.fVtdPitch = static_cast<float>(source.Int(-40, 80)) / 16.0F;
    if (source.OneIn(200))
        p.fVtdPitch = static_cast<float>(EdgePitch(source));
    if (source.OneIn(3))
        p.dClassPitch = source.Int(1, 64) / 8.0;
    if (source.OneIn(200))
        p.dClassPitch = EdgePitch(source);
    p.nZoneConvMultiple = MostlyPlain(source, source.Pick({1, 1, 1, 2}), 120);
    p.nZoneScanMultiple = MostlyPlain(source, source.Pick({1, 1, 1, 2}), 120);
}

void CCaseMaker::MakeThresholds(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    // Units: quarters of a grey level for window sums and trapezia.
    const int nUnit = p.nInspectMode == 0 || m_case.eCall == CaseCall::Trapezium ? 4 : 1;
    p.nThreshold = MostlyPlain(source, nUnit * source.Int(3, 40), 100);
    p.nThresholdGain = MostlyPlain(source, source.OneIn(3) ? 0 : source.Int(0, 60), 100);
    p.nGrayLimit = source.OneIn(6) ? MostlyPlain(source, source.Int(1, 300), 8) : 255;
    p.nBlackFilterGray = source.OneIn(2) ? source.Int(-10, 50) : 0;
    p.nBlackFilterGain = MostlyPlain(source, source.Int(0, 60), 100);
    if (source.OneIn(60))
        p.nBlackFilterGray = EdgeInt(source);
    p.nThresholdExtra = source.OneIn(4) ? source.Int(-4, 20) : 0;
    if (source.OneIn(120))
        p.nThresholdExtra = EdgeInt(source);
    if (m_bFlood)
    {
        p.nThreshold = 1;
        p.nThresholdGain = 0;
        p.nBlackFilterGray = 0;
        p.nConvWidth = p.nConvHeight = 2;
        p.nScanMultiple = 1;
        p.dScanPitch = p.dConvPitch = source.Int(2, 9);
    }
}

void CCaseMaker::MakeSwitches(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    p.bExtendedKernel = Flag(source, 2);
    p.bUseLineBuffer = source.OneIn(6) ? 0 : Flag(source, 1);
    p.bAverage2by2 = Flag(source, 3);
    p.bZoneFlagged = Flag(source, 4);
    p.bTwoSegmentThreshold = Flag(source, 3);
    p.bAutoDirection = Flag(source, 2);
    p.bKeepSingle = source.OneIn(4) ? Flag(source, 3) : 1;
    p.bBandThread = 1;
    p.nPairSearchSlack = MostlyPlain(source, 0, 40);
    p.nMaxReinspect = source.OneIn(5) ? source.Pick({0, 1, 2, 10, -1}) : 3;
    if (source.OneIn(200))
        p.nMaxReinspect = EdgeInt(source);
    p.bTwice = Flag(source, 4);
    p.nTwiceThreshold = MostlyPlain(source, source.Int(3, 60), 60);
    p.nTwiceThresholdGain = MostlyPlain(source, source.Int(0, 60), 60);
    p.dTwicePitch = PickPitch(source, p.nDirection == 1 ? p.rtInspect.Height() : p.rtInspect.Width(), 1);
    if (m_bFlood)
        p.bTwice = p.bZoneFlagged = 0;
}

int CCaseMaker::GetRealPitch16() const
{
    const double dReal = m_case.param.nDirection == 0 ? m_case.param.GetRealConvPitch() //
                                                      : m_case.param.GetRealScanPitch();
    return dReal >= 1.0 && dReal <= 512.0 ? static_cast<int>(dReal * 16.0) : 160;
}

void CCaseMaker::MakeTables(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    const int nReal16 = GetRealPitch16();
    const auto nPer16 = static_cast<std::size_t>(std::max(p.nImageWidth, p.nImageHeight) / 16 + 1);
    const auto Fill = [&](CCaseArray<int>& table, int nPlain, int nSpread)
    {
        int* const pTable = table.Take(nPer16, m_bExact);
        const bool bWide = source.OneIn(12);
        for (std::size_t i = 0; i < nPer16; ++i)
            pTable[i] = bWide ? source.Int(-500, 3000) : nPlain + source.Int(-nSpread, nSpread);
        return pTable;
    };
    if (source.OneIn(5))
        p.pScanPitchTable = Fill(m_scanTable, nReal16, source.Pick({0, 1, 12}));
    if (source.OneIn(5))
        p.pTiltScanTable = Fill(m_tiltScan, 8, 8);
    if (source.OneIn(5))
        p.pTiltConvTable = Fill(m_tiltConv, m_case.eCall == CaseCall::Trapezium ? nReal16 : 8, 8);
    if (source.OneIn(3))
        MakeConvTables(source, nReal16);
    if (m_bFlood)
        p.pScanPitchTable = nullptr;
}

void CCaseMaker::MakeConvTables(CCaseSource& source, int nRealPitch16)
{
    CConvParam& p = m_case.param;
    const std::size_t nBlocks = static_cast<std::size_t>(p.nImageWidth) / 16 + 1;
    unsigned short* const pPitch = m_convPitch.Take(nBlocks * 16, m_bExact);
    short* const pNear = m_weightNear.Take(nBlocks * 16, m_bExact);
    short* const pFar = m_weightFar.Take(nBlocks * 16, m_bExact);
    const bool bFar = source.OneIn(16);
    const bool bOdd = source.OneIn(12);
    for (std::size_t nBlock = 0; nBlock < nBlocks; ++nBlock)
    {
        const int nPitch = bFar ? source.Int(0, 65535) : std::max((nRealPitch16 >> 4) + source.Int(-1, 1), 0);
        const int nWeight = source.Int(0, 16);
        for (std::size_t i = nBlock * 16; i < nBlock * 16 + 16; ++i)
        {
            pPitch[i] = static_cast<unsigned short>(nPitch);
            pNear[i] = static_cast<short>(bOdd ? source.Pick({0, 16, -1, 255, 32767, -32768}) : 16 - nWeight);
            pFar[i] = static_cast<short>(bOdd ? source.Pick({0, 16, -1, 255, 32767, -32768}) : nWeight);
        }
    }
    p.pConvPitchTable = pPitch;
    p.pConvWeightNear = source.OneIn(50) ? nullptr : pNear;
    p.pConvWeightFar = source.OneIn(50) ? nullptr : pFar;
}

void CCaseMaker::MakeMaps(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    const CCasePools& pools = CCasePools::Get();
    const auto PickMap = [&](MapKind eKind, int nNoneOneIn)
    { return source.OneIn(nNoneOneIn) ? nullptr : pools.PickMap(source, eKind); };
    p.pThresholdOffsetMap = source.Int(0, 99) < 45 && !m_bQuiet ? pools.PickMap(source, MapKind::Offset) : nullptr;
    p.pThresholdGainMap = PickMap(MapKind::Gain, 5);
    p.pZoneIndexMap = PickMap(MapKind::Zone, 6);
    p.pClassIdMap = PickMap(MapKind::Zone, 4);
    p.pThresholdKneeMap = PickMap(MapKind::Knee, 8);
    p.pThresholdOffsetMap2 = PickMap(MapKind::Offset, 12);
    p.pThresholdGainMap2 = PickMap(MapKind::Gain, 5);
    p.nZoneMapStride = source.OneIn(4) ? source.Pick({1, 0, 2, 255, 256}) : source.Int(20, 200);
    p.nZoneMapLeft = MostlyPlain(source, 0, 100);
    p.nZoneMapTop = MostlyPlain(source, 0, 100);
    if (m_bFlood)
        p.pThresholdOffsetMap = nullptr;
    if (m_bWide)
        p.nZoneMapStride = std::min(p.nZoneMapStride, 24); // far corners stay within the pools
}

void CCaseMaker::MakeGrid(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    if (m_bQuiet || source.OneIn(60))
    {
        p.nZoneColumns = source.Int(0, 30);
        return;
    }
    const bool bZone = p.pThresholdOffsetMap != nullptr && p.nInspectMode != 3;
    const bool bFreeForm = !bZone && p.nInspectMode == 0;
    // Grids that nothing reads are left out, except for a few that must change nothing.
    if (!bZone && !bFreeForm && !source.OneIn(8))
    {
        p.nZoneColumns = source.Int(0, 30);
        return;
    }

    const bool bAsg = m_case.eCall == CaseCall::Asg || m_case.eCall == CaseCall::RectAsg;
    const engine::CZoneCellSize cell = bAsg ? engine::GetAsgZoneCellSize(p) : engine::GetZoneCellSize(p);
    const auto GetStep = [](int nCell, int nExtent) { return std::clamp(nCell, 1, std::max(nExtent, 1) + 1); };
    CGrid grid;
    grid.nInts = HasFlaggedRecords(p) && !bFreeForm ? 3 : 2;
    grid.nStepX = GetStep(cell.nWidth, p.nImageWidth);
    grid.nStepY = GetStep(cell.nHeight, p.nImageHeight);
    grid.nDrift = bFreeForm ? 0 : std::min(source.Pick({0, 0, 1, 2}), std::min(grid.nStepX, grid.nStepY) / 3);
    grid.nFirstX = p.rtInspect.left - source.Int(0, grid.nStepX);
    grid.nFirstY = p.rtInspect.top - source.Int(0, grid.nStepY);
    if (IsVertical() && !bFreeForm)
        grid.nFirstY -= grid.nStepY; // vertical scans begin with the second row of the grid
    if (source.OneIn(12))
        grid.nFirstX += source.Int(0, 40);
    if (source.OneIn(12))
        grid.nFirstY += source.Int(0, 40);
    grid.bWild = bZone && source.OneIn(16);

    // What the walks may reach. Re-runs look up their cell in steps of two ints, which leads anywhere in a grid of
    // three, and in a wild grid; there they are switched off, or the grid has a row for each row of the image.
    if (grid.bWild || (grid.nInts == 3 && !source.OneIn(3)))
        p.nMaxReinspect = 0;
    if (grid.nInts == 3)
        p.nMaxReinspect = std::min(p.nMaxReinspect, 3);
    const int nReach = 40 + 2 * grid.nDrift;
    grid.nColumns = (p.nImageWidth + nReach) / grid.nStepX + 4;
    grid.nColumns = std::max(grid.nColumns, p.nImageWidth / 16 + 4);
    grid.nRows = (p.nImageHeight + nReach) / grid.nStepY + 5;
    if (grid.bWild || grid.nInts == 3)
        grid.nRows = std::max(grid.nRows, p.nImageHeight + 12);
    grid.nTail = 2 * grid.nColumns + 8;
    FillGrid(source, grid);
    p.pZoneOriginTable = m_grid.Data();
    p.nZoneColumns = grid.nColumns;
    if (source.OneIn(150))
        p.nZoneMapStride = -1;
}

void CCaseMaker::FillGrid(CCaseSource& source, const CGrid& grid)
{
    const CConvParam& p = m_case.param;
    const auto nRecords = static_cast<std::size_t>(grid.nRows * grid.nColumns + grid.nTail);
    int* pRecord = m_grid.Take(nRecords * static_cast<std::size_t>(grid.nInts), m_bExact);
    constexpr int nMostOff = 60; ///< origins lie at most this far off the image
    const std::uint8_t* pNoise = CCasePools::Get().PickNoise(source);
    int nNoise = 0;
    const auto Drift = [&](int nSpread) { return (pNoise[nNoise++ & 0xFFFF] * (2 * nSpread + 1) >> 8) - nSpread; };
    int nRow = 0;
    int nColumn = 0;
    for (std::size_t i = 0; i < nRecords; ++i)
    {
        if (grid.bWild)
        {
            pRecord[0] = (p.nImageWidth >> 1) + Drift(p.nImageWidth / 2 + 20);
            pRecord[1] = (p.nImageHeight >> 1) + Drift(p.nImageHeight / 2 + 20);
        }
        else
        {
            pRecord[0] = grid.nFirstX + nColumn * grid.nStepX + Drift(grid.nDrift);
            pRecord[1] = grid.nFirstY + nRow * grid.nStepY + Drift(grid.nDrift);
            pRecord[0] = std::clamp(pRecord[0], -2 * nMostOff - p.nImageWidth, p.nImageWidth + nMostOff);
            pRecord[1] = std::clamp(pRecord[1], -2 * nMostOff - p.nImageHeight, p.nImageHeight + nMostOff);
        }
        if (grid.nInts == 3)
        {
            const int nSkip = pNoise[(nNoise + 7777) & 0xFFFF];
            pRecord[2] = nSkip < 40 ? 1 : nSkip < 50 ? 2 : nSkip == 50 ? -1 : 0;
        }
        pRecord += grid.nInts;
        if (++nColumn == grid.nColumns)
        {
            nColumn = 0;
            ++nRow;
        }
    }
}

void CCaseMaker::MakeFilters(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    p.bFalseFilter = source.OneIn(4) ? Flag(source, 4) : 1;
    p.bMarginFilter = source.OneIn(4) ? Flag(source, 4) : 1;
    p.nFilterMode = MostlyPlain(source, source.Int(0, 2), 60);
    p.nFilterMode2 = MostlyPlain(source, source.Int(0, 2), 60);
    p.nMergeDivision = MostlyPlain(source, source.Pick({4, 0, 1, 9, -1}), 60);
    p.dPixelSizeX = source.Pick({0.0, 1.0, 0.35, 7.5});
    p.dPixelSizeY = source.Pick({0.0, 1.0, 0.4, 3.25});
    if (source.OneIn(100))
        p.dPixelSizeX = EdgePitch(source);
    p.nMultiType = MostlyPlain(source, -1, 20);
    p.nCheckLimit1 = source.OneIn(100) ? source.Int(9, 10) : 10000;
    p.nCheckLimit2 = source.OneIn(100) ? source.Int(1, 2) : 10000;
    if (source.OneIn(3))
        MakeZoneFilters(source);
}

void CCaseMaker::MakeZoneFilters(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    for (std::size_t nTable = 0; nTable < m_aZoneTables.size(); ++nTable)
    {
        const bool bOdd = source.OneIn(24);
        for (int& nValue : m_aZoneTables[nTable])
            nValue = bOdd ? EdgeInt(source) : source.Int(0, nTable % 2 == 0 ? 24 : 40);
    }
    if (source.OneIn(2))
    {
        p.pFilterOffset = m_aZoneTables[0].data();
        p.pFilterGain = m_aZoneTables[1].data();
        p.pFilterOffset1 = m_aZoneTables[2].data();
        p.pFilterGain1 = m_aZoneTables[3].data();
    }
    if (source.OneIn(2))
        p.pTspTable = m_aZoneTables[4].data();
    if (source.OneIn(2))
        p.pTspTable2 = m_aZoneTables[5].data();
    const bool bLimits = source.OneIn(2);
    const bool bVerify = source.OneIn(2);
    if (bVerify)
        p.pVeriPitchString = CCasePools::Get().PickTexts(source);
    for (int nZone = 0; nZone < CConvParam::nZoneLimit; ++nZone)
    {
        if (bLimits)
        {
            p.nDarkGrayLimit[nZone] = source.OneIn(2) ? source.Int(1, 255) : 0;
            p.nBrightMinDiff[nZone] = source.OneIn(2) ? source.Int(1, 40) : 0;
        }
        if (bVerify)
        {
            p.dVeriPitchConv[nZone] = source.OneIn(60) ? EdgePitch(source) : source.Int(16, 200) / 16.0;
            p.dVeriPitchScan[nZone] = source.OneIn(60) ? EdgePitch(source) : source.Int(16, 200) / 16.0;
        }
    }
}

void CCaseMaker::MakeSideModes(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    if (p.nInspectMode == 3)
    {
        p.nAverageParam1 = source.OneIn(8) ? MostlyPlain(source, 45, 2) : source.Int(5, 25);
        p.nAverageParam2 = source.OneIn(8) ? MostlyPlain(source, 9, 2) : source.Int(1, 5);
        if (!source.OneIn(8))
            p.nBlackFilterGray = source.Int(3, 40);
    }
    if (p.nInspectMode == 2 && !source.OneIn(4))
        p.nThreshold = source.Int(1, source.OneIn(8) ? 300 : 40);
    if (m_case.eCall == CaseCall::Trapezium)
        MakeTrapezium(source);
    if (p.nInspectMode == 0 && p.bZoneFlagged != 0)
        MakeMask(source);
}

void CCaseMaker::MakeTrapezium(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    CPadPoint(&ptCorner)[4] = p.trapInspect.ptCorner;
    const int nWidth = p.nImageWidth;
    const int nHeight = p.nImageHeight;
    if (source.OneIn(12))
    {
        for (CPadPoint& pt : ptCorner)
        {
            pt.x = source.Int(-2, nWidth + 2);
            pt.y = source.Int(-2, nHeight + 2);
        }
        return;
    }
    // Two parallel sides across the direction, each from near one border to near the other.
    const bool bVertical = p.nDirection == 1;
    const int nAcross = bVertical ? nWidth : nHeight;
    const int nAlong = bVertical ? nHeight : nWidth;
    const int nMostSlant = source.OneIn(3) ? 0 : nAlong / 5;
    const auto SetSide = [&](CPadPoint& ptLow, CPadPoint& ptHigh, int nPlace)
    {
        const int nLow = source.Int(0, nMostSlant);
        const int nHigh = nAlong - source.Int(0, nMostSlant);
        ptLow = bVertical ? CPadPoint(nPlace, nLow) : CPadPoint(nLow, nPlace);
        ptHigh = bVertical ? CPadPoint(nPlace, nHigh) : CPadPoint(nHigh, nPlace);
    };
    const int nFirst = source.OneIn(2) ? source.Int(0, nAcross / 4) : 0;
    const int nLast = source.OneIn(2) ? nAcross - source.Int(0, nAcross / 4) : nAcross;
    SetSide(ptCorner[0], ptCorner[1], nFirst);
    SetSide(ptCorner[3], ptCorner[2], source.OneIn(24) ? nFirst : nLast);
}

void CCaseMaker::MakeMask(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    if (source.OneIn(5))
        return;
    const auto nPixels = static_cast<std::size_t>(p.nImageWidth) * static_cast<std::size_t>(p.nImageHeight);
    std::uint8_t* const pMask = m_mask.Take(nPixels, m_bExact);
    std::fill_n(pMask, nPixels, std::uint8_t{1});
    const int nHoles = source.Int(0, 6);
    for (int i = 0; i < nHoles; ++i)
    {
        const CRect rtHole = PickRect(source);
        for (int y = std::max(rtHole.top, 0); y < std::min(rtHole.bottom, p.nImageHeight); ++y)
            for (int x = std::max(rtHole.left, 0); x < std::min(rtHole.right, p.nImageWidth); ++x)
                pMask[static_cast<std::size_t>(y) * p.nImageWidth + x] = 0;
    }
    p.pFreeFormMask = pMask;
    p.nFreeFormMaskParam = source.Int(0, 3);
    const int nPoints = source.Int(0, 8);
    CPoint* const pPoints = m_polygon.Take(static_cast<std::size_t>(nPoints), m_bExact);
    for (int i = 0; i < nPoints; ++i)
    {
        pPoints[i].x = source.Int(-8, p.nImageWidth + 8);
        pPoints[i].y = source.Int(-8, p.nImageHeight + 8);
    }
    p.pFreeFormPoint = pPoints;
    p.nFreeFormPointCount = nPoints;
}

void CCaseMaker::MakeCapacities(CCaseSource& source)
{
    // Hits are counted per row, or per strip of 16 columns. Few hits with many pairs would only take long: a vertical
    // trapezium reads a block again after each overflow of its hits, until its pairs are full.
    const int nHits = source.Int(0, 15);
    const int nPairs = source.Int(0, 15);
    const int nBlobs = source.Int(0, 15);
    m_case.nPixelSize = nHits < 12 ? 20000 : nHits < 14 ? source.Int(40, 400) : source.Int(0, 40);
    m_case.nPairSize = nPairs < 12 ? 20000 : nPairs < 14 ? source.Int(40, 400) : source.Int(0, 40);
    m_case.nBlobSize = nBlobs < 14 ? 250 : source.Int(0, 8);
    if (m_case.nPixelSize < 400 && m_case.eCall == CaseCall::Trapezium)
        m_case.nPairSize = std::min(m_case.nPairSize, 400);
    if (m_bFlood)
    {
        m_case.nPixelSize = 20000;
        m_case.nPairSize = source.Pick({160000, 160000, 99999, 100000, 100001});
        m_case.nBlobSize = nCaseBlobLimit;
    }
}

/// Nothing near a seam, room for all records, and parameters that every band accepts as the whole region does:
/// the split makes no difference then.
void CCaseMaker::MakeQuiet(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    p.bZoneFlagged = 0;
    p.nConvWidth = source.Int(1, 3);
    p.nConvHeight = source.Int(1, 3);
    p.nConvMultiple = source.Int(1, 2);
    p.nScanMultiple = source.Int(1, 2);
    p.dConvPitch = source.Int(16, 4000) / 16.0;
    p.dScanPitch = source.Int(16, std::max(p.rtInspect.Height() * 16 / 3 / p.nScanMultiple, 17)) / 16.0;
    p.dTwicePitch = source.Int(16, 160) / 16.0;
    // A table that leads below the region's rows would cause very many hits.
    const int nReal16 = static_cast<int>(p.GetRealScanPitch() * 16.0);
    for (std::size_t i = 0; p.pScanPitchTable != nullptr && i < m_scanTable.Count(); ++i)
        p.pScanPitchTable[i] = std::max(nReal16 - (p.pScanPitchTable[i] & 7), 0);
    p.nCheckLimit1 = p.nCheckLimit2 = 10000;
    p.fVtdPitch = std::clamp(p.fVtdPitch, -8.0F, 8.0F);
    p.nThreshold = source.Int(3, 40);
    p.nThresholdGain = std::clamp(p.nThresholdGain, 0, 60);
    p.nBlackFilterGain = std::clamp(p.nBlackFilterGain, 0, 60);
    p.nThresholdExtra = std::clamp(p.nThresholdExtra, 0, 20);
    p.nMergeDivision = source.Int(0, 9);
    m_case.nLane = 0;
    m_case.nPixelSize = m_case.nPairSize = 20000;
    m_case.nBlobSize = nCaseBlobLimit;
}

void CCaseMaker::MakeImage(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    const auto nPixels = static_cast<std::size_t>(p.nImageWidth) * static_cast<std::size_t>(p.nImageHeight);
    std::uint8_t* const pImage = m_image.Take(nPixels, m_bExact);
    p.pImage = source.OneIn(400) && !m_bQuiet && !m_bFlood ? nullptr : pImage;
    if (m_bFlood)
    {
        FillWithNoise(source, pImage, p.nImageWidth, p.nImageHeight);
        return;
    }
    CImageOrder order;
    order.nWidth = p.nImageWidth;
    order.nHeight = p.nImageHeight;
    order.nPeriod16 = std::max(GetRealPitch16(), 16);
    order.bAlongY = p.nDirection != 0;
    order.bFlat = m_bQuiet;
    order.nMostSpots = m_bWide ? 60 : 3 + static_cast<int>(nPixels) / 400;
    if (m_bQuiet)
    {
        // Bands as the split cuts them: at most four, each of a multiple of 64 columns.
        const int nSpan = p.rtInspect.Width();
        const int nBands = std::clamp(nSpan / nSplitWidth, 1, 4);
        order.nQuietStep = static_cast<int>(static_cast<float>(nSpan) / static_cast<float>(nBands)) / 64 * 64;
        order.nQuietFirst = p.rtInspect.left + order.nQuietStep;
        order.nQuietCount = nBands - 1;
    }
    FillCaseImage(source, order, pImage);
}

void CCaseMaker::SettleSplit()
{
    const CConvParam& p = m_case.param;
    // Sides apart by more than an int are measured as the library does, modulo 2^32.
    const int nWidth = p.rtInspect.Width();
    const int nHeight = p.rtInspect.Height();
    // Twice kernels build their blobs in two rounds: bands have both rounds one after the other, the whole has not.
    if (m_bQuiet && (p.bTwice == 0 || p.nInspectMode != 1))
        m_case.eSplit = CaseSplit::Quiet;
    else if (m_case.eCall == CaseCall::Rect && (nWidth >= nSplitWidth || nHeight >= nSplitWidth))
        m_case.eSplit = CaseSplit::Open;
}

} // namespace narvo::test
