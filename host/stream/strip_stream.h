// SPDX-License-Identifier: MIT
// An image without end: rows come in, any number at a time, and the blobs that one call for the whole image would
// report come out as they become final.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/image/grey_image.h"
#include "host/recipe/checked_recipe.h"
#include "host/stream/stream_plan.h"
#include "host/stream/stream_types.h"

namespace narvo
{

class StreamBand;
class WindowInspection;
class RowWindow;
struct ColumnRange;

/// Inspects windows of rows that overlap, and joins their results. Windows lie where they lie whatever pieces the rows
/// come in. Memory is that of the window, of the engine and of the pairs that wait for their blobs; none is taken once
/// the stream runs, but where a window or a blob has more pairs than any before.
///
/// An object serves one thread at a time.
class StripStream
{
public:
    /// @throws HostError with everything that a stream cannot do, or unless the recipe can inspect its windows
    StripStream(const CheckedRecipe& recipe, int width, const StreamSettings& settings, StreamSink& sink);
    ~StripStream();
    StripStream(const StripStream&) = delete;
    StripStream& operator=(const StripStream&) = delete;

    int Width() const { return m_width; }
    const StreamPlan& Plan() const { return m_plan; }
    /// Rows between a row's arrival and the report of a blob that begins there, at most: a window and the largest blob.
    std::int64_t DelayRows() const;

    /// Takes rows of `Width()` pixels that lie `stride` bytes apart. Windows that lie within them are inspected where
    /// they are if the width is a multiple of 4 and there are no gaps; other rows are copied.
    /// @throws HostError after Finish
    void Push(const std::uint8_t* rows, int count, std::ptrdiff_t stride);
    /// @throws HostError for rows of another width, and after Finish
    void Push(const GreyView& rows);
    /// The last row has come: reports all that is left, the edge band at the end included.
    /// @throws HostError where fewer rows came than the recipe can inspect
    void Finish();
    bool IsFinished() const { return m_finished; }

    const StreamCounts& Counts() const { return m_counts; }
    /// What the recipe and Counts say against exactness, in sentences.
    std::vector<std::string> Warnings() const;

private:
    /// Consecutive rows, in the buffer or where the caller has them.
    struct Rows
    {
        const std::uint8_t* pixels;
        std::int64_t first;
        std::int64_t end;
    };
    Rows BufferedRows() const;
    void InspectWindow(const Rows& rows, bool last);
    void Run(const Rows& rows, std::int64_t start, std::int64_t end, const ColumnRange& wanted);
    ColumnRange OpenColumns() const;
    std::size_t RepairFrom(const Rows& rows, std::int64_t start, std::int64_t end);

    CheckedRecipe m_recipe;
    int m_width;
    StreamPlan m_plan;
    StreamSink& m_sink;
    StreamCounts m_counts;
    std::int64_t m_keep = 0; ///< the first row that the next window needs
    std::int64_t m_base = 0; ///< the row that zone cells are counted from
    std::unique_ptr<RowWindow> m_rows;
    std::unique_ptr<WindowInspection> m_inspection;
    std::vector<std::unique_ptr<StreamBand>> m_bands;
    bool m_finished = false;
};

} // namespace narvo
