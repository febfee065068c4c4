// SPDX-License-Identifier: MIT
// Whether a command writes pictures of its results, and how large ones.
#pragma once

#include <cstdint>
#include <string>

namespace CLI
{
class App;
}

namespace narvo::tools
{

struct OverlayOptions
{
    std::string size; ///< "reduced", "full" or "none"
    bool none = false;

    bool IsWanted() const { return !none && size != "none"; }
    std::int64_t MostPixels() const;
};

/// Adds --overlay and --no-overlay. `images` says of which images pictures are written.
void AddOverlayOptions(CLI::App& command, OverlayOptions& options, const char* images);

} // namespace narvo::tools
