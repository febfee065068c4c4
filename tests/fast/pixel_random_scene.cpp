// SPDX-License-Identifier: MIT
// See pixel_random_scene.h.
#include "fast/pixel_random_scene.h"

namespace narvo::test
{

const CPixelScene& CPixelSceneSource::Make(PixelKernel eKernel, std::uint64_t nSeed)
{
    CRandom random(nSeed);
    m_scene = CPixelScene();
    m_scene.eKernel = eKernel;
    engine::CPixelCall& call = m_scene.call;
    const bool bHorizontal = IsHorizontal(eKernel);

    m_parts.MakePicture(random, call, bHorizontal);
    if (HasRowTable(eKernel))
        m_parts.MakeRowTable(random, call);
    if (eKernel == PixelKernel::HoriTable)
        m_parts.MakeColumnTables(random, call, 32767, true);
    m_parts.MakeCapacities(random, call, bHorizontal, 1);
    m_scene.aStartHits = m_parts.MakeStartHits(random, call, bHorizontal, 256);
    m_parts.MakeDeadZones(random, m_scene.param);
    MakeThresholds(random);

    if (eKernel == PixelKernel::VertMask)
        call.pMask = m_parts.MakeMask(random);
    m_scene.bDoublePitch = eKernel == PixelKernel::VertWide && random.OneIn(3);
    m_scene.dPitchRemainder = random.Pick({0.0, 0.25, 0.999});
    const bool bShifted = eKernel == PixelKernel::VertWide || eKernel == PixelKernel::VertMask;
    if (bShifted && !m_scene.bDoublePitch && !random.OneIn(3))
        call.nVtdPitch16 = random.Int(-100, 300);
    return m_scene;
}

void CPixelSceneSource::MakeThresholds(CRandom& random)
{
    engine::CPixelCall& call = m_scene.call;
    call.first = {RandomBase(random), RandomGain(random)};
    if (!random.OneIn(3))
        call.second = {RandomBase(random), RandomGain(random)};
    if (random.OneIn(4))
        call.second.nBase = random.Int(-5, 1);
}

} // namespace narvo::test
