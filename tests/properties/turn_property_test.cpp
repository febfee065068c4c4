// SPDX-License-Identifier: MIT
// No direction is special: a rotated or reflected picture has rotated or reflected defects, away from the region's
// edges, where the bands and the uncovered ends of strips are on particular sides.
#include <algorithm>
#include <utility>

#include "properties/property_test.h"

namespace narvo::test
{
namespace
{

/// What rotation preserves of a defect. The shape values depend on the extreme points, whose corners are named by side.
struct CTurned
{
    CRect rtDefect;
    std::vector<int> aValues;

    bool operator==(const CTurned& other) const
    {
        return std::equal(&rtDefect.left, &rtDefect.bottom + 1, &other.rtDefect.left) && aValues == other.aValues;
    }
};

std::vector<CTurned> Defects(const CPropertyOutcome& outcome)
{
    std::vector<CTurned> aDefects;
    for (const CDefectBlob& blob : outcome.aBlobs)
        aDefects.push_back(
            {blob.rtDefect,
             {blob.nDefectType, blob.nDefectPos, blob.nDefectPair, blob.nPairCount, blob.nMaxPeak, blob.nMinSrcGray,
              blob.nMaxSrcGray, blob.nSumSrcGray, blob.nSumCmpGray, blob.nSumDiff, blob.nSumThreshold}});
    return aDefects;
}

/// A flat picture with three defects in the middle of the region, no two in the same rows or columns.
CPropertyScene IsolatedDefects(const CPropertyPath& path, std::uint64_t nSeed)
{
    CSceneOptions options;
    options.bFlat = true;
    options.bWholePitch = true;
    options.bSteadyTables = true;
    options.bDeadZones = false;
    options.bNoGrayLimit = true;
    options.nPitches = 14;
    options.nDefects = 0;
    CPropertyScene scene(path, nSeed, options);
    scene.bSkipCells = false;
    for (std::vector<short>* pMap : {&scene.aOffset, &scene.aOffset2})
        std::fill(pMap->begin(), pMap->end(), static_cast<short>(scene.param.nThreshold));
    for (std::vector<short>* pMap : {&scene.aGain, &scene.aGain2, &scene.aZone})
        std::fill(pMap->begin(), pMap->end(), static_cast<short>(0));

    CRandom random(nSeed);
    const CRect& rt = scene.param.rtInspect;
    for (const int nPlace : {52, 64, 76})
    {
        const CPoint pt(rt.left + nPlace, rt.top + nPlace);
        scene.picture.aDefects.push_back(
            {CRect(pt.x, pt.y, pt.x + random.Int(1, 4), pt.y + random.Int(1, 4)), random.OneIn(2) ? 80 : -80});
    }
    return scene;
}

CRect Transposed(const CRect& rt)
{
    return {rt.top, rt.left, rt.bottom, rt.right};
}

std::string Text(const std::vector<CTurned>& aDefects)
{
    std::string strText;
    for (const CTurned& defect : aDefects)
    {
        strText += " (" + std::to_string(defect.rtDefect.left) + ' ' + std::to_string(defect.rtDefect.top) + ' ' +
                   std::to_string(defect.rtDefect.right) + ' ' + std::to_string(defect.rtDefect.bottom) + ':';
        for (const int nValue : defect.aValues)
            strText += ' ' + std::to_string(nValue);
        strText += ')';
    }
    return strText;
}

/// Whether both lists hold the same defects in any order.
void ExpectSame(const std::vector<CTurned>& aFound, const std::vector<CTurned>& aExpected, const CPropertyScene& scene)
{
    EXPECT_TRUE(std::is_permutation(aFound.begin(), aFound.end(), aExpected.begin(), aExpected.end()))
        << "found" << Text(aFound) << "\nexpected" << Text(aExpected) << '\n'
        << scene.Describe();
}

class ReflectProperties : public PropertyTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, ReflectProperties,
                         testing::Values(PropertyMode::Zone, PropertyMode::Pixel, PropertyMode::AsgPixel), ModeOfTest);

// Comparisons of single pixels only: the defect of a window is reported at its upper left pixel. The two passes of the
// twice kernels report one defect twice.
TEST_P(ReflectProperties, AReflectedPictureHasReflectedDefects)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            if (path.bMean || path.bSideways || path.bTwice)
                return;
            CPropertyScene scene = IsolatedDefects(path, nSeed);
            const CPropertyOutcome outcome = scene.Run(m_pool);
            Count(outcome);
            const CRect rt = scene.param.rtInspect;
            for (const bool bAlongX : {true, false})
            {
                std::vector<CTurned> aExpected = Defects(outcome);
                const auto Reflect = [&](CRect& rtPlace)
                {
                    rtPlace = bAlongX ? CRect(rt.left + rt.right - rtPlace.right, rtPlace.top,
                                              rt.left + rt.right - rtPlace.left, rtPlace.bottom)
                                      : CRect(rtPlace.left, rt.top + rt.bottom - rtPlace.bottom, rtPlace.right,
                                              rt.top + rt.bottom - rtPlace.top);
                };
                CPropertyScene reflected = scene;
                for (CTurned& defect : aExpected)
                    Reflect(defect.rtDefect);
                for (CPeriodicPicture::CDefect& defect : reflected.picture.aDefects)
                    Reflect(defect.rtPlace);
                ExpectSame(Defects(reflected.Run(m_pool)), aExpected, scene);
            }
        });
}

TEST(TurnProperties, ATransposedPictureHasTransposedDefects)
{
    CPropertyPool pool;
    const std::vector<CPropertyPath> aPaths = PropertyPaths(PropertyMode::Pixel);
    const auto Named = [&](const std::string& strName)
    {
        return *std::find_if(aPaths.begin(), aPaths.end(),
                             [&](const CPropertyPath& path) { return path.pName == strName; });
    };
    for (const std::uint64_t nSeed : CaseSeeds("turn", 40))
        for (const bool bExtended : {false, true})
        {
            const std::string strKind = bExtended ? ", extended" : "";
            CPropertyScene scene = IsolatedDefects(Named("pixel, along x" + strKind), nSeed);
            std::vector<CTurned> aExpected = Defects(scene.Run(pool));
            EXPECT_EQ(aExpected.size(), 3U) << scene.Describe();
            for (CTurned& defect : aExpected)
                defect.rtDefect = Transposed(defect.rtDefect);

            scene.path = Named("pixel, along y" + strKind);
            CConvParam& param = scene.param;
            param.nDirection = 1;
            std::swap(param.dConvPitch, param.dScanPitch);
            std::swap(param.nConvMultiple, param.nScanMultiple);
            param.rtInspect = Transposed(param.rtInspect);
            param.rtMarginFrame = Transposed(param.rtMarginFrame);
            scene.rtImage = Transposed(scene.rtImage);
            scene.rtImage.right = (scene.rtImage.right + 15) & ~15;
            for (CPeriodicPicture::CDefect& defect : scene.picture.aDefects)
                defect.rtPlace = Transposed(defect.rtPlace);
            ExpectSame(Defects(scene.Run(pool)), aExpected, scene);
        }
}

} // namespace
} // namespace narvo::test
