// SPDX-License-Identifier: MIT
// The periodic picture of reference, image, reference, its threshold maps, and the way back of the result.
#include "host/golden/golden.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"
#include "host/inspect/elapsed.h"
#include "host/zones/region_maps.h"

namespace narvo
{

namespace
{

constexpr int nTiles = 3;         // reference, image, reference: the three pitches that a comparison needs
constexpr int nColumnGroup = 16;  // a horizontal comparison ends at a multiple of 16 columns
constexpr int nMergeDistance = 0; // pieces of one blob whose boxes touch
constexpr double dFewDirections = 0.1;
constexpr short nNoDifference = 256; // a threshold that no difference exceeds

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
std::shared_ptr<const RegionMaps> LayMaps(const GreyImage& threshold, int pitch)
{
    const int width = nTiles * pitch;
    auto maps = std::make_shared<RegionMaps>(width, threshold.Height());
    std::vector<short> offsets(static_cast<std::size_t>(width) * static_cast<std::size_t>(threshold.Height()),
                               nNoDifference);
    for (int y = 0; y < threshold.Height(); ++y)
    {
        short* line = offsets.data() + static_cast<std::ptrdiff_t>(y) * width;
        std::copy_n(threshold.Row(y), threshold.Width(), line);
        std::copy_n(line, pitch, line + pitch);
    }
    maps->Set(RegionMaps::Map_Offset, offsets.data(), width);
    return maps;
}

/// 255 where the image is compared: inside the reference, and away from a seam.
GreyImage ComparedPixels(const Registration& registration, int width, int height, const CRect& area, int margin)
{
    GreyImage inside = InsideReference(registration, width, height, area);
    if (const std::optional<Seam>& seam = registration.seam)
    {
        const int side = seam->vertical ? width : height;
        const int from = std::clamp(seam->place - margin, 0, side);
        const int to = std::clamp(seam->place + margin, 0, side);
        cv::Mat view = ViewOf(inside);
        (seam->vertical ? view.colRange(from, to) : view.rowRange(from, to)).setTo(0);
    }
    return inside;
}

/// What each pixel may differ by: `base`, or more where the range reaches further to the side on which it differs; 255
/// where nothing is compared.
GreyImage ThresholdOf(const GreyImage& reference, const GreyImage& image, const GreyRange& range,
                      const GreyImage& nearEdge, const GreyImage& inside, const NoiseThreshold& base)
{
    GreyImage threshold(image.Width(), image.Height());
    for (int y = 0; y < image.Height(); ++y)
    {
        const std::uint8_t* expected = reference.Row(y);
        const std::uint8_t* shown = image.Row(y);
        const std::uint8_t* low = range.darkest.Row(y);
        const std::uint8_t* high = range.brightest.Row(y);
        const std::uint8_t* mask = inside.Row(y);
        const std::uint8_t* close = nearEdge.Row(y);
        std::uint8_t* line = threshold.Row(y);
        for (int x = 0; x < image.Width(); ++x)
        {
            const int play = shown[x] > expected[x] ? high[x] - expected[x] : expected[x] - low[x];
            // The range holds noise of the reference already: half of the base is added to it.
            const int least = close[x] != 0 ? base.nearEdge : base.flat;
            const int most = std::min(255, std::max(least, play + least / 2));
            line[x] = static_cast<std::uint8_t>(mask[x] != 0 ? most : 255);
        }
    }
    return threshold;
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
    const auto start = std::chrono::steady_clock::now();
    const Registration registration = RegisterImage(model.Mean(), image, model.Settings().registration);
    GoldenResult result = InspectRegistered(inspector, lane, model, image, registration);
    result.inspection.totalMilliseconds = MillisecondsSince(start);
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
    const int margin = static_cast<int>(std::ceil(settings.edgeTolerance));
    const GreyImage inside = ComparedPixels(registration, width, height,
                                            {margin, margin, model.Width() - margin, model.Height() - margin}, margin);
    std::vector<GreyImage> pictures =
        WarpAllToImage({&model.Mean(), &model.Range().darkest, &model.Range().brightest, &model.NearEdge()},
                       registration, width, height);
    result.reference = std::move(pictures[0]);
    GreyRange range{std::move(pictures[1]), std::move(pictures[2])};
    const GreyImage nearEdge = std::move(pictures[3]);
    result.light = FitLight(result.reference, image, inside);
    for (int y = 0; y < height; ++y)
        for (GreyImage* picture : {&result.reference, &range.darkest, &range.brightest})
            result.light.Apply(y, picture->Row(y), width);
    result.base = ThresholdFromNoise(result.reference, image, range, nearEdge, inside);
    if (settings.threshold > 0)
        result.base.flat = result.base.nearEdge = settings.threshold;
    result.threshold = ThresholdOf(result.reference, image, range, nearEdge, inside, result.base);

    const int pitch = (width + nColumnGroup - 1) / nColumnGroup * nColumnGroup;
    const std::shared_ptr<const RegionMaps> maps = LayMaps(result.threshold, pitch);
    const GreyImage tiles = LayTiles(result.reference, image, pitch);
    result.inspection = inspector.Inspect(lane, tiles, CheckedRecipe(MakeRecipe(pitch, height, settings, maps)));

    result.inspection.region = CRect(0, 0, width, height);
    for (Blob& blob : result.inspection.blobs)
    {
        MoveIntoImage(blob, pitch);
        result.places.push_back(PlaceOf(blob, result.registration));
    }
    if (result.registration.directions < dFewDirections)
        result.inspection.warnings.push_back(
            "the pattern hardly changes along one direction: the shift along it is uncertain");
    if (result.registration.atLimit)
        result.inspection.warnings.push_back("the registration is held back by max_shift, max_rotation or max_scale");
    if (const std::optional<Seam>& seam = result.registration.seam)
        result.inspection.warnings.push_back(
            std::string("a ") + (seam->vertical ? "vertical seam at column " : "horizontal seam at row ") +
            std::to_string(seam->place) + ": the pattern behind it is displaced by " +
            FormatNumber(std::round(seam->step.x * 100.0) / 100.0) + ", " +
            FormatNumber(std::round(seam->step.y * 100.0) / 100.0) + " pixels; the line itself is not compared");
    const cv::Mat mask = ViewOf(inside);
    result.compared = static_cast<double>(cv::countNonZero(mask)) / static_cast<double>(mask.total());
    return result;
}

} // namespace narvo
