// SPDX-License-Identifier: MIT
// All rotations in steps of a pixel at the corners, each with all shifts, by normalised correlation.
#include "host/golden/coarse_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace narvo
{

namespace
{

constexpr int nLeastSide = 16;   // pixels of the part that is sought
constexpr double dFlatten = 8.0; // pixels: slower changes than that are light
constexpr double dNearer = 1e-4; // of the score that a pixel of the level costs
constexpr double dWorse = 0.25;  // of the score: a candidate that is worse by that is none
constexpr double dMostCorrelation = 0.999999;
constexpr double dLeastSquare = 1.0; // grey levels squared: a pattern has more

/// Without slow changes.
cv::Mat Flatten(const cv::Mat& picture)
{
    cv::Mat flat;
    cv::Mat slow;
    picture.convertTo(flat, CV_32F);
    cv::GaussianBlur(flat, slow, {}, dFlatten, dFlatten, cv::BORDER_REPLICATE);
    flat -= slow;
    return flat;
}

struct Found
{
    double score = 0.0; ///< inverse hyperbolic tangent of the correlation
    MapTerms terms{};
};

/// Which displacements a candidate has.
enum Family : int
{
    Family_None,
    Family_AlongX,
    Family_AlongY,
    Family_Shift,
    Family_Turned,
    nFamilies
};

/// Seeks the middle part of the level's image in its reference.
std::vector<GlobalMap> SeekImage(const PictureLevel& level, const GlobalMap& map, const MapLimits& limits)
{
    const cv::Mat image = Flatten(level.image);
    const cv::Mat reference = Flatten(level.reference);
    const double scale = level.scale;
    // The part of the image that is sought: so much that it stays inside the reference if it can.
    const auto reach = [&](MapTerm term) { return 0.5 * (limits.high[term] - limits.low[term]) / scale; };
    const double corner = reach(MapTerm_Rotation);
    const auto keep = [&](MapTerm term, int side, int referenceSide)
    {
        const double least = std::max<double>(nLeastSide, 0.5 * std::min(side, referenceSide));
        const double room =
            0.5 * std::max(0, side - referenceSide) + std::max(0.0, reach(term) - 0.5 * std::abs(referenceSide - side));
        return static_cast<int>(
            std::clamp(side - 2.0 * (room + corner), std::min<double>(least, side), static_cast<double>(side)));
    };
    const int width = keep(MapTerm_ShiftX, image.cols, reference.cols);
    const int height = keep(MapTerm_ShiftY, image.rows, reference.rows);
    const cv::Rect part((image.cols - width) / 2, (image.rows - height) / 2, width, height);

    const int steps = static_cast<int>(std::ceil(corner));
    const int lowX = static_cast<int>(std::ceil(limits.low[MapTerm_ShiftX] / scale));
    const int highX = std::max(lowX, static_cast<int>(std::floor(limits.high[MapTerm_ShiftX] / scale)));
    const int lowY = static_cast<int>(std::ceil(limits.low[MapTerm_ShiftY] / scale));
    const int highY = std::max(lowY, static_cast<int>(std::floor(limits.high[MapTerm_ShiftY] / scale)));
    std::array<Found, nFamilies> best;
    if (image(part).dot(image(part)) < dLeastSquare * part.area())
        return {map};
    for (int step = -steps; step <= steps; ++step)
    {
        GlobalMap turned = map;
        turned.terms[MapTerm_Rotation] = steps == 0 ? 0.0 : corner * scale * step / steps;
        // The search area as the image would show it, from the least to the greatest shift.
        const AffineMap whole = turned.Affine();
        const double x = level.ToWhole(part.x);
        const double y = level.ToWhole(part.y);
        const RealPoint first = Apply(whole, x, y);
        const cv::Matx23d matrix(whole[0], whole[1], level.FromWhole(first.x) + lowX, whole[3], whole[4],
                                 level.FromWhole(first.y) + lowY);
        cv::Mat area;
        cv::warpAffine(reference, area, matrix, {width + highX - lowX, height + highY - lowY},
                       cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_CONSTANT);
        cv::Mat scores;
        cv::matchTemplate(area, image(part), scores, cv::TM_CCOEFF_NORMED);
        for (int row = 0; row < scores.rows; ++row)
            for (int column = 0; column < scores.cols; ++column)
            {
                const double score = scores.at<float>(row, column);
                if (!std::isfinite(score) || score <= 0.0)
                    continue;
                Found place;
                place.score = std::atanh(std::min(score, dMostCorrelation));
                place.terms = turned.terms;
                place.terms[MapTerm_ShiftX] += scale * (whole[0] * column + whole[1] * row + lowX);
                place.terms[MapTerm_ShiftY] += scale * (whole[3] * column + whole[4] * row + lowY);
                const auto off = [&](MapTerm term)
                { return std::abs(place.terms[term] - 0.5 * (limits.low[term] + limits.high[term])); };
                const double offX = off(MapTerm_ShiftX);
                const double offY = off(MapTerm_ShiftY);
                // Of scores that are as good as the same the nearest.
                place.score -= dNearer * (offX + offY + std::abs(place.terms[MapTerm_Rotation])) / scale;
                const auto offer = [&](Family family)
                {
                    if (place.score > best[family].score)
                        best[family] = place;
                };
                offer(Family_Turned);
                if (step != 0)
                    continue;
                offer(Family_Shift);
                if (offY < 0.5 * scale)
                    offer(Family_AlongX);
                if (offX < 0.5 * scale)
                    offer(Family_AlongY);
                if (offX < 0.5 * scale && offY < 0.5 * scale)
                    offer(Family_None);
            }
    }
    std::vector<GlobalMap> maps;
    double most = 0.0;
    for (const Found& place : best)
        most = std::max(most, place.score);
    for (const Found& place : best)
        if (place.score > 0.0 && place.score > most - dWorse && (maps.empty() || place.terms != maps.back().terms))
        {
            maps.push_back(map);
            maps.back().terms = place.terms;
        }
    if (maps.empty())
        maps.push_back(map);
    return maps;
}

} // namespace

std::vector<GlobalMap> SearchCoarsely(const PictureLevel& level, const GlobalMap& map, const MapLimits& limits)
{
    if (level.image.total() <= level.reference.total())
        return SeekImage(level, map, limits);
    // A part of the larger picture says nothing of where the smaller one lies: the smaller is sought.
    const GlobalMap back = MakeGlobalMap(level.reference.cols * level.scale, level.reference.rows * level.scale);
    MapLimits backLimits = limits;
    for (const MapTerm term : {MapTerm_ShiftX, MapTerm_ShiftY})
    {
        backLimits.low[term] = -limits.high[term];
        backLimits.high[term] = -limits.low[term];
    }
    std::vector<GlobalMap> maps = SeekImage({level.image, level.reference, level.scale}, back, backLimits);
    for (GlobalMap& found : maps)
    {
        const AffineMap affine = found.Affine();
        const double determinant = affine[0] * affine[4] - affine[1] * affine[3];
        const double x = map.centreX - affine[2];
        const double y = map.centreY - affine[5];
        const double rotation = found.terms[MapTerm_Rotation] / found.radius;
        found = map;
        found.terms[MapTerm_Rotation] = -rotation * map.radius;
        found.terms[MapTerm_ShiftX] = (affine[4] * x - affine[1] * y) / determinant - map.centreX;
        found.terms[MapTerm_ShiftY] = (affine[0] * y - affine[3] * x) / determinant - map.centreY;
    }
    return maps;
}

} // namespace narvo
