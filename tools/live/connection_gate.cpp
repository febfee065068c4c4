// SPDX-License-Identifier: MIT
// The listening socket and the threads behind it.
#include "tools/live/connection_gate.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "host/problem.h"

namespace narvo::tools
{

namespace
{

constexpr int nBacklog = 64;
constexpr int nLowPriority = 10;

/// Lanes go before the threads that serve the page.
void LowerPriority()
{
    setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), nLowPriority);
}

} // namespace

ConnectionGate::ConnectionGate(const std::string& address, int port, Serve serve) : m_serve(std::move(serve))
{
    m_wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    try
    {
        if (m_wake < 0)
            throw HostError({{"--listen", std::strerror(errno), "a free file descriptor"}});
        Listen(address, port);
        m_threads.emplace_back([this] { Accept(); });
        for (std::size_t i = 0; i < nConnections; ++i)
            m_threads.emplace_back([this] { Work(); });
    }
    catch (const std::system_error& error)
    {
        const std::string why = error.code().message();
        End();
        throw HostError({{"--listen", why, "room for " + std::to_string(nConnections + 1) + " threads"}});
    }
    catch (...)
    {
        End();
        throw;
    }
}

ConnectionGate::~ConnectionGate()
{
    End();
}

void ConnectionGate::End()
{
    Stop();
    for (std::thread& thread : m_threads)
        thread.join();
    m_threads.clear();
    for (const int socket : std::exchange(m_open, {}))
        close(socket);
    for (int* const descriptor : {&m_listener, &m_wake})
        if (*descriptor >= 0)
            close(std::exchange(*descriptor, -1));
}

void ConnectionGate::Listen(const std::string& address, int port)
{
    sockaddr_in four{};
    sockaddr_in6 six{};
    four.sin_family = AF_INET;
    four.sin_port = htons(static_cast<std::uint16_t>(port));
    six.sin6_family = AF_INET6;
    six.sin6_port = htons(static_cast<std::uint16_t>(port));
    const bool isSix = inet_pton(AF_INET6, address.c_str(), &six.sin6_addr) == 1;
    if (!isSix)
        inet_pton(AF_INET, address.c_str(), &four.sin_addr);
    sockaddr* const place = isSix ? reinterpret_cast<sockaddr*>(&six) : reinterpret_cast<sockaddr*>(&four);
    socklen_t size = isSix ? sizeof six : sizeof four;
    // Without SO_REUSEPORT: a second program at the same port is told so.
    const int yes = 1;
    m_listener = ::socket(isSix ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (m_listener < 0 || setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) != 0 ||
        bind(m_listener, place, size) != 0 || listen(m_listener, nBacklog) != 0 ||
        getsockname(m_listener, place, &size) != 0)
        throw HostError({{"--listen", address + " port " + std::to_string(port) + ": " + std::strerror(errno),
                          "an address of this machine and a port that is free, or port 0 for any"}});
    m_port = ntohs(isSix ? six.sin6_port : four.sin_port);
}

bool ConnectionGate::IsStopped() const
{
    const std::scoped_lock lock(m_mutex);
    return m_stopped;
}

void ConnectionGate::Accept()
{
    LowerPriority();
    while (!IsStopped())
    {
        pollfd events[] = {{m_wake, POLLIN, 0}, {m_listener, POLLIN, 0}};
        poll(events, 2, -1);
        if (IsStopped())
            return;
        const int socket = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (socket >= 0)
            Admit(socket);
        else if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
            poll(events, 1, 50); // no descriptor is free, or the network is down: later
    }
}

void ConnectionGate::Admit(int socket)
{
    {
        const std::scoped_lock lock(m_mutex);
        if (!m_stopped && m_open.size() < nConnections)
        {
            m_open.insert(socket);
            m_waiting.push_back(socket);
            m_changed.notify_one();
            return;
        }
    }
    ++m_refused;
    constexpr std::string_view busy =
        "HTTP/1.1 503 Service Unavailable\r\nRetry-After: 2\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";
    static_cast<void>(!send(socket, busy.data(), busy.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
    close(socket);
}

void ConnectionGate::Work()
{
    LowerPriority();
    for (;;)
    {
        int socket = -1;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [&] { return m_stopped || !m_waiting.empty(); });
            if (m_stopped)
                return;
            socket = m_waiting.front();
            m_waiting.pop_front();
        }
        m_serve(socket);
        const std::scoped_lock lock(m_mutex);
        m_open.erase(socket);
        close(socket);
    }
}

void ConnectionGate::Stop()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_stopped = true;
        for (const int socket : m_open)
            shutdown(socket, SHUT_RDWR);
    }
    m_changed.notify_all();
    const std::uint64_t one = 1;
    if (m_wake >= 0)
        static_cast<void>(!write(m_wake, &one, sizeof one));
}

} // namespace narvo::tools
