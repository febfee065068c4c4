// SPDX-License-Identifier: MIT
// Rows without end in the public form.
#include "narvo/host_stream.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/image/grey_image.h"
#include "host/image/row_conversion.h"
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

struct NamedSettings : narvo::StreamSettings
{
    int cameraRows = 0;
};

std::vector<narvo::Problem> CheckSettingsOf(const NamedSettings& settings, const narvo::Recipe& recipe, int width)
{
    std::vector<narvo::Problem> found = CheckStream(recipe, width, settings);
    if (settings.cameraRows != 0 && settings.cameraRows != 1)
        found.push_back({"camera_rows", std::to_string(settings.cameraRows), "0 or 1"});
    return found;
}

NamedSettings NamedSettingsOf(const Settings& settings, const Recipe& recipe, int width)
{
    const CheckedRecipe region = OnlyRegion(recipe);
    NamedSettings made;
    library::TakeSettings(settings,
                          {{"window_rows", &made.windowRows},
                           {"largest_blob", &made.largestBlob},
                           {"max_open_pairs", &made.maxOpenPairs},
                           {"camera_rows", &made.cameraRows}},
                          [&] { return CheckSettingsOf(made, region, width); });
    ThrowIfAny(CheckSettingsOf(made, region, width));
    return made;
}

OnStreamDefect GivenFunction(OnStreamDefect onDefect)
{
    if (!onDefect)
        throw HostError({{"onDefect", "no function", "a function"}});
    return onDefect;
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

    Content(const Recipe& recipe, int width, OnStreamDefect onDefect, const Settings& given)
        : settings(NamedSettingsOf(given, recipe, width)), sink(GivenFunction(std::move(onDefect))),
          stream(OnlyRegion(recipe), width, settings, sink), conversion(*OnlyRegion(recipe), width)
    {
    }

    bool Converts(const ImagePixels& rows) const
    {
        return rows.bits > 8 || (settings.cameraRows != 0 && !conversion.LeavesBytes());
    }

    void PushConverted(const ImagePixels& rows, std::ptrdiff_t stride)
    {
        for (int row = 0; row < rows.height; row += RowConversion::nMostRows)
        {
            const int count = std::min(RowConversion::nMostRows, rows.height - row);
            const void* const first = static_cast<const std::uint8_t*>(rows.pixels) + row * stride;
            const GreyImage& grey = conversion.Convert(first, count, stride);
            stream.Push(grey.Row(0), count, grey.Stride());
        }
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
    NamedSettings settings;
    CallbackSink sink;
    narvo::StripStream stream;
    RowConversion conversion;
    bool unchanged = false; ///< rows came to which the recipe's section image was not applied
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
                    if (content.Converts(rows))
                        content.conversion.Prepare(rows.bits, (1 << rows.bits) - 1);
                    return true;
                },
                [&]
                {
                    if (content.Converts(rows))
                        content.PushConverted(rows, stride);
                    else
                    {
                        content.unchanged = content.unchanged || !content.conversion.LeavesBytes();
                        content.stream.Push(static_cast<const std::uint8_t*>(rows.pixels), rows.height, stride);
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
    std::vector<std::string> warnings = m_content->stream.Warnings();
    if (m_content->unchanged)
        warnings.emplace_back("rows of 8 bits were taken for grey levels: image.flat_field, image.dark_field, "
                              "image.levels and image.weights were not applied; camera_rows 1 applies them");
    return warnings;
}

} // namespace narvo::v1
