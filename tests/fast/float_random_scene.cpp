// SPDX-License-Identifier: MIT
// See float_random_scene.h.
#include "fast/float_random_scene.h"

#include <limits>

namespace narvo::test
{

namespace
{

/// The base of the float kernels counts window sums: a larger range than that of grey levels.
std::int64_t RandomSumBase(CRandom& random)
{
    return random.OneIn(3) ? RandomBase(random) * random.Int(1, 9) : random.Int(0, 200);
}

void SetSecondSet(CRandom& random, CConvParam& param)
{
    if (random.OneIn(3))
        return;
    param.nBlackFilterGray = random.OneIn(4) ? random.Int(-5, 1) : static_cast<int>(RandomBase(random));
    param.nBlackFilterGain = static_cast<int>(RandomGain(random));
}

} // namespace

const CFloatScene& CFloatSceneSource::Make(FloatKernel eKernel, std::uint64_t nSeed)
{
    CRandom random(nSeed);
    m_scene = CFloatScene();
    m_scene.eKernel = eKernel;
    auto& call = m_scene.call;
    const bool bHorizontal = IsHorizontal(eKernel);

    m_parts.MakePicture(random, call, bHorizontal);
    if (HasColumnTables(eKernel))
        m_parts.MakeColumnTables(random, call, 65535, false);
    if (IsVtd(eKernel))
    {
        m_parts.MakeRowTable(random, call);
        call.nVtdPitch16 = random.OneIn(3) ? 0 : random.Int(-100, 300);
    }
    m_parts.MakeCapacities(random, call, bHorizontal, 2);
    m_scene.aStartHits = m_parts.MakeStartHits(random, call, bHorizontal, 256 * 16 * WindowArea(eKernel));
    m_parts.MakeDeadZones(random, m_scene.param);
    m_scene.param.bKeepSingle = static_cast<int>(call.bKeepSingle);
    call.first.nBase = RandomSumBase(random);
    call.first.nGain = RandomGain(random);
    SetSecondSet(random, m_scene.param);
    return m_scene;
}

const CFloatRegionScene& CFloatSceneSource::MakeRegion(bool bPlain, std::uint64_t nSeed)
{
    CRandom random(nSeed);
    m_regionScene = CFloatRegionScene();
    m_regionScene.bPlain = bPlain;
    CConvParam& param = m_regionScene.param;

    engine::CKernelCall call;
    m_parts.MakePicture(random, call, false);
    m_parts.MakeCapacities(random, call, false, 2);
    m_parts.MakeDeadZones(random, param);
    param.pImage = const_cast<unsigned char*>(call.image.pPixels);
    param.nImageWidth = m_parts.ImageWidth();
    param.nImageHeight = m_parts.ImageHeight();
    param.nConvWidth = 2;
    param.nConvHeight = 2;
    param.nScanMultiple = random.Int(1, 3);
    param.dScanPitch = (static_cast<double>(call.nPitch16) / 16.0 + random.Int(0, 99) / 1600.0) / param.nScanMultiple;
    param.nGrayLimit = static_cast<int>(call.nGrayLimit);
    param.nThreshold = static_cast<int>(RandomSumBase(random));
    param.nThresholdGain = static_cast<int>(RandomGain(random));
    param.bKeepSingle = static_cast<int>(call.bKeepSingle);
    SetSecondSet(random, param);

    const engine::CRegion& rt = call.region;
    m_regionScene.rtRegion = CRect(static_cast<int>(rt.nLeft), static_cast<int>(rt.nTop), static_cast<int>(rt.nRight),
                                   static_cast<int>(rt.nBottom));
    m_regionScene.nHitSize = call.hits.nSize;
    m_regionScene.nPairCount = call.pairs.nCount;
    m_regionScene.nPairSize = call.pairs.nSize;
    return m_regionScene;
}

} // namespace narvo::test
