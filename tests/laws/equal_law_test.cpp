// Two ways to say the same thing give the same result: maps that hold one value, tables that hold one pitch, a distance
// as one period or as two.
#include <algorithm>

#include "laws/law_test.h"

namespace narvo::test
{
namespace
{

const CLawPath& PathNamed(const std::string& strName)
{
    static const std::vector<CLawPath> aPaths = []
    {
        std::vector<CLawPath> aAll;
        for (const LawMode eMode : LawModes())
            for (const CLawPath& path : LawPaths(eMode))
                aAll.push_back(path);
        return aAll;
    }();
    return *std::find_if(aPaths.begin(), aPaths.end(), [&](const CLawPath& path) { return path.pName == strName; });
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

/// Runs the scenes of the left path on both; Adapt(scene) makes the two ways say the same.
class TwinTest : public testing::TestWithParam<CTwin>
{
protected:
    template <typename FAdapt>
    void RunTwins(const CLawWishes& wishes, FAdapt Adapt)
    {
        constexpr int nCases = 30;
        const CLawPath& left = PathNamed(GetParam().pLeft);
        const CLawPath& right = PathNamed(GetParam().pRight);
        CLawPool pool;
        int nWithBlobs = 0;
        const std::vector<std::uint64_t> aSeeds = CaseSeeds(std::string(left.pName) + right.pName, nCases);
        for (const std::uint64_t nSeed : aSeeds)
        {
            CLawScene scene(left, nSeed, wishes);
            Adapt(scene);
            const CLawOutcome expected = scene.Run(pool);
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

class MapLaws : public TwinTest
{
};

INSTANTIATE_TEST_SUITE_P(
    Each, MapLaws,
    testing::Values(CTwin{"zone, along x", "pixel, along x"},
                    CTwin{"zone, along x, pitch table", "pixel, along x, pitch table"},
                    CTwin{"zone, along y", "pixel, along y"}, CTwin{"zone, along y, direct", "pixel, along y, direct"},
                    CTwin{"zone, along y, extended", "pixel, along y, extended"},
                    CTwin{"zone, along y, extended, real pitch", "pixel, along y, extended, real pitch"},
                    CTwin{"asg with zones, along x", "asg, along x"},
                    CTwin{"asg with zones, along y", "asg, along y"}));

// The zone kernels along y hold singles to nThresholdExtra, which the pixel kernels leave to the filters: there is
// none.
TEST_P(MapLaws, MapsOfOneValueAreTheScalarThreshold)
{
    RunTwins({},
             [](CLawScene& scene)
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

class TableLaws : public TwinTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, TableLaws,
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

// Trapezia along x round the distance to the partner only when it comes from a table, so theirs are whole pixels.
TEST_P(TableLaws, ATableOfOnePitchIsThePitch)
{
    CLawWishes wishes;
    wishes.bSteadyTables = true;
    wishes.bWholePitch = std::string(GetParam().pLeft) == "trapezium, along x";
    RunTwins(wishes, [](CLawScene&) {});
}

class MultipleLaws : public LawTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, MultipleLaws,
                         testing::Values(LawMode::Pixel, LawMode::Float, LawMode::Trapezium, LawMode::AsgPixel),
                         ModeOfTest);

// Zone cells are counted in periods of their own; the second pass of the twice kernels puts its pitch in the place of
// the first pass's period and takes that one's multiple.
TEST_P(MultipleLaws, TwoPeriodsOfHalfTheDistanceAreTheDistance)
{
    ForEachCase(
        [&](const CLawPath& path, std::uint64_t nSeed)
        {
            if (path.bTwice)
                return;
            CLawScene scene(path, nSeed);
            const CLawOutcome expected = scene.Run(m_pool);
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
