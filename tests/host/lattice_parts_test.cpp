// SPDX-License-Identifier: MIT
// The parts of lattice mode that must be fast, against plain computations of the same.
#include <algorithm>
#include <limits>
#include <vector>

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include "host/lattice/displaced_part.h"
#include "host/lattice/least_difference.h"
#include "host/statistics/mixed_numbers.h"

namespace narvo::test
{

namespace
{

/// Blocks of `side` pixels of random grey levels between 0 and 255, or of two.
cv::Mat RandomBlocks(int width, int height, int side, bool twoLevels, std::uint64_t seed)
{
    MixedNumbers random(seed);
    cv::Mat blocks((height + side - 1) / side, (width + side - 1) / side, CV_8U);
    for (int y = 0; y < blocks.rows; ++y)
        for (int x = 0; x < blocks.cols; ++x)
            blocks.at<std::uint8_t>(y, x) =
                static_cast<std::uint8_t>(twoLevels ? 20 + 200 * random.Below(2) : random.Below(256));
    cv::Mat picture;
    cv::resize(blocks, picture, {}, side, side, cv::INTER_NEAREST);
    return picture(cv::Rect(0, 0, width, height)).clone();
}

double PlainLeast(const cv::Mat& picture, const cv::Mat& piece, const cv::Mat& taken)
{
    double least = std::numeric_limits<float>::max();
    for (int y = 0; y < taken.rows; ++y)
        for (int x = 0; x < taken.cols; ++x)
            if (taken.at<std::uint8_t>(y, x) == 0)
                least = std::min(least, cv::norm(picture(cv::Rect({x, y}, piece.size())), piece, cv::NORM_L2SQR));
    return least;
}

TEST(DisplacedPart, IsTheCubicallyInterpolatedPicture)
{
    const cv::Mat picture = RandomBlocks(90, 70, 3, false, 1);
    std::vector<float> lines;
    for (const double x : {4.0, 5.5, 7.03125, 9.96875, 11.25})
        for (const double y : {3.0, 3.5, 6.71875, 8.0})
        {
            cv::Mat found(40, 53, CV_8U);
            FillDisplaced(picture, x, y, found, lines);
            cv::Mat expected;
            cv::warpAffine(picture, expected, cv::Matx23d(1.0, 0.0, x, 0.0, 1.0, y), found.size(),
                           cv::INTER_CUBIC | cv::WARP_INVERSE_MAP);
            EXPECT_LE(cv::norm(found, expected, cv::NORM_INF), 1.0) << x << ", " << y;
            EXPECT_LE(cv::norm(found, expected, cv::NORM_L1), 0.02 * static_cast<double>(found.total()))
                << x << ", " << y;
        }
}

TEST(DisplacedPart, RoundsPlacesToThirtySeconds)
{
    const cv::Mat picture = RandomBlocks(60, 60, 1, false, 2);
    std::vector<float> lines;
    cv::Mat whole(20, 20, CV_8U);
    cv::Mat close(20, 20, CV_8U);
    FillDisplaced(picture, 7.0, 9.0, whole, lines);
    FillDisplaced(picture, 7.015, 8.985, close, lines);
    EXPECT_EQ(cv::norm(whole, picture(cv::Rect(7, 9, 20, 20)), cv::NORM_INF), 0.0);
    EXPECT_EQ(cv::norm(close, whole, cv::NORM_INF), 0.0);
}

TEST(DifferenceSearch, IsThatOfEveryPlaceTried)
{
    // Two levels in blocks, where bounds leave little to compare, and noise, where they leave nearly all.
    for (const bool noise : {false, true})
        for (std::uint64_t seed = 1; seed <= 6; ++seed)
        {
            const cv::Mat picture = RandomBlocks(150, 130, noise ? 1 : 9, !noise, seed);
            const cv::Rect place(static_cast<int>(20 + 7 * seed), static_cast<int>(60 - 5 * seed), 31, 24);
            cv::Mat piece = picture(place).clone();
            piece(cv::Rect(4, 3, 9, 7)) = 255 - piece(cv::Rect(4, 3, 9, 7));
            cv::Mat taken = cv::Mat::zeros(picture.rows - piece.rows + 1, picture.cols - piece.cols + 1, CV_8U);
            EXPECT_NEAR(DifferenceSearch(picture, piece, taken).Least(), PlainLeast(picture, piece, taken), 64.0);
            taken(cv::Rect(place.x - 15, place.y - 12, 31, 25)).setTo(255);
            const double plain = PlainLeast(picture, piece, taken);
            EXPECT_NEAR(DifferenceSearch(picture, piece, taken).Least(), plain, 1e-5 * plain);
        }
}

TEST(DifferenceSearch, IsTheLargestWhereNoPlaceCounts)
{
    const cv::Mat picture = RandomBlocks(60, 50, 4, false, 3);
    const cv::Mat taken(30, 40, CV_8U, cv::Scalar(255));
    const DifferenceSearch search(picture, picture(cv::Rect(0, 0, 21, 21)), taken);
    EXPECT_EQ(search.Estimate(), std::numeric_limits<float>::max());
    EXPECT_EQ(search.Least(), std::numeric_limits<float>::max());
}

TEST(DifferenceSearch, SaysTheLimitWhereAllDifferMore)
{
    const cv::Mat picture = RandomBlocks(150, 130, 9, true, 4);
    cv::Mat piece = picture(cv::Rect(40, 50, 25, 25)).clone();
    piece(cv::Rect(8, 8, 9, 9)) = 120;
    const cv::Mat taken = cv::Mat::zeros(picture.rows - 24, picture.cols - 24, CV_8U);
    const double least = PlainLeast(picture, piece, taken);
    ASSERT_GT(least, 1000.0);
    const DifferenceSearch search(picture, piece, taken);
    EXPECT_GE(search.Estimate(), least);
    EXPECT_EQ(search.Least(0.9 * least), 0.9 * least);
    EXPECT_EQ(search.Least(1.1 * least), least);
}

} // namespace

} // namespace narvo::test
