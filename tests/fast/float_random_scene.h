// SPDX-License-Identifier: MIT
// Random scenes for the float kernels: small regions, every fraction, tiny capacities, thresholds that wrap. A scene
// depends only on its kernel and seed.
#pragma once

#include <cstdint>

#include "fast/float_scene.h"
#include "fast/scene_parts.h"

namespace narvo::test
{

class CFloatSceneSource
{
public:
    /// The scene of a seed. It refers to memory of this object and is valid until the next call.
    const CFloatScene& Make(FloatKernel eKernel, std::uint64_t nSeed);
    const CFloatRegionScene& MakeRegion(bool bPlain, std::uint64_t nSeed);
    CSceneParts& Parts() { return m_parts; }

private:
    CSceneParts m_parts;
    CFloatScene m_scene;
    CFloatRegionScene m_regionScene;
};

} // namespace narvo::test
