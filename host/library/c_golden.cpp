// SPDX-License-Identifier: MIT
// The C interface: golden inspection.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "host/library/c_call.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::Error;
using narvo::v1::GoldenModel;
using narvo::v1::GoldenReport;
using narvo::v1::GreyPicture;
using narvo::v1::ImagePixels;
using narvo::v1::ReferencePlace;
using narvo::v1::Setting;

namespace
{

/// No caller has more; larger counts are mistakes whose records would be read from anywhere.
constexpr std::int64_t nArrayLimit = 65536;

/// Calls `take` with the address of each record of an array and its name. @throws Error for a count outside of `least`
/// .. nArrayLimit, or records of different sizes
template <typename Record, typename Take>
void ReadArray(const Record* records, std::int64_t count, std::int64_t least, const std::string& name, const Take& take)
{
    if (count < least || count > nArrayLimit)
        throw Error({{name == "settings" ? "setting_count" : "count", std::to_string(count),
                      std::to_string(least) + " to " + std::to_string(nArrayLimit)}});
    if (count == 0)
        return;
    const std::uint32_t size = SizeOf(records, name);
    const auto* place = reinterpret_cast<const std::byte*>(records);
    for (std::int64_t i = 0; i < count; ++i, place += size)
    {
        const auto* record = reinterpret_cast<const Record*>(place);
        const std::string own = name + '[' + std::to_string(i) + ']';
        if (SizeOf(record, own) != size)
            throw Error({{own + ".size", std::to_string(record->size), std::to_string(size) + " as of the first"}});
        take(record, own);
    }
}

const GoldenReport& GoldenOf(const ReportsObject& object)
{
    if (!object.golden)
        throw Error({{"reports", "of narvo_inspect", "reports of narvo_golden_inspect"}});
    return *object.golden;
}

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
    return HandOut(GoldenHandles(), golden, "golden",
                   [&]
                   {
                       std::vector<ImagePixels> images;
                       ReadArray(references, count, 1, "references",
                                 [&](const narvo_image* image, const std::string& name)
                                 { images.push_back(PixelsOf(image, name.c_str())); });
                       narvo::v1::Settings named;
                       ReadArray(settings, setting_count, 0, "settings",
                                 [&](const narvo_setting* place, const std::string& name)
                                 {
                                     const narvo_setting setting = ReadRecord(place, name);
                                     named.push_back({Given(setting.name, (name + ".name").c_str()), setting.value});
                                 });
                       return std::make_shared<GoldenModel>(images, named, lanes);
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
                       auto object = std::make_shared<ReportsObject>();
                       object->golden = model->Inspect(PixelsOf(image, "image"));
                       object->reports.push_back(std::move(object->golden->report));
                       return object;
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
            if (which != 0 && which != 1)
                throw Error({{"which", std::to_string(which), "0 or 1"}});
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
            WriteRecord(registration, size, RecordOf(GoldenOf(*object)));
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
            FillArray(GoldenOf(*object).places, places, record_size, capacity, count,
                      [](const ReferencePlace& place) { return RecordOf(place); });
        });
}
