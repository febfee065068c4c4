// SPDX-License-Identifier: MIT
// Pixel kernels on regions too large for the random scenes, against the plain reference.
#include <gtest/gtest.h>

#include "fast/large_picture.h"
#include "fast/pixel_scene.h"
#include "fast/reference_check.h"

namespace narvo::test
{
namespace
{

CPixelScene SceneOn(const CLargePicture& picture, PixelKernel eKernel)
{
    CPixelScene scene;
    scene.eKernel = eKernel;
    picture.Describe(scene.call);
    if (!HasRowTable(eKernel))
        scene.call.pScanPitchTable = nullptr;
    if (eKernel == PixelKernel::VertMask)
        scene.call.pMask = picture.Mask();
    if (eKernel == PixelKernel::VertWide || eKernel == PixelKernel::VertMask)
        scene.call.nVtdPitch16 = 2 * 16 + 5;
    scene.call.first = {12, 5};
    scene.call.second = {15, 0};
    return scene;
}

/// @return the records written
int CompareWithReference(const CPixelScene& scene)
{
    CReferenceCheck check;
    const int nRecords = check.Expect(scene).nReturned;
    check.Agrees(scene, byName);
    return nRecords;
}

class PixelLarge : public testing::TestWithParam<PixelKernel>
{
};

TEST_P(PixelLarge, ARegionWiderThanAnyInnerBlockGivesWhatThePlainWalkGives)
{
    const CLargePicture picture(70000, 26, 30000);
    CPixelScene scene = SceneOn(picture, GetParam());
    EXPECT_GT(CompareWithReference(scene), 5000);
    scene.call.hits.nSize = 25; // most strips or rows are cut
    EXPECT_GT(CompareWithReference(scene), IsHorizontal(GetParam()) ? 10 : 1000);
}

TEST_P(PixelLarge, MoreHitsThanAWorkingSetHoldsAreAllPaired)
{
    const CLargePicture picture(1216, 300, 0);
    CPixelScene scene = SceneOn(picture, GetParam());
    scene.call.first = {-1, 0}; // equal greys are hits
    scene.call.second = {0, 0};
    EXPECT_GT(CompareWithReference(scene), 50000);
    scene.call.pairs.nSize = 5000;
    EXPECT_EQ(CompareWithReference(scene), 5000);
}

INSTANTIATE_TEST_SUITE_P(Each, PixelLarge, testing::ValuesIn(AllPixelKernels()),
                         [](const testing::TestParamInfo<PixelKernel>& kernel) { return KernelName(kernel.param); });

} // namespace
} // namespace narvo::test
