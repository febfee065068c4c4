// SPDX-License-Identifier: MIT
// Correlation by Fourier transform, which goes around the edges by itself, and a least-squares step on the slopes
// (B. D. Lucas and T. Kanade, An iterative image registration technique with an application to stereo vision,
// Proc. IJCAI 1981).
#include "host/cell/cell_registration.h"

#include <algorithm>
#include <cmath>

namespace narvo
{

namespace
{

cv::Mat WithoutMean(const cv::Mat& cell)
{
    return cell - cv::mean(cell);
}

/// The same, `columns` further right and `rows` further down.
cv::Mat Rolled(const cv::Mat& cell, int columns, int rows)
{
    cv::Mat rolled(cell.size(), cell.type());
    for (int y = 0; y < cell.rows; ++y)
        for (int x = 0; x < cell.cols; ++x)
            rolled.at<float>((y + rows + cell.rows) % cell.rows, (x + columns + cell.cols) % cell.cols) =
                cell.at<float>(y, x);
    return rolled;
}

/// From -count/2 to count/2.
double ShortWay(double distance, int count)
{
    return distance - count * std::round(distance / count);
}

} // namespace

CellLight FitLight(const cv::Mat& cell, const cv::Mat& reference)
{
    const cv::Mat one = WithoutMean(cell);
    const cv::Mat other = WithoutMean(reference);
    const double cross = one.dot(other);
    const double square = other.dot(other);
    const double own = one.dot(one);
    CellLight light;
    if (square <= 0.0 || own <= 0.0)
        return light;
    light.gain = cross / square;
    light.offset = cv::mean(cell)[0] - light.gain * cv::mean(reference)[0];
    light.resemblance = cross / std::sqrt(square * own);
    return light;
}

cv::Point2d WholeDisplacement(const cv::Mat& cell, const cv::Mat& reference, cv::Point2d expected, double reach)
{
    // What resembles the best within this share of its correlation is taken for as good.
    constexpr double dAlike = 0.005;
    cv::Mat one;
    cv::Mat other;
    cv::dft(WithoutMean(cell), one, cv::DFT_COMPLEX_OUTPUT);
    cv::dft(WithoutMean(reference), other, cv::DFT_COMPLEX_OUTPUT);
    cv::Mat product;
    cv::mulSpectrums(one, other, product, 0, true);
    cv::Mat correlation;
    cv::dft(product, correlation, cv::DFT_INVERSE | cv::DFT_REAL_OUTPUT | cv::DFT_SCALE);
    const auto within = [&](int x, int y)
    {
        return std::abs(ShortWay(x - expected.x, cell.cols)) <= reach &&
               std::abs(ShortWay(y - expected.y, cell.rows)) <= reach;
    };
    double best = 0.0;
    for (int y = 0; y < cell.rows; ++y)
        for (int x = 0; x < cell.cols; ++x)
            if (within(x, y))
                best = std::max<double>(best, correlation.at<float>(y, x));
    cv::Point2d nearest = expected;
    double distance = -1.0;
    for (int y = 0; y < cell.rows; ++y)
        for (int x = 0; x < cell.cols; ++x)
        {
            if (!within(x, y) || correlation.at<float>(y, x) < best * (1.0 - dAlike))
                continue;
            const cv::Point2d away(ShortWay(x - expected.x, cell.cols), ShortWay(y - expected.y, cell.rows));
            if (const double square = away.dot(away); distance < 0.0 || square < distance)
            {
                distance = square;
                nearest = {static_cast<double>(x), static_cast<double>(y)};
            }
        }
    return {expected.x + ShortWay(nearest.x - expected.x, cell.cols),
            expected.y + ShortWay(nearest.y - expected.y, cell.rows)};
}

cv::Point2d FineDisplacement(const cv::Mat& cell, const cv::Mat& reference)
{
    // A direction along which the pattern changes less than this against the other tells nothing.
    constexpr double dLeastShare = 1e-3;
    const CellLight light = FitLight(cell, reference);
    if (light.gain <= 0.0)
        return {};
    const cv::Mat rest = (cell - light.offset) / light.gain - reference;
    const CellSlopes slopes = SlopesOf(reference);
    const cv::Matx22d normal(slopes.x.dot(slopes.x), slopes.x.dot(slopes.y), slopes.x.dot(slopes.y),
                             slopes.y.dot(slopes.y));
    cv::Vec2d values;
    cv::Matx22d vectors;
    cv::eigen(normal, values, vectors); // rows, the greatest first
    const cv::Vec2d right(-slopes.x.dot(rest), -slopes.y.dot(rest));
    cv::Vec2d found(0.0, 0.0);
    for (int i = 0; i < 2; ++i)
    {
        if (values[i] <= 0.0 || values[i] < dLeastShare * values[0])
            continue;
        const cv::Vec2d direction(vectors(i, 0), vectors(i, 1));
        found += direction * (direction.dot(right) / values[i]);
    }
    return {std::clamp(found[0], -1.0, 1.0), std::clamp(found[1], -1.0, 1.0)};
}

CellSlopes SlopesOf(const cv::Mat& cell)
{
    return {0.5 * (Rolled(cell, -1, 0) - Rolled(cell, 1, 0)), 0.5 * (Rolled(cell, 0, -1) - Rolled(cell, 0, 1))};
}

} // namespace narvo
