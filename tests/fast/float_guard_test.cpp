// SPDX-License-Identifier: MIT
// No float kernel touches memory beyond the image it is given, whose height it knows: images next to guard pages.
#include <gtest/gtest.h>

#include <cstring>

#include "fast/float_random_scene.h"
#include "fast/reference_check.h"
#include "support/guarded_memory.h"

namespace narvo::test
{
namespace
{

constexpr int nGuardCases = 1500;
constexpr std::size_t nRoom = 64 * 1024;

/// Two places for an image: directly after a guard page, and directly before one.
class CGuardedPlaces
{
public:
    template <typename TRun>
    void InEach(const std::uint8_t* pImage, std::size_t nBytes, const TRun& fnRun)
    {
        for (std::uint8_t* pPlace : {m_front.Data(), m_back.Data() + m_back.Size() - nBytes})
        {
            std::memcpy(pPlace, pImage, nBytes);
            fnRun(pPlace);
        }
    }

private:
    const CGuardedMemory m_front{nRoom, CGuardedMemory::Flush::Front};
    const CGuardedMemory m_back{nRoom, CGuardedMemory::Flush::Back};
};

class FloatKernelsGuarded : public testing::TestWithParam<FloatKernel>
{
};

TEST_P(FloatKernelsGuarded, WholeImageIsReadToItsBordersAndNoFurther)
{
    CFloatSceneSource source;
    source.Parts().TakeWholeImages();
    CGuardedPlaces places;
    CReferenceCheck check;

    for (const std::uint64_t nSeed : CaseSeeds(std::string("guard ") + KernelName(GetParam()), nGuardCases))
    {
        CFloatScene scene = source.Make(GetParam(), nSeed);
        check.Expect(scene);
        const std::size_t nBytes = static_cast<std::size_t>(source.Parts().ImageWidth() * source.Parts().ImageHeight());
        places.InEach(scene.call.image.pPixels, nBytes,
                      [&](const std::uint8_t* pPlace)
                      {
                          scene.call.image.pPixels = pPlace;
                          ASSERT_TRUE(check.Agrees(scene, byCall, ReplayHint(nSeed)));
                          // Members know the image's height from their engine.
                          if (IsMember(GetParam()))
                          {
                              ASSERT_TRUE(check.Agrees(scene, byName, "by name; " + ReplayHint(nSeed)));
                          }
                      });
        ASSERT_FALSE(HasFailure());
    }
}

INSTANTIATE_TEST_SUITE_P(Each, FloatKernelsGuarded, testing::ValuesIn(AllFloatKernels()),
                         [](const testing::TestParamInfo<FloatKernel>& kernel) { return KernelName(kernel.param); });

class FloatRegionKernelsGuarded : public testing::TestWithParam<bool>
{
};

TEST_P(FloatRegionKernelsGuarded, WholeImageIsReadToItsBordersAndNoFurther)
{
    CFloatSceneSource source;
    source.Parts().TakeWholeImages();
    CGuardedPlaces places;
    CReferenceCheck check;

    for (const std::uint64_t nSeed : CaseSeeds(GetParam() ? "guard plain region" : "guard region", nGuardCases))
    {
        CFloatRegionScene scene = source.MakeRegion(GetParam(), nSeed);
        check.Expect(scene);
        const std::size_t nBytes = static_cast<std::size_t>(scene.param.nImageWidth * scene.param.nImageHeight);
        places.InEach(scene.param.pImage, nBytes,
                      [&](std::uint8_t* pPlace)
                      {
                          scene.param.pImage = pPlace;
                          ASSERT_TRUE(check.Agrees(scene, byName, ReplayHint(nSeed)));
                      });
        ASSERT_FALSE(HasFailure());
    }
}

INSTANTIATE_TEST_SUITE_P(Each, FloatRegionKernelsGuarded, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& plain)
                         { return plain.param ? "ConvFloatVJF_Cpp" : "ConvFloatVJF_Intrin"; });

} // namespace
} // namespace narvo::test
