// Bright and dark are alike: the negative of a picture has the same defects, the dark ones bright and the bright ones
// dark.
#include <utility>

#include "laws/law_test.h"

namespace narvo::test
{
namespace
{

int MirrorType(int nType)
{
    return nType == DefectType_Dark || nType == DefectType_Bright ? 1 - nType : nType;
}

/// The outcome of the negative, in so far as it follows from the one of the picture.
void Mirror(CLawOutcome& outcome, bool bHasCmpGray)
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

/// Takes out what the law says nothing about: the place of the brightest grey, which is that of the darkest in the
/// negative; and the ids and the order of blobs, since window sums note dark hits of a group before its bright ones,
/// and the sum of thresholds, which stays behind when a blob moves to the place of another.
void LeaveOut(CLawOutcome& outcome, bool bHasCmpGray)
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
int ExactStep(const CLawPath& path, bool bWholePitch)
{
    const int nArea = path.nWindowWidth * path.nWindowHeight;
    switch (path.eMode)
    {
    case LawMode::Trapezium: // compares sums without a shift, and records neither
        return 1;
    case LawMode::Average:
        return 225; // the small window has 1, 9 or 25 pixels; the large one's mean is left out
    case LawMode::Float:
        return bWholePitch ? nArea : 16 * nArea;
    default:
        return (path.bMean ? 4 : 1) * (bWholePitch && !path.bSideways ? 1 : 16);
    }
}

class MirrorLaws : public LawTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, MirrorLaws,
                         testing::Values(LawMode::Zone, LawMode::Pixel, LawMode::Float, LawMode::Trapezium,
                                         LawMode::AsgZone, LawMode::AsgPixel, LawMode::Average),
                         ModeOfTest);

// It holds where thresholds are the same for dark and bright: no gain, since a gain goes by the brighter value; no
// second set; no limits of a zone; no limit of grey. It holds to the bit where no truncation has anything to cut off.
// Binarise mode reports dark pixels alone and has no such law, and windows of three rows see black above the region.
TEST_P(MirrorLaws, TheNegativeHasTheSameDefectsWithTypesSwapped)
{
    ForEachCase(
        [&](const CLawPath& path, std::uint64_t nSeed)
        {
            if (path.LooksAbove())
                return;
            CLawWishes wishes;
            wishes.bEvenHanded = true;
            wishes.bNoGrayLimit = true;
            // Two truncations one after the other leave only whole pitches exact.
            wishes.bWholePitch = path.bSideways || nSeed % 2 == 0;
            wishes.bSteadyTables = true;
            wishes.nStep = ExactStep(path, wishes.bWholePitch);
            // Window sums note the dark hits of a group of eight before its bright ones. So a single and a pair change
            // places in the negative, and what depends on their order, as the first of several highest peaks, changes
            // too: defects in the middle of a flat picture leave no singles. And a search along a row ends at the first
            // hit beyond its target, which is why defects side by side pair differently: there is one alone.
            const bool bOutOfOrder = path.IsFloat() || path.eMode == LawMode::Trapezium;
            if (bOutOfOrder)
            {
                wishes.bFlat = true;
                wishes.nPitches = 6;
                wishes.nMargin = 44;
                wishes.nDefects = path.IsVertical() ? 12 : 1;
            }
            CLawScene scene(path, nSeed, wishes);
            if (path.IsFloat() && path.bSideways)
                scene.param.fVtdPitch = 2.0F;

            const bool bHasCmpGray = path.eMode != LawMode::Trapezium && path.eMode != LawMode::Average;
            CLawOutcome expected = scene.Run(m_pool);
            Count(expected);
            scene.world.bMirror = true;
            CLawOutcome found = scene.Run(m_pool);
            Mirror(expected, bHasCmpGray);
            LeaveOut(expected, bHasCmpGray);
            LeaveOut(found, bHasCmpGray);
            EXPECT_EQ(found.DifferenceFrom(expected), "") << scene.Describe();
        });
}

} // namespace
} // namespace narvo::test
