// SPDX-License-Identifier: MIT
// Choice and drawing.
#include "tools/evaluate/worst_images.h"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"
#include "tools/page/embedded_jpeg.h"

namespace narvo::tools
{

namespace
{

constexpr std::size_t nShown = 4;
constexpr double dPictureSide = 700.0;
constexpr int nPictureQuality = 85;

void Frame(cv::Mat& picture, const CRect& box, double scale, const cv::Scalar& colour)
{
    cv::rectangle(picture, cv::Point(static_cast<int>(box.left * scale) - 2, static_cast<int>(box.top * scale) - 2),
                  cv::Point(static_cast<int>(std::ceil(box.right * scale)) + 1,
                            static_cast<int>(std::ceil(box.bottom * scale)) + 1),
                  colour, 1);
}

} // namespace

std::vector<EvaluatedPicture> DrawWorstImages(const EvaluationSet& set, const MethodResult& result,
                                              const TruthOfImage& truth, const ScoreOfImage& score,
                                              const std::function<GreyImage(const std::filesystem::path&)>& load)
{
    std::vector<std::size_t> good;
    std::vector<std::size_t> bad;
    for (std::size_t i = 0; i < result.images.size(); ++i)
    {
        const EvaluatedImage& image = result.images[i];
        if (!image.problems.empty())
            continue;
        if (!image.defective && image.falseBlobs > 0)
            good.push_back(i);
        else if (image.defective && (image.found < image.regions || image.falseBlobs > 0))
            bad.push_back(i);
    }
    std::stable_sort(good.begin(), good.end(),
                     [&](std::size_t a, std::size_t b)
                     { return result.images[a].falseBlobs > result.images[b].falseBlobs; });
    const auto missed = [&](std::size_t i) { return result.images[i].regions - result.images[i].found; };
    std::stable_sort(bad.begin(), bad.end(), [&](std::size_t a, std::size_t b) { return missed(a) > missed(b); });
    good.resize(std::min(good.size(), nShown));
    bad.resize(std::min(bad.size(), nShown));
    good.insert(good.end(), bad.begin(), bad.end());

    std::vector<EvaluatedPicture> pictures;
    for (const std::size_t i : good)
    {
        const EvaluatedImage& of = result.images[i];
        const GreyImage image = load(set.images[i].file);
        const double scale = std::min(1.0, dPictureSide / std::max(image.Width(), image.Height()));
        cv::Mat picture;
        cv::resize(ViewOf(image), picture, {}, scale, scale, cv::INTER_AREA);
        cv::cvtColor(picture, picture, cv::COLOR_GRAY2BGR);
        for (const FoundBlob& blob : score(set.images[i], 0).blobs[nFactorOne])
            Frame(picture, blob.box, scale, {0, 130, 255});
        for (const TrueRegion& region : truth(set.images[i]).regions)
            Frame(picture, region.box, scale, {60, 190, 40});
        pictures.push_back({of.name + ": " + std::to_string(of.found) + " of " + std::to_string(of.regions) +
                                " defects found, " + std::to_string(of.falseBlobs) + " false",
                            EncodeJpeg(picture, nPictureQuality)});
    }
    return pictures;
}

} // namespace narvo::tools
