// SPDX-License-Identifier: MIT
// Bytes to frames.
#include "sources/pipe_source.h"

#include <cerrno>
#include <utility>

#include <unistd.h>

#include "host/file/descriptor.h"
#include "host/problem.h"

namespace narvo::sources
{

PipeSource::PipeSource(int descriptor, FrameReading reading) : m_descriptor(descriptor), m_reading(std::move(reading))
{
    RequireRawShape(m_reading.reading, "pipe:-");
    m_frameBytes = static_cast<std::size_t>(FrameBytes(m_reading.reading) + m_reading.reading.rawOffset);
}

std::optional<Frame> PipeSource::Next(const std::stop_token& stop)
{
    constexpr std::chrono::milliseconds forEver = std::chrono::hours(24);
    while (!m_ended && !stop.stop_requested())
    {
        if (!WaitReadable(m_descriptor, stop, forEver))
            continue;
        m_bytes.resize(m_frameBytes);
        const ssize_t got = read(m_descriptor, m_bytes.data() + m_have, m_frameBytes - m_have);
        if (got < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (got < 0)
            throw HostError({{"pipe:-", SystemError(errno), "a standard input that can be read"}});
        m_have += static_cast<std::size_t>(got);
        if (m_have == m_frameBytes)
        {
            m_have = 0;
            return RawBytesFrame(std::exchange(m_bytes, {}), m_number++, m_reading);
        }
        m_ended = got == 0;
    }
    if (m_have > 0)
    {
        ++m_losses.incomplete;
        Note("frame " + std::to_string(m_number) + " is incomplete: " + std::to_string(m_have) + " of " +
             std::to_string(m_frameBytes) + " bytes when the pipe " + (m_ended ? "ended" : "was no longer read"));
        m_have = 0;
    }
    return std::nullopt;
}

} // namespace narvo::sources
