// SPDX-License-Identifier: MIT
// Baseline of the zone and pixel kernels: each kernel in a straightforward form with 128-bit vectors. A
// strip of 16 columns is widened into a 16-bit buffer, eight lanes are compared at a time, hits are stored in that same
// loop and paired when the strip is done. Results are those of the library's kernels to the bit.
#pragma once

#include <cstdint>

#include "bench/bench_scene.h"

namespace bench
{

/// A threshold base in grey levels and a gain in 1/256.
struct SThresholdSet
{
    int nBase;
    int nGain;
};
constexpr SThresholdSet flatFirst = {18, 20};  ///< of the pixel kernels
constexpr SThresholdSet flatSecond = {16, 24}; ///< for dark records, where a kernel has two

constexpr int nFloatBaseGray = 6; ///< of the float kernels: grey levels, times the window's area
constexpr int nFloatGain = 8;

/// Everything that a kernel of either side is called with.
struct SKernelCall
{
    CScene* pScene;
    SHitBuffers* pHits;
    std::vector<CDefectPair>* pPairs;
    std::vector<short>* pStripBuffer;
    CNarvoAssem* pEngine; ///< for the kernels that are members; its parameters hold zone tables and dark filter
    std::int64_t nThresholdExtra;
    std::int64_t nGrayLimit;
    std::int64_t nVtdPitch16;
    int nEndLine;
};

/// One baseline kernel. Starts with no pairs held. @return the pair count
using PlainKernel = int (*)(SKernelCall&);
extern const PlainKernel plainHori, plainHoriTable, plainVert, plainVertDirect, plainVert2by2, plainVertFlag,
    plainVertFlag2by2, plainVertKnee, plainVtd, plainMember, plainMemberZones, plainMemberDark, plainMemberVtd,
    plainClassIdTable, plainPixelHori, plainPixelHoriMember, plainPixelVert, plainPixelMember, plainPixelMemberTable;

} // namespace bench
