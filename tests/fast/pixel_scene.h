// SPDX-License-Identifier: MIT
// One call of a pixel kernel as a test sets it up, and the ways to run it: the plain reference, and the library's
// kernel by name.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fast/kernel_outcome.h"
#include "narvoassem/convparam.h"
#include "reference/pixel_reference.h"

namespace narvo::test
{

using engine::PixelKernel;

/// The inputs of a call. Pointers of the call refer to memory of the test; its outputs are not set.
struct CPixelScene
{
    PixelKernel eKernel = PixelKernel::Vert;
    engine::CPixelCall call;
    CConvParam param;                  ///< read by the members only; the second threshold set goes there from the call
    std::vector<CStartHit> aStartHits; ///< nPixelCount is their number
    bool bDoublePitch = false;         ///< VertWide: the overload with the pitch in pixels
    double dPitchRemainder = 0.0;      ///< of 1/16 pixel, lost in the conversion of that overload

    std::string Describe() const;
};

const char* KernelName(PixelKernel eKernel);
bool IsHorizontal(PixelKernel eKernel);
bool HasRowTable(PixelKernel eKernel);
/// Members of the engine.
bool IsMember(PixelKernel eKernel);
/// All kernels that compare once.
const std::vector<PixelKernel>& AllPixelKernels();

/// The scene's call with an outcome's arrays, prepared.
engine::CPixelCall CallOf(const CPixelScene& scene, CKernelOutcome& outcome);
void RunReference(const CPixelScene& scene, CKernelOutcome& outcome);
/// Through the public function or member of that name; the image's height is not known to it.
void RunPublic(const CPixelScene& scene, CKernelOutcome& outcome);
/// Through the common call record, with the scene's image height as given.
void RunThroughCall(const CPixelScene& scene, CKernelOutcome& outcome);

/// A way to run a scene, for tests that hold for each of them.
struct CPixelRunner
{
    std::string strName;
    std::function<void(const CPixelScene&, CKernelOutcome&)> fnRun;

    friend std::ostream& operator<<(std::ostream& out, const CPixelRunner& runner) { return out << runner.strName; }
};

class PixelKernels : public testing::TestWithParam<CPixelRunner>
{
};

} // namespace narvo::test
