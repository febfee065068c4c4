// SPDX-License-Identifier: MIT
// The baselines by OpenCV, and blobs from scores.
#include "host/evaluate/baselines.h"

#include <algorithm>
#include <cstdint>

#include <opencv2/imgproc.hpp>

namespace narvo
{

namespace
{

constexpr float fGreyPerScore = 32.0F;
constexpr int nSmallestBlob = 5;
constexpr int nPlace = 9;
constexpr int nAround = 65;
constexpr float fDeviationsPerScore = 3.0F;

cv::Mat PixelsOf(const GreyView& image)
{
    return {image.Height(), image.Width(), CV_8UC1, const_cast<std::uint8_t*>(image.Row(0)),
            static_cast<std::size_t>(image.Stride())};
}

ImageScores ScoresOf(const cv::Mat& values)
{
    ImageScores found;
    found.scores.width = values.cols;
    found.scores.height = values.rows;
    for (int y = 0; y < values.rows; ++y)
        found.scores.values.insert(found.scores.values.end(), values.ptr<float>(y), values.ptr<float>(y) + values.cols);
    found.blobs = BlobsOf(found.scores);
    return found;
}

ImageScores ScoreOpened(const cv::Mat& difference)
{
    // Opening of grey levels: what an opening of the thresholded difference leaves, for every threshold at once.
    cv::Mat opened;
    cv::morphologyEx(difference, opened, cv::MORPH_OPEN, cv::Mat::ones(3, 3, CV_8U));
    cv::Mat scores;
    opened.convertTo(scores, CV_32F, 1.0 / fGreyPerScore);
    return ScoresOf(scores);
}

} // namespace

ImageScores ScoreByDifference(const GreyView& image, const GreyView& reference)
{
    cv::Mat difference = cv::Mat::zeros(image.Height(), image.Width(), CV_8U);
    const cv::Rect common(0, 0, std::min(image.Width(), reference.Width()),
                          std::min(image.Height(), reference.Height()));
    cv::Mat part = difference(common);
    cv::absdiff(PixelsOf(image)(common), PixelsOf(reference)(common), part);
    return ScoreOpened(difference);
}

ImageScores ScoreByDisplacement(const GreyView& image, int x, int y)
{
    const cv::Mat pixels = PixelsOf(image);
    cv::Mat difference = cv::Mat::zeros(pixels.size(), CV_8U);
    for (int row = 0; row < pixels.rows; ++row)
        for (int column = 0; column < pixels.cols; ++column)
        {
            int otherX = column + x;
            int otherY = row + y;
            if (otherX >= pixels.cols || otherY >= pixels.rows)
            {
                otherX = column - x;
                otherY = row - y;
            }
            if (otherX >= 0 && otherY >= 0 && otherX < pixels.cols && otherY < pixels.rows)
                difference.at<std::uint8_t>(row, column) = static_cast<std::uint8_t>(
                    std::abs(pixels.at<std::uint8_t>(row, column) - pixels.at<std::uint8_t>(otherY, otherX)));
        }
    return ScoreOpened(difference);
}

ImageScores ScoreByDeviation(const GreyView& image)
{
    cv::Mat values;
    PixelsOf(image).convertTo(values, CV_32F);
    cv::Mat place;
    cv::Mat around;
    cv::Mat squares;
    cv::boxFilter(values, place, CV_32F, {nPlace, nPlace});
    cv::boxFilter(values, around, CV_32F, {nAround, nAround});
    cv::sqrBoxFilter(values, squares, CV_32F, {nAround, nAround});
    cv::Mat deviation = squares - around.mul(around);
    cv::max(deviation, 1.0, deviation);
    cv::sqrt(deviation, deviation);
    cv::Mat scores = cv::abs(place - around) / (deviation * fDeviationsPerScore);
    return ScoresOf(scores);
}

std::vector<std::vector<FoundBlob>> BlobsOf(const ScoreImage& scores)
{
    const cv::Mat values(scores.height, scores.width, CV_32F, const_cast<float*>(scores.values.data()));
    std::vector<std::vector<FoundBlob>> blobs;
    for (const double factor : SweepFactors())
    {
        std::vector<FoundBlob>& found = blobs.emplace_back();
        const cv::Mat above = values >= factor;
        cv::Mat labels;
        cv::Mat measures;
        cv::Mat centres;
        const int count = cv::connectedComponentsWithStats(above, labels, measures, centres, 8, CV_32S, cv::CCL_WU);
        for (int i = 1; i < count; ++i)
        {
            const int left = measures.at<int>(i, cv::CC_STAT_LEFT) * scores.step;
            const int top = measures.at<int>(i, cv::CC_STAT_TOP) * scores.step;
            const int area = measures.at<int>(i, cv::CC_STAT_AREA) * scores.step * scores.step;
            if (area >= nSmallestBlob)
                found.push_back({CRect(left, top, left + measures.at<int>(i, cv::CC_STAT_WIDTH) * scores.step,
                                       top + measures.at<int>(i, cv::CC_STAT_HEIGHT) * scores.step),
                                 area});
        }
    }
    return blobs;
}

} // namespace narvo
