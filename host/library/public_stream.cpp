// SPDX-License-Identifier: MIT
// Rows without end in the public form.
#include "narvo/host_stream.h"

#include <cstddef>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/image/grey_image.h"
#include "host/library/named_settings.h"
#include "host/library/public_report.h"
#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/stream/stream_plan.h"
#include "host/stream/strip_stream.h"

namespace narvo::v1
{

namespace
{

class CallbackSink : public StreamSink
{
public:
    explicit CallbackSink(OnStreamDefect onDefect) : m_onDefect(std::move(onDefect)) {}
    void OnBlob(const StreamBlob& blob) override { m_onDefect({blob.row, library::PublicDefect(blob.blob)}); }

private:
    OnStreamDefect m_onDefect;
};

CheckedRecipe OnlyRegion(const Recipe& recipe)
{
    const std::vector<CheckedRecipe>& regions = recipe.GetParts().regions;
    if (regions.size() != 1)
        throw HostError({{"regions", std::to_string(regions.size()), "1 in a stream"}});
    return regions.front();
}

narvo::StreamSettings StreamSettingsOf(const Settings& settings, const Recipe& recipe, int width)
{
    narvo::StreamSettings made;
    library::TakeSettings(settings,
                          {{"window_rows", &made.windowRows},
                           {"largest_blob", &made.largestBlob},
                           {"max_open_pairs", &made.maxOpenPairs}},
                          [&] { return CheckStream(*OnlyRegion(recipe), width, made); });
    return made;
}

OnStreamDefect GivenFunction(OnStreamDefect onDefect)
{
    if (!onDefect)
        throw HostError({{"onDefect", "no function", "a function"}});
    return onDefect;
}

/// Rows of more than 8 bits become grey pixel by pixel, so that it does not matter in which pieces they come.
void CheckDeepRows(const ImagePixels& rows, const ImageReading& reading)
{
    const bool mosaic = reading.bayer != Bayer_None && reading.demosaic != Demosaic_Off;
    if (rows.bits > 8 && (mosaic || !reading.fields.IsEmpty()))
        throw HostError({{"rows.bits", std::to_string(rows.bits),
                          "8 with this recipe: its image section looks at whole images (bayer, flat_field)"}});
}

} // namespace

struct StripStream::Content
{
    enum State
    {
        State_Running,
        State_Finished,
        State_Broken
    };

    Content(const Recipe& recipe, int width, OnStreamDefect onDefect, const Settings& settings)
        : sink(GivenFunction(std::move(onDefect))),
          stream(OnlyRegion(recipe), width, StreamSettingsOf(settings, recipe, width), sink), region(OnlyRegion(recipe))
    {
    }

    /// Runs `work`, where `begin` says so, as the only call. When it fails and does not set the state, the stream is
    /// over.
    template <typename Begin, typename Work>
    void Run(const Begin& begin, const Work& work)
    {
        const std::lock_guard lock(mutex);
        if (working)
            throw HostError({{"call", "from within onDefect", "one behind the call that reports"}});
        if (state == State_Broken)
            throw HostError({{"stream", "over since a call failed", "a new stream"}});
        if (!begin())
            return;
        working = true;
        state = State_Broken;
        try
        {
            work();
            working = false;
        }
        catch (...)
        {
            working = false;
            throw;
        }
    }

    mutable std::recursive_mutex mutex; ///< counts may be asked for from within onDefect
    CallbackSink sink;
    narvo::StripStream stream;
    CheckedRecipe region;
    State state = State_Running;
    bool working = false;
};

StripStream::StripStream(const Recipe& recipe, int width, OnStreamDefect onDefect, const Settings& settings)
    : m_content(
          library::Translated([&] { return std::make_unique<Content>(recipe, width, std::move(onDefect), settings); }))
{
}

StripStream::~StripStream() = default;

int StripStream::Width() const noexcept
{
    return m_content->stream.Width();
}

std::int64_t StripStream::DelayRows() const noexcept
{
    return m_content->stream.DelayRows();
}

void StripStream::Push(const ImagePixels& rows)
{
    library::Translated(
        [&]
        {
            Content& content = *m_content;
            std::ptrdiff_t stride = 0;
            content.Run(
                [&]
                {
                    if (content.state == Content::State_Finished)
                        throw HostError({{"rows", "after the end", "none: the stream is finished"}});
                    stride = library::CheckedStride(rows, "rows");
                    if (rows.width != Width())
                        throw HostError({{"rows.width", std::to_string(rows.width),
                                          std::to_string(Width()) + ", the width of the stream"}});
                    CheckDeepRows(rows, *content.region);
                    return true;
                },
                [&]
                {
                    if (rows.bits == 8)
                        content.stream.Push(static_cast<const std::uint8_t*>(rows.pixels), rows.height, stride);
                    else
                    {
                        GreyImage copy;
                        content.stream.Push(library::ReadableView(rows, *content.region, copy, "rows"));
                    }
                    content.state = Content::State_Running;
                });
        });
}

void StripStream::Finish()
{
    library::Translated(
        [&]
        {
            Content& content = *m_content;
            content.Run([&] { return content.state != Content::State_Finished; },
                        [&]
                        {
                            try
                            {
                                content.stream.Finish();
                                content.state = Content::State_Finished;
                            }
                            catch (const HostError&)
                            {
                                if (!content.stream.IsFinished())
                                    content.state = Content::State_Running;
                                throw;
                            }
                        });
        });
}

StreamCounts StripStream::Counts() const
{
    const std::lock_guard lock(m_content->mutex);
    const narvo::StreamCounts& counts = m_content->stream.Counts();
    return {counts.rows,      counts.finalRows,  counts.blobs,       counts.cutBlobs, counts.crowded,
            counts.overflows, counts.openChains, counts.shortMemory, counts.IsExact()};
}

std::vector<std::string> StripStream::Warnings() const
{
    const std::lock_guard lock(m_content->mutex);
    return m_content->stream.Warnings();
}

} // namespace narvo::v1
