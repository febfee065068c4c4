// SPDX-License-Identifier: MIT
// From the results of images to the records of a lot, image by image.
#include "host/lot/lot_builder.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "host/limits.h"
#include "host/lot/lot_cells.h"
#include "host/problem.h"
#include "host/recipe/recipe_rules.h"

namespace narvo
{

namespace
{

/// Pixels within the corners, of several parts together.
double AreaOf(const InspectionResult& region)
{
    const double box = std::max(0.0, static_cast<double>(region.region.right) - region.region.left) *
                       std::max(0.0, static_cast<double>(region.region.bottom) - region.region.top);
    if (region.outlines.empty())
        return box;
    double area = 0.0;
    for (const std::vector<CPoint>& corners : region.outlines)
    {
        double twice = 0.0;
        for (std::size_t i = 0; i < corners.size(); ++i)
        {
            const CPoint& next = corners[(i + 1) % corners.size()];
            twice += static_cast<double>(corners[i].x) * next.y - static_cast<double>(next.x) * corners[i].y;
        }
        area += 0.5 * std::abs(twice);
    }
    return area > 0.0 ? std::min(area, box) : box;
}

/// Size and regions.
std::vector<int> LayoutOf(const ImageResult& result)
{
    std::vector<int> layout = {result.width, result.height};
    for (const InspectionResult& region : result.regions)
        layout.insert(layout.end(), {region.region.left, region.region.top, region.region.right, region.region.bottom});
    return layout;
}

/// Means over the defects of an image.
void SetMeans(LotImage& image, const ImageResult& result)
{
    double logarithm = 0.0;
    double grey = 0.0;
    double contrast = 0.0;
    for (const InspectionResult& region : result.regions)
        for (const Blob& blob : region.blobs)
        {
            logarithm += std::log(std::max(1, blob.area));
            grey += blob.meanReference;
            contrast += std::abs(static_cast<double>(blob.meanDifference));
        }
    if (image.defects == 0)
        return;
    const auto count = static_cast<double>(image.defects);
    image.size = std::exp(logarithm / count);
    image.grey = grey / count;
    image.contrast = contrast / count;
}

/// The mean of a measure over the regions that have it.
std::optional<double> MeanOf(const ImageResult& result, double DriftMeasures::*measure)
{
    double sum = 0.0;
    double area = 0.0;
    for (const InspectionResult& region : result.regions)
        if (const double one = region.drift.*measure; std::isfinite(one))
        {
            const double own = std::max(1.0, AreaOf(region));
            sum += own * one;
            area += own;
        }
    return area > 0.0 ? std::optional(sum / area) : std::nullopt;
}

std::vector<LotRegion> RegionsOf(const ImageResult& result)
{
    std::vector<LotRegion> regions;
    for (const InspectionResult& region : result.regions)
    {
        LotRegion& one = regions.emplace_back();
        one.name = region.name;
        one.box = region.region;
        one.area = AreaOf(region);
    }
    return regions;
}

/// A store or a program may say anything. @throws HostError for regions that no image has
void CheckRegions(const std::string& name, const ImageResult& result)
{
    for (const InspectionResult& one : result.regions)
    {
        const CRect& box = one.region;
        if (box.left < 0 || box.top < 0 || box.right < box.left || box.bottom < box.top ||
            box.right > nImageSideLimit || box.bottom > nImageSideLimit)
            throw HostError({{"region " + one.name + " of image " + name, RectText(box),
                              "corners in their order, 0 to " + std::to_string(nImageSideLimit)}});
    }
}

} // namespace

LotBuilder::LotBuilder(LotSource source) : m_recipeText(std::move(source.recipeText))
{
    m_lot.store = std::move(source.store);
    m_lot.runs = std::move(source.runs);
    m_lot.recipe = std::move(source.recipe);
}

void LotBuilder::Add(const std::string& name, const ImageResult& result)
{
    CheckRegions(name, result);
    std::size_t defects = 0;
    for (const InspectionResult& region : result.regions)
        defects += region.blobs.size();
    // Also what another program adds to a store meanwhile.
    if (m_lot.images.size() >= nLotImageLimit)
        throw HostError({{"images of the lot", "more than " + std::to_string(nLotImageLimit),
                          "at most " + std::to_string(nLotImageLimit) + "; name fewer runs"}});
    if (m_lot.defects.size() + defects > nLotDefectLimit)
        throw HostError({{"defects of the lot", "more than " + std::to_string(nLotDefectLimit),
                          "at most " + std::to_string(nLotDefectLimit) + "; name fewer runs"}});
    LotImage& image = m_lot.images.emplace_back();
    image.name = name;
    image.refused = !result.IsInspected() || result.regions.empty();
    m_layoutOf.push_back(-1);
    if (image.refused)
        return;
    const auto [known, added] = m_layouts.emplace(LayoutOf(result), static_cast<int>(m_images.size()));
    if (added)
    {
        m_images.push_back(0);
        m_regions.push_back(RegionsOf(result));
    }
    m_layoutOf.back() = known->second;
    ++m_images[static_cast<std::size_t>(known->second)];
    for (std::size_t i = 0; i < result.regions.size(); ++i)
        AddRegion(image, result.regions[i], i);
    SetMeans(image, result);
    image.light = MeanOf(result, &DriftMeasures::light);
    image.noise = MeanOf(result, &DriftMeasures::noise);
    image.pitchX = MeanOf(result, &DriftMeasures::pitchX);
    image.pitchY = MeanOf(result, &DriftMeasures::pitchY);
}

void LotBuilder::AddRegion(LotImage& image, const InspectionResult& region, std::size_t place)
{
    image.defects += region.blobs.size();
    image.pairs += std::max(0, region.pairs);
    image.area += AreaOf(region);
    for (const Blob& blob : region.blobs)
        m_lot.defects.push_back({static_cast<std::uint32_t>(m_lot.images.size() - 1), static_cast<std::uint32_t>(place),
                                 blob.center.x, blob.center.y});
}

void LotBuilder::DropFirst(std::size_t images)
{
    images = std::min(images, m_lot.images.size());
    m_lot.images.erase(m_lot.images.begin(), m_lot.images.begin() + static_cast<std::ptrdiff_t>(images));
    m_layoutOf.erase(m_layoutOf.begin(), m_layoutOf.begin() + static_cast<std::ptrdiff_t>(images));
    const auto kept = std::partition_point(m_lot.defects.begin(), m_lot.defects.end(),
                                           [&](const LotDefect& defect) { return defect.image < images; });
    m_lot.defects.erase(m_lot.defects.begin(), kept);
    for (LotDefect& defect : m_lot.defects)
        defect.image -= static_cast<std::uint32_t>(images);

    // Layouts in the order in which those that are left came.
    std::vector<int> placeOf(m_images.size(), -1);
    std::vector<std::size_t> counts;
    std::vector<std::vector<LotRegion>> regions;
    for (int& layout : m_layoutOf)
        if (layout >= 0)
        {
            int& place = placeOf[static_cast<std::size_t>(layout)];
            if (place < 0)
            {
                place = static_cast<int>(counts.size());
                counts.push_back(0);
                regions.push_back(std::move(m_regions[static_cast<std::size_t>(layout)]));
            }
            layout = place;
            ++counts[static_cast<std::size_t>(place)];
        }
    std::erase_if(m_layouts, [&](const auto& one) { return placeOf[static_cast<std::size_t>(one.second)] < 0; });
    for (auto& [layout, place] : m_layouts)
        place = placeOf[static_cast<std::size_t>(place)];
    m_images = std::move(counts);
    m_regions = std::move(regions);
}

Lot LotBuilder::Made() const
{
    return LotBuilder(*this).Finish();
}

Lot LotBuilder::Finish()
{
    if (!m_images.empty())
    {
        const auto most = std::max_element(m_images.begin(), m_images.end()) - m_images.begin();
        m_lot.regions = m_regions[static_cast<std::size_t>(most)];
        for (std::size_t i = 0; i < m_lot.images.size(); ++i)
            m_lot.images[i].comparable = m_layoutOf[i] == most;
        std::erase_if(m_lot.defects, [&](const LotDefect& defect) { return !m_lot.images[defect.image].comparable; });
    }
    ReadCells(m_recipeText, m_lot.regions);
    return std::move(m_lot);
}

} // namespace narvo
