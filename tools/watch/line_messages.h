// SPDX-License-Identifier: MIT
// What a watch tells other programs of its images, as JSON texts.
#pragma once

#include <cstddef>
#include <string>

#include "tools/watch/result_sink.h"

namespace narvo::tools
{

/// Defects of one message; the rest is counted only.
constexpr std::size_t nMostToldBlobs = 100;

/// The verdict of an image, and its defects from the largest peak down.
std::string ImageMessage(const WatchedImage& image);
/// The counts so far.
std::string CountsMessage(const WatchSummary& summary);
/// What went wrong: `kind` is "source", "lost", "dropped", "undecided" or "queue".
std::string AlarmMessage(const std::string& kind, const std::string& text);
/// The recipe by name and digest.
std::string RecipeMessage(const std::string& name, const std::string& digest);

} // namespace narvo::tools
