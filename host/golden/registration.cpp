// The global part of a registration: rotations are tried on reduced pictures, each with the best of all shifts; the
// enhanced correlation coefficient then refines an affine map from level to level of a pyramid.
#include "host/golden/registration.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>
#include <string>

#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>

#include "host/golden/mesh_fit.h"
#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

using Affine = std::array<double, 6>;

constexpr int nCoarsestSide = 96; // pixels: a reduced picture's shorter side is no shorter
constexpr double dCoarseReach =
    4.0; // pixels that a pattern may be off on the coarsest level, where it can be reduced so far
constexpr int nAffineSide = 1024; // pixels: the affine map is fitted on pictures of no longer side; the mesh goes on
constexpr int nIterations = 60;
constexpr double dLeastGain = 1e-6;    // of the correlation, by an iteration
constexpr int nSmooth = 5;             // pixels, side of the filter ahead of the fit
constexpr double dLeastGradient = 0.1; // grey levels per pixel, root mean square along the weakest direction of all
constexpr int nBandRows = 256;         // of a picture, worked on at a time
constexpr double dHalfPixel = 0.5;     // from a pixel's centre to its side
constexpr double dDegree = std::numbers::pi / 180.0;

std::string Range(double low, double high, const char* unit)
{
    return FormatNumber(low) + " to " + FormatNumber(high) + " " + unit;
}

std::string Short(double value)
{
    return FormatNumber(std::round(value * 100.0) / 100.0);
}

std::string SizeText(const GreyImage& image)
{
    return std::to_string(image.Width()) + " by " + std::to_string(image.Height()) + " pixels";
}

void CheckSide(const char* field, const GreyImage& picture, std::vector<Problem>& found)
{
    if (std::min(picture.Width(), picture.Height()) < nRegistrationSide)
        found.push_back(
            {field, SizeText(picture), "sides of at least " + std::to_string(nRegistrationSide) + " pixels"});
}

void CheckSizes(const GreyImage& reference, const GreyImage& image, const RegistrationSettings& settings)
{
    std::vector<Problem> found = CheckRegistrationSettings(settings);
    CheckSide("reference", reference, found);
    CheckSide("image", image, found);
    if (!found.empty())
        throw HostError(std::move(found));

    const int side = std::min({image.Width(), image.Height(), reference.Width(), reference.Height()});
    if (settings.maxShift > side / dMaxShiftShare)
        found.push_back({"max_shift", FormatNumber(settings.maxShift),
                         Range(0.0, side / dMaxShiftShare, "pixels, a quarter of the shortest side")});
    else if (std::abs(reference.Width() - image.Width()) > settings.maxShift ||
             std::abs(reference.Height() - image.Height()) > settings.maxShift)
        found.push_back({"image", SizeText(image),
                         "the reference's " + SizeText(reference) + ", or a difference of at most max_shift (" +
                             FormatNumber(settings.maxShift) + " pixels)"});
    ThrowIfAny(std::move(found));
}

/// Root mean square gradients along the weakest and the strongest direction, grey levels per pixel.
std::pair<double, double> GradientRange(const cv::Mat& picture)
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
    const double xy = x.dot(y);
    const double middle = 0.5 * (xx + yy);
    const double spread = std::hypot(0.5 * (xx - yy), xy);
    const double pixels = static_cast<double>(picture.total());
    return {std::sqrt(std::max(0.0, middle - spread) / pixels), std::sqrt((middle + spread) / pixels)};
}

/// @return the weakest direction's share of the strongest
double CheckStructure(const char* field, const cv::Mat& picture)
{
    const auto [least, most] = GradientRange(picture);
    if (most < dLeastGradient)
        throw HostError(
            {{field,
              "no structure to register by (gradients of " + Short(most) + " grey levels per pixel, root mean square)",
              "a pattern with gradients of at least " + FormatNumber(dLeastGradient)}});
    return least / most;
}

/// Both pictures at one level of the pyramid. A pixel of level k covers 2^k by 2^k pixels.
struct Level
{
    cv::Mat reference;
    cv::Mat image;
};

std::vector<Level> BuildPyramid(const cv::Mat& reference, const cv::Mat& image, const RegistrationSettings& settings)
{
    const double diagonal = std::hypot(image.cols, image.rows);
    double reach = settings.maxShift + 0.5 * diagonal * settings.maxRotation * dDegree;
    std::vector<Level> levels = {{reference, image}};
    const auto shorter = [&]
    {
        return std::min({levels.back().image.cols, levels.back().image.rows, levels.back().reference.cols,
                         levels.back().reference.rows});
    };
    const auto longer = [&] { return std::max(levels.back().image.cols, levels.back().image.rows); };
    while (shorter() >= 2 * nCoarsestSide && (reach > dCoarseReach || longer() > nAffineSide))
    {
        const auto halve = [](const cv::Mat& source)
        {
            // Whole blocks only, so that a pixel of the next level covers exactly four.
            cv::Mat target;
            cv::resize(source(cv::Rect(0, 0, source.cols & ~1, source.rows & ~1)), target, {}, 0.5, 0.5,
                       cv::INTER_AREA);
            return target;
        };
        levels.push_back({halve(levels.back().reference), halve(levels.back().image)});
        reach *= 0.5;
    }
    return levels;
}

/// The map at the next finer level: a pixel x of the coarser covers 2 x and 2 x + 1 of the finer.
Affine Refine(const Affine& coarse)
{
    Affine fine = coarse;
    fine[2] = 2.0 * coarse[2] + 0.5 - 0.5 * (coarse[0] + coarse[1]);
    fine[5] = 2.0 * coarse[5] + 0.5 - 0.5 * (coarse[3] + coarse[4]);
    return fine;
}

RealPoint Apply(const Affine& affine, double x, double y)
{
    return {affine[0] * x + affine[1] * y + affine[2], affine[3] * x + affine[4] * y + affine[5]};
}

/// Rotation about the image's centre, the reference shifted from the upper left corners' agreement.
Affine Rotation(double angle, double shiftX, double shiftY, const cv::Size& image)
{
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const double x = 0.5 * (image.width - 1);
    const double y = 0.5 * (image.height - 1);
    return {c, -s, x - c * x + s * y + shiftX, s, c, y - s * x - c * y + shiftY};
}

/// The best rotation and shift of whole pixels by correlation on reduced pictures. Pictures without contrast there give
/// no rotation and no shift.
Affine SearchCoarsely(const Level& level, int depth, const RegistrationSettings& settings)
{
    const cv::Size size = level.image.size();
    const double radius = 0.5 * std::hypot(size.width, size.height);
    const double most = settings.maxRotation * dDegree;
    const int steps = static_cast<int>(std::ceil(most * radius)); // one pixel at the corners
    const int shift = static_cast<int>(std::ceil(std::ldexp(settings.maxShift, -depth)));
    // The part of the image that stays inside the reference.
    const int margin = std::min(shift + static_cast<int>(std::ceil(radius * std::sin(most))),
                                (std::min(size.width, size.height) - 16) / 2);
    const cv::Rect inner(margin, margin, size.width - 2 * margin, size.height - 2 * margin);
    const cv::Mat part = level.image(inner);

    Affine best = Rotation(0.0, 0.0, 0.0, size);
    float bestScore = 0.0F;
    for (int step = -steps; step <= steps; ++step)
    {
        const double angle = steps == 0 ? 0.0 : most * step / steps;
        // The search area: the image's inner part, grown by the shift, where it lies in the reference.
        const Affine turn = Rotation(angle, 0.0, 0.0, size);
        const RealPoint corner = Apply(turn, inner.x - shift, inner.y - shift);
        const cv::Matx23d map(turn[0], turn[1], corner.x, turn[3], turn[4], corner.y);
        cv::Mat area;
        cv::warpAffine(level.reference, area, map, {inner.width + 2 * shift, inner.height + 2 * shift},
                       cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_REPLICATE);
        cv::Mat scores;
        cv::matchTemplate(area, part, scores, cv::TM_CCOEFF_NORMED);
        for (int y = 0; y < scores.rows; ++y)
            for (int x = 0; x < scores.cols; ++x)
                if (const float score = scores.at<float>(y, x); std::isfinite(score) && score > bestScore)
                {
                    bestScore = score;
                    best = turn;
                    best[2] += turn[0] * (x - shift) + turn[1] * (y - shift);
                    best[5] += turn[3] * (x - shift) + turn[4] * (y - shift);
                }
    }
    return best;
}

/// Refines the map on one level. @return false when the fit gave up
bool FitAffine(const Level& level, bool affineModel, Affine& affine)
{
    cv::Mat map = (cv::Mat_<float>(2, 3) << affine[0], affine[1], affine[2], affine[3], affine[4], affine[5]);
    try
    {
        cv::findTransformECC(level.image, level.reference, map, affineModel ? cv::MOTION_AFFINE : cv::MOTION_EUCLIDEAN,
                             {cv::TermCriteria::COUNT | cv::TermCriteria::EPS, nIterations, dLeastGain}, cv::noArray(),
                             nSmooth);
    }
    catch (const cv::Exception&)
    {
        return false; // the pictures have nothing in common, or one of them is flat
    }
    for (int i = 0; i < 6; ++i)
        affine[static_cast<std::size_t>(i)] = map.at<float>(i / 3, i % 3);
    return std::all_of(affine.begin(), affine.end(), [](double value) { return std::isfinite(value); });
}

/// Correlation of image and registered reference where both are, and the share of the image where that is.
void Compare(const cv::Mat& reference, const cv::Mat& image, Registration& registration)
{
    double count = 0.0;
    double a = 0.0;
    double b = 0.0;
    double aa = 0.0;
    double bb = 0.0;
    double ab = 0.0;
    for (int top = 0; top < image.rows; top += nBandRows)
    {
        const int rows = std::min(nBandRows, image.rows - top);
        cv::Mat x(rows, image.cols, CV_32F);
        cv::Mat y(rows, image.cols, CV_32F);
        PlacesInReference(registration.affine, registration.mesh, top, x, y);
        cv::Mat warped;
        cv::remap(reference, warped, x, y, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
        for (int i = 0; i < rows; ++i)
        {
            const std::uint8_t* p = image.ptr<std::uint8_t>(top + i);
            const std::uint8_t* q = warped.ptr<std::uint8_t>(i);
            const float* px = x.ptr<float>(i);
            const float* py = y.ptr<float>(i);
            for (int k = 0; k < image.cols; ++k)
                if (px[k] >= -dHalfPixel && py[k] >= -dHalfPixel && px[k] < reference.cols - dHalfPixel &&
                    py[k] < reference.rows - dHalfPixel)
                {
                    count += 1.0;
                    a += p[k];
                    b += q[k];
                    aa += p[k] * p[k];
                    bb += q[k] * q[k];
                    ab += p[k] * q[k];
                }
        }
    }
    registration.overlap = count / static_cast<double>(image.total());
    const double variances = (aa * count - a * a) * (bb * count - b * b);
    registration.correlation = variances > 0.0 ? (ab * count - a * b) / std::sqrt(variances) : 0.0;
}

/// The numbers for people, from the map.
void Describe(const cv::Size& image, Registration& registration)
{
    const Affine& a = registration.affine;
    const double x = 0.5 * (image.width - 1);
    const double y = 0.5 * (image.height - 1);
    const RealPoint centre = Apply(a, x, y);
    registration.shiftX = x - centre.x;
    registration.shiftY = y - centre.y;
    // From the reference to the image.
    const double determinant = a[0] * a[4] - a[1] * a[3];
    const double xx = a[4] / determinant;
    const double xy = -a[1] / determinant;
    const double yx = -a[3] / determinant;
    const double yy = a[0] / determinant;
    registration.scaleX = std::hypot(xx, yx);
    registration.scaleY = std::hypot(xy, yy);
    registration.rotation = std::atan2(yx - xy, xx + yy) / dDegree;
    registration.shear =
        std::asin(std::clamp((xx * xy + yx * yy) / (registration.scaleX * registration.scaleY), -1.0, 1.0)) / dDegree;
    registration.largestLocal = 0.0;
    for (std::size_t i = 0; i < registration.mesh.x.size(); ++i)
        registration.largestLocal =
            std::max<double>(registration.largestLocal, std::hypot(registration.mesh.x[i], registration.mesh.y[i]));
}

void CheckLimits(const Registration& registration, const RegistrationSettings& settings)
{
    if (!(registration.correlation >= settings.minCorrelation))
        throw HostError({{"image", "correlation with the registered reference " + Short(registration.correlation),
                          "at least " + FormatNumber(settings.minCorrelation) +
                              " (min_correlation); the image shows something else, or lies further off than max_shift, "
                              "max_rotation and max_scale let it be sought"}});
    std::vector<Problem> found;
    const auto check =
        [&](const char* what, double value, double limit, double slack, const char* unit, const char* field)
    {
        if (!(std::abs(value) <= limit + slack))
            found.push_back({"image", std::string(what) + " of " + Short(value) + " " + unit,
                             "at most " + FormatNumber(limit) + " " + unit + " (" + field + ")"});
    };
    check("a shift along x", registration.shiftX, settings.maxShift, dHalfPixel, "pixels", "max_shift");
    check("a shift along y", registration.shiftY, settings.maxShift, dHalfPixel, "pixels", "max_shift");
    check("a rotation", registration.rotation, settings.maxRotation, 0.1, "degrees", "max_rotation");
    check("a scale along x off by", 100.0 * (registration.scaleX - 1.0), settings.maxScale, 0.05, "percent",
          "max_scale");
    check("a scale along y off by", 100.0 * (registration.scaleY - 1.0), settings.maxScale, 0.05, "percent",
          "max_scale");
    check("a shear", 100.0 * std::tan(registration.shear * dDegree), settings.maxScale, 0.05, "percent", "max_scale");
    ThrowIfAny(std::move(found));
}

} // namespace

RealPoint OffsetMesh::At(double px, double py) const
{
    if (spacing == 0)
        return {0.0, 0.0};
    const auto cell = [this](double place, int nodes)
    { return std::clamp(static_cast<int>(std::floor(place / spacing)), 0, nodes - 2); };
    const int column = cell(px, columns);
    const int row = cell(py, rows);
    const double fx = px / spacing - column;
    const double fy = py / spacing - row;
    const auto value = [&](const std::vector<float>& values)
    {
        const float* node = values.data() + static_cast<std::ptrdiff_t>(row) * columns + column;
        return (1.0 - fy) * ((1.0 - fx) * node[0] + fx * node[1]) +
               fy * ((1.0 - fx) * node[columns] + fx * node[columns + 1]);
    };
    return {value(x), value(y)};
}

RealPoint Registration::Map(double x, double y) const
{
    const RealPoint place = Apply(affine, x, y);
    const RealPoint offset = mesh.At(x, y);
    return {place.x + offset.x, place.y + offset.y};
}

std::vector<Problem> CheckRegistrationSettings(const RegistrationSettings& settings)
{
    std::vector<Problem> found;
    const auto check = [&](const char* field, double value, double high, const char* unit)
    {
        if (!(value >= 0.0 && value <= high))
            found.push_back({field, FormatNumber(value), Range(0.0, high, unit)});
    };
    check("max_shift", settings.maxShift, dMaxShiftHigh, "pixels");
    check("max_rotation", settings.maxRotation, dMaxRotationHigh, "degrees");
    check("max_scale", settings.maxScale, dMaxScaleHigh, "percent");
    if (!(settings.minCorrelation >= 0.0 && settings.minCorrelation <= 1.0))
        found.push_back({"min_correlation", FormatNumber(settings.minCorrelation), "0 to 1"});
    if (settings.meshSpacing != 0 &&
        (settings.meshSpacing < nMeshSpacingLow || settings.meshSpacing > nMeshSpacingHigh))
        found.push_back({"mesh_spacing", std::to_string(settings.meshSpacing),
                         Range(nMeshSpacingLow, nMeshSpacingHigh, "pixels, or 0 for no mesh")});
    return found;
}

void CheckRegistrable(const char* field, const GreyImage& picture)
{
    std::vector<Problem> found;
    CheckSide(field, picture, found);
    ThrowIfAny(std::move(found));
    CheckStructure(field, ViewOf(picture));
}

Registration RegisterImage(const GreyImage& reference, const GreyImage& image, const RegistrationSettings& settings)
{
    CheckSizes(reference, image, settings);
    const std::vector<Level> levels = BuildPyramid(ViewOf(reference), ViewOf(image), settings);
    const auto affineLevel =
        std::find_if(levels.begin(), levels.end(),
                     [](const Level& level) { return std::max(level.image.cols, level.image.rows) <= nAffineSide; });
    const int last = affineLevel == levels.end() ? static_cast<int>(levels.size()) - 1
                                                 : static_cast<int>(affineLevel - levels.begin());

    Registration registration;
    registration.directions = CheckStructure("reference", levels[static_cast<std::size_t>(last)].reference);
    CheckStructure("image", levels[static_cast<std::size_t>(last)].image);

    int depth = static_cast<int>(levels.size()) - 1;
    Affine affine = SearchCoarsely(levels.back(), depth, settings);
    bool fitted = FitAffine(levels.back(), depth == last, affine);
    for (; fitted && depth > last; --depth)
    {
        affine = Refine(affine);
        fitted = FitAffine(levels[static_cast<std::size_t>(depth - 1)], true, affine);
    }
    if (!fitted)
        throw HostError({{"image", "the registration found no agreement with the reference",
                          "an image that shows what the reference shows, within max_shift, max_rotation, max_scale"}});

    OffsetMesh mesh;
    for (; depth >= 0; --depth)
    {
        const Level& level = levels[static_cast<std::size_t>(depth)];
        if (depth < last)
            affine = Refine(affine);
        if (settings.meshSpacing == 0)
            continue;
        mesh = mesh.spacing == 0 ? MakeMesh(level.image.cols, level.image.rows, settings.meshSpacing)
                                 : RefineMesh(mesh, level.image.cols, level.image.rows);
        FitMesh(level.reference, level.image, affine, mesh);
    }
    registration.affine = affine;
    registration.mesh = std::move(mesh);
    Compare(ViewOf(reference), ViewOf(image), registration);
    Describe({image.Width(), image.Height()}, registration);
    CheckLimits(registration, settings);
    return registration;
}

namespace
{

/// Runs `use(x, y, first row)` with the places of one band of image rows after the other.
template <typename Use>
void ForBands(const Registration& registration, int width, int height, Use use)
{
    for (int top = 0; top < height; top += nBandRows)
    {
        cv::Mat x(std::min(nBandRows, height - top), width, CV_32F);
        cv::Mat y(x.size(), CV_32F);
        PlacesInReference(registration.affine, registration.mesh, top, x, y);
        use(x, y, top);
    }
}

} // namespace

GreyImage WarpToImage(const GreyImage& source, const Registration& registration, int width, int height)
{
    GreyImage target(width, height);
    cv::Mat view = ViewOf(target);
    ForBands(registration, width, height,
             [&](const cv::Mat& x, const cv::Mat& y, int top)
             {
                 cv::Mat band = view.rowRange(top, top + x.rows);
                 cv::remap(ViewOf(source), band, x, y, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
             });
    return target;
}

GreyImage InsideReference(const Registration& registration, int width, int height, const CRect& area)
{
    GreyImage target(width, height);
    cv::Mat view = ViewOf(target);
    ForBands(registration, width, height,
             [&](const cv::Mat& x, const cv::Mat& y, int top)
             {
                 const cv::Mat inside = (x >= area.left - dHalfPixel) & (x < area.right - dHalfPixel) &
                                        (y >= area.top - dHalfPixel) & (y < area.bottom - dHalfPixel);
                 inside.copyTo(view.rowRange(top, top + x.rows));
             });
    return target;
}

} // namespace narvo
