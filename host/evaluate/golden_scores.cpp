// SPDX-License-Identifier: MIT
// Differences over thresholds.
#include "host/evaluate/golden_scores.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "host/evaluate/baselines.h"
#include "host/golden/golden.h"

namespace narvo
{

namespace
{

constexpr int nUncompared = 255; ///< threshold of pixels without a reference

/// How far pixels differ from what was expected, in thresholds, where that is more than `scores` has.
void RaiseScores(const GoldenResult& result, const GreyImage& image, std::vector<float>& scores)
{
    std::size_t place = 0;
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x, ++place)
        {
            const int threshold = result.threshold.Row(y)[x];
            const int difference = std::abs(image.Row(y)[x] - result.reference.Row(y)[x]);
            if (threshold != nUncompared)
                scores[place] =
                    std::max(scores[place], static_cast<float>(difference) / static_cast<float>(threshold + 1));
        }
}

} // namespace

ImageScores ScoreGolden(Inspector& inspector, int lane, const GoldenModel& model, const GreyImage& image)
{
    const GoldenResult result = InspectGolden(inspector, lane, model, image);
    ImageScores found;
    found.scores.width = image.Width();
    found.scores.height = image.Height();
    found.scores.values.assign(static_cast<std::size_t>(image.Width()) * image.Height(), 0.0F);
    if (result.channels.empty())
        RaiseScores(result, image, found.scores.values);
    for (std::size_t i = 0; i < result.channels.size(); ++i)
        RaiseScores(result.channels[i], (*image.Channels())[i], found.scores.values);
    found.blobs = BlobsOf(found.scores);
    found.blobs[nFactorOne].clear();
    for (const Blob& blob : result.inspection.blobs)
        found.blobs[nFactorOne].push_back({blob.box, blob.area, blob.peak});
    return found;
}

} // namespace narvo
