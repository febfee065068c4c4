// SPDX-License-Identifier: MIT
// What a watch prints while it runs.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "tools/watch/result_sink.h"

namespace narvo::tools
{

/// Hands images that did not pass to `print`, and warnings, problems and notes to `tell`, which do not wait.
std::unique_ptr<ResultSink> MakeTerminalSink(bool quiet, std::function<void(std::string line)> print,
                                             std::function<void(const std::string& line)> tell);

} // namespace narvo::tools
