// SPDX-License-Identifier: MIT
// Differences over thresholds.
#include "host/evaluate/golden_scores.h"

#include <cstdlib>

#include "host/evaluate/baselines.h"
#include "host/golden/golden.h"

namespace narvo
{

namespace
{

constexpr int nUncompared = 255; ///< threshold of pixels without a reference

} // namespace

ImageScores ScoreGolden(Inspector& inspector, int lane, const GoldenModel& model, const GreyImage& image)
{
    const GoldenResult result = InspectGolden(inspector, lane, model, image);
    ImageScores found;
    found.scores.width = image.Width();
    found.scores.height = image.Height();
    found.scores.values.reserve(static_cast<std::size_t>(image.Width()) * image.Height());
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
        {
            const int threshold = result.threshold.Row(y)[x];
            const int difference = std::abs(image.Row(y)[x] - result.reference.Row(y)[x]);
            found.scores.values.push_back(
                threshold == nUncompared ? 0.0F : static_cast<float>(difference) / static_cast<float>(threshold + 1));
        }
    found.blobs = BlobsOf(found.scores);
    found.blobs[nFactorOne].clear();
    for (const Blob& blob : result.inspection.blobs)
        found.blobs[nFactorOne].push_back({blob.box, blob.area});
    return found;
}

} // namespace narvo
