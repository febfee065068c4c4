// SPDX-License-Identifier: MIT
// See scene_parts.h.
#include "fast/scene_parts.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "support/images.h"

namespace narvo::test
{

namespace
{

constexpr std::size_t nImagePlace = 64 * 1024;  ///< bytes before the image, for tables that point back
constexpr std::size_t nImageRoom = 32 * 1024;   ///< the largest image
constexpr std::size_t nArenaBytes = 320 * 1024; ///< enough after it for tables that point far down or right

int AnyShort(CRandom& random)
{
    return random.Int(-32768, 32767);
}

} // namespace

std::int64_t RandomBase(CRandom& random)
{
    if (!random.OneIn(4))
        return random.Int(0, 40);
    return random.Pick<std::int64_t>(
        {-3, -200, 255, 256, 2047, 32512, 32767, 32768, 65535, 65536 + 12, AnyShort(random)});
}

std::int64_t RandomGain(CRandom& random)
{
    if (!random.OneIn(4))
        return random.OneIn(3) ? 0 : random.Int(0, 60);
    return random.Pick<std::int64_t>({-1, -30, 255, 256, 257, 258, 300, 32767, 65535, 65536 + 20, AnyShort(random)});
}

CSceneParts::CSceneParts() : m_aBackground(nArenaBytes)
{
    CRandom random(1);
    for (std::uint8_t& nByte : m_aBackground)
        nByte = static_cast<std::uint8_t>(random.Next());
    m_aArena = m_aBackground;

    for (const int nOneIn : {2, 8, 40})
    {
        std::vector<std::uint8_t> aMask(nArenaBytes);
        std::uint8_t nValue = 0;
        for (std::uint8_t& nByte : aMask)
        {
            if (random.OneIn(nOneIn))
                nValue = random.OneIn(2) ? std::uint8_t{0} : static_cast<std::uint8_t>(random.Int(1, 255));
            nByte = nValue;
        }
        m_aMasks.push_back(std::move(aMask));
    }
}

void CSceneParts::MakePicture(CRandom& random, engine::CKernelCall& call, bool bHorizontal)
{
    MakeRegion(random, call);
    MakePitch(random, call, bHorizontal);

    std::memcpy(m_aArena.data() + nImagePlace, m_aBackground.data() + nImagePlace, nImageRoom);
    std::uint8_t* pImage = m_aArena.data() + nImagePlace;
    const int nPeriod = static_cast<int>(call.nPitch16 >> 4);
    FillImage(random, pImage, m_nWidth, m_nHeight, nPeriod, nPeriod);
    call.image.pPixels = pImage;
    call.image.nStride = m_nWidth;
    call.image.nRows = m_bWholeImages || random.OneIn(3) ? m_nHeight : 0;
    call.nGrayLimit =
        random.OneIn(2) ? 255 : random.Pick<std::int64_t>({100, random.Int(1, 255), 0, 227, 1, 254, 300, 511});
}

void CSceneParts::MakeRegion(CRandom& random, engine::CKernelCall& call)
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
    engine::CRegion& rt = call.region;
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

void CSceneParts::MakePitch(CRandom& random, engine::CKernelCall& call, bool bHorizontal)
{
    const engine::CRegion& rt = call.region;
    const int nExtent = static_cast<int>(bHorizontal ? rt.nRight - rt.nLeft : rt.nBottom - rt.nTop);
    int nWhole = random.Int(0, 1 + nExtent / 3);
    if (random.OneIn(4))
        nWhole = random.Int(0, 3);
    else if (random.OneIn(6))
        nWhole = random.Int(0, nExtent);
    else if (random.OneIn(20))
        nWhole = nExtent + random.Int(0, 2000);
    call.nPitch16 = nWhole * 16 + (random.OneIn(4) ? 0 : random.Int(0, 15));
}

void CSceneParts::MakeRowTable(CRandom& random, engine::CKernelCall& call)
{
    const int nPitch16 = static_cast<int>(std::min<std::int64_t>(call.nPitch16, std::int64_t{16} * 110));
    m_aScanTable.resize(static_cast<std::size_t>(m_nHeight / 16 + 2));
    const bool bWide = random.OneIn(5);
    const bool bSteps = random.OneIn(3);
    int nLast = nPitch16;
    for (int& nEntry : m_aScanTable)
    {
        if (!bSteps || random.OneIn(2))
            nLast = bWide ? random.Int(-16 * 30, 16 * 140) : nPitch16 + random.Int(-20, 20);
        nEntry = random.OneIn(12) ? 0 : nLast;
    }
    call.pScanPitchTable = random.OneIn(4) ? nullptr : m_aScanTable.data();
}

void CSceneParts::MakeColumnTables(CRandom& random, engine::CKernelCall& call, int nMostDisplacement, bool bSigned)
{
    const int nPitch = static_cast<int>(std::min<std::int64_t>(call.nPitch16 >> 4, 110));
    const auto nColumns = static_cast<std::size_t>(m_nWidth / 16 + 2) * 16;
    m_aConvPitch.resize(nColumns);
    m_aWeightNear.resize(nColumns);
    m_aWeightFar.resize(nColumns);
    const int nKind = random.Int(0, 5);
    for (std::size_t i = 0; i < nColumns; i++)
    {
        int nDisplacement = nPitch + random.Int(-2, 2);
        if (nKind == 0)
            nDisplacement = random.Int(bSigned ? -nMostDisplacement : 0, random.Pick({nMostDisplacement, 400}));
        if (!bSigned)
            nDisplacement = std::max(nDisplacement, 0);
        m_aConvPitch[i] = static_cast<std::uint16_t>(nDisplacement);

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

void CSceneParts::MakeCapacities(CRandom& random, engine::CKernelCall& call, bool bHorizontal, int nHitsPerPixel)
{
    const int nMostHits = nHitsPerPixel * (bHorizontal ? m_nWidth : m_nHeight * 16) + 40;
    call.hits.nSize = random.OneIn(4) ? random.Int(0, 24) : random.OneIn(3) ? random.Int(0, nMostHits) : nMostHits;
    call.pairs.nSize = random.OneIn(4) ? random.Int(0, 8) : random.Pick({40, 300, 1500});
    call.pairs.nCount = random.OneIn(4) ? random.Int(0, 10) : 0;
    call.bKeepSingle = random.Pick<std::int64_t>({0, 1, 1, 1, 1, 2, -1});
}

std::vector<CStartHit> CSceneParts::MakeStartHits(CRandom& random, const engine::CKernelCall& call, bool bHorizontal,
                                                  int nMostValue)
{
    std::vector<CStartHit> aHits;
    if (!random.OneIn(4))
        return aHits;
    const engine::CRegion& rt = call.region;
    const int nHop = static_cast<int>((call.nPitch16 + 8) >> 4);
    aHits.resize(static_cast<std::size_t>(random.Int(1, 20)));
    for (CStartHit& hit : aHits)
    {
        hit.x = random.Int(static_cast<int>(rt.nLeft), static_cast<int>(rt.nRight));
        hit.y = bHorizontal ? static_cast<int>(rt.nTop)
                            : random.Int(static_cast<int>(rt.nTop), static_cast<int>(rt.nBottom));
        hit.nType = static_cast<short>(random.Pick({0, 1, 0, 1, 0, 1, 3, 4, 2, -1, 5}));
        hit.nPeak = static_cast<short>(random.OneIn(6) ? AnyShort(random) : random.Int(0, 60));
        hit.nSrcGray = random.Int(0, nMostValue - 1);
        hit.nCmpGray = random.Int(0, nMostValue - 1);
        hit.nZoneIndex = random.Int(0, 15);
        hit.nThreshold = random.OneIn(6) ? AnyShort(random) : random.Int(0, nMostValue / 4);
    }

    // Partners of some, one hop further.
    const std::size_t nGiven = aHits.size();
    for (std::size_t i = 0; i < nGiven; i++)
    {
        if (!random.OneIn(3))
            continue;
        CStartHit hit = aHits[i];
        (bHorizontal ? hit.x : hit.y) += nHop;
        hit.nType = static_cast<short>(random.Pick({0, 1, 1, 4}));
        aHits.push_back(hit);
    }
    if (!random.OneIn(4))
        std::sort(aHits.begin(), aHits.end(),
                  [](const CStartHit& a, const CStartHit& b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
    return aHits;
}

void CSceneParts::MakeDeadZones(CRandom& random, CConvParam& param)
{
    const int nZones = random.OneIn(3) ? 0 : random.Pick({1, 2, 3, CConvParam::nDeadZoneLimit});
    for (int i = 0; i < nZones; i++)
    {
        const int nLeft = random.Int(-5, m_nWidth);
        const int nTop = random.Int(-5, m_nHeight);
        const int nZoneWidth = random.OneIn(10) ? 0 : random.Int(1, 20);
        param.rtDeadZone[i].SetRect(nLeft, nTop, nLeft + nZoneWidth, nTop + random.Int(1, 20));
    }
}

const std::uint8_t* CSceneParts::MakeMask(CRandom& random)
{
    if (random.OneIn(5))
        return nullptr;
    const auto nMask = static_cast<std::size_t>(random.Int(0, static_cast<int>(m_aMasks.size()) - 1));
    return m_aMasks[nMask].data() + nImagePlace + random.Int(-1000, 1000);
}

} // namespace narvo::test
