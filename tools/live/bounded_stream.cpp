// SPDX-License-Identifier: MIT
// Reads and writes that wait for a bounded time.
#include "tools/live/bounded_stream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>

namespace narvo::tools
{

bool BoundedStream::WaitFor(short events, Clock::time_point until) const
{
    for (;;)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
        pollfd event{m_socket, events, 0};
        const int ready = poll(&event, 1, left > 0 ? static_cast<int>(left) : 0);
        if (ready >= 0 || errno != EINTR)
            return ready > 0 && (event.revents & events) != 0;
    }
}

bool BoundedStream::is_readable() const
{
    return m_begin < m_end || WaitFor(POLLIN, m_readUntil);
}

bool BoundedStream::is_writable() const
{
    char peeked = 0;
    const bool left = recv(m_socket, &peeked, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
    return !left && WaitFor(POLLOUT, Clock::now() + writeLimit);
}

ssize_t BoundedStream::read(char* ptr, std::size_t size)
{
    if (m_tooMuch)
        return -1;
    while (m_begin == m_end)
    {
        if (!WaitFor(POLLIN, m_readUntil))
            return -1;
        const ssize_t count = recv(m_socket, m_buffer.data(), m_buffer.size(), MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EINTR))
            continue;
        if (count <= 0)
            return count;
        m_begin = 0;
        m_end = static_cast<std::size_t>(count);
        m_bytes += m_end;
    }
    const std::size_t count = std::min(size, m_end - m_begin);
    const char* const begin = m_buffer.data() + m_begin;
    m_lines += static_cast<std::size_t>(std::count(begin, begin + count, '\n'));
    m_tooMuch = m_bytes - (m_end - m_begin) + count > nMostRequest || m_lines > nMostLines;
    if (m_tooMuch)
        return -1;
    std::memcpy(ptr, begin, count);
    m_begin += count;
    return static_cast<ssize_t>(count);
}

ssize_t BoundedStream::write(const char* ptr, std::size_t size)
{
    m_hasWritten = true;
    const Clock::time_point until = Clock::now() + writeLimit;
    std::size_t written = 0;
    while (written < size)
    {
        const ssize_t count = send(m_socket, ptr + written, size - written, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0)
            written += static_cast<std::size_t>(count);
        else if (errno != EINTR && (errno != EAGAIN || !WaitFor(POLLOUT, until)))
            return -1;
        if (written < size && Clock::now() > until)
            return -1;
    }
    return static_cast<ssize_t>(size);
}

void BoundedStream::get_remote_ip_and_port(std::string& ip, int& port) const
{
    ip.clear();
    port = 0;
}

void BoundedStream::get_local_ip_and_port(std::string& ip, int& port) const
{
    ip.clear();
    port = 0;
}

} // namespace narvo::tools
