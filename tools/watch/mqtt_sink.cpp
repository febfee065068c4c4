// SPDX-License-Identifier: MIT
// Which message goes out when.
#include "tools/watch/mqtt_sink.h"

#include <chrono>
#include <cstdint>
#include <utility>

#include "host/counted.h"
#include "host/problem.h"
#include "tools/watch/line_messages.h"
#include "tools/watch/mqtt_address.h"
#ifdef NARVO_WITH_MQTT
#include "tools/watch/mqtt_client.h"
#endif

namespace narvo::tools
{

#ifdef NARVO_WITH_MQTT

namespace
{

class MqttSink : public ResultSink
{
public:
    explicit MqttSink(MqttClient::Settings settings) : m_tell(settings.tell), m_client(std::move(settings)) {}

    void Add(const WatchedImage& image) override
    {
        m_client.Send({"image", ImageMessage(image), false});
        if (image.verdict == ImageVerdict_Undecided)
            m_client.Send(
                {"alarm",
                 AlarmMessage("undecided", image.result.IsInspected() ? image.result.name + " was not wholly looked at"
                                                                      : image.result.problems.front().Text()),
                 false});
    }
    void Tell(const std::string& line) override { m_client.Send({"alarm", AlarmMessage("source", line), false}); }
    void Progress(const WatchSummary& soFar) override
    {
        const Clock::time_point now = Clock::now();
        if (now - m_lastCounts < std::chrono::seconds(1))
            return;
        m_lastCounts = now;
        SendCounts(soFar);
    }
    void Finish(const WatchSummary& summary) override
    {
        SendCounts(summary);
        if (summary.overrun)
            m_client.Send({"alarm", AlarmMessage("queue", "ended since the queue was full"), false});
        for (const Problem& problem : summary.problems)
            m_client.Send({"alarm", AlarmMessage("source", problem.Text()), false});
        const MqttClient::Counts counts = m_client.Finish();
        if (counts.dropped + counts.waiting > 0)
            m_tell("warning: mqtt: " + Counted(counts.dropped + counts.waiting, "message") +
                   " not delivered: the broker was away");
    }

private:
    using Clock = std::chrono::steady_clock;

    /// The counts, and an alarm for each that tells of missing frames and has grown.
    void SendCounts(const WatchSummary& summary)
    {
        const auto alarm = [&](const char* kind, std::uint64_t count, std::uint64_t& before, const char* what)
        {
            if (count > before)
                m_client.Send({"alarm", AlarmMessage(kind, std::to_string(count - before) + what), false});
            before = count;
        };
        alarm("dropped", summary.dropped, m_dropped, " frames dropped, since the queue was full");
        alarm("lost", summary.losses.lost, m_lost, " frames lost");
        alarm("lost", summary.losses.incomplete, m_incomplete, " frames incomplete");
        m_client.Send({"counts", CountsMessage(summary), true});
    }

    std::function<void(const std::string&)> m_tell;
    MqttClient m_client;
    Clock::time_point m_lastCounts;
    std::uint64_t m_dropped = 0;
    std::uint64_t m_lost = 0;
    std::uint64_t m_incomplete = 0;
};

} // namespace

#endif

std::unique_ptr<ResultSink> MakeMqttSink(const MqttOptions& options, const std::string& recipeName,
                                         const std::string& recipeDigest, std::function<void(const std::string&)> tell)
{
    const MqttAddress address = ParseMqttAddress(options.address);
    const MqttLogin login = options.loginFile.empty() ? MqttLogin() : ReadMqttLogin(options.loginFile);
#ifdef NARVO_WITH_MQTT
    MqttClient::Settings settings;
    settings.address = address;
    settings.login = login;
    settings.will = {"state", "offline", true};
    settings.greetings = {{"state", "online", true}, {"recipe", RecipeMessage(recipeName, recipeDigest), true}};
    settings.tell = std::move(tell);
    return std::make_unique<MqttSink>(std::move(settings));
#else
    static_cast<void>(recipeName);
    static_cast<void>(recipeDigest);
    static_cast<void>(tell);
    throw HostError({{"--mqtt", options.address, "none: this narvo was built without libmosquitto"}});
#endif
}

} // namespace narvo::tools
