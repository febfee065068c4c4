// SPDX-License-Identifier: MIT
// The same work for every image, on several threads.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "host/inspect/batch.h"
#include "host/problem.h"

namespace narvo
{

/// Calls `work(number, lane)` once for each number below `count`, on `threads` threads of which each is a lane. Calls
/// must not depend on each other. Where one throws, no further number begins, and what the call with the lowest number
/// threw is thrown again.
void ForEachNumber(std::size_t count, int threads, const std::function<void(std::size_t number, int lane)>& work);

/// The problems of an image's work, with its name in front of fields that do not have it.
std::vector<Problem> NameImage(const std::string& name, std::vector<Problem> problems);

/// As ForEachNumber, with images. @throws HostError of the first image that cannot be read or worked on, naming it
void ForEachImage(const std::vector<BatchImage>& images, int threads,
                  const std::function<void(std::size_t number, const GreyImage& image, int lane)>& work);

} // namespace narvo
