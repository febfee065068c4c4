// SPDX-License-Identifier: MIT
// The steps of a registration: reduced pictures, a coarse search, the choice of the global map, the mesh, and the check
// of what came out.
#include "host/golden/registration.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "host/golden/coarse_search.h"
#include "host/golden/map_choice.h"
#include "host/golden/mesh_fit.h"
#include "host/golden/warp.h"
#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

constexpr double dLeastStructure = 0.1; // grey levels per pixel, root mean square along the strongest direction
constexpr int nSeamLine = 8;            // pixels: an edge that lies elsewhere there makes no seam
constexpr int nSeamReach = 64;
constexpr std::size_t nLeastPoints = 6400;
constexpr std::size_t nReducedPoints = 3200; // of a reduced level, whose map the finer ones improve on
constexpr std::size_t nPixelsPerPoint = 100; // of large pictures
constexpr int nCompareStep = 2;              // of the pixels along x and y one in so many is enough for a correlation

std::string Short(double value)
{
    return FormatNumber(std::round(value * 100.0) / 100.0);
}

void CheckSide(const char* field, const GreyImage& picture, std::vector<Problem>& found)
{
    if (std::min(picture.Width(), picture.Height()) < nRegistrationSide)
        found.push_back({field, std::to_string(picture.Width()) + " by " + std::to_string(picture.Height()) + " pixels",
                         "sides of at least " + std::to_string(nRegistrationSide) + " pixels"});
}

void CheckStructure(const char* field, const cv::Mat& picture)
{
    cv::Mat smooth;
    cv::Mat x;
    cv::Mat y;
    picture.convertTo(smooth, CV_32F);
    cv::GaussianBlur(smooth, smooth, {}, 2.0);
    cv::Sobel(smooth, x, CV_32F, 1, 0, 3, 0.125);
    cv::Sobel(smooth, y, CV_32F, 0, 1, 3, 0.125);
    const double xx = x.dot(x);
    const double yy = y.dot(y);
    const double most = 0.5 * (xx + yy) + std::hypot(0.5 * (xx - yy), x.dot(y));
    const double gradient = std::sqrt(most / static_cast<double>(picture.total()));
    if (gradient < dLeastStructure)
        throw HostError({{field,
                          "no structure to register by (gradients of " + Short(gradient) +
                              " grey levels per pixel, root mean square)",
                          "a pattern with gradients of at least " + FormatNumber(dLeastStructure)}});
}

/// Correlation of image and registered reference where both are, and the share of the image where that is, on the
/// pictures of one level.
void Compare(const PictureLevel& level, Registration& registration)
{
    const cv::Mat& reference = level.reference;
    double count = 0.0;
    double a = 0.0;
    double b = 0.0;
    double aa = 0.0;
    double bb = 0.0;
    double ab = 0.0;
    for (int y = 0; y < level.image.rows; y += nCompareStep)
        for (int x = 0; x < level.image.cols; x += nCompareStep)
        {
            const RealPoint place = registration.Map(level.ToWhole(x), level.ToWhole(y));
            const double px = level.FromWhole(place.x);
            const double py = level.FromWhole(place.y);
            if (!(px >= -0.5 && py >= -0.5 && px < reference.cols - 0.5 && py < reference.rows - 0.5))
                continue;
            const int left = std::clamp(static_cast<int>(px), 0, reference.cols - 2);
            const int top = std::clamp(static_cast<int>(py), 0, reference.rows - 2);
            const double fx = std::clamp(px - left, 0.0, 1.0);
            const double fy = std::clamp(py - top, 0.0, 1.0);
            const std::uint8_t* upper = reference.ptr<std::uint8_t>(top) + left;
            const std::uint8_t* lower = reference.ptr<std::uint8_t>(top + 1) + left;
            const double q =
                (1.0 - fy) * (upper[0] + fx * (upper[1] - upper[0])) + fy * (lower[0] + fx * (lower[1] - lower[0]));
            const double p = level.image.at<std::uint8_t>(y, x);
            count += 1.0;
            a += p;
            b += q;
            aa += p * p;
            bb += q * q;
            ab += p * q;
        }
    const auto looked = [](int side) { return (side + nCompareStep - 1) / nCompareStep; };
    registration.overlap = count / (static_cast<double>(looked(level.image.rows)) * looked(level.image.cols));
    const double variances = (aa * count - a * a) * (bb * count - b * b);
    registration.correlation = variances > 0.0 ? (ab * count - a * b) / std::sqrt(variances) : 0.0;
}

void CheckLikeness(const Registration& registration, const RegistrationSettings& settings)
{
    if (!(registration.correlation >= settings.minCorrelation))
        throw HostError({{"image", "correlation with the registered reference " + Short(registration.correlation),
                          "at least " + FormatNumber(settings.minCorrelation) +
                              " (min_correlation); the image shows something else, or lies further off than max_shift, "
                              "max_rotation and max_scale let it be sought"}});
}

} // namespace

void CheckRegistrable(const char* field, const GreyImage& picture)
{
    std::vector<Problem> found;
    CheckSide(field, picture, found);
    ThrowIfAny(std::move(found));
    // As a registration sees it: reduced where the picture is large enough.
    const cv::Mat whole = ViewOf(picture);
    CheckStructure(field, std::min(whole.cols, whole.rows) >= 2 * nRegistrationSide ? Halve(whole) : whole);
}

Registration RegisterImage(const GreyImage& reference, const GreyImage& image, const RegistrationSettings& settings)
{
    std::vector<Problem> found = CheckRegistrationSettings(settings);
    CheckSide("reference", reference, found);
    CheckSide("image", image, found);
    ThrowIfAny(std::move(found));

    const int width = image.Width();
    const int height = image.Height();
    GlobalMap map = MakeGlobalMap(width, height);
    const MapLimits limits = MakeLimits(map, width, height, reference.Width(), reference.Height(), settings);
    const double reach = std::max({limits.high[MapTerm_ShiftX] - limits.low[MapTerm_ShiftX],
                                   limits.high[MapTerm_ShiftY] - limits.low[MapTerm_ShiftY]}) /
                             2.0 +
                         limits.high[MapTerm_Rotation];
    const std::vector<PictureLevel> pictures = BuildPyramid(ViewOf(reference), ViewOf(image), reach);
    const PictureLevel& reduced = pictures[std::min<std::size_t>(1, pictures.size() - 1)];
    CheckStructure("reference", reduced.reference);
    CheckStructure("image", reduced.image);

    const std::size_t wanted =
        std::max(nLeastPoints, static_cast<std::size_t>(width) * static_cast<std::size_t>(height) / nPixelsPerPoint);
    std::vector<EdgeLevel> levels;
    levels.reserve(pictures.size());
    for (const PictureLevel& level : pictures)
        levels.emplace_back(level, &level == &pictures.front() ? wanted : nReducedPoints);
    map = ChooseStart(levels.back(), SearchCoarsely(pictures.back(), map, limits));
    ChosenMap chosen = ChooseMap(levels, limits, map);
    FittedMesh mesh = FitMesh(levels, chosen.fitted, width, height, settings.meshSpacing);
    // A seam is one where no mesh does as well.
    if (std::optional<ChosenMap> stepped = ChooseSeam(levels, limits, map, chosen))
    {
        FittedMesh beside = FitMesh(levels, stepped->fitted, width, height, settings.meshSpacing);
        // Beside the line, where a mesh has only a ramp for the step.
        const Seam& seam = *stepped->fitted.map.seam;
        const EdgePoints& points = levels.front().Points();
        FittedMesh plainBeside = mesh;
        FittedMesh steppedBeside = beside;
        KeepBand(points, seam, nSeamLine, nSeamReach, plainBeside.look);
        KeepBand(points, seam, nSeamLine, nSeamReach, steppedBeside.look);
        if (Explains(points, plainBeside, steppedBeside))
        {
            chosen = std::move(*stepped);
            mesh = std::move(beside);
        }
    }

    Registration registration;
    registration.model = chosen.model;
    registration.atLimit = chosen.fitted.atLimit;
    registration.affine = chosen.fitted.map.Affine();
    registration.seam = chosen.fitted.map.SeamWithStep();
    registration.mesh = std::move(mesh.mesh);
    registration.directions = MapFit::DirectionShare(chosen.fitted.look);
    Compare(reduced, registration);
    DescribeMap(width, height, registration);
    CheckLikeness(registration, settings);
    return registration;
}

} // namespace narvo
