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

/// The inputs of a call. Pointers of the call refer to memory of the test; its outputs are not set.
struct CPixelScene
{
    reference::PixelKernel eKernel = reference::PixelKernel::Vert;
    reference::CPixelReferenceCall call;
    CConvParam param;                  ///< read by the members only; the second threshold set goes there from the call
    std::vector<CStartHit> aStartHits; ///< nPixelCount is their number
    bool bDoublePitch = false;         ///< WideVert: the overload with the pitch in pixels
    double dPitchRemainder = 0.0;      ///< of 1/16 pixel, lost in the conversion of that overload

    std::string Describe() const;
};

const char* KernelName(reference::PixelKernel eKernel);
bool IsHorizontal(reference::PixelKernel eKernel);
bool HasRowTable(reference::PixelKernel eKernel);
/// All kernels that compare once.
const std::vector<reference::PixelKernel>& AllPixelKernels();

void RunReference(const CPixelScene& scene, CKernelOutcome& outcome);
/// Through the public function or member of that name; the image's height is not known to it.
void RunPublic(const CPixelScene& scene, CKernelOutcome& outcome);

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
