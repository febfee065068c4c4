// SPDX-License-Identifier: MIT
// What the command line says of a watch.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/inspect/store_run.h"
#include "tools/watch/frame_queue.h"
#include "tools/watch/mqtt_sink.h"

namespace narvo::tools
{

struct WatchOptions
{
    std::string source; ///< "folder:PATH", "pipe:-", "shm:NAME" or "aravis:ID"
    std::string recipe;
    std::string output = "watch.jsonl";
    std::string json; ///< file of the summary; empty: none
    std::string rulesFile;
    std::vector<std::string> fail;
    std::string pixelSize;
    std::string listen;      ///< address of the live page; empty: none
    std::string listenToken; ///< file
    std::string cell;        ///< file with the golden cell that the page holds images against; empty: none
    std::uint64_t images = 0;
    int seconds = 0;
    int lanes = 0;
    int queue = 16;
    WhenFull whenFull = WhenFull_Wait;
    StoreOptions store;
    MqttOptions mqtt;
    bool existing = false;
    bool resume = false;
    bool overwrite = false;
    bool quiet = false;
};

} // namespace narvo::tools
