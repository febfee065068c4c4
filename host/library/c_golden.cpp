// SPDX-License-Identifier: MIT
// The C interface: golden inspection.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "host/library/c_arrays.h"
#include "host/library/c_call.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::GoldenModel;
using narvo::v1::GoldenReport;
using narvo::v1::GreyPicture;
using narvo::v1::ImagePixels;
using narvo::v1::ReferencePlace;

namespace
{

narvo_registration RecordOf(const GoldenReport& report)
{
    narvo_registration record = {};
    record.at_limit = report.registration.atLimit ? 1 : 0;
    record.threshold = report.threshold;
    record.edge_threshold = report.edgeThreshold;
    record.masked = report.masked;
    record.model = report.registration.model.c_str();
    record.shift_x = report.registration.shiftX;
    record.shift_y = report.registration.shiftY;
    record.rotation = report.registration.rotation;
    record.scale_x = report.registration.scaleX;
    record.scale_y = report.registration.scaleY;
    record.shear = report.registration.shear;
    record.largest_local = report.registration.largestLocal;
    record.correlation = report.registration.correlation;
    record.overlap = report.registration.overlap;
    record.compared = report.compared;
    record.edge_growth = report.edgeGrowth;
    return record;
}

narvo_place RecordOf(const ReferencePlace& place)
{
    narvo_place record = {};
    record.left = place.box.left;
    record.top = place.box.top;
    record.right = place.box.right;
    record.bottom = place.box.bottom;
    record.center_x = place.centerX;
    record.center_y = place.centerY;
    return record;
}

} // namespace

std::int32_t narvo_golden_create(const narvo_image* references, std::int64_t count, const narvo_setting* settings,
                                 std::int64_t setting_count, std::int32_t lanes, narvo_golden** golden)
{
    return narvo_golden_create_told(references, count, settings, setting_count, lanes, nullptr, nullptr, golden);
}

std::int32_t narvo_golden_create_told(const narvo_image* references, std::int64_t count, const narvo_setting* settings,
                                      std::int64_t setting_count, std::int32_t lanes, narvo_on_progress progress,
                                      void* context, narvo_golden** golden)
{
    return HandOut(GoldenHandles(), golden, "golden",
                   [&]
                   {
                       CheckCount(count, 1, nArrayLimit, "count");
                       std::vector<ImagePixels> images;
                       ReadArray(references, count, "references",
                                 [&](const narvo_image* image, const std::string& name)
                                 { images.push_back(PixelsOf(image, name.c_str())); });
                       return std::make_shared<GoldenModel>(images, SettingsOf(settings, setting_count), lanes,
                                                            ProgressOf(progress, context));
                   });
}

std::int32_t narvo_golden_set_mask(narvo_golden* golden, const narvo_image* mask)
{
    return Guarded(
        [&]
        {
            const auto model = GoldenHandles().Find(golden, "golden");
            ImagePixels pixels;
            if (mask != nullptr)
                Given((pixels = PixelsOf(mask, "mask")).pixels, "mask.pixels");
            model->SetMask(pixels);
        });
}

std::int32_t narvo_golden_inspect(const narvo_golden* golden, const narvo_image* image, narvo_reports** reports)
{
    return HandOut(ReportsHandles(), reports, "reports",
                   [&]
                   {
                       const auto model = GoldenHandles().Find(golden, "golden");
                       return std::make_shared<ReportsObject>(model->InspectFully(PixelsOf(image, "image")));
                   });
}

std::int32_t narvo_golden_picture(const narvo_golden* golden, std::int32_t which, std::uint8_t* pixels,
                                  std::int64_t capacity, std::int32_t* width, std::int32_t* height)
{
    return Guarded(
        [&]
        {
            Given(width, "width");
            Given(height, "height");
            CheckRoom(pixels, "pixels", capacity);
            CheckSwitch(which, "which");
            const auto model = GoldenHandles().Find(golden, "golden");
            const GreyPicture picture = which == 0 ? model->Mean() : model->Tolerance();
            *width = picture.width;
            *height = picture.height;
            const auto bytes = std::min(capacity, static_cast<std::int64_t>(picture.pixels.size()));
            if (bytes > 0)
                std::memcpy(pixels, picture.pixels.data(), static_cast<std::size_t>(bytes));
        });
}

std::int32_t narvo_golden_free(narvo_golden* golden)
{
    return GuardedQuietly([&] { GoldenHandles().Remove(golden, "golden"); });
}

std::int32_t narvo_reports_registration(const narvo_reports* reports, narvo_registration* registration)
{
    return Guarded(
        [&]
        {
            const std::uint32_t size = SizeOf(registration, "registration");
            const auto object = ReportsHandles().Find(reports, "reports");
            WriteRecord(registration, size, RecordOf(object->Golden().summary));
        });
}

std::int32_t narvo_reports_places(const narvo_reports* reports, std::uint32_t record_size, narvo_place* places,
                                  std::int64_t capacity, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            CheckRecordSize<narvo_place>(record_size, "record_size");
            CheckRoom(places, "places", capacity);
            const auto object = ReportsHandles().Find(reports, "reports");
            FillArray(object->Golden().summary.places, places, record_size, capacity, count,
                      [](const ReferencePlace& place) { return RecordOf(place); });
        });
}

std::int32_t narvo_reports_map(const narvo_reports* reports, double x, double y, double* reference_x,
                               double* reference_y)
{
    return Guarded(
        [&]
        {
            Given(reference_x, "reference_x");
            Given(reference_y, "reference_y");
            const narvo::v1::RealPlace place = ReportsHandles().Find(reports, "reports")->Golden().map.Map(x, y);
            *reference_x = place.x;
            *reference_y = place.y;
        });
}
