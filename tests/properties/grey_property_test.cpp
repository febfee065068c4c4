// SPDX-License-Identifier: MIT
// Brightness changes no defect: the same grey added everywhere, or a grey limit at or above the brightest grey.
#include <algorithm>

#include "properties/property_test.h"

namespace narvo::test
{
namespace
{

/// What the outcome has to become when every pixel rises by nGrey and, in binarise mode, the limit with it.
void Brighten(CPropertyOutcome& outcome, const CPropertyPath& path, int nGrey)
{
    // The records of a trapezium carry no compare grey; those of binarise mode measure from the limit.
    const int nCmp = path.eMode == PropertyMode::Trapezium ? 0 : nGrey;
    const int nLimit = path.eMode == PropertyMode::Binarise ? nGrey : 0;
    for (CDefectPair& pair : outcome.aPairs)
    {
        pair.nSrcGray += nGrey;
        pair.nCmpGray += nCmp;
        pair.nThreshold += nLimit;
        pair.nPeak += nLimit;
    }
    const auto Raise = [](short& nField, int nBy) { nField = static_cast<short>(nField + nBy); };
    for (CDefectBlob& blob : outcome.aBlobs)
    {
        for (short* pField : {&blob.nMinSrcGray, &blob.nMaxSrcGray, &blob.nAvgSrcGray})
            Raise(*pField, nGrey);
        for (short* pField : {&blob.nMinCmpGray, &blob.nMaxCmpGray, &blob.nAvgCmpGray})
            Raise(*pField, nCmp);
        for (short* pField : {&blob.nMaxThreshold, &blob.nAvgThreshold, &blob.nMaxPeak, &blob.nZoneMinPeak[0]})
            Raise(*pField, nLimit);
        blob.nSumSrcGray += nGrey * blob.nPairCount;
        blob.nSumCmpGray += nCmp * blob.nPairCount;
        // A record's difference is its peak on top of its threshold, and both rise.
        blob.nSumDiff += 2 * nLimit * blob.nPairCount;
        Raise(blob.nAvgDiff, 2 * nLimit);
        Raise(blob.nMaxDiff, 2 * nLimit);
        blob.nZoneMaxPeak[0] = static_cast<unsigned char>(blob.nZoneMaxPeak[0] + nLimit);
        blob.nZoneSumPeak[0] += nLimit * blob.nZoneCount[0];
    }
}

class GreyProperties : public PropertyTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, GreyProperties, testing::ValuesIn(PropertyModes()), ModeOfTest);

// It holds where no threshold depends on the grey: no gain, no grey limit, no dark limit of a zone. In
// average mode it needs windows of odd sizes, since even ones are larger than what their sums are divided by. Windows
// of three rows count nothing above the region's first row, where no grey is added.
TEST_P(GreyProperties, AddedGreyRaisesTheGreysAndNothingElse)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            if (path.LooksAbove())
                return;
            CSceneOptions options;
            options.bNoGain = true;
            options.bNoGrayLimit = true;
            CPropertyScene scene(path, nSeed, options);
            CPropertyOutcome expected = scene.Run(m_pool);
            Count(expected);
            const int nGrey = CRandom(nSeed + 1).Int(1, 255 - (scene.picture.nBase + scene.picture.nTop));
            scene.picture.nBase += nGrey;
            if (path.eMode == PropertyMode::Binarise)
                scene.param.nThreshold += nGrey;
            CPropertyOutcome found = scene.Run(m_pool);
            Brighten(expected, path, nGrey);
            // The lowest difference is chosen by comparing a peak with a difference, which rise by different amounts;
            // the sum of thresholds is not copied when a blob replaces another.
            if (path.eMode == PropertyMode::Binarise)
                for (CPropertyOutcome* pOutcome : {&expected, &found})
                    for (CDefectBlob& blob : pOutcome->aBlobs)
                    {
                        blob.nMinDiff = 0;
                        blob.nSumThreshold = 0;
                    }
            EXPECT_EQ(found.DifferenceFrom(expected), "") << "brighter by " << nGrey << ", " << scene.Describe();
        });
}

TEST_P(GreyProperties, AGreyLimitAtTheBrightestGreyLimitsNothing)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            CSceneOptions options;
            options.bNoGrayLimit = true;
            CPropertyScene scene(path, nSeed, options);
            const CPropertyOutcome expected = scene.Run(m_pool);
            Count(expected);
            const std::vector<unsigned char> aPixels = scene.picture.Render(scene.rtImage);
            scene.param.nGrayLimit = *std::max_element(aPixels.begin(), aPixels.end());
            EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(expected), "")
                << "limit " << scene.param.nGrayLimit << ", " << scene.Describe();
        });
}

} // namespace
} // namespace narvo::test
