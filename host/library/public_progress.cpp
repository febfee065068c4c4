// SPDX-License-Identifier: MIT
// How long calls tell of themselves, and how they end when they are stopped.
#include "host/library/public_progress.h"

namespace narvo::v1
{

Stopped::Stopped() : Error({{"call", "stopped by its OnProgress", "a call that may come to its end"}})
{
}

Stopped::~Stopped() = default;

} // namespace narvo::v1

namespace narvo::library
{

void Tell(const v1::OnProgress& progress, const char* step, std::size_t done, std::size_t total)
{
    if (progress && !progress({step, done, total}))
        throw v1::Stopped();
}

} // namespace narvo::library
