// The periodic picture of reference, image, reference, its threshold maps, and the way back of the result.
#include "host/golden/golden.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"
#include "host/inspect/region_maps.h"

namespace narvo
{

namespace
{

constexpr int nTiles = 3;         // reference, image, reference: the three pitches that a comparison wants
constexpr int nColumnGroup = 16;  // a horizontal comparison ends at a multiple of 16 columns
constexpr int nMergeDistance = 0; // pieces of one blob whose boxes touch
constexpr double dFewDirections = 0.1;
constexpr short nNoDifference = 256; // a threshold that no difference exceeds

using Clock = std::chrono::steady_clock;

/// Recipe of the comparison from tile to tile.
Recipe MakeRecipe(int pitch, int height, const GoldenSettings& settings, std::shared_ptr<const RegionMaps> maps)
{
    Recipe recipe;
    recipe.mode = Mode_Zone;
    recipe.direction = Direction_Horizontal;
    recipe.pitchX = pitch;
    recipe.pitchY = height;
    recipe.maps = std::move(maps);
    recipe.maxBlobs = settings.maxBlobs;
    recipe.minArea = settings.minPixels;
    recipe.mergeDistance = nMergeDistance;
    // Every difference answers twice, at the reference before the image and at the one behind: none stands alone, and
    // none needs a further reference.
    recipe.keepSingles = false;
    recipe.filters = false;
    return recipe;
}

/// Lays `image` between two copies of `reference`. Columns that fill a tile up are 0.
GreyImage LayTiles(const GreyImage& reference, const GreyImage& image, int pitch)
{
    GreyImage tiles(nTiles * pitch, image.Height());
    for (int y = 0; y < image.Height(); ++y)
        for (int tile = 0; tile < nTiles; ++tile)
        {
            const std::uint8_t* source = tile == 1 ? image.Row(y) : reference.Row(y);
            std::copy_n(source, image.Width(), tiles.Row(y) + static_cast<std::ptrdiff_t>(tile) * pitch);
        }
    return tiles;
}

/// Thresholds of the comparisons that begin in the reference and of those that begin in the image: the same.
std::shared_ptr<const RegionMaps> LayMaps(const GreyImage& tolerance, const GreyImage& inside, int threshold, int pitch)
{
    const int width = nTiles * pitch;
    auto maps = std::make_shared<RegionMaps>(width, tolerance.Height());
    std::vector<short> offsets(static_cast<std::size_t>(width) * static_cast<std::size_t>(tolerance.Height()),
                               nNoDifference);
    for (int y = 0; y < tolerance.Height(); ++y)
    {
        short* line = offsets.data() + static_cast<std::ptrdiff_t>(y) * width;
        for (int x = 0; x < tolerance.Width(); ++x)
            if (inside.Row(y)[x] != 0)
                line[x] = static_cast<short>(threshold + tolerance.Row(y)[x]);
        std::copy_n(line, pitch, line + pitch);
    }
    maps->Set(RegionMaps::Map_Offset, offsets.data(), width);
    return maps;
}

ReferencePlace PlaceOf(const Blob& blob, const Registration& registration)
{
    ReferencePlace place;
    place.center = registration.Map(blob.center.x, blob.center.y);
    const RealPoint corners[] = {registration.Map(blob.box.left, blob.box.top),
                                 registration.Map(blob.box.right - 1, blob.box.top),
                                 registration.Map(blob.box.left, blob.box.bottom - 1),
                                 registration.Map(blob.box.right - 1, blob.box.bottom - 1)};
    const auto [left, right] = std::minmax({corners[0].x, corners[1].x, corners[2].x, corners[3].x});
    const auto [top, bottom] = std::minmax({corners[0].y, corners[1].y, corners[2].y, corners[3].y});
    place.box = {static_cast<int>(std::floor(left)), static_cast<int>(std::floor(top)),
                 static_cast<int>(std::ceil(right)) + 1, static_cast<int>(std::ceil(bottom)) + 1};
    return place;
}

void MoveIntoImage(Blob& blob, int pitch)
{
    blob.box.left -= pitch;
    blob.box.right -= pitch;
    blob.center.x -= pitch;
    blob.peakPlace.x -= pitch;
}

} // namespace

GoldenResult InspectGolden(Inspector& inspector, int lane, const GoldenModel& model, const GreyImage& image)
{
    const auto start = Clock::now();
    const Registration registration = RegisterImage(model.Mean(), image, model.Settings().registration);
    GoldenResult result = InspectRegistered(inspector, lane, model, image, registration);
    result.inspection.totalMilliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    return result;
}

GoldenResult InspectRegistered(Inspector& inspector, int lane, const GoldenModel& model, const GreyImage& image,
                               const Registration& registration)
{
    const GoldenSettings& settings = model.Settings();
    const int width = image.Width();
    const int height = image.Height();
    GoldenResult result;
    result.registration = registration;
    result.reference = WarpToImage(model.Mean(), result.registration, width, height);
    const GreyImage tolerance = WarpToImage(model.Tolerance(), result.registration, width, height);
    const int margin = static_cast<int>(std::ceil(settings.edgeTolerance));
    const GreyImage inside = InsideReference(result.registration, width, height,
                                             {margin, margin, model.Width() - margin, model.Height() - margin});

    const int pitch = (width + nColumnGroup - 1) / nColumnGroup * nColumnGroup;
    const std::shared_ptr<const RegionMaps> maps = LayMaps(tolerance, inside, settings.threshold, pitch);
    const GreyImage tiles = LayTiles(result.reference, image, pitch);
    result.inspection = inspector.Inspect(lane, tiles, MakeRecipe(pitch, height, settings, maps));

    result.inspection.region = CRect(0, 0, width, height);
    for (Blob& blob : result.inspection.blobs)
    {
        MoveIntoImage(blob, pitch);
        result.places.push_back(PlaceOf(blob, result.registration));
    }
    if (result.registration.directions < dFewDirections)
        result.inspection.warnings.push_back(
            "the pattern hardly changes along one direction: the shift along it is uncertain");
    const cv::Mat mask = ViewOf(inside);
    result.compared = static_cast<double>(cv::countNonZero(mask)) / static_cast<double>(mask.total());
    result.threshold = GreyImage(width, height, 255);
    cv::Mat threshold = ViewOf(result.threshold);
    cv::add(ViewOf(tolerance), cv::Scalar(settings.threshold), threshold, mask);
    return result;
}

} // namespace narvo
