// SPDX-License-Identifier: MIT
// The inspector of the host library: lanes for whatever threads call, and reports in the public form.
#include "narvo/host_inspector.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/inspect/inspection_plan.h"
#include "host/inspect/inspector.h"
#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/limits.h"

namespace narvo::v1
{

namespace
{

Box PublicBox(const CRect& rect)
{
    return {rect.left, rect.top, rect.right, rect.bottom};
}

Defect PublicDefect(const Blob& blob)
{
    Defect defect;
    defect.number = blob.number;
    defect.bright = blob.bright;
    defect.band = blob.band;
    defect.single = blob.single;
    defect.area = blob.area;
    defect.box = PublicBox(blob.box);
    defect.centerX = blob.center.x;
    defect.centerY = blob.center.y;
    defect.peakX = blob.peakPlace.x;
    defect.peakY = blob.peakPlace.y;
    defect.peak = blob.peak;
    defect.maxDifference = blob.maxDifference;
    defect.meanDifference = blob.meanDifference;
    defect.meanGrey = blob.meanGrey;
    defect.meanReference = blob.meanReference;
    defect.zone = blob.zone;
    defect.scale = blob.scale;
    defect.label = blob.label;
    defect.diameter = blob.diameter;
    defect.angle = blob.angle;
    defect.majorAxis = blob.majorAxis;
    defect.minorAxis = blob.minorAxis;
    defect.circularity = blob.circularity;
    defect.elongation = blob.elongation;
    return defect;
}

/// The engine takes a region's columns in whole groups of this many, and reports nothing of the rest.
constexpr int nColumnGroup = 16;

/// What is left out at the right of the region; empty where nothing is.
std::string BlindColumns(const InspectionPlan& plan)
{
    const Kind kind = plan.GetRecipe()->GetKind();
    const CRect& region = plan.Region();
    const int rest = (region.right - region.left) % nColumnGroup;
    if ((kind != Kind_Zone && kind != Kind_Pixel) || rest == 0)
        return {};
    return "columns " + std::to_string(region.right - rest) + " to " + std::to_string(region.right - 1) +
           " are not inspected: choose a region whose width is a multiple of " + std::to_string(nColumnGroup);
}

Report PublicReport(InspectionResult result)
{
    Report report;
    report.name = std::move(result.name);
    report.code = result.code;
    report.vertical = result.direction == Direction_Vertical;
    report.region = PublicBox(result.region);
    report.overflowed = result.overflowed;
    report.milliseconds = result.totalMilliseconds;
    report.warnings = std::move(result.warnings);
    report.defects.reserve(result.blobs.size());
    for (const Blob& blob : result.blobs)
        report.defects.push_back(PublicDefect(blob));
    return report;
}

} // namespace

/// Engines, and which of them are free.
struct Inspector::LaneSet
{
    explicit LaneSet(int lanes) : inspector(lanes, nBlobLimit)
    {
        for (int lane = lanes - 1; lane >= 0; --lane)
            free.push_back(lane);
    }

    narvo::Inspector inspector;
    std::mutex mutex;
    std::condition_variable returned;
    std::vector<int> free; ///< the one that was returned last is taken first: its memory is warm
};

namespace
{

/// A lane for one call; waits while none is free.
template <typename LaneSet>
class LaneHold
{
public:
    explicit LaneHold(LaneSet& lanes) : m_lanes(lanes)
    {
        std::unique_lock lock(m_lanes.mutex);
        m_lanes.returned.wait(lock, [&] { return !m_lanes.free.empty(); });
        m_lane = m_lanes.free.back();
        m_lanes.free.pop_back();
    }
    ~LaneHold()
    {
        {
            const std::lock_guard lock(m_lanes.mutex);
            m_lanes.free.push_back(m_lane); // within its capacity
        }
        m_lanes.returned.notify_one();
    }
    LaneHold(const LaneHold&) = delete;
    LaneHold& operator=(const LaneHold&) = delete;

    int Lane() const { return m_lane; }

private:
    LaneSet& m_lanes;
    int m_lane = 0;
};

} // namespace

Inspector::Inspector(int lanes) : m_lanes(library::Translated([&] { return std::make_unique<LaneSet>(lanes); }))
{
}

Inspector::~Inspector() = default;

int Inspector::Lanes() const noexcept
{
    return m_lanes->inspector.Lanes();
}

std::vector<Report> Inspector::Inspect(const ImagePixels& image, const Recipe& recipe)
{
    return library::Translated(
        [&]
        {
            const Recipe::Parts& parts = recipe.GetParts();
            GreyImage copy;
            const GreyView view = library::ReadableView(image, *parts.regions.front(), copy);
            recipe.CheckSize(view.Width(), view.Height());
            const LaneHold hold(*m_lanes);
            std::vector<Report> reports;
            reports.reserve(parts.regions.size());
            for (std::size_t i = 0; i < parts.regions.size(); ++i)
            {
                const auto plan = parts.plans[i].PlanFor(parts.regions[i], view.Width(), view.Height());
                Report report = PublicReport(m_lanes->inspector.Inspect(hold.Lane(), view, *plan));
                if (std::string blind = BlindColumns(*plan); !blind.empty())
                    report.warnings.push_back(std::move(blind));
                reports.push_back(std::move(report));
            }
            return reports;
        });
}

} // namespace narvo::v1
