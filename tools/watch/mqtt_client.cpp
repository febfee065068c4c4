// SPDX-License-Identifier: MIT
// The thread that speaks to the broker, by libmosquitto.
#include "tools/watch/mqtt_client.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include <mosquitto.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "host/counted.h"
#include "host/problem.h"

namespace narvo::tools
{

namespace
{

constexpr int nKeepAlive = 15; // seconds
constexpr std::size_t nMostInFlight = 20;
constexpr std::chrono::milliseconds longestPause{30000};
constexpr std::chrono::milliseconds longestAnswer{10000};
constexpr int nQuality = 1;

} // namespace

/// Called by libmosquitto on the client's thread.
struct MqttClient::Callbacks
{
    static void Connected(mosquitto*, void* object, int code)
    {
        auto& self = *static_cast<MqttClient*>(object);
        const std::lock_guard lock(self.m_mutex);
        self.m_connected = code == 0;
        // Behind a will that was said, nothing may follow.
        self.m_greeted = self.m_leaving && self.m_queue.empty() ? self.m_settings.greetings.size() : 0;
        // Of the codes of version 3.1.1, 4 and 5 are about the login.
        self.m_refused = code == 4 || code == 5;
        self.m_reason = code == 0 ? "" : mosquitto_connack_string(code);
        self.m_answered = true;
        self.m_changed.notify_all();
    }
    static void Published(mosquitto*, void* object, int)
    {
        auto& self = *static_cast<MqttClient*>(object);
        const std::lock_guard lock(self.m_mutex);
        self.m_inFlight -= self.m_inFlight > 0 ? 1 : 0;
        ++self.m_counts.delivered;
        self.m_changed.notify_all();
    }
};

MqttClient::MqttClient(Settings settings, std::chrono::milliseconds first) : m_settings(std::move(settings))
{
    mosquitto_lib_init();
    m_wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    m_client = mosquitto_new(nullptr, true, this);
    if (m_wake < 0 || m_client == nullptr)
        throw HostError({{"--mqtt", "no memory for its client", "memory"}});
    mosquitto_connect_callback_set(m_client, &Callbacks::Connected);
    mosquitto_publish_callback_set(m_client, &Callbacks::Published);
    const std::string will = m_settings.address.topic + "/" + m_settings.will.topic;
    mosquitto_will_set(m_client, will.c_str(), static_cast<int>(m_settings.will.text.size()),
                       m_settings.will.text.data(), nQuality, m_settings.will.retained);
    if (!m_settings.login.user.empty())
        mosquitto_username_pw_set(m_client, m_settings.login.user.c_str(), m_settings.login.password.c_str());
    m_thread = std::thread([this] { Serve(); });
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, first, [&] { return m_answered; });
    if (!m_refused)
        return;
    const std::string reason = m_reason;
    m_ending = true;
    lock.unlock();
    eventfd_write(m_wake, 1);
    m_thread.join();
    mosquitto_destroy(m_client);
    close(m_wake);
    throw HostError({{"--mqtt-login", reason, "user and password that the broker takes"}});
}

MqttClient::~MqttClient()
{
    Finish();
    mosquitto_destroy(m_client);
    close(m_wake);
    mosquitto_lib_cleanup();
}

void MqttClient::Tell(const std::string& line) const
{
    if (m_settings.tell)
        m_settings.tell("mqtt: " + line);
}

void MqttClient::Send(MqttMessage message)
{
    {
        const std::lock_guard lock(m_mutex);
        m_bytes += message.text.size();
        m_queue.push_back(std::move(message));
        while (m_queue.size() > 1 && (m_queue.size() > m_settings.mostMessages || m_bytes > m_settings.mostBytes))
        {
            m_bytes -= m_queue.front().text.size();
            m_queue.pop_front();
            ++m_counts.dropped;
        }
    }
    eventfd_write(m_wake, 1);
}

MqttClient::Counts MqttClient::Finish()
{
    if (m_thread.joinable())
        Send(m_settings.will);
    std::unique_lock lock(m_mutex);
    if (m_thread.joinable())
    {
        m_leaving = true;
        m_changed.wait_for(lock, m_settings.patience, [&] { return m_queue.empty() && m_inFlight == 0; });
        m_ending = true;
        lock.unlock();
        eventfd_write(m_wake, 1);
        m_thread.join();
        lock.lock();
    }
    m_counts.waiting = m_queue.size() + m_inFlight;
    return m_counts;
}

void MqttClient::Connect()
{
    m_asking = true;
    m_next = Clock::now() + longestAnswer;
    const int code =
        mosquitto_connect_async(m_client, m_settings.address.host.c_str(), m_settings.address.port, nKeepAlive);
    if (code != MOSQ_ERR_SUCCESS)
        Leave(code == MOSQ_ERR_ERRNO ? std::strerror(errno) : mosquitto_strerror(code));
}

void MqttClient::Leave(const std::string& why)
{
    m_asking = false;
    m_next = Clock::now() + m_pause;
    m_pause = std::min(2 * m_pause, longestPause);
    {
        const std::lock_guard lock(m_mutex);
        m_connected = false;
        m_answered = true;
        m_changed.notify_all();
    }
    if (!m_toldAway)
        Tell(m_settings.address.host + ":" + std::to_string(m_settings.address.port) + ": " + why + "; trying again");
    m_toldAway = true;
}

void MqttClient::Publish()
{
    for (;;)
    {
        MqttMessage message;
        {
            const std::lock_guard lock(m_mutex);
            const bool greeted = m_greeted == m_settings.greetings.size();
            if (!m_connected || (greeted && m_queue.empty()) || m_inFlight >= nMostInFlight)
                return;
            if (!greeted)
                message = m_settings.greetings[m_greeted++];
            else
            {
                message = std::move(m_queue.front());
                m_queue.pop_front();
                m_bytes -= message.text.size();
            }
            ++m_inFlight;
        }
        // What the library has taken it sends again by itself, also on the next connection.
        const std::string topic = m_settings.address.topic + "/" + message.topic;
        const int code = mosquitto_publish(m_client, nullptr, topic.c_str(), static_cast<int>(message.text.size()),
                                           message.text.data(), nQuality, message.retained);
        if (code == MOSQ_ERR_SUCCESS || code == MOSQ_ERR_NO_CONN)
            continue;
        const std::lock_guard lock(m_mutex);
        --m_inFlight;
        ++m_counts.dropped;
    }
}

void MqttClient::Serve()
{
    Connect();
    for (;;)
    {
        bool connected = false;
        {
            const std::lock_guard lock(m_mutex);
            if (m_ending)
                break;
            connected = m_connected;
        }
        const Clock::time_point now = Clock::now();
        if (!m_asking && now >= m_next)
            Connect();
        else if (m_asking && !connected && now >= m_next)
        {
            mosquitto_disconnect(m_client);
            Leave("no answer");
        }
        if (connected && m_toldAway)
        {
            Tell(m_settings.address.host + ":" + std::to_string(m_settings.address.port) + " is back");
            m_toldAway = false;
        }
        if (connected)
            m_pause = std::chrono::milliseconds{1000};
        Publish();

        const int socket = m_asking ? mosquitto_socket(m_client) : -1;
        pollfd waiting[2] = {{m_wake, POLLIN, 0}, {socket, POLLIN, 0}};
        if (socket >= 0 && (mosquitto_want_write(m_client) || !connected))
            waiting[1].events |= POLLOUT;
        poll(waiting, socket >= 0 ? 2 : 1, 200);
        eventfd_t woken = 0;
        eventfd_read(m_wake, &woken);
        if (socket < 0)
        {
            if (m_asking)
                Leave("the connection ended");
            continue;
        }
        int code = MOSQ_ERR_SUCCESS;
        if ((waiting[1].revents & POLLOUT) != 0)
            code = mosquitto_loop_write(m_client, 1);
        if (code == MOSQ_ERR_SUCCESS && (waiting[1].revents & (POLLIN | POLLHUP | POLLERR)) != 0)
            code = mosquitto_loop_read(m_client, 1);
        if (code == MOSQ_ERR_SUCCESS)
            code = mosquitto_loop_misc(m_client);
        if (code != MOSQ_ERR_SUCCESS)
        {
            std::string reason;
            {
                const std::lock_guard lock(m_mutex);
                reason = m_reason;
            }
            Leave(!reason.empty() ? reason : mosquitto_strerror(code));
        }
    }
    mosquitto_disconnect(m_client);
    mosquitto_loop_write(m_client, 1);
}

} // namespace narvo::tools
