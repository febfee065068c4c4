// A higher threshold finds no more.
#include <algorithm>
#include <set>
#include <tuple>

#include "laws/law_test.h"

namespace narvo::test
{
namespace
{

using CPlaces = std::set<std::tuple<int, int, int>>; // x, y, type

/// Where records of both answers stand, filters included.
CPlaces PairedPlaces(const CLawOutcome& outcome)
{
    CPlaces places;
    for (const CDefectPair& pair : outcome.aPairs)
        if (pair.nDefectPair == DefectPair_Paired && pair.nDefectType != DefectType_Removed)
            places.emplace(pair.ptDefect.x, pair.ptDefect.y, pair.nDefectType);
    return places;
}

/// Raises every threshold of the path by nGrey levels. A map's value and what the gain adds to it wrap at 16 bits, so
/// there is a highest value.
void Raise(CLawScene& scene, int nGrey)
{
    constexpr int nHighest = 32700;
    const CLawPath& path = scene.path;
    const bool bSums = path.IsFloat() || path.eMode == LawMode::Trapezium;
    if (path.eMode == LawMode::Binarise) // reports what is below its limit
        scene.param.nThreshold = std::max(1, scene.param.nThreshold - nGrey);
    else
        scene.param.nThreshold += nGrey * (bSums ? path.nWindowWidth * path.nWindowHeight : 1);
    if (path.eMode == LawMode::Average)
        scene.param.nBlackFilterGray -= nGrey;
    else if (path.bDarkSet)
        scene.param.nBlackFilterGray += nGrey;
    for (std::vector<short>* pMap : {&scene.aOffset, &scene.aOffset2})
        for (short& nValue : *pMap)
            nValue = static_cast<short>(std::min(nHighest, nValue + nGrey));
    for (int& nValue : scene.aZoneTable)
        nValue += nGrey;
}

class ThresholdLaws : public LawTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, ThresholdLaws, testing::ValuesIn(LawModes()), ModeOfTest);

// Of a lone defect on a flat ground: where defects lie a pitch apart, a hit that vanishes frees its partner for
// another. The modes that look at one place at a time have no partners. The second pass of the twice kernels is left
// out: its pairs stand where those of the first pass are gone.
TEST_P(ThresholdLaws, AHigherThresholdAddsNoPair)
{
    ForEachCase(
        [&](const CLawPath& path, std::uint64_t nSeed)
        {
            if (path.bTwice)
                return;
            CLawWishes wishes;
            wishes.bFlat = path.IsPeriodic();
            wishes.nDefects = path.IsPeriodic() ? 1 : -1;
            wishes.nMargin = path.IsPeriodic() ? 12 : -1;
            wishes.bDeadZones = false;
            CLawScene scene(path, nSeed, wishes);
            if (path.eMode == LawMode::Binarise)
                scene.param.nThreshold = scene.world.nBase + scene.world.nTop / 2;
            CRandom random(nSeed);
            Raise(scene, 0);
            CLawOutcome lower = scene.Run(m_pool);
            Count(lower);
            for (int nStep = 0; nStep < 4; ++nStep)
            {
                Raise(scene, random.Int(1, 12));
                const CLawOutcome higher = scene.Run(m_pool);
                const CPlaces lowerPlaces = PairedPlaces(lower);
                const CPlaces higherPlaces = PairedPlaces(higher);
                EXPECT_TRUE(
                    std::includes(lowerPlaces.begin(), lowerPlaces.end(), higherPlaces.begin(), higherPlaces.end()))
                    << higherPlaces.size() << " places after " << lowerPlaces.size() << ", " << scene.Describe();
                lower = higher;
            }
        });
}

} // namespace
} // namespace narvo::test
