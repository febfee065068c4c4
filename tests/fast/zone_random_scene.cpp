// SPDX-License-Identifier: MIT
// See zone_random_scene.h.
#include "fast/zone_random_scene.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>

#include "support/images.h"

namespace narvo::test
{

namespace
{

constexpr int nHuge = std::numeric_limits<int>::max();
constexpr std::size_t nImagePlace = 48 * 1024;  ///< bytes before the image, for tables that point upward
constexpr std::size_t nArenaBytes = 256 * 1024; ///< enough after it for tables that point far down or right
constexpr std::int64_t nPoolSize = 1 << 18;     ///< elements of a map pool; scenes read around its middle
constexpr int nOriginReach = 150;               ///< how far an origin may lie off the region
constexpr int nMaxMapStride = 400;

std::vector<std::int16_t> MakePool(std::uint64_t nSeed, const std::function<int(CRandom&)>& makeValue)
{
    CRandom random(nSeed);
    std::vector<std::int16_t> aPool(static_cast<std::size_t>(nPoolSize));
    for (std::int16_t& nValue : aPool)
        nValue = static_cast<std::int16_t>(makeValue(random));
    return aPool;
}

int AnyShort(CRandom& random)
{
    return random.Int(-32768, 32767);
}

int AnyInt(CRandom& random)
{
    return random.Int(std::numeric_limits<int>::min(), nHuge);
}

} // namespace

CZoneSceneSource::CZoneSceneSource() : m_aBackground(nArenaBytes)
{
    CRandom random(1);
    for (std::uint8_t& nByte : m_aBackground)
        nByte = static_cast<std::uint8_t>(random.Next());
    m_aArena = m_aBackground;

    m_aOffsetPools = {
        MakePool(11, [](CRandom&) { return 10; }),
        MakePool(12, [](CRandom& r) { return r.Int(0, 40); }),
        MakePool(13, [](CRandom& r) { return r.OneIn(6) ? 32767 : r.Int(5, 30); }),
        MakePool(14,
                 [](CRandom& r) {
                     return r.Pick({32767, -32768, -1, 0, 1, 254, 255, 256, -256, 32512});
                 }),
        MakePool(15, AnyShort),
        MakePool(16, [](CRandom& r) { return r.Int(60, 140); }),
    };
    m_aGainPools = {
        MakePool(21, [](CRandom&) { return 20; }),
        MakePool(22, [](CRandom& r) { return r.Int(0, 60); }),
        MakePool(23,
                 [](CRandom& r) {
                     return r.Pick({0, 1, -1, 256, 257, 32767, -32768, 255});
                 }),
        MakePool(24, AnyShort),
    };
    m_aIndexPools = {
        MakePool(31, [](CRandom& r) { return r.Int(0, 15); }),
        MakePool(32, [](CRandom& r) { return r.OneIn(8) ? AnyShort(r) : r.Int(0, 15); }),
        MakePool(33, [](CRandom& r) { return r.Int(-2, 17); }),
    };
    m_aKneePools = {
        MakePool(41, [](CRandom& r) { return r.Int(0, 255); }),
        MakePool(42, [](CRandom& r) { return r.Int(-300, 300); }),
        MakePool(43,
                 [](CRandom& r) {
                     return r.Pick({-1, 0, 255, 254, 32767, -32768});
                 }),
    };
}

const CZoneScene& CZoneSceneSource::Make(ZoneKernel eKernel, std::uint64_t nSeed)
{
    CRandom random(nSeed);
    m_scene = CZoneScene();
    m_scene.eKernel = eKernel;
    MakeRegion(random);
    MakePitch(random);
    MakeImage(random);
    MakeMaps(random);
    MakeCells(random);
    MakeTables(random);
    MakeCapacities(random);
    MakeStartHits(random);
    MakeParam(random);
    m_scene.bDoublePitch = random.OneIn(2);
    m_scene.dPitchRemainder = random.Pick({0.0, 0.25, 0.999});
    return m_scene;
}

void CZoneSceneSource::MakeRegion(CRandom& random)
{
    m_nWidth = random.Int(16, 80);
    m_nHeight = random.Int(1, 44);
    if (random.OneIn(6))
        m_nWidth = random.Int(100, 230);
    else if (random.OneIn(12))
        m_nWidth = random.Int(260, 380);
    else if (random.OneIn(12))
        m_nHeight = random.Int(60, 110);

    const auto pickSpan = [&random](int nSize, std::int64_t& nLow, std::int64_t& nHigh)
    {
        nLow = random.OneIn(2) ? 0 : random.Int(0, nSize / 3);
        nHigh = random.OneIn(2) ? nSize : random.Int(static_cast<int>(nLow), nSize);
    };
    engine::CRegion& rt = m_scene.call.region;
    pickSpan(m_nWidth, rt.nLeft, rt.nRight);
    if (rt.nRight - rt.nLeft < 16 && !random.OneIn(16))
    {
        rt.nLeft = random.Int(0, m_nWidth - 16);
        rt.nRight = m_nWidth;
    }
    pickSpan(m_nHeight, rt.nTop, rt.nBottom);
    if (m_bWholeImages)
        rt = {0, 0, m_nWidth, m_nHeight};
}

void CZoneSceneSource::MakePitch(CRandom& random)
{
    const engine::CRegion& rt = m_scene.call.region;
    const int nExtent = static_cast<int>(IsHorizontal(m_scene.eKernel) ? rt.nRight - rt.nLeft : rt.nBottom - rt.nTop);
    int nWhole = random.Int(0, 1 + nExtent / 3);
    if (random.OneIn(4))
        nWhole = random.Int(0, 3);
    else if (random.OneIn(6))
        nWhole = random.Int(0, nExtent);
    else if (random.OneIn(20))
        nWhole = nExtent + random.Int(0, 2000);
    m_scene.call.nPitch16 = nWhole * 16 + (random.OneIn(4) ? 0 : random.Int(0, 15));
    // The class-id table kernel has no shift.
    m_scene.call.nVtdPitch16 =
        m_scene.eKernel == ZoneKernel::ClassIdTable || random.OneIn(3) ? 0 : random.Int(-100, 300);
}

void CZoneSceneSource::MakeImage(CRandom& random)
{
    std::memcpy(m_aArena.data(), m_aBackground.data(), nImagePlace + 24 * 1024);
    std::uint8_t* pImage = m_aArena.data() + nImagePlace;
    const int nPitch = static_cast<int>(m_scene.call.nPitch16 >> 4);
    FillImage(random, pImage, m_nWidth, m_nHeight, nPitch, nPitch);
    m_scene.call.image.pPixels = pImage;
    m_scene.call.image.nStride = m_nWidth;
    m_scene.call.image.nRows = m_bWholeImages || random.OneIn(3) ? m_nHeight : 0;
    m_scene.call.nGrayLimit = random.OneIn(2)
                                  ? 255
                                  : random.Pick<std::int64_t>({100, random.Int(1, 255), 0, -1, 300, 32768, 65535, 65536,
                                                               65536 + 80, std::numeric_limits<std::int64_t>::min()});
}

const std::int16_t* CZoneSceneSource::PickMap(CRandom& random, const std::vector<std::vector<std::int16_t>>& aPools,
                                              int nNullOneIn)
{
    if (random.OneIn(nNullOneIn))
        return nullptr;
    // The first pools are the gentle ones: take them more often.
    const int nLast = static_cast<int>(aPools.size()) - 1;
    const int nPool = std::min(random.Int(0, nLast), random.Int(0, nLast));
    return aPools[static_cast<std::size_t>(nPool)].data() + nPoolSize / 2 + random.Range(-5000, 5000);
}

void CZoneSceneSource::MakeMaps(CRandom& random)
{
    engine::CZoneCall& call = m_scene.call;
    call.pOffsetMap = PickMap(random, m_aOffsetPools, 24);
    call.pGainMap = PickMap(random, m_aGainPools, 5);
    call.pZoneIndexMap = PickMap(random, m_aIndexPools, 6);
    call.pKneeMap = PickMap(random, m_aKneePools, 24);
    call.pOffsetMap2 = PickMap(random, m_aOffsetPools, 24);
    call.pGainMap2 = PickMap(random, m_aGainPools, 5);
    call.pClassIdMap = PickMap(random, m_aIndexPools, 4);
    call.nMapStride = random.OneIn(3) ? m_nWidth : random.Int(0, nMaxMapStride);
}

void CZoneSceneSource::MakeCells(CRandom& random)
{
    engine::CZoneCall& call = m_scene.call;
    const engine::CRegion& rt = call.region;
    const auto pickSize = [&random](int nExtent)
    {
        switch (random.Int(0, 7))
        {
        case 0:
            return random.Pick({1, 2, nHuge});
        case 1:
            return random.Int(3, 15);
        case 2:
            return random.Pick({16, 32, 48});
        case 3:
            return nExtent + random.Int(0, 2);
        default:
            return random.Int(1, nExtent + 1);
        }
    };
    const int nWidth = static_cast<int>(rt.nRight - rt.nLeft);
    const int nHeight = static_cast<int>(rt.nBottom - rt.nTop);
    const int nCellWidth = pickSize(nWidth);
    const int nCellHeight = pickSize(nHeight);
    call.nCellWidth = nCellWidth;
    call.nCellHeight = nCellHeight;

    const bool bFlagged = m_scene.eKernel == ZoneKernel::VertFlag || m_scene.eKernel == ZoneKernel::VertFlag2by2;
    const int nInts = bFlagged ? 3 : 2;
    const int nColumns = nWidth / 16 + 4 + random.Int(0, 2);
    const int nRows = nHeight + 3;
    call.nRowBytes = static_cast<std::int64_t>(nColumns) * nInts * 4;

    // A regular grid from a phase on, each origin a little off; or origins anywhere.
    const int nStepX = std::min(nCellWidth, nWidth + 1);
    const int nStepY = std::min(nCellHeight, nHeight + 1);
    const int nPhaseX = random.Int(0, nStepX);
    const int nPhaseY = random.Int(0, nStepY);
    const int nLateX = random.OneIn(6) ? random.Int(0, 40) : 0;
    const int nLateY = random.OneIn(6) ? random.Int(0, 40) : 0;
    const int nFirstX = static_cast<int>(rt.nLeft) - nPhaseX + nLateX;
    const int nFirstY = static_cast<int>(rt.nTop) - nPhaseY + nLateY;
    const int nFirstRow = IsHorizontal(m_scene.eKernel) ? 0 : 1;
    const int nDrift = random.Pick({0, 1, 3});
    const bool bWild = random.OneIn(10);
    m_aOrigins.resize(static_cast<std::size_t>(nRows * nColumns * nInts));
    for (int r = 0; r < nRows; r++)
    {
        for (int c = 0; c < nColumns; c++)
        {
            int x0 = nFirstX + c * nStepX + random.Int(-nDrift, nDrift);
            int y0 = nFirstY + (r - nFirstRow) * nStepY + random.Int(-nDrift, nDrift);
            if (bWild)
            {
                x0 = random.Int(-nOriginReach, m_nWidth + nOriginReach);
                y0 = random.Int(-nOriginReach, m_nHeight + nOriginReach);
            }
            int* pRecord = &m_aOrigins[static_cast<std::size_t>((r * nColumns + c) * nInts)];
            pRecord[0] = std::clamp(x0, -nOriginReach, m_nWidth + nOriginReach);
            pRecord[1] = std::clamp(y0, -nOriginReach, m_nHeight + nOriginReach);
            if (bFlagged)
                pRecord[2] = random.Pick({0, 0, 0, 0, 1, 1, 2, -1});
        }
    }
    call.pOriginTable = m_aOrigins.data();
}

void CZoneSceneSource::MakeTables(CRandom& random)
{
    engine::CZoneCall& call = m_scene.call;
    const int nPitch16 = static_cast<int>(std::min<std::int64_t>(call.nPitch16, std::int64_t{16} * 110));

    m_aScanTable.resize(static_cast<std::size_t>(m_nHeight / 16 + 2));
    const bool bWide = random.OneIn(5);
    for (int& nEntry : m_aScanTable)
        nEntry = bWide ? random.Int(-16 * 30, 16 * 140) : std::max(-480, nPitch16 + random.Int(-20, 20));
    const bool bTable = m_scene.eKernel == ZoneKernel::ClassIdTable ? !random.OneIn(6) : random.OneIn(2);
    call.pScanPitchTable = bTable ? m_aScanTable.data() : nullptr;

    if (m_scene.eKernel != ZoneKernel::HoriTable)
        return;
    const auto nColumns = static_cast<std::size_t>(m_nWidth / 16 + 2) * 16;
    m_aConvPitch.resize(nColumns);
    m_aWeightNear.resize(nColumns);
    m_aWeightFar.resize(nColumns);
    const int nKind = random.Int(0, 5);
    for (std::size_t i = 0; i < nColumns; i++)
    {
        m_aConvPitch[i] = static_cast<std::uint16_t>(std::max(0, (nPitch16 >> 4) + random.Int(-2, 2)));
        if (nKind == 0)
            m_aConvPitch[i] = static_cast<std::uint16_t>(random.Int(0, random.Pick({0xFFFF, 400})));
        const int nFar = random.Int(0, 16);
        m_aWeightNear[i] = static_cast<std::int16_t>(nKind == 1 ? AnyShort(random) : 16 - nFar);
        m_aWeightFar[i] = static_cast<std::int16_t>(nKind == 1 ? AnyShort(random) : nFar);
        if (nKind == 2)
        {
            m_aWeightNear[i] = static_cast<std::int16_t>(random.Pick({0, 16, -1, 1, 255, 32767, -32768}));
            m_aWeightFar[i] = static_cast<std::int16_t>(random.Pick({0, 16, -1, 1, 255, 32767, -32768}));
        }
    }
    call.pConvPitchTable = m_aConvPitch.data();
    call.pConvWeightNear = m_aWeightNear.data();
    call.pConvWeightFar = m_aWeightFar.data();
}

void CZoneSceneSource::MakeCapacities(CRandom& random)
{
    engine::CZoneCall& call = m_scene.call;
    const int nLines = m_nHeight + 2;
    const int nMostHits = IsHorizontal(m_scene.eKernel) ? m_nWidth + 40 : nLines * 16 + 40;
    call.hits.nSize = random.OneIn(4) ? random.Int(0, 24) : random.OneIn(3) ? random.Int(0, nMostHits) : nMostHits;
    call.pairs.nSize = random.OneIn(4) ? random.Int(0, 8) : random.Pick({40, 300, 1500});
    call.pairs.nCount = random.OneIn(4) ? random.Int(0, 10) : 0;
    call.bKeepSingle = random.Pick<std::int64_t>({0, 1, 1, 1, 1, 2, -1, std::int64_t{1} << 32});
    call.nThresholdExtra =
        random.OneIn(2) ? 0
                        : random.Pick<std::int64_t>({10, random.Int(0, 300), -5, 40000, -40000,
                                                     std::numeric_limits<std::int64_t>::max(),
                                                     std::numeric_limits<std::int64_t>::min(), std::int64_t{1} << 16});
}

void CZoneSceneSource::MakeStartHits(CRandom& random)
{
    if (!random.OneIn(4))
        return;
    const engine::CRegion& rt = m_scene.call.region;
    const bool bHorizontal = IsHorizontal(m_scene.eKernel);
    const bool bOneRow = bHorizontal && !random.OneIn(4);
    const int nHop = static_cast<int>((m_scene.call.nPitch16 + 8) >> 4);
    m_scene.aStartHits.resize(static_cast<std::size_t>(random.Int(1, 20)));
    for (CStartHit& hit : m_scene.aStartHits)
    {
        hit.x = random.Int(static_cast<int>(rt.nLeft), static_cast<int>(rt.nRight));
        hit.y = random.Int(static_cast<int>(rt.nTop), static_cast<int>(rt.nBottom));
        if (bOneRow)
            hit.y = static_cast<int>(rt.nTop);
        hit.nType = static_cast<short>(random.Pick({0, 1, 0, 1, 0, 1, 3, 4, 2, -1, 5}));
        hit.nPeak = static_cast<short>(random.OneIn(6) ? AnyShort(random) : random.Int(0, 60));
        hit.nSrcGray = random.Int(0, 255);
        hit.nCmpGray = random.Int(0, 255);
        hit.nZoneIndex = random.OneIn(6) ? AnyInt(random) : random.Int(0, 15);
        hit.nThreshold = random.OneIn(6) ? AnyInt(random) : random.Int(0, 60);
    }
    // Partners of some, one hop further.
    const std::size_t nGiven = m_scene.aStartHits.size();
    for (std::size_t i = 0; i < nGiven; i++)
    {
        if (!random.OneIn(3))
            continue;
        CStartHit hit = m_scene.aStartHits[i];
        (bHorizontal ? hit.x : hit.y) += nHop;
        hit.nType = static_cast<short>(random.Pick({0, 1, 1, 4}));
        m_scene.aStartHits.push_back(hit);
    }
    if (!random.OneIn(4))
        std::sort(m_scene.aStartHits.begin(), m_scene.aStartHits.end(),
                  [](const CStartHit& a, const CStartHit& b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
}

void CZoneSceneSource::MakeParam(CRandom& random)
{
    if (!IsMember(m_scene.eKernel))
        return;
    CConvParam& param = m_scene.param;
    const int nZones = random.OneIn(3) ? 0 : random.Pick({1, 2, 3, 10});
    for (int i = 0; i < nZones; i++)
    {
        const int nLeft = random.Int(-5, m_nWidth);
        const int nTop = random.Int(-5, m_nHeight);
        const bool bEmpty = random.OneIn(10);
        const int nWidth = bEmpty ? 0 : random.Int(1, 20);
        const int nHeight = random.Int(1, 20);
        param.rtDeadZone[i].SetRect(nLeft, nTop, nLeft + nWidth, nTop + nHeight);
    }

    param.nBlackFilterGray = random.OneIn(5) ? AnyInt(random) : random.Int(-20, 60);
    param.nBlackFilterGain = random.OneIn(5) ? AnyInt(random) : random.Int(-40, 120);

    const int nKind = random.Int(0, 5);
    for (int i = 0; i < CConvParam::nZoneLimit; i++)
    {
        m_aTsp[i] = random.OneIn(3) ? 0 : random.Int(5, 60);
        m_aTsp2[i] = random.Int(0, 60);
        if (nKind == 0)
            m_aTsp[i] = random.Pick({0, 255, 256, 257, 300, nHuge});
        if (nKind == 1)
        {
            m_aTsp[i] =
                random.OneIn(2) ? random.Int(-40, 40) : random.Pick({32767, 32768, -32768, nHuge, AnyInt(random)});
            m_aTsp2[i] = AnyInt(random);
        }
    }
    param.pTspTable = m_aTsp;
    param.pTspTable2 = random.OneIn(8) ? nullptr : m_aTsp2;
}

} // namespace narvo::test
