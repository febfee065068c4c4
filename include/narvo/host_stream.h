// SPDX-License-Identifier: MIT
// An image without end, as a line camera sends it: rows come in, any number at a time, and the defects that one
// inspection of the whole image would report come out as they become final. docs/live.md explains it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "narvo/host_inspector.h"
#include "narvo/host_setting.h"

namespace narvo::v1
{

/// A defect on the endless axis.
struct StreamDefect
{
    std::int64_t row = 0; ///< first row of its box, counted from the first row of the stream
    Defect defect;        ///< rows of its box and places count from that row; numbered from 1 in the order of reports
};

/// Takes each defect once it is final, on the thread that pushes rows.
using OnStreamDefect = std::function<void(const StreamDefect& defect)>;

/// What a stream has done so far, and where its results may differ from those of one call for the whole image.
struct StreamCounts
{
    std::int64_t rows = 0;        ///< pushed
    std::int64_t finalRows = 0;   ///< whose part in the result is final
    std::int64_t defects = 0;     ///< reported
    std::int64_t cutDefects = 0;  ///< grew taller than largest_blob, or came near a part that was reported already
    std::int64_t crowded = 0;     ///< times that more answers waited than max_open_pairs
    std::int64_t overflows = 0;   ///< windows with more answers than the engine takes
    std::int64_t openChains = 0;  ///< chains of answers that are longer than the rows kept before a window
    std::int64_t memoryShort = 0; ///< windows for whose search memory was missing
    bool exact = true;            ///< none of the last five has been counted
};

/// Inspects an image without end by a recipe of one region over the whole width. However the rows are cut into pieces,
/// the defects are those that one inspection of the whole image reports, but for their order and numbers and for what
/// Counts and Warnings say. Memory is that of a window of rows, of the engine and of the answers that wait.
///
/// Settings, with defaults and ranges, all whole:
///
/// | name | unit | range | default |
/// |---|---|---|---|
/// | window_rows | rows inspected in one call; less shortens the delay | a few pitches .. 10000; 0 chooses | 0 |
/// | largest_blob | rows that a defect may have; taller ones are cut, and counted | 1 .. 1000000 | 1024 |
/// | max_open_pairs | answers that may wait; with more, all are reported, and counted | 1 .. 10000000 | 100000 |
/// | camera_rows | 1: rows of 8 bits are the camera's, and the recipe's section image applies to them | 0, 1 | 0 |
///
/// Any threads may call it, one after the other; calls wait for each other. From within `onDefect`, Push and Finish are
/// refused, all other calls may be made, and the stream must not be destroyed.
class NARVOHOST_API StripStream
{
public:
    /// `width`: pixels of a row, 1 .. 32000. `onDefect` is copied.
    /// @throws Error with everything that a stream cannot do: modes other than zone, pixel and float, fields that give
    /// places by rows, mosaics and fields of more than a row, several regions, settings out of their range, no function
    StripStream(const Recipe& recipe, int width, OnStreamDefect onDefect, const Settings& settings = {});
    ~StripStream();
    StripStream(const StripStream&) = delete;
    StripStream& operator=(const StripStream&) = delete;

    /// As handed to the constructor.
    int Width() const noexcept;
    /// Rows between a row's arrival and the report of a defect that begins there, at most: a window and largest_blob.
    std::int64_t DelayRows() const noexcept;

    /// The next rows: an image of the stream's width and of any height. Rows of 8 bits without gaps, whose width is a
    /// multiple of 4, are inspected where they lie when they are half a window or more; others are copied. To those of
    /// more than 8 bits, and with camera_rows to all, the recipe's section image is applied: fields of one row, levels.
    /// @throws Error for rows that are none or of another width, after Finish, and from within onDefect; then no row
    /// was taken. What onDefect throws, and std::bad_alloc, come out of it, too: the stream is over then, as its rows
    /// were taken in part
    void Push(const ImagePixels& rows);
    /// The last row has come: reports all that is left, the edge band at the end included. Further calls do nothing.
    /// @throws Error where fewer rows came than the recipe can inspect, and then more may be pushed; otherwise as Push
    void Finish();

    /// So far.
    StreamCounts Counts() const;
    /// What recipe and counts say against exactness, in sentences.
    std::vector<std::string> Warnings() const;

private:
    struct Content;
    std::unique_ptr<Content> m_content;
};

} // namespace narvo::v1
