// SPDX-License-Identifier: MIT
// The two parts of a region find what the whole finds, away from the seam.
#include <algorithm>

#include "properties/property_test.h"

namespace narvo::test
{
namespace
{

/// The blobs that lie completely between nFirst and nLast along the axis, without the fields that depend on their
/// place in the list; sorted.
std::vector<CDefectBlob> BlobsBetween(const std::vector<CDefectBlob>& aBlobs, bool bAlongX, int nFirst, int nLast)
{
    std::vector<CDefectBlob> aInside;
    for (const CDefectBlob& blob : aBlobs)
        if (const CRect& rt = blob.rtDefect;
            (bAlongX ? rt.left : rt.top) >= nFirst && (bAlongX ? rt.right : rt.bottom) <= nLast)
        {
            aInside.emplace_back(blob);
            aInside.back().nBlobId = 0;
            aInside.back().nSumThreshold = 0;
        }
    return InOrder(aInside);
}

class SeamProperties : public PropertyTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, SeamProperties,
                         testing::Values(PropertyMode::Zone, PropertyMode::Pixel, PropertyMode::Float,
                                         PropertyMode::AsgZone, PropertyMode::AsgPixel, PropertyMode::Binarise),
                         ModeOfTest);

// Lines of the comparison are independent, so the pairs of the parts are those of the whole, in order and in every
// field: rows for comparisons along x, whole strips for those along y. The filters are off, since those across the
// comparison depend on the region's other sides. No cells are skipped: a strip ends early where two skipped cells
// follow each other, which depends on where the walk started. Left out are average mode, whose windows stay in the
// region, trapezia, and the second pass of the twice kernels, which depends on all pairs of the first.
TEST_P(SeamProperties, PartsSideBySideHaveThePairsOfTheWhole)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            if (path.bTwice)
                return;
            CSceneOptions options;
            options.bFilters = false;
            CPropertyScene scene(path, nSeed, options);
            scene.bSkipCells = false;
            scene.param.bFalseFilter = 0;
            const CPropertyOutcome whole = scene.Run(m_pool);
            Count(whole);

            CRandom random(nSeed);
            const CRect rtWhole = scene.param.rtInspect;
            const bool bRows = !path.IsVertical();
            const int nSize = bRows ? rtWhole.Height() : rtWhole.Width();
            const int nSeam = bRows ? random.Int(nSize / 3, nSize - nSize / 3) : 16 * random.Int(1, nSize / 16 - 1);
            std::vector<CDefectPair> aParts;
            for (const bool bSecond : {false, true})
            {
                CRect& rtPart = scene.param.rtInspect;
                rtPart = rtWhole;
                if (bRows)
                    (bSecond ? rtPart.top : rtPart.bottom) = rtWhole.top + nSeam;
                else
                    (bSecond ? rtPart.left : rtPart.right) = rtWhole.left + nSeam;
                if (path.IsZone())
                {
                    scene.ptCell.x += (rtPart.left - scene.ptCell.x) / scene.nCellWidth * scene.nCellWidth;
                    scene.ptCell.y += (rtPart.top - scene.ptCell.y) / scene.nCellHeight * scene.nCellHeight;
                }
                const CPropertyOutcome part = scene.Run(m_pool);
                ASSERT_EQ(part.nCode, 1);
                aParts.insert(aParts.end(), part.aPairs.begin(), part.aPairs.end());
            }
            EXPECT_EQ(DifferenceOf(aParts, whole.aPairs), "") << "seam at " << nSeam << ", " << scene.Describe();
        });
}

class LongSeamProperties : public PropertyTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, LongSeamProperties,
                         testing::Values(PropertyMode::Zone, PropertyMode::Pixel, PropertyMode::Float,
                                         PropertyMode::AsgZone, PropertyMode::AsgPixel),
                         ModeOfTest);

// Along the comparison, bands and the filters' reversed references make a difference up to two distances from a part's
// ends. An isolated defect further inside gives the same blob in the part and in the whole.
TEST_P(LongSeamProperties, PartsEndToEndHaveTheDefectsOfTheWhole)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            if (path.bTwice)
                return;
            CSceneOptions options;
            options.bFlat = true;
            options.nDefects = 0;
            options.nPitches = 14;
            CPropertyScene scene(path, nSeed, options);
            scene.bSkipCells = false;
            CRandom random(nSeed);
            const bool bAlongX = !path.IsVertical();
            const CRect rtWhole = scene.param.rtInspect;
            const int nFirst = bAlongX ? rtWhole.left : rtWhole.top;
            const int nLast = bAlongX ? rtWhole.right : rtWhole.bottom;
            const int nSeam = (nFirst + nLast) / 2;
            const int nClearance = 2 * static_cast<int>(scene.RealPitch()) + 24;
            const auto Plant = [&](int nLow, int nHigh)
            {
                const int nAlong = random.Int(nLow, nHigh - 4);
                const int nAcross = bAlongX ? random.Int(rtWhole.top + 40, rtWhole.bottom - 50)
                                            : random.Int(rtWhole.left + 40, rtWhole.right - 60);
                const CPoint pt = bAlongX ? CPoint(nAlong, nAcross) : CPoint(nAcross, nAlong);
                scene.picture.aDefects.push_back(
                    {CRect(pt.x, pt.y, pt.x + random.Int(1, 4), pt.y + random.Int(1, 4)), random.OneIn(2) ? 70 : -70});
            };
            Plant(nFirst + nClearance, nSeam - nClearance);
            Plant(nSeam + nClearance, nLast - nClearance - 16);

            const CPropertyOutcome whole = scene.Run(m_pool);
            Count(whole);
            for (const bool bSecond : {false, true})
            {
                CRect& rtPart = scene.param.rtInspect;
                rtPart = rtWhole;
                if (bAlongX)
                    (bSecond ? rtPart.left : rtPart.right) = nSeam;
                else
                    (bSecond ? rtPart.top : rtPart.bottom) = nSeam;
                scene.EnterGridAtRegion();
                const CPropertyOutcome part = scene.Run(m_pool);
                const int nLow = (bSecond ? nSeam : nFirst) + nClearance - 8;
                const int nHigh = (bSecond ? nLast : nSeam) - nClearance + 8;
                EXPECT_EQ(DifferenceOf(BlobsBetween(part.aBlobs, bAlongX, nLow, nHigh),
                                       BlobsBetween(whole.aBlobs, bAlongX, nLow, nHigh)),
                          "")
                    << "part " << bSecond << ", " << scene.Describe();
            }
        });
}

// Regions of four thousand columns and more are split into bands; each band is a region of its own, and nothing is
// merged across the seams.
TEST(BandProperties, ASplitRegionHasTheDefectsOfTheWhole)
{
    constexpr int nAway = 24; // pixels that grouping and merging reach
    CPropertyPool pool;
    for (const PropertyMode eMode : {PropertyMode::Zone, PropertyMode::Pixel, PropertyMode::Float})
        for (const CPropertyPath& path : PropertyPaths(eMode))
        {
            // Twice kernels compare their passes by place in the list; a band steps through a grid of flagged records
            // by two ints.
            if (!path.IsVertical() || path.bTwice || path.bFlagged)
                continue;
            const std::uint64_t nSeed = CaseSeeds(path.pName, 1).front();
            CRandom random(nSeed);
            CSceneOptions options;
            options.bFilters = false;
            options.bFlat = true;
            options.nDefects = 0;
            CPropertyScene scene(path, nSeed, options);
            CRect& rtInspect = scene.param.rtInspect;
            rtInspect.right = rtInspect.left + 4000 + random.Int(0, 700);
            scene.param.rtMarginFrame = rtInspect;
            scene.rtImage.right = scene.rtImage.left + 4960;
            for (int i = 0; i < 150; ++i)
            {
                const CPoint pt(random.Int(rtInspect.left, rtInspect.right),
                                random.Int(rtInspect.top, rtInspect.bottom));
                scene.picture.aDefects.push_back(
                    {CRect(pt.x, pt.y, pt.x + random.Int(1, 4), pt.y + random.Int(1, 4)), random.OneIn(2) ? 90 : -90});
            }
            scene.param.bBandThread = 1;
            const CPropertyOutcome forked = scene.Run(pool);
            const int nForkedPairs = pool.Lane().GetPairCount();
            scene.param.bBandThread = 0;
            const CPropertyOutcome whole = scene.Run(pool);
            EXPECT_EQ(forked.nCode, 1);
            EXPECT_EQ(nForkedPairs, pool.Lane().GetPairCount()) << scene.Describe();
            EXPECT_GT(whole.aBlobs.size(), 5U) << scene.Describe();
            const int nSeam = rtInspect.left + rtInspect.Width() / 2 / 64 * 64;
            for (const bool bSecond : {false, true})
            {
                const int nLow = bSecond ? nSeam + nAway : rtInspect.left - 8;
                const int nHigh = bSecond ? rtInspect.right + 8 : nSeam - nAway;
                EXPECT_EQ(DifferenceOf(BlobsBetween(forked.aBlobs, true, nLow, nHigh),
                                       BlobsBetween(whole.aBlobs, true, nLow, nHigh)),
                          "")
                    << "band " << bSecond << ", " << scene.Describe();
            }
        }
}

} // namespace
} // namespace narvo::test
