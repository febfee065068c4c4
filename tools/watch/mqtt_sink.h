// SPDX-License-Identifier: MIT
// A watch's verdicts, state and alarms for other programs, by MQTT.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "tools/watch/result_sink.h"

namespace narvo::tools
{

struct MqttOptions
{
    std::string address; ///< empty: nobody is told
    std::string loginFile;
    bool IsWanted() const { return !address.empty(); }
};

/// Topics behind the address': `image`, a message for each image; `alarm`; and retained `state` ("online", "offline"),
/// `recipe`, `counts`. The inspection never waits for the broker.
/// @throws HostError for an address or a login that is none, or where the program was built without libmosquitto
std::unique_ptr<ResultSink> MakeMqttSink(const MqttOptions& options, const std::string& recipeName,
                                         const std::string& recipeDigest,
                                         std::function<void(const std::string& line)> tell);

} // namespace narvo::tools
