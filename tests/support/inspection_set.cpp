// SPDX-License-Identifier: MIT
// The picture, the tables and the list of inspections.
#include "support/inspection_set.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "support/random.h"

namespace narvo::test
{

namespace
{

constexpr int nMapThreshold = 18;

/// The fields of a blob that a host reads, without the record's padding.
bool IsSameBlob(const CDefectBlob& a, const CDefectBlob& b)
{
    const auto same = [](const auto& x, const auto& y) { return std::memcmp(&x, &y, sizeof x) == 0; };
    return same(a.nDefectPos, b.nDefectPos) && same(a.nDefectPair, b.nDefectPair) &&
           same(a.nDefectType, b.nDefectType) && same(a.nBlobId, b.nBlobId) && same(a.nPairCount, b.nPairCount) &&
           same(a.ptCenter, b.ptCenter) && same(a.ptPeak, b.ptPeak) && same(a.ptMaxGray, b.ptMaxGray) &&
           same(a.nRScale, b.nRScale) && same(a.rtDefect, b.rtDefect) && same(a.nMaxPeak, b.nMaxPeak) &&
           same(a.nAvgSrcGray, b.nAvgSrcGray) && same(a.nAvgCmpGray, b.nAvgCmpGray) && same(a.nAvgDiff, b.nAvgDiff) &&
           same(a.nSumSrcGray, b.nSumSrcGray) && same(a.nSumCmpGray, b.nSumCmpGray) && same(a.nSumDiff, b.nSumDiff) &&
           same(a.nAvgThreshold, b.nAvgThreshold) && same(a.nZoneCount, b.nZoneCount) &&
           same(a.nSubZoneCount, b.nSubZoneCount) && same(a.nZoneMinPeak, b.nZoneMinPeak) &&
           same(a.nZoneMaxPeak, b.nZoneMaxPeak) && same(a.nZoneSumPeak, b.nZoneSumPeak) &&
           same(a.nMultiType, b.nMultiType) && same(a.bRemoved, b.bRemoved) && same(a.ptExtreme, b.ptExtreme) &&
           same(a.dAngle, b.dAngle) && same(a.dMajorAxis, b.dMajorAxis) && same(a.dElongation, b.dElongation);
}

} // namespace

bool operator==(const SFound& a, const SFound& b)
{
    return a.nCode == b.nCode && a.nPairCount == b.nPairCount &&
           std::equal(a.blobs.begin(), a.blobs.end(), b.blobs.begin(), b.blobs.end(), IsSameBlob);
}

CInspectionSet::CInspectionSet(int nWidth, int nHeight, int nDefects, unsigned nSeed)
    : m_nWidth(nWidth), m_nHeight(nHeight)
{
    DrawPicture(nDefects, nSeed);
    MakeMaps();
    MakeTables();
    AddZone();
    AddPixel();
    AddFloat();
    AddSideModes();
}

void CInspectionSet::DrawPicture(int nDefects, unsigned nSeed)
{
    m_picture.resize(static_cast<std::size_t>(m_nWidth) * static_cast<std::size_t>(m_nHeight));
    m_mask.assign(m_picture.size(), 1);
    const auto at = [this](int x, int y) -> unsigned char& {
        return m_picture[static_cast<std::size_t>(y) * static_cast<std::size_t>(m_nWidth) +
                         static_cast<std::size_t>(x)];
    };
    for (int y = 0; y < m_nHeight; ++y)
        for (int x = 0; x < m_nWidth; ++x)
            at(x, y) = static_cast<unsigned char>(60 + x % nPitch * 3 + y % nPitch * 2);
    CRandom random(nSeed);
    for (int i = 0; i < nDefects; ++i)
    {
        const int nSide = random.Int(1, 3);
        const int nLeft = random.Int(0, m_nWidth - nSide);
        const int nTop = random.Int(0, m_nHeight - nSide);
        const int nChange = random.OneIn(2) ? 70 : -50;
        for (int y = nTop; y < nTop + nSide; ++y)
            for (int x = nLeft; x < nLeft + nSide; ++x)
                at(x, y) = static_cast<unsigned char>(std::clamp(at(x, y) + nChange, 0, 255));
    }
}

void CInspectionSet::MakeMaps()
{
    // A margin of one cell in front, since bands look left of their first cell, and room for cells without limit.
    const int nStride = 2 * nPitch;
    const auto nSize = static_cast<std::size_t>(nStride * (2 * nPitch + m_nHeight) + m_nWidth);
    m_offset.assign(nSize, nMapThreshold);
    m_gain.assign(nSize, 8);
    m_knee.assign(nSize, 100);
    m_zone.resize(nSize);
    for (std::size_t i = 0; i < nSize; ++i)
        m_zone[i] = static_cast<short>(i / 3 % 16);

    // One grid row above the image, which vertical comparisons step over, and spare cells behind it.
    for (int nRow = -1; nRow < m_nHeight / nPitch + 2; ++nRow)
        for (int nColumn = 0; nColumn < m_nWidth / nPitch + 2; ++nColumn)
        {
            m_origin.insert(m_origin.end(), {nColumn * nPitch, nRow * nPitch});
            m_flaggedOrigin.insert(m_flaggedOrigin.end(), {nColumn * nPitch, nRow * nPitch, 0});
        }
}

void CInspectionSet::MakeTables()
{
    m_rowPitch.resize(static_cast<std::size_t>(std::max(m_nWidth, m_nHeight)) / 16 + 2);
    for (std::size_t i = 0; i < m_rowPitch.size(); ++i)
        m_rowPitch[i] = nPitch * 16 + static_cast<int>(i % 2);
    m_columnPitch.assign(static_cast<std::size_t>(m_nWidth) + 16, nPitch);
    m_weightNear.assign(static_cast<std::size_t>(m_nWidth) + 16, 12);
    m_weightFar.assign(static_cast<std::size_t>(m_nWidth) + 16, 4);
    m_zoneOffset.assign(16, 20);
    m_zoneGain.assign(16, 4);
}

CConvParam CInspectionSet::MakeParam(int nMode, int nDirection) const
{
    CConvParam param;
    param.nInspectMode = nMode;
    param.nDirection = nDirection;
    // The engine only reads the picture.
    param.pImage = const_cast<unsigned char*>(m_picture.data());
    param.nImageWidth = m_nWidth;
    param.nImageHeight = m_nHeight;
    param.rtInspect.SetRect(0, 0, m_nWidth, m_nHeight);
    param.nConvWidth = param.nConvHeight = 2;
    param.dConvPitch = nPitch + 0.0625;
    param.dScanPitch = nPitch + 0.125;
    param.nConvMultiple = param.nScanMultiple = 1;
    param.nThreshold = nMode == 0 ? 60 : 20;
    param.dPixelSizeX = param.dPixelSizeY = 1.0;
    return param;
}

CConvParam CInspectionSet::MakeZoneParam(int nDirection) const
{
    CConvParam param = MakeParam(1, nDirection);
    const auto data = [](const auto& values, std::size_t nOffset)
    { return const_cast<std::remove_cvref_t<decltype(values.front())>*>(values.data()) + nOffset; };
    constexpr std::size_t nMargin = std::size_t{2} * nPitch * nPitch;
    param.pThresholdOffsetMap = data(m_offset, nMargin);
    param.pThresholdGainMap = data(m_gain, nMargin);
    param.pZoneIndexMap = data(m_zone, nMargin);
    param.nZoneMapStride = 2 * nPitch;
    param.nZoneColumns = m_nWidth / nPitch + 2;
    param.pZoneOriginTable = data(m_origin, nDirection == 0 ? std::size_t{2} * param.nZoneColumns : 0);
    return param;
}

SInspection& CInspectionSet::Add(const std::string& strName, const CConvParam& param, PoolCall eCall)
{
    m_inspections.push_back({strName, eCall, param});
    return m_inspections.back();
}

void CInspectionSet::AddZone()
{
    const CConvParam rows = MakeZoneParam(0);
    Add("zone, rows", rows);
    CConvParam& columnTable = Add("zone, rows, column table", rows).param;
    columnTable.pConvPitchTable = m_columnPitch.data();
    columnTable.pConvWeightNear = m_weightNear.data();
    columnTable.pConvWeightFar = m_weightFar.data();
    Add("zone, rows, ASG", rows, PoolCall::RectAsg);

    const CConvParam strips = MakeZoneParam(1);
    Add("zone, strips", strips);
    Add("zone, strips, ASG", strips, PoolCall::RectAsg);
    Add("zone, strips, image read directly", strips).param.bUseLineBuffer = 0;
    Add("zone, strips, 2 by 2 means", strips).param.bAverage2by2 = 1;
    CConvParam& knee = Add("zone, strips, two segments", strips).param;
    knee.bTwoSegmentThreshold = 1;
    knee.pThresholdKneeMap = m_knee.data() + (knee.pThresholdOffsetMap - m_offset.data());
    knee.pThresholdOffsetMap2 = knee.pThresholdOffsetMap;
    knee.pThresholdGainMap2 = knee.pThresholdGainMap;
    CConvParam& flagged = Add("zone, strips, flagged cells", strips).param;
    flagged.bZoneFlagged = 1;
    flagged.pZoneOriginTable = m_flaggedOrigin.data();
    flagged.bBandThread = 0; // bands enter the grid in steps of two ints
    Add("zone, strips, row table", strips).param.pScanPitchTable = m_rowPitch.data();
    Add("zone, strips, shift of two pitches", strips).param.fVtdPitch = 0.5F;

    CConvParam extended = strips;
    extended.bExtendedKernel = 1;
    Add("zone, strips, class ids", extended);
    CConvParam& classTable = Add("zone, strips, class ids, row table", extended).param;
    classTable.pScanPitchTable = m_rowPitch.data();
    classTable.pClassIdMap = classTable.pZoneIndexMap;
    CConvParam& zoneTable = Add("zone, strips, thresholds of the zone table", extended).param;
    zoneTable.pTspTable = m_zoneOffset.data();
    zoneTable.pTspTable2 = m_zoneGain.data();
    Add("zone, strips, second set", extended).param.nBlackFilterGray = 25;
    Add("zone, strips, extended shift", extended).param.fVtdPitch = 0.5F;
}

void CInspectionSet::AddPixel()
{
    const CConvParam rows = MakeParam(1, 0);
    Add("pixel, rows", rows);
    Add("pixel, rows, ASG", rows, PoolCall::RectAsg);
    CConvParam& columnTable = Add("pixel, rows, column table", rows).param;
    columnTable.pConvPitchTable = m_columnPitch.data();
    columnTable.pConvWeightNear = m_weightNear.data();
    columnTable.pConvWeightFar = m_weightFar.data();
    CConvParam extendedRows = rows;
    extendedRows.bExtendedKernel = 1;
    Add("pixel, rows, extended", extendedRows);

    const CConvParam strips = MakeParam(1, 1);
    Add("pixel, strips", strips);
    Add("pixel, strips, ASG", strips, PoolCall::RectAsg);
    Add("pixel, strips, image read directly", strips).param.bUseLineBuffer = 0;
    Add("pixel, strips, second set", strips).param.nBlackFilterGray = 25;
    Add("pixel, strips, row table", strips).param.pScanPitchTable = m_rowPitch.data();
    CConvParam extendedStrips = strips;
    extendedStrips.bExtendedKernel = 1;
    Add("pixel, strips, extended", extendedStrips);
    Add("pixel, strips, extended row table", extendedStrips).param.pScanPitchTable = m_rowPitch.data();

    for (CConvParam twice : {extendedRows, extendedStrips})
    {
        twice.bTwice = 1;
        twice.nTwiceThreshold = 30;
        twice.dTwicePitch = nPitch;
        Add(twice.nDirection == 0 ? "pixel, rows, twice" : "pixel, strips, twice", twice);
    }
}

void CInspectionSet::AddFloat()
{
    const CConvParam rows = MakeParam(0, 0);
    Add("float, rows, 2 by 2", rows);
    Add("float, rows, 3 by 2", rows).param.nConvWidth = 3;
    CConvParam& rows9 = Add("float, rows, 3 by 3", rows).param;
    rows9.nConvWidth = rows9.nConvHeight = 3;
    CConvParam& columnTable = Add("float, rows, column table", rows).param;
    columnTable.pConvPitchTable = m_columnPitch.data();
    columnTable.pConvWeightNear = m_weightNear.data();
    columnTable.pConvWeightFar = m_weightFar.data();

    const CConvParam strips = MakeParam(0, 1);
    Add("float, strips, 2 by 2", strips);
    Add("float, strips, 2 by 3", strips).param.nConvHeight = 3;
    CConvParam& strips9 = Add("float, strips, 3 by 3", strips).param;
    strips9.nConvWidth = strips9.nConvHeight = 3;
    Add("float, strips, extended", strips).param.bExtendedKernel = 1;
    Add("float, strips, shift of two pitches", strips).param.fVtdPitch = 0.5F;
    Add("float, strips, row table", strips).param.pScanPitchTable = m_rowPitch.data();
    CConvParam& freeForm = Add("float, strips, free form", strips).param;
    freeForm.bZoneFlagged = 1;
    freeForm.rtInspect.right = std::min(m_nWidth, m_nHeight); // its end line is the bottom, held against the right
    freeForm.pFreeFormMask = m_mask.data();
}

void CInspectionSet::AddSideModes()
{
    Add("binarise", MakeParam(2, 0)).param.nThreshold = 62;
    CConvParam& average = Add("average", MakeParam(3, 0)).param;
    average.nThreshold = 12;
    average.nBlackFilterGray = -12;
    average.nAverageParam1 = 45;
    average.nAverageParam2 = 3;
    for (const int nDirection : {0, 1})
    {
        const int nSlant = nPitch / 2;
        CConvParam& param = Add(nDirection == 0 ? "trapezium, rows" : "trapezium, strips", MakeParam(0, nDirection),
                                PoolCall::Trapezium)
                                .param;
        CPadPoint* const ptCorner = param.trapInspect.ptCorner;
        ptCorner[0] = CPadPoint(nDirection == 0 ? nSlant : 0, 0);
        ptCorner[1] = nDirection == 0 ? CPadPoint(m_nWidth - nSlant, 0) : CPadPoint(0, m_nHeight);
        ptCorner[2] = nDirection == 0 ? CPadPoint(m_nWidth, m_nHeight) : CPadPoint(m_nWidth, m_nHeight - nSlant);
        ptCorner[3] = nDirection == 0 ? CPadPoint(0, m_nHeight) : CPadPoint(m_nWidth, nSlant);
    }
}

int RunOnPool(CAssemControl& pool, int nLane, const SInspection& inspection)
{
    CConvParam param(inspection.param);
    switch (inspection.eCall)
    {
    case PoolCall::Rect:
        return pool.Inspect_Rect(nLane, &param, 0);
    case PoolCall::RectAsg:
        return pool.Inspect_Rect(nLane, &param, 1);
    case PoolCall::Trapezium:
        return pool.Inspect_Trapezium(nLane, &param);
    }
    return 0;
}

SFound ReadFound(CAssemControl& pool, int nLane, int nCode)
{
    CNarvoAssem& engine = *pool.GetNarvoAssem(nLane);
    SFound found{nCode, engine.GetPairCount(), {}};
    for (int i = 0; i < engine.GetBlobCount(); ++i)
        found.blobs.push_back(*engine.GetBlobDefect(i));
    return found;
}

} // namespace narvo::test
