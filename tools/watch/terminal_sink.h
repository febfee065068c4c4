// SPDX-License-Identifier: MIT
// What a watch prints while it runs.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "tools/watch/result_sink.h"

namespace narvo::tools
{

/// Prints the images that did not pass to the standard output, and warnings, problems and notes through `tell`.
std::unique_ptr<ResultSink> MakeTerminalSink(bool quiet, std::function<void(const std::string& line)> tell);

} // namespace narvo::tools
