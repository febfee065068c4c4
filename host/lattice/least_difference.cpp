// SPDX-License-Identifier: MIT
// The sums of a piece's quarters bound its difference from below, so that few places are compared pixel by pixel. Where
// the bound leaves many, as in noise, all places are compared at once by Fourier transforms.
#include "host/lattice/least_difference.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include <opencv2/imgproc.hpp>

namespace narvo
{

namespace
{

constexpr float fMost = std::numeric_limits<float>::max();
constexpr float fRounded = 0.9999F;     // of a bound: what rounding may have added is taken off
constexpr double dDirectPixels = 256.0; // compared for each place: beyond, Fourier transforms are faster

/// A bound for each place: the mean of a quarter's differences, squared, is no more than the mean of the squares.
cv::Mat Bounds(const cv::Mat& picture, const cv::Mat& piece)
{
    cv::Mat sums;
    cv::integral(picture, sums, CV_32S);
    cv::Mat bounds = cv::Mat::zeros(picture.rows - piece.rows + 1, picture.cols - piece.cols + 1, CV_32F);
    for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 2; ++column)
        {
            const int left = column * piece.cols / 2;
            const int right = (column + 1) * piece.cols / 2;
            const int top = row * piece.rows / 2;
            const int bottom = (row + 1) * piece.rows / 2;
            const cv::Mat quarter = piece(cv::Range(top, bottom), cv::Range(left, right));
            const int own = static_cast<int>(cv::sum(quarter)[0]);
            const float share = fRounded / static_cast<float>(quarter.total());
            for (int y = 0; y < bounds.rows; ++y)
            {
                const int* above = sums.ptr<int>(y + top);
                const int* below = sums.ptr<int>(y + bottom);
                float* bound = bounds.ptr<float>(y);
                for (int x = 0; x < bounds.cols; ++x)
                {
                    const int all = below[x + right] - below[x + left] - above[x + right] + above[x + left];
                    const auto difference = static_cast<float>(all - own);
                    bound[x] += share * difference * difference;
                }
            }
        }
    return bounds;
}

int SquaredDifference(const std::uint8_t* a, const std::uint8_t* b, int width)
{
    int sum = 0;
    for (int x = 0; x < width; ++x)
    {
        const int difference = a[x] - b[x];
        sum += difference * difference;
    }
    return sum;
}

/// The squared difference at a place, or anything above `enough` where it is more.
double DifferenceAt(const cv::Mat& picture, const cv::Mat& piece, const cv::Point& place, double enough)
{
    double sum = 0.0;
    for (int y = 0; y < piece.rows && sum <= enough; ++y)
        sum +=
            SquaredDifference(picture.ptr<std::uint8_t>(place.y + y) + place.x, piece.ptr<std::uint8_t>(y), piece.cols);
    return sum;
}

double LeastByTransforms(const cv::Mat& picture, const cv::Mat& piece, const cv::Mat& taken)
{
    cv::Mat differences;
    cv::matchTemplate(picture, piece, differences, cv::TM_SQDIFF);
    differences.setTo(fMost, taken);
    double least = 0.0;
    cv::minMaxLoc(differences, &least);
    return std::max(0.0, least);
}

} // namespace

DifferenceSearch::DifferenceSearch(const cv::Mat& picture, const cv::Mat& piece, const cv::Mat& taken)
    : m_picture(picture), m_piece(piece), m_taken(taken), m_bounds(Bounds(picture, piece))
{
    m_bounds.setTo(fMost, taken);
    double lowest = 0.0;
    cv::Point first;
    cv::minMaxLoc(m_bounds, &lowest, nullptr, &first);
    m_estimate = lowest < fMost ? DifferenceAt(picture, piece, first, fMost) : fMost;
}

double DifferenceSearch::Least(double limit) const
{
    double least = std::min(m_estimate, limit);
    const double left = cv::countNonZero(m_bounds < least);
    if (left * static_cast<double>(m_piece.total()) > dDirectPixels * static_cast<double>(m_bounds.total()))
        return std::min(least, LeastByTransforms(m_picture, m_piece, m_taken));
    for (int y = 0; y < m_bounds.rows; ++y)
    {
        const float* bound = m_bounds.ptr<float>(y);
        for (int x = 0; x < m_bounds.cols; ++x)
            if (bound[x] < least)
                least = std::min(least, DifferenceAt(m_picture, m_piece, {x, y}, least));
    }
    return least;
}

} // namespace narvo
