// SPDX-License-Identifier: MIT
// TCP connections to a fixed number of threads: no more are served at once, and none holds up what else the program
// does.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace narvo::tools
{

class ConnectionGate
{
public:
    static constexpr std::size_t nConnections = 24;

    /// `serve` gets each connection on one of the gate's threads and leaves it open; the gate closes it.
    using Serve = std::function<void(int socket)>;

    /// Begins to accept. `port` 0 takes any that is free. @throws HostError where the address cannot be had
    ConnectionGate(const std::string& address, int port, Serve serve);
    /// Ends all connections and waits for the threads.
    ~ConnectionGate();
    ConnectionGate(const ConnectionGate&) = delete;
    ConnectionGate& operator=(const ConnectionGate&) = delete;

    int Port() const { return m_port; }
    /// Ends all connections; reads and writes on them return at once. No new ones are accepted.
    void Stop();
    /// Connections that were turned away since all threads were taken.
    std::size_t Refused() const { return m_refused; }

private:
    void Listen(const std::string& address, int port);
    void Accept();
    void Work();
    void Admit(int socket);
    void End();
    bool IsStopped() const;

    Serve m_serve;
    int m_port = 0;
    int m_listener = -1;
    int m_wake = -1; ///< event that ends the thread that accepts
    std::atomic<std::size_t> m_refused = 0;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<int> m_waiting;
    std::set<int> m_open; ///< waiting or served
    bool m_stopped = false;
    std::vector<std::thread> m_threads;
};

} // namespace narvo::tools
