// SPDX-License-Identifier: MIT
// Where a watch sends its messages.
#pragma once

#include <string>

namespace narvo::tools
{

/// "mqtt://HOST[:PORT]/TOPIC": messages go to topics that begin with TOPIC.
struct MqttAddress
{
    std::string host;
    int port = 1883;
    std::string topic; ///< without a slash at its end
};

/// @throws HostError naming --mqtt, for another form, a port that is none, and topics that a broker would refuse:
/// wildcards, nothing, more than 200 bytes, or bytes that are no text
MqttAddress ParseMqttAddress(const std::string& text);

/// User and password for the broker.
struct MqttLogin
{
    std::string user; ///< empty: none
    std::string password;
};

/// The first two lines of a file. @throws HostError when it cannot be read or has no user
MqttLogin ReadMqttLogin(const std::string& file);

} // namespace narvo::tools
