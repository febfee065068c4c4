// SPDX-License-Identifier: MIT
// Bright and dark are symmetric: the negative of a picture has the same defects with bright and dark
// exchanged.
#include <utility>

#include "properties/property_test.h"

namespace narvo::test
{
namespace
{

int MirrorType(int nType)
{
    return nType == DefectType_Dark || nType == DefectType_Bright ? 1 - nType : nType;
}

/// The outcome of the negative, as far as it follows from that of the picture.
void Mirror(CPropertyOutcome& outcome, bool bHasCmpGray)
{
    for (CDefectPair& pair : outcome.aPairs)
    {
        pair.nDefectType = MirrorType(pair.nDefectType);
        pair.nSrcGray = 255 - pair.nSrcGray;
        if (bHasCmpGray)
            pair.nCmpGray = 255 - pair.nCmpGray;
    }
    for (CDefectBlob& blob : outcome.aBlobs)
    {
        const auto Swap = [&](short& nMin, short& nMax, short& nAvg, int& nSum)
        {
            const short nOldMin = nMin;
            nMin = static_cast<short>(255 - nMax);
            nMax = static_cast<short>(255 - nOldMin);
            nSum = 255 * blob.nPairCount - nSum;
            nAvg = static_cast<short>(nSum / blob.nPairCount);
        };
        blob.nDefectType = MirrorType(blob.nDefectType);
        Swap(blob.nMinSrcGray, blob.nMaxSrcGray, blob.nAvgSrcGray, blob.nSumSrcGray);
        if (bHasCmpGray)
            Swap(blob.nMinCmpGray, blob.nMaxCmpGray, blob.nAvgCmpGray, blob.nSumCmpGray);
    }
}

/// Clears what is not symmetric: the position of the brightest grey, which is that of the darkest in the negative;
/// the ids and the order of blobs, since window sums list dark hits of a group before its bright ones; and the sum of
/// thresholds, which is not copied when a blob replaces another.
void ClearAsymmetric(CPropertyOutcome& outcome, bool bHasCmpGray)
{
    for (CDefectPair& pair : outcome.aPairs)
        if (!bHasCmpGray)
            pair.nCmpGray = 0;
    for (CDefectBlob& blob : outcome.aBlobs)
    {
        blob.ptMaxGray = CPoint(0, 0);
        blob.nBlobId = 0;
        blob.nSumThreshold = 0;
        if (!bHasCmpGray)
        {
            blob.nMinCmpGray = blob.nMaxCmpGray = blob.nAvgCmpGray = 0;
            blob.nSumCmpGray = 0;
        }
    }
    outcome.aPairs = InOrder(outcome.aPairs);
    outcome.aBlobs = InOrder(outcome.aBlobs);
}

/// The step between greys at which no division or shift of the path has a remainder, whose truncation would favour
/// dark.
int ExactStep(const CPropertyPath& path, bool bWholePitch)
{
    const int nArea = path.nWindowWidth * path.nWindowHeight;
    switch (path.eMode)
    {
    case PropertyMode::Trapezium: // compares sums without a shift, and records neither
        return 1;
    case PropertyMode::Average:
        return 225; // the small window has 1, 9 or 25 pixels; the large one's mean is left out
    case PropertyMode::Float:
        return bWholePitch ? nArea : 16 * nArea;
    default:
        return (path.bMean ? 4 : 1) * (bWholePitch && !path.bSideways ? 1 : 16);
    }
}

class MirrorProperties : public PropertyTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, MirrorProperties,
                         testing::Values(PropertyMode::Zone, PropertyMode::Pixel, PropertyMode::Float,
                                         PropertyMode::Trapezium, PropertyMode::AsgZone, PropertyMode::AsgPixel,
                                         PropertyMode::Average),
                         ModeOfTest);

// It holds where thresholds are the same for dark and bright: no gain, since a gain applies to the brighter value;
// no second set; no limits of a zone; no grey limit. It holds to the bit where truncation has no effect. Binarise mode
// reports dark pixels only and is left out; so are windows of three rows, which see black above the region.
TEST_P(MirrorProperties, TheNegativeHasTheSameDefectsWithTypesSwapped)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            if (path.LooksAbove())
                return;
            CSceneOptions options;
            options.bEvenHanded = true;
            options.bNoGrayLimit = true;
            // After two truncations in a row only whole pitches are exact.
            options.bWholePitch = path.bSideways || nSeed % 2 == 0;
            options.bSteadyTables = true;
            options.nStep = ExactStep(path, options.bWholePitch);
            // Window sums list the dark hits of a group of eight before its bright ones. So a single and a pair swap
            // places in the negative, and with them what depends on their order, such as the first of several highest
            // peaks. Defects in the middle of a flat picture leave no singles. A search along a row ends at the first
            // hit beyond its target, so defects side by side would pair differently: there is only one.
            const bool bOutOfOrder = path.IsFloat() || path.eMode == PropertyMode::Trapezium;
            if (bOutOfOrder)
            {
                options.bFlat = true;
                options.nPitches = 6;
                options.nMargin = 44;
                options.nDefects = path.IsVertical() ? 12 : 1;
            }
            CPropertyScene scene(path, nSeed, options);
            if (path.IsFloat() && path.bSideways)
                scene.param.fVtdPitch = 2.0F;

            const bool bHasCmpGray = path.eMode != PropertyMode::Trapezium && path.eMode != PropertyMode::Average;
            CPropertyOutcome expected = scene.Run(m_pool);
            Count(expected);
            scene.picture.bMirror = true;
            CPropertyOutcome found = scene.Run(m_pool);
            Mirror(expected, bHasCmpGray);
            ClearAsymmetric(expected, bHasCmpGray);
            ClearAsymmetric(found, bHasCmpGray);
            EXPECT_EQ(found.DifferenceFrom(expected), "") << scene.Describe();
        });
}

} // namespace
} // namespace narvo::test
