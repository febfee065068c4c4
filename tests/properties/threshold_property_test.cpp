// SPDX-License-Identifier: MIT
// A higher threshold finds nothing new.
#include <algorithm>
#include <set>
#include <tuple>

#include "properties/property_test.h"

namespace narvo::test
{
namespace
{

using CPlaces = std::set<std::tuple<int, int, int>>; // x, y, type

/// Positions of the paired records that the filters kept.
CPlaces PairedPlaces(const CPropertyOutcome& outcome)
{
    CPlaces places;
    for (const CDefectPair& pair : outcome.aPairs)
        if (pair.nDefectPair == DefectPair_Paired && pair.nDefectType != DefectType_Removed)
            places.emplace(pair.ptDefect.x, pair.ptDefect.y, pair.nDefectType);
    return places;
}

/// Raises every threshold of the path by nGrey levels. A map's value and what the gain adds to it wrap at 16 bits, so
/// there is a highest value.
void Raise(CPropertyScene& scene, int nGrey)
{
    constexpr int nHighest = 32700;
    const CPropertyPath& path = scene.path;
    const bool bSums = path.IsFloat() || path.eMode == PropertyMode::Trapezium;
    if (path.eMode == PropertyMode::Binarise) // reports what is below its limit
        scene.param.nThreshold = std::max(1, scene.param.nThreshold - nGrey);
    else
        scene.param.nThreshold += nGrey * (bSums ? path.nWindowWidth * path.nWindowHeight : 1);
    if (path.eMode == PropertyMode::Average)
        scene.param.nBlackFilterGray -= nGrey;
    else if (path.bDarkSet)
        scene.param.nBlackFilterGray += nGrey;
    for (std::vector<short>* pMap : {&scene.aOffset, &scene.aOffset2})
        for (short& nValue : *pMap)
            nValue = static_cast<short>(std::min(nHighest, nValue + nGrey));
    for (int& nValue : scene.aZoneTable)
        nValue += nGrey;
}

class ThresholdProperties : public PropertyTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, ThresholdProperties, testing::ValuesIn(PropertyModes()), ModeOfTest);

// One defect on a flat background: where defects lie a pitch apart, a hit that vanishes frees its partner for another.
// The modes that look at one place at a time have no partners. The twice kernels are left out: pairs of the second
// pass are kept where those of the first are gone.
TEST_P(ThresholdProperties, AHigherThresholdAddsNoPair)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            if (path.bTwice)
                return;
            CSceneOptions options;
            options.bFlat = path.IsPeriodic();
            options.nDefects = path.IsPeriodic() ? 1 : -1;
            options.nMargin = path.IsPeriodic() ? 12 : -1;
            options.bDeadZones = false;
            CPropertyScene scene(path, nSeed, options);
            if (path.eMode == PropertyMode::Binarise)
                scene.param.nThreshold = scene.picture.nBase + scene.picture.nTop / 2;
            CRandom random(nSeed);
            Raise(scene, 0);
            CPropertyOutcome lower = scene.Run(m_pool);
            Count(lower);
            for (int nStep = 0; nStep < 4; ++nStep)
            {
                Raise(scene, random.Int(1, 12));
                const CPropertyOutcome higher = scene.Run(m_pool);
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
