// SPDX-License-Identifier: MIT
// The model brought to the image, the limits there, and what the comparison finds.
#include "host/golden/golden.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include <opencv2/imgproc.hpp>

#include "host/golden/edge_growth.h"
#include "host/golden/pattern_end.h"
#include "host/image/cv_image.h"
#include "host/inspect/channel_inspection.h"
#include "host/inspect/elapsed.h"
#include "host/inspect/reference_comparison.h"
#include "host/reference/reference_limits.h"

namespace narvo
{

namespace
{

constexpr int nMergeDistance = 0; // pieces of one blob whose boxes touch
constexpr double dFewDirections = 0.1;

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

std::string EndWarning(const PatternEnd& end)
{
    constexpr const char* sides[] = {"bottom", "top", "right", "left"};
    const char* line = end.IsVertical() ? "column " : "row ";
    return std::string("the pattern ends at ") + line + std::to_string(end.image) + " towards the " + sides[end.side] +
           ", the reference's at " + line + std::to_string(end.reference) + "; the strip between is not compared";
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

} // namespace

namespace
{

/// Light and differences of each channel by themselves; one registration for all.
GoldenResult InspectEach(Inspector& inspector, int lane, const GoldenModel& model, const GreyImage& image,
                         const Registration& registration)
{
    std::vector<GoldenResult> channels;
    std::vector<InspectionResult> inspections;
    for (std::size_t i = 0; i < model.Channels().size(); ++i)
    {
        channels.push_back(
            InspectRegistered(inspector, lane, model.Channels()[i], (*image.Channels())[i], registration));
        inspections.push_back(channels.back().inspection);
    }
    GoldenResult result = channels.front();
    // What registration has to say is the same for all.
    for (std::size_t i = 1; i < inspections.size(); ++i)
        inspections[i].warnings.clear();
    const std::vector<std::string> warnings = std::exchange(inspections.front().warnings, {});
    result.inspection = JoinChannels(std::move(inspections));
    result.inspection.warnings = warnings;
    result.places.clear();
    for (const Blob& blob : result.inspection.blobs)
        result.places.push_back(PlaceOf(blob, registration));
    result.channels = std::move(channels);
    return result;
}

} // namespace

GoldenResult InspectGolden(Inspector& inspector, int lane, const GoldenModel& model, const GreyImage& image)
{
    const auto start = std::chrono::steady_clock::now();
    const Registration registration = RegisterImage(model.Mean(), image, model.Settings().registration);
    const bool each = !model.Channels().empty() && image.Channels() != nullptr;
    GoldenResult result = each ? InspectEach(inspector, lane, model, image, registration)
                               : InspectRegistered(inspector, lane, model, image, registration);
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
    const std::vector<PatternEnd> ends = FindMovedEnds(result.reference, image, inside, settings.edgeTolerance);
    for (const PatternEnd& end : ends)
        LeaveEndOut(end, margin, inside);
    result.base = ThresholdFromNoise(result.reference, image, range, nearEdge, inside);
    if (settings.threshold > 0)
        result.base.flat = result.base.nearEdge = settings.threshold;
    const ReferenceLimits limits(result.reference, image, range, nearEdge, result.base);
    result.threshold = limits.Thresholds(inside);

    Recipe report;
    report.minArea = settings.minPixels;
    report.maxBlobs = settings.maxBlobs;
    report.mergeDistance = nMergeDistance;
    result.inspection = CompareWithReference(inspector, lane, result.reference, image, result.threshold, report);
    std::vector<Blob>& blobs = result.inspection.blobs;
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
    for (const PatternEnd& end : ends)
        result.inspection.warnings.push_back(EndWarning(end));
    const cv::Mat mask = ViewOf(inside);
    result.compared = static_cast<double>(cv::countNonZero(mask)) / static_cast<double>(mask.total());
    return result;
}

} // namespace narvo
