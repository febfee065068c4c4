// SPDX-License-Identifier: MIT
// The C interface: inspectors and their reports.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/library/c_call.h"
#include "host/library/c_records.h"
#include "narvo/host_result.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::Answer;
using narvo::v1::Defect;
using narvo::v1::DefectColour;
using narvo::v1::FullReport;
using narvo::v1::Inspector;
using narvo::v1::Report;

namespace
{

narvo_report RecordOf(const Report& report)
{
    narvo_report record = {};
    record.code = report.code;
    record.vertical = report.vertical ? 1 : 0;
    record.overflowed = report.overflowed ? 1 : 0;
    record.left = report.region.left;
    record.top = report.region.top;
    record.right = report.region.right;
    record.bottom = report.region.bottom;
    record.milliseconds = report.milliseconds;
    record.name = report.name.c_str();
    record.defect_count = static_cast<std::int64_t>(report.defects.size());
    record.warning_count = static_cast<std::int64_t>(report.warnings.size());
    return record;
}

narvo_answer RecordOf(const Answer& answer)
{
    narvo_answer record = {};
    record.x = answer.x;
    record.y = answer.y;
    record.bright = answer.bright ? 1 : 0;
    record.removed = answer.removed ? 1 : 0;
    record.band = answer.band;
    record.origin = answer.origin;
    record.peak = answer.peak;
    record.grey = answer.grey;
    record.reference = answer.reference;
    record.threshold = answer.threshold;
    record.zone = answer.zone;
    return record;
}

/// Inspects `image`, in whatever form.
template <typename Pixels>
std::shared_ptr<ReportsObject> Inspected(const narvo_inspector* inspector, const narvo_recipe* recipe,
                                         const Pixels& image, bool withAnswers)
{
    const auto engines = InspectorHandles().Find(inspector, "inspector");
    const auto rules = RecipeHandles().Find(recipe, "recipe");
    return std::make_shared<ReportsObject>(engines->InspectFully(image, *rules, withAnswers), withAnswers);
}

} // namespace

narvo_defect narvo::library::DefectRecord(const Defect& defect)
{
    narvo_defect record = {};
    record.number = defect.number;
    record.bright = defect.bright ? 1 : 0;
    record.band = defect.band;
    record.single = defect.single ? 1 : 0;
    record.area = defect.area;
    record.left = defect.box.left;
    record.top = defect.box.top;
    record.right = defect.box.right;
    record.bottom = defect.box.bottom;
    record.center_x = defect.centerX;
    record.center_y = defect.centerY;
    record.peak_x = defect.peakX;
    record.peak_y = defect.peakY;
    record.peak = defect.peak;
    record.max_difference = defect.maxDifference;
    record.mean_difference = defect.meanDifference;
    record.mean_grey = defect.meanGrey;
    record.mean_reference = defect.meanReference;
    record.zone = defect.zone;
    record.scale = defect.scale;
    record.label = defect.label;
    record.diameter = defect.diameter;
    record.angle = defect.angle;
    record.major_axis = defect.majorAxis;
    record.minor_axis = defect.minorAxis;
    record.circularity = defect.circularity;
    record.elongation = defect.elongation;
    return record;
}

std::int32_t narvo_inspector_create(std::int32_t lanes, narvo_inspector** inspector)
{
    return HandOut(InspectorHandles(), inspector, "inspector", [&] { return std::make_shared<Inspector>(lanes); });
}

std::int32_t narvo_inspector_lanes(const narvo_inspector* inspector, std::int32_t* lanes)
{
    return Guarded(
        [&]
        {
            Given(lanes, "lanes");
            *lanes = InspectorHandles().Find(inspector, "inspector")->Lanes();
        });
}

std::int32_t narvo_inspect(narvo_inspector* inspector, const narvo_recipe* recipe, const narvo_image* image,
                           narvo_reports** reports)
{
    return HandOut(ReportsHandles(), reports, "reports",
                   [&] { return Inspected(inspector, recipe, PixelsOf(image, "image"), false); });
}

std::int32_t narvo_inspect_fully(narvo_inspector* inspector, const narvo_recipe* recipe, const narvo_image* image,
                                 narvo_reports** reports)
{
    return HandOut(ReportsHandles(), reports, "reports",
                   [&] { return Inspected(inspector, recipe, PixelsOf(image, "image"), true); });
}

std::int32_t narvo_inspect_picture(narvo_inspector* inspector, const narvo_recipe* recipe, const narvo_picture* picture,
                                   std::int32_t answers, narvo_reports** reports)
{
    return HandOut(ReportsHandles(), reports, "reports",
                   [&]
                   {
                       CheckSwitch(answers, "answers");
                       const auto owner = PictureHandles().Find(picture, "picture");
                       return Inspected(inspector, recipe, owner->image, answers == 1);
                   });
}

std::int32_t narvo_inspector_free(narvo_inspector* inspector)
{
    return GuardedQuietly([&] { InspectorHandles().Remove(inspector, "inspector"); });
}

std::int32_t narvo_reports_count(const narvo_reports* reports, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            *count = static_cast<std::int64_t>(ReportsHandles().Find(reports, "reports")->Reports().size());
        });
}

std::int32_t narvo_reports_get(const narvo_reports* reports, std::int64_t region, narvo_report* report)
{
    return Guarded(
        [&]
        {
            const std::uint32_t size = SizeOf(report, "report");
            const auto object = ReportsHandles().Find(reports, "reports");
            WriteRecord(report, size, RecordOf(object->At(region).report));
        });
}

std::int32_t narvo_reports_defects(const narvo_reports* reports, std::int64_t region, std::uint32_t record_size,
                                   narvo_defect* defects, std::int64_t capacity, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            CheckRecordSize<narvo_defect>(record_size, "record_size");
            CheckRoom(defects, "defects", capacity);
            const auto object = ReportsHandles().Find(reports, "reports");
            const auto& found = object->At(region).report.defects;
            FillArray(found, defects, record_size, capacity, count,
                      [](const Defect& defect) { return DefectRecord(defect); });
        });
}

std::int32_t narvo_reports_warning(const narvo_reports* reports, std::int64_t region, std::int64_t index,
                                   const char** text)
{
    return HandOutText(text,
                       [&]
                       {
                           const auto object = ReportsHandles().Find(reports, "reports");
                           return ElementAt(object->At(region).report.warnings, index, "index").c_str();
                       });
}

std::int32_t narvo_reports_json(const narvo_reports* reports, std::int64_t region, const char** text)
{
    return HandOutText(text, [&] { return ReportsHandles().Find(reports, "reports")->Json(region); });
}

std::int32_t narvo_reports_csv(const narvo_reports* reports, std::int64_t region, const char** text)
{
    return HandOutText(text, [&] { return ReportsHandles().Find(reports, "reports")->Csv(region); });
}

std::int32_t narvo_reports_save_overlay(const narvo_reports* reports, std::int64_t region, const narvo_image* image,
                                        const char* file)
{
    return Guarded(
        [&]
        {
            const auto object = ReportsHandles().Find(reports, "reports");
            narvo::v1::SaveOverlay(Given(file, "file"), PixelsOf(image, "image"), object->At(region));
        });
}

std::int32_t narvo_reports_answers(const narvo_reports* reports, std::int64_t region, std::uint32_t record_size,
                                   narvo_answer* answers, std::int64_t capacity, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            CheckRecordSize<narvo_answer>(record_size, "record_size");
            CheckRoom(answers, "answers", capacity);
            const auto object = ReportsHandles().Find(reports, "reports");
            FillArray(object->AnswersAt(region), answers, record_size, capacity, count,
                      [](const Answer& answer) { return RecordOf(answer); });
        });
}

std::int32_t narvo_reports_colours(const narvo_reports* reports, std::int64_t region, std::int32_t* colours,
                                   std::int64_t capacity, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            CheckRoom(colours, "colours", capacity);
            const auto object = ReportsHandles().Find(reports, "reports");
            const FullReport& report = object->At(region);
            std::vector<DefectColour> shown = report.colours;
            shown.resize(report.report.defects.size(), DefectColour::Grey);
            *count = static_cast<std::int64_t>(shown.size());
            for (std::int64_t i = 0; i < std::min(capacity, *count); ++i)
                colours[i] = static_cast<std::int32_t>(shown[static_cast<std::size_t>(i)]);
        });
}

std::int32_t narvo_reports_free(narvo_reports* reports)
{
    return GuardedQuietly([&] { ReportsHandles().Remove(reports, "reports"); });
}
