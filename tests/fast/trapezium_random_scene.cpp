// SPDX-License-Identifier: MIT
// See trapezium_random_scene.h.
#include "fast/trapezium_random_scene.h"

#include <algorithm>
#include <cstring>

#include "support/images.h"

namespace narvo::test
{

namespace
{

constexpr std::size_t nImagePlace = 64 * 1024; ///< bytes before the image
constexpr std::size_t nImageRoom = 48 * 1024;  ///< the largest image
constexpr std::size_t nArenaBytes = 320 * 1024;

} // namespace

CTrapeziumSceneSource::CTrapeziumSceneSource() : m_aBackground(nArenaBytes)
{
    CRandom random(1);
    for (std::uint8_t& nByte : m_aBackground)
        nByte = static_cast<std::uint8_t>(random.Next());
    m_aArena = m_aBackground;
}

void CTrapeziumSceneSource::MakePicture(CRandom& random, engine::CTrapeziumCall& call,
                                        std::vector<CStartHit>& aStartHits, bool bHorizontal)
{
    m_nWidth = random.OneIn(4) ? random.Int(120, 320) : random.Int(32, 130);
    m_nHeight = random.OneIn(4) ? random.Int(50, 140) : random.Int(20, 90);

    const int nExtent = bHorizontal ? m_nWidth : m_nHeight;
    int nWhole = random.Int(0, nExtent / 4);
    if (random.OneIn(3))
        nWhole = random.Int(1, 6);
    call.nPitch16 = nWhole * 16 + (random.OneIn(4) ? 0 : random.Int(0, 15));

    std::memcpy(m_aArena.data() + nImagePlace, m_aBackground.data() + nImagePlace, nImageRoom);
    std::uint8_t* pImage = m_aArena.data() + nImagePlace;
    FillImage(random, pImage, m_nWidth, m_nHeight, nWhole, nWhole);
    call.image = {pImage, m_nWidth, m_bWholeImages || random.OneIn(2) ? m_nHeight : 0};

    call.nGrayLimit = random.OneIn(2) ? 255 : random.Pick<std::int64_t>({100, random.Int(1, 255), 0, 1, 254});
    call.nThreshold16 = 16 * (random.OneIn(3) ? random.Pick({0, 1, -1, -40, 255, 1000, 1020}) : random.Int(1, 80));
    call.bKeepSingle = random.Pick<std::int64_t>({0, 1, 1, 1, 2});

    const int nMostHits = 2 * (bHorizontal ? m_nWidth : m_nHeight * 16) + 40;
    call.hits.nSize = random.OneIn(4) ? random.Int(0, 40) : random.OneIn(3) ? random.Int(0, nMostHits) : nMostHits;
    call.pairs.nSize = random.OneIn(4) ? random.Int(0, 8) : random.Pick({40, 300, 1500});
    call.pairs.nCount = random.OneIn(4) ? random.Int(0, 10) : 0;

    m_aTable.resize(static_cast<std::size_t>(std::max(m_nWidth, m_nHeight) / 16 + 2));
    for (int& nEntry : m_aTable)
    {
        nEntry = static_cast<int>(call.nPitch16) + random.Int(-20, 20);
        if (random.OneIn(8))
            nEntry = random.Int(0, 16 * nExtent);
        nEntry = std::max(nEntry, 0);
    }
    call.pPitchTable = random.OneIn(2) ? m_aTable.data() : nullptr;

    aStartHits.clear();
    if (!random.OneIn(5))
        return;
    const int nHop = static_cast<int>((call.nPitch16 + 8) >> 4);
    const int nRow = random.Int(0, m_nHeight - 1);
    for (int i = random.Int(1, 12); i > 0; i--)
    {
        CStartHit hit;
        hit.x = random.Int(0, m_nWidth - 1);
        hit.y = bHorizontal ? nRow : random.Int(0, m_nHeight - 1);
        hit.nType = static_cast<short>(random.Pick({0, 1, 0, 1, 3, 4}));
        hit.nPeak = static_cast<short>(random.Int(0, 200));
        aStartHits.push_back(hit);
        if (!random.OneIn(3))
            continue;
        (bHorizontal ? hit.x : hit.y) += nHop;
        hit.nType = static_cast<short>(random.Pick({0, 1, 1, 4}));
        aStartHits.push_back(hit);
    }
}

const CTrapeziumHoriScene& CTrapeziumSceneSource::MakeHori(std::uint64_t nSeed)
{
    CRandom random(nSeed);
    m_hori = CTrapeziumHoriScene();
    engine::CTrapeziumHoriCall& call = m_hori.call;
    MakePicture(random, call, m_hori.aStartHits, true);

    const auto side = [&](int nLow, int nHigh) { return random.OneIn(3) ? nLow : random.Int(nLow, nHigh); };
    call.nTop = side(0, m_nHeight - 2);
    call.nBottom = random.OneIn(3) ? m_nHeight : random.Int(static_cast<int>(call.nTop), m_nHeight);
    if (random.OneIn(30))
        call.nBottom = call.nTop - random.Int(0, 3);
    call.nLeftTop = side(0, m_nWidth / 2);
    call.nLeftBottom = random.OneIn(3) ? call.nLeftTop : side(0, m_nWidth / 2);
    call.nRightTop = m_nWidth - side(0, m_nWidth / 2);
    call.nRightBottom = random.OneIn(3) ? call.nRightTop : m_nWidth - side(0, m_nWidth / 2);
    if (random.OneIn(20))
        std::swap(call.nLeftTop, call.nRightTop);
    call.nPitchRound = random.Pick({0, 0, 7, 8, 15});
    return m_hori;
}

const CTrapeziumVertScene& CTrapeziumSceneSource::MakeVert(std::uint64_t nSeed)
{
    CRandom random(nSeed);
    m_vert = CTrapeziumVertScene();
    engine::CTrapeziumVertCall& call = m_vert.call;
    MakePicture(random, call, m_vert.aStartHits, false);

    const auto side = [&](int nLow, int nHigh) { return random.OneIn(3) ? nLow : random.Int(nLow, nHigh); };
    call.nLeft = side(0, m_nWidth / 2);
    call.nRight = random.OneIn(3) ? m_nWidth : random.Int(static_cast<int>(call.nLeft), m_nWidth);
    if (random.OneIn(30))
        call.nRight = call.nLeft - random.Int(0, 20);
    call.nTopLeft = side(0, m_nHeight / 2);
    call.nTopRight = random.OneIn(3) ? call.nTopLeft : side(0, m_nHeight / 2);
    call.nBottomLeft = m_nHeight - side(0, m_nHeight / 2);
    call.nBottomRight = random.OneIn(3) ? call.nBottomLeft : m_nHeight - side(0, m_nHeight / 2);
    call.nConvPitch16 = random.Int(0, random.Pick({40, 16 * 12, 16 * 30}));
    return m_vert;
}

} // namespace narvo::test
