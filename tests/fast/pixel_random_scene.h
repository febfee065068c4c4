// SPDX-License-Identifier: MIT
// Random scenes for the pixel kernels: small regions, every fraction, tiny capacities, thresholds that wrap. A scene
// depends only on its kernel and seed.
#pragma once

#include <cstdint>

#include "fast/pixel_scene.h"
#include "fast/scene_parts.h"

namespace narvo::test
{

class CPixelSceneSource
{
public:
    /// The scene of a seed. It refers to memory of this object and is valid until the next call.
    const CPixelScene& Make(PixelKernel eKernel, std::uint64_t nSeed);
    CSceneParts& Parts() { return m_parts; }

private:
    void MakeThresholds(CRandom& random);

    CSceneParts m_parts;
    CPixelScene m_scene;
};

} // namespace narvo::test
