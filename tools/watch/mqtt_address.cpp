// SPDX-License-Identifier: MIT
// The address and the login of a broker.
#include "tools/watch/mqtt_address.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "host/file/input_file.h"
#include "host/file/name_text.h"
#include "host/limits.h"
#include "host/problem.h"

namespace narvo::tools
{

namespace
{

constexpr std::string_view szScheme = "mqtt://";
constexpr std::size_t nLongestTopic = 200;

[[noreturn]] void RefuseAddress(const std::string& text, const std::string& allowed)
{
    throw HostError({{"--mqtt", text, allowed}});
}

} // namespace

MqttAddress ParseMqttAddress(const std::string& text)
{
    const std::string form = "mqtt://HOST/TOPIC or mqtt://HOST:PORT/TOPIC";
    const std::string_view view = text;
    const std::size_t slash = view.find('/', szScheme.size());
    if (!view.starts_with(szScheme) || slash == std::string_view::npos)
        RefuseAddress(text, form);
    std::string_view place = view.substr(szScheme.size(), slash - szScheme.size());
    MqttAddress address;
    address.topic = view.substr(slash + 1);
    if (address.topic.ends_with('/'))
        address.topic.pop_back();
    if (const std::size_t colon = place.rfind(':'); colon != std::string_view::npos && !place.ends_with(']'))
    {
        const std::string_view port = place.substr(colon + 1);
        const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), address.port);
        if (error != std::errc() || end != port.data() + port.size() || address.port < 1 || address.port > 65535)
            RefuseAddress(text, "a port of 1 to 65535");
        place = place.substr(0, colon);
    }
    if (place.starts_with('[') && place.ends_with(']'))
        place = place.substr(1, place.size() - 2);
    address.host = place;
    if (address.host.empty() || address.host.find('@') != std::string::npos)
        RefuseAddress(text, form + "; user and password come from --mqtt-login");
    const bool isText = NameToText(address.topic, true) == address.topic;
    if (address.topic.empty() || address.topic.size() > nLongestTopic || !isText ||
        address.topic.find_first_of("+#") != std::string::npos || address.topic.starts_with('$'))
        RefuseAddress(text, "a topic of 1 to 200 bytes of text, without + and # and not beginning with $");
    return address;
}

MqttLogin ReadMqttLogin(const std::string& file)
{
    const std::string text = ReadShortFile(file, "file " + file, nRecipeByteLimit);
    const auto line = [&](std::size_t begin)
    {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::size_t last = end > begin && text[end - 1] == '\r' ? end - 1 : end;
        return text.substr(begin, last - begin);
    };
    MqttLogin login;
    login.user = line(0);
    if (login.user.empty())
        throw HostError(
            {{"--mqtt-login", file, "a file with the user in its first line and the password in its second"}});
    if (const std::size_t second = text.find('\n'); second != std::string::npos)
        login.password = line(second + 1);
    return login;
}

} // namespace narvo::tools
