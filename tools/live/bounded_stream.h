// SPDX-License-Identifier: MIT
// A connection as the HTTP library reads and writes it, with bounds on size and time.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <string>

#include <httplib.h>

namespace narvo::tools
{

/// The socket does not block and stays the caller's. A request has nMostRequest bytes and nMostLines lines at the most
/// and is there within readLimit; one piece is written within writeLimit. Beyond these reads and writes fail.
class BoundedStream : public httplib::Stream
{
public:
    static constexpr std::size_t nMostRequest = 16384;
    static constexpr std::size_t nMostLines = 64;
    static constexpr std::chrono::seconds readLimit{5};
    static constexpr std::chrono::seconds writeLimit{5};

    explicit BoundedStream(int socket) : m_socket(socket) {}

    /// Whether a bound of the request was broken.
    bool IsTooMuch() const { return m_tooMuch; }
    bool HasWritten() const { return m_hasWritten; }

    // Some of these are those of the library's later versions; so none says that it overrides.
    bool is_readable() const;
    bool wait_readable() const { return is_readable(); }
    bool is_writable() const;
    bool wait_writable() const { return is_writable(); }
    ssize_t read(char* ptr, std::size_t size);
    ssize_t write(const char* ptr, std::size_t size);
    using httplib::Stream::write;
    void get_remote_ip_and_port(std::string& ip, int& port) const;
    void get_local_ip_and_port(std::string& ip, int& port) const;
    socket_t socket() const { return m_socket; }
    time_t duration() const { return 0; }

private:
    using Clock = std::chrono::steady_clock;

    bool WaitFor(short events, Clock::time_point until) const;

    int m_socket;
    const Clock::time_point m_readUntil = Clock::now() + readLimit;
    std::array<char, 4096> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::size_t m_bytes = 0;
    std::size_t m_lines = 0;
    bool m_tooMuch = false;
    bool m_hasWritten = false;
};

} // namespace narvo::tools
