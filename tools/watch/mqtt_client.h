// SPDX-License-Identifier: MIT
// Messages on their way to an MQTT broker: a bounded buffer and one thread, so that nobody waits for the network.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tools/watch/mqtt_address.h"

struct mosquitto;

namespace narvo::tools
{

struct MqttMessage
{
    std::string topic; ///< behind the address' own
    std::string text;
    bool retained = false; ///< the broker keeps the last one for those that come later
};

/// Delivers by quality of service 1: each message at least once, in order; again where an answer was lost with its
/// connection. A broker that is away is tried again after a second, then after twice as long, at most 30 s.
class MqttClient
{
public:
    struct Settings
    {
        MqttAddress address;
        MqttLogin login;
        MqttMessage will; ///< said at the end, and by the broker when this program is gone without a word
        std::vector<MqttMessage> greetings; ///< said first on each connection: the broker may have forgotten them
        std::size_t mostMessages = 10000;   ///< that wait; the oldest give way
        std::size_t mostBytes = std::size_t{64} << 20U;
        std::chrono::milliseconds patience{10000};    ///< for what waits when it ends
        std::function<void(const std::string&)> tell; ///< lines for a person, on the client's thread
    };
    /// What became of the messages.
    struct Counts
    {
        std::size_t delivered = 0;
        std::size_t dropped = 0; ///< gave way to newer ones
        std::size_t waiting = 0; ///< not delivered
    };

    /// Waits for the broker's answer for at most `first`. @throws HostError when it refuses the login
    explicit MqttClient(Settings settings, std::chrono::milliseconds first = std::chrono::milliseconds{3000});
    ~MqttClient();
    MqttClient(const MqttClient&) = delete;
    MqttClient& operator=(const MqttClient&) = delete;

    /// Never waits.
    void Send(MqttMessage message);
    /// Says the will, and waits until all is delivered, at most the patience. The destructor does the same.
    Counts Finish();

private:
    using Clock = std::chrono::steady_clock;
    struct Callbacks;

    void Serve();
    void Connect();
    void Leave(const std::string& why);
    void Publish();
    void Tell(const std::string& line) const;

    Settings m_settings;
    mosquitto* m_client = nullptr; ///< of the thread
    int m_wake = -1;               ///< an event that ends the thread's waiting
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<MqttMessage> m_queue;
    std::size_t m_bytes = 0; ///< of the queue
    Counts m_counts;
    std::size_t m_inFlight = 0;
    std::size_t m_greeted = 0; ///< greetings that this connection has had
    bool m_connected = false;
    bool m_answered = false; ///< the first connection was answered, or has failed
    bool m_refused = false;  ///< the login
    bool m_leaving = false;  ///< the queue's last message is the will
    bool m_ending = false;
    std::string m_reason;
    bool m_toldAway = false;  ///< of the thread
    bool m_asking = false;    ///< of the thread: a connection was begun
    Clock::time_point m_next; ///< of the thread: the next try, or the end of this one
    std::chrono::milliseconds m_pause{1000};
    std::thread m_thread;
};

} // namespace narvo::tools
