// SPDX-License-Identifier: MIT
// Random scenes for the trapezium kernels: small slanted shapes, every fraction, tiny capacities. A scene depends
// only on its seed.
#pragma once

#include <cstdint>
#include <vector>

#include "fast/trapezium_scene.h"
#include "support/random.h"

namespace narvo::test
{

class CTrapeziumSceneSource
{
public:
    CTrapeziumSceneSource();

    /// The scene of a seed. It refers to memory of this object and is valid until the next call. The image is
    /// surrounded by known bytes, so that calls that do not know its height may read around it.
    const CTrapeziumHoriScene& MakeHori(std::uint64_t nSeed);
    const CTrapeziumVertScene& MakeVert(std::uint64_t nSeed);

    /// From now on the calls know the image's height.
    void TakeWholeImages() { m_bWholeImages = true; }

private:
    void MakePicture(CRandom& random, engine::CTrapeziumCall& call, std::vector<CStartHit>& aStartHits,
                     bool bHorizontal);

    bool m_bWholeImages = false;
    int m_nWidth = 0;
    int m_nHeight = 0;
    std::vector<std::uint8_t> m_aBackground; ///< the bytes around every image
    std::vector<std::uint8_t> m_aArena;      ///< the background with the present image in it
    std::vector<int> m_aTable;
    CTrapeziumHoriScene m_hori;
    CTrapeziumVertScene m_vert;
};

} // namespace narvo::test
