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

#include "host/golden/edge_growth.h"
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
    for (int y = 0; y < threshold.Height(); ++y)
    {
        // Written in place: the values of bytes lie in the map's range.
        short* line = maps->Data(RegionMaps::Map_Offset) + static_cast<std::ptrdiff_t>(y) * maps->Stride();
        std::fill_n(line, width, nNoDifference);
        std::copy_n(threshold.Row(y), threshold.Width(), line);
        std::copy_n(line, pitch, line + pitch);
    }
    return maps;
}

/// Takes what lies along a seam out of what is compared.
void LeaveSeamOut(const std::optional<Seam>& seam, int margin, GreyImage& inside)
{
    if (!seam)
        return;
    const int side = seam->vertical ? inside.Width() : inside.Height();
    const int from = std::clamp(seam->place - margin, 0, side);
    const int to = std::clamp(seam->place + margin, 0, side);
    cv::Mat view = ViewOf(inside);
    (seam->vertical ? view.colRange(from, to) : view.rowRange(from, to)).setTo(0);
}

/// What the pixels may differ by: `base`, or more where the range reaches further to the side on which it differs.
class Limits
{
public:
    Limits(const GreyImage& reference, const GreyImage& image, const GreyRange& range, const GreyImage& nearEdge,
           const NoiseThreshold& base)
        : m_reference(reference), m_image(image), m_range(range), m_nearEdge(nearEdge), m_base(base)
    {
    }

    /// 255 where `inside` is 0: nothing is compared there.
    GreyImage Thresholds(const GreyImage& inside) const
    {
        GreyImage threshold(m_image.Width(), m_image.Height());
        for (int y = 0; y < m_image.Height(); ++y)
        {
            const Row row(*this, y);
            const std::uint8_t* mask = inside.Row(y);
            std::uint8_t* line = threshold.Row(y);
            for (int x = 0; x < m_image.Width(); ++x)
                line[x] = static_cast<std::uint8_t>(mask[x] != 0 ? std::min(255, Row::Limit(row.Play(x), row.Least(x)))
                                                                 : 255);
        }
        return threshold;
    }

    /// Whether a pixel in the box differs by more than an edge explains that lies a whole pixel further off than the
    /// tolerance. Where none does, there is but an edge a fraction of a pixel beyond it.
    bool IsMoreThanAnEdge(const CRect& box) const
    {
        for (int y = std::max(0, box.top); y < std::min(m_image.Height(), box.bottom); ++y)
        {
            const Row row(*this, y);
            for (int x = std::max(0, box.left); x < std::min(m_image.Width(), box.right); ++x)
            {
                const int play = static_cast<int>(row.Play(x) / dOuterShare);
                if (std::abs(row.Difference(x)) > Row::Limit(play, row.Least(x)))
                    return true;
            }
        }
        return false;
    }

private:
    struct Row
    {
        Row(const Limits& limits, int y)
            : expected(limits.m_reference.Row(y)), shown(limits.m_image.Row(y)), low(limits.m_range.darkest.Row(y)),
              high(limits.m_range.brightest.Row(y)), close(limits.m_nearEdge.Row(y)), base(limits.m_base)
        {
        }
        int Difference(int x) const { return shown[x] - expected[x]; }
        int Play(int x) const { return shown[x] > expected[x] ? high[x] - expected[x] : expected[x] - low[x]; }
        int Least(int x) const { return close[x] != 0 ? base.nearEdge : base.flat; }
        /// The range holds noise of the reference already: half of the base is added to it.
        static int Limit(int play, int least) { return std::max(least, play + least / 2); }

        const std::uint8_t* expected;
        const std::uint8_t* shown;
        const std::uint8_t* low;
        const std::uint8_t* high;
        const std::uint8_t* close;
        NoiseThreshold base;
    };

    const GreyImage& m_reference;
    const GreyImage& m_image;
    const GreyRange& m_range;
    const GreyImage& m_nearEdge;
    const NoiseThreshold& m_base;
};

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
    GreyImage inside;
    std::vector<GreyImage> pictures = WarpAllToImage(
        {&model.Mean(), &model.Range().darkest, &model.Range().brightest, &model.NearEdge()}, registration, width,
        height, {margin, margin, model.Width() - margin, model.Height() - margin}, inside);
    LeaveSeamOut(registration.seam, margin, inside);
    result.reference = std::move(pictures[0]);
    GreyRange range{std::move(pictures[1]), std::move(pictures[2])};
    const GreyImage nearEdge = std::move(pictures[3]);
    result.light = FitLight(result.reference, image, inside);
    for (GreyImage* picture : {&result.reference, &range.darkest, &range.brightest})
        result.light.Apply(*picture);
    result.edgeGrowth = FitEdgeGrowth(result.reference, image, nearEdge, inside);
    for (GreyImage* picture : {&result.reference, &range.darkest, &range.brightest})
        GrowBright(result.edgeGrowth, *picture);
    result.base = ThresholdFromNoise(result.reference, image, range, nearEdge, inside);
    if (settings.threshold > 0)
        result.base.flat = result.base.nearEdge = settings.threshold;
    const Limits limits(result.reference, image, range, nearEdge, result.base);
    result.threshold = limits.Thresholds(inside);

    const int pitch = (width + nColumnGroup - 1) / nColumnGroup * nColumnGroup;
    const std::shared_ptr<const RegionMaps> maps = LayMaps(result.threshold, pitch);
    const GreyImage tiles = LayTiles(result.reference, image, pitch);
    result.inspection = inspector.Inspect(lane, tiles, CheckedRecipe(MakeRecipe(pitch, height, settings, maps)));

    result.inspection.region = CRect(0, 0, width, height);
    std::vector<Blob>& blobs = result.inspection.blobs;
    for (Blob& blob : blobs)
        MoveIntoImage(blob, pitch);
    std::erase_if(blobs, [&](const Blob& blob) { return !limits.IsMoreThanAnEdge(blob.box); });
    for (const Blob& blob : blobs)
        result.places.push_back(PlaceOf(blob, result.registration));
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
