// SPDX-License-Identifier: MIT
// The words for the size of overlays.
#include "tools/inspect/overlay_options.h"

#include <limits>

#include <CLI/CLI.hpp>

#include "host/result/overlay.h"

namespace narvo::tools
{

std::int64_t OverlayOptions::MostPixels() const
{
    return size == "full" ? std::numeric_limits<std::int64_t>::max() : nScreenPixels;
}

void AddOverlayOptions(CLI::App& command, OverlayOptions& options, const char* images)
{
    options.size = "reduced";
    command
        .add_option("--overlay", options.size,
                    std::string(images) + ": the picture of the results: reduced to at most 2 million pixels, full, or "
                                          "none; a full one takes longer than inspecting")
        ->check(CLI::IsMember({"reduced", "full", "none"}))
        ->capture_default_str();
    command.add_flag("--no-overlay", options.none, std::string(images) + ": the same as --overlay none");
}

} // namespace narvo::tools
