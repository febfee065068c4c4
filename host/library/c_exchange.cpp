// SPDX-License-Identifier: MIT
// The C interface: defects in the files of other programs.
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/file/name_text.h"
#include "host/library/c_arrays.h"
#include "host/library/c_call.h"
#include "host/library/c_records.h"
#include "narvo/host_exchange.h"
#include "narvo/narvo_c.h"

namespace narvo::library
{

struct ExchangeObject
{
    std::mutex mutex;
    std::vector<v1::DefectList> images;
    std::optional<v1::KlarfContent> klarf; ///< without its images
};

} // namespace narvo::library

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::NameToText;
using narvo::v1::DefectList;
using narvo::v1::Error;
using narvo::v1::ExchangeForm;
using narvo::v1::KlarfHead;
using narvo::v1::ListedDefect;
using nlohmann::ordered_json;

namespace
{

constexpr std::int64_t nListedLimit = 1000000;

ExchangeForm FormOf(const std::string& name)
{
    constexpr std::pair<const char*, ExchangeForm> forms[] = {
        {"klarf-1.2", ExchangeForm::Klarf12}, {"klarf-1.8", ExchangeForm::Klarf18}, {"coco", ExchangeForm::Coco},
        {"voc", ExchangeForm::Voc},           {"yolo", ExchangeForm::Yolo},         {"csv", ExchangeForm::Table}};
    std::string names;
    for (const auto& [known, form] : forms)
    {
        if (name == known)
            return form;
        names += (names.empty() ? "" : ", ") + std::string(known);
    }
    throw Error({{"form", name, "one of " + names}});
}

KlarfHead HeadOf(const narvo_klarf_head* place)
{
    KlarfHead head;
    if (place == nullptr)
        return head;
    const narvo_klarf_head given = ReadRecord(place, "head");
    const std::pair<const char*, std::string*> texts[] = {
        {given.station, &head.station}, {given.model, &head.model},   {given.station_id, &head.stationId},
        {given.lot, &head.lot},         {given.device, &head.device}, {given.setup, &head.setup},
        {given.step, &head.step},       {given.wafer, &head.wafer},   {given.time, &head.time}};
    for (const auto& [text, own] : texts)
        if (text != nullptr)
            *own = text;
    if (given.slot != 0)
        head.slot = given.slot;
    if (given.pixel_size != 0.0)
        head.pixelSize = given.pixel_size;
    return head;
}

ordered_json ImageToJson(const DefectList& list)
{
    ordered_json defects = ordered_json::array();
    for (const ListedDefect& defect : list.defects)
        defects.push_back({{"left", defect.box.left},
                           {"top", defect.box.top},
                           {"right", defect.box.right},
                           {"bottom", defect.box.bottom},
                           {"area", defect.area},
                           {"kind", NameToText(defect.kind)}});
    return {{"image", NameToText(list.image)},
            {"width", list.width},
            {"height", list.height},
            {"defects", std::move(defects)}};
}

ordered_json KlarfToJson(const narvo::v1::KlarfContent& klarf)
{
    const KlarfHead& head = klarf.head;
    return {{"version", klarf.form == ExchangeForm::Klarf18 ? "1.8" : "1.2"},
            {"slot", head.slot},
            {"station", head.station},
            {"model", head.model},
            {"station_id", head.stationId},
            {"lot", head.lot},
            {"device", head.device},
            {"setup", head.setup},
            {"step", head.step},
            {"wafer", head.wafer},
            {"time", head.time},
            {"pixel_size", head.pixelSize}};
}

/// Adds the image that `make` returns.
template <typename Make>
std::int32_t AddImage(narvo_exchange* exchange, const char* image, const Make& make)
{
    return Guarded(
        [&]
        {
            const auto object = ExchangeHandles().Find(exchange, "exchange");
            Given(image, "image");
            DefectList list = make();
            const std::lock_guard lock(object->mutex);
            object->images.push_back(std::move(list));
        });
}

} // namespace

std::int32_t narvo_exchange_create(narvo_exchange** exchange)
{
    return HandOut(ExchangeHandles(), exchange, "exchange", [] { return std::make_shared<ExchangeObject>(); });
}

std::int32_t narvo_exchange_read(const char* file, double pixel_size, narvo_exchange** exchange)
{
    return HandOut(ExchangeHandles(), exchange, "exchange",
                   [&]
                   {
                       auto made = std::make_shared<ExchangeObject>();
                       made->images = narvo::v1::ReadDefects(Given(file, "file"), pixel_size);
                       return made;
                   });
}

std::int32_t narvo_exchange_read_klarf(const char* file, double pixel_size, narvo_exchange** exchange)
{
    return HandOut(ExchangeHandles(), exchange, "exchange",
                   [&]
                   {
                       auto made = std::make_shared<ExchangeObject>();
                       made->klarf = narvo::v1::ReadKlarf(Given(file, "file"), pixel_size);
                       made->images = std::move(made->klarf->images);
                       return made;
                   });
}

std::int32_t narvo_exchange_add_reports(narvo_exchange* exchange, const char* image, const narvo_reports* reports)
{
    return AddImage(exchange, image,
                    [&] { return narvo::v1::DefectsOf(image, ReportsHandles().Find(reports, "reports")->Reports()); });
}

std::int32_t narvo_exchange_add_defects(narvo_exchange* exchange, const char* image, std::int32_t width,
                                        std::int32_t height, const narvo_listed_defect* defects, std::int64_t count)
{
    return AddImage(exchange, image,
                    [&]
                    {
                        CheckCount(count, 0, nListedLimit, "count");
                        DefectList list{image, width, height, {}};
                        ReadArray(defects, count, "defects",
                                  [&](const narvo_listed_defect* place, const std::string& name)
                                  {
                                      const narvo_listed_defect defect = ReadRecord(place, name);
                                      list.defects.push_back({{defect.left, defect.top, defect.right, defect.bottom},
                                                              defect.area,
                                                              Given(defect.kind, (name + ".kind").c_str())});
                                  });
                        return list;
                    });
}

std::int32_t narvo_exchange_json(const narvo_exchange* exchange, char* text, std::int64_t capacity,
                                 std::int64_t* length)
{
    return Guarded(
        [&]
        {
            const auto object = ExchangeHandles().Find(exchange, "exchange");
            ordered_json made = {{"images", ordered_json::array()}};
            {
                const std::lock_guard lock(object->mutex);
                for (const DefectList& list : object->images)
                    made["images"].push_back(ImageToJson(list));
                if (object->klarf)
                    made["klarf"] = KlarfToJson(*object->klarf);
            }
            FillText(made.dump(-1, ' ', false, ordered_json::error_handler_t::replace), text, capacity, length);
        });
}

std::int32_t narvo_exchange_save(const narvo_exchange* exchange, const char* form, const char* output,
                                 const narvo_klarf_head* head)
{
    return Guarded(
        [&]
        {
            const auto object = ExchangeHandles().Find(exchange, "exchange");
            const ExchangeForm wanted = FormOf(Given(form, "form"));
            Given(output, "output");
            const KlarfHead own = HeadOf(head);
            const std::lock_guard lock(object->mutex);
            SaveExchangeFiles(MakeExchangeFiles(output, object->images, wanted, own));
        });
}

std::int32_t narvo_exchange_free(narvo_exchange* exchange)
{
    return GuardedQuietly([&] { ExchangeHandles().Remove(exchange, "exchange"); });
}
