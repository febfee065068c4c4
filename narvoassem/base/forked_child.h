// SPDX-License-Identifier: MIT
// Whether this process was forked from one that had loaded the library. Only the thread that called fork exists in the
// child, but the OpenMP runtime does not know that: it would wait for the others forever.
#pragma once

namespace narvo::engine
{

/// Whether threads of the OpenMP runtime must not be used.
bool IsForkedChild();

} // namespace narvo::engine
