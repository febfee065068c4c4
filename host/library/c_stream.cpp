// SPDX-License-Identifier: MIT
// The C interface: rows without end. Defects wait in the handle until they are taken.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/library/c_arrays.h"
#include "host/library/c_call.h"
#include "narvo/host_stream.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::Error;
using narvo::v1::Recipe;
using narvo::v1::Settings;
using narvo::v1::StreamCounts;
using narvo::v1::StreamDefect;
using narvo::v1::StripStream;

namespace narvo::library
{

struct StreamObject
{
    StreamObject(const Recipe& recipe, int width, const Settings& settings)
        : stream(
              recipe, width,
              [this](const StreamDefect& found)
              {
                  const std::lock_guard lock(mutex);
                  waiting.push_back(found);
              },
              settings)
    {
    }

    std::int64_t Waiting()
    {
        const std::lock_guard lock(mutex);
        return static_cast<std::int64_t>(waiting.size());
    }

    std::mutex mutex; ///< of what follows; the stream has its own
    std::deque<StreamDefect> waiting;
    std::vector<std::string> warnings;
    StripStream stream;
};

} // namespace narvo::library

namespace
{

constexpr std::int64_t nMostWaiting = 1000000;

} // namespace

std::int32_t narvo_stream_create(const narvo_recipe* recipe, std::int32_t width, const narvo_setting* settings,
                                 std::int64_t setting_count, narvo_stream** stream)
{
    return HandOut(StreamHandles(), stream, "stream",
                   [&]
                   {
                       const auto rules = RecipeHandles().Find(recipe, "recipe");
                       return std::make_shared<StreamObject>(*rules, width, SettingsOf(settings, setting_count));
                   });
}

std::int32_t narvo_stream_delay(const narvo_stream* stream, std::int64_t* rows)
{
    return Guarded(
        [&]
        {
            Given(rows, "rows");
            *rows = StreamHandles().Find(stream, "stream")->stream.DelayRows();
        });
}

std::int32_t narvo_stream_push(narvo_stream* stream, const narvo_image* rows)
{
    return Guarded(
        [&]
        {
            const auto object = StreamHandles().Find(stream, "stream");
            if (object->Waiting() >= nMostWaiting)
                throw Error({{"stream", std::to_string(object->Waiting()) + " defects wait",
                              "fewer than " + std::to_string(nMostWaiting) + ": take them"}});
            object->stream.Push(PixelsOf(rows, "rows"));
        });
}

std::int32_t narvo_stream_finish(narvo_stream* stream)
{
    return Guarded([&] { StreamHandles().Find(stream, "stream")->stream.Finish(); });
}

std::int32_t narvo_stream_take(narvo_stream* stream, std::uint32_t record_size, narvo_defect* defects,
                               std::int64_t* rows, std::int64_t capacity, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            CheckRecordSize<narvo_defect>(record_size, "record_size");
            CheckRoom(defects, "defects", capacity);
            CheckRoom(rows, "rows", capacity);
            const auto object = StreamHandles().Find(stream, "stream");
            const std::lock_guard lock(object->mutex);
            std::deque<StreamDefect>& waiting = object->waiting;
            const std::int64_t taken = std::min(capacity, static_cast<std::int64_t>(waiting.size()));
            std::int64_t there = 0;
            FillArray(waiting, defects, record_size, taken, &there,
                      [](const StreamDefect& found) { return DefectRecord(found.defect); });
            for (std::int64_t i = 0; i < taken; ++i)
                rows[i] = waiting[static_cast<std::size_t>(i)].row;
            waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(taken));
            *count = taken;
        });
}

std::int32_t narvo_stream_get(const narvo_stream* stream, narvo_stream_counts* counts)
{
    return Guarded(
        [&]
        {
            const std::uint32_t size = SizeOf(counts, "counts");
            const auto object = StreamHandles().Find(stream, "stream");
            const StreamCounts now = object->stream.Counts();
            narvo_stream_counts record = {};
            record.exact = now.exact ? 1 : 0;
            record.rows = now.rows;
            record.final_rows = now.finalRows;
            record.defects = now.defects;
            record.waiting = object->Waiting();
            record.cut_defects = now.cutDefects;
            record.crowded = now.crowded;
            record.overflows = now.overflows;
            record.open_chains = now.openChains;
            record.memory_short = now.memoryShort;
            WriteRecord(counts, size, record);
        });
}

std::int32_t narvo_stream_warnings(narvo_stream* stream, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            const auto object = StreamHandles().Find(stream, "stream");
            std::vector<std::string> warnings = object->stream.Warnings();
            const std::lock_guard lock(object->mutex);
            object->warnings = std::move(warnings);
            *count = static_cast<std::int64_t>(object->warnings.size());
        });
}

std::int32_t narvo_stream_warning(const narvo_stream* stream, std::int64_t index, const char** text)
{
    return HandOutText(text,
                       [&]
                       {
                           const auto object = StreamHandles().Find(stream, "stream");
                           const std::lock_guard lock(object->mutex);
                           return ElementAt(object->warnings, index, "index").c_str();
                       });
}

std::int32_t narvo_stream_free(narvo_stream* stream)
{
    return GuardedQuietly([&] { StreamHandles().Remove(stream, "stream"); });
}
