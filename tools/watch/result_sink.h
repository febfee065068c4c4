// SPDX-License-Identifier: MIT
// Where the results of a watch go, one image after the other.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/inspect/batch.h"
#include "host/result/image_line.h"
#include "tools/watch/watch_summary.h"

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
    std::shared_ptr<const GreyImage> picture; ///< what was inspected, where a sink wants pictures and it could be read
};

/// What listens to a watch. Calls come one at a time, images in the order of acquisition, on any thread; while one
/// lasts, no verdict goes out, so that only the file that acknowledges may take its time.
class ResultSink
{
public:
    ResultSink() = default;
    virtual ~ResultSink() = default;
    ResultSink(const ResultSink&) = delete;
    ResultSink& operator=(const ResultSink&) = delete;

    /// Whether Add gets pictures; asked for once, before the first image. Up to 4 images a lane are kept for it.
    virtual bool WantsPictures() const { return false; }
    /// The image is acknowledged when this returns. @throws WriteError, which ends the run
    virtual void Add(const WatchedImage& image) = 0;
    /// What has been counted, after each image and each line of Tell.
    virtual void Progress(const WatchSummary& soFar) { static_cast<void>(soFar); }
    /// A line for a person: what the source lost and why.
    virtual void Tell(const std::string& line) { static_cast<void>(line); }
    /// After the last image, with the final counts. @throws WriteError
    virtual void Finish(const WatchSummary& summary) = 0;
};

} // namespace narvo::tools
