// A picture that repeats has no defect: whatever fraction of a pixel its pitch has, along either axis.
#include <algorithm>
#include <cmath>

#include "laws/law_test.h"

namespace narvo::test
{
namespace
{

/// Grey levels that no comparison of the bare pattern exceeds. A reference between two pixels lies off the pattern by
/// the bend between them; every rounding and every truncation adds less than a level.
int QuietThreshold(const CLawScene& scene)
{
    double dError = scene.world.InterpolationError(!scene.path.IsVertical()) + 1.0;
    if (scene.path.bSideways)
        dError += scene.world.InterpolationError(true) + 1.0;
    if (scene.path.bMean)
        dError += 1.0;
    return static_cast<int>(std::ceil(dError));
}

/// Sets every threshold of the path to nGrey levels.
void SetThresholds(CLawScene& scene, int nGrey)
{
    const CLawPath& path = scene.path;
    const bool bSums = path.IsFloat() || path.eMode == LawMode::Trapezium;
    scene.param.nThreshold = nGrey * (bSums ? path.nWindowWidth * path.nWindowHeight : 1);
    scene.param.nBlackFilterGray = path.bDarkSet ? nGrey : 0;
    scene.param.nTwiceThreshold = nGrey;
    for (std::vector<short>* pMap : {&scene.aOffset, &scene.aOffset2})
        std::fill(pMap->begin(), pMap->end(), static_cast<short>(nGrey));
    std::fill(std::begin(scene.aZoneTable), std::end(scene.aZoneTable), nGrey);
}

class CleanLaws : public testing::TestWithParam<LawMode>
{
};

INSTANTIATE_TEST_SUITE_P(Each, CleanLaws,
                         testing::Values(LawMode::Zone, LawMode::Pixel, LawMode::Float, LawMode::Trapezium,
                                         LawMode::AsgZone, LawMode::AsgPixel),
                         ModeOfTest);

// Singles are kept and no filter runs, so that every hit near an edge would show. The same picture with a defect in it
// shows the defect.
TEST_P(CleanLaws, APeriodicPictureIsCleanAtEveryFractionOfItsPitch)
{
    constexpr int nCases = 3;
    CLawPool pool;
    for (const CLawPath& path : LawPaths(GetParam()))
        for (const std::uint64_t nSeed : CaseSeeds(path.pName, nCases))
            for (int nFraction = 0; nFraction < 16; ++nFraction)
            {
                CLawWishes wishes;
                wishes.bFilters = false;
                wishes.bEvenHanded = true;
                wishes.bNoGrayLimit = true;
                wishes.bSteadyTables = true;
                wishes.bDeadZones = false;
                wishes.nDefects = 0;
                wishes.nNoise = 0;
                wishes.nPitches = 5;
                wishes.nFraction = nFraction;
                CLawScene scene(path, nSeed, wishes);
                scene.param.bKeepSingle = 1;
                scene.param.nThresholdExtra = 0;
                scene.bSkipCells = false;
                scene.bFilterTables = false;
                if (path.bSideways)
                    scene.world.dShear = scene.param.fVtdPitch / scene.RealPitch();
                const int nThreshold = QuietThreshold(scene);
                SetThresholds(scene, nThreshold);
                const CLawOutcome clean = scene.Run(pool);
                ASSERT_EQ(clean.nCode, 1) << scene.Describe();
                ASSERT_EQ(DifferenceOf(clean.aBlobs, {}), "") << "quiet at " << nThreshold << ", " << scene.Describe();

                const CPoint ptDefect = scene.Middle();
                scene.world.aDefects.push_back(
                    {CRect(ptDefect.x - 2, ptDefect.y - 2, ptDefect.x + 2, ptDefect.y + 2), 2 * nThreshold + 20});
                const CLawOutcome found = scene.Run(pool);
                // Comparisons sideways pair in one column what lies up to three columns apart.
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

TEST(FlatLaws, AFlatPictureIsCleanInAverageMode)
{
    CLawPool pool;
    for (const std::uint64_t nSeed : CaseSeeds("flat average", 20))
    {
        CLawWishes wishes;
        wishes.bFlat = true;
        wishes.nDefects = 0;
        const CLawScene scene(LawPaths(LawMode::Average).front(), nSeed, wishes);
        EXPECT_EQ(scene.Run(pool).DifferenceFrom({.nCode = 1, .aPairs = {}, .aBlobs = {}}), "") << scene.Describe();
    }
}

} // namespace
} // namespace narvo::test
