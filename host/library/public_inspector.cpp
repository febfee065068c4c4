// SPDX-License-Identifier: MIT
// The inspector of the host library.
#include "narvo/host_inspector.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/check/block_check.h"
#include "host/inspect/inspection_plan.h"
#include "host/library/image_parts.h"
#include "host/library/lane_set.h"
#include "host/library/public_report.h"
#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/limits.h"

namespace narvo::v1
{

static_assert(HighestLanes == nLaneLimit && HighestDefects == nBlobLimit);

namespace
{

/// What is left out at the right of the region; empty where nothing is.
std::string BlindColumns(const InspectionPlan& plan, const GreyView& image)
{
    const Kind kind = plan.GetRecipe()->GetKind();
    if (kind != Kind_Zone && kind != Kind_Pixel && kind != Kind_Float)
        return {};
    const int unseen = FirstUnseenColumn(plan.BlockFor(image));
    const int right = plan.Region().right;
    if (unseen >= right)
        return {};
    return "columns " + std::to_string(unseen) + " to " + std::to_string(right - 1) +
           " are not inspected: rows are compared in whole groups of 16 columns from the region's left side; begin the "
           "region up to 15 columns further left, or inspect these in a second one";
}

/// Calls `take` with the result of each region and with what the region does not see.
template <typename Take>
void InspectView(library::LaneSet& lanes, const GreyView& view, const Recipe& recipe, bool withPairs, Take take)
{
    const Recipe::Parts& parts = recipe.GetParts();
    for (const CheckedRecipe& region : parts.regions)
        if (region->maxBlobs > lanes.MaxBlobs())
            throw HostError({{"max_blobs", std::to_string(region->maxBlobs),
                              "at most " + std::to_string(lanes.MaxBlobs()) + ", the inspector's own"}});
    recipe.CheckSize(view.Width(), view.Height());
    const library::LaneHold hold(lanes);
    for (std::size_t i = 0; i < parts.regions.size(); ++i)
    {
        const auto plan = parts.plans[i].PlanFor(parts.regions[i], view.Width(), view.Height());
        take(hold.Engines().Inspect(hold.Lane(), view, *plan, withPairs), BlindColumns(*plan, view));
    }
}

std::vector<Report> ReportsOf(library::LaneSet& lanes, const GreyView& view, const Recipe& recipe)
{
    std::vector<Report> reports;
    reports.reserve(recipe.Regions());
    InspectView(lanes, view, recipe, false,
                [&](InspectionResult result, std::string blind)
                {
                    reports.push_back(library::PublicReport(std::move(result)));
                    if (!blind.empty())
                        reports.back().warnings.push_back(std::move(blind));
                });
    return reports;
}

std::vector<FullReport> FullReportsOf(library::LaneSet& lanes, const GreyView& view, const Recipe& recipe,
                                      bool withAnswers)
{
    std::vector<FullReport> reports;
    reports.reserve(recipe.Regions());
    InspectView(lanes, view, recipe, withAnswers,
                [&](InspectionResult result, std::string blind)
                {
                    reports.push_back(library::PublicFullReport(std::move(result), view.Width(), view.Height()));
                    reports.back().unseen = std::move(blind);
                });
    return reports;
}

/// Calls `inspect` with the image as an inspection reads it.
template <typename Inspect>
auto OnPixels(const ImagePixels& image, const Recipe& recipe, Inspect inspect)
{
    return library::Translated(
        [&]
        {
            GreyImage copy;
            return inspect(library::ReadableView(image, *recipe.GetParts().regions.front(), copy));
        });
}

/// The same of an image that may have colours.
template <typename Inspect>
auto OnImage(const Image& image, const Recipe& recipe, Inspect inspect)
{
    return library::Translated(
        [&]
        {
            const GreyImage& grey = *image.GetContent().image;
            library::CheckColours(grey, recipe.GetParts(), "image");
            return inspect(GreyView(grey));
        });
}

} // namespace

/// Of any images by any recipes.
struct Inspector::LaneSet : library::LaneSet
{
    using library::LaneSet::LaneSet;
};

Inspector::Inspector(int lanes) : Inspector(lanes, HighestDefects)
{
}

Inspector::Inspector(int lanes, int mostDefects)
    : m_lanes(library::Translated([&] { return std::make_unique<LaneSet>(lanes, mostDefects); }))
{
}

Inspector::~Inspector() = default;

int Inspector::Lanes() const noexcept
{
    return m_lanes->Lanes();
}

std::vector<Report> Inspector::Inspect(const ImagePixels& image, const Recipe& recipe)
{
    return OnPixels(image, recipe, [&](const GreyView& view) { return ReportsOf(*m_lanes, view, recipe); });
}

std::vector<Report> Inspector::Inspect(const Image& image, const Recipe& recipe)
{
    return OnImage(image, recipe, [&](const GreyView& view) { return ReportsOf(*m_lanes, view, recipe); });
}

std::vector<FullReport> Inspector::InspectFully(const ImagePixels& image, const Recipe& recipe)
{
    return InspectFully(image, recipe, true);
}

std::vector<FullReport> Inspector::InspectFully(const Image& image, const Recipe& recipe)
{
    return InspectFully(image, recipe, true);
}

std::vector<FullReport> Inspector::InspectFully(const ImagePixels& image, const Recipe& recipe, bool withAnswers)
{
    return OnPixels(image, recipe,
                    [&](const GreyView& view) { return FullReportsOf(*m_lanes, view, recipe, withAnswers); });
}

std::vector<FullReport> Inspector::InspectFully(const Image& image, const Recipe& recipe, bool withAnswers)
{
    return OnImage(image, recipe,
                   [&](const GreyView& view) { return FullReportsOf(*m_lanes, view, recipe, withAnswers); });
}

} // namespace narvo::v1
