// SPDX-License-Identifier: MIT
// Random scenes for the zone kernels: small regions, every fraction, cells of every size, drifting origins, tiny
// capacities, extreme maps. A scene depends only on its kernel and seed.
#pragma once

#include <cstdint>
#include <vector>

#include "fast/zone_scene.h"
#include "support/random.h"

namespace narvo::test
{

class CZoneSceneSource
{
public:
    CZoneSceneSource();

    /// The scene of a seed. It refers to memory of this object and is valid until the next call.
    const CZoneScene& Make(ZoneKernel eKernel, std::uint64_t nSeed);
    /// From now on regions are whole images, and the height is known.
    void TakeWholeImages() { m_bWholeImages = true; }
    /// Size of the present scene's image.
    int ImageWidth() const { return m_nWidth; }
    int ImageHeight() const { return m_nHeight; }

private:
    void MakeRegion(CRandom& random);
    void MakePitch(CRandom& random);
    void MakeImage(CRandom& random);
    void MakeMaps(CRandom& random);
    void MakeCells(CRandom& random);
    void MakeTables(CRandom& random);
    void MakeCapacities(CRandom& random);
    void MakeStartHits(CRandom& random);
    void MakeParam(CRandom& random);

    const std::int16_t* PickMap(CRandom& random, const std::vector<std::vector<std::int16_t>>& aPools, int nNullOneIn);

    CZoneScene m_scene;
    bool m_bWholeImages = false;
    int m_nWidth = 0;
    int m_nHeight = 0;
    std::vector<std::uint8_t> m_aBackground; ///< the bytes around every image
    std::vector<std::uint8_t> m_aArena;      ///< the background with the present image in it
    std::vector<std::vector<std::int16_t>> m_aOffsetPools;
    std::vector<std::vector<std::int16_t>> m_aGainPools;
    std::vector<std::vector<std::int16_t>> m_aIndexPools;
    std::vector<std::vector<std::int16_t>> m_aKneePools;
    std::vector<int> m_aOrigins;
    std::vector<int> m_aScanTable;
    std::vector<std::uint16_t> m_aConvPitch;
    std::vector<std::int16_t> m_aWeightNear;
    std::vector<std::int16_t> m_aWeightFar;
    int m_aTsp[CConvParam::nZoneLimit] = {};
    int m_aTsp2[CConvParam::nZoneLimit] = {};
};

} // namespace narvo::test
