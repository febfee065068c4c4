// SPDX-License-Identifier: MIT
// Float kernels on regions too large for the random scenes, against the plain reference.
#include <gtest/gtest.h>

#include "fast/float_scene.h"
#include "fast/large_picture.h"
#include "fast/reference_check.h"

namespace narvo::test
{
namespace
{

CFloatScene SceneOn(const CLargePicture& picture, FloatKernel eKernel)
{
    CFloatScene scene;
    scene.eKernel = eKernel;
    picture.Describe(scene.call);
    if (IsVtd(eKernel))
        scene.call.nVtdPitch16 = 2 * 16 + 5;
    scene.call.nGrayLimit = 227;
    scene.call.first = {60, 5};
    scene.param.nBlackFilterGray = 18;
    scene.param.bKeepSingle = 1;
    return scene;
}

/// @return the records written
int CompareWithReference(const CFloatScene& scene)
{
    CReferenceCheck check;
    const int nRecords = check.Expect(scene).nReturned;
    check.Agrees(scene, byName);
    return nRecords;
}

class FloatLarge : public testing::TestWithParam<FloatKernel>
{
};

TEST_P(FloatLarge, ARegionWiderThanAnyInnerBlockGivesWhatThePlainWalkGives)
{
    const CLargePicture picture(50000, 26, 20000);
    CFloatScene scene = SceneOn(picture, GetParam());
    EXPECT_GT(CompareWithReference(scene), 5000);
    scene.call.hits.nSize = 70; // strips and rows are cut
    EXPECT_GT(CompareWithReference(scene), 10);
}

TEST_P(FloatLarge, MoreHitsThanAWorkingSetHoldsAreAllPaired)
{
    const CLargePicture picture(800, 200, 0);
    CFloatScene scene = SceneOn(picture, GetParam());
    scene.call.first = {-16 * 9, 0}; // below no difference
    scene.param.nBlackFilterGray = 0;
    CompareWithReference(scene);
    scene.call.first = {0, 0};
    EXPECT_GT(CompareWithReference(scene), 5000);
    scene.call.pairs.nSize = 4000;
    EXPECT_EQ(CompareWithReference(scene), 4000);
}

INSTANTIATE_TEST_SUITE_P(Each, FloatLarge, testing::ValuesIn(AllFloatKernels()),
                         [](const testing::TestParamInfo<FloatKernel>& kernel) { return KernelName(kernel.param); });

} // namespace
} // namespace narvo::test
