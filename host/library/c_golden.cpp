// SPDX-License-Identifier: MIT
// The C interface: golden inspection.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/library/c_arrays.h"
#include "host/library/c_call.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::Error;
using narvo::v1::GoldenModel;
using narvo::v1::GoldenReport;
using narvo::v1::GreyPicture;
using narvo::v1::Image;
using narvo::v1::ImagePixels;
using narvo::v1::RealPlace;
using narvo::v1::ReferencePlace;
using narvo::v1::Registered;
using narvo::v1::RegistrationMap;
using narvo::v1::Setting;

namespace
{

narvo_registration RecordOf(const Registered& registered)
{
    narvo_registration record = {};
    record.at_limit = registered.atLimit ? 1 : 0;
    record.model = registered.model.c_str();
    record.shift_x = registered.shiftX;
    record.shift_y = registered.shiftY;
    record.rotation = registered.rotation;
    record.scale_x = registered.scaleX;
    record.scale_y = registered.scaleY;
    record.shear = registered.shear;
    record.largest_local = registered.largestLocal;
    record.correlation = registered.correlation;
    record.overlap = registered.overlap;
    return record;
}

narvo_registration RecordOf(const GoldenReport& report)
{
    narvo_registration record = RecordOf(report.registration);
    record.threshold = report.threshold;
    record.edge_threshold = report.edgeThreshold;
    record.masked = report.masked;
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

/// The place of a place by the map that `find` returns.
template <typename Find>
std::int32_t MapPlace(double x, double y, double* reference_x, double* reference_y, const Find& find)
{
    return Guarded(
        [&]
        {
            Given(reference_x, "reference_x");
            Given(reference_y, "reference_y");
            const RegistrationMap map = find();
            const RealPlace place = map.Map(x, y);
            *reference_x = place.x;
            *reference_y = place.y;
        });
}

} // namespace

narvo::library::GoldenObject::GoldenObject(GoldenModel made) : model(std::move(made)), maps(model.Registrations())
{
    for (const RegistrationMap& map : maps)
        numbers.push_back(map.Numbers());
}

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
                       return std::make_shared<GoldenObject>(GoldenModel(images, SettingsOf(settings, setting_count),
                                                                         lanes, ProgressOf(progress, context)));
                   });
}

std::int32_t narvo_golden_from_pictures(const narvo_picture* const* references, std::int64_t count,
                                        const narvo_setting* settings, std::int64_t setting_count, std::int32_t lanes,
                                        narvo_on_progress progress, void* context, narvo_golden** golden)
{
    return HandOut(GoldenHandles(), golden, "golden",
                   [&]
                   {
                       CheckCount(count, 1, nArrayLimit, "count");
                       Given(references, "references");
                       std::vector<Image> images;
                       for (std::int64_t i = 0; i < count; ++i)
                       {
                           const std::string name = "references[" + std::to_string(i) + ']';
                           images.push_back(PictureHandles().Find(references[i], name.c_str())->image);
                       }
                       return std::make_shared<GoldenObject>(GoldenModel::FromImages(
                           images, SettingsOf(settings, setting_count), lanes, ProgressOf(progress, context)));
                   });
}

std::int32_t narvo_golden_defaults(std::uint32_t record_size, narvo_setting* settings, std::int64_t capacity,
                                   std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            CheckRecordSize<narvo_setting>(record_size, "record_size");
            CheckRoom(settings, "settings", capacity);
            FillArray(GoldenModel::Defaults(), settings, record_size, capacity, count,
                      [](const Setting& setting) {
                          return narvo_setting{0, 0, setting.name.c_str(), setting.value};
                      });
        });
}

std::int32_t narvo_golden_share(const narvo_golden* golden, std::int32_t lanes, narvo_golden** shared)
{
    return HandOut(
        GoldenHandles(), shared, "shared",
        [&] { return std::make_shared<GoldenObject>(GoldenHandles().Find(golden, "golden")->model.Share(lanes)); });
}

std::int32_t narvo_golden_registrations(const narvo_golden* golden, std::uint32_t record_size,
                                        narvo_registration* registrations, std::int64_t capacity, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            CheckRecordSize<narvo_registration>(record_size, "record_size");
            CheckRoom(registrations, "registrations", capacity);
            const auto object = GoldenHandles().Find(golden, "golden");
            FillArray(object->numbers, registrations, record_size, capacity, count,
                      [](const Registered& each) { return RecordOf(each); });
        });
}

std::int32_t narvo_golden_map(const narvo_golden* golden, std::int64_t index, double x, double y, double* reference_x,
                              double* reference_y)
{
    return MapPlace(x, y, reference_x, reference_y,
                    [&] { return ElementAt(GoldenHandles().Find(golden, "golden")->maps, index, "index"); });
}

std::int32_t narvo_golden_set_mask(narvo_golden* golden, const narvo_image* mask)
{
    return Guarded(
        [&]
        {
            const auto object = GoldenHandles().Find(golden, "golden");
            ImagePixels pixels;
            if (mask != nullptr)
                Given((pixels = PixelsOf(mask, "mask")).pixels, "mask.pixels");
            object->model.SetMask(pixels);
        });
}

std::int32_t narvo_golden_inspect(const narvo_golden* golden, const narvo_image* image, narvo_reports** reports)
{
    return HandOut(ReportsHandles(), reports, "reports",
                   [&]
                   {
                       const auto object = GoldenHandles().Find(golden, "golden");
                       return std::make_shared<ReportsObject>(object->model.InspectFully(PixelsOf(image, "image")));
                   });
}

std::int32_t narvo_golden_inspect_picture(const narvo_golden* golden, const narvo_picture* picture,
                                          std::int32_t pictures, narvo_reports** reports)
{
    return HandOut(ReportsHandles(), reports, "reports",
                   [&]
                   {
                       CheckSwitch(pictures, "pictures");
                       const auto object = GoldenHandles().Find(golden, "golden");
                       const auto owner = PictureHandles().Find(picture, "picture");
                       return std::make_shared<ReportsObject>(object->model.InspectFully(owner->image), pictures == 1);
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
            const auto object = GoldenHandles().Find(golden, "golden");
            const GreyPicture picture = which == 0 ? object->model.Mean() : object->model.Tolerance();
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
    return MapPlace(x, y, reference_x, reference_y,
                    [&] { return ReportsHandles().Find(reports, "reports")->Golden().map; });
}

std::int32_t narvo_reports_golden_picture(const narvo_reports* reports, std::int32_t which, narvo_picture** picture)
{
    return HandOut(PictureHandles(), picture, "picture",
                   [&]
                   {
                       CheckSwitch(which, "which");
                       const auto object = ReportsHandles().Find(reports, "reports");
                       const std::optional<Image>& kept =
                           which == 0 ? object->Golden().reference : object->Golden().threshold;
                       if (!kept)
                           throw Error({{"reports", "without pictures",
                                         "reports of narvo_golden_inspect_picture with pictures 1"}});
                       return std::make_shared<PictureObject>(PictureObject{*kept, {}});
                   });
}
