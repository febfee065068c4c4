// SPDX-License-Identifier: MIT
// The C interface: what a recipe can find.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/library/c_arrays.h"
#include "host/library/c_call.h"
#include "host/library/c_records.h"
#include "narvo/host_capability.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::CapabilityPlan;
using narvo::v1::CapabilityReport;
using narvo::v1::PlantedCount;
using narvo::v1::PlantedCurve;

namespace
{

constexpr std::int64_t nListLimit = 32;

/// A list of the caller's; empty for a count of 0. @throws v1::Error for another count than 0 .. nListLimit, or null
template <typename Value, typename Take>
void ReadList(const Value* values, std::int64_t count, const std::string& name, const std::string& countName,
              const Take& take)
{
    CheckCount(count, 0, nListLimit, countName);
    if (count > 0)
        Given(values, name.c_str());
    for (std::int64_t i = 0; i < count; ++i)
        take(values[i], (name + '[' + std::to_string(i) + ']').c_str());
}

std::vector<int> Numbers(const std::int32_t* values, std::int64_t count, const std::string& name,
                         const std::string& countName)
{
    std::vector<int> list;
    ReadList(values, count, name, countName, [&](std::int32_t value, const char*) { list.push_back(value); });
    return list;
}

std::vector<std::string> Words(const char* const* values, std::int64_t count, const std::string& name,
                               const std::string& countName)
{
    std::vector<std::string> list;
    ReadList(values, count, name, countName,
             [&](const char* value, const char* own) { list.emplace_back(Given(value, own)); });
    return list;
}

CapabilityPlan PlanOf(const narvo_capability_input& input)
{
    CapabilityPlan plan;
    const std::vector<int> sizes = Numbers(input.sizes, input.size_count, "sizes", "size_count");
    if (!sizes.empty())
        plan.SetSizes(sizes);
    const std::vector<int> contrasts = Numbers(input.contrasts, input.contrast_count, "contrasts", "contrast_count");
    if (!contrasts.empty())
        plan.SetContrasts(contrasts);
    const std::vector<std::string> shapes = Words(input.shapes, input.shape_count, "shapes", "shape_count");
    if (!shapes.empty())
        plan.SetShapes(shapes);
    const std::vector<std::string> places = Words(input.places, input.place_count, "places", "place_count");
    if (!places.empty())
        plan.SetPlaces(places);
    if (input.count != 0)
        plan.SetCount(input.count);
    return plan.SetSeed(input.seed);
}

narvo_planted RecordOf(const PlantedCurve& curve, const PlantedCount& count)
{
    narvo_planted record = {};
    record.pixels = count.size;
    record.contrast = curve.contrast;
    record.shape = curve.shape.c_str();
    record.place = curve.place.c_str();
    record.planted = static_cast<std::int64_t>(count.planted);
    record.found = static_cast<std::int64_t>(count.found);
    return record;
}

} // namespace

std::int32_t narvo_capability_measure(const narvo_recipe* recipe, const narvo_capability_input* input,
                                      narvo_capability** capability)
{
    return HandOut(CapabilityHandles(), capability, "capability",
                   [&]
                   {
                       const auto rules = RecipeHandles().Find(recipe, "recipe");
                       const narvo_capability_input given = ReadRecord(input, "input");
                       return std::make_shared<CapabilityReport>(MeasureCapability(
                           *rules, NamedPictures(given.good, given.good_names, given.good_count, "good_count"),
                           PlanOf(given), given.threads == 0 ? 1 : given.threads,
                           ProgressOf(given.progress, given.context)));
                   });
}

std::int32_t narvo_capability_get(const narvo_capability* capability, narvo_capability_figures* figures)
{
    return Guarded(
        [&]
        {
            const std::uint32_t size = SizeOf(figures, "figures");
            const auto object = CapabilityHandles().Find(capability, "capability");
            narvo_capability_figures record = {};
            record.warning_count = static_cast<std::int64_t>(object->warnings.size());
            record.false_defects = static_cast<std::int64_t>(object->falseBlobs);
            record.megapixels = object->megapixels;
            record.false_rate = object->falseRate;
            record.false_bound = object->falseBound;
            WriteRecord(figures, size, record);
        });
}

std::int32_t narvo_capability_counts(const narvo_capability* capability, std::uint32_t record_size,
                                     narvo_planted* counts, std::int64_t capacity, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            CheckRecordSize<narvo_planted>(record_size, "record_size");
            CheckRoom(counts, "counts", capacity);
            const auto object = CapabilityHandles().Find(capability, "capability");
            std::vector<narvo_planted> records;
            for (const PlantedCurve& curve : object->curves)
                for (const PlantedCount& each : curve.counts)
                    records.push_back(RecordOf(curve, each));
            FillArray(records, counts, record_size, capacity, count, [](const narvo_planted& each) { return each; });
        });
}

std::int32_t narvo_capability_warning(const narvo_capability* capability, std::int64_t index, const char** text)
{
    return HandOutText(text,
                       [&]
                       {
                           const auto object = CapabilityHandles().Find(capability, "capability");
                           return ElementAt(object->warnings, index, "index").c_str();
                       });
}

std::int32_t narvo_capability_json(const narvo_capability* capability, const char** text)
{
    return HandOutText(text, [&] { return CapabilityHandles().Find(capability, "capability")->text.c_str(); });
}

std::int32_t narvo_capability_free(narvo_capability* capability)
{
    return GuardedQuietly([&] { CapabilityHandles().Remove(capability, "capability"); });
}
