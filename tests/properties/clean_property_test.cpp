// SPDX-License-Identifier: MIT
// A periodic picture has no defect, for any fraction of a pixel in its pitch along either axis.
#include <algorithm>
#include <cmath>

#include "properties/property_test.h"

namespace narvo::test
{
namespace
{

/// Grey levels that no comparison of the pattern without defects exceeds. A reference between two pixels differs from
/// the pattern by the interpolation error; every rounding and every truncation adds less than a level.
int CleanThreshold(const CPropertyScene& scene)
{
    double dError = scene.picture.InterpolationError(!scene.path.IsVertical()) + 1.0;
    if (scene.path.bSideways)
        dError += scene.picture.InterpolationError(true) + 1.0;
    if (scene.path.bMean)
        dError += 1.0;
    return static_cast<int>(std::ceil(dError));
}

/// Sets every threshold of the path to nGrey levels.
void SetThresholds(CPropertyScene& scene, int nGrey)
{
    const CPropertyPath& path = scene.path;
    const bool bSums = path.IsFloat() || path.eMode == PropertyMode::Trapezium;
    scene.param.nThreshold = nGrey * (bSums ? path.nWindowWidth * path.nWindowHeight : 1);
    scene.param.nBlackFilterGray = path.bDarkSet ? nGrey : 0;
    scene.param.nTwiceThreshold = nGrey;
    for (std::vector<short>* pMap : {&scene.aOffset, &scene.aOffset2})
        std::fill(pMap->begin(), pMap->end(), static_cast<short>(nGrey));
    std::fill(std::begin(scene.aZoneTable), std::end(scene.aZoneTable), nGrey);
}

class CleanProperties : public testing::TestWithParam<PropertyMode>
{
};

INSTANTIATE_TEST_SUITE_P(Each, CleanProperties,
                         testing::Values(PropertyMode::Zone, PropertyMode::Pixel, PropertyMode::Float,
                                         PropertyMode::Trapezium, PropertyMode::AsgZone, PropertyMode::AsgPixel),
                         ModeOfTest);

// Singles are kept and no filter runs, so that every hit near an edge would show. The same picture with a defect in it
// shows the defect.
TEST_P(CleanProperties, APeriodicPictureIsCleanAtEveryFractionOfItsPitch)
{
    constexpr int nCases = 3;
    CPropertyPool pool;
    for (const CPropertyPath& path : PropertyPaths(GetParam()))
        for (const std::uint64_t nSeed : CaseSeeds(path.pName, nCases))
            for (int nFraction = 0; nFraction < 16; ++nFraction)
            {
                CSceneOptions options;
                options.bFilters = false;
                options.bEvenHanded = true;
                options.bNoGrayLimit = true;
                options.bSteadyTables = true;
                options.bDeadZones = false;
                options.nDefects = 0;
                options.nNoise = 0;
                options.nPitches = 5;
                options.nFraction = nFraction;
                CPropertyScene scene(path, nSeed, options);
                scene.param.bKeepSingle = 1;
                scene.param.nThresholdExtra = 0;
                scene.bSkipCells = false;
                scene.bFilterTables = false;
                if (path.bSideways)
                    scene.picture.dShear = scene.param.fVtdPitch / scene.RealPitch();
                const int nThreshold = CleanThreshold(scene);
                SetThresholds(scene, nThreshold);
                const CPropertyOutcome clean = scene.Run(pool);
                ASSERT_EQ(clean.nCode, 1) << scene.Describe();
                ASSERT_EQ(DifferenceOf(clean.aBlobs, {}), "")
                    << "clean at threshold " << nThreshold << ", " << scene.Describe();

                const CPoint ptDefect = scene.Middle();
                scene.picture.aDefects.push_back(
                    {CRect(ptDefect.x - 2, ptDefect.y - 2, ptDefect.x + 2, ptDefect.y + 2), 2 * nThreshold + 20});
                const CPropertyOutcome found = scene.Run(pool);
                // Comparisons with a shift along x pair hits that are up to three columns apart.
                const bool bFound = std::any_of(
                    found.aBlobs.begin(), found.aBlobs.end(),
                    [&](const CDefectBlob& blob)
                    {
                        const CRect& rt = blob.rtDefect;
                        return CRect(rt.left - 3, rt.top - 3, rt.right + 3, rt.bottom + 3).PtInRect(ptDefect);
                    });
                ASSERT_TRUE(bFound) << "at threshold " << nThreshold << ", " << scene.Describe();
            }
}

TEST(FlatProperties, AFlatPictureIsCleanInAverageMode)
{
    CPropertyPool pool;
    for (const std::uint64_t nSeed : CaseSeeds("flat average", 20))
    {
        CSceneOptions options;
        options.bFlat = true;
        options.nDefects = 0;
        const CPropertyScene scene(PropertyPaths(PropertyMode::Average).front(), nSeed, options);
        EXPECT_EQ(scene.Run(pool).DifferenceFrom({.nCode = 1, .aPairs = {}, .aBlobs = {}}), "") << scene.Describe();
    }
}

} // namespace
} // namespace narvo::test
