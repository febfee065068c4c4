// SPDX-License-Identifier: MIT
// Maxima place by place.
#include "host/learn/place_maxima.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>

#include "host/input/texture_deviations.h"

namespace narvo
{

namespace
{

/// The n-th of `count` parts of a length.
cv::Range Part(int length, int count, int number)
{
    return {static_cast<int>(static_cast<long long>(length) * number / count),
            static_cast<int>(static_cast<long long>(length) * (number + 1) / count)};
}

double LargestIn(const cv::Mat& values)
{
    double largest = 0.0;
    cv::minMaxLoc(values, nullptr, &largest);
    return largest;
}

} // namespace

PlaceMaxima MeasurePlaces(const GreyView& image, const TextureSettings& settings,
                          const std::vector<TextureFeature>& features, int side)
{
    const TextureDeviations deviations(image, settings, features);
    const int columns = std::max(1, image.Width() / side);
    const int rows = std::max(1, image.Height() / side);
    PlaceMaxima maxima;
    const cv::Mat inner = deviations.Area() - deviations.Edge();
    std::vector<bool> counts;
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
        {
            const cv::Mat place = inner(Part(inner.rows, rows, row), Part(inner.cols, columns, column));
            counts.push_back(2 * cv::countNonZero(place) > static_cast<int>(place.total()));
        }
    maxima.places = static_cast<std::size_t>(std::count(counts.begin(), counts.end(), true));
    maxima.area = static_cast<double>(cv::countNonZero(deviations.Area())) / static_cast<double>(inner.total());
    maxima.hasEdge = cv::countNonZero(deviations.Edge()) != 0;
    const cv::Mat pixels(image.Height(), image.Width(), CV_8UC1, const_cast<std::uint8_t*>(image.Row(0)),
                         static_cast<std::size_t>(image.Stride()));
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(pixels, mean, deviation, deviations.Area());
    maxima.level = mean[0];
    maxima.contrast = deviation[0];

    const auto measure = [&](const cv::Mat& values, const cv::Mat& edge)
    {
        FeatureMaxima result;
        if (maxima.hasEdge)
        {
            cv::Mat beside = cv::Mat::zeros(values.size(), CV_32F);
            values.copyTo(beside, edge);
            result.edge = LargestIn(beside);
        }
        cv::Mat inside = values.clone();
        inside.setTo(0.0, edge);
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column)
            {
                const double largest =
                    LargestIn(inside(Part(inside.rows, rows, row), Part(inside.cols, columns, column)));
                if (counts[static_cast<std::size_t>(row * columns + column)])
                    result.inside.push_back(largest);
                else
                    result.rest = std::max(result.rest, largest);
            }
        return result;
    };
    for (const TextureFeature& feature : features)
    {
        const TextureDeviation found = deviations.Of(feature);
        const cv::Mat edge = deviations.EdgeAt(feature.fold);
        maxima.bright.push_back(measure(found.bright, edge));
        maxima.dark.push_back(measure(found.dark, edge));
    }
    return maxima;
}

PlaceScore ScorePlaces(const PlaceMaxima& image, const std::vector<TextureFeature>& features)
{
    std::vector<double> scores(image.places, 0.0);
    double rest = 0.0;
    double edge = 0.0;
    const auto scoreOf = [](double value, double typical, double limit)
    { return limit > typical ? (value - typical) / (limit - typical) : 0.0; };
    const auto raise =
        [&](const FeatureMaxima& found, double typical, double limit, double edgeTypical, double edgeLimit)
    {
        for (std::size_t i = 0; i < scores.size(); ++i)
            scores[i] = std::max(scores[i], scoreOf(found.inside[i], typical, limit));
        rest = std::max(rest, scoreOf(found.rest, typical, limit));
        edge = std::max(edge, scoreOf(found.edge, edgeTypical, edgeLimit));
    };
    for (std::size_t k = 0; k < features.size(); ++k)
    {
        const TextureFeature& feature = features[k];
        raise(image.bright[k], feature.brightTypical, feature.brightLimit, feature.edgeBrightTypical,
              feature.edgeBrightLimit);
        raise(image.dark[k], feature.darkTypical, feature.darkLimit, feature.edgeDarkTypical, feature.edgeDarkLimit);
    }
    scores.push_back(rest);
    scores.push_back(edge);
    PlaceScore result;
    result.highest = *std::max_element(scores.begin(), scores.end());
    result.placesAbove =
        static_cast<std::size_t>(std::count_if(scores.begin(), scores.end(), [](double score) { return score > 1.0; }));
    return result;
}

} // namespace narvo
