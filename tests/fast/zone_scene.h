// SPDX-License-Identifier: MIT
// One call of a zone kernel as a test sets it up, and the ways to run it: the plain reference, the library's kernel by
// name, and the library's kernel through the common call record.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "fast/kernel_outcome.h"
#include "narvoassem/convparam.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/zone/zone_table.h"

namespace narvo::test
{

using engine::ZoneKernel;

/// The inputs of a call. Pointers of the call refer to memory of the test; its outputs are not set.
struct CZoneScene
{
    ZoneKernel eKernel = ZoneKernel::Vert;
    engine::CZoneCall call;
    CConvParam param;                  ///< read by the members only
    std::vector<CStartHit> aStartHits; ///< hits at the start: nPixelCount is their number
    bool bDoublePitch = false;         ///< class-id kernel: the overload with the pitch in pixels
    double dPitchRemainder = 0.0;      ///< of 1/16 pixel, lost in the conversion of that overload

    std::string Describe() const;
};

const char* KernelName(ZoneKernel eKernel);
bool IsHorizontal(ZoneKernel eKernel);
bool IsMember(ZoneKernel eKernel);
bool HasPeaks(ZoneKernel eKernel);
/// All kernels of the family.
const std::vector<ZoneKernel>& AllZoneKernels();

/// The scene's call with an outcome's arrays, prepared.
engine::CZoneCall CallOf(const CZoneScene& scene, CKernelOutcome& outcome);
void RunReference(const CZoneScene& scene, CKernelOutcome& outcome);
/// Through the public function or member of that name; the image's height is not known to it.
void RunPublic(const CZoneScene& scene, CKernelOutcome& outcome);
/// Through the common call record, with the scene's image height as given.
void RunThroughCall(const CZoneScene& scene, CKernelOutcome& outcome);

} // namespace narvo::test
