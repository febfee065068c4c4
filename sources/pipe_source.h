// SPDX-License-Identifier: MIT
// Raw frames back to back through a pipe.
#pragma once

#include "sources/frame_source.h"

namespace narvo::sources
{

/// Reads frames of one shape from a descriptor, which stays the caller's. However the bytes are cut on their way, a
/// frame arrives with its last one. A last frame that is cut short counts as incomplete.
class PipeSource : public FrameSource
{
public:
    /// @throws HostError as RequireRawShape
    PipeSource(int descriptor, FrameReading reading);

    std::optional<Frame> Next(const std::stop_token& stop) override;
    FrameLosses Losses() const override { return m_losses; }

private:
    int m_descriptor;
    FrameReading m_reading;
    std::size_t m_frameBytes;
    std::uint64_t m_number = 0;
    std::vector<std::uint8_t> m_bytes; ///< of the frame that is arriving
    std::size_t m_have = 0;
    bool m_ended = false;
    FrameLosses m_losses;
};

} // namespace narvo::sources
