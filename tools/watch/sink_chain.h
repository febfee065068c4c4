// SPDX-License-Identifier: MIT
// All that listens to a watch as one sink.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/watch/result_sink.h"

namespace narvo::tools
{

/// Hands everything to each of its sinks, in their order. The first one acknowledges.
class SinkChain : public ResultSink
{
public:
    void Append(std::unique_ptr<ResultSink> sink) { m_sinks.push_back(std::move(sink)); }

    bool WantsPictures() const override;
    void Add(const WatchedImage& image) override;
    void Progress(const WatchSummary& soFar) override;
    void Tell(const std::string& line) override;
    /// All sinks are finished, also behind one that fails; the first failure is thrown then.
    void Finish(const WatchSummary& summary) override;

private:
    std::vector<std::unique_ptr<ResultSink>> m_sinks;
};

} // namespace narvo::tools
