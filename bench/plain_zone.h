// Baseline of the zone kernels: each kernel as a good engineer would first write it, with 128-bit vectors. A strip of
// 16 columns is widened into a 16-bit buffer, eight lanes are compared at a time, hits are stored in that same loop
// and paired when the strip is done. Results are those of the library's kernels to the bit.
#pragma once

#include <cstdint>

#include "bench/bench_scene.h"

namespace bench
{

/// Everything that a zone kernel of either side is called with.
struct SZoneCall
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
using PlainZone = int (*)(SZoneCall&);
extern const PlainZone plainHori, plainHoriTable, plainVert, plainVertDirect, plainVert2by2, plainVertFlag,
    plainVertFlag2by2, plainVertKnee, plainVtd, plainMember, plainMemberZones, plainMemberDark, plainMemberVtd,
    plainClassIdTable;

} // namespace bench
