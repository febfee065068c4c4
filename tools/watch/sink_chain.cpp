// SPDX-License-Identifier: MIT
// Each call to each sink.
#include "tools/watch/sink_chain.h"

#include <algorithm>
#include <exception>

namespace narvo::tools
{

bool SinkChain::WantsPictures() const
{
    return std::any_of(m_sinks.begin(), m_sinks.end(), [](const auto& sink) { return sink->WantsPictures(); });
}

void SinkChain::Add(const WatchedImage& image)
{
    for (const auto& sink : m_sinks)
        sink->Add(image);
}

void SinkChain::Progress(const WatchSummary& soFar)
{
    for (const auto& sink : m_sinks)
        sink->Progress(soFar);
}

void SinkChain::Tell(const std::string& line)
{
    for (const auto& sink : m_sinks)
        sink->Tell(line);
}

void SinkChain::Finish(const WatchSummary& summary)
{
    std::exception_ptr failure;
    for (const auto& sink : m_sinks)
        try
        {
            sink->Finish(summary);
        }
        catch (...)
        {
            failure = failure ? failure : std::current_exception();
        }
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace narvo::tools
