// SPDX-License-Identifier: MIT
// Pictures too large for the random scenes, with tables and a mask to match: wider than a kernel may look at in one
// piece, or so dense that nearly every pixel is a hit.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "fast/picture.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "support/random.h"

namespace narvo::test
{

class CLargePicture
{
public:
    /// Grey noise of a few levels with nSpots pixels of any grey, and a margin right and below outside every region.
    CLargePicture(int nWidth, int nHeight, int nSpots)
        : m_nWidth(nWidth), m_nHeight(nHeight), m_picture(nWidth + nMargin, nHeight + 8, 0),
          m_aRowTable(static_cast<std::size_t>(nHeight / 16 + 2)),
          m_aDisplacement(static_cast<std::size_t>(nWidth + nMargin)),
          m_aNear(static_cast<std::size_t>(nWidth + nMargin)), m_aFar(static_cast<std::size_t>(nWidth + nMargin))
    {
        CRandom random(3);
        for (std::uint8_t& nPixel : m_picture.aPixels)
            nPixel = static_cast<std::uint8_t>(random.Int(100, 112));
        for (int i = 0; i < nSpots; i++)
        {
            const int x = random.Int(0, nWidth - 1);
            m_picture.At(x, random.Int(0, nHeight - 1)) = static_cast<std::uint8_t>(random.Int(0, 255));
        }
        for (int& nEntry : m_aRowTable)
            nEntry = nPitch16 + random.Int(-9, 9);
        for (std::size_t i = 0; i < m_aNear.size(); i++)
        {
            m_aDisplacement[i] = static_cast<std::uint16_t>((nPitch16 >> 4) + random.Int(-1, 1));
            m_aFar[i] = static_cast<std::int16_t>(random.Int(0, 16));
            m_aNear[i] = static_cast<std::int16_t>(16 - m_aFar[i]);
        }
        m_aMask.resize(m_picture.aPixels.size());
        for (std::uint8_t& nByte : m_aMask)
            nByte = static_cast<std::uint8_t>(random.OneIn(5) ? 0 : random.Int(1, 255));
    }

    /// Image, region, pitch, tables and capacities that hold all hits of a strip or row.
    void Describe(engine::CKernelCall& call) const
    {
        call.image = m_picture.View();
        call.region = {0, 0, m_nWidth, m_nHeight};
        call.nPitch16 = nPitch16;
        call.pScanPitchTable = m_aRowTable.data();
        call.pConvPitchTable = m_aDisplacement.data();
        call.pConvWeightNear = m_aNear.data();
        call.pConvWeightFar = m_aFar.data();
        call.hits.nSize = 2 * std::max(m_nWidth, 16 * m_nHeight) + 16;
        call.pairs.nSize = 200000;
        call.bKeepSingle = 1;
    }

    const std::uint8_t* Mask() const { return m_aMask.data(); }

private:
    static constexpr int nMargin = 64;
    static constexpr int nPitch16 = 4 * 16 + 9;

    int m_nWidth;
    int m_nHeight;
    CPicture m_picture;
    std::vector<int> m_aRowTable;
    std::vector<std::uint16_t> m_aDisplacement;
    std::vector<std::int16_t> m_aNear;
    std::vector<std::int16_t> m_aFar;
    std::vector<std::uint8_t> m_aMask;
};

} // namespace narvo::test
