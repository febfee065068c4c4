// SPDX-License-Identifier: MIT
// Every pixel, zone and float kernel against the plain reference with the bound used where it pays, wherever it is
// possible, and never, on scenes made for it: sources that differ by the threshold, or by one less or more, in few or
// many places.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fast/float_random_scene.h"
#include "fast/pixel_random_scene.h"
#include "fast/reference_check.h"
#include "fast/zone_random_scene.h"
#include "narvoassem/fast/scan/scan_scratch.h"
#include "support/random.h"

namespace narvo::test
{
namespace
{

using engine::BoundUse;

constexpr int nCases = 4000;

/// While it lives, the calling thread uses the bound so.
class CForcedUse
{
public:
    explicit CForcedUse(BoundUse eUse) { engine::GetScanScratch().bound.eUse = eUse; }
    ~CForcedUse() { engine::GetScanScratch().bound.eUse = BoundUse::WherePaid; }
    CForcedUse(const CForcedUse&) = delete;
    CForcedUse& operator=(const CForcedUse&) = delete;
};

/// Runs a scene with each use; all outcomes have to be the same. outcome is the last one.
constexpr auto byEveryUse = [](const auto& scene, CKernelOutcome& outcome)
{
    CKernelOutcome others[2];
    {
        const CForcedUse never(BoundUse::Never);
        byEither(scene, others[0]);
    }
    byEither(scene, others[1]);
    const CForcedUse always(BoundUse::WherePossible);
    byEither(scene, outcome);
    EXPECT_EQ(outcome.DifferenceFrom(others[0]), "") << "from the finder alone\n" << scene.Describe();
    EXPECT_EQ(outcome.DifferenceFrom(others[1]), "") << "from the bound where it pays\n" << scene.Describe();
};

/// Gives a scene whose image has bounds a picture of its own: one grey, or a pattern of rows, with outliers by about
/// nThreshold.
class CBoundPicture
{
public:
    void Put(CRandom& random, engine::CKernelCall& call, int nThreshold)
    {
        if (call.image.nRows == 0)
            return;
        m_aPixels.resize(static_cast<std::size_t>(call.image.nRows * call.image.nStride));
        const int nGrey = random.Pick({0, 255, random.Int(0, 255)});
        const int nOneIn = random.Pick({2, 8, 60, 400, 3000});
        const bool bRows = random.OneIn(4);
        for (std::size_t i = 0; i < m_aPixels.size(); i++)
        {
            const auto nRow = static_cast<int>(static_cast<std::int64_t>(i) / call.image.nStride);
            int nPixel = bRows ? nGrey ^ nRow % 3 : nGrey;
            if (random.OneIn(nOneIn))
                nPixel += random.Pick({-1, 1}) * (nThreshold + random.Int(-1, 2));
            m_aPixels[i] = static_cast<std::uint8_t>(nPixel);
        }
        call.image.pPixels = m_aPixels.data();
    }

private:
    std::vector<std::uint8_t> m_aPixels;
};

class BoundRandomPixel : public testing::TestWithParam<PixelKernel>
{
};

TEST_P(BoundRandomPixel, AgreesWithTheReferenceForEveryUse)
{
    CPixelSceneSource source;
    CBoundPicture picture;
    CPixelScene scene;
    const auto make = [&](std::uint64_t nSeed) -> const CPixelScene&
    {
        scene = source.Make(GetParam(), nSeed);
        CRandom random(~nSeed);
        if (!random.OneIn(4))
            scene.call.first = {random.Int(1, 60), random.OneIn(2) ? 0 : random.Int(0, 40)};
        picture.Put(random, scene.call, static_cast<int>(scene.call.first.nBase));
        return scene;
    };
    EXPECT_GT(CompareWithReference(std::string("bound ") + KernelName(GetParam()), nCases, make, byEveryUse).nNewPairs,
              0);
}

INSTANTIATE_TEST_SUITE_P(Each, BoundRandomPixel, testing::ValuesIn(AllPixelKernels()),
                         [](const testing::TestParamInfo<PixelKernel>& kernel) { return KernelName(kernel.param); });

class BoundRandomZone : public testing::TestWithParam<ZoneKernel>
{
};

TEST_P(BoundRandomZone, AgreesWithTheReferenceForEveryUse)
{
    CZoneSceneSource source;
    CBoundPicture picture;
    CZoneScene scene;
    const auto make = [&](std::uint64_t nSeed) -> const CZoneScene&
    {
        scene = source.Make(GetParam(), nSeed);
        CRandom random(~nSeed);
        picture.Put(random, scene.call, random.Pick({5, 10, 11, 12, 20, random.Int(1, 140)}));
        return scene;
    };
    EXPECT_GT(CompareWithReference(std::string("bound ") + KernelName(GetParam()), nCases, make, byEveryUse).nNewPairs,
              0);
}

INSTANTIATE_TEST_SUITE_P(Each, BoundRandomZone, testing::ValuesIn(AllZoneKernels()),
                         [](const testing::TestParamInfo<ZoneKernel>& kernel) { return KernelName(kernel.param); });

class BoundRandomFloat : public testing::TestWithParam<FloatKernel>
{
};

TEST_P(BoundRandomFloat, AgreesWithTheReferenceForEveryUse)
{
    CFloatSceneSource source;
    CBoundPicture picture;
    CFloatScene scene;
    const int nArea = WindowArea(GetParam());
    const auto make = [&](std::uint64_t nSeed) -> const CFloatScene&
    {
        scene = source.Make(GetParam(), nSeed);
        CRandom random(~nSeed);
        if (!random.OneIn(4))
            scene.call.first = {nArea * random.Int(0, 9) + random.Int(0, nArea),
                                random.OneIn(2) ? 0 : random.Int(0, 40)};
        // Whole columns of shift are bounded, fractions are not.
        if (random.OneIn(2))
            scene.call.nVtdPitch16 &= ~std::int64_t{15};
        // One pixel of a window has to differ by as much as the window.
        picture.Put(random, scene.call, static_cast<int>(scene.call.first.nBase) / nArea * nArea);
        return scene;
    };
    EXPECT_GT(CompareWithReference(std::string("bound ") + KernelName(GetParam()), nCases, make, byEveryUse).nNewPairs,
              0);
}

INSTANTIATE_TEST_SUITE_P(Each, BoundRandomFloat, testing::ValuesIn(AllFloatKernels()),
                         [](const testing::TestParamInfo<FloatKernel>& kernel) { return KernelName(kernel.param); });

} // namespace
} // namespace narvo::test
