// SPDX-License-Identifier: MIT
// What a stream of rows hands out and is set by. Rows are counted from the first one of the stream, in 64 bits.
#pragma once

#include <cstdint>

#include "host/inspect/inspector.h"

namespace narvo
{

/// A blob on the endless axis.
struct StreamBlob
{
    std::int64_t row; ///< first row of its box
    Blob blob;        ///< rows of its places count from that row; numbered from 1 in the order of the reports
};

/// A pair on the endless axis.
struct StreamPair
{
    std::int64_t row;
    Pair pair; ///< the row of its place is 0
};

/// Takes results as they become final, on the thread that pushes rows.
class StreamSink
{
public:
    virtual ~StreamSink() = default;
    virtual void OnBlob(const StreamBlob& blob) = 0;
    /// Only where StreamSettings::withPairs asks for them.
    virtual void OnPair(const StreamPair&) {}
};

/// How much of the stream is kept at a time.
struct StreamSettings
{
    int windowRows = 0;        ///< rows that are inspected in one call; 0 chooses
    int largestBlob = 1024;    ///< rows; a blob that grows taller is cut, and counted
    int maxOpenPairs = 100000; ///< pairs of blobs that are not complete; with more, all are cut, and counted
    bool withPairs = false;
};

/// What a stream has done so far, and where its results may differ from those of one call for the whole image.
struct StreamCounts
{
    std::int64_t rows = 0;        ///< pushed
    std::int64_t finalRows = 0;   ///< whose pairs are final
    std::int64_t windows = 0;     ///< inspected
    std::int64_t repairs = 0;     ///< calls that were added because a chain of answers crossed a window's start
    std::int64_t pairs = 0;       ///< pair records
    std::int64_t blobs = 0;       ///< handed out
    std::int64_t cutBlobs = 0;    ///< grew taller than largestBlob, or came near a part that had left already
    std::int64_t crowded = 0;     ///< times that maxOpenPairs was exceeded
    std::int64_t overflows = 0;   ///< windows with more pairs than the engine takes
    std::int64_t openChains = 0;  ///< chains of answers that are longer than the rows kept before a window
    std::int64_t shortMemory = 0; ///< windows whose search lacked memory

    /// Whether nothing has been counted that makes results differ from those of the whole image.
    bool IsExact() const
    {
        return cutBlobs == 0 && crowded == 0 && overflows == 0 && openChains == 0 && shortMemory == 0;
    }
};

} // namespace narvo
