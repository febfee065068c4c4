// SPDX-License-Identifier: MIT
// Equivalent parameters give the same result: maps that hold one value, tables that hold one pitch, a distance
// as one period or as two.
#include <algorithm>
#include <string_view>

#include "properties/property_test.h"

namespace narvo::test
{
namespace
{

const CPropertyPath& PathNamed(std::string_view svName)
{
    static const std::vector<CPropertyPath> aPaths = []
    {
        std::vector<CPropertyPath> aAll;
        for (const PropertyMode eMode : PropertyModes())
            for (const CPropertyPath& path : PropertyPaths(eMode))
                aAll.push_back(path);
        return aAll;
    }();
    return *std::find_if(aPaths.begin(), aPaths.end(), [&](const CPropertyPath& path) { return path.pName == svName; });
}

struct CTwin
{
    const char* pLeft;
    const char* pRight;
};

std::ostream& operator<<(std::ostream& stream, const CTwin& twin)
{
    return stream << twin.pLeft << " and " << twin.pRight;
}

/// Runs the scenes of the left path on both; Adapt(scene) makes the two equivalent.
class TwinTest : public testing::TestWithParam<CTwin>
{
protected:
    template <typename FAdapt>
    void RunTwins(const CSceneOptions& options, FAdapt Adapt)
    {
        constexpr int nCases = 30;
        const CPropertyPath& left = PathNamed(GetParam().pLeft);
        const CPropertyPath& right = PathNamed(GetParam().pRight);
        CPropertyPool pool;
        int nWithBlobs = 0;
        const std::vector<std::uint64_t> aSeeds = CaseSeeds(std::string(left.pName) + right.pName, nCases);
        for (const std::uint64_t nSeed : aSeeds)
        {
            CPropertyScene scene(left, nSeed, options);
            Adapt(scene);
            const CPropertyOutcome expected = scene.Run(pool);
            nWithBlobs += expected.aBlobs.empty() ? 0 : 1;
            const std::string strScene = scene.Describe();
            scene.path = right;
            scene.param.bExtendedKernel = right.bExtended ? 1 : 0;
            ASSERT_EQ(scene.Run(pool).DifferenceFrom(expected), "") << right.pName << " in place of " << strScene;
        }
        if (aSeeds.size() == static_cast<std::size_t>(nCases))
        {
            EXPECT_GE(3 * nWithBlobs, nCases) << "the scenes show too little";
        }
    }
};

class MapProperties : public TwinTest
{
};

INSTANTIATE_TEST_SUITE_P(
    Each, MapProperties,
    testing::Values(CTwin{"zone, along x", "pixel, along x"},
                    CTwin{"zone, along x, pitch table", "pixel, along x, pitch table"},
                    CTwin{"zone, along y", "pixel, along y"}, CTwin{"zone, along y, direct", "pixel, along y, direct"},
                    CTwin{"zone, along y, extended", "pixel, along y, extended"},
                    CTwin{"zone, along y, extended, real pitch", "pixel, along y, extended, real pitch"},
                    CTwin{"asg with zones, along x", "asg, along x"},
                    CTwin{"asg with zones, along y", "asg, along y"}));

// The zone kernels along y apply nThresholdExtra to singles, the pixel kernels leave that to the filters; so it is
// 0 here.
TEST_P(MapProperties, MapsOfOneValueAreTheScalarThreshold)
{
    RunTwins({},
             [](CPropertyScene& scene)
             {
                 scene.param.nInspectMode = 1;
                 scene.param.nThresholdExtra = 0;
                 const auto Fill = [](std::vector<short>& aMap, int nValue)
                 { std::fill(aMap.begin(), aMap.end(), static_cast<short>(nValue)); };
                 Fill(scene.aOffset, scene.param.nThreshold);
                 Fill(scene.aGain, scene.param.nThresholdGain);
                 Fill(scene.aZone, 0);
             });
}

class TableProperties : public TwinTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, TableProperties,
                         testing::Values(CTwin{"zone, along x", "zone, along x, pitch table"},
                                         CTwin{"pixel, along x", "pixel, along x, pitch table"},
                                         CTwin{"pixel, along y", "pixel, along y, pitch table"},
                                         CTwin{"pixel, along y, dark set", "pixel, along y, pitch table, dark set"},
                                         CTwin{"pixel, along y, extended", "pixel, along y, extended, pitch table"},
                                         CTwin{"pixel, along y, extended, dark set",
                                               "pixel, along y, extended, pitch table"},
                                         CTwin{"float, along x, window 4", "float, along x, window 4, pitch table"},
                                         CTwin{"float, along x, window 6", "float, along x, window 6, pitch table"},
                                         CTwin{"float, along y, window 4", "float, along y, window 4, pitch table"},
                                         CTwin{"trapezium, along x", "trapezium, along x, pitch table"},
                                         CTwin{"trapezium, along y", "trapezium, along y, pitch table"},
                                         CTwin{"asg with zones, along x", "asg with zones, along x, pitch table"}));

// Trapezia along x round the distance to the partner only when it comes from a table, so whole pixels are used there.
TEST_P(TableProperties, ATableOfOnePitchIsThePitch)
{
    CSceneOptions options;
    options.bSteadyTables = true;
    options.bWholePitch = std::string(GetParam().pLeft) == "trapezium, along x";
    RunTwins(options, [](CPropertyScene&) {});
}

class MultipleProperties : public PropertyTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, MultipleProperties,
                         testing::Values(PropertyMode::Pixel, PropertyMode::Float, PropertyMode::Trapezium,
                                         PropertyMode::AsgPixel),
                         ModeOfTest);

// Zone mode is left out, since its cells have multiples of their own. So are the twice kernels, whose second pass
// replaces the period and keeps the multiple of the first.
TEST_P(MultipleProperties, TwoPeriodsOfHalfTheDistanceAreTheDistance)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            if (path.bTwice)
                return;
            CPropertyScene scene(path, nSeed);
            const CPropertyOutcome expected = scene.Run(m_pool);
            Count(expected);
            const auto Exchange = [](double& dPitch, int& nMultiple)
            {
                dPitch = nMultiple == 2 ? dPitch * 2.0 : dPitch / 2.0;
                nMultiple = 3 - nMultiple;
            };
            Exchange(scene.param.dConvPitch, scene.param.nConvMultiple);
            Exchange(scene.param.dScanPitch, scene.param.nScanMultiple);
            EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(expected), "") << scene.Describe();
        });
}

} // namespace
} // namespace narvo::test
