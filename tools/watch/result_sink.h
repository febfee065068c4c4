// SPDX-License-Identifier: MIT
// Where the results of a watch go, one image after the other.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/inspect/batch.h"
#include "host/result/image_line.h"

namespace narvo::tools
{

enum ImageVerdict : int
{
    ImageVerdict_Pass,
    ImageVerdict_Fail,
    ImageVerdict_Undecided ///< no rule failed, but the image could not be read or was not wholly looked at
};

/// "pass", "fail", "undecided".
const char* VerdictName(ImageVerdict verdict);

/// What came of one frame.
struct WatchedImage
{
    std::uint64_t frame = 0;   ///< the source's sequence number
    std::int64_t acquired = 0; ///< nanoseconds since 1970
    ImageResult result;
    FileIdentity identity; ///< of a file; of a raw frame its bytes alone
    ImageVerdict verdict = ImageVerdict_Undecided;
    std::vector<std::string> failedRules;
};

/// Calls come one at a time, in the order of acquisition.
class ResultSink
{
public:
    ResultSink() = default;
    virtual ~ResultSink() = default;
    ResultSink(const ResultSink&) = delete;
    ResultSink& operator=(const ResultSink&) = delete;

    /// The image is acknowledged when this returns. @throws WriteError, which ends the run
    virtual void Add(const WatchedImage& image) = 0;
    /// After the last image. @throws WriteError
    virtual void Finish() = 0;
};

} // namespace narvo::tools
