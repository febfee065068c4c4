// SPDX-License-Identifier: MIT
// Checks of the header, and frames copied between two looks at their state.
#include "sources/ring_source.h"

#include <cerrno>
#include <csignal>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/counted.h"
#include "host/problem.h"

namespace narvo::sources
{

static_assert(sizeof(NarvoRingHeader) == 48 && sizeof(NarvoRingSlot) == 64);

RingSource::RingSource(const std::string& name, FrameReading reading)
    : m_name("shm:" + name), m_reading(std::move(reading))
{
    RequireRawShape(m_reading.reading, m_name);
    m_memory = Descriptor(shm_open((name.starts_with('/') ? name : "/" + name).c_str(), O_RDONLY, 0));
    if (!m_memory.IsOpen())
        throw HostError({{m_name, SystemError(errno), "shared memory that a running writer has made"}});
    m_header = ReadHeader();
    CheckHeader();
    m_next = m_header.written > m_header.slots ? m_header.written - m_header.slots : 0;
}

void RingSource::Read(void* target, std::uint64_t count, std::uint64_t place) const
{
    for (std::uint64_t done = 0; done < count;)
    {
        const ssize_t got =
            pread(m_memory.Number(), static_cast<char*>(target) + done, count - done, static_cast<off_t>(place + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            throw HostError(
                {{m_name, "ends after " + std::to_string(place + done) + " bytes", "memory that keeps its size"}});
        done += static_cast<std::uint64_t>(got);
    }
}

NarvoRingHeader RingSource::ReadHeader() const
{
    NarvoRingHeader header;
    NarvoRingHeader again;
    // A counter that is copied while it changes differs in the second copy.
    do
    {
        Read(&header, sizeof header, 0);
        Read(&again, sizeof again, 0);
    } while (header.written != again.written);
    return header;
}

void RingSource::CheckHeader() const
{
    std::vector<Problem> found;
    const auto demand = [&](bool allowed, const char* field, std::uint64_t value, const std::string& range)
    {
        if (!allowed)
            found.push_back({m_name + ", " + field, std::to_string(value), range});
    };
    const auto wanted = static_cast<std::uint64_t>(FrameBytes(m_reading.reading) + m_reading.reading.rawOffset);
    if (m_header.magic != NARVO_RING_MAGIC)
        throw HostError({{m_name + ", magic", std::to_string(m_header.magic), std::to_string(NARVO_RING_MAGIC)}});
    if (m_header.version != NARVO_RING_VERSION)
        throw HostError({{m_name + ", version", std::to_string(m_header.version), std::to_string(NARVO_RING_VERSION)}});
    demand(m_header.slots >= 2 && m_header.slots <= NARVO_RING_MOST_SLOTS, "slots", m_header.slots,
           "2 to " + std::to_string(NARVO_RING_MOST_SLOTS));
    demand(m_header.frameBytes == wanted, "frameBytes", m_header.frameBytes,
           std::to_string(wanted) + ", by --raw or image.raw");
    const std::uint64_t least = sizeof(NarvoRingSlot) + wanted;
    constexpr std::uint64_t nMost = std::uint64_t{1} << 40;
    demand(m_header.slotBytes >= least && m_header.slotBytes <= nMost && m_header.slotBytes % 64 == 0, "slotBytes",
           m_header.slotBytes, "a multiple of 64, " + std::to_string(least) + " to " + std::to_string(nMost));
    demand(m_header.writer <= 0x7fffffff, "writer", m_header.writer, "0 to 2147483647");
    ThrowIfAny(std::move(found));
    struct stat status;
    const std::uint64_t needed = NARVO_RING_HEADER_BYTES + m_header.slots * m_header.slotBytes;
    if (fstat(m_memory.Number(), &status) != 0 || static_cast<std::uint64_t>(status.st_size) < needed)
        throw HostError({{m_name, std::to_string(status.st_size) + " bytes",
                          "at least " + std::to_string(needed) + " bytes, by slots and slotBytes"}});
}

RingSource::Fetched RingSource::Fetch(std::uint64_t number, Frame& frame)
{
    const std::uint64_t place = NARVO_RING_HEADER_BYTES + number % m_header.slots * m_header.slotBytes;
    const std::uint64_t whole = 2 * number + 2;
    NarvoRingSlot slot;
    Read(&slot, sizeof slot, place);
    if (slot.state != whole)
        return Fetched_Lost;
    if (slot.bytes != m_header.frameBytes)
        return Fetched_Incomplete;
    std::vector<std::uint8_t> bytes(m_header.frameBytes);
    Read(bytes.data(), bytes.size(), place + sizeof slot);
    NarvoRingSlot after;
    Read(&after, sizeof after, place);
    if (after.state != whole)
        return Fetched_Lost;
    frame = RawBytesFrame(std::move(bytes), number, m_reading);
    if (slot.acquired != 0)
        frame.acquired = slot.acquired;
    return Fetched_Frame;
}

bool RingSource::IsWriterGone(const NarvoRingHeader& header) const
{
    return header.writer != 0 && kill(static_cast<pid_t>(header.writer), 0) != 0 && errno == ESRCH;
}

std::optional<Frame> RingSource::Next(const std::stop_token& stop)
{
    constexpr std::chrono::microseconds pause{200};
    while (!stop.stop_requested())
    {
        // Asked before the counter is read, so that a last frame is not missed.
        const bool gone = IsWriterGone(m_header);
        const NarvoRingHeader header = ReadHeader();
        if (header.written > m_next)
        {
            const std::uint64_t waiting = header.written - m_next;
            if (waiting > m_header.slots)
            {
                m_losses.lost += waiting - m_header.slots;
                Note(Counted(waiting - m_header.slots, "frame") + " from " + std::to_string(m_next) +
                     " on were overwritten before they were read");
                m_next = header.written - m_header.slots;
            }
            Frame frame;
            const std::uint64_t number = m_next++;
            const Fetched fetched = Fetch(number, frame);
            if (fetched == Fetched_Frame)
                return frame;
            ++(fetched == Fetched_Lost ? m_losses.lost : m_losses.incomplete);
            Note("frame " + std::to_string(number) + (fetched == Fetched_Lost ? " is lost" : " is incomplete"));
            continue;
        }
        if (header.ended != 0)
            return std::nullopt;
        if (gone)
        {
            Note("the writer is gone (process " + std::to_string(m_header.writer) + ") without having ended the ring");
            return std::nullopt;
        }
        std::this_thread::sleep_for(pause);
    }
    return std::nullopt;
}

} // namespace narvo::sources
