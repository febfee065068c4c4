// SPDX-License-Identifier: MIT
// Steps of the host layer told to a program.
#pragma once

#include <cstddef>

#include "narvo/host_progress.h"

namespace narvo::library
{

/// Calls `progress` if there is one. @throws v1::Stopped where it asks for that
void Tell(const v1::OnProgress& progress, const char* step, std::size_t done, std::size_t total);

} // namespace narvo::library
