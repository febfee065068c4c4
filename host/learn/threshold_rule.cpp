// SPDX-License-Identifier: MIT
// Thresholds by the distribution of largest values.
#include "host/learn/threshold_rule.h"

#include <algorithm>

#include <opencv2/core.hpp>

#include "host/image/cv_image.h"
#include "host/inspect/for_each.h"
#include "host/learn/extreme_value.h"

namespace narvo
{

namespace
{

constexpr double dFewThresholdFactor = 1.25; // over the largest threshold needed, with few images
constexpr std::size_t nFewThresholds = 3;

} // namespace

double ThresholdFor(const std::vector<double>& needed, double rate)
{
    const double largest = *std::max_element(needed.begin(), needed.end());
    if (needed.size() < nFewThresholds)
        return dFewThresholdFactor * largest + 1.0;
    return std::max(largest, ExtremeLimit(needed, rate, 1.0));
}

void CrossValidateThreshold(const std::vector<double>& needed, double rate, bool eachChannel, Candidate& candidate)
{
    candidate.crossValidated = needed.size() > 1;
    if (!candidate.crossValidated)
        return;
    const std::vector<std::size_t> groups = LeaveOutGroups(needed.size(), eachChannel);
    for (std::size_t i = 0; i < needed.size(); ++i)
    {
        std::vector<double> rest;
        for (std::size_t k = 0; k < needed.size(); ++k)
            if (groups[k] != groups[i])
                rest.push_back(needed[k]);
        candidate.images[i].highest = needed[i] / ThresholdFor(rest, rate);
        candidate.images[i].falseBlobs = candidate.images[i].highest > 1.0 ? 1 : 0;
    }
}

std::vector<LearnImage> DescribeImages(const std::vector<BatchImage>& images, int threads)
{
    std::vector<LearnImage> described(images.size());
    ForEachImage(images, threads,
                 [&](std::size_t i, const GreyImage& image, int)
                 {
                     described[i].name = images[i].name;
                     described[i].width = image.Width();
                     described[i].height = image.Height();
                     cv::Scalar mean;
                     cv::Scalar deviation;
                     cv::meanStdDev(ViewOf(image), mean, deviation);
                     described[i].level = mean[0];
                     described[i].contrast = deviation[0];
                 });
    return described;
}

} // namespace narvo
