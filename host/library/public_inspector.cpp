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

std::vector<Report> InspectView(library::LaneSet& lanes, const GreyView& view, const Recipe& recipe)
{
    const Recipe::Parts& parts = recipe.GetParts();
    recipe.CheckSize(view.Width(), view.Height());
    const library::LaneHold hold(lanes);
    std::vector<Report> reports;
    reports.reserve(parts.regions.size());
    for (std::size_t i = 0; i < parts.regions.size(); ++i)
    {
        const auto plan = parts.plans[i].PlanFor(parts.regions[i], view.Width(), view.Height());
        Report report = library::PublicReport(hold.Engines().Inspect(hold.Lane(), view, *plan));
        if (std::string blind = BlindColumns(*plan, view); !blind.empty())
            report.warnings.push_back(std::move(blind));
        reports.push_back(std::move(report));
    }
    return reports;
}

} // namespace

/// Of any images by any recipes, as many defects as a recipe may ask for.
struct Inspector::LaneSet : library::LaneSet
{
    explicit LaneSet(int lanes) : library::LaneSet(lanes, nBlobLimit) {}
};

Inspector::Inspector(int lanes) : m_lanes(library::Translated([&] { return std::make_unique<LaneSet>(lanes); }))
{
}

Inspector::~Inspector() = default;

int Inspector::Lanes() const noexcept
{
    return m_lanes->Lanes();
}

std::vector<Report> Inspector::Inspect(const ImagePixels& image, const Recipe& recipe)
{
    return library::Translated(
        [&]
        {
            GreyImage copy;
            const GreyView view = library::ReadableView(image, *recipe.GetParts().regions.front(), copy);
            return InspectView(*m_lanes, view, recipe);
        });
}

std::vector<Report> Inspector::Inspect(const Image& image, const Recipe& recipe)
{
    return library::Translated(
        [&]
        {
            const GreyImage& grey = *image.GetContent().image;
            library::CheckColours(grey, recipe.GetParts(), "image");
            return InspectView(*m_lanes, grey, recipe);
        });
}

} // namespace narvo::v1
