// SPDX-License-Identifier: MIT
// What random scenes of the pixel and the float kernels have in common: a small image among known bytes, a region, a
// pitch, tables, capacities, hits from before the call, dead zones.
#pragma once

#include <cstdint>
#include <vector>

#include "fast/kernel_outcome.h"
#include "narvoassem/convparam.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "support/random.h"

namespace narvo::test
{

class CSceneParts
{
public:
    CSceneParts();

    /// From now on regions are the whole image, whose height the call knows.
    void TakeWholeImages() { m_bWholeImages = true; }
    int ImageWidth() const { return m_nWidth; }
    int ImageHeight() const { return m_nHeight; }

    /// Image, region, pitch and grey limit. The picture lasts until the next call.
    void MakePicture(CRandom& random, engine::CKernelCall& call, bool bHorizontal);
    /// A row table, or none.
    void MakeRowTable(CRandom& random, engine::CKernelCall& call);
    /// Column tables. nMostDisplacement is the largest displacement that is tried, and its negative with bSigned.
    void MakeColumnTables(CRandom& random, engine::CKernelCall& call, int nMostDisplacement, bool bSigned);
    /// Capacities and bKeepSingle; nHitsPerPixel is how many hits a pixel can give.
    void MakeCapacities(CRandom& random, engine::CKernelCall& call, bool bHorizontal, int nHitsPerPixel);
    /// Mostly none. Those of a horizontal kernel lie in the region's first row. Values are below nMostValue.
    std::vector<CStartHit> MakeStartHits(CRandom& random, const engine::CKernelCall& call, bool bHorizontal,
                                         int nMostValue);
    void MakeDeadZones(CRandom& random, CConvParam& param);
    /// A mask with the image's layout, or none.
    const std::uint8_t* MakeMask(CRandom& random);

private:
    void MakeRegion(CRandom& random, engine::CKernelCall& call);
    void MakePitch(CRandom& random, engine::CKernelCall& call, bool bHorizontal);

    bool m_bWholeImages = false;
    int m_nWidth = 0;
    int m_nHeight = 0;
    std::vector<std::uint8_t> m_aBackground; ///< the bytes around every image
    std::vector<std::uint8_t> m_aArena;      ///< the background with the present image in it
    std::vector<std::vector<std::uint8_t>> m_aMasks;
    std::vector<int> m_aScanTable;
    std::vector<std::uint16_t> m_aConvPitch;
    std::vector<std::int16_t> m_aWeightNear;
    std::vector<std::int16_t> m_aWeightFar;
};

/// A base or gain of a threshold: mostly gentle, sometimes one that wraps in 16 bits.
std::int64_t RandomBase(CRandom& random);
std::int64_t RandomGain(CRandom& random);

} // namespace narvo::test
