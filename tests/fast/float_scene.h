// SPDX-License-Identifier: MIT
// One call of a float kernel as a test sets it up, and the ways to run it: the plain reference, and the library's
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
#include "reference/float_reference.h"

namespace narvo::test
{

using engine::FloatKernel;

/// The inputs of a call. Pointers of the call refer to memory of the test; its outputs are not set.
struct CFloatScene
{
    FloatKernel eKernel = FloatKernel::Vert4;
    engine::CFloatCall call;
    CConvParam param;                  ///< read by the members only: dead zones, second set, bKeepSingle
    std::vector<CStartHit> aStartHits; ///< nPixelCount is their number

    std::string Describe() const;
};

/// The inputs of a region kernel: all but the region comes from the engine.
struct CFloatRegionScene
{
    bool bPlain = false; ///< ConvFloatVJF_Cpp, else ConvFloatVJF_Intrin
    CConvParam param;
    CRect rtRegion;
    std::int64_t nHitSize = 1000;
    std::int64_t nPairCount = 0;
    std::int64_t nPairSize = 100;

    std::string Describe() const;
};

const char* KernelName(FloatKernel eKernel);
bool IsHorizontal(FloatKernel eKernel);
bool HasColumnTables(FloatKernel eKernel);
bool IsVtd(FloatKernel eKernel);
bool IsMember(FloatKernel eKernel);
/// 4, 6 or 9.
int WindowArea(FloatKernel eKernel);
/// All kernels with an argument list.
const std::vector<FloatKernel>& AllFloatKernels();

/// The scene's call with an outcome's arrays, prepared.
engine::CFloatCall CallOf(const CFloatScene& scene, CKernelOutcome& outcome);
void RunReference(const CFloatScene& scene, CKernelOutcome& outcome);
void RunReference(const CFloatRegionScene& scene, CKernelOutcome& outcome);
/// Through the public function or member of that name; the image's height is known to the region kernels alone.
void RunPublic(const CFloatScene& scene, CKernelOutcome& outcome);
void RunPublic(const CFloatRegionScene& scene, CKernelOutcome& outcome);
/// Through the common call record, with the scene's image height as given.
void RunThroughCall(const CFloatScene& scene, CKernelOutcome& outcome);

/// A way to run scenes, for tests that hold for each of them.
struct CFloatRunner
{
    std::string strName;
    std::function<void(const CFloatScene&, CKernelOutcome&)> fnRun;
    std::function<void(const CFloatRegionScene&, CKernelOutcome&)> fnRunRegion;

    friend std::ostream& operator<<(std::ostream& out, const CFloatRunner& runner) { return out << runner.strName; }
};

class FloatKernels : public testing::TestWithParam<CFloatRunner>
{
};

} // namespace narvo::test
