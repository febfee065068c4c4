// SPDX-License-Identifier: MIT
// Raw frames from a ring in shared memory.
#pragma once

#include "host/file/descriptor.h"
#include "sources/frame_ring.h"
#include "sources/frame_source.h"

namespace narvo::sources
{

/// Reads the ring of frame_ring.h, beginning with the oldest frame that it holds. Frames that were overwritten before
/// they were read, and numbers that the writer left out, count as lost. Nothing of the memory is trusted: it is copied
/// by reads that a writer cannot make fail by changing sizes, and checked.
class RingSource : public FrameSource
{
public:
    /// `name` as shm_open takes it, with or without the leading slash.
    /// @throws HostError where there is no such memory, naming each value of its header that is not allowed
    RingSource(const std::string& name, FrameReading reading);

    /// Ends when the writer has ended, or is gone, which is noted. @throws HostError where the memory is cut meanwhile
    std::optional<Frame> Next(const std::stop_token& stop) override;
    FrameLosses Losses() const override { return m_losses; }

private:
    enum Fetched
    {
        Fetched_Frame,
        Fetched_Incomplete,
        Fetched_Lost
    };

    void Read(void* target, std::uint64_t count, std::uint64_t place) const;
    NarvoRingHeader ReadHeader() const;
    void CheckHeader() const;
    Fetched Fetch(std::uint64_t number, Frame& frame);
    bool IsWriterGone(const NarvoRingHeader& header) const;

    std::string m_name;
    FrameReading m_reading;
    Descriptor m_memory;
    NarvoRingHeader m_header{}; ///< as checked
    std::uint64_t m_next = 0;
    FrameLosses m_losses;
};

} // namespace narvo::sources
